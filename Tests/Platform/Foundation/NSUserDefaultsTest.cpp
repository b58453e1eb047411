#include <Marblewick/NSUserDefaults.h>

#include <Marblewick/NSFileManager.h>

#include "Tests/Platform/Foundation/RunFoundationHost.h"
#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/ResourceLimit.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <bit>
#include <cmath>
#include <csignal>
#include <limits>
#include <random>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Marblewick;
using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

namespace {

class NSUserDefaultsTest : public ::testing::Test
{
protected:
    /*! The settings as a program sees them that has not used them yet. */
    NSUserDefaults newProgram() const
    {
        return NSUserDefaults([this] { return m_file; });
    }
    QStringList itemsInFolder() const
    {
        return QDir(m_folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                        QDir::Name);
    }
    static mode_t mode(const QString &path)
    {
        struct stat status = {};
        EXPECT_EQ(::lstat(path.toUtf8().constData(), &status), 0);
        return status.st_mode & 07777;
    }

    TemporaryHome m_home;
    const QString m_folder = m_home.configFolder() + u"/Host"_s;
    const QString m_file = m_folder + u"/defaults.json"_s;
    const QString m_lock = m_file + u".lock"_s;
    const QString m_damaged = m_file + u".damaged"_s;
    NSUserDefaults m_defaults{[this] { return m_file; }};
};

/*! Files that hold no settings. */
QList<QByteArray> damagedContents()
{
    QList<QByteArray> contents{
        "",
        QByteArray(4, '\0'),
        QByteArray(4096, '\0'),
        "garbage",
        "[1, 2]",
        "42",
        "null",
        "{\"key\": 1} more",
        "{\"key\": 1e999}",
        "{\"key\": \"\xff\"}",
        "{key: 1}",
        QByteArray(100000, '['),
        QByteArray("{\"key\":").repeated(100000),
        QByteArray("{\"key\":").repeated(100000) + '1' + QByteArray(100000, '}'),
        "{\"key\": 1}" + QByteArray(16 * 1024 * 1024, ' '),
    };
    const QByteArray whole =
        "{\n    \"key\": 12.5,\n    \"text\": \"Zürich \\ud83d\\ude00\",\n    \"flag\": true\n}";
    for (qsizetype size = 0; size < whole.size(); ++size)
        contents.append(whole.first(size));
    return contents;
}

} // namespace

TEST_F(NSUserDefaultsTest, HoldNothingAtFirst)
{
    EXPECT_FALSE(m_defaults.contains(u"key"_s));
    EXPECT_EQ(m_defaults.integerForKey(u"key"_s), 0);
    EXPECT_EQ(m_defaults.floatForKey(u"key"_s), 0.0F);
    EXPECT_FALSE(m_defaults.boolForKey(u"key"_s));
    EXPECT_EQ(m_defaults.stringForKey(u"key"_s), std::nullopt);
    EXPECT_FALSE(QFileInfo::exists(m_folder));
}

TEST_F(NSUserDefaultsTest, OutliveTheProgram)
{
    m_defaults.setInteger(-3, u"integer"_s);
    m_defaults.setFloat(0.1F, u"float"_s);
    m_defaults.setBool(true, u"yes"_s);
    m_defaults.setBool(false, u"no"_s);
    m_defaults.setString(u"Zürich 😀\n"_s + QChar(0), u"text"_s);
    m_defaults.setString({}, u"empty"_s);
    m_defaults.setInteger(1, u"kéy \"with\" everything/\u2028"_s);

    const NSUserDefaults defaults = newProgram();
    EXPECT_EQ(defaults.integerForKey(u"integer"_s), -3);
    EXPECT_EQ(defaults.floatForKey(u"float"_s), 0.1F);
    EXPECT_TRUE(defaults.boolForKey(u"yes"_s));
    EXPECT_FALSE(defaults.boolForKey(u"no"_s));
    EXPECT_TRUE(defaults.contains(u"no"_s));
    EXPECT_EQ(defaults.stringForKey(u"text"_s), u"Zürich 😀\n"_s + QChar(0));
    EXPECT_EQ(defaults.stringForKey(u"empty"_s), QString());
    EXPECT_TRUE(defaults.contains(u"kéy \"with\" everything/\u2028"_s));
}

