#include "Platform/Foundation/NSException.h"

using namespace Qt::StringLiterals;

namespace Marblewick {

NSException::NSException(const QString &name, const QString &reason, const QVariantMap &userInfo)
    : m_name(name)
    , m_reason(reason)
    , m_userInfo(userInfo)
    , m_what((name + u": "_s + reason).toUtf8())
{ }

NSException::~NSException() = default;

} // namespace Marblewick
