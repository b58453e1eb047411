#include "Platform/QuickLook/QLPreviewLines.h"

#include "Platform/Foundation/NSString.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

constexpr qsizetype maximumRowLength = 1000;
constexpr qsizetype tabWidth = 8;

bool isPrintableASCII(QChar c) { return c >= u' ' && c <= u'~'; }

bool isPlain(QStringView row) { return std::ranges::all_of(row, isPrintableASCII); }

QString expandingTabs(QStringView row)
{
    QString result;
    for (const QChar c : row) {
        if (c == u'\t')
            result.resize((result.size() / tabWidth + 1) * tabWidth, u' ');
        else
            result += c;
    }
    return result;
}

QStringView withoutLineEnd(QStringView line)
{
    if (!line.endsWith(u'\n'))
        return line;
    return line.chopped(line.endsWith("\r\n"_L1) ? 2 : 1);
}

qsizetype cells(QStringView displayed)
{
    return displayed.size() + std::ranges::count_if(displayed, [](QChar c) { return !isPrintableASCII(c); });
}

/*! Where the row that begins at `start` ends: after its line end, or where it gets too long. */
qsizetype endOfRow(QStringView text, qsizetype start)
{
    constexpr qsizetype longestLineEnd = 2;
    const QStringView window = text.sliced(start,
                                           qMin(text.size() - start, maximumRowLength + longestLineEnd));
    const QStringView line = window.first(window.indexOf(u'\n') + 1);
    if (!line.isEmpty() && withoutLineEnd(line).size() <= maximumRowLength)
        return start + line.size();
    if (window.size() <= maximumRowLength)
        return text.size();
    const bool wouldSplitPair = window[maximumRowLength - 1].isHighSurrogate();
    return start + maximumRowLength - (wouldSplitPair ? 1 : 0);
}

QString displayed(QStringView row)
{
    return NSString::escapingControlCharacters(expandingTabs(withoutLineEnd(row)));
}

} // namespace

QLPreviewLines::QLPreviewLines(QString text, const std::stop_token &stop)
    : m_text(std::move(text))
{
    for (qsizetype start = 0; start < m_text.size() && !stop.stop_requested();) {
        const qsizetype end = endOfRow(m_text, start);
        const QStringView row = withoutLineEnd(QStringView(m_text).sliced(start, end - start));
        m_starts.push_back(static_cast<quint32>(start));
        m_columns = qMax(m_columns, isPlain(row) ? row.size() : cells(displayed(row)));
        start = end;
    }
}

QString QLPreviewLines::displayedRow(int row) const { return displayed(textOfRows(row, row)); }

QString QLPreviewLines::originalText(int firstRow, int lastRow) const
{
    return textOfRows(firstRow, lastRow).toString();
}

QStringView QLPreviewLines::textOfRows(int firstRow, int lastRow) const
{
    const qsizetype start = m_starts[static_cast<size_t>(firstRow)];
    const auto next = static_cast<size_t>(lastRow) + 1;
    const qsizetype end = next < m_starts.size() ? m_starts[next] : m_text.size();
    return QStringView(m_text).sliced(start, end - start);
}

} // namespace Marblewick
