#include "Tests/Platform/QuickLook/CrashReportFiles.h"

#include <Marblewick/CrashReportText.h>

#include <gtest/gtest.h>

#include <QStringList>

using namespace Qt::StringLiterals;
using Marblewick::textOfCrashReport;

namespace {

QString layout(const QByteArray &quotedBody)
{
    return textOfCrashReport(reportWithQuoted(quotedBody)).value_or(u"(nil)"_s);
}

/*! The line that begins with `start`, or the empty string. */
QString line(const QString &text, const QString &start)
{
    for (const QString &candidate : text.split(u'\n')) {
        if (candidate.startsWith(start))
            return candidate;
    }
    return {};
}

/*! The only frame's line of a report with this frame and one image: "wick", 4096 bytes at 0x100000000. */
QString frameLine(const QByteArray &frame)
{
    const QString text = layout("{'threads':[{'frames':[" + frame
                                + "]}],'usedImages':[{'name':'wick','base':4294967296,'size':4096}]}");
    return line(text, u"0   "_s);
}

QString imageLine(const QByteArray &image)
{
    return layout("{'usedImages':[" + image + "]}").section(u"Binary Images:\n"_s, 1).trimmed();
}

} // namespace

TEST(CrashReportText, IsLaidOutAsProcessExceptionThreadsRegistersAndImages)
{
    const QString text = layout(R"({
        'procName':'Lantern','pid':7,'procPath':'/opt/lantern/Lantern',
        'bundleInfo':{'CFBundleIdentifier':'org.example.lantern','CFBundleShortVersionString':'1.2',
                      'CFBundleVersion':'34'},
        'cpuType':'X86-64','parentProc':'init','parentPid':1,'userID':1000,
        'captureTime':'2024-01-02 03:04:05.0000 +0000','procLaunch':'2024-01-02 03:00:00.0000 +0000',
        'osVersion':{'train':'Sample OS 9','build':'9A1'},'version':2,'modelCode':'Box1,1','uptime':60,
        'exception':{'type':'EXC_BAD_ACCESS','signal':'SIGSEGV','subtype':'at 0x8','codes':'0x1, 0x8'},
        'termination':{'namespace':'SIGNAL','code':11,'indicator':'Segmentation fault: 11',
                       'byProc':'exc handler','byPid':7},
        'vmRegionInfo':'0x8 is in no region\n  next',
        'asi':{'libc':['first message','second\nmessage']},
        'faultingThread':1,
        'threads':[
            {'queue':'main-queue','frames':[{'imageIndex':0,'imageOffset':16,'symbol':'run','symbolLocation':4}]},
            {'name':'worker','frames':[{'imageIndex':0,'imageOffset':32}],
             'threadState':{'flavor':'x86_THREAD_STATE','rip':{'value':4294967328}}}],
        'usedImages':[{'name':'Lantern','path':'/opt/lantern/Lantern','uuid':'abcd-ef','base':4294967296,
                       'size':4096,'CFBundleIdentifier':'org.example.lantern',
                       'CFBundleShortVersionString':'1.2'}]
    })");
    EXPECT_EQ(text, uR"(Process:               Lantern [7]
Path:                  /opt/lantern/Lantern
Identifier:            org.example.lantern
Version:               1.2 (34)
Code Type:             X86-64
Parent Process:        init [1]
User ID:               1000

Date/Time:             2024-01-02 03:04:05.0000 +0000
OS Version:            Sample OS 9 (9A1)
Report Version:        2
Launch Time:           2024-01-02 03:00:00.0000 +0000
Hardware Model:        Box1,1
Time Awake Since Boot: 60 seconds

Crashed Thread:        1 worker

Exception Type:        EXC_BAD_ACCESS (SIGSEGV)
Exception Subtype:     at 0x8
Exception Codes:       0x1, 0x8
Termination Reason:    Namespace SIGNAL, Code 11 Segmentation fault: 11
Terminating Process:   exc handler [7]

VM Region Info:
0x8 is in no region
  next

Application Specific Information:
first message
second
message

Thread 0:: Dispatch queue: main-queue
0   Lantern                       	       0x100000010 run + 4

Thread 1 Crashed:: worker
0   Lantern                       	       0x100000020 0x100000000 + 32

Thread 1 crashed with X86 Thread State (64-bit):
   rip: 0x0000000100000020

Binary Images:
       0x100000000 -        0x100000fff org.example.lantern (1.2) <abcd-ef> /opt/lantern/Lantern
)"_s);
}

TEST(CrashReportText, NeedsNoKeyButTheBugType)
{
    EXPECT_EQ(layout("{}"), uR"(Process:               ???
Path:                  ???
Identifier:            ???
Version:               ???
Code Type:             ???
Parent Process:        ???
User ID:               ???

Date/Time:             ???
OS Version:            ???
Report Version:        ???

Crashed Thread:        ???

Exception Type:        ???
Exception Codes:       ???

Binary Images:
)"_s);
}

