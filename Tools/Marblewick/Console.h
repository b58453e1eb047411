#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <limits>
#include <string>

// What the commands read and write. File names are bytes, whatever their encoding.

/*! Prints `<digest in hexadecimal>  <name>`. As with sha1sum, a name with a backslash or a line break has
   them escaped and a backslash before the line, so that a name is always one line and sha1sum can check it.
*/
void printDigest(const QByteArray &digest, const std::string &name);

/*! Prints `marblewick: <text>` to standard error. */
void complain(const QString &text);
void complainAbout(const std::string &fileName, const QString &reason);

/*! Hands over the bytes of a file, or of standard input for "-", in pieces of less than 1 MiB, and not more
   than `maximumSize` bytes. False, with a complaint, where it cannot be opened or reading breaks off.
*/
bool readInput(const std::string &fileName, const std::function<void(QByteArrayView piece)> &take,
               size_t maximumSize = std::numeric_limits<size_t>::max());

/*! False, with a complaint, where not everything that was printed could be written. */
bool finishOutput();
