#pragma once

#include <Marblewick/Atomic.h>
#include <Marblewick/MarblewickPanelsExport.h>
#include <Marblewick/NSError.h>

#include <QObject>
#include <QUrl>

#include <atomic>
#include <memory>
#include <optional>

class MBWSWUpdateInfo;
class MBWUpdateNotificationPanel;

namespace Marblewick {
class NSURLSession;
struct NSNotification;
} // namespace Marblewick

/*! Names of notifications of the default notification centre, each with the checker as its object. A check
    begins; the maker offers a release that is newer, not skipped and fit for this system; there is none to
    offer; the release record could not be fetched or judged.

    The value of the second is not its name, and the fourth is spelled in a way of its own: compare with the
    constants.
*/
MARBLEWICK_PANELS_EXPORT extern const QLatin1StringView MBWUpdateCheckDidStartNotification;
MARBLEWICK_PANELS_EXPORT extern const QLatin1StringView MBWNewSoftwareFoundNotification;
MARBLEWICK_PANELS_EXPORT extern const QLatin1StringView MBWSoftwareUpToDateNotification;
MARBLEWICK_PANELS_EXPORT extern const QLatin1StringView MBWUpdateCheckFailedNotificiation;

/*! The framework's error domain. */
MARBLEWICK_PANELS_EXPORT extern const QLatin1StringView MBWErrorDomain;
/*! Code, in MBWErrorDomain, of a check that received neither data nor an error. */
MARBLEWICK_PANELS_EXPORT extern const qint64 MBWSWUpdateCheckFailedErrorCode;

/*! Looks whether the host's maker has released a newer version, and shows it to the user in a panel.

    The maker publishes a release record (see MBWSWUpdateInfo) at a web address. A host names its own integer
    version and that address, after it has made its QApplication, and keeps the checker as long as its panel
    may be on the screen:

        m_checker = MBWSWUpdateChecker::initWithCurrentVersion(119, u"https://example.com/feed"_s);

    A check ends in exactly one of three outcomes, each a notification and then a signal, on the main thread
    and never before the call that began the check has returned. Until then the checker keeps itself alive.
    Where the application ends first, there is no outcome.

    Main thread only, but for the atomic properties currentVersion, updatePanel and updateInfo.
*/
class MARBLEWICK_PANELS_EXPORT MBWSWUpdateChecker :
    public QObject,
    public std::enable_shared_from_this<MBWSWUpdateChecker>
{
    Q_OBJECT
    Q_PROPERTY(qint64 currentVersion READ currentVersion WRITE setCurrentVersion)

public:
    /*! A checker for the host's version, with its first check under way. */
    static std::shared_ptr<MBWSWUpdateChecker> initWithCurrentVersion(qint64 currentVersion,
                                                                      const QUrl &checkURL);
    ~MBWSWUpdateChecker() override;

    /*! Begins a check: posts MBWUpdateCheckDidStartNotification before it returns, then fetches the record by
        a plain GET (http or https; at most 16 MiB; 60 seconds without a byte end it) and judges it on the
        session's thread.

        The release is offered where its versionIdentifier is above currentVersion, above the version that the
        user has skipped (MBWLastSWUpdateVersionKey) and its systemVersion is not above the running system's.
        Whatever is not a release record, such as an error page, offers nothing, so the host is up to date. An
        answer without a single byte is no data: that, and a failed transfer, is a failure. The notification
        of a failure carries the NSError under "NSError"; it has no user info where an exception was thrown
        while the record was judged.
    */
    void checkForUpdateWithURL(const QUrl &url);

    /*! Shows the release of updateInfo in updatePanel, which is made if need be; nothing where updateInfo is
        null. The checker observes
        MBWNewSoftwareFoundNotification about itself with it.
    */
    void newSoftwareVersionFound(const Marblewick::NSNotification &notification);

    /*! The session that fetches the record, made at the first call: no cookies, no cache, no credentials. */
    std::shared_ptr<Marblewick::NSURLSession> session();
    void setSession(std::shared_ptr<Marblewick::NSURLSession> session) { m_session = std::move(session); }

    /*! The host's integer version, with which that of a release is compared. */
    qint64 currentVersion() const { return m_currentVersion.load(); }
    void setCurrentVersion(qint64 version) { m_currentVersion.store(version); }

    /*! The panel of this checker alone; null before it was first needed. */
    std::shared_ptr<MBWUpdateNotificationPanel> updatePanel() const { return m_updatePanel.load(); }
    void setUpdatePanel(std::shared_ptr<MBWUpdateNotificationPanel> panel)
    {
        m_updatePanel.store(std::move(panel));
    }

    /*! The record of the latest answer; null before the first, and where that was no record. */
    std::shared_ptr<MBWSWUpdateInfo> updateInfo() const { return m_updateInfo.load(); }
    void setUpdateInfo(std::shared_ptr<MBWSWUpdateInfo> info) { m_updateInfo.store(std::move(info)); }

Q_SIGNALS:
    // Each follows the notification of the same meaning. The first check begins before anybody can connect.
    void updateCheckDidStart();
    /*! With the record that was judged, never null. */
    void newSoftwareFound(const std::shared_ptr<MBWSWUpdateInfo> &info);
    void softwareUpToDate();
    void updateCheckFailed(const std::optional<Marblewick::NSError> &error);

private:
    /*! How a check ended. */
    struct Outcome;

    explicit MBWSWUpdateChecker(qint64 currentVersion);

    Outcome evaluate(const QByteArray &data);
    bool isOffered(const std::shared_ptr<MBWSWUpdateInfo> &info) const;
    void announce(const Outcome &outcome);

    std::shared_ptr<Marblewick::NSURLSession> m_session;
    std::atomic<qint64> m_currentVersion;
    Marblewick::Atomic<std::shared_ptr<MBWUpdateNotificationPanel>> m_updatePanel;
    Marblewick::Atomic<std::shared_ptr<MBWSWUpdateInfo>> m_updateInfo;
};
