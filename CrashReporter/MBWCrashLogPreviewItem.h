#pragma once

#include <Marblewick/Atomic.h>
#include <Marblewick/MarblewickPanelsExport.h>
#include <Marblewick/QLPreviewItem.h>

#include <QString>

/*! A crash report as something that a preview can show: a temporary file, whose extension says what it holds.
 */
class MARBLEWICK_PANELS_EXPORT MBWCrashLogPreviewItem : public Marblewick::QLPreviewItem
{
public:
    /*! An item for this report. */
    explicit MBWCrashLogPreviewItem(const QString &crashLog);

    /*! The report. Any thread. */
    QString crashLog() const { return m_crashLog.load(); }
    void setCrashLog(const QString &crashLog) { m_crashLog.store(crashLog); }

    /*! Where the report was written; an empty URL before that. Any thread. */
    QUrl tempFileURL() const { return m_tempFileURL.load(); }
    void setTempFileURL(const QUrl &url) { m_tempFileURL.store(url); }

    /*! tempFileURL(); the first call writes the file. */
    QUrl previewItemURL() override;

    /*! Writes the report to a new file in the user's temporary folder, readable by the user alone (mode
       0600), and returns its URL, also where writing failed.

        A report that holds a JSON crash report, told by its opening `{"app_name`, is written from there on,
       with the extension "ips"; any other is written whole, with the extension "log". UTF-8. The file is not
       deleted by the framework.
    */
    QUrl saveCrashLogToFile() const;

private:
    Marblewick::Atomic<QString> m_crashLog;
    Marblewick::Atomic<QUrl> m_tempFileURL;
};
