// Cartographer: an ordinary small application, as a maker would write it, that looks after its users with
// Marblewick.

#include "AutoPilot.h"
#include "HelpMenu.h"
#include "MapWindow.h"
#include "PanelPilot.h"

#include <Marblewick/MBWCrashReportController.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QMenuBar>
#include <QTranslator>

#include <memory>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(u"Cartographer"_s);
    QApplication::setApplicationVersion(u"1.4"_s);

    QApplication::setWindowIcon(QIcon(u":/Cartographer.png"_s));

    QTranslator translator;
    if (translator.load(QLocale(), u"cartographer"_s, u"_"_s, u":/translations"_s))
        QCoreApplication::installTranslator(&translator);

    QCommandLineParser arguments;
    const QCommandLineOption reportURL(u"report-url"_s, u"Where crash reports are sent."_s, u"url"_s,
                                       u"https://crash.example.com/report"_s);
    const QCommandLineOption pictures(
        u"drive"_s, u"Be used by a program, which saves a picture of each window."_s, u"folder"_s);
    const QCommandLineOption panels(u"panels"_s, u"Show the panels of the Help menu."_s);
    arguments.addOptions({reportURL, pictures, panels});
    arguments.addHelpOption();
    arguments.process(application);

    std::unique_ptr<AutoPilot> autoPilot;
    if (arguments.isSet(pictures) && !arguments.isSet(panels))
        autoPilot = std::make_unique<AutoPilot>(arguments.value(pictures));

    MBWCrashReportController::setCrashReportURL(arguments.value(reportURL));
    MBWCrashReportController::checkForCrash();

    MapWindow window;
    auto *const helpMenu = new HelpMenu(&window);
    window.menuBar()->addMenu(helpMenu);
    window.show();

    std::unique_ptr<PanelPilot> panelPilot;
    if (arguments.isSet(panels) && arguments.isSet(pictures))
        panelPilot = std::make_unique<PanelPilot>(arguments.value(pictures), &window, helpMenu);
    else if (arguments.isSet(panels))
        helpMenu->askUser();
    return QApplication::exec();
}
