#pragma once

#include <QByteArray>

#include <functional>
#include <optional>
#include <string>
#include <vector>

/*! The digest of a file; nil, with a complaint, where there is none. */
using DigestOfFile = std::function<std::optional<QByteArray>(const std::string &fileName)>;

/*! Digests of a file's bytes, or of standard input for "-". */
std::optional<QByteArray> sha1Digest(const std::string &fileName);
std::optional<QByteArray> sha256Digest(const std::string &fileName);
DigestOfFile sha256HMAC(const QByteArray &key);

/*! The bytes of a key file, or of standard input for "-"; nil, with a complaint, where it cannot be read or
   is larger than 1 MiB.
*/
std::optional<QByteArray> readKey(const std::string &fileName);

/*! The checksum of a file, a folder or a file package. */
std::optional<QByteArray> checksumOfPath(const std::string &path);

// Each command is true where all of it could be done.

/*! Prints the digest of each file that has one. */
bool printDigests(const std::vector<std::string> &fileNames, const DigestOfFile &digest);
/*! Prints the hardware address of the machine's primary Ethernet interface. */
bool printMACAddress();
