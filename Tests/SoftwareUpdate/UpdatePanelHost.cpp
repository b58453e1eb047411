// A host that shows the update panel and prints what came of it, for what depends on the host's own files:
// UpdatePanelHost info | info-without-store | error | notes URL | windowless | version

#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/MBWUpdateNotificationPanel.h>
#include <Marblewick/NSWorkspace.h>

#include <QApplication>
#include <QStackedWidget>
#include <QTimer>

#include <iostream>

namespace {

std::shared_ptr<MBWSWUpdateInfo> release(bool hasStorePage)
{
    const auto info = std::make_shared<MBWSWUpdateInfo>();
    info->setUpdateInfoURL(QUrl(QStringLiteral("https://example.com/notes")));
    info->setProductPageURL(QUrl(QStringLiteral("https://example.com/product")));
    if (hasStorePage)
        info->setAppStoreURL(QUrl(QStringLiteral("appstream://com.example.app")));
    return info;
}

int showInfo(bool hasStorePage)
{
    Marblewick::NSWorkspace::sharedWorkspace()->setURLOpener([](const QUrl &url) {
        std::cout << url.toString().toStdString() << '\n';
        return true;
    });
    MBWUpdateNotificationPanel panel;
    panel.setUpdateInfo(release(hasStorePage));
    panel.showInfo();
    return 0;
}

int showError()
{
    MBWUpdateNotificationPanel panel;
    panel.showWindowForUpdateInfo(release(false));
    QTimer::singleShot(0, qApp, [&panel] {
        const bool isShown = panel.contentBox()->currentWidget() == panel.errorView();
        std::cout << (isShown ? panel.errorText().toStdString() : "no error is shown") << '\n';
        QCoreApplication::quit();
    });
    return QCoreApplication::exec();
}

/*! Prints which view the panel comes to show. */
int showNotes(const QUrl &notes)
{
    MBWUpdateNotificationPanel panel;
    const auto info = release(false);
    info->setUpdateInfoURL(notes);
    panel.showWindowForUpdateInfo(info);
    QObject::connect(panel.contentBox(), &QStackedWidget::currentChanged, [&panel] {
        const bool isError = panel.contentBox()->currentWidget() == panel.errorView();
        std::cout << (isError ? panel.errorText().toStdString() : "the notes are shown") << '\n';
        QCoreApplication::quit();
    });
    return QCoreApplication::exec();
}

int printVersion(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    std::cout << MBWSWUpdateInfo().currentVersionString().value_or(QStringLiteral("none")).toStdString()
              << '\n';
    return 0;
}

int showWithoutWindows(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    MBWUpdateNotificationPanel::sharedPanel()->showWindowForUpdateInfo(release(false));
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    const QByteArray mode(argc > 1 ? argv[1] : "");
    if (mode == "windowless")
        return showWithoutWindows(argc, argv);
    if (mode == "version")
        return printVersion(argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    if (mode == "notes")
        return showNotes(QUrl(QString::fromLocal8Bit(argv[2])));
    return mode == "error" ? showError() : showInfo(mode == "info");
}
