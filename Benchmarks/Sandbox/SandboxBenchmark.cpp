#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"

#include <Marblewick/MBWSandboxManager.h>
#include <Marblewick/MBWSandboxPersistedBookmark.h>
#include <Marblewick/NSManagedObjectContext.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr int countOfGrants = 10'000;
constexpr int decisions = 10'000;
constexpr int grants = 20;

QUrl storeURL;

class BenchmarkManager : public MBWSandboxManager
{
public:
    std::optional<QUrl> storeFileURL() const override { return storeURL; }
};

using Database = std::unique_ptr<sqlite3, int (*)(sqlite3 *)>;
using Statement = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt *)>;

Database openDatabase(const QString &path)
{
    sqlite3 *database = nullptr;
    if (sqlite3_open(path.toUtf8().constData(), &database) != SQLITE_OK)
        std::abort();
    return {database, sqlite3_close};
}

Statement prepare(const Database &database, const char *sql)
{
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(database.get(), sql, -1, &statement, nullptr) != SQLITE_OK)
        std::abort();
    return {statement, sqlite3_finalize};
}

void execute(const Database &database, const char *sql)
{
    if (sqlite3_exec(database.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        std::abort();
}

std::string bytes(const Statement &statement, int column)
{
    const auto *const data = static_cast<const char *>(sqlite3_column_blob(statement.get(), column));
    return {data, static_cast<size_t>(sqlite3_column_bytes(statement.get(), column))};
}

/*! The system calls that tell whether an item is the one that was bookmarked. */
void identify(const std::string &path)
{
    const int item = ::open(path.c_str(), O_PATH | O_CLOEXEC | O_NOFOLLOW);
    struct statx status = {};
    struct statfs fileSystem = {};
    alignas(file_handle) char room[sizeof(file_handle) + MAX_HANDLE_SZ] = {};
    auto *const handle = reinterpret_cast<file_handle *>(room);
    handle->handle_bytes = MAX_HANDLE_SZ;
    int mount = 0;
    if (item < 0 || ::statx(item, "", AT_EMPTY_PATH, STATX_TYPE | STATX_INO | STATX_BTIME, &status) != 0
        || ::fstatfs(item, &fileSystem) != 0)
        std::abort();
    ::name_to_handle_at(item, "", handle, &mount, AT_EMPTY_PATH);
    ::close(item);
}

struct Row
{
    std::string data;
    std::string urlString;
    bool isDirectory = false;
    bool isReadOnly = false;
    bool isUnresolvable = false;
};

/*! Reads the rows of a store and looks at each item. */
void plainStart()
{
    const Database database = openDatabase(storeURL.toLocalFile());
    const Statement select = prepare(
        database, "SELECT data, urlString, isDirectory, isReadOnly, isUnresolvable FROM Bookmark");
    std::vector<Row> rows;
    while (sqlite3_step(select.get()) == SQLITE_ROW) {
        rows.push_back({bytes(select, 0), bytes(select, 1), sqlite3_column_int(select.get(), 2) != 0,
                        sqlite3_column_int(select.get(), 3) != 0, sqlite3_column_int(select.get(), 4) != 0});
    }
    if (rows.size() != countOfGrants)
        std::abort();
    for (const Row &row : rows)
        identify(row.urlString.substr(std::char_traits<char>::length("file://")));
}

/*! Puts grants of folders, all in `folder`, in the place of those in the store. */
void fillStore(const QString &folder)
{
    MBWSandboxManager *const manager = MBWSandboxManager::sharedManager();
    const auto former = manager->managedObjectContext()->executeFetchRequest(NSFetchRequest(u"Bookmark"_s));
    for (NSManagedObject *const bookmark : former.value_or(QList<NSManagedObject *>()))
        manager->managedObjectContext()->deleteObject(bookmark);
    for (int i = 0; i < countOfGrants; ++i) {
        const QString path = folder + u"/folder%1"_s.arg(i, 5, 10, QChar(u'0'));
        QDir().mkpath(path);
        MBWSandboxPersistedBookmark::insertBookmarkForURL(QUrl::fromLocalFile(path), false);
    }
    if (!manager->managedObjectContext()->save())
        std::abort();
}

void compareStart()
{
    const Comparison comparison{
        .ours =
            [] {
                std::unique_ptr<MBWSandboxManager> manager; // A host's lasts until the process ends.
                return 1000 * secondsOf([&] { manager = MBWSandboxManager::init<BenchmarkManager>(); });
            },
        .peer = [] { return 1000 * secondsOf(plainStart); }};
    printRatio("start with 10,000 grants / sqlite3 and the system calls", comparison.run(), "ms",
               "at most 1.5");
}

void makeFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        std::abort();
}

/*! The system calls of a decision about a file in a granted folder: whether both are there, whether they are
    folders, and whether the folder is a package.
*/
void askSystem(const std::string &folder, const std::string &file)
{
    struct stat status = {};
    char target[PATH_MAX];
    for (int i = 0; i < 2; ++i)
        ::stat(file.c_str(), &status);
    for (int i = 0; i < 3; ++i)
        ::stat(folder.c_str(), &status);
    const int item = ::open(folder.c_str(), O_PATH | O_CLOEXEC);
    const std::string link = "/proc/self/fd/" + std::to_string(item);
    if (item < 0 || ::readlink(link.c_str(), target, sizeof target) < 0)
        std::abort();
    ::close(item);
    ::stat((folder + "/Contents/Info.plist").c_str(), &status);
    ::stat((folder + "/AppRun").c_str(), &status);
}

void compareDecision(const QString &folder)
{
    const QString path = folder + u"/folder05000"_s;
    makeFile(path + u"/Iceland.map"_s);
    const auto manager = MBWSandboxManager::init<BenchmarkManager>();
    const QUrl url = QUrl::fromLocalFile(path + u"/Iceland.map"_s);
    const std::string name = path.toStdString();
    const auto microseconds = [](const auto &work) {
        return 1e6 / decisions * secondsOf([&] {
                   for (int i = 0; i < decisions; ++i)
                       work();
               });
    };
    const Comparison comparison{
        .ours =
            [&] {
                return microseconds([&] {
                    if (manager->appNeedsToObtainPermissionToAccessURL(url))
                        std::abort();
                });
            },
        .peer = [&] { return microseconds([&] { askSystem(name, name + "/Iceland.map"); }); }};
    printRatio("decision in a granted folder of 10,000 / its system calls", comparison.run(), "us",
               "at most 3.0");
}

void makeFiles(const QString &folder)
{
    if (!QDir(folder).removeRecursively() || !QDir().mkpath(folder))
        std::abort();
    for (int i = 0; i < grants; ++i)
        makeFile(folder + u"/file%1"_s.arg(i));
}

double millisecondsOfGrant(const QString &folder)
{
    makeFiles(folder);
    return 1000.0 / grants * secondsOf([&] {
               for (int i = 0; i < grants; ++i)
                   MBWSandboxManager::sharedManager()->appDidObtainPermissionToAccessURL(
                       QUrl::fromLocalFile(folder + u"/file%1"_s.arg(i)));
           });
}

double millisecondsOfInsert(const Database &database, const QString &folder)
{
    const Statement insert = prepare(database, "INSERT INTO Bookmark VALUES (NULL, ?, 0, 0, ?, 0)");
    const std::string data(200, 'b');
    return 1000.0 / grants * secondsOf([&] {
               for (int i = 0; i < grants; ++i) {
                   const QByteArray url = (folder + u"/file%1"_s.arg(i)).toUtf8();
                   sqlite3_bind_blob(insert.get(), 1, data.data(), static_cast<int>(data.size()),
                                     SQLITE_STATIC);
                   sqlite3_bind_text(insert.get(), 2, url.constData(), -1, SQLITE_STATIC);
                   if (sqlite3_step(insert.get()) != SQLITE_DONE)
                       std::abort();
                   sqlite3_reset(insert.get());
               }
           });
}

void compareGrant(const char *what, const char *promise, const QString &folder)
{
    const QString grantFolder = folder + u"/grants-of-files"_s;
    QFile::remove(folder + u"/peer"_s);
    const Database database = openDatabase(folder + u"/peer"_s);
    execute(database, "PRAGMA synchronous = FULL; "
                      "CREATE TABLE Bookmark(id INTEGER PRIMARY KEY, data BLOB, isDirectory INTEGER, "
                      "isReadOnly INTEGER, urlString TEXT, isUnresolvable INTEGER)");
    static int round = 0;
    const Comparison comparison{
        .ours = [&] { return millisecondsOfGrant(grantFolder + QString::number(++round)); },
        .peer = [&] { return millisecondsOfInsert(database, grantFolder); },
        .repetitions = 9};
    printRatio(what, comparison.run(), "ms", promise);
}

} // namespace

void benchmarkSandbox()
{
    const QTemporaryDir folder;
    const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    storeURL = QUrl::fromLocalFile(folder.path() + u"/grants"_s);
    MBWSandboxManager::sharedManager<BenchmarkManager>();
    compareGrant("a grant with its save / a durable insert", "at most 1.5", folder.path());
    fillStore(folder.path());
    compareStart();
    compareDecision(folder.path());
    // All records are looked at for those to be purged, which takes less than a millisecond.
    compareGrant("a grant beside 10,000 others / a durable insert", "no promise", folder.path());
}
