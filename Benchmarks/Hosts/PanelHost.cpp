// Shows a panel for the first time, and prints how many milliseconds that takes from the call to the picture
// on the screen: panel-host empty|about|feedback|news
// Or to a picture with the text of a text browser in it: panel-host credits|browser

#include <Marblewick/MBWAboutPanel.h>
#include <Marblewick/MBWFeedbackPanelController.h>
#include <Marblewick/MBWNewsPanelController.h>
#include <Marblewick/NSAttributedString.h>

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QPushButton>
#include <QTextBrowser>
#include <QTextDocument>
#include <QTimer>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

/*! Ends the process once a window has been drawn, for texts with the text of its text browser. */
class Stopwatch : public QObject
{
public:
    explicit Stopwatch(bool isForText)
        : m_isForText(isForText)
    {
        m_time.start();
        qApp->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        // When all parts of the window are drawn, but before anything else.
        if (event->type() == QEvent::Paint && isAwaited(watched))
            QCoreApplication::postEvent(this, new QEvent(QEvent::User), Qt::HighEventPriority);
        return QObject::eventFilter(watched, event);
    }

    bool event(QEvent *) override
    {
        std::printf("%f\n", static_cast<double>(m_time.nsecsElapsed()) / 1e6);
        std::fflush(stdout);
        std::_Exit(EXIT_SUCCESS);
    }

private:
    bool isAwaited(const QObject *painted) const
    {
        const auto *const widget = qobject_cast<const QWidget *>(painted);
        if (!widget || !m_isForText)
            return widget && widget->isWindow();
        const auto *const browser = qobject_cast<const QTextBrowser *>(widget->parentWidget());
        return browser && browser->viewport() == widget && browser->document()->pageSize().width() > 0;
    }

    QElapsedTimer m_time;
    const bool m_isForText;
};

/*! The credits in the toolkit's own form of rich text. */
QString creditsAsHTML()
{
    QTextDocument document;
    Marblewick::NSAttributedString::initWithContentsOfFile(u":/Credits.rtf"_s)
        .value()
        .replaceContents(&document, QGuiApplication::palette().color(QPalette::Link));
    return document.toHtml();
}

void showBrowser(const QString &html)
{
    auto *const browser = new QTextBrowser;
    browser->resize(480, 320);
    browser->setHtml(html);
    browser->show();
}

void show(const QString &panel)
{
    if (panel == u"news"_s)
        return MBWNewsPanelController::sharedPanel()->showSubscribePanel();
    if (panel == u"feedback"_s)
        return MBWFeedbackPanelController::init().release()->showWindowForApplicationName(u"Cartographer"_s);
    if (panel == u"about"_s || panel == u"credits"_s)
        return MBWAboutPanel::sharedAboutPanel()->showWindow();
    (new QDialog)->show();
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QApplication::setApplicationName(u"BenchmarkHost"_s);
    // A host has a window, for which the toolkit has loaded its fonts.
    QPushButton window(u"The host's window"_s);
    window.show();
    const QString panel = QApplication::arguments().value(1);
    const QString html = panel == u"browser"_s ? creditsAsHTML() : QString();
    QTimer::singleShot(100, &window, [&] {
        new Stopwatch(panel == u"browser"_s || panel == u"credits"_s);
        html.isEmpty() ? show(panel) : showBrowser(html);
    });
    return QApplication::exec();
}
