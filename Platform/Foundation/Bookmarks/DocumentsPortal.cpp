#include "Platform/Foundation/Bookmarks/DocumentsPortal.h"

#include "Platform/Foundation/Bookmarks/FilePath.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <future>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace Marblewick {

namespace {

constexpr std::chrono::milliseconds timeLimit(500);

/*! Whether a file system is shown at the folder: one other than that of the folder above. Of which kind it is
   the portal refuses to say there.
*/
bool isShown(const QByteArray &documentsFolder)
{
    struct stat status = {};
    struct stat above = {};
    return ::stat(documentsFolder.constData(), &status) == 0
           && ::stat(folderOfItem(documentsFolder).constData(), &above) == 0 && status.st_dev != above.st_dev;
}

/*! The folders in which the portal shows documents: the one whose paths it hands out, and the one that this
   is a link to in a sandbox.
*/
std::array<QByteArray, 2> documentsFolders()
{
    QByteArray runtimeFolder = qgetenv("XDG_RUNTIME_DIR");
    if (!runtimeFolder.startsWith('/'))
        runtimeFolder = "/run/user/" + QByteArray::number(::getuid());
    while (runtimeFolder.endsWith('/'))
        runtimeFolder.chop(1);
    return {runtimeFolder + "/doc", "/run/flatpak/doc"};
}

} // namespace

qsizetype documentsFolderLength(const QByteArray &path)
{
    for (const QByteArray &folder : documentsFolders()) {
        const QByteArray below = path.mid(folder.size()) + '/';
        if (path.startsWith(folder) && below.startsWith('/'))
            return below.contains("/../") ? 0 : folder.size();
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

std::optional<int> answerOfDocumentsPortal(const QByteArray &documentsFolder, std::function<int()> question)
{
    static bool isSlow = false;
    if (isSlow)
        return std::nullopt;
    std::packaged_task<std::optional<int>()> task([documentsFolder, question = std::move(question)] {
        const int answer = question();
        // Where the portal went in the meantime, it was the empty folder under it that answered.
        return isShown(documentsFolder) ? std::optional(answer) : std::nullopt;
    });
    auto answer = task.get_future();
    try {
        std::thread(std::move(task)).detach();
    } catch (const std::system_error &) {
        return std::nullopt; // The system has no thread left.
    }
    isSlow = answer.wait_for(timeLimit) != std::future_status::ready;
    return isSlow ? std::nullopt : answer.get();
}

} // namespace Marblewick
