#pragma once

#include "Platform/QuickLook/QLPreviewLines.h"

#include <QAbstractListModel>

#include <memory>

namespace Marblewick {

/*! The rows of a QLPreviewLines as a model of one column. */
class QLPreviewLinesModel : public QAbstractListModel
{
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    /*! Nil for no rows. */
    void setLines(std::shared_ptr<const QLPreviewLines> lines);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

    /*! As of QLPreviewLines; the rows exist. */
    QString originalText(int firstRow, int lastRow) const { return m_lines->originalText(firstRow, lastRow); }
    qsizetype columns() const { return m_lines ? m_lines->columns() : 0; }

private:
    std::shared_ptr<const QLPreviewLines> m_lines;
};

} // namespace Marblewick