TEST(CrashReportText, IdentifiesAProcessWithoutBundleIdentifierByItsName)
{
    EXPECT_EQ(line(layout("{'procName':'Lantern','bundleInfo':{}}"), u"Identifier"_s),
              u"Identifier:            Lantern"_s);
}

TEST(CrashReportText, NamesTheCrashedThreadsNameAndQueue)
{
    const auto crashedThread = [](const QByteArray &thread) {
        return line(layout("{'faultingThread':0,'threads':[" + thread + "]}"), u"Crashed Thread"_s);
    };
    EXPECT_EQ(crashedThread("{}"), u"Crashed Thread:        0"_s);
    EXPECT_EQ(crashedThread("{'name':'n'}"), u"Crashed Thread:        0 n"_s);
    EXPECT_EQ(crashedThread("{'queue':'q'}"), u"Crashed Thread:        0  Dispatch queue: q"_s);
    EXPECT_EQ(crashedThread("{'name':'n','queue':'q'}"), u"Crashed Thread:        0 n  Dispatch queue: q"_s);
}

TEST(CrashReportText, HeadsAThreadWithWhatIsKnownOfIt)
{
    const QString text = layout("{'faultingThread':1,'threads':[{},{},{'name':'n'},{'queue':'q'},"
                                "{'name':'n','queue':'q'}]}");
    EXPECT_EQ(line(text, u"Thread 0"_s), u"Thread 0:"_s);
    EXPECT_EQ(line(text, u"Thread 1"_s), u"Thread 1 Crashed:"_s);
    EXPECT_EQ(line(text, u"Thread 2"_s), u"Thread 2:: n"_s);
    EXPECT_EQ(line(text, u"Thread 3"_s), u"Thread 3:: Dispatch queue: q"_s);
    EXPECT_EQ(line(text, u"Thread 4"_s), u"Thread 4:: n  Dispatch queue: q"_s);
}

TEST(CrashReportText, TakesTheTriggeredThreadAsCrashedWhereNoFaultingThreadIsNamed)
{
    const QString text = layout("{'threads':[{},{'triggered':true}]}");
    EXPECT_EQ(line(text, u"Crashed Thread"_s), u"Crashed Thread:        1"_s);
    EXPECT_EQ(line(text, u"Thread 1"_s), u"Thread 1 Crashed:"_s);
}

TEST(CrashReportText, LaysAFrameOutInColumns)
{
    EXPECT_EQ(frameLine("{'imageIndex':0,'imageOffset':31,'symbol':'burn','symbolLocation':7}"),
              u"0   wick                          \t       0x10000001f burn + 7"_s);
}

TEST(CrashReportText, ShowsAFrameWithoutSymbolAsImageBaseAndOffset)
{
    EXPECT_EQ(frameLine("{'imageIndex':0,'imageOffset':31}"),
              u"0   wick                          \t       0x10000001f 0x100000000 + 31"_s);
}

TEST(CrashReportText, ShowsTheSourceOnlyWhereItsLineIsKnown)
{
    EXPECT_TRUE(frameLine("{'imageIndex':0,'symbol':'f','symbolLocation':0,'sourceFile':'f.c'}")
                    .endsWith(u" f + 0"_s));
    EXPECT_TRUE(
        frameLine("{'imageIndex':0,'symbol':'f','symbolLocation':0,'sourceFile':'f.c','sourceLine':3}")
            .endsWith(u" f + 0 (f.c:3)"_s));
}

TEST(CrashReportText, MarksAnInlinedFrame)
{
    EXPECT_TRUE(frameLine("{'imageIndex':0,'symbol':'f','symbolLocation':0,'sourceFile':'f.c',"
                          "'sourceLine':3,'inline':true}")
                    .endsWith(u" f + 0 (f.c:3) [inlined]"_s));
    EXPECT_TRUE(
        frameLine("{'imageIndex':0,'symbol':'f','symbolLocation':0,'inline':false}").endsWith(u" f + 0"_s));
}

TEST(CrashReportText, EndsAnImageOfUnknownSizeAtTheLastAddress)
{
    EXPECT_EQ(imageLine("{'name':'n','path':'/p','uuid':'u','base':0,'size':0}"),
              u"0x0 - 0xffffffffffffffff n (*) <u> /p"_s);
}

TEST(CrashReportText, ShowsWhatAnImageLacksAsQuestionMarks)
{
    EXPECT_EQ(imageLine("{'base':16,'size':16}"), u"0x10 -               0x1f ??? (*) <\?\?\?> ???"_s);
}

