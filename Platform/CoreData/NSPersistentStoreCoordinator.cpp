#include "Platform/CoreData/NSPersistentStoreCoordinator.h"

#include "Platform/CoreData/StoreError.h"
#include "Platform/Foundation/Bookmarks/FilePath.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/Plugin.h"

#include <cerrno>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! Stands in where the plugin cannot be loaded: a good store must not pass for a damaged one. */
class UnavailableStore : public PersistentStore
{
public:
    explicit UnavailableStore(const QString &reason)
        : m_failure{NSPersistentStoreOperationError, reason}
    { }

    Reading read(std::vector<StoreRecord> &, StoreFailure &failure) override
    {
        failure = m_failure;
        return Reading::Failed;
    }

    bool save(const std::vector<StoreRecord> &, std::vector<StoreRecord> &, StoreFailure &failure) override
    {
        failure = m_failure;
        return false;
    }

private:
    const StoreFailure m_failure;
};

/*! Empty where the URL is not that of an absolute path on this machine. */
QString pathOf(const QUrl &url)
{
    const std::optional<QByteArray> path = filePath(url, nullptr);
    return path ? NSFileManager::stringWithFileSystemRepresentation(*path) : QString();
}

std::unique_ptr<PersistentStore> openSQLiteStore(const NSManagedObjectModel &model, const QString &path,
                                                 StoreOptions options, StoreFailure &failure)
{
    QString reason;
    const auto open = reinterpret_cast<MarblewickOpenSQLiteStore>(
        resolveInPlugin("marblewick-sqlite", marblewickOpenSQLiteStoreName, &reason));
    if (!open)
        return std::make_unique<UnavailableStore>(reason);
    return std::unique_ptr<PersistentStore>(
        open(model, NSFileManager::fileSystemRepresentationWithPath(path), options, failure));
}

} // namespace

NSPersistentStoreCoordinator::NSPersistentStoreCoordinator(
    const std::shared_ptr<const NSManagedObjectModel> &model)
    : m_model(model)
{ }

NSPersistentStoreCoordinator::~NSPersistentStoreCoordinator() = default;

bool NSPersistentStoreCoordinator::addPersistentStoreWithType(const QString &type,
                                                              const std::optional<QString> &configuration,
                                                              const std::optional<QUrl> &url,
                                                              const QVariantMap &options, NSError *error)
{
    const QString path = pathOf(url.value_or(QUrl()));
    const auto refuse = [&](const QString &reason) {
        return fail(error, {NSPersistentStoreOpenError, reason}, path);
    };
    if (!m_model)
        return refuse(u"There is no model of what the store holds."_s);
    if (type != NSSQLiteStoreType || configuration)
        return refuse(u"There is no such type or configuration of stores."_s);
    if (m_store)
        return refuse(u"A store is open already."_s);
    if (path.isEmpty())
        return refuse(u"The URL of the store is not one of a file."_s);

    StoreFailure failure;
    m_store = openSQLiteStore(*m_model, path,
                              {options.value(NSMigratePersistentStoresAutomaticallyOption).toBool(),
                               options.value(NSReadOnlyPersistentStoreOption).toBool()},
                              failure);
    m_path = path;
    return m_store || fail(error, failure, path);
}

bool NSPersistentStoreCoordinator::destroyPersistentStoreAtURL(const QUrl &url, NSError *error)
{
    const QString path = pathOf(url);
    const QByteArray name = NSFileManager::fileSystemRepresentationWithPath(path);
    if (::unlink(name.constData()) != 0) {
        if (error)
            *error = NSError::posixError(errno, path);
        return false;
    }
    for (const char *suffix : {"-journal", "-wal", "-shm"})
        ::unlink((name + suffix).constData());
    return true;
}

} // namespace Marblewick
