#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSDate.h>

#include <QLocale>
#include <QString>

namespace Marblewick {

/*! How date formatters read their format. */
enum class NSDateFormatterBehavior {
    Default = 0, ///< the platform's own choice
    Behavior10_4 = 1040, ///< as a pattern of letters, the only way there is here
};

/*! Turns dates into text, in the Gregorian calendar and the local time zone. Any thread, but one formatter in
    one thread at a time.
*/
class MARBLEWICK_CORE_EXPORT NSDateFormatter
{
public:
    /*! What the process's formatters are made with; the default until it is set. */
    static NSDateFormatterBehavior defaultFormatterBehavior();
    static void setDefaultFormatterBehavior(NSDateFormatterBehavior behavior);

    /*! Whose digits and names are written: the process's until it is set. The platform's locale
        "en_US_POSIX" is QLocale::c().
    */
    void setLocale(const QLocale &locale) { m_locale = locale; }

    /*! A pattern such as "yyyy-MM-dd-HHmmss": year, month, day, hour of 24, minute, second. */
    void setDateFormat(const QString &dateFormat) { m_dateFormat = dateFormat; }

    /*! The date as text; what is below a second is cut off. Empty for what is no date: not a number, or some
        hundred million years away.
    */
    QString stringFromDate(NSDate date) const;

private:
    QLocale m_locale;
    QString m_dateFormat;
};

} // namespace Marblewick
