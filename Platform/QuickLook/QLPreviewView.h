#pragma once

#include <Marblewick/MarblewickPanelsExport.h>
#include <Marblewick/QLPreviewItem.h>

#include <QWidget>

#include <memory>
#include <stop_token>

class QLabel;

namespace Marblewick {

class QLPreviewLines;
class QLPreviewLinesView;

/*! Shows the file of a preview item as lines of text that can be selected and copied: an `.ips` file as
    textOfCrashReport() lays it out, every other file, and an `.ips` file that is no crash report, as plain
    text. Control characters are shown as escapes, lines of more than 1000 characters in several rows; what
    is copied is the original text.

    The file is read, parsed and split on a thread of the global pool, meanwhile the view says "Loading…". A
    file that is missing, not a regular one, unreadable or above 256 MiB (268,435,456 bytes) shows nothing.
    Destroying the view or the application while it loads is safe.

    Texts come from the strings table "CrashReport". Main thread.
*/
class MARBLEWICK_PANELS_EXPORT QLPreviewView : public QWidget
{
    Q_OBJECT

public:
    explicit QLPreviewView(QWidget *parent = nullptr);
    ~QLPreviewView() override;

    std::shared_ptr<QLPreviewItem> previewItem() const { return m_item; }
    /*! Shows another item, or nothing for nil. What still loads for the item before is dropped. */
    void setPreviewItem(std::shared_ptr<QLPreviewItem> item);

    /*! Asks the item for its URL again and loads the file anew. */
    void refreshPreviewItem();

private:
    void startLoading(const QString &path);
    void stopLoading();
    void finishLoading(std::shared_ptr<const QLPreviewLines> lines);

    std::shared_ptr<QLPreviewItem> m_item;
    std::stop_source m_loading; ///< of the load under way; every load has its own
    QLPreviewLinesView *m_linesView;
    QLabel *m_loadingLabel;
};

} // namespace Marblewick
