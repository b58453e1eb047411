#include "Panels/CreditsView.h"

#include <QResizeEvent>

#include <utility>

namespace Marblewick {

void CreditsView::paintEvent(QPaintEvent *event)
{
    QTextBrowser::paintEvent(event);
    if (!m_isLaidOut)
        QMetaObject::invokeMethod(this, &CreditsView::layOutText, Qt::QueuedConnection);
}

void CreditsView::resizeEvent(QResizeEvent *event)
{
    if (m_isLaidOut)
        QTextBrowser::resizeEvent(event);
}

void CreditsView::layOutText()
{
    if (std::exchange(m_isLaidOut, true))
        return;
    QResizeEvent firstSize(viewport()->size(), QSize());
    resizeEvent(&firstSize);
}

} // namespace Marblewick
