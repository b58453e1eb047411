#pragma once

#include <QUrl>

/*! Whether there is a folder at a file URL that is no file package, as MBWExtensions::isDirectoryAtPath()
   says; `ifUnknown` where it is in a document of the documents portal and that does not answer in time. Main
   thread.
*/
bool isDirectoryAtURL(const QUrl &url, bool ifUnknown);
