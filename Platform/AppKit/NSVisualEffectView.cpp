#include "Platform/AppKit/NSVisualEffectView.h"

#include <QPainter>

namespace Marblewick {

void NSVisualEffectView::setMaskImage(const QImage &image)
{
    m_maskImage = image;
    update();
}

void NSVisualEffectView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    // Without the frame of a window the panel would be lost on another of the same colour.
    painter.drawImage(rect(), shape(palette().color(QPalette::Mid)));
    painter.drawImage(rect().adjusted(1, 1, -1, -1), shape(palette().color(QPalette::Window)));
}

/*! The mask in one colour. */
QImage NSVisualEffectView::shape(const QColor &color) const
{
    QImage image(m_maskImage.isNull() ? QSize(1, 1) : m_maskImage.size(),
                 QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    if (!m_maskImage.isNull()) {
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
        painter.drawImage(image.rect(), m_maskImage);
    }
    return image;
}

} // namespace Marblewick
