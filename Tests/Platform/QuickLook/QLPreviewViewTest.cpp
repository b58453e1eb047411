#include "Tests/Platform/QuickLook/CrashReportFiles.h"
#include "Tests/Support/TemporaryHome.h"

#include <Marblewick/CrashReportText.h>
#include <Marblewick/QLPreviewView.h>

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QLabel>
#include <QListView>
#include <QScrollBar>
#include <QTest>
#include <QThreadPool>
#include <QTimer>
#include <QTranslator>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

class FileItem : public QLPreviewItem
{
public:
    explicit FileItem(const QUrl &url)
        : m_url(url)
    { }

    QUrl previewItemURL() override { return m_url; }

private:
    const QUrl m_url;
};

class QLPreviewViewTest : public testing::Test
{
protected:
    QLPreviewViewTest()
    {
        view.resize(600, 400);
        view.show();
    }

    QString pathOf(const QString &name) const { return home.path() + u'/' + name; }

    std::shared_ptr<QLPreviewItem> item(const QString &name) const
    {
        return std::make_shared<FileItem>(QUrl::fromLocalFile(pathOf(name)));
    }

    std::shared_ptr<QLPreviewItem> item(const QString &name, const QByteArray &contents) const
    {
        writeFile(pathOf(name), contents);
        return item(name);
    }

    bool isLoading() const { return label->isVisible(); }

