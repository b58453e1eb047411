#include "Platform/Foundation/NSLog.h"

#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSString.h"

#include <QDateTime>

#include <cerrno>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

void writeWholly(int descriptor, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), static_cast<size_t>(bytes.size()));
        if (written > 0)
            bytes = bytes.sliced(written);
        else if (errno != EINTR)
            return; // A log that cannot be written has nowhere to say so.
    }
}

} // namespace

void NSLog(QStringView format, std::initializer_list<std::optional<QString>> arguments)
{
    const QString message = NSString::escapingControlCharacters(
        NSString::stringWithFormat(format, arguments));
    const QString line = u"%1 %2[%3:%4] %5\n"_s.arg(
        QDateTime::currentDateTime().toString(u"yyyy-MM-dd HH:mm:ss.zzz"),
        NSString::escapingControlCharacters(NSBundle::mainBundle()->executableName()),
        QString::number(::getpid()), QString::number(::gettid()), message);
    writeWholly(STDERR_FILENO, line.toUtf8());
}

} // namespace Marblewick
