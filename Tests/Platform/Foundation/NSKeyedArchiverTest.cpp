#include <Marblewick/NSKeyedArchiver.h>
#include <Marblewick/NSKeyedUnarchiver.h>

#include "Tests/Platform/Foundation/ArchivedNote.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QStandardPaths>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

/*! What Python's plistlib makes of archives. */
class NSKeyedArchiverAndPlistlib : public testing::Test
{
protected:
    void SetUp() override
    {
        if (QStandardPaths::findExecutable(u"python3"_s).isEmpty())
            GTEST_SKIP() << "Python is not installed; ./setup --peers installs it.";
    }

    QString path() const { return m_home.path() + u"/archive"_s; }

    /*! The output of a program that finds plistlib imported and the archive's path in `path`. */
    QByteArray python(const QString &program)
    {
        ChildProgram child(
            {u"python3"_s, u"-c"_s,
             u"import plistlib, sys\nfrom plistlib import UID\npath = sys.argv[1]\n"_s + program, path()});
        EXPECT_EQ(child.exitStatus(), 0);
        return child.output();
    }

    /*! `expression`, of the archive `a` of a note. */
    QByteArray seen(const ArchivedNote &note, const QString &expression)
    {
        writeFile(path(), NSKeyedArchiver::archivedDataWithRootObject(note));
        return python(u"a = plistlib.load(open(path, 'rb'), fmt=plistlib.FMT_BINARY)\nprint("_s + expression
                      + u')')
            .trimmed();
    }

private:
    const TemporaryHome m_home;
};

} // namespace

TEST_F(NSKeyedArchiverAndPlistlib, HasTheFourEntriesOfAnArchive)
{
    EXPECT_EQ(seen({}, u"a['$archiver'], a['$version'], a['$top'], len(a)"_s),
              "NSKeyedArchiver 100000 {'root': UID(1)} 4");
}

TEST_F(NSKeyedArchiverAndPlistlib, HasObjectsInTheOrderOfTheirFirstReferenceAndTheirClassesAfterThem)
{
    ArchivedNote note;
    note.title = u"Käfer"_s;
    note.link = QUrl(u"https://example.com"_s);
    note.number = -7;
    EXPECT_EQ(seen(note, u"*a['$objects'], sep='\\n'"_s),
              "$null\n"
              "{'title': UID(2), 'link': UID(3), 'number': -7, '$$class': 0, '$class': UID(6)}\n"
              "Käfer\n"
              "{'NS.base': UID(0), 'NS.relative': UID(4), '$class': UID(5)}\n"
              "https://example.com\n"
              "{'$classes': ['NSURL', 'NSObject'], '$classname': 'NSURL'}\n"
              "{'$classes': ['Note', 'NSObject'], '$classname': 'Note'}");
}

TEST_F(NSKeyedArchiverAndPlistlib, WritesNothingForNilAndForAnInvalidURL)
{
    ArchivedNote note;
    note.link = QUrl();
    EXPECT_EQ(seen(note, u"sorted(a['$objects'][1])"_s), "['$$class', '$class', 'number']");
}

TEST_F(NSKeyedArchiverAndPlistlib, IsReadWhateverTheWidthsOfReferencesAndOffsets)
{
    ArchivedNote note;
    note.title = QString(70'000, u'x'); // offsets of four bytes
    EXPECT_EQ(seen(note, u"len(a['$objects'][2])"_s), "70000");
    note.title = QString(300, u'x'); // offsets of two
    EXPECT_EQ(seen(note, u"len(a['$objects'][2])"_s), "300");
}

TEST_F(NSKeyedArchiverAndPlistlib, WritesNumbersAndTextsThatPlistlibReadsBack)
{
    for (const qint64 number : {0LL, 255LL, 256LL, 65536LL, 1LL << 32, -1LL, -(1LL << 40)}) {
        ArchivedNote note;
        note.number = number;
        EXPECT_EQ(seen(note, u"a['$objects'][1]['number']"_s), QByteArray::number(number));
    }
    for (const QString &text : {QString(), u"fourteen chars"_s, u"fifteen charact"_s, u"Zürich 😀"_s}) {
        ArchivedNote note;
        note.title = text;
        EXPECT_EQ(seen(note, u"a['$objects'][2]"_s), text.toUtf8());
    }
}

TEST_F(NSKeyedArchiverAndPlistlib, IsReadAsPlistlibWritesIt)
{
    for (const QString &objects : {u"0"_s, u"300"_s, u"70000"_s}) { // references of one, two and four bytes
        python(u"objects = ['$null', {'$class': UID(2), 'title': UID(3), 'link': UID(4), 'number': -5},"
               "{'$classname': 'Note', '$classes': ['Note', 'NSObject']}, 'Zürich',"
               "{'$class': UID(5), 'NS.base': UID(0), 'NS.relative': UID(6)}, {'$classname': 'NSURL'},"
               "'https://example.com/']\n"
               "objects += [str(i) for i in range(%1)]\n"
               "plistlib.dump({'$archiver': 'NSKeyedArchiver', '$version': 100000, '$top': {'root': UID(1)},"
               "'$objects': objects}, open(path, 'wb'), fmt=plistlib.FMT_BINARY)"_s.arg(objects));
        const auto note = NSKeyedUnarchiver::unarchivedObjectOfClass<ArchivedNote>(readFile(path()));
        ASSERT_TRUE(note) << objects.toStdString();
        EXPECT_EQ(note->title, u"Zürich"_s);
        EXPECT_EQ(note->link, QUrl(u"https://example.com/"_s));
        EXPECT_EQ(note->number, -5);
    }
}
