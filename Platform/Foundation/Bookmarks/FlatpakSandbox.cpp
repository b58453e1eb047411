#include "Platform/Foundation/Bookmarks/FlatpakSandbox.h"

#include "Platform/Foundation/NSFileManager.h"

#include <QList>

using namespace Qt::StringLiterals;

namespace Marblewick {

const FlatpakSandbox *FlatpakSandbox::current()
{
    static const auto sandbox = []() -> std::optional<FlatpakSandbox> {
        constexpr qint64 maximumSize = 65536;
        const auto info = NSFileManager::defaultManager()->contentsAtPath(u"/.flatpak-info"_s, maximumSize);
        return info ? fromInfo(*info) : std::nullopt;
    }();
    return sandbox ? &*sandbox : nullptr;
}

std::optional<FlatpakSandbox> FlatpakSandbox::fromInfo(const QByteArray &info)
{
    bool isInGroup = false;
    for (const QByteArray &untrimmed : info.split('\n')) {
        const QByteArray line = untrimmed.trimmed();
        if (line.startsWith('['))
            isInGroup = line == "[Application]";
        else if (isInGroup && line.startsWith("name=") && line.size() > 5 && !line.contains('/'))
            return FlatpakSandbox{QString::fromUtf8(line.sliced(5))};
    }
    return std::nullopt;
}

} // namespace Marblewick