TEST_F(NSUserDefaultsTest, SeeWhatAnotherProgramWroteMeanwhile)
{
    EXPECT_FALSE(m_defaults.contains(u"host0"_s));
    runFoundationHost(foundationHost(), {u"write"_s, m_file, u"host"_s, u"2"_s});
    EXPECT_EQ(m_defaults.integerForKey(u"host1"_s), 1);
    m_defaults.setInteger(7, u"own"_s);
    EXPECT_TRUE(newProgram().contains(u"host0"_s));
}

TEST_F(NSUserDefaultsTest, RemoveAKey)
{
    m_defaults.setInteger(1, u"key"_s);
    m_defaults.setInteger(2, u"other"_s);
    m_defaults.removeObjectForKey(u"key"_s);
    m_defaults.removeObjectForKey(u"never there"_s);
    EXPECT_FALSE(m_defaults.contains(u"key"_s));
    EXPECT_FALSE(newProgram().contains(u"key"_s));
    EXPECT_EQ(newProgram().integerForKey(u"other"_s), 2);
}

TEST_F(NSUserDefaultsTest, KeepIntegersOf64Bits)
{
    using Limits = std::numeric_limits<qint64>;
    for (const qint64 value : {qint64(0), qint64(-1), Limits::max(), Limits::max() - 1, Limits::min(),
                               Limits::min() + 1, (qint64(1) << 53) + 1, -(qint64(1) << 53) - 1}) {
        m_defaults.setInteger(value, u"key"_s);
        EXPECT_EQ(newProgram().integerForKey(u"key"_s), value);
        EXPECT_EQ(newProgram().stringForKey(u"key"_s), QString::number(value));
        m_defaults.setInteger(0, u"other key"_s);
        EXPECT_EQ(newProgram().integerForKey(u"key"_s), value) << "after another write";
    }
}

TEST_F(NSUserDefaultsTest, ReadBackExactlyTheFloatThatWasStored)
{
    using Limits = std::numeric_limits<float>;
    std::vector<quint32> patterns;
    for (const float value :
         {0.0F, -0.0F, 0.1F, 1.0F / 3, 16777216.0F, 16777218.0F, 1e10F, 9.223372e18F, 1e19F, Limits::max(),
          Limits::lowest(), Limits::min(), Limits::denorm_min(), -Limits::denorm_min(), Limits::epsilon()})
        patterns.push_back(std::bit_cast<quint32>(value));
    for (quint32 exponent = 0; exponent < 255; ++exponent) {
        patterns.push_back(exponent << 23);
        patterns.push_back(exponent << 23 | 0x7fffff);
        patterns.push_back(exponent << 23 | 1 | 0x80000000);
    }
    std::mt19937 random(20261121);
    for (int i = 0; i < 1000; ++i)
        patterns.push_back(static_cast<quint32>(random()));
    for (const quint32 pattern : patterns) {
        const auto value = std::bit_cast<float>(pattern);
        if (!std::isfinite(value))
            continue;
        m_defaults.setFloat(value, u"key"_s);
        ASSERT_EQ(std::bit_cast<quint32>(newProgram().floatForKey(u"key"_s)), pattern) << value;
    }
}

TEST_F(NSUserDefaultsTest, KeepTheSignOfZeroWhenAnotherSettingIsWritten)
{
    m_defaults.setFloat(-0.0F, u"key"_s);
    m_defaults.setInteger(1, u"other"_s);
    EXPECT_TRUE(std::signbit(newProgram().floatForKey(u"key"_s)));
    EXPECT_FALSE(newProgram().boolForKey(u"key"_s));
    EXPECT_EQ(newProgram().integerForKey(u"key"_s), 0);
}

