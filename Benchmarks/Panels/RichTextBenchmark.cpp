#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype megabyte = 1'000'000;

/*! Credits as an editor writes them, with a bit of everything. */
QByteArray credits()
{
    QByteArray text =
        "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl\\f0\\fswiss Helvetica;\\f1\\fswiss Helvetica-Bold;}"
        "{\\colortbl;\\red0\\green0\\blue0;\\red46\\green125\\blue186;}\n";
    for (int i = 0; text.size() < megabyte; ++i) {
        const QByteArray number = QByteArray::number(i);
        text += "\\pard\\tx560\\sa100\\ql\\f1\\b\\fs28\\cf2 Chapter " + number
                + "\\par\n\\f0\\b0\\fs24\\cf1 Drawn by "
                  "Ad\\'e8le \\i Lef\\u232?vre\\i0  and the surveyors of coast "
                + number
                + ", whose soundings, heights and shoals made these maps what they are.\\par\n"
                  "{\\field{\\*\\fldinst{HYPERLINK \"https://example.com/"
                + number + "\"}}{\\fldrslt\\ul More about them}}\\tab thanks.\\par\n";
    }
    return text + '}';
}

/*! Runs a command to its end and returns how many milliseconds it takes. */
double milliseconds(const QString &command)
{
    return 1000 * secondsOf([&] {
               if (std::system((command + u" > /dev/null"_s).toUtf8().constData()) != 0)
                   std::abort();
           });
}

} // namespace

void benchmarkRichText()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"Credits.rtf"_s);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(credits()) < megabyte)
        std::abort();
    file.close();

    const QString ours = QCoreApplication::applicationDirPath() + u"/rich-text-host "_s + path;
    const Comparison reading{.ours = [&] { return milliseconds(ours); },
                             .peer = [&] { return milliseconds(u"unrtf --html "_s + path); }};
    printRatio("reading credits, 1 MB, the whole program / unrtf", reading.run(), "ms", "at most 0.2");
}
