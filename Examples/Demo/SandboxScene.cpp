#include "SandboxScene.h"

#include "Host.h"
#include "Say.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>

using namespace Qt::StringLiterals;

namespace {

/*! Something that the host wants to open. */
struct Item
{
    QString name; ///< in the user's folder
    bool isAskedFor;
    const char *reason; ///< of that
};

/*! A host that may open what is in its own home folder, and a user who has maps elsewhere. */
class SandboxedHost
{
public:
    SandboxedHost()
    {
        QDir(m_folder).removeRecursively();
        QDir().mkpath(m_home);
        QDir().mkpath(path(u"Atlas"_s));
        for (const QString &name : {u"Iceland.map"_s, u"Greenland.map"_s, u"Atlas/Europe.map"_s})
            write(path(name), "map\n");
        write(m_home + u"/Draft.map"_s, "map\n");
    }

    QString path(const QString &name) const { return QDir::cleanPath(m_folder + u"/user/"_s + name); }
    QString storePath() const { return m_home + u"/data/Grants.store"_s; }

    static void write(const QString &path, const QByteArray &contents)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) < 0)
            say(u"  Unexpected: %1 cannot be written."_s.arg(path));
    }

    /*! Launches the host, to which something may happen first, and has it open items; false where it does not
        decide as it should.
    */
    bool launch(const QStringList &events, const QList<Item> &items) const
    {
        QStringList arguments = events;
        for (const Item &item : items)
            arguments += {u"open"_s, path(item.name)};
        const QStringList answers = run(arguments);
        bool isAsExpected = answers.size() == items.size();
        for (qsizetype i = 0; i < answers.size() && i < items.size(); ++i) {
            const bool isAskedFor = answers[i] == "ask"_L1;
            const bool isRight = isAskedFor == items[i].isAskedFor;
            say(u"   %1  %2 %3"_s.arg(QDir::cleanPath(u"user/"_s + items[i].name), -22)
                    .arg(isAskedFor ? u"ask the user:"_s : u"do not ask: "_s)
                    .arg(QLatin1StringView(isRight ? items[i].reason : "unexpected")));
            isAsExpected = isAsExpected && isRight;
        }
        if (!isAsExpected)
            say(u"   Unexpected: the host decided otherwise, or not at all."_s);
        return isAsExpected;
    }

    void listStore() const
    {
        say(u"\n   marblewick bookmarks list Grants.store"_s);
        QProcess command;
        command.start(QCoreApplication::applicationDirPath() + u"/marblewick"_s,
                      {u"bookmarks"_s, u"list"_s, storePath()});
        command.waitForFinished();
        const QByteArray lines = command.readAllStandardOutput() + command.readAllStandardError();
        sayLines(lines.isEmpty() ? "(it prints nothing: no grants are kept)"_ba : lines);
    }

private:
    /*! The lines that the host prints; what it logs is shown. */
    QStringList run(const QStringList &arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, m_home);
        QProcess host;
        host.setProcessEnvironment(environment);
        host.start(QCoreApplication::applicationDirPath() + u"/sandboxed-host"_s, arguments);
        if (!host.waitForFinished())
            say(u"   The host could not be run: "_s + host.errorString());
        sayLines(host.readAllStandardError());
        return QString::fromUtf8(host.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
    }

    /*! With the demo's folder left out, which makes lines long. */
    void sayLines(const QByteArray &lines) const
    {
        for (const QString &line : QString::fromUtf8(lines).split(u'\n', Qt::SkipEmptyParts))
            say(u"   | "_s + QString(line).remove(m_folder + u'/'));
    }

    const QString m_folder = Host::demoFolder() + u"/sandbox"_s;
    const QString m_home = m_folder + u"/home"_s;
};