    void showFile(const QString &name, const QByteArray &contents)
    {
        view.setPreviewItem(item(name, contents));
        ASSERT_TRUE(QTest::qWaitFor([this] { return !isLoading(); }, 60'000));
    }

    QStringList rows() const
    {
        QStringList result;
        for (int row = 0; row < list->model()->rowCount(); ++row)
            result += list->model()->index(row, 0).data().toString();
        return result;
    }

    void select(std::initializer_list<int> selected)
    {
        list->clearSelection();
        for (const int row : selected)
            list->selectionModel()->select(list->model()->index(row, 0), QItemSelectionModel::Select);
    }

    QString copied() const
    {
        QGuiApplication::clipboard()->setText(u"nothing"_s);
        QTest::keyClick(list, Qt::Key_C, Qt::ControlModifier);
        return QGuiApplication::clipboard()->text();
    }

    const TemporaryHome home;
    QLPreviewView view;
    QListView *const list = view.findChild<QListView *>();
    QLabel *const label = view.findChild<QLabel *>();
};

} // namespace

TEST_F(QLPreviewViewTest, ShowsNothingBeforeItHasAnItem)
{
    EXPECT_EQ(view.previewItem(), nullptr);
    EXPECT_FALSE(isLoading());
    EXPECT_TRUE(rows().isEmpty());
}

TEST_F(QLPreviewViewTest, SaysThatItIsLoadingUntilTheFileIsShown)
{
    const auto log = item(u"a.log"_s, "one\ntwo\n");
    view.setPreviewItem(log);
    EXPECT_EQ(view.previewItem(), log);
    EXPECT_TRUE(isLoading());
    EXPECT_EQ(label->text(), u"Loading…"_s);
    EXPECT_TRUE(rows().isEmpty());
    ASSERT_TRUE(QTest::qWaitFor([this] { return !isLoading(); }));
    EXPECT_EQ(rows(), QStringList({u"one"_s, u"two"_s}));
}

TEST_F(QLPreviewViewTest, ShowsAnIpsFileAsTheTextThatAPersonReads)
{
    const QByteArray report = reportWithQuoted("{'procName':'Lantern','pid':7}");
    for (const auto &name : {u"a.ips"_s, u"b.IPS"_s}) {
        showFile(name, report);
        EXPECT_EQ(rows().join(u'\n') + u'\n', textOfCrashReport(report));
    }
}

TEST_F(QLPreviewViewTest, ShowsAnIpsFileThatIsNoCrashReportAsPlainText)
{
    showFile(u"a.ips"_s, "{\"bug_type\":\"288\"}\n{}");
    EXPECT_EQ(rows(), QStringList({u"{\"bug_type\":\"288\"}"_s, u"{}"_s}));
}

TEST_F(QLPreviewViewTest, ShowsAFileOfAnotherExtensionAsPlainText)
{
    showFile(u"a.log"_s, "{\"bug_type\":\"309\"}\n{}\n");
    EXPECT_EQ(rows(), QStringList({u"{\"bug_type\":\"309\"}"_s, u"{}"_s}));
}

TEST_F(QLPreviewViewTest, ShowsControlCharactersAsEscapesAndTabsAsSpaces)
{
    showFile(u"a.log"_s, "a\tb\x1b[31m\n12345678\tc\r\nx\ry\xe2\x80\xae\n\n");
    EXPECT_EQ(rows(),
              QStringList({u"a       b\\u{1b}[31m"_s, u"12345678        c"_s, u"x\\ry\\u{202e}"_s, u""_s}));
}

TEST_F(QLPreviewViewTest, ShowsALongLineInSeveralRowsWithoutSplittingACharacter)
{
    const QString line = QString(999, u'a') + u"😀"_s + QString(2500, u'b');
    showFile(u"a.log"_s, line.toUtf8() + "\nend");
    EXPECT_EQ(rows().join(QString()), line + u"end"_s);
    EXPECT_EQ(rows().size(), 5);
    EXPECT_EQ(rows().front(), QString(999, u'a'));
}

TEST_F(QLPreviewViewTest, ShowsALineOfExactlyTheLongestLengthInOneRow)
{
    for (const QByteArray end : {"\n", "\r\n", ""}) {
        showFile(u"a.log"_s, QByteArray(1000, 'a') + end);
        EXPECT_EQ(rows(), QStringList(QString(1000, u'a'))) << end.size();
    }
}

TEST_F(QLPreviewViewTest, CopiesTheSelectedRowsAsTheOriginalTextInTheirOrder)
{
    showFile(u"a.log"_s, "one\t1\ntwo\nthree\x07\r\nfour");
    select({2, 0});
    EXPECT_EQ(copied(), u"one\t1\nthree\x07\r\n"_s);
}

TEST_F(QLPreviewViewTest, CopiesTheWholeTextOnceAllIsSelected)
{
    const QByteArray text = "one\t1\r\n" + QByteArray(5000, 'x') + "\n\nend";
    showFile(u"a.log"_s, text);
    QTest::keyClick(list, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(copied(), QString::fromUtf8(text));
}

TEST_F(QLPreviewViewTest, LeavesTheClipboardAloneWhereNothingIsSelected)
{
    showFile(u"a.log"_s, "one\ntwo\n");
    list->clearSelection();
    EXPECT_EQ(copied(), u"nothing"_s);
}

TEST_F(QLPreviewViewTest, OffersCopyAndSelectAllInItsContextMenu)
{
    EXPECT_EQ(list->contextMenuPolicy(), Qt::ActionsContextMenu);
    ASSERT_EQ(list->actions().size(), 2);
    EXPECT_EQ(list->actions().at(0)->text(), u"Copy"_s);
    EXPECT_EQ(list->actions().at(1)->text(), u"Select All"_s);
    showFile(u"a.log"_s, "one\ntwo\n");
    list->actions().at(1)->trigger();
    list->actions().at(0)->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"one\ntwo\n"_s);
}

TEST_F(QLPreviewViewTest, ShowsTheEndOfTheWidestRowWhenScrolledToTheRight)
{
    const QString wide = u"漢\x01😀"_s.repeated(60) + u"END"_s;
    showFile(u"a.log"_s, "short\n" + wide.toUtf8());
    const QModelIndex index = list->model()->index(1, 0);
    const int textWidth = list->fontMetrics().horizontalAdvance(index.data().toString());
    ASSERT_GT(textWidth, list->viewport()->width());
    EXPECT_GE(list->visualRect(index).width(), textWidth);
    QScrollBar *bar = list->horizontalScrollBar();
    EXPECT_GE(bar->maximum() + list->viewport()->width(), textWidth);
}

TEST_F(QLPreviewViewTest, PutsRowsOfTheFontsHeightOneUnderTheOther)
{
    showFile(u"a.log"_s, "one\ntwo\n");
    const QRect first = list->visualRect(list->model()->index(0, 0));
    EXPECT_EQ(first.height(), list->fontMetrics().height());
    EXPECT_EQ(list->visualRect(list->model()->index(1, 0)).top(), first.bottom() + 1);
}

TEST_F(QLPreviewViewTest, ShowsEveryRowOfATextThatIsLaidOutInSteps)
{
    const QByteArray text = QByteArray("line\n").repeated(450'000) + "last";
    showFile(u"a.log"_s, text);
    const QModelIndex last = list->model()->index(450'000, 0);
    ASSERT_TRUE(QTest::qWaitFor([&] {
        list->scrollTo(last);
        return list->viewport()->rect().contains(list->visualRect(last).center());
    }));
    EXPECT_EQ(last.data(), u"last"_s);
}

TEST_F(QLPreviewViewTest, UsesAFixedWidthFontAndNamesItselfToAssistiveTechnology)
{
    const QFontMetricsF metrics(list->font());
    EXPECT_EQ(metrics.horizontalAdvance(u"iiii"_s), metrics.horizontalAdvance(u"MMMM"_s));
    EXPECT_EQ(list->accessibleName(), u"Crash report"_s);
}

TEST_F(QLPreviewViewTest, DropsAResultThatComesAfterAnotherItemWasSet)
{
    view.setPreviewItem(item(u"a.log"_s, "first\n"));
    QThreadPool::globalInstance()->waitForDone(); // The result is ready, and waits for the event loop.
    view.setPreviewItem(nullptr);
    QTest::qWait(0);
    EXPECT_TRUE(rows().isEmpty());
    EXPECT_FALSE(isLoading());

    view.setPreviewItem(item(u"a.log"_s));
    QThreadPool::globalInstance()->waitForDone();
    view.setPreviewItem(item(u"b.log"_s, "second\n"));
    QStringList seen;
    ASSERT_TRUE(QTest::qWaitFor([&] {
        seen += rows();
        return !isLoading();
    }));
    EXPECT_FALSE(seen.contains(u"first"_s));
    EXPECT_EQ(rows(), QStringList(u"second"_s));
}

TEST_F(QLPreviewViewTest, ShowsTheFilesNewContentsOnceRefreshed)
{
    showFile(u"a.log"_s, "old\n");
    writeFile(pathOf(u"a.log"_s), "new\n");
    view.refreshPreviewItem();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !isLoading(); }));
    EXPECT_EQ(rows(), QStringList(u"new"_s));
}

