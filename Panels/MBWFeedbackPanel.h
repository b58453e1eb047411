#pragma once

#include <Marblewick/MarblewickPanelsExport.h>

#include <QWidget>

#include <optional>

class QGraphicsOpacityEffect;

/*! The window of the feedback panel: without a frame, with nothing drawn behind its contents, above ordinary
    windows, and moved by dragging its background. Main thread only.

    On Wayland, only the desktop decides what is above other windows: there the panel stays above its
   transient parent.
*/
class MARBLEWICK_PANELS_EXPORT MBWFeedbackPanel : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(double alphaValue READ alphaValue WRITE setAlphaValue)

public:
    /*! A panel at this place of the screen, unless it is empty. The flags for a window's style are not used:
       a panel never has a frame.
    */
    explicit MBWFeedbackPanel(const QRect &contentRect = {}, Qt::WindowFlags styleMask = {});

    /*! How opaque the window's contents are, from 0, invisible, to 1. Unlike windowOpacity, it works on every
       window system that shows translucent windows, Wayland too.
    */
    double alphaValue() const { return m_alphaValue; }
    void setAlphaValue(double alphaValue);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    double m_alphaValue = 1;
    QGraphicsOpacityEffect *const m_opacity;
    /*! Where the background was pressed, as long as the panel follows the mouse by itself. */
    std::optional<QPoint> m_grip;
};
