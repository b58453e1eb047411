#pragma once

#include <QString>

#include <stop_token>
#include <vector>

namespace Marblewick {

/*! A text split into the rows that a preview shows: its lines, those of more than 1000 UTF-16 code units in
    several rows. Immutable, so any thread may read it.
*/
class QLPreviewLines
{
public:
    /*! Splits the text, until it is asked to stop. The text has fewer than 2^31 code units. */
    explicit QLPreviewLines(QString text, const std::stop_token &stop = {});

    int count() const { return static_cast<int>(m_starts.size()); }

    /*! A row as it is shown: without its line end, tabs as spaces, other control characters escaped. */
    QString displayedRow(int row) const;

    /*! The original text of these rows, line ends included. */
    QString originalText(int firstRow, int lastRow) const;

    /*! The width of the widest row in cells of a fixed-width font; every character outside ASCII counts as
        two cells for each code unit, which is more than it usually takes.
    */
    qsizetype columns() const { return m_columns; }

private:
    QStringView textOfRows(int firstRow, int lastRow) const;

    const QString m_text;
    std::vector<quint32> m_starts; ///< where each row starts; 4 bytes because there may be many
    qsizetype m_columns = 0;
};

} // namespace Marblewick
