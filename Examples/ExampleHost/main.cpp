// Cartographer: an ordinary small application, as a maker would write it, that looks after its users with
// Marblewick.

#include "AutoPilot.h"
#include "HelpMenu.h"
#include "MapWindow.h"
#include "PanelPilot.h"

#include <Marblewick/MBWCrashLogWriter.h>
#include <Marblewick/MBWCrashReportController.h>
#include <Marblewick/MBWExceptionHandler.h>
#include <Marblewick/MBWLogManager.h>
#include <Marblewick/MBWSWUpdateChecker.h>
#include <Marblewick/NSLog.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QMenuBar>
#include <QTimer>
#include <QTranslator>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

/*! The number of this release, 1.4, by which the maker's feed is compared. */
constexpr qint64 releaseNumber = 140;

void keepLogFile()
{
    const MBWLogManager *const logs = MBWLogManager::sharedManager();
    logs->redirectStandardErrorToFileAtPath(logs->applicationLogFile());
    Marblewick::NSLog(u"%@ %@ was launched",
                      {QApplication::applicationName(), QApplication::applicationVersion()});
}

/*! With its place, also where Qt or a destructor stood between that and the end. */
void logUncaughtExceptions()
{
    MBWExceptionHandler::sharedHandler();
    auto *const handler = Marblewick::NSExceptionHandler::defaultExceptionHandler();
    handler->setRecordsThrows(true);
    handler->setExceptionHandlingMask(Marblewick::NSLogUncaughtExceptionMask);
}

} // namespace

int main(int argc, char **argv)
{
    MBWCrashLogWriter::install();

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
    const QCommandLineOption feedURL(u"feed-url"_s, u"Where the record of the latest release is."_s,
                                     u"url"_s);
    const QCommandLineOption updateAnswer(
        u"update-answer"_s, u"What the program that drives the host does when there is a new release."_s,
        u"answer"_s, u"remind-later"_s);
    const QCommandLineOption log(u"log"_s, u"Keep a log file of each launch."_s);
    const QCommandLineOption quit(u"quit"_s, u"Quit as soon as the window is there."_s);
    const QCommandLineOption crash(u"crash"_s, u"With --drive: be made to crash."_s);
    const QCommandLineOption panels(u"panels"_s, u"Show the panels of the Help menu."_s);
    const QCommandLineOption map(u"map"_s, u"Open a map."_s, u"file"_s);
    arguments.addOptions({reportURL, pictures, crash, feedURL, updateAnswer, log, quit, panels, map});
    arguments.addHelpOption();
    arguments.process(application);

    if (arguments.isSet(log)) {
        keepLogFile();
        logUncaughtExceptions();
    }

    std::unique_ptr<AutoPilot> autoPilot;
    if (arguments.isSet(pictures) && !arguments.isSet(panels))
        autoPilot = std::make_unique<AutoPilot>(arguments.value(pictures),
                                                arguments.isSet(crash) ? AutoPilot::Plan::ClickBeyondTheEdge
                                                                       : AutoPilot::Plan::Close);

    MBWCrashReportController::setCrashReportURL(arguments.value(reportURL));
    MBWCrashReportController::checkForCrash();

    MapWindow window;
    auto *const helpMenu = new HelpMenu(&window);
    window.menuBar()->addMenu(helpMenu);
    window.show();
    if (arguments.isSet(map))
        QTimer::singleShot(0, &window, [&] { window.openMap(arguments.value(map)); });

    std::shared_ptr<MBWSWUpdateChecker> updateChecker;
    if (arguments.isSet(feedURL)) {
        updateChecker = MBWSWUpdateChecker::initWithCurrentVersion(releaseNumber,
                                                                   QUrl(arguments.value(feedURL)));
        window.showOutcomeOf(*updateChecker);
        if (autoPilot)
            autoPilot->followUpdate(updateChecker.get(), arguments.value(updateAnswer));
    }

    if (arguments.isSet(quit))
        QTimer::singleShot(0, &window, &QWidget::close);

    std::unique_ptr<PanelPilot> panelPilot;
    if (arguments.isSet(panels) && arguments.isSet(pictures))
        panelPilot = std::make_unique<PanelPilot>(arguments.value(pictures), &window, helpMenu);
    else if (arguments.isSet(panels))
        helpMenu->askUser();
    return QApplication::exec();
}
