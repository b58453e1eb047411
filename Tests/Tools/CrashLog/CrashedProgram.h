#pragma once

#include "CrashReporter/CrashRecord.h"
#include "Tests/Support/ChildProgram.h"

#include <QJsonObject>
#include <QString>
#include <QTemporaryDir>

#include <optional>

/*! The program Crasher, or a copy of it, which has crashed and waits to be looked at. */
class CrashedProgram
{
public:
    /*! `way` is how it crashes; `arguments` is what else Crasher takes. */
    explicit CrashedProgram(const QString &way, const QStringList &arguments = {},
                            const QString &path = pathOf(QStringLiteral("Crasher")));

    /*! A program of the tests. */
    static QString pathOf(const QString &program);

    CrashRecord record;

private:
    ChildProgram m_program;
};

/*! What the crash-log helper made of a crash. */
struct HelperResult
{
    int status = -1;
    QStringList files; ///< names of all that is in the folder afterwards
    QByteArray contents; ///< of the first file
    QJsonObject header;
    QJsonObject body;
    QString text; ///< as a person reads it
};

/*! Runs the helper in an empty folder, behind the words of `launcher` where there are any. */
HelperResult runHelper(CrashRecord record, const QStringList &launcher = {});
/*! Runs the helper with any input. */
HelperResult runHelperWithInput(const QByteArray &input, const QString &folder,
                                const QStringList &launcher = {});

QJsonObject crashedThread(const QJsonObject &body);
QJsonArray frames(const QJsonObject &thread);
/*! `function (file:line)` of each frame, with " [inlined]" where it is; "?" for a function without name. */
QStringList frameTexts(const QJsonObject &thread);
/*! Number of the line of Crasher.cpp that ends with the comment "line: <mark>". */
int lineOf(const QString &mark);
/*! The text that frameTexts() has for a function at that line. */
QString frameText(const QString &function, const QString &mark);
