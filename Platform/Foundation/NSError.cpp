#include "Platform/Foundation/NSError.h"

#include <system_error>

using namespace Qt::StringLiterals;

namespace Marblewick {

NSError::NSError(const QString &domain, qint64 code, const QVariantMap &userInfo)
    : m_domain(domain)
    , m_code(code)
    , m_userInfo(userInfo)
{ }

NSError NSError::posixError(int code, const QString &path)
{
    QVariantMap userInfo{
        {NSLocalizedDescriptionKey, QString::fromStdString(std::generic_category().message(code))}};
    if (!path.isEmpty())
        userInfo.insert(NSFilePathErrorKey, path);
    return NSError(NSPOSIXErrorDomain, code, userInfo);
}

QString NSError::localizedDescription() const
{
    const QString sentence = m_userInfo.value(NSLocalizedDescriptionKey).toString();
    if (!sentence.isEmpty())
        return sentence;
    return u"The operation couldn’t be completed. (%1 error %2.)"_s.arg(m_domain, QString::number(m_code));
}

QString NSError::description() const
{
    QString text = u"Error Domain=%1 Code=%2 \"%3\""_s.arg(m_domain, QString::number(m_code),
                                                           localizedDescription());
    const QString path = m_userInfo.value(NSFilePathErrorKey).toString();
    if (!path.isEmpty())
        text += u" ("_s + path + u')';
    return text;
}

} // namespace Marblewick
