#include "Tests/Support/UnprivilegedChild.h"

#include <gtest/gtest.h>

#include <QDirIterator>
#include <QFile>

#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uid_t nobody = 65534;

void handOver(const QString &folder)
{
    EXPECT_EQ(::lchown(QFile::encodeName(folder).constData(), nobody, nobody), 0);
    QDirIterator items(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (items.hasNext())
        EXPECT_EQ(::lchown(QFile::encodeName(items.next()).constData(), nobody, nobody), 0);
}

} // namespace

bool resultInUnprivilegedChild(const QString &folder, const std::function<bool()> &check)
{
    const bool isRoot = ::geteuid() == 0;
    if (isRoot)
        handOver(folder);
    const pid_t child = ::fork();
    if (child == 0) {
        const bool isUnprivileged = !isRoot || (::setgid(nobody) == 0 && ::setuid(nobody) == 0);
        ::_exit(isUnprivileged ? (check() ? 0 : 1) : 2);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "the child died of signal " << WTERMSIG(status);
    EXPECT_NE(WEXITSTATUS(status), 2) << "privileges could not be dropped";
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
