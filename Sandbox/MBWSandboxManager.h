#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>
#include <Marblewick/NSPredicate.h>

#include <QList>
#include <QObject>
#include <QSet>
#include <QUrl>

#include <concepts>
#include <memory>
#include <optional>

class FileURLSet;
class MBWSandboxPersistedBookmark;

namespace Marblewick {
class NSManagedObjectContext;
class NSManagedObjectModel;
class NSPersistentStoreCoordinator;
} // namespace Marblewick

/*! Answers, before the host opens a file or folder, whether the user has to be asked for it first, and
    remembers across launches what the user has granted.

    A host derives a class that says where the grants are kept, and asks for the shared manager through it
    before anything else does:

        class AtlasSandbox : public MBWSandboxManager
        {
        public:
            std::optional<QUrl> storeFileURL() const override
            {
                return QUrl::fromLocalFile(Marblewick::NSHomeDirectory() + "/Atlas.grants");
            }
        };

        auto *const sandbox = MBWSandboxManager::sharedManager<AtlasSandbox>();
        if (sandbox->appNeedsToObtainPermissionToAccessURL(url)) {
            // … the user chooses it in an open panel …
            sandbox->appDidObtainPermissionToAccessURL(urlFromThePanel);
        }

    A URL's path counts as it is written: symbolic links are not resolved, and case counts. "Begins with"
    below compares paths character by character, whatever the names of folders: what begins with /maps is
    also /mapsOfMars. Everything here is about file URLs; main thread only, where nothing else is said.
*/
class MARBLEWICK_CORE_EXPORT MBWSandboxManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QSet<QUrl> entitledDirectoryURLs READ entitledDirectoryURLs WRITE setEntitledDirectoryURLs)
    Q_PROPERTY(QSet<QUrl> readOnlyEntitledDirectoryURLs READ readOnlyEntitledDirectoryURLs WRITE
                   setReadOnlyEntitledDirectoryURLs)

