#pragma once

#include <Marblewick/MarblewickPanelsExport.h>

#include <QImage>
#include <QWidget>

namespace Marblewick {

/*! A background of the palette's window colour, with an outline, in the shape of an image. Main thread only.

    It hides what is behind the window: there is no way to blur that on every desktop, and text on a
    translucent background that is not blurred is hard to read.
*/
class MARBLEWICK_PANELS_EXPORT NSVisualEffectView : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;

    /*! The image that gives the shape: the background is drawn where it is opaque, and the image is stretched
       over the view. An empty one, as at first, is the whole view.
    */
    QImage maskImage() const { return m_maskImage; }
    void setMaskImage(const QImage &image);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QImage shape(const QColor &color) const;

    QImage m_maskImage;
};

} // namespace Marblewick
