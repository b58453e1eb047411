#include "Tests/Platform/QuickLook/CrashReportFiles.h"

#include <Marblewick/CrashReportText.h>

#include <gtest/gtest.h>

#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>

using namespace Qt::StringLiterals;
using Marblewick::textOfCrashReport;

namespace {

QByteArray list(const QByteArray &element, qsizetype count)
{
    return '[' + (element + ',').repeated(count).chopped(1) + ']';
}

} // namespace

TEST(CrashReportTextHostile, RefusesNestingDeeperThanQtReads)
{
    const QByteArray deep = QByteArray("{\"a\":").repeated(2000) + "1" + QByteArray("}").repeated(2000);
    EXPECT_EQ(textOfCrashReport(reportWithBody(deep)), std::nullopt);
    const QByteArray veryDeep = QByteArray("[").repeated(5'000'000) + QByteArray("]").repeated(5'000'000);
    EXPECT_EQ(textOfCrashReport(reportWithBody("{\"a\":" + veryDeep + '}')), std::nullopt);
}

TEST(CrashReportTextHostile, RefusesAReportThatBreaksOffAnywhere)
{
    const QByteArray body =
        R"({"procName":"a\"b","threads":[{"frames":[{"imageOffset":18446744073709551615}]}]})";
    ASSERT_TRUE(textOfCrashReport(reportWithBody(body)));
    for (qsizetype length = 0; length < body.size(); ++length)
        EXPECT_EQ(textOfCrashReport(reportWithBody(body.first(length))), std::nullopt) << length;
}

TEST(CrashReportTextHostile, TakesValuesOfAnyTypeForMissingOnes)
{
    const QByteArray keys[] = {"bundleInfo",   "osVersion",      "exception", "termination", "asi",
                               "vmRegionInfo", "faultingThread", "threads",   "usedImages",  "procName",
                               "pid",          "uptime"};
    const auto missing = textOfCrashReport(reportWithBody("{}"));
    for (const char *value : {"null", "true", "-1.5", "[]", "{}", "\"\""}) {
        for (const QByteArray &key : keys)
            EXPECT_EQ(textOfCrashReport(reportWithBody("{\"" + key + "\":" + value + '}')), missing)
                << key.constData() << value;
    }
}

TEST(CrashReportTextHostile, TakesMembersOfAnyTypeForMissingOnes)
{
    const auto text = textOfCrashReport(reportWithQuoted(
        "{'faultingThread':0,'threads':[{'name':1.5,'queue':[],'frames':[7,{'imageIndex':'x','imageOffset':{}"
        ","
        "'symbol':true,'sourceLine':[],'inline':'yes'}],'threadState':{'flavor':{},'x':[1,{'value':'no'}],"
        "'rax':[],'rbx':4}},null],'usedImages':[null,{'size':'?','base':null}]}"));
    ASSERT_TRUE(text);
    const QString nothingKnown = u"???                           \t               0x0 0x0 + 0\n"_s;
    EXPECT_TRUE(text->contains(u"Thread 0 Crashed:\n0   "_s + nothingKnown + u"1   "_s + nothingKnown));
    EXPECT_TRUE(text->contains(u"Thread 0 crashed with ???:\n\nBinary Images:\n"_s)) << qPrintable(*text);
    EXPECT_EQ(text->count(u"0x0 - 0xffffffffffffffff ??? (*) <\?\?\?> ???\n"_s), 2);
}

TEST(CrashReportTextHostile, ShowsIndexesOutOfRangeAsUnknown)
{
    for (const char *index : {"1", "-1", "99999999999", "18446744073709551615", "1e300", "0.5"}) {
        const auto text = textOfCrashReport(reportWithQuoted("{'faultingThread':" + QByteArray(index)
                                                             + ",'threads':[{'frames':[{'imageIndex':" + index
                                                             + "}]}],'usedImages':[{'name':'wick'}]}"));
        ASSERT_TRUE(text) << index;
        EXPECT_TRUE(text->contains(u"Crashed Thread:        ???\n"_s)) << index;
        EXPECT_TRUE(text->contains(u"\n0   ???  "_s)) << index;
    }
}

