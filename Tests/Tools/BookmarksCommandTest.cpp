#include "Tests/Support/TemporaryHome.h"
#include "Tests/Tools/MarblewickCommand.h"

#include <Marblewick/MBWSandboxManager.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

QUrl storeURL;

class StoreManager : public MBWSandboxManager
{
public:
    std::optional<QUrl> storeFileURL() const override { return storeURL; }
};

/*! A host that was granted items in the command's folder. */
class MarblewickBookmarks : public MarblewickCommand
{
protected:
    MarblewickBookmarks() { storeURL = QUrl::fromLocalFile(m_store); }

    QUrl newFile(const QString &name) const
    {
        writeFile(filePath(name), "map");
        return QUrl::fromLocalFile(filePath(name));
    }
    static MBWSandboxManager *manager() { return MBWSandboxManager::sharedManager<StoreManager>(); }
    std::string folder() const { return filePath({}).toStdString() + '/'; }
    QStringList itemsBesideTheStore() const
    {
        return QFileInfo(m_store).dir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    const TemporaryHome m_home;
    const QString m_store = filePath(u"store"_s);
};

} // namespace

TEST_F(MarblewickBookmarks, ListSaysOfEachItemWhetherItIsFoundAndHowItWasGranted)
{
    ASSERT_TRUE(QDir().mkpath(filePath(u"Atlas"_s)));
    manager()->appDidObtainReadOnlyPermissionToAccessURL(QUrl::fromLocalFile(filePath(u"Atlas"_s)));
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Iceland.map"_s));
    manager()->appDidObtainPermissionToAccessURL(newFile(u"gone.map"_s));
    manager()->appDidObtainPermissionToAccessURL(newFile(u"old.map"_s));
    ASSERT_TRUE(QFile::remove(filePath(u"gone.map"_s)));
    ASSERT_TRUE(QFile::rename(filePath(u"old.map"_s), filePath(u"new.map"_s)));
    EXPECT_EQ(output(u"marblewick bookmarks list store"_s),
              "found  folder  read-only   " + folder() + "Atlas\n" + "found  file    read-write  " + folder()
                  + "Iceland.map\n" + "lost   file    read-write  " + folder() + "gone.map\n"
                  + "found  file    read-write  " + folder() + "new.map\n");
}

TEST_F(MarblewickBookmarks, ListOnlyReads)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"gone.map"_s));
    ASSERT_TRUE(QFile::remove(filePath(u"gone.map"_s)));
    const QByteArray bytes = readFile(m_store);
    const QStringList items = itemsBesideTheStore();
    const std::string modified = output(u"stat -c %y store"_s);
    output(u"marblewick bookmarks list store"_s);
    output(u"chmod 400 store && marblewick bookmarks list \"$PWD/store\" && chmod 600 store"_s);
    EXPECT_EQ(readFile(m_store), bytes);
    EXPECT_EQ(itemsBesideTheStore(), items);
    EXPECT_EQ(output(u"stat -c %y store"_s), modified);
}

TEST_F(MarblewickBookmarks, ListOfAStoreWithoutGrantsIsEmpty)
{
    manager();
    EXPECT_EQ(output(u"marblewick bookmarks list store"_s), "");
}

TEST_F(MarblewickBookmarks, ListTakesADocumentOfThePortalForFoundBecauseOnlyTheSandboxCanTell)
{
    const QUrl document(u"file:///run/flatpak/doc/0123abcd/Iceland.map"_s);
    manager()->appDidObtainPermissionToAccessURL(document);
    EXPECT_EQ(output(u"marblewick bookmarks list store"_s),
              "found  file    read-write  /run/flatpak/doc/0123abcd/Iceland.map\n");
}

TEST_F(MarblewickBookmarks, ListSaysWhyAStoreCannotBeReadAndLeavesItAsItIs)
{
    writeFile(filePath(u"garbage"_s), "no store");
    ASSERT_TRUE(QDir().mkpath(filePath(u"folder"_s)));
    for (const QString &name : {u"missing"_s, u"garbage"_s, u"folder"_s}) {
        const Result result = run(u"marblewick bookmarks list "_s + name);
        EXPECT_EQ(result.status, 1) << qPrintable(name);
        EXPECT_EQ(result.output, "") << qPrintable(name);
        EXPECT_THAT(result.errors, MatchesRegex("marblewick: " + name.toStdString() + ": .+\n"));
    }
    EXPECT_FALSE(QFile::exists(filePath(u"missing"_s)));
    EXPECT_EQ(readFile(filePath(u"garbage"_s)), "no store");
}

TEST_F(MarblewickBookmarks, ListSaysThatASaveWasInterruptedAndLeavesThatToTheApplication)
{
    // Killed where SQLite, with a small cache, has written to the file before the end of its transaction.
    manager();
    run(u"sqlite3 store \"INSERT INTO Bookmark (data) VALUES (zeroblob(9000)), (zeroblob(9000))\""_s);
    run(u"sqlite3 store 'PRAGMA cache_size = 1' 'BEGIN' 'UPDATE Bookmark SET data = zeroblob(9001)'"
        u" '.shell kill -9 $PPID'; true"_s);
    const QByteArray bytes = readFile(m_store);
    const QByteArray journal = readFile(m_store + u"-journal"_s);
    ASSERT_FALSE(journal.isEmpty());
    const Result result = run(u"marblewick bookmarks list store"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("marblewick: store: A save was interrupted, which the next opening "
                                         "for writing takes back"));
    EXPECT_EQ(readFile(m_store), bytes);
    EXPECT_EQ(readFile(m_store + u"-journal"_s), journal);
}

TEST_F(MarblewickBookmarks, ListSaysThatTheFolderOfARelativePathIsGone)
{
    const Result result = run(u"mkdir gone && cd gone && rmdir ../gone && marblewick bookmarks list store"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "marblewick: store: No such file or directory\n");
}

TEST_F(MarblewickBookmarks, ListEscapesControlCharactersSoThatAnItemIsALine)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"two\nlines\x1b.map"_s));
    EXPECT_EQ(output(u"marblewick bookmarks list store"_s),
              "found  file    read-write  " + folder() + "two\\nlines\\u{1b}.map\n");
}

TEST_F(MarblewickBookmarks, RefusesAWrongCommandLineWithAStatusOfItsOwn)
{
    for (const QString &arguments : {u""_s, u"unknown"_s, u"list"_s, u"list one two"_s, u"list ''"_s}) {
        const Result result = run(u"marblewick bookmarks "_s + arguments);
        EXPECT_EQ(result.status, 2) << qPrintable(arguments);
        EXPECT_EQ(result.output, "") << qPrintable(arguments);
    }
}
