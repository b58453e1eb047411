#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSManagedObject.h>

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

/*! The record of one file or folder that the user has granted, the entity "Bookmark" of the store.

    Records belong to the context of the shared MBWSandboxManager. Main thread only.
*/
class MARBLEWICK_CORE_EXPORT MBWSandboxPersistedBookmark : public Marblewick::NSManagedObject
{
public:
    using NSManagedObject::NSManagedObject;

    /*! A new record of an item that can be accessed now, not saved yet, in the context of the shared
        manager, which owns it: the pointer is valid until the record's deletion is saved. Null where that
        has no context or, with a line in the process log, where no bookmark can be made.

        Where nobody has asked for the shared manager yet, this makes it, of the base class.
    */
    static MBWSandboxPersistedBookmark *insertBookmarkForURL(const QUrl &url, bool isReadOnly);

    /*! The bytes from which the item's URL is made again. */
    QByteArray data() const;
    void setData(const QByteArray &data);

    /*! Whether the item was a folder, and no file package, when it was granted. A document of a documents
        portal that gave no answer then counts as a file: the grant of a folder does not cover what is in
        it until the user is asked for the folder again, but no grant covers more than was granted.
    */
    bool isDirectory() const;
    void setDirectory(bool isDirectory);

    /*! Whether it was granted for reading only. */
    bool isReadOnly() const;
    void setReadOnly(bool isReadOnly);

    /*! The item's URL as it was when it was last known, for messages. */
    std::optional<QString> urlString() const;
    void setUrlString(const QString &string);

    /*! Whether the item could not be found when it was last looked for; such a record is deleted at the next
        save.
    */
    bool isUnresolvable() const;
    void setUnresolvable(bool isUnresolvable);

    /*! The item's URL, looked for now and kept in memory, but not in the store. Where one is kept and cannot
        be reached, that one is returned and nothing is looked for. Where the item is not found, the log says
        so, and the result is the URL that is kept, or nil.

        Access is not started.
    */
    std::optional<QUrl> resolvedURL();

    QVariant valueForKey(const QString &key) override;
};
