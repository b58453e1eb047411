#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Command.h"
#include "Benchmarks/Comparison.h"

#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/NSKeyedArchiver.h>
#include <Marblewick/NSKeyedUnarchiver.h>

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr int times = 2000;

void fill(MBWSWUpdateInfo &record)
{
    record.setProductIdentifier(u"example.cartographer"_s);
    record.setProductName(u"Cartographer"_s);
    record.setVersionIdentifier(120);
    record.setVersionString(u"3.1"_s);
    record.setDirectDownloadURL(QUrl(u"https://example.com/downloads/cartographer-3.1.tar.xz"_s));
    record.setProductPageURL(QUrl(u"https://example.com/cartographer"_s));
    record.setUpdateInfoURL(QUrl(u"https://example.com/cartographer/notes/3.1.html"_s));
    record.setAppStoreURL(QUrl(u"appstream:example.cartographer"_s));
    record.setSystemVersion(u"12.5"_s);
}

/*! Microseconds of one piece of work. */
double microseconds(const std::function<bool()> &work)
{
    return 1e6 / times * secondsOf([&] {
               for (int i = 0; i < times; ++i) {
                   if (!work())
                       std::abort();
               }
           });
}

/*! Another program that prints the microseconds of one decoding and of one encoding. */
struct Peer
{
    QString name;
    QString command;
    QString promise;

    double decoding() const { return firstLineOf(command).split(' ').first().toDouble(); }
    double encoding() const { return firstLineOf(command).split(' ').last().trimmed().toDouble(); }
};

const QString pythonProgram = uR"py(
import plistlib, sys, time
data = open(sys.argv[1], "rb").read()
def measure(work):
    start = time.perf_counter()
    for i in range(500): work()
    return (time.perf_counter() - start) / 500 * 1e6
def record():
    objects = plistlib.loads(data)["$objects"]
    fields = {}
    for key, value in objects[1].items():
        if isinstance(value, plistlib.UID): value = objects[value.data]
        if isinstance(value, dict) and "NS.relative" in value: value = objects[value["NS.relative"].data]
        fields[key] = value
    return fields
archive = plistlib.loads(data)
print(measure(record),
      measure(lambda: plistlib.dumps(archive, fmt=plistlib.FMT_BINARY)))
)py"_s;

void compare(const Peer &peer, const std::function<double()> &decoding,
             const std::function<double()> &encoding)
{
    const auto print = [&](const char *what, const Comparison &comparison) {
        printRatio(what + peer.name.toStdString(), comparison.run(), "us", peer.promise.toStdString());
    };
    print("decoding a release's record / ", {decoding, [&] { return peer.decoding(); }, 5});
    print("encoding a release's record / ", {encoding, [&] { return peer.encoding(); }, 5});
}

} // namespace

void benchmarkFeed()
{
    MBWSWUpdateInfo record;
    fill(record);
    const QByteArray feed = NSKeyedArchiver::archivedDataWithRootObject(record);
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"feed"_s));
    if (!file.open(QIODevice::WriteOnly) || file.write(feed) != feed.size())
        std::abort();
    file.close();
    const auto decoding = [&] {
        return microseconds(
            [&] { return NSKeyedUnarchiver::unarchivedObjectOfClass<MBWSWUpdateInfo>(feed) != nullptr; });
    };
    const auto encoding = [&] {
        return microseconds(
            [&] { return NSKeyedArchiver::archivedDataWithRootObject(record).size() == feed.size(); });
    };

    printRatio("decoding a release's record / the limit", Comparison{decoding, [] { return 20; }}.run(), "us",
               "at most 1.0");
    const QString python = u"python3 -c '%1' '%2'"_s.arg(pythonProgram, file.fileName());
    compare({u"Python's plistlib"_s, python, u"at most 0.05"_s}, decoding, encoding);
    const QString gnustep = QCoreApplication::applicationDirPath() + u"/gnustep-archive"_s;
    if (QFile::exists(gnustep))
        compare({u"GNUstep's archiver"_s, u"'%1' measure '%2' %3"_s.arg(gnustep, file.fileName()).arg(times),
                 u"at most 0.33"_s},
                decoding, encoding);
    else
        std::puts("GNUstep's archiver is left out: it was not installed when this was configured.");
}
