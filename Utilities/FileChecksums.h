#pragma once

#include "Platform/Foundation/NSFileManager.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <map>
#include <utility>
#include <vector>

/*! The checksums that one call of checksumForFileAtPath() computes, each once. Belongs to one thread. */
class FileChecksums
{
public:
    explicit FileChecksums(const Marblewick::NSFileManager *manager);

    /*! 20 bytes; none where the item has no checksum. */
    QByteArray checksumOfItemAtPath(const QString &path);

private:
    struct Item;
    /*! An item as a folder's listing yields it. */
    struct Entry
    {
        const Item *item;
        bool isDescendedInto; ///< a link is not, whatever it leads to
    };
    struct Item
    {
        QByteArray checksum; ///< empty while it is being computed, too
        std::vector<Entry> entries; ///< of a folder
    };
    /*! A folder that is being computed. */
    struct OpenFolder
    {
        QString
            path; ///< its own, without links: those that led here would add up beyond what the system follows
        Item *item;
        QByteArrayList names; ///< those still to come, the next one last
    };
    using Identity = std::pair<quint64, quint64>;

    Item *addItem(const QString &path, const Marblewick::NSFileAttributes &attributes);
    void addFolder(const QString &path, Item *folder);
    void addNextEntry();
    static void appendChecksums(const Item &folder, QByteArray *checksums);

    const Marblewick::NSFileManager *m_manager;
    std::map<Identity, Item> m_items;
    std::vector<OpenFolder> m_openFolders; ///< each in the one before it, or linked to there
};
