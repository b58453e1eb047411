#include "Platform/Foundation/NSLog.h"

#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSString.h"
#include "Platform/Foundation/StandardError.h"

#include <QDateTime>

#include <mutex>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

void NSLog(QStringView format, std::initializer_list<std::optional<QString>> arguments)
{
    const QString message = NSString::escapingControlCharacters(
        NSString::stringWithFormat(format, arguments));
    const QString line = u"%1 %2[%3:%4] %5\n"_s.arg(
        QDateTime::currentDateTime().toString(u"yyyy-MM-dd HH:mm:ss.zzz"),
        NSString::escapingControlCharacters(NSBundle::mainBundle()->executableName()),
        QString::number(::getpid()), QString::number(::gettid()), message);
    const QByteArray bytes = line.toUtf8();

    // The system takes a long line in pieces where standard error is a pipe that fills up.
    static constinit std::mutex oneLineAtATime;
    const std::lock_guard locker(oneLineAtATime);
    writeToStandardError(bytes);
}

} // namespace Marblewick