TEST(CrashReportText, ShowsTheRegistersOfArm64InTheirOrderFourInARow)
{
    const QString text = layout(
        "{'faultingThread':0,'threads':[{'threadState':{'flavor':'ARM_THREAD_STATE64',"
        "'x':[{'value':1},{'value':2},{'value':3}],'pc':{'value':6},'sp':{'value':5},"
        "'fp':{'value':4},'esr':{'value':7,'description':'(Data Abort) read'}}}]}");
    EXPECT_TRUE(text.contains(uR"(
Thread 0 crashed with ARM Thread State (64-bit):
    x0: 0x0000000000000001     x1: 0x0000000000000002     x2: 0x0000000000000003     fp: 0x0000000000000004
    sp: 0x0000000000000005     pc: 0x0000000000000006    esr: 0x0000000000000007 (Data Abort) read

Binary Images:
)"_s)) << qPrintable(text);
}

TEST(CrashReportText, ShowsRegistersItDoesNotKnowAfterThoseItKnows)
{
    const QString text = layout("{'faultingThread':0,'threads':[{'threadState':{'flavor':'OTHER_STATE',"
                                "'a0':{'value':1},'rax':{'value':2},'z':[{'value':3}]}}]}");
    EXPECT_TRUE(text.contains(uR"(
Thread 0 crashed with OTHER_STATE:
   rax: 0x0000000000000002     a0: 0x0000000000000001     z0: 0x0000000000000003
)"_s)) << qPrintable(text);
}

TEST(CrashReportText, KeepsAllBitsOfNumbersAbove63Bits)
{
    const QString text = layout("{'faultingThread':0,'threads':[{'threadState':{'rax':{'value':"
                                "18446744073709551613},'rbx':{'value':9223372036854775809},"
                                "'rcx':{'value':9007199254740993}}}]}");
    EXPECT_TRUE(
        text.contains(u"rax: 0xfffffffffffffffd    rbx: 0x8000000000000001    rcx: 0x0020000000000001"_s))
        << qPrintable(text);
}

TEST(CrashReportText, AppendsWhatFollowsTheBodyAfterAnEmptyLine)
{
    const QByteArray rest = "--- second log ---\nplain\ttext }\n\n{\"bug_type\":\"309\"}\n{}\n";
    const auto text = textOfCrashReport(reportWithBody("{\"procName\":\"brace } in \\\" text\"}\n" + rest));
    ASSERT_TRUE(text);
    EXPECT_TRUE(text->startsWith(u"Process:               brace } in \" text\n"_s));
    EXPECT_TRUE(text->endsWith(u"Binary Images:\n\n"_s + QString::fromUtf8(rest))) << qPrintable(*text);
}

TEST(CrashReportText, AppendsNothingForBlanksAfterTheBody)
{
    EXPECT_EQ(textOfCrashReport(reportWithBody("{}\n \r\n")), textOfCrashReport(reportWithBody("{}")));
}

TEST(CrashReportText, IsTheTextBodyOfAnOlderReport)
{
    EXPECT_EQ(textOfCrashReport("{\"bug_type\":\"109\"}\r\nProcess: Lantern [7]\n\tframe\n"),
              u"Process: Lantern [7]\n\tframe\n"_s);
}

TEST(CrashReportText, IsNilForAnOlderReportWithoutBody)
{
    EXPECT_EQ(textOfCrashReport("{\"bug_type\":\"109\"}\n\n"), std::nullopt);
}

TEST(CrashReportText, IsNilForReportsThatAreNoProcessCrash)
{
    for (const char *type : {"\"151\"", "\"288\"", "\"\"", "309", "null"})
        EXPECT_EQ(textOfCrashReport("{\"bug_type\":" + QByteArray(type) + "}\n{}"), std::nullopt) << type;
    EXPECT_EQ(textOfCrashReport("{\"app_name\":\"Lantern\"}\n{}"), std::nullopt);
}

TEST(CrashReportText, IsNilForTextWithoutHeader)
{
    for (const char *text : {"", "\n", "Process: Lantern [7]\n", "{}", "[]\n{}", "{\"bug_type\":\"309\"}"})
        EXPECT_EQ(textOfCrashReport(text), std::nullopt) << text;
}

TEST(CrashReportText, EscapesControlCharactersOfEveryString)
{
    const QByteArray evil = R"('a\n\u0007\u202eb')";
    const QString text = layout(
        "{'procName':" + evil + ",'procPath':" + evil + ",'exception':{'type':" + evil + ",'codes':" + evil
        + "},'termination':{'indicator':" + evil + "},'asi':{'i':['\\u0007\\u202e']},'vmRegionInfo':'\\u202e'"
        + ",'faultingThread':0,'threads':[{'name':" + evil + ",'queue':" + evil + ",'frames':[{'symbol':"
        + evil + ",'sourceFile':" + evil + ",'sourceLine':1,'imageIndex':0}],'threadState':{'flavor':" + evil
        + ",'r\\n':{'value':1,'description':" + evil + "}}}],'usedImages':[{'name':" + evil
        + ",'path':" + evil + ",'uuid':" + evil + ",'CFBundleIdentifier':" + evil
        + ",'CFBundleShortVersionString':" + evil + "}]}");
    EXPECT_FALSE(text.contains(QChar(7)));
    EXPECT_FALSE(text.contains(QChar(0x202e)));
    EXPECT_EQ(text.count(u"a\\n\\u{7}\\u{202e}b"_s), 19) << qPrintable(text);
    EXPECT_FALSE(text.contains(u"a\n"_s));
}
