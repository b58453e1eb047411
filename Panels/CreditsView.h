#pragma once

#include <QTextBrowser>

namespace Marblewick {

/*! A view of credits that is first drawn without its text, which follows right after.

    The toolkit loads each font at its first use. For the fonts of a text that takes several times as long as
    everything else in the window, which need not wait for it. The document has its text all the time. A
   picture of the view that is taken before it was drawn (QWidget::grab(), QWidget::render()) has no text.
*/
class CreditsView : public QTextBrowser
{
    Q_OBJECT

public:
    using QTextBrowser::QTextBrowser;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void layOutText();

    bool m_isLaidOut = false;
};

} // namespace Marblewick
