#include "Platform/Foundation/NSAssertionHandler.h"

#include "Platform/Foundation/NSException.h"
#include "Platform/Foundation/NSLog.h"

namespace Marblewick::NSAssertionHandler {

void handleFailureInMethod(const QString &method, const QString &object, const QString &description,
                           const std::source_location &where)
{
    const QString file = QString::fromUtf8(where.file_name()).section(u'/', -1);
    const int line = static_cast<int>(where.line());
    NSLog(u"*** Assertion failure in %@, receiver %@, %@:%@: %@",
          {method, object, file, QString::number(line), description});
    throw NSException(NSInternalInconsistencyException, description,
                      {{NSAssertMethodKey, method},
                       {NSAssertObjectKey, object},
                       {NSAssertFileKey, file},
                       {NSAssertLineKey, line}});
}

} // namespace Marblewick::NSAssertionHandler