TEST_F(NSUserDefaultsTest, TakeAFloatThatIsNotFiniteForNone)
{
    for (const float value : {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::quiet_NaN()}) {
        m_defaults.setFloat(1, u"key"_s);
        m_defaults.setFloat(value, u"key"_s);
        EXPECT_FALSE(newProgram().contains(u"key"_s));
    }
}

TEST_F(NSUserDefaultsTest, ConvertBetweenTypes)
{
    struct Conversion
    {
        QByteArray json;
        qint64 integer;
        float real;
        bool boolean;
        std::optional<QString> text;
    };
    const Conversion conversions[] = {
        {"true", 1, 1, true, u"true"_s},
        {"false", 0, 0, false, u"false"_s},
        {"2.75", 2, 2.75F, true, u"2.75"_s},
        {"-2.75", -2, -2.75F, true, u"-2.75"_s},
        {"0.5", 0, 0.5F, true, u"0.5"_s},
        {"1e300", 0, 0, true, u"1e+300"_s},
        {"9223372036854775808", 0, 9223372036854775808.0F, true, u"9223372036854776000"_s},
        {"\"12 apples\"", 12, 12, true, u"12 apples"_s},
        {"\" -7.5e1x\"", -7, -75, true, u" -7.5e1x"_s},
        {"\"+3\"", 3, 3, true, u"+3"_s},
        {"\"9223372036854775807\"", std::numeric_limits<qint64>::max(), 9223372036854775808.0F, true,
         u"9223372036854775807"_s},
        {"\"9223372036854775808\"", 0, 9223372036854775808.0F, true, u"9223372036854775808"_s},
        {"\"YES\"", 0, 0, true, u"YES"_s},
        {"\"True\"", 0, 0, true, u"True"_s},
        {"\"no\"", 0, 0, false, u"no"_s},
        {"\"infinite\"", 0, 0, false, u"infinite"_s},
        {"\"nano\"", 0, 0, false, u"nano"_s},
        {"\"-\"", 0, 0, false, u"-"_s},
        {"\"\"", 0, 0, false, u""_s},
        {"null", 0, 0, false, std::nullopt},
        {"[1]", 0, 0, false, std::nullopt},
        {"{\"a\": 1}", 0, 0, false, std::nullopt},
    };
    for (const Conversion &conversion : conversions) {
        writeFile(m_file, "{\"key\": " + conversion.json + "}");
        EXPECT_TRUE(m_defaults.contains(u"key"_s)) << conversion.json.constData();
        EXPECT_EQ(m_defaults.integerForKey(u"key"_s), conversion.integer) << conversion.json.constData();
        EXPECT_EQ(m_defaults.floatForKey(u"key"_s), conversion.real) << conversion.json.constData();
        EXPECT_EQ(m_defaults.boolForKey(u"key"_s), conversion.boolean) << conversion.json.constData();
        EXPECT_EQ(m_defaults.stringForKey(u"key"_s), conversion.text) << conversion.json.constData();
    }
}

TEST_F(NSUserDefaultsTest, ReadALongTextForANumberAtOnce)
{
    // Quadratic time would be minutes.
    m_defaults.setString(u"1e"_s.repeated(1000000), u"key"_s);
    EXPECT_EQ(m_defaults.integerForKey(u"key"_s), 1);
    EXPECT_EQ(m_defaults.floatForKey(u"key"_s), 10.0F);
}

TEST_F(NSUserDefaultsTest, KeepWhatTheyDoNotUnderstand)
{
    writeFile(m_file, "{\"list\": [1, {\"a\": null}], \"text\": \"\\ud83d\\ude00\"}");
    m_defaults.setInteger(1, u"key"_s);
    const QJsonObject expected{
        {u"list"_s, QJsonArray{1, QJsonObject{{u"a"_s, QJsonValue()}}}}, {u"text"_s, u"😀"_s}, {u"key"_s, 1}};
    EXPECT_EQ(QJsonDocument::fromJson(readFile(m_file)).object(), expected);
}

