#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>
#include <string>

// What the commands read and write. File names are bytes, whatever their encoding.

/*! Prints `<digest in hexadecimal>  <name>`. As with sha1sum, a name with a backslash or a line break has
   them escaped and a backslash before the line, so that a name is always one line and sha1sum can check it.
*/
void printDigest(const QByteArray &digest, const std::string &name);

/*! Prints `marblewick: <text>` to standard error. */
void complain(const QString &text);
void complainAbout(const std::string &fileName, const QString &reason);

/*! Hands over the bytes of a file, or of standard input for "-", in pieces of less than 1 MiB, until `take`
   is false. False, with a complaint, where it cannot be opened or reading breaks off.
*/
bool readInput(const std::string &fileName, const std::function<bool(QByteArrayView piece)> &take);

/*! All of these bytes; nil, with a complaint, where they cannot be read or are more than `maximumSize`,
    which is a whole number of mebibytes.
*/
std::optional<QByteArray> readWholeInput(const std::string &fileName, qsizetype maximumSize);

/*! Writes a file, or to standard output for "-". The file is replaced as a whole, or, with a complaint and
    false, left as it was.
*/
bool writeOutput(const std::string &fileName, QByteArrayView contents);

/*! False, with a complaint, where not everything that was printed could be written. */
bool finishOutput();
