#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QMutex>
#include <QSet>
#include <QString>
#include <QUrl>

#include <functional>

namespace Marblewick {

/*! What the desktop makes of files and addresses. Any thread, but for openURL(). */
class MARBLEWICK_CORE_EXPORT NSWorkspace
{
public:
    static NSWorkspace *sharedWorkspace();

    /*! Whether a folder is a file package: one that people take for a single file. It is where

        - its name has an extension of packages, in upper or lower case: `app`, `appex`, `bundle`, `kext`,
          `mpkg`, `pkg`, `plugin`, `prefpane`, `rtfd`, `saver`, `wdgt`, `xpc`, or one that the host added;
        - or it has the structure of a bundle, a file `Contents/Info.plist`;
        - or it has the structure of an AppDir, a file `AppRun` beside a file `*.desktop`.

        A folder with the extension `framework` is none, whatever is in it. A symbolic link is what it leads
        to, name included. False for files and for what is missing.
    */
    bool isFilePackageAtPath(const QString &fullPath) const;

    /*! Makes folders whose names have this extension ("cartograph", or ".cartograph") packages, for this
        process. A host calls it at launch for its own document packages. An empty one changes nothing.
    */
    void addFilePackageExtension(const QString &extension);

    /*! Opens an address with the user's program for it: a browser, a mailer, a store. Main thread.

        Refused are addresses of a scheme that opensScheme() does not name, and an invalid one, which stands
       for nil. False for these, where the desktop knows no program for it, and without a QGuiApplication.
    */
    bool openURL(const QUrl &url);

    /*! Whether addresses of a scheme, in lower case, are opened. Those are not that lead into this machine or
       hold what would be run: `about`, `blob`, `data`, `file`, `filesystem`, `javascript`, `qrc`, `vbscript`,
       `view-source`, and none at all.
    */
    static bool opensScheme(const QString &scheme);

    /*! Who asks the desktop to open an address that was not refused. The library of panels sets it when it is
        loaded; without one nothing can be opened.
    */
    using URLOpener = std::function<bool(const QUrl &url)>;
    void setURLOpener(URLOpener opener) { m_urlOpener = std::move(opener); }

private:
    NSWorkspace() = default;

    bool isAddedExtension(const QString &extension) const;

    mutable QMutex m_mutex;
    QSet<QString> m_addedExtensions;
    URLOpener m_urlOpener;
};

} // namespace Marblewick
