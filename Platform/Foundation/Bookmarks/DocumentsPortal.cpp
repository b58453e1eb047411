#include "Platform/Foundation/Bookmarks/DocumentsPortal.h"

#include <chrono>
#include <future>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <system_error>
#include <thread>

namespace Marblewick {

namespace {

constexpr std::chrono::milliseconds timeLimit(500);

bool isThere(const QByteArray &documentsFolder)
{
    struct statfs status = {};
    return ::statfs(documentsFolder.constData(), &status) == 0 && status.f_type == FUSE_SUPER_MAGIC;
}

} // namespace

std::optional<int> answerOfDocumentsPortal(const QByteArray &documentsFolder, std::function<int()> question)
{
    static bool isSlow = false;
    if (isSlow)
        return std::nullopt;
    std::packaged_task<std::optional<int>()> task([documentsFolder, question = std::move(question)] {
        return isThere(documentsFolder) ? std::optional(question()) : std::nullopt;
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
