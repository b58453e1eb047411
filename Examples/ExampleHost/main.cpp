// Cartographer: an ordinary small application, as a maker would write it, that looks after its users with
// Marblewick.

#include "AutoPilot.h"
#include "MapWindow.h"

#include <Marblewick/MBWCrashLogWriter.h>
#include <Marblewick/MBWCrashReportController.h>
#include <Marblewick/MBWExceptionHandler.h>
#include <Marblewick/MBWLogManager.h>
#include <Marblewick/NSLog.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>
#include <QTranslator>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

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

    QTranslator translator;
    if (translator.load(QLocale(), u"cartographer"_s, u"_"_s, u":/translations"_s))
        QCoreApplication::installTranslator(&translator);

    QCommandLineParser arguments;
    const QCommandLineOption reportURL(u"report-url"_s, u"Where crash reports are sent."_s, u"url"_s,
                                       u"https://crash.example.com/report"_s);
    const QCommandLineOption pictures(
        u"drive"_s, u"Be used by a program, which saves a picture of each window."_s, u"folder"_s);
    const QCommandLineOption log(u"log"_s, u"Keep a log file of each launch."_s);
    const QCommandLineOption quit(u"quit"_s, u"Quit as soon as the window is there."_s);
    const QCommandLineOption crash(u"crash"_s, u"With --drive: be made to crash."_s);
    const QCommandLineOption map(u"map"_s, u"Open a map."_s, u"file"_s);
    arguments.addOptions({reportURL, pictures, log, quit, crash, map});
    arguments.addHelpOption();
    arguments.process(application);

    if (arguments.isSet(log)) {
        keepLogFile();
        logUncaughtExceptions();
    }

    std::unique_ptr<AutoPilot> autoPilot;
    if (arguments.isSet(pictures))
        autoPilot = std::make_unique<AutoPilot>(arguments.value(pictures),
                                                arguments.isSet(crash) ? AutoPilot::Plan::ClickBeyondTheEdge
                                                                       : AutoPilot::Plan::Close);

    MBWCrashReportController::setCrashReportURL(arguments.value(reportURL));
    MBWCrashReportController::checkForCrash();

    MapWindow window;
    window.show();
    if (arguments.isSet(map))
        QTimer::singleShot(0, &window, [&] { window.openMap(arguments.value(map)); });
    if (arguments.isSet(quit))
        QTimer::singleShot(0, &window, &QWidget::close);
    return QApplication::exec();
}
