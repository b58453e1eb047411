#include "Platform/QuickLook/QLPreviewLinesModel.h"

namespace Marblewick {

void QLPreviewLinesModel::setLines(std::shared_ptr<const QLPreviewLines> lines)
{
    beginResetModel();
    m_lines = std::move(lines);
    endResetModel();
}

int QLPreviewLinesModel::rowCount(const QModelIndex &parent) const
{
    return m_lines && !parent.isValid() ? m_lines->count() : 0;
}

QVariant QLPreviewLinesModel::data(const QModelIndex &index, int role) const
{
    if (role != Qt::DisplayRole || !checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    return m_lines->displayedRow(index.row());
}

} // namespace Marblewick
