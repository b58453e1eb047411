#pragma once

#include <Marblewick/NSURL+Bookmarks.h>

#include <gtest/gtest.h>

#include <QTemporaryDir>

namespace Marblewick {

constexpr auto quietly = NSURLBookmarkResolutionWithoutUI | NSURLBookmarkResolutionWithSecurityScope;

/*! What an error says of an item that is known to be gone. */
extern const QString gone;

/*! The data of a new bookmark, for reading and writing, of the item at a path. */
QByteArray bookmark(const QString &path);

/*! The path to which a bookmark resolves, with "(stale)" after it where it is; what the error says where it
   does not.
*/
QString resolved(const QByteArray &data);

/*! Bytes without a checksum, with the one that belongs to them. */
QByteArray sealed(QByteArray bytes);

/*! Writes a file as an editor does: a new one takes the name. */
void saveAtomically(const QString &path, const QByteArray &contents);

/*! Items in a folder whose file system has handles: the usual one for temporary files, or else the one in
   memory, for machines whose own is made of layers.
*/
class NSURLBookmarks : public testing::Test
{
protected:
    NSURLBookmarks() { EXPECT_TRUE(m_folder.isValid()); }

    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString newFile(const QString &name, const QByteArray &contents = "contents") const;
    QString newFolder(const QString &name) const;

private:
    static QString folder();

    const QTemporaryDir m_folder{folder() + QStringLiteral("/bookmarks-XXXXXX")};
};

} // namespace Marblewick
