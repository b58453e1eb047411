#include "Platform/Foundation/Bookmarks/FlatpakSandbox.h"

#include "Platform/Foundation/Bookmarks/FilePath.h"
#include "Platform/Foundation/NSFileManager.h"

#include <QList>

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! The folders in which the portal shows the application's documents: the one whose paths it hands out, and
   the one that this is a link to.
*/
std::array<QByteArray, 2> documentsFolders()
{
    QByteArray runtimeFolder = qgetenv("XDG_RUNTIME_DIR");
    if (!runtimeFolder.startsWith('/'))
        runtimeFolder = "/run/user/" + QByteArray::number(::getuid());
    return {runtimeFolder + "/doc", "/run/flatpak/doc"};
}

bool isProofOfAbsence(int failure)
{
    return failure == ENOENT || failure == ENOTDIR || failure == ELOOP || failure == ENAMETOOLONG;
}

bool exists(const QByteArray &path, struct stat *status) { return ::stat(path.constData(), status) == 0; }

/*! Whether something that is missing may be so only within the sandbox. The folders that a sandbox consists
   of, such as /home, are on the file system of its root, and hold nothing but what it shows.
*/
bool mayBeHidden(QByteArray path)
{
    const auto documents = documentsFolders();
    struct stat root = {};
    struct stat status = {};
    if (!exists("/", &root))
        return true;
    while (!exists(path, &status)) {
        const bool cannotLook = !isProofOfAbsence(errno);
        const bool isLinkToWhatIsMissing = ::lstat(path.constData(), &status) == 0;
        if (cannotLook || isLinkToWhatIsMissing)
            return true;
        path = folderOfItem(path);
    }
    return status.st_dev == root.st_dev
           || std::find(documents.begin(), documents.end(), path) != documents.end();
}

} // namespace

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

qsizetype documentsFolderLength(const QByteArray &path)
{
    if (!FlatpakSandbox::current())
        return 0;
    for (const QByteArray &folder : documentsFolders()) {
        const QByteArray document = path.mid(folder.size());
        const bool goesUp = (document + '/').contains("/../");
        if (path.startsWith(folder) && document.startsWith('/') && !goesUp)
            return folder.size();
    }
    return 0;
}

QByteArray currentDocumentPath(const QByteArray &path, qsizetype documentsFolderLength)
{
    const auto folders = documentsFolders();
    const bool isCurrent = std::find(folders.begin(), folders.end(), path.left(documentsFolderLength))
                           != folders.end();
    return isCurrent ? path : folders.front() + path.mid(documentsFolderLength);
}

int provenAbsence(const QByteArray &path)
{
    struct stat status = {};
    if (exists(path, &status))
        return 0;
    const int failure = errno;
    const bool looksMissing = failure == ENOENT || failure == ENOTDIR;
    if (!isProofOfAbsence(failure) || (looksMissing && FlatpakSandbox::current() && mayBeHidden(path)))
        return 0;
    return failure;
}

} // namespace Marblewick
