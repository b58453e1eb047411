#include "Tests/Platform/Foundation/BookmarkTest.h"
#include "Tests/Support/RefusedCall.h"

#include <QDir>
#include <QFile>

#include <functional>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype firstRecord = 5;
constexpr qsizetype recordHeadSize = 3; // tag and length
constexpr qsizetype checksumSize = 8;

// Where the parts of an identity begin.
constexpr qsizetype fileSystem = 0;
constexpr qsizetype birthDate = 20;
constexpr qsizetype handle = 32;

constexpr auto itemTag = '\4';
constexpr auto folderTag = '\5';

using Edit = std::function<void(QByteArray *identity)>;

/*! A bookmark with one of its identities edited. */
QByteArray edited(const QByteArray &data, char tag, const Edit &edit)
{
    QByteArray bytes = data.chopped(checksumSize);
    qsizetype place = firstRecord;
    const auto length = [&] { return uchar(bytes[place + 1]) << 8 | uchar(bytes[place + 2]); };
    while (bytes[place] != tag)
        place += recordHeadSize + length();
    QByteArray identity = bytes.mid(place + recordHeadSize, length());
    EXPECT_GT(identity.size(), handle) << "the file system of this test has handles";
    const qsizetype oldSize = identity.size();
    edit(&identity);
    bytes.replace(place + recordHeadSize, oldSize, identity);
    bytes[place + 1] = static_cast<char>(identity.size() >> 8);
    bytes[place + 2] = static_cast<char>(identity.size() & 0xff);
    return sealed(bytes);
}

/*! A bookmark with both of its identities edited. */
QByteArray edited(const QByteArray &data, const Edit &edit)
{
    return edited(edited(data, itemTag, edit), folderTag, edit);
}

/*! Changes a bit of what begins at a place of an identity. */
Edit flip(qsizetype place)
{
    return [place](QByteArray *identity) {
        (*identity)[place + 7] = static_cast<char>((*identity)[place + 7] ^ 1);
    };
}

void removeHandle(QByteArray *identity) { identity->truncate(handle); }

void removeHandleAndBirthDate(QByteArray *identity)
{
    identity->replace(birthDate, handle - birthDate, QByteArray(handle - birthDate, '\0'));
    identity->truncate(handle);
}

/*! A file, its bookmark, and what becomes of it. */
class NSURLBookmarkIdentity : public NSURLBookmarks
{
protected:
    void rename() const { EXPECT_TRUE(QFile::rename(file, path(u"b.txt"_s))); }
    void save() const { saveAtomically(file, "saved"); }

    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    const QString renamed = path(u"b.txt"_s) + u" (stale)"_s;
    const QString saved = file + u" (stale)"_s;
};

} // namespace

TEST_F(NSURLBookmarkIdentity, IsThatOfAnUntouchedFileWhoseFileSystemGotAnotherNumber)
{
    EXPECT_EQ(resolved(edited(data, flip(fileSystem))), file);
}

TEST_F(NSURLBookmarkIdentity, IsThatOfARenamedFileWhoseFileSystemGotAnotherNumber)
{
    rename();
    EXPECT_EQ(resolved(edited(data, flip(fileSystem))), renamed);
}

TEST_F(NSURLBookmarkIdentity, OfTheFolderIsThatOfOneWhoseFileSystemGotAnotherNumber)
{
    save();
    EXPECT_EQ(resolved(edited(data, flip(fileSystem))), saved);
}

TEST_F(NSURLBookmarkIdentity, IsNotThatOfAFileOnAnotherFileSystemWhereHandlesAreMissing)
{
    const QByteArray other = edited(edited(data, flip(fileSystem)), removeHandle);
    EXPECT_EQ(resolved(other), gone);
}

TEST_F(NSURLBookmarkIdentity, IsNotThatOfARenamedFileWithAnotherHandle)
{
    rename();
    EXPECT_EQ(resolved(edited(data, itemTag, flip(handle))), gone);
    EXPECT_EQ(resolved(data), renamed);
}

TEST_F(NSURLBookmarkIdentity, IsNotThatOfARenamedFileWithAnotherDateOfBirth)
{
    rename();
    EXPECT_EQ(resolved(edited(data, itemTag, flip(birthDate))), gone);
}

TEST_F(NSURLBookmarkIdentity, IsNotThatOfAFileAtTheSamePathWithAnotherHandleOrDateOfBirth)
{
    EXPECT_EQ(resolved(edited(data, itemTag, flip(handle))), saved);
    EXPECT_EQ(resolved(edited(data, itemTag, flip(birthDate))), saved);
}

TEST_F(NSURLBookmarkIdentity, OfTheFolderIsNotThatOfOneWithAnotherHandleOrDateOfBirth)
{
    save();
    EXPECT_EQ(resolved(edited(data, folderTag, flip(handle))), gone);
    EXPECT_EQ(resolved(edited(data, folderTag, flip(birthDate))), gone);
    EXPECT_EQ(resolved(data), saved);
}

TEST_F(NSURLBookmarkIdentity, IsComparedWithoutHandlesWhereOnlyOneSideHasThem)
{
    EXPECT_EQ(resolved(edited(data, removeHandle)), file);
    const RefusedCall withoutHandles(RefusedCall::NameToHandle);
    EXPECT_EQ(resolved(data), file);
    save();
    EXPECT_EQ(resolved(data), saved);
}

TEST_F(NSURLBookmarkIdentity, OfARenamedFileNeedsHandlesOnBothSides)
{
    rename();
    EXPECT_EQ(resolved(edited(data, removeHandle)), gone);
    const RefusedCall withoutHandles(RefusedCall::NameToHandle);
    EXPECT_EQ(resolved(data), gone);
}

TEST_F(NSURLBookmarkIdentity, IsTheNumberAtTheBookmarkedPathWhereThereIsNothingElse)
{
    EXPECT_EQ(resolved(edited(data, removeHandleAndBirthDate)), file);
}

TEST_F(NSURLBookmarkIdentity, IsMoreThanTheNumberInAHomeFolderThatHasMoved)
{
    qputenv("HOME", newFolder(u"home"_s).toUtf8());
    const QByteArray inHome = bookmark(newFile(u"home/a.txt"_s));
    EXPECT_TRUE(QDir().rename(path(u"home"_s), path(u"moved"_s)));
    qputenv("HOME", path(u"moved"_s).toUtf8());
    const QString moved = path(u"moved/a.txt"_s) + u" (stale)"_s;
    EXPECT_EQ(resolved(inHome), moved);
    EXPECT_EQ(resolved(edited(inHome, removeHandle)), moved) << "the date of birth is proof enough";
    EXPECT_EQ(resolved(edited(inHome, removeHandleAndBirthDate)), gone);
}
