#pragma once

#include <QUrl>

/*! Whether there is a folder at a file URL that is no file package, as MBWExtensions::isDirectoryAtPath()
    says. Of a document that the documents portal does not show now, be it revoked or the portal away or
    slow, nobody can tell: then the answer is `ifUnknown`. Main thread.
*/
bool isDirectoryAtURL(const QUrl &url, bool ifUnknown);