TEST_F(NSUserDefaultsTest, AreForTheUserAlone)
{
    const mode_t original = ::umask(0);
    m_defaults.setInteger(1, u"key"_s);
    ::umask(077);
    m_defaults.setInteger(2, u"key"_s);
    ::umask(original);
    EXPECT_EQ(mode(m_file), 0600U);
    EXPECT_EQ(mode(m_lock), 0600U);
    EXPECT_EQ(mode(m_folder), 0700U);
    EXPECT_EQ(mode(m_home.configFolder()), 0700U);
    EXPECT_EQ(itemsInFolder(), (QStringList{u"defaults.json"_s, u"defaults.json.lock"_s}));
}

TEST_F(NSUserDefaultsTest, OfADamagedFileAreAbsentAndTheFileIsMovedAsideAtTheNextWrite)
{
    for (const QByteArray &contents : damagedContents()) {
        writeFile(m_file, contents);
        NSUserDefaults defaults = newProgram();
        const CapturedStandardError log;
        ASSERT_FALSE(defaults.contains(u"key"_s)) << contents.left(60).constData();
        ASSERT_EQ(readFile(m_file), contents);
        defaults.setInteger(5, u"new"_s);
        EXPECT_EQ(log.text().count(u'\n'), 1) << qPrintable(log.text());
        EXPECT_TRUE(log.text().contains(m_file));
        ASSERT_EQ(newProgram().integerForKey(u"new"_s), 5);
        ASSERT_EQ(readFile(m_damaged), contents);
    }
}

TEST_F(NSUserDefaultsTest, WhereThereIsAFolderOrAFIFOAreAbsentAndItIsMovedAside)
{
    const CapturedStandardError log;
    writeFile(m_file + u"/a file in a folder"_s, "x");
    EXPECT_FALSE(m_defaults.contains(u"key"_s));
    m_defaults.setInteger(1, u"key"_s);
    EXPECT_EQ(newProgram().integerForKey(u"key"_s), 1);
    EXPECT_EQ(readFile(m_damaged + u"/a file in a folder"_s), "x");

    ASSERT_TRUE(QDir(m_damaged).removeRecursively());
    ASSERT_TRUE(QFile::remove(m_file));
    ASSERT_EQ(::mkfifo(m_file.toUtf8().constData(), 0600), 0);
    EXPECT_FALSE(newProgram().contains(u"key"_s));
    m_defaults.setInteger(2, u"key"_s);
    EXPECT_EQ(newProgram().integerForKey(u"key"_s), 2);
}

TEST_F(NSUserDefaultsTest, OfADamagedFileThatCannotBeMovedAsideLeaveIt)
{
    const CapturedStandardError log;
    writeFile(m_file, "damaged");
    ASSERT_TRUE(QDir().mkpath(m_damaged));
    m_defaults.setInteger(1, u"key"_s);
    EXPECT_EQ(m_defaults.integerForKey(u"key"_s), 1);
    EXPECT_EQ(readFile(m_file), "damaged");
}

TEST_F(NSUserDefaultsTest, OfAnUnreadableFileAreAbsentAndItIsMovedAside)
{
    writeFile(m_file, "{\"key\": 1}");
    ASSERT_EQ(::chmod(m_file.toUtf8().constData(), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [&] {
        const CapturedStandardError log;
        const bool wasAbsent = !m_defaults.contains(u"key"_s);
        m_defaults.setInteger(2, u"key"_s);
        return wasAbsent && newProgram().integerForKey(u"key"_s) == 2;
    }));
    EXPECT_EQ(readFile(m_damaged), "{\"key\": 1}");
}

