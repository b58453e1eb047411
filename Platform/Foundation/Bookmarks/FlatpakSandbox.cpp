#include "Platform/Foundation/Bookmarks/FlatpakSandbox.h"

#include "Platform/Foundation/NSFileManager.h"

#include <QList>

#include <optional>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! The application that the description of a sandbox names; empty where it names none that could be the name
   of a folder.
*/
QString applicationNamedBy(const QByteArray &info)
{
    bool isInGroup = false;
    for (const QByteArray &untrimmed : info.split('\n')) {
        const QByteArray line = untrimmed.trimmed();
        if (line.startsWith('['))
            isInGroup = line == "[Application]";
        if (!isInGroup || !line.startsWith("name="))
            continue;
        const QByteArray name = line.sliced(5);
        return name.contains('/') || name == "." || name == ".." ? QString() : QString::fromUtf8(name);
    }
    return {};
}

} // namespace

const FlatpakSandbox *FlatpakSandbox::current()
{
    static const auto sandbox = []() -> std::optional<FlatpakSandbox> {
        constexpr qint64 maximumSize = 65536;
        const QString path = u"/.flatpak-info"_s;
        if (::access("/.flatpak-info", F_OK) != 0)
            return std::nullopt;
        const auto info = NSFileManager::defaultManager()->contentsAtPath(path, maximumSize);
        return FlatpakSandbox{info ? applicationNamedBy(*info) : QString()};
    }();
    return sandbox ? &*sandbox : nullptr;
}

} // namespace Marblewick
