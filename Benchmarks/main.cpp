// Every figure beside its peer's on the same work in the same run. Quote the ratios: the times are this
// machine's. The arguments name the groups to run; without one, all are.

#include "Benchmarks/Benchmarks.h"

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

struct Group
{
    QString name;
    void (*run)();
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("BenchmarkHost"));
    const std::vector<Group> groups{
        {QStringLiteral("check"), benchmarkCheck},
        {QStringLiteral("launch"), benchmarkLaunch},
        {QStringLiteral("crashlog"), benchmarkCrashLog},
        {QStringLiteral("install"), benchmarkCrashLogInstall},
        {QStringLiteral("upload"), benchmarkUpload},
        {QStringLiteral("feed"), benchmarkFeed},
        {QStringLiteral("update"), benchmarkUpdateCheck},
        {QStringLiteral("log"), benchmarkLog},
        {QStringLiteral("exception"), benchmarkException},
        {QStringLiteral("panels"), benchmarkPanels},
        {QStringLiteral("richtext"), benchmarkRichText},
        {QStringLiteral("bookmarks"), benchmarkBookmarks},
        {QStringLiteral("store"), benchmarkStore},
        {QStringLiteral("sandbox"), benchmarkSandbox},
        {QStringLiteral("hexadecimal"), benchmarkHexadecimal},
        {QStringLiteral("encryption"), benchmarkEncryption},
        {QStringLiteral("checksum"), benchmarkChecksum},
    };
    const QStringList wanted = QCoreApplication::arguments().mid(1);
    for (const QString &name : wanted) {
        if (std::ranges::find(groups, name, &Group::name) == groups.end()) {
            std::fprintf(stderr, "marblewick-benchmarks: no group \"%s\"\n", qPrintable(name));
            return 2;
        }
    }
    for (const Group &group : groups) {
        if (wanted.isEmpty() || wanted.contains(group.name))
            group.run();
    }
    return 0;
}
