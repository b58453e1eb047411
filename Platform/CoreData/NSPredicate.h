#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>
#include <QStringList>
#include <QVariant>

namespace Marblewick {

class NSManagedObject;

/*! The comparison of one value of an object with a constant, evaluated in memory. Main thread. */
class MARBLEWICK_CORE_EXPORT NSPredicate
{
public:
    /*! `key == YES`, `key == NO` or `key == %@`, which stands for `argument` (an invalid QVariant for nil).
        The key of a URL attribute may be followed by `.path`. Another format raises an
        NSInvalidArgumentException.
    */
    static NSPredicate predicateWithFormat(const QString &format, const QVariant &argument = {});

    /*! Whether the object has the value, asked for by valueForKey(). Nil is equal to nil only. */
    bool evaluateWithObject(NSManagedObject &object) const;

private:
    NSPredicate(const QString &key, bool isPath, const QVariant &constant);

    QString m_key;
    bool m_isPath;
    QVariant m_constant;
};

} // namespace Marblewick
