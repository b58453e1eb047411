#pragma once

#include <Marblewick/Atomic.h>
#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>

#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace Marblewick {
class NSURLSession;
class NSURLSessionDataTask;
} // namespace Marblewick

/*! Key, in the standard user defaults, of the moment at which the user last sent or cancelled a report, or of
    the first launch that checked: a single-precision float, seconds since 2001-01-01 00:00:00 UTC. At
    present-day dates neighbouring floats are 64 seconds apart, so the stored moment is up to 32 seconds off.
*/
MARBLEWICK_CORE_EXPORT extern const QLatin1StringView MBWCrashReporterLastCrashReportDateKey;

/*! Key, in the standard user defaults, of the number (an integer) of reports that the user cancelled. The
    framework only counts; the number is for the host.
*/
MARBLEWICK_CORE_EXPORT extern const QLatin1StringView MBWCrashReporterNumberOfUnreportedCrashesKey;

/*! Finds the host's new crash logs, and sends a crash report to the host's maker.

    Logs are files named `<application name>_…`, whatever their extension, in two folders of the user's state
    folder (`$XDG_STATE_HOME`, else `~/.local/state`): `Logs/CrashReporter` and `Logs/DiagnosticReports`.

    A reporter is short-lived: made, asked once, released. It needs no window, and no event loop but for the
    completion of a send. Everything runs on the calling thread unless said otherwise; the name properties
    may be used from any thread.
*/
class MARBLEWICK_CORE_EXPORT MBWCrashReporter
{
public:
    /*! Sets applicationNames to the application name (see MBWApplicationName()), or to none without one. */
    MBWCrashReporter();
    ~MBWCrashReporter();
    MBWCrashReporter(const MBWCrashReporter &) = delete;
    MBWCrashReporter &operator=(const MBWCrashReporter &) = delete;

    /*! For the host's own use; the reporter neither sets nor reads it. */
    QString applicationName() const { return m_applicationName.load(); }
    void setApplicationName(const QString &name) { m_applicationName.store(name); }

    /*! The names whose logs are searched. */
    QStringList applicationNames() const { return m_applicationNames.load(); }
    void setApplicationNames(const QStringList &names) { m_applicationNames.store(names); }

    /*! The text of all new crash logs, each under a banner with its file's name, or nil when there is none.

        Of each name and folder only the newest log counts, and it is new if it was modified after the stored
        last-report date. Logs that cannot be read, are larger than 256 MiB or hold only white space are left
        out. Of a log that collects several reports between lines of 80 asterisks only the last one is taken.
    */
    std::optional<QString> checkForCrashLog() const;

    /*! Full paths: the newest log of each name in Logs/CrashReporter, then those in Logs/DiagnosticReports.
     */
    QStringList getLatestCrashLogs() const;

    /*! Full paths: for each of applicationNames, in that order, the most recently modified file in a folder
        whose name begins with it and an underscore. Empty where the folder is missing or unreadable. Only
        files, and links to files, are logs; a folder, FIFO or device of that name is passed over.
    */
    QStringList getLatestCrashLogsFromPath(const QString &path) const;

    /*! The session of this reporter's uploads, made at the first call: no cookies, no cache, no credentials.
     */
    std::shared_ptr<Marblewick::NSURLSession> session();
    void setSession(std::shared_ptr<Marblewick::NSURLSession> session) { m_session = std::move(session); }

    /*! The last upload that this reporter started, finished or not; null before the first. */
    std::shared_ptr<Marblewick::NSURLSessionDataTask> currentTask() const { return m_currentTask; }
    void setCurrentTask(std::shared_ptr<Marblewick::NSURLSessionDataTask> task)
    {
        m_currentTask = std::move(task);
    }

    /*! Posts a report to `url` as a multipart form with two fields in UTF-8: `product`, the application name,
       and `crashlog`, which holds the e-mail address, the description and the report.

        `email` nil is sent as "NO EMAIL PROVIDED"; an invalid `url` stands for nil and ends in an error.
       After 20 seconds in which nothing moves the upload has failed.

        `completionHandler` must be callable (std::invalid_argument is thrown otherwise). It is called exactly
        once, on the main thread after this call has returned, also where the reporter is gone by then: with
        nil when the server answered, whatever the status, else with the error, which is also in the process
        log as "Failed to send crash report: …". It is not called when the application object is gone first.
    */
    void sendCrashReport(
        const QString &report, const std::optional<QString> &email, const QString &description,
        const QUrl &url,
        std::function<void(const std::optional<Marblewick::NSError> &error)> completionHandler);

    /*! Cancels the last upload, which then completes with the cancellation error; nothing happens without
     * one. */
    void cancel();

private:
    Marblewick::Atomic<QString> m_applicationName;
    Marblewick::Atomic<QStringList> m_applicationNames;
    std::shared_ptr<Marblewick::NSURLSession> m_session;
    std::shared_ptr<Marblewick::NSURLSessionDataTask> m_currentTask;
};
