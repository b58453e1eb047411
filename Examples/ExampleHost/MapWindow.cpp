#include "MapWindow.h"

#include <Marblewick/MBWSWUpdateChecker.h>

#include <QCoreApplication>
#include <QFile>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPainter>
#include <QStatusBar>
#include <QTextStream>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace {

/*! One sheet of the map, with the marks on it. */
struct Sheet
{
    QRectF area;
    std::vector<QPointF> marks;
};

class Map : public QWidget
{
public:
    explicit Map(QWidget *parent)
        : QWidget(parent)
    {
        setObjectName(QStringLiteral("Map"));
        for (int column = 0; column < columns; ++column)
            m_sheets.push_back({QRectF(column * sheetSize, 0, sheetSize, sheetSize), {}});
        setMinimumSize(columns * sheetSize + edge, sheetSize + edge);
    }

    void setMark(const QPointF &position)
    {
        // The fault that the demo's crash is about: nobody thought of a click beyond the edge.
        sheetAt(position)->marks.push_back(position);
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        for (const Sheet &sheet : m_sheets)
            paint(painter, sheet);
    }

    void mousePressEvent(QMouseEvent *event) override { setMark(event->position()); }

private:
    void paint(QPainter &painter, const Sheet &sheet) const
    {
        painter.fillRect(sheet.area, palette().base());
        painter.setPen(palette().mid().color());
        for (qreal x = sheet.area.left(); x <= sheet.area.right(); x += gridSize)
            painter.drawLine(QPointF(x, sheet.area.top()), QPointF(x, sheet.area.bottom()));
        for (qreal y = sheet.area.top(); y <= sheet.area.bottom(); y += gridSize)
            painter.drawLine(QPointF(sheet.area.left(), y), QPointF(sheet.area.right(), y));
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette().highlight());
        for (const QPointF &mark : sheet.marks)
            painter.drawEllipse(mark, 6, 6);
    }

    /*! Null beyond the edge of the map. */
    Sheet *sheetAt(const QPointF &position)
    {
        const auto sheet = std::ranges::find_if(
            m_sheets, [&](const Sheet &candidate) { return candidate.area.contains(position); });
        return sheet == m_sheets.end() ? nullptr : &*sheet;
    }

    static constexpr int columns = 2;
    static constexpr int sheetSize = 320;
    static constexpr int gridSize = 40;
    static constexpr int edge = 24;
    std::vector<Sheet> m_sheets;
};

std::vector<QPointF> readMarks(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("the map " + path.toStdString() + " cannot be read");
    std::vector<QPointF> marks;
    QTextStream numbers(&file);
    qreal x = 0;
    qreal y = 0;
    while ((numbers >> x >> y).status() == QTextStream::Ok)
        marks.emplace_back(x, y);
    return marks;
}

} // namespace

MapWindow::MapWindow()
{
    setObjectName(QStringLiteral("MapWindow"));
    setWindowTitle(QCoreApplication::applicationName());
    setCentralWidget(new Map(this));
    QMenu *const fileMenu = menuBar()->addMenu(tr("&File"));
    fileMenu->addAction(tr("&Quit"), QKeySequence::Quit, this, &QWidget::close);
    statusBar()->showMessage(tr("Click to set a mark."));
}

void MapWindow::openMap(const QString &path)
{
    // The fault that the demo's log is about: nobody catches what is thrown about a map that has gone.
    auto *const map = static_cast<Map *>(centralWidget());
    for (const QPointF &mark : readMarks(path))
        map->setMark(mark);
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
