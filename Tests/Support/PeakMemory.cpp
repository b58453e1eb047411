#include "Tests/Support/PeakMemory.h"

#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

qint64 peak()
{
    const QByteArray status = readFile(u"/proc/self/status"_s);
    const QByteArray line = status.mid(status.indexOf("VmHWM:") + 6);
    return 1024 * line.left(line.indexOf("kB")).trimmed().toLongLong();
}

void forgetPeak()
{
    QFile file(u"/proc/self/clear_refs"_s);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(file.write("5"), 1);
}

} // namespace

qint64 peakMemoryAddedBy(const std::function<void()> &work)
{
    forgetPeak();
    const qint64 before = peak();
    work();
    return peak() - before;
}
