#include "MapWindow.h"

#include <Marblewick/MBWSWUpdateChecker.h>

#include <QCoreApplication>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPainter>
#include <QStatusBar>

#include <vector>

namespace {

class Map : public QWidget
{
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillRect(rect(), palette().base());
        painter.setPen(palette().mid().color());
        for (int x = gridSize; x < width(); x += gridSize)
            painter.drawLine(x, 0, x, height());
        for (int y = gridSize; y < height(); y += gridSize)
            painter.drawLine(0, y, width(), y);
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette().highlight());
        for (const QPointF &mark : m_marks)
            painter.drawEllipse(mark, 6, 6);
    }

    void mousePressEvent(QMouseEvent *event) override
    {
        m_marks.push_back(event->position());
        update();
    }

private:
    static constexpr int gridSize = 40;
    std::vector<QPointF> m_marks;
};

} // namespace

MapWindow::MapWindow()
{
    setObjectName(QStringLiteral("MapWindow"));
    setWindowTitle(QCoreApplication::applicationName());
    setCentralWidget(new Map(this));
    QMenu *const fileMenu = menuBar()->addMenu(tr("&File"));
    fileMenu->addAction(tr("&Quit"), QKeySequence::Quit, this, &QWidget::close);
    statusBar()->showMessage(tr("Click to set a mark."));
    resize(640, 420);
}

void MapWindow::showOutcomeOf(const MBWSWUpdateChecker &checker)
{
    connect(&checker, &MBWSWUpdateChecker::softwareUpToDate, this,
            [this] { statusBar()->showMessage(tr("This is the latest version.")); });
    connect(&checker, &MBWSWUpdateChecker::updateCheckFailed, this, [this](const auto &error) {
        if (error)
            statusBar()->showMessage(error->localizedDescription());
    });
}