TEST_F(NSUserDefaultsTest, AreNotTakenForDamagedByAProcessWithoutAFreeDescriptor)
{
    m_defaults.setInteger(1, u"key"_s);
    const CapturedStandardError log;
    const int nextDescriptor = ::dup(STDIN_FILENO);
    ::close(nextDescriptor);
    {
        const ResourceLimit oneForTheLock(RLIMIT_NOFILE, static_cast<rlim_t>(nextDescriptor) + 1);
        m_defaults.setInteger(2, u"other"_s);
        EXPECT_EQ(m_defaults.integerForKey(u"other"_s), 2);
    }
    EXPECT_THAT(log.text().toStdString(), HasSubstr("The setting other could not be stored"));
    EXPECT_EQ(newProgram().integerForKey(u"key"_s), 1);
    EXPECT_FALSE(QFile::exists(m_damaged));
    m_defaults.setInteger(3, u"third"_s);
    EXPECT_EQ(newProgram().integerForKey(u"other"_s), 2);
}

TEST_F(NSUserDefaultsTest, ThatCannotBeWrittenHoldForTheProcessAndAreLogged)
{
    m_defaults.setInteger(1, u"key"_s);
    const QByteArray before = readFile(m_file);
    ASSERT_EQ(::chmod(m_folder.toUtf8().constData(), 0500), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [&] {
        const CapturedStandardError log;
        m_defaults.setInteger(2, u"key"_s);
        m_defaults.removeObjectForKey(u"other"_s);
        return m_defaults.integerForKey(u"key"_s) == 2 && newProgram().integerForKey(u"key"_s) == 1
               && log.text().contains(u"The setting key could not be stored in "_s + m_file)
               && log.text().contains(u"Permission denied"_s);
    }));
    EXPECT_EQ(readFile(m_file), before);
}

TEST_F(NSUserDefaultsTest, ThatCouldNotBeWrittenAreWrittenWithTheNextOne)
{
    const CapturedStandardError log;
    writeFile(m_folder, "in the way");
    m_defaults.setInteger(1, u"first"_s);
    m_defaults.setInteger(2, u"second"_s);
    m_defaults.removeObjectForKey(u"second"_s);
    EXPECT_EQ(m_defaults.integerForKey(u"first"_s), 1);
    EXPECT_FALSE(m_defaults.contains(u"second"_s));
    ASSERT_TRUE(QFile::remove(m_folder));
    m_defaults.setInteger(3, u"third"_s);
    EXPECT_EQ(newProgram().integerForKey(u"first"_s), 1);
    EXPECT_FALSE(newProgram().contains(u"second"_s));
    EXPECT_EQ(newProgram().integerForKey(u"third"_s), 3);
}

TEST_F(NSUserDefaultsTest, KeepTheOldFileWhereTheNewOneDoesNotFit)
{
    m_defaults.setInteger(1, u"key"_s);
    const QByteArray before = readFile(m_file);
    const CapturedStandardError log;
    const auto formerHandler = std::signal(SIGXFSZ, SIG_IGN);
    {
        const ResourceLimit small(RLIMIT_FSIZE, 8000);
        m_defaults.setString(QString(20000, u'x'), u"large"_s);
    }
    std::signal(SIGXFSZ, formerHandler);
    EXPECT_THAT(log.text().toStdString(), HasSubstr("The setting large could not be stored"));
    EXPECT_EQ(readFile(m_file), before);
    EXPECT_EQ(itemsInFolder(), (QStringList{u"defaults.json"_s, u"defaults.json.lock"_s}));
    EXPECT_EQ(m_defaults.stringForKey(u"large"_s), QString(20000, u'x'));
}

TEST_F(NSUserDefaultsTest, WriteNoFileThatTheyWouldNotReadBack)
{
    m_defaults.setInteger(1, u"key"_s);
    const CapturedStandardError log;
    m_defaults.setString(QString(16 * 1024 * 1024, u'x'), u"large"_s);
    EXPECT_THAT(log.text().toStdString(), HasSubstr("File too large"));
    EXPECT_EQ(newProgram().integerForKey(u"key"_s), 1);
    m_defaults.removeObjectForKey(u"large"_s);
    m_defaults.setInteger(2, u"key"_s);
    EXPECT_EQ(newProgram().integerForKey(u"key"_s), 2);
}

