#include "Platform/Foundation/NSAssertionHandler.h"

#include "Platform/Foundation/NSException.h"
#include "Platform/Foundation/NSLog.h"

namespace Marblewick::NSAssertionHandler {

void handleFailureInMethod(const QString &method, const QString &object, const QString &file, int lineNumber,
                           const QString &description)
{
    NSLog(u"*** Assertion failure in %@, receiver %@, %@:%@: %@",
          {method, object, file, QString::number(lineNumber), description});
    throw NSException(NSInternalInconsistencyException, description,
                      {{NSAssertMethodKey, method},
                       {NSAssertObjectKey, object},
                       {NSAssertFileKey, file},
                       {NSAssertLineKey, lineNumber}});
}

} // namespace Marblewick::NSAssertionHandler
