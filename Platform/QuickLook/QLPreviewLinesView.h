#pragma once

#include <QListView>

#include <memory>

namespace Marblewick {

class QLPreviewLines;
class QLPreviewLinesModel;

/*! A list of the rows of a text, in a fixed-width font, that can be selected and copied. Only the rows in
    view are laid out, so a text of any length is shown at once.
*/
class QLPreviewLinesView : public QListView
{
    Q_OBJECT

public:
    /*! With the texts of the context menu. */
    QLPreviewLinesView(const QString &copyText, const QString &selectAllText, QWidget *parent = nullptr);

    /*! Shows these lines from the first on; nothing for nil. */
    void setLines(std::shared_ptr<const QLPreviewLines> lines);

    /*! Nothing: looking for a row that begins with a typed letter would go through the whole text. */
    void keyboardSearch(const QString &search) override;

private:
    void copySelectedRows() const;

    QLPreviewLinesModel *m_model;
};

} // namespace Marblewick