TEST_F(NSUserDefaultsTest, FollowALinkToTheFileAndLeaveTheLink)
{
    const QString target = m_home.path() + u"/dotfiles/host.json"_s;
    writeFile(target, "{\"key\": 1}");
    ASSERT_TRUE(QDir().mkpath(m_folder));
    ASSERT_TRUE(QFile::link(u"../../dotfiles/host.json"_s, m_file));
    EXPECT_EQ(m_defaults.integerForKey(u"key"_s), 1);
    m_defaults.setInteger(2, u"key"_s);
    EXPECT_EQ(QJsonDocument::fromJson(readFile(target)).object(), (QJsonObject{{u"key"_s, 2}}));
    EXPECT_TRUE(QFileInfo(m_file).isSymbolicLink());
    EXPECT_EQ(QDir(m_home.path() + u"/dotfiles"_s).entryList(QDir::Files), QStringList{u"host.json"_s});
}

TEST_F(NSUserDefaultsTest, ReplaceALinkToNowhereAndMoveALoopAside)
{
    ASSERT_TRUE(QDir().mkpath(m_folder));
    ASSERT_TRUE(QFile::link(u"nowhere"_s, m_file));
    m_defaults.setInteger(1, u"key"_s);
    EXPECT_FALSE(QFileInfo(m_file).isSymbolicLink());
    EXPECT_EQ(newProgram().integerForKey(u"key"_s), 1);

    const CapturedStandardError log;
    ASSERT_TRUE(QFile::remove(m_file));
    ASSERT_TRUE(QFile::link(u"defaults.json"_s, m_file));
    EXPECT_FALSE(newProgram().contains(u"key"_s));
    m_defaults.setInteger(2, u"key"_s);
    EXPECT_EQ(newProgram().integerForKey(u"key"_s), 2);
}

TEST_F(NSUserDefaultsTest, LieInAFolderWhoseNameIsNotUTF8)
{
    const QString file = m_home.path()
                         + NSFileManager::stringWithFileSystemRepresentation("/caf\xe9/defaults.json");
    NSUserDefaults defaults([&] { return file; });
    defaults.setInteger(1, u"key"_s);
    EXPECT_EQ(NSUserDefaults([&] { return file; }).integerForKey(u"key"_s), 1);
}

TEST_F(NSUserDefaultsTest, OfManyProcessesAndThreadsLoseNothing)
{
    constexpr int writerCount = 4;
    constexpr int keysPerWriter = 50;
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < writerCount; ++i) {
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->start(foundationHost(),
                                {u"write"_s, m_file, u"process%1-"_s.arg(i), QString::number(keysPerWriter)});
    }
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < writerCount; ++i) {
            threads.emplace_back([this, i] {
                for (int key = 0; key < keysPerWriter; ++key)
                    m_defaults.setInteger(key, u"thread%1-%2"_s.arg(i).arg(key));
            });
        }
    }
    for (const auto &process : processes) {
        EXPECT_TRUE(process->waitForFinished(60000));
        EXPECT_EQ(process->exitCode(), 0);
        EXPECT_EQ(process->readAllStandardError(), "");
    }
    const QJsonObject stored = QJsonDocument::fromJson(readFile(m_file)).object();
    EXPECT_EQ(stored.size(), 2 * writerCount * keysPerWriter);
    for (int i = 0; i < writerCount; ++i) {
        for (int key = 0; key < keysPerWriter; ++key) {
            EXPECT_EQ(stored.value(u"process%1-%2"_s.arg(i).arg(key)), QJsonValue(key));
            EXPECT_EQ(stored.value(u"thread%1-%2"_s.arg(i).arg(key)), QJsonValue(key));
        }
    }
    EXPECT_EQ(itemsInFolder(), (QStringList{u"defaults.json"_s, u"defaults.json.lock"_s}));
}

