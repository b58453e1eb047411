#include "Panels/MBWFeedbackPanel.h"

#include <QGraphicsOpacityEffect>
#include <QMouseEvent>
#include <QWindow>

MBWFeedbackPanel::MBWFeedbackPanel(const QRect &contentRect, Qt::WindowFlags)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
    , m_opacity(new QGraphicsOpacityEffect)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setGraphicsEffect(m_opacity);
    setAlphaValue(1);
    if (!contentRect.isEmpty())
        setGeometry(contentRect);
}

void MBWFeedbackPanel::setAlphaValue(double alphaValue)
{
    m_alphaValue = qBound(0.0, alphaValue, 1.0);
    m_opacity->setOpacity(m_alphaValue);
    m_opacity->setEnabled(m_alphaValue < 1); // What is opaque is drawn without a detour.
}

void MBWFeedbackPanel::mousePressEvent(QMouseEvent *event)
{
    // The desktop moves windows better, and on Wayland nobody else may.
    if (event->button() == Qt::LeftButton && !windowHandle()->startSystemMove())
        m_grip = event->position().toPoint();
}

void MBWFeedbackPanel::mouseMoveEvent(QMouseEvent *event)
{
    if (m_grip)
        move(event->globalPosition().toPoint() - *m_grip);
}

void MBWFeedbackPanel::mouseReleaseEvent(QMouseEvent *) { m_grip.reset(); }