TEST(CrashReportTextHostile, TakesANegativeOrHugeSizeForUnknown)
{
    for (const char *size : {"-1", "-9223372036854775808", "18446744073709551616", "1e30"}) {
        const auto text = textOfCrashReport(
            reportWithQuoted("{'usedImages':[{'base':16,'size':" + QByteArray(size) + "}]}"));
        ASSERT_TRUE(text) << size;
        EXPECT_TRUE(text->contains(u"0x10 - 0xffffffffffffffff ???"_s)) << qPrintable(*text);
    }
}

TEST(CrashReportTextHostile, WrapsAddressesAroundAt64Bits)
{
    const auto text = textOfCrashReport(
        reportWithQuoted("{'threads':[{'frames':[{'imageIndex':0,'imageOffset':18446744073709551615}]}],"
                         "'usedImages':[{'base':18446744073709551614,'size':18446744073709551615}]}"));
    ASSERT_TRUE(text);
    EXPECT_TRUE(text->contains(u"\t0xfffffffffffffffd 0xfffffffffffffffe + 18446744073709551615\n"_s));
    EXPECT_TRUE(text->contains(u"0xfffffffffffffffe - 0xfffffffffffffffc ???"_s)) << qPrintable(*text);
}

TEST(CrashReportTextHostile, LaysOutAHundredThousandThreadsAndFramesInLinearTime)
{
    const auto text = textOfCrashReport(
        reportWithQuoted("{'threads':" + list("{'frames':[{'imageIndex':99999}]}", 100'000)
                         + ",'usedImages':" + list("{'name':'wick'}", 100'000) + '}'));
    ASSERT_TRUE(text);
    EXPECT_EQ(text->count(u"\n0   wick"_s), 100'000);

    const auto milliseconds = [](qsizetype count) {
        const QByteArray report = reportWithQuoted("{'threads':[{'frames':" + list("{'symbol':'f'}", count)
                                                   + "}]}");
        QElapsedTimer timer;
        timer.start();
        EXPECT_TRUE(textOfCrashReport(report));
        return timer.elapsed();
    };
    const auto few = milliseconds(10'000);
    // Quadratic work would take a hundred times as long; a busy machine does not.
    EXPECT_LT(milliseconds(100'000), 40 * qMax<qint64>(few, 5));
}

TEST(CrashReportTextHostile, RefusesALayoutThatGrowsOutOfProportion)
{
    const QByteArray name(1'000'000, 'n');
    const QByteArray body = "{\"usedImages\":[{\"name\":\"" + name
                            + "\"}],\"threads\":[{\"frames\":" + list("{\"imageIndex\":0}", 1000) + "}]}";
    EXPECT_EQ(textOfCrashReport(reportWithBody(body)), std::nullopt);
}

TEST(CrashReportTextHostile, BoundsTheNameOfAnArrayOfRegisters)
{
    const QByteArray name(1'000'000, 'n');
    const auto text = textOfCrashReport(
        reportWithBody("{\"faultingThread\":0,\"threads\":[{\"threadState\":{\"" + name
                       + "\":" + list("{\"value\":1}", 1000) + "}}]}"));
    ASSERT_TRUE(text);
    EXPECT_LT(text->size(), 100'000);
}

TEST(CrashReportTextHostile, RefusesMoreThan64MiB)
{
    const QByteArray report = reportWithBody("{}");
    const qsizetype limit = 64 * 1024 * 1024;
    const QByteArray atLimit = report + QByteArray(limit - report.size(), ' ');
    EXPECT_TRUE(textOfCrashReport(atLimit));
    EXPECT_EQ(textOfCrashReport(atLimit + ' '), std::nullopt);
}

TEST(CrashReportTextHostile, SurvivesEveryInputThatTheFuzzerKept)
{
    int count = 0;
    QDirIterator files(QStringLiteral(MARBLEWICK_FUZZ_CORPUS "/crash-report-text"), QDir::Files);
    for (; files.hasNext(); ++count) {
        QFile file(files.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        SCOPED_TRACE(file.fileName().toStdString());
        const auto text = textOfCrashReport(file.readAll());
        EXPECT_TRUE(!text || !text->isEmpty());
    }
    EXPECT_GE(count, 6);
}