TEST_F(NSUserDefaultsTest, OfAProcessKilledAtAnyMomentAreWhole)
{
    std::mt19937 random(std::random_device{}());
    QByteArrayList returned;
    for (int round = 0; round < 100; ++round) {
        QProcess writer;
        writer.start(foundationHost(), {u"write"_s, m_file, u"round%1-"_s.arg(round), u"100000"_s});
        QByteArray output;
        const auto linesBeforeDeath = static_cast<qsizetype>(1 + random() % 10);
        while (output.count('\n') < linesBeforeDeath) {
            ASSERT_TRUE(writer.waitForReadyRead());
            output += writer.readAllStandardOutput();
        }
        // A moment anywhere within the next write or two.
        QElapsedTimer timer;
        timer.start();
        for (const qint64 moment = static_cast<qint64>(random() % 3000000); timer.nsecsElapsed() < moment;)
            continue;
        writer.kill();
        ASSERT_TRUE(writer.waitForFinished());
        ASSERT_EQ(writer.exitStatus(), QProcess::CrashExit);
        output += writer.readAllStandardOutput();
        returned += output.left(output.lastIndexOf('\n')).split('\n');

        const QJsonObject stored = QJsonDocument::fromJson(readFile(m_file)).object();
        for (const QByteArray &key : returned)
            ASSERT_TRUE(stored.contains(QString::fromUtf8(key)))
                << key.constData() << " after round " << round;
    }
    m_defaults.setInteger(1, u"last"_s);
    EXPECT_EQ(itemsInFolder(), (QStringList{u"defaults.json"_s, u"defaults.json.lock"_s}));
}

TEST_F(NSUserDefaultsTest, WaitForAStoppedProcessThatHoldsTheLockNoLongerThanTheLimit)
{
    ASSERT_TRUE(QDir().mkpath(m_folder));
    QProcess holder;
    holder.start(foundationHost(), {u"stop-with-lock"_s, m_lock});
    ASSERT_TRUE(holder.waitForReadyRead());
    const CapturedStandardError log;
    QElapsedTimer timer;
    timer.start();
    m_defaults.setInteger(1, u"key"_s);
    EXPECT_GE(timer.elapsed(), 4900);
    EXPECT_LE(timer.elapsed(), 10000);
    EXPECT_THAT(log.text().toStdString(), HasSubstr("The setting key could not be stored"));
    EXPECT_EQ(m_defaults.integerForKey(u"key"_s), 1);
    EXPECT_FALSE(newProgram().contains(u"key"_s));

    holder.kill();
    ASSERT_TRUE(holder.waitForFinished());
    m_defaults.setInteger(2, u"other"_s);
    EXPECT_EQ(newProgram().integerForKey(u"key"_s), 1);
}

TEST_F(NSUserDefaultsTest, StandardOnesLieInAFolderNamedAfterTheHost)
{
    const QString home = m_home.path();
    const auto storedIn = [&](const QString &program, const QString &folder) {
        runFoundationHost(program, {u"store"_s, u"key"_s, u"value"_s});
        return QJsonDocument::fromJson(readFile(m_home.configFolder() + u'/' + folder + u"/defaults.json"_s))
                   .object()
               == QJsonObject{{u"key"_s, u"value"_s}};
    };
    const QString host = copyOfFoundationHost(home + u"/bin"_s, u"kite"_s);
    EXPECT_TRUE(storedIn(host, u"kite"_s));
    writeFile(home + u"/bin/Info.plist"_s,
              "<plist version=\"1.0\"><dict><key>CFBundleName</key><string>My/Kite</string>"
              "</dict></plist>");
    EXPECT_TRUE(storedIn(host, u"My-Kite"_s));
    writeFile(home + u"/bin/Info.plist"_s,
              "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>..</string>"
              "<key>CFBundleName</key><string>Kite</string></dict></plist>");
    EXPECT_TRUE(storedIn(host, u"_.."_s));
}
