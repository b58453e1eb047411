#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <exception>

namespace Marblewick {

/*! Name of the exception for a state that must not be, such as an argument that an assertion asks for. */
inline constexpr QLatin1StringView NSInternalInconsistencyException("NSInternalInconsistencyException");
/*! Name of the exception for a call that its receiver cannot carry out. */
inline constexpr QLatin1StringView NSInvalidArgumentException("NSInvalidArgumentException");

/*! A mistake of the programmer's or of the installation: a name, a reason for people, and details. It is
    thrown by value; what() is the name and the reason.
*/
class MARBLEWICK_CORE_EXPORT NSException : public std::exception
{
public:
    NSException(const QString &name, const QString &reason, const QVariantMap &userInfo = {});
    NSException(const NSException &) = default;
    NSException &operator=(const NSException &) = default;
    ~NSException() override;

    QString name() const { return m_name; }
    QString reason() const { return m_reason; }
    QVariantMap userInfo() const { return m_userInfo; }

    const char *what() const noexcept override { return m_what.constData(); }

private:
    QString m_name;
    QString m_reason;
    QVariantMap m_userInfo;
    QByteArray m_what;
};

} // namespace Marblewick
