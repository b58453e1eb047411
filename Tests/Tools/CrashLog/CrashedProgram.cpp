#include "Tests/Tools/CrashLog/CrashedProgram.h"

#include "Tests/Support/TemporaryHome.h"

#include <Marblewick/CrashReportText.h>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <cstring>

using namespace Qt::StringLiterals;

namespace {

QString helperPath()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath()
                           + u"/../lib/marblewick/marblewick-crashlog"_s);
}

} // namespace

CrashedProgram::CrashedProgram(const QString &way, const QStringList &arguments, const QString &path)
    : m_program(QStringList{path, way} + arguments)
{
    const bool hasCrashed = QTest::qWaitFor([this] { return m_program.output().size() == sizeof record; },
                                            20'000);
    EXPECT_TRUE(hasCrashed) << "It did not crash: " << qPrintable(way);
    if (hasCrashed)
        std::memcpy(&record, m_program.output().constData(), sizeof record);
}

QString CrashedProgram::pathOf(const QString &program)
{
    return QCoreApplication::applicationDirPath() + u'/' + program;
}

HelperResult runHelper(CrashRecord record, const QStringList &launcher)
{
    const QTemporaryDir folder;
    qstrncpy(record.folder, folder.path().toUtf8().constData(), sizeof record.folder);
    return runHelperWithInput(QByteArray(reinterpret_cast<const char *>(&record), sizeof record),
                              folder.path(), launcher);
}

HelperResult runHelperWithInput(const QByteArray &input, const QString &folder, const QStringList &launcher)
{
    HelperResult result;
    {
        ChildProgram helper(launcher + QStringList{helperPath()});
        helper.write(input);
        helper.endInput();
        result.status = helper.exitStatus();
        EXPECT_EQ(helper.output(), "");
    }
    result.files = QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System
                                          | QDir::NoDotAndDotDot);
    if (result.files.isEmpty())
        return result;
    result.contents = readFile(folder + u'/' + result.files.first());
    const qsizetype headerLength = result.contents.indexOf('\n');
    result.header = QJsonDocument::fromJson(result.contents.first(headerLength)).object();
    result.body = QJsonDocument::fromJson(result.contents.sliced(headerLength)).object();
    result.text = Marblewick::textOfCrashReport(result.contents).value_or(QString());
    return result;
}

QJsonObject crashedThread(const QJsonObject &body)
{
    const QJsonArray threads = body.value("threads"_L1).toArray();
    const QJsonObject thread = threads.at(body.value("faultingThread"_L1).toInt(-1)).toObject();
    EXPECT_TRUE(thread.value("triggered"_L1).toBool());
    return thread;
}

QJsonArray frames(const QJsonObject &thread) { return thread.value("frames"_L1).toArray(); }

QStringList frameTexts(const QJsonObject &thread)
{
    QStringList texts;
    for (const QJsonValue value : frames(thread)) {
        const QJsonObject frame = value.toObject();
        QString text = frame.value("symbol"_L1).toString(u"?"_s);
        if (frame.contains("sourceLine"_L1))
            text += u" (%1:%2)"_s.arg(frame.value("sourceFile"_L1).toString())
                        .arg(frame.value("sourceLine"_L1).toInt());
        texts += frame.value("inline"_L1).toBool() ? text + u" [inlined]"_s : text;
    }
    return texts;
}

int lineOf(const QString &mark)
{
    const QList<QByteArray> lines = readFile(QStringLiteral(CRASHER_SOURCE)).split('\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (lines.at(i).endsWith("// line: " + mark.toUtf8()))
            return static_cast<int>(i) + 1;
    }
    ADD_FAILURE() << "No line is marked: " << qPrintable(mark);
    return 0;
}

QString frameText(const QString &function, const QString &mark)
{
    return u"%1 (Crasher.cpp:%2)"_s.arg(function).arg(lineOf(mark));
}
