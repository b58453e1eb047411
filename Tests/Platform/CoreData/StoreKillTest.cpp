#include "Tests/Platform/CoreData/BookmarkStore.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QSet>
#include <QTest>

#include <random>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int countOfKills = 200;

/*! What each round begins with: mostly the store of the round before. */
void prepareStore(const QString &path, int round)
{
    if (round % 10 > 1)
        return;
    QFile::remove(path); // The journal that a kill may have left is none of the next file.
    if (round % 10 == 1)
        makeStoreOfLayout1(path, {u"old"_s});
}

QStringList lines(const QByteArray &output)
{
    QStringList complete = QString::fromUtf8(output).split(u'\n');
    complete.removeLast();
    return complete;
}

} // namespace

TEST(StoreKill, AtAnyMomentLeavesAStoreWithEverythingWhoseSaveHadReturned)
{
    const TemporaryHome home;
    const QString path = home.path() + u"/store"_s;
    std::mt19937 random(std::random_device{}());
    QStringList saved;
    int firstNumber = 1;
    for (int round = 0; round < countOfKills; ++round) {
        prepareStore(path, round);
        if (round % 10 <= 1)
            saved = round % 10 == 1 ? QStringList{u"old"_s} : QStringList();

        ChildProgram host({QStringLiteral(SAVING_HOST), path, QString::number(firstNumber)});
        if (round % 2 == 1) {
            EXPECT_TRUE(QTest::qWaitFor([&] { return host.output().contains('\n'); }, 20'000))
                << "it has saved";
        }
        ::usleep(static_cast<useconds_t>(random() % 60'000)); // a moment of no one's choice
        host.kill();
        ASSERT_EQ(host.exitStatus(), -1) << host.output().constData();
        saved += lines(host.output());
        firstNumber += 100'000;

        if (!QFile::exists(path)) {
            ASSERT_EQ(saved, QStringList()) << "killed before it made the file";
            continue;
        }
        BookmarkStore store(path);
        ASSERT_TRUE(store.isOpen()) << qPrintable(store.error().description());
        ASSERT_EQ(OtherConnection(path).result("PRAGMA integrity_check"), "ok");
        const QStringList stored = store.urlStrings();
        const QSet<QString> storedOnes(stored.begin(), stored.end());
        ASSERT_EQ(storedOnes.size(), stored.size()) << "a bookmark is stored twice";
        ASSERT_TRUE(storedOnes.contains(QSet<QString>(saved.begin(), saved.end()))) << "in round " << round;
    }
}
