#include "UpdateScene.h"

#include "Host.h"
#include "Say.h"
#include "Server.h"

#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/NSUserDefaults.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

const QString skippedKey = u"MBWLastSWUpdateVersionKey"_s;

constexpr int runningRelease = 140;
constexpr int newRelease = 150;

bool copyNotes(const QString &folder)
{
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    for (const auto &page : {u"index.html"_s, u"manual.html"_s}) {
        if (!QFile::copy(u":/ReleaseNotes/"_s + page, folder + u'/' + page))
            return false;
    }
    return true;
}

/*! The maker's release script: a readable record, made into the feed by the command. */
bool publish(int release, const QString &notes, const QString &feed)
{
    const QString record = feed + u".json"_s;
    QFile file(record);
    const QJsonObject fields{{u"productIdentifier"_s, u"com.example.cartographer"_s},
                             {u"productName"_s, u"Cartographer"_s},
                             {u"versionIdentifier"_s, release},
                             {u"versionString"_s, release == newRelease ? u"1.5"_s : u"1.4"_s},
                             {u"directDownloadURL"_s, u"https://example.com/cartographer-1.5.tar.xz"_s},
                             {u"productPageURL"_s, u"https://example.com/cartographer"_s},
                             {u"updateInfoURL"_s, notes},
                             {u"systemVersion"_s, u"11.0"_s}};
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || file.write(QJsonDocument(fields).toJson()) < 0)
        return false;
    file.close();
    return QProcess::execute(QCoreApplication::applicationDirPath() + u"/marblewick"_s,
                             {u"feed"_s, u"create"_s, record, feed})
           == 0;
}

/*! Launches the host, which is to show the panel with a view, or no panel where none is named: a host that is
    driven saves a picture of each view that it shows.
*/
bool launch(const Host &host, const QString &feedURL, const QString &view, const QString &answer = {})
{
    const QDateTime before = QDateTime::currentDateTime();
    QStringList options{u"--feed-url"_s, feedURL};
    if (!answer.isEmpty())
        options += {u"--update-answer"_s, answer};
    if (!host.launch(options))
        return false;
    if (Host::hasDisplay())
        return true;
    for (const QString &shown : {u"update-loaded"_s, u"update-error"_s}) {
        const QFileInfo picture(Host::demoFolder() + u'/' + shown + u".png"_s);
        if ((picture.lastModified() >= before) != (shown == view)) {
            say(u"  Unexpected: "_s + shown + (shown == view ? u" was not shown."_s : u" was shown."_s));
            return false;
        }
    }
    return true;
}

struct Step
{
    const char *answer;
    const char *what;
    bool isSkipped; ///< whether the release is not offered again afterwards
};

/*! One launch of the host, one release behind. */
bool play(const Step &step, const Host &host, const QString &feedURL)
{
    NSUserDefaults defaults([&host] { return host.defaultsFile(); });
    defaults.removeObjectForKey(skippedKey);
    say(u"\n  %1"_s.arg(QLatin1StringView(step.what)));
    if (!launch(host, feedURL, u"update-loaded"_s, QLatin1StringView(step.answer)))
        return false;
    const bool isSkipped = defaults.integerForKey(skippedKey) == newRelease;
    say(isSkipped ? u"  Release 150 is not offered again."_s : u"  Release 150 will be offered again."_s);
    if (isSkipped != step.isSkipped)
        say(u"  Unexpected: it should be the other way round."_s);
    return isSkipped == step.isSkipped;
}

} // namespace

bool playUpdateScene()
{
    say(u"\n== A host learns of a new release ==\n"_s);
    const Host host(u"update"_s);
    const QString feed = Host::demoFolder() + u"/cartographer.feed"_s;
    const QString notes = Host::demoFolder() + u"/notes"_s;
    if (!copyNotes(notes))
        return false;
    Server server({u"--feed"_s, feed, u"--notes"_s, notes});
    if (server.url().isEmpty())
        return false;
    const QString feedURL = server.url() + u"/feed"_s;
    const QString notesURL = server.url() + u"/notes/index.html"_s;

    say(u"1. The maker publishes release %1, with: marblewick feed create cartographer.feed.json cartographer.feed"_s
            .arg(newRelease));
    if (!publish(newRelease, notesURL, feed))
        return false;
    say(u"   It is at %1; the host that runs is release %2."_s.arg(feedURL).arg(runningRelease));

    say(u"\n2. The host is launched, and checks."_s);
    if (Host::hasDisplay()) {
        if (!host.launch({u"--feed-url"_s, feedURL}))
            return false;
    } else {
        constexpr Step steps[] = {
            {"remind-later", "The user wants to hear of it later.", false},
            {"download", "The user downloads it.", false},
            {"more-info", "The user wants to know more.", true},
            {"skip", "The user skips it.", true},
            {"in-page-link", "The user follows a link within the notes.", false},
            {"outside-link", "The user follows a link to another page.", true},
        };
        for (const Step &step : steps) {
            if (!play(step, host, feedURL))
                return false;
        }
    }
    say(u"\n3. The host is launched again after the release was skipped."_s);
    if (!launch(host, feedURL, {}))
        return false;

    say(u"\n4. The release notes cannot be reached."_s);
    const QString nobody =
        u"http://127.0.0.1:9/notes"_s; // the port of a service that no machine runs any more
    NSUserDefaults([&host] { return host.defaultsFile(); }).removeObjectForKey(skippedKey);
    if (!publish(newRelease, nobody, feed) || !launch(host, feedURL, u"update-error"_s))
        return false;

    say(u"\n5. The latest release is the one that runs."_s);
    if (!publish(runningRelease, notesURL, feed) || !launch(host, feedURL, {}))
        return false;

    say(u"\n6. What the server was asked for:"_s);
    for (const QString &line : server.takeLines())
        say(u"  | "_s + line);

    say(u"\n7. The server is gone."_s);
    server.stop();
    return launch(host, feedURL, {});
}