bool grantFileAndFolder(const SandboxedHost &host)
{
    say(u"\n1. The first launch."_s);
    if (!host.launch({}, {{u"../home/Draft.map"_s, false, "it is in the host's home folder"},
                          {u"Nowhere.map"_s, false, "there is nothing that could be granted"},
                          {u"Iceland.map"_s, true, "it was never granted"},
                          {u"Atlas/Europe.map"_s, true, "it was never granted, nor was its folder"}}))
        return false;
    say(u"\n   The user chooses Iceland.map and the folder Atlas in the open panel."_s);
    return host.launch({u"choose"_s, host.path(u"Iceland.map"_s), u"choose"_s, host.path(u"Atlas"_s)},
                       {{u"Iceland.map"_s, false, "it was just granted"},
                        {u"Atlas/Europe.map"_s, false, "its folder was just granted"}});
}

bool launchAgain(const SandboxedHost &host)
{
    say(u"\n2. The host is launched again."_s);
    const bool isRemembered = host.launch(
        {}, {{u"Iceland.map"_s, false, "it was granted in an earlier launch"},
             {u"Atlas/Europe.map"_s, false, "its folder was granted in an earlier launch"},
             {u"Greenland.map"_s, true, "it was never granted"}});
    host.listStore();
    return isRemembered;
}

bool renameAndDelete(const SandboxedHost &host)
{
    say(u"\n3. The user renames Iceland.map to Island.map."_s);
    QFile::rename(host.path(u"Iceland.map"_s), host.path(u"Island.map"_s));
    if (!host.launch({}, {{u"Island.map"_s, false, "it is the file that was granted, by another name"}}))
        return false;
    say(u"\n4. The user deletes it, and later lets the host open Greenland.map."_s);
    QFile::remove(host.path(u"Island.map"_s));
    if (!host.launch({u"choose"_s, host.path(u"Greenland.map"_s)},
                     {{u"Island.map"_s, false, "there is nothing that could be granted"},
                      {u"Greenland.map"_s, false, "it was just granted"}}))
        return false;
    SandboxedHost::write(host.path(u"Island.map"_s), "another map\n");
    say(u"\n   A new file takes the name; the grant went with the old one when the store was saved."_s);
    const bool isForgotten = host.launch({}, {{u"Island.map"_s, true, "it was never granted"}});
    host.listStore();
    return isForgotten;
}

bool revoke(const SandboxedHost &host)
{
    say(u"\n5. The user takes the folder Atlas back in the host's settings."_s);
    return host.launch({u"forget"_s, host.path(u"Atlas"_s)},
                       {{u"Atlas/Europe.map"_s, true, "the grant of its folder was taken back"},
                        {u"Greenland.map"_s, false, "it was granted in an earlier launch"}});
}

bool refuse(const SandboxedHost &host)
{
    say(u"\n6. The system refuses Greenland.map to the host."_s);
    if (!host.launch(
            {u"refuse"_s, host.path(u"Greenland.map"_s)},
            {{u"Greenland.map"_s, true, "access to it was refused, so that its grant is worth nothing"}}))
        return false;
    say(u"\n   The system no longer does. The user grants the file anew."_s);
    return host.launch({}, {{u"Greenland.map"_s, true, "its grant was forgotten when access was refused"}})
           && host.launch({u"choose"_s, host.path(u"Greenland.map"_s)},
                          {{u"Greenland.map"_s, false, "it was just granted"}});
}

bool damage(const SandboxedHost &host)
{
    say(u"\n7. The store is damaged. It is thrown away, and a new one takes its place."_s);
    SandboxedHost::write(host.storePath(), "no store any more");
    const bool isAskedAgain = host.launch({}, {{u"Greenland.map"_s, true, "all grants were lost"}});
    host.listStore();
    return isAskedAgain;
}

} // namespace

bool playSandboxScene()
{
    say(u"\n== A sandboxed host remembers what it may open =="_s);
    const SandboxedHost host;
    return grantFileAndFolder(host) && launchAgain(host) && renameAndDelete(host) && revoke(host)
           && refuse(host) && damage(host);
}
