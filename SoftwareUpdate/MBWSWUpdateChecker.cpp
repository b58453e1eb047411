#include "SoftwareUpdate/MBWSWUpdateChecker.h"

#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSKeyedUnarchiver.h"
#include "Platform/Foundation/NSNotificationCenter.h"
#include "Platform/Foundation/NSOperationQueue.h"
#include "Platform/Foundation/NSURLSession.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "SoftwareUpdate/MBWSWUpdateInfo.h"
#include "SoftwareUpdate/MBWUpdateNotificationPanel.h"

#include <QThread>

using namespace Qt::StringLiterals;
using namespace Marblewick;

constinit const QLatin1StringView MBWUpdateCheckDidStartNotification("MBWUpdateCheckDidStartNotification");
constinit const QLatin1StringView MBWNewSoftwareFoundNotification("MBWSoftwareNewSoftwareFoundNotification");
constinit const QLatin1StringView MBWSoftwareUpToDateNotification("MBWSoftwareUpToDateNotification");
constinit const QLatin1StringView MBWUpdateCheckFailedNotificiation("MBWUpdateCheckFailedNotificiation");
constinit const QLatin1StringView MBWErrorDomain("MBWErrorDomain");
constinit const qint64 MBWSWUpdateCheckFailedErrorCode = 10000;

struct MBWSWUpdateChecker::Outcome
{
    QLatin1StringView notification;
    std::optional<NSError> error;
    /*! What was judged, which updateInfo need not be any more: another check may have ended since. */
    std::shared_ptr<MBWSWUpdateInfo> info;
};

namespace {

constexpr qint64 maximumFeedSize = qint64{16} * 1024 * 1024;

/*! Destroys a checker, which may own a window, on its own thread, whichever thread lets go of it last. */
void destroyOnItsThread(MBWSWUpdateChecker *checker)
{
    if (QThread::currentThread() == checker->thread())
        delete checker;
    else
        checker->deleteLater();
}

NSError noDataError()
{
    const QString sentence = u"Information for the latest version is not available at the moment. "
                             u"Please try again later."_s;
    return NSError(MBWErrorDomain, MBWSWUpdateCheckFailedErrorCode,
                   {{NSLocalizedDescriptionKey, NSBundle::mainBundle()->localizedStringForKey(sentence)}});
}

} // namespace

MBWSWUpdateChecker::MBWSWUpdateChecker(qint64 currentVersion)
    : m_currentVersion(currentVersion)
{
    NSNotificationCenter::defaultCenter()->addObserver(
        this, [this](const NSNotification &notification) { newSoftwareVersionFound(notification); },
        MBWNewSoftwareFoundNotification, this);
}

MBWSWUpdateChecker::~MBWSWUpdateChecker() { NSNotificationCenter::defaultCenter()->removeObserver(this); }

std::shared_ptr<MBWSWUpdateChecker> MBWSWUpdateChecker::initWithCurrentVersion(qint64 currentVersion,
                                                                               const QUrl &checkURL)
{
    const std::shared_ptr<MBWSWUpdateChecker> checker(new MBWSWUpdateChecker(currentVersion),
                                                      &destroyOnItsThread);
    checker->checkForUpdateWithURL(checkURL);
    return checker;
}

std::shared_ptr<NSURLSession> MBWSWUpdateChecker::session()
{
    if (!m_session) {
        NSURLSessionConfiguration configuration = NSURLSessionConfiguration::ephemeralSessionConfiguration();
        configuration.maximumResponseSize = maximumFeedSize;
        m_session = NSURLSession::sessionWithConfiguration(configuration);
    }
    return m_session;
}

void MBWSWUpdateChecker::checkForUpdateWithURL(const QUrl &url)
{
    auto self = shared_from_this(); // An observer of the start may let go of the checker.
    announce({MBWUpdateCheckDidStartNotification, {}, {}});
    const auto judge = [self = std::move(self)](const std::optional<QByteArray> &data, const auto &,
                                                const std::optional<NSError> &error) mutable {
        const Outcome outcome = data && !data->isEmpty() ? self->evaluate(*data)
                                                         : Outcome{MBWUpdateCheckFailedNotificiation,
                                                                   error.value_or(noDataError()),
                                                                   {}};
        NSOperationQueue::mainQueue()->addOperationWithBlock(
            [self = std::move(self), outcome] { self->announce(outcome); });
    };
    session()->dataTaskWithURL(url, judge)->resume();
}

MBWSWUpdateChecker::Outcome MBWSWUpdateChecker::evaluate(const QByteArray &data)
{
    try {
        const auto info = NSKeyedUnarchiver::unarchivedObjectOfClass<MBWSWUpdateInfo>(data);
        setUpdateInfo(info);
        return {
            isOffered(info) ? MBWNewSoftwareFoundNotification : MBWSoftwareUpToDateNotification, {}, info};
    } catch (...) {
        return {MBWUpdateCheckFailedNotificiation, {}, {}};
    }
}

bool MBWSWUpdateChecker::isOffered(const std::shared_ptr<MBWSWUpdateInfo> &info) const
{
    const qint64 skipped = NSUserDefaults::standardUserDefaults()->integerForKey(MBWLastSWUpdateVersionKey);
    const qint64 version = info ? info->versionIdentifier() : 0;
    // Without a record the version is 0, which a host of a negative version would take for a newer one.
    return version > currentVersion() && version > skipped && info
           && info->isOperatingSystemVersionCompatible();
}

void MBWSWUpdateChecker::announce(const Outcome &outcome)
{
    QVariantMap userInfo;
    if (outcome.error)
        userInfo.insert(u"NSError"_s, QVariant::fromValue(*outcome.error));
    NSNotificationCenter::defaultCenter()->postNotificationName(outcome.notification, this, userInfo);

    if (outcome.notification == MBWUpdateCheckDidStartNotification)
        Q_EMIT updateCheckDidStart();
    else if (outcome.notification == MBWNewSoftwareFoundNotification)
        Q_EMIT newSoftwareFound(outcome.info);
    else if (outcome.notification == MBWSoftwareUpToDateNotification)
        Q_EMIT softwareUpToDate();
    else
        Q_EMIT updateCheckFailed(outcome.error);
}

void MBWSWUpdateChecker::newSoftwareVersionFound(const NSNotification &)
{
    const std::shared_ptr<MBWSWUpdateInfo> info = updateInfo();
    if (!info) // A check that ended meanwhile found no record.
        return;
    if (!updatePanel())
        setUpdatePanel(std::make_shared<MBWUpdateNotificationPanel>());
    updatePanel()->showWindowForUpdateInfo(info);
}