TEST_F(QLPreviewViewTest, ShowsNothingForAFileThatIsNotThere)
{
    showFile(u"a.log"_s, "old\n");
    view.setPreviewItem(item(u"missing.log"_s));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !isLoading(); }));
    EXPECT_TRUE(rows().isEmpty());
}

TEST_F(QLPreviewViewTest, ShowsNothingForAnItemWithoutURLOrWithARemoteOne)
{
    for (const QUrl &url : {QUrl(), QUrl(u"http://localhost/a.log"_s)}) {
        showFile(u"a.log"_s, "old\n");
        view.setPreviewItem(std::make_shared<FileItem>(url));
        EXPECT_FALSE(isLoading());
        EXPECT_TRUE(rows().isEmpty());
    }
}

TEST_F(QLPreviewViewTest, ShowsNothingForAFIFOInsteadOfWaitingForIt)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(pathOf(u"fifo.log"_s)).constData(), 0600), 0);
    view.setPreviewItem(item(u"fifo.log"_s));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !isLoading(); }));
    EXPECT_TRUE(rows().isEmpty());
}

TEST_F(QLPreviewViewTest, ShowsNothingForAFolderOrAnEmptyFile)
{
    view.setPreviewItem(item(u"tmp"_s));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !isLoading(); }));
    EXPECT_TRUE(rows().isEmpty());
    showFile(u"empty.ips"_s, "");
    EXPECT_TRUE(rows().isEmpty());
}

TEST_F(QLPreviewViewTest, MayBeDestroyedWhileItLoads)
{
    auto *other = new QLPreviewView;
    other->setPreviewItem(item(u"a.log"_s, QByteArray("line\n").repeated(1'000'000)));
    delete other;
    other = new QLPreviewView;
    other->setPreviewItem(item(u"a.log"_s));
    QThreadPool::globalInstance()->waitForDone();
    delete other;
    QTest::qWait(0); // The results arrive.
}

TEST_F(QLPreviewViewTest, StopsLoadingWhenTheApplicationQuits)
{
    view.setPreviewItem(item(u"a.log"_s, QByteArray("line\n").repeated(5'000'000)));
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QApplication::exec();
    QThreadPool::globalInstance()->waitForDone();
    QTest::qWait(0);
    EXPECT_FALSE(isLoading());
    EXPECT_TRUE(rows().isEmpty());
}

TEST_F(QLPreviewViewTest, DoesNotSearchForTypedLetters)
{
    showFile(u"a.log"_s, "alpha\nbeta\n");
    list->setCurrentIndex(list->model()->index(0, 0));
    QTest::keyClick(list, Qt::Key_B);
    EXPECT_EQ(list->currentIndex().row(), 0);
}

TEST(QLPreviewView, TakesItsTextsFromTheHostsTranslators)
{
    class Translator : public QTranslator
    {
        QString translate(const char *context, const char *text, const char *, int) const override
        {
            return qstrcmp(context, "CrashReport") == 0 ? u'<' + QString::fromUtf8(text) + u'>' : QString();
        }
        bool isEmpty() const override { return false; }
    };
    Translator translator;
    QCoreApplication::installTranslator(&translator);
    const QLPreviewView view;
    EXPECT_EQ(view.findChild<QLabel *>()->text(), u"<Loading…>"_s);
    EXPECT_EQ(view.findChild<QListView *>()->accessibleName(), u"<Crash report>"_s);
    EXPECT_EQ(view.findChild<QListView *>()->actions().front()->text(), u"<Copy>"_s);
}
