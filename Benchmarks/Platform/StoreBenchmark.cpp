#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"

#include <Marblewick/NSManagedObjectContext.h>

#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>
#include <sqlite3.h>
#include <string>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr int countOfRecords = 10'000;
constexpr int sizeOfData = 300; // about what a bookmark takes
constexpr int insertsInOneMeasurement = 20;

/*! A context on a store, which is made where there is none. */
std::unique_ptr<NSManagedObjectContext> openContext(const QString &path)
{
    const auto coordinator = std::make_shared<NSPersistentStoreCoordinator>(
        NSManagedObjectModel::initWithContentsOfURL(
            QUrl(u"qrc:/Marblewick/SandboxPersistedBookmarks.momd"_s)));
    if (!coordinator->addPersistentStoreWithType(NSSQLiteStoreType, {}, QUrl::fromLocalFile(path), {}))
        std::abort();
    auto context = std::make_unique<NSManagedObjectContext>(NSMainQueueConcurrencyType);
    context->setPersistentStoreCoordinator(coordinator);
    return context;
}

void insert(NSManagedObjectContext &context, int number)
{
    const NSEntityDescription *const entity = NSEntityDescription::entityForName(u"Bookmark"_s, context);
    NSManagedObject *const bookmark = NSManagedObject::initWithEntity(*entity, context);
    bookmark->setValue(u"data"_s, QByteArray(sizeOfData, 'x'));
    bookmark->setValue(u"isReadOnly"_s, true);
    bookmark->setValue(u"urlString"_s, u"file:///home/user/Documents/%1"_s.arg(number));
}

void save(NSManagedObjectContext &context)
{
    // As each save of a service: with a look for what is to be deleted first.
    NSFetchRequest request(u"Bookmark"_s);
    request.setPredicate(NSPredicate::predicateWithFormat(u"isUnresolvable == YES"_s));
    if (!context.executeFetchRequest(request) || !context.save())
        std::abort();
}

sqlite3 *openDatabase(const QString &path)
{
    sqlite3 *database = nullptr;
    if (::sqlite3_open(QFile::encodeName(path).constData(), &database) != SQLITE_OK)
        std::abort();
    return database;
}

void execute(sqlite3 *database, const std::string &sql)
{
    if (::sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        std::abort();
}

std::string insertStatement(int number)
{
    return "INSERT INTO Bookmark (data, isReadOnly, urlString) VALUES (x'" + std::string(2 * sizeOfData, 'a')
           + "', 1, 'file:///home/user/Documents/" + std::to_string(number) + "')";
}

double millisecondsOfEach(const std::function<void(int number)> &work)
{
    static int number = 0;
    return 1000 / double(insertsInOneMeasurement) * secondsOf([&] {
               for (int i = 0; i < insertsInOneMeasurement; ++i)
                   work(++number);
           });
}

void compareSave(const QString &folder, int countBefore)
{
    const QString path = folder + u"/ours%1"_s.arg(countBefore);
    const auto context = openContext(path);
    for (int i = 0; i < countBefore; ++i)
        insert(*context, i);
    save(*context);
    const QString peerPath = folder + u"/peer%1"_s.arg(countBefore);
    if (!QFile::copy(path, peerPath))
        std::abort();
    sqlite3 *const peer = openDatabase(peerPath);

    const Comparison comparison{
        .ours =
            [&] {
                return millisecondsOfEach([&](int number) {
                    insert(*context, number);
                    save(*context);
                });
            },
        .peer =
            [&] { return millisecondsOfEach([&](int number) { execute(peer, insertStatement(number)); }); },
        .repetitions = 7};
    printRatio("an object saved in a store of " + std::to_string(countBefore) + " / durable SQLite INSERT",
               comparison.run(), "ms", "at most 1.5");
    ::sqlite3_close(peer);
}

/*! Reads the same columns, as a program would that uses SQLite itself. */
size_t readRows(const QString &path)
{
    struct Row
    {
        QByteArray data;
        QString urlString;
        bool isDirectory = false;
        bool isReadOnly = false;
        bool isUnresolvable = false;
    };
    sqlite3 *const database = openDatabase(path);
    sqlite3_stmt *statement = nullptr;
    ::sqlite3_prepare_v2(database,
                         "SELECT data, urlString, isDirectory, isReadOnly, isUnresolvable FROM Bookmark", -1,
                         &statement, nullptr);
    std::vector<Row> rows;
    while (::sqlite3_step(statement) == SQLITE_ROW) {
        rows.push_back(
            {QByteArray(static_cast<const char *>(::sqlite3_column_blob(statement, 0)),
                        ::sqlite3_column_bytes(statement, 0)),
             QString::fromUtf8(reinterpret_cast<const char *>(::sqlite3_column_text(statement, 1))),
             ::sqlite3_column_int(statement, 2) != 0, ::sqlite3_column_int(statement, 3) != 0,
             ::sqlite3_column_int(statement, 4) != 0});
    }
    ::sqlite3_finalize(statement);
    ::sqlite3_close(database);
    return rows.size();
}

size_t fetchObjects(const QString &path)
{
    const auto context = openContext(path);
    const auto objects = context->executeFetchRequest(NSFetchRequest(u"Bookmark"_s));
    return objects ? static_cast<size_t>(objects->size()) : 0;
}

void compareFetch(const QString &folder)
{
    const QString path = folder + u"/many"_s;
    {
        const auto context = openContext(path);
        for (int i = 0; i < countOfRecords; ++i)
            insert(*context, i);
        save(*context);
    }
    if (fetchObjects(path) != countOfRecords || readRows(path) != countOfRecords)
        std::abort();
    const Comparison comparison{.ours = [&] { return 1000 * secondsOf([&] { fetchObjects(path); }); },
                                .peer = [&] { return 1000 * secondsOf([&] { readRows(path); }); }};
    printRatio("a store opened and 10,000 objects fetched / the rows read by SQLite", comparison.run(), "ms",
               "at most 2.0");
}

} // namespace

void benchmarkStore()
{
    const QTemporaryDir folder;
    compareSave(folder.path(), 1);
    compareSave(folder.path(), countOfRecords);
    compareFetch(folder.path());
}
