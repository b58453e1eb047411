#include "Panels/MBWSolidColorView.h"

#include <QPainter>

MBWSolidColorView::MBWSolidColorView(const QRect &frame, QWidget *parent)
    : MBWSolidColorView(parent)
{
    setGeometry(frame);
    m_backgroundColor = Marblewick::NSColor::whiteColor();
}

MBWSolidColorView::MBWSolidColorView(QWidget *parent)
    : QWidget(parent)
{ }

void MBWSolidColorView::paintEvent(QPaintEvent *)
{
    if (!m_backgroundColor)
        return;
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), m_backgroundColor->brush());
}
