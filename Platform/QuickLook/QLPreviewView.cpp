#include "Platform/QuickLook/QLPreviewView.h"

#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSOperationQueue.h"
#include "Platform/Foundation/NSString.h"
#include "Platform/QuickLook/CrashReportText.h"
#include "Platform/QuickLook/QLPreviewLines.h"
#include "Platform/QuickLook/QLPreviewLinesView.h"

#include <QCoreApplication>
#include <QLabel>
#include <QThreadPool>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

constexpr qint64 maximumFileSize = 256 * 1024 * 1024;

QString localized(const QString &text)
{
    return NSBundle::mainBundle()->localizedStringForKey(text, {}, u"CrashReport"_s);
}

std::optional<QString> textOfFile(const QString &path)
{
    const auto contents = NSFileManager::defaultManager()->contentsAtPath(path, maximumFileSize);
    if (!contents)
        return std::nullopt;
    if (path.endsWith(".ips"_L1, Qt::CaseInsensitive)) {
        if (auto text = textOfCrashReport(*contents))
            return text;
    }
    return NSString::stringWithData(*contents);
}

std::shared_ptr<const QLPreviewLines> linesOfFile(const QString &path, const std::stop_token &stop)
{
    // The bytes are gone before the text is split.
    std::optional<QString> text = textOfFile(path);
    return text ? std::make_shared<const QLPreviewLines>(*std::move(text), stop) : nullptr;
}

QLabel *newLoadingLabel(QWidget *parent)
{
    auto *label = new QLabel(localized(u"Loading…"_s), parent);
    label->setForegroundRole(QPalette::PlaceholderText);
    label->setAlignment(Qt::AlignCenter);
    label->hide();
    return label;
}

} // namespace

QLPreviewView::QLPreviewView(QWidget *parent)
    : QWidget(parent)
    , m_linesView(new QLPreviewLinesView(localized(u"Copy"_s), localized(u"Select All"_s)))
    , m_loadingLabel(newLoadingLabel(m_linesView->viewport()))
{
    m_linesView->setAccessibleName(localized(u"Crash report"_s));
    setFocusProxy(m_linesView);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(m_linesView);
    auto *labelLayout = new QVBoxLayout(m_linesView->viewport());
    labelLayout->addWidget(m_loadingLabel);

    // The application waits for its pool when it ends.
    connect(qApp, &QCoreApplication::aboutToQuit, this, &QLPreviewView::stopLoading);
}

QLPreviewView::~QLPreviewView() { stopLoading(); }

void QLPreviewView::setPreviewItem(std::shared_ptr<QLPreviewItem> item)
{
    m_item = std::move(item);
    refreshPreviewItem();
}

void QLPreviewView::refreshPreviewItem()
{
    stopLoading();
    m_linesView->setLines(nullptr);
    const QUrl url = m_item ? m_item->previewItemURL() : QUrl();
    if (url.isLocalFile())
        startLoading(url.toLocalFile());
}

void QLPreviewView::startLoading(const QString &path)
{
    m_loading = std::stop_source();
    m_loadingLabel->show();
    QThreadPool::globalInstance()->start([this, path, stop = m_loading.get_token()] {
        if (stop.stop_requested())
            return;
        auto lines = linesOfFile(path, stop);
        // Only the main thread asks to stop, so there this view exists as long as nobody has.
        NSOperationQueue::mainQueue()->addOperationWithBlock([this, stop, lines = std::move(lines)] {
            if (!stop.stop_requested())
                finishLoading(lines);
        });
    });
}

void QLPreviewView::stopLoading()
{
    m_loading.request_stop();
    m_loadingLabel->hide();
}

void QLPreviewView::finishLoading(std::shared_ptr<const QLPreviewLines> lines)
{
    m_loadingLabel->hide();
    m_linesView->setLines(std::move(lines));
}

} // namespace Marblewick
