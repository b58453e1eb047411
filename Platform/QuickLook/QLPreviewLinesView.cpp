#include "Platform/QuickLook/QLPreviewLinesView.h"

#include "Platform/QuickLook/QLPreviewLinesModel.h"

#include <QAction>
#include <QClipboard>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QStyle>
#include <QStyledItemDelegate>

#include <algorithm>

namespace Marblewick {

namespace {

constexpr int rowsLaidOutAtOnce = 200000;

/*! Gives every row the width of the widest one and the height of the font. */
class RowDelegate : public QStyledItemDelegate
{
public:
    RowDelegate(const QLPreviewLinesModel *model, QObject *parent)
        : QStyledItemDelegate(parent)
        , m_model(model)
    { }

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const override
    {
        const int margin = option.widget->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, &option) + 1;
        const qreal cell = QFontMetricsF(option.font).horizontalAdvance(u'M');
        const int width = qCeil(cell * static_cast<qreal>(m_model->columns()));
        return {width + 2 * margin, option.fontMetrics.height()};
    }

private:
    const QLPreviewLinesModel *m_model;
};

QAction *newAction(const QString &text, QKeySequence::StandardKey key, QWidget *parent)
{
    auto *action = new QAction(text, parent);
    action->setShortcut(key);
    action->setShortcutContext(Qt::WidgetShortcut);
    parent->addAction(action);
    return action;
}

} // namespace

QLPreviewLinesView::QLPreviewLinesView(const QString &copyText, const QString &selectAllText, QWidget *parent)
    : QListView(parent)
    , m_model(new QLPreviewLinesModel(this))
{
    setModel(m_model);
    setItemDelegate(new RowDelegate(m_model, this));
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setUniformItemSizes(true);
    setLayoutMode(QListView::Batched);
    setBatchSize(rowsLaidOutAtOnce);
    setTextElideMode(Qt::ElideNone);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    connect(newAction(copyText, QKeySequence::Copy, this), &QAction::triggered, this,
            &QLPreviewLinesView::copySelectedRows);
    connect(newAction(selectAllText, QKeySequence::SelectAll, this), &QAction::triggered, this,
            &QLPreviewLinesView::selectAll);
}

void QLPreviewLinesView::setLines(std::shared_ptr<const QLPreviewLines> lines)
{
    m_model->setLines(std::move(lines));
    scrollToTop();
}

void QLPreviewLinesView::keyboardSearch(const QString &) { }

void QLPreviewLinesView::copySelectedRows() const
{
    QItemSelection ranges = selectionModel()->selection();
    std::ranges::sort(ranges, {}, &QItemSelectionRange::top);
    QString text;
    for (const QItemSelectionRange &range : std::as_const(ranges))
        text += m_model->originalText(range.top(), range.bottom());
    if (!text.isEmpty())
        QGuiApplication::clipboard()->setText(text);
}

} // namespace Marblewick