public:
    /*! The manager of this process, never destroyed. The first call makes it, an object of the class that is
        named there; later calls return it, whatever class they name. The overrides of that class are asked
        while it is made, and must not ask for the shared manager themselves.

        Where URLs have no security scope there is none, and the next call tries again. What is returned then
        stands for nil and is no null pointer: its functions do nothing and answer false, nil or nothing, so a
        host never asks its user there.
    */
    template <std::derived_from<MBWSandboxManager> Manager = MBWSandboxManager>
    static MBWSandboxManager *sharedManager()
    {
        return sharedManagerMadeBy([]() -> std::unique_ptr<MBWSandboxManager> { return init<Manager>(); });
    }

    /*! A manager that knows the grants in its store, each of which was resolved; it has started access to
        none. Null where URLs have no security scope.

        A host has no use for one beside the shared manager: what is granted through it becomes a record of
        the shared one, so that it neither saves that nor can take it back.
    */
    template <std::derived_from<MBWSandboxManager> Manager = MBWSandboxManager>
    static std::unique_ptr<Manager> init()
    {
        std::unique_ptr<Manager> manager(new Manager);
        return manager->initialize() ? std::move(manager) : nullptr;
    }
    ~MBWSandboxManager() override;

    /*! Whether this stands for no manager; see sharedManager(). So does one that was not made by init(). */
    bool isNil() const;

    /*! Whether the user has to be asked before the host may read and write an item. False means that it can
        be used now:

        - its path begins with the home folder's, or with that of a folder in
          additionalEntitledDirectoryURLs() or entitledDirectoryURLs();
        - or it cannot be reached, most often because it does not exist, so that nothing could be granted;
        - or the user granted it, or a folder that its path begins with, in this launch or an earlier one.
          Access to what was granted earlier is started here and held.

        A grant to which access cannot be started is removed, and the answer is true. So it is for a file
        that was never granted; whether the items in the store can still be found is looked up then.
    */
    bool appNeedsToObtainPermissionToAccessURL(const QUrl &url);
    /*! The same for reading only: with readOnlyEntitledDirectoryURLs() in place of entitledDirectoryURLs(),
        which do not count here. A grant counts whatever it was given for.
    */
    bool appNeedsToObtainReadOnlyPermissionToAccessURL(const QUrl &url);

    /*! Remembers that the user has granted reading and writing of an item, which must be accessible now, such
        as one from an open panel. Nothing happens where it needs no grant because of the folder that it is
        in, or where this URL was granted before.

        A grant that cannot be remembered is named in the process log, and is none.
    */
    void appDidObtainPermissionToAccessURL(const QUrl &url);
    /*! The same for reading only. */
    void appDidObtainReadOnlyPermissionToAccessURL(const QUrl &url);

    /*! Takes a grant back: removes it from the store, and ends access to the item. */
    void removePersistedBookmarkForURL(const QUrl &url);

    /*! Ends access to everything that was granted or accessed in this launch. What was accessed still counts
        as accessed, and access to it is not started again: a host calls this when it quits.
    */
    void closeAllSecureBookmarks();

    /*! Folders that the host may read and write, and those that it may read, without a grant; empty at first.
        The framework sets neither. A folder for both has to be in both. Any thread.
    */
    QSet<QUrl> entitledDirectoryURLs() const;
    void setEntitledDirectoryURLs(const QSet<QUrl> &urls);
    QSet<QUrl> readOnlyEntitledDirectoryURLs() const;
    void setReadOnlyEntitledDirectoryURLs(const QSet<QUrl> &urls);

    /*! For a host to override: folders that it may read and write without a grant, in both questions. None.
     */
    virtual QList<QUrl> additionalEntitledDirectoryURLs() const;

    /*! For a host to override: the file in which grants are kept, in a folder that exists and where the host
        may write. Nil here, so that grants last until the host quits.

        The file is made at the first use. One that cannot be opened is named in the process log, thrown away
        and made afresh, with its grants gone. One that cannot be thrown away either is left, there is no
        context, and the next use tries again.
    */
    virtual std::optional<QUrl> storeFileURL() const;

    /*! What the grants are kept with, made at the first use and owned by this manager. The model is that of
        the framework. Each may be null: the coordinator and the context where the store can neither be opened
        nor thrown away, and the model where the framework has lost its resource.
    */
    const Marblewick::NSManagedObjectModel *managedObjectModel();
    Marblewick::NSPersistentStoreCoordinator *persistentStoreCoordinator();
    Marblewick::NSManagedObjectContext *managedObjectContext();

protected:
    /*! A manager that stands for nil until init() has initialised it. */
    MBWSandboxManager();

    /*! Writes all changes of the context, without the records that can no longer be resolved: those are
        deleted first. False, with `error` set and a line in the process log, where they cannot be written;
        they then stay in the context. Nothing else sets `error`.
    */
    bool saveStoreFile(Marblewick::NSError *error = nullptr);

private:
    struct Private;

    static MBWSandboxManager *sharedManagerMadeBy(std::unique_ptr<MBWSandboxManager> (*init)());

    bool initialize();
    bool entitledURLsContainsURL(const QUrl &url, bool readOnly) const;
    bool appNeedsToObtainPermissionToAccessURLReadOnly(const QUrl &url, bool readOnly);
    bool needsPermissionToAccessDirectory(const QString &path);
    bool needsPermissionToAccessFile(const QUrl &url, bool readOnly);
    void appDidObtainPermissionToAccessURLIsReadOnly(const QUrl &url, bool isReadOnly);
    bool isDirectory(const QUrl &url) const;
    FileURLSet &allowedURLsForItemAtURL(const QUrl &url);
    /*! The records that a predicate holds for; none, with the message in the log, where they cannot be read.
     */
    QList<MBWSandboxPersistedBookmark *> fetchBookmarks(
        QStringView failureMessage = {}, const std::optional<Marblewick::NSPredicate> &predicate = {});

    const std::unique_ptr<Private> d;
};
