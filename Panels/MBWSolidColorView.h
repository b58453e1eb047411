#pragma once

#include <Marblewick/MarblewickPanelsExport.h>
#include <Marblewick/NSColor.h>

#include <QWidget>

#include <optional>

/*! A view that is filled with one colour. Main thread only.

    The fill replaces what lies beneath: where the colour is translucent, so is the view. A colour of the
    catalogue follows the palette.
*/
class MARBLEWICK_PANELS_EXPORT MBWSolidColorView : public QWidget
{
    Q_OBJECT

public:
    /*! A view made in code: white. */
    explicit MBWSolidColorView(const QRect &frame, QWidget *parent = nullptr);
    /*! A view of a window layout (`.ui`): without a colour, so it draws nothing until it gets one. */
    explicit MBWSolidColorView(QWidget *parent = nullptr);

    std::optional<Marblewick::NSColor> backgroundColor() const { return m_backgroundColor; }
    /*! Stores the colour, or nil to draw nothing. The view does not show it before it is next drawn: call
       update() where that shall be now.
    */
    void setBackgroundColor(const std::optional<Marblewick::NSColor> &color) { m_backgroundColor = color; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    std::optional<Marblewick::NSColor> m_backgroundColor;
};
