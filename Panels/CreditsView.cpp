#include "Panels/CreditsView.h"

#include <QResizeEvent>

#include <utility>

void CreditsView::paintEvent(QPaintEvent *event)
{
    QTextBrowser::paintEvent(event);
    if (!std::exchange(m_wasDrawn, true))
        QMetaObject::invokeMethod(this, &CreditsView::layOutText, Qt::QueuedConnection);
}

void CreditsView::resizeEvent(QResizeEvent *event)
{
    if (m_isLaidOut)
        QTextBrowser::resizeEvent(event);
}

void CreditsView::layOutText()
{
    m_isLaidOut = true;
    QResizeEvent firstSize(viewport()->size(), QSize());
    resizeEvent(&firstSize);
}
