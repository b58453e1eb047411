#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>
#include <QVariantMap>

namespace Marblewick {

/*! Domain of errors of files and archives. */
inline constexpr QLatin1StringView NSCocoaErrorDomain("NSCocoaErrorDomain");
/*! Domain of errors whose code is an errno value. */
inline constexpr QLatin1StringView NSPOSIXErrorDomain("NSPOSIXErrorDomain");
/*! Domain of errors of URL sessions; the codes are in NSURLError.h. */
inline constexpr QLatin1StringView NSURLErrorDomain("NSURLErrorDomain");

/*! User-info key of the sentence that localizedDescription() returns. */
inline constexpr QLatin1StringView NSLocalizedDescriptionKey("NSLocalizedDescription");
/*! User-info key of the path (a string) that an error is about. */
inline constexpr QLatin1StringView NSFilePathErrorKey("NSFilePath");

/*! Why an operation failed: a domain, a code within the domain, and details for people.

    A value: cheap to copy, usable on any thread. Out-parameters of this type are set only by a failure.
*/
class MARBLEWICK_CORE_EXPORT NSError
{
public:
    NSError() = default;
    NSError(const QString &domain, qint64 code, const QVariantMap &userInfo = {});

    /*! The error of errno value `code`, with the system's text for it and, where given, the path. */
    static NSError posixError(int code, const QString &path = {});

    QString domain() const { return m_domain; }
    qint64 code() const { return m_code; }
    QVariantMap userInfo() const { return m_userInfo; }

    /*! The user info's sentence, or one made from domain and code where there is none. Never empty. */
    QString localizedDescription() const;

    /*! One line for the log: `Error Domain=… Code=… "localized description"`, then the path if known. */
    QString description() const;

private:
    QString m_domain;
    qint64 m_code = 0;
    QVariantMap m_userInfo;
};

} // namespace Marblewick
