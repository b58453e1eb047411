#include "Tests/Platform/ExceptionHandling/RunThrowingHost.h"

#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/ChildProgram.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRegularExpression>

#include <sys/wait.h>

using namespace Qt::StringLiterals;

QStringList ThrowingHostResult::linesLike(const QString &expression) const
{
    return log.filter(QRegularExpression(expression));
}

ThrowingHostResult runThrowingHost(const QStringList &steps, const QString &program)
{
    // A sanitizer would otherwise have the signals before the host.
    for (const char *const options : {"ASAN_OPTIONS", "TSAN_OPTIONS"})
        qputenv(options, qgetenv(options) + " handle_segv=0 handle_abort=0");
    QElapsedTimer timer;
    timer.start();
    const CapturedStandardError standardError;
    ChildProgram host(QStringList(QCoreApplication::applicationDirPath() + u'/' + program) + steps);

    ThrowingHostResult result;
    result.exitStatus = host.exitStatus();
    result.milliseconds = timer.elapsed();
    result.signal = WIFSIGNALED(host.waitStatus()) ? WTERMSIG(host.waitStatus()) : 0;
    result.output = QString::fromUtf8(host.output());
    static const QRegularExpression head(uR"(\d{4}-\d\d-\d\d [\d:.]{12} ThrowingHost-\w+\[\d+:\d+\] )"_s);
    result.log = standardError.text().remove(head).split(u'\n', Qt::SkipEmptyParts);
    return result;
}
