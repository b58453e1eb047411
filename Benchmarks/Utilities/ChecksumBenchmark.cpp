#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Command.h"
#include "Benchmarks/Comparison.h"

#include <Marblewick/NSData+MBWExtensions.h>
#include <Marblewick/NSFileManager+MBWExtensions.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr qsizetype mebibyte = 1024 * 1024;
constexpr int sizeOfLargeFile = 1024; // MiB
constexpr int depth = 12;
constexpr int countOfFiles = 20'000;
constexpr qsizetype sizeOfFile = 4096;

QString checksumHost(const QString &path)
{
    return QCoreApplication::applicationDirPath() + u"/checksum-host "_s + path;
}

QByteArray noise(qsizetype size, uint seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (char &byte : bytes)
        byte = static_cast<char>((seed = seed * 1664525 + 1013904223) >> 24);
    return bytes;
}

void write(const QString &path, const QByteArray &contents, int times = 1)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        std::abort();
    for (int i = 0; i < times; ++i) {
        if (file.write(contents) != contents.size())
            std::abort();
    }
}

/*! Chains of folders, each folder with its share of the files. Returns the files' paths. */
QStringList makeTree(const QString &top, int chains, int foldersInChain, int files)
{
    QStringList paths;
    const int inEachFolder = files / (chains * foldersInChain);
    for (int chain = 0; chain < chains; ++chain) {
        QString folder = top + u"/chain%1"_s.arg(chain);
        for (int level = 0; level < foldersInChain; ++level, folder += u"/level%1"_s.arg(level)) {
            QDir().mkpath(folder);
            for (int i = 0; i < inEachFolder; ++i) {
                paths.append(folder + u"/file%1"_s.arg(i));
                write(paths.last(), noise(sizeOfFile, static_cast<uint>(paths.size())));
            }
        }
    }
    return paths;
}

/*! The checksum as it is defined, without remembering anything: exponential in the depth. */
QByteArray naiveChecksum(const QString &path)
{
    const QFileInfo item(path);
    if (!item.isDir()) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            std::abort();
        return MBWExtensions::SHA1Digest(file.readAll());
    }
    QByteArray checksums;
    const auto descend = [&](const auto &self, const QString &folder) -> void {
        NSFileManager::defaultManager()->enumerateContentsOfDirectoryAtPath(folder, [&](QByteArrayView name) {
            const QString entry = folder + u'/' + QString::fromUtf8(name);
            checksums += naiveChecksum(entry);
            if (QFileInfo(entry).isDir())
                self(self, entry);
        });
    };
    descend(descend, path);
    return MBWExtensions::SHA1Digest(checksums);
}

double milliseconds(const QString &command)
{
    return 1000 * secondsOf([&] { firstLineOf(command); });
}

void compareLargeFile(const QString &folder)
{
    const QString path = folder + u"/large"_s;
    write(path, noise(mebibyte, 1), sizeOfLargeFile);
    const QByteArray ours = firstLineOf(checksumHost(path));
    if (ours.left(40) != firstLineOf(u"sha1sum "_s + path).left(40))
        std::abort();

    const Comparison sha1sum{.ours = [&] { return milliseconds(checksumHost(path)); },
                             .peer = [&] { return milliseconds(u"sha1sum "_s + path); },
                             .repetitions = 5};
    printRatio("checksum of a file, 1 GiB / sha1sum", sha1sum.run(), "ms", "at most 0.53");
    const Comparison openssl{.ours = [&] { return milliseconds(checksumHost(path)); },
                             .peer = [&] { return milliseconds(u"openssl dgst -sha1 "_s + path); },
                             .repetitions = 5};
    printRatio("checksum of a file, 1 GiB / openssl dgst -sha1", openssl.run(), "ms", "at most 1.0");
    const Comparison memory{.ours = [&] { return ours.mid(41).trimmed().toDouble() / 1024; },
                            .peer = [] { return 16; },
                            .repetitions = 1};
    printRatio("its peak memory, all of the process / the limit", memory.run(), "MiB", "at most 1.0");
    QFile::remove(path);
}

void compareTree(const QString &folder)
{
    const QString top = folder + u"/tree"_s;
    constexpr int chains = 17;
    const QStringList paths = makeTree(top, chains, depth, countOfFiles + chains * depth);
    const QString list = folder + u"/list"_s;
    write(list, paths.join(QChar(0)).toUtf8());
    const Comparison sha1sum{.ours = [&] { return milliseconds(checksumHost(top)); },
                             .peer = [&] { return milliseconds(u"xargs -0 -a %1 sha1sum"_s.arg(list)); }};
    printRatio("checksum of a tree, 20,000 files 12 deep / sha1sum once", sha1sum.run(), "ms", "at most 1.5");
}

void compareNaiveRecursion(const QString &folder)
{
    const QString top = folder + u"/deep"_s;
    makeTree(top, 1, depth, depth);
    const auto ours = [&] {
        return MBWExtensions::checksumForFileAtPath(NSFileManager::defaultManager(), top);
    };
    if (ours() != naiveChecksum(top))
        std::abort();
    const Comparison naive{.ours = [&] { return 1000 * secondsOf([&] { ours(); }); },
                           .peer = [&] { return 1000 * secondsOf([&] { naiveChecksum(top); }); },
                           .repetitions = 5};
    printRatio("checksum of 12 files, one in each of 12 depths / naive recursion", naive.run(), "ms",
               "at most 1.0");
}

} // namespace

void benchmarkChecksum()
{
    const QTemporaryDir folder;
    compareLargeFile(folder.path());
    compareTree(folder.path());
    compareNaiveRecursion(folder.path());
}
