#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QMutex>
#include <QSet>
#include <QString>

namespace Marblewick {

/*! What the desktop makes of files. Any thread. */
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

private:
    NSWorkspace() = default;

    bool isAddedExtension(const QString &extension) const;

    mutable QMutex m_mutex;
    QSet<QString> m_addedExtensions;
};

} // namespace Marblewick
