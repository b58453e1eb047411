#include "UtilitiesScene.h"

#include "Host.h"
#include "Say.h"

#include <Marblewick/GetMACAddress.h>
#include <Marblewick/NSData+CCEncryption.h>
#include <Marblewick/NSData+MBWExtensions.h>
#include <Marblewick/NSFileManager+MBWExtensions.h>
#include <Marblewick/NSFileManager.h>
#include <Marblewick/URLExtensions.h>

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

void show(const QString &what, const QString &result) { say(u"  %1  %2"_s.arg(what, -20).arg(result)); }

bool showDigests()
{
    say(u"\n1. Digests of \"abc\", and hexadecimal text."_s);
    const QByteArray data = "abc"_ba;
    const QByteArray digest = MBWExtensions::SHA1Digest(data);
    const QString text = MBWExtensions::hexadecimalString(digest);
    show(u"SHA-1"_s, text);
    show(u"SHA-256"_s, MBWExtensions::hexadecimalString(MBWExtensions::SHA256Digest(data)));
    show(u"HMAC, key \"key\""_s,
         MBWExtensions::hexadecimalString(MBWExtensions::SHA256HMACWithKey(data, "key"_ba)));
    const bool isSame = MBWExtensions::dataFromHexidecimalString(text) == digest;
    show(u"the SHA-1 read back"_s, isSame ? u"gives the same 20 bytes"_s : u"Unexpected: other bytes"_s);
    return isSame;
}

bool showEncryption()
{
    say(u"\n2. Encryption with a password."_s);
    const QByteArray secret = "The treasure is under the third palm."_ba;
    const QString password = u"Kompaß"_s;
    QByteArray salt;
    QByteArray initializationVector;
    NSError error;
    const std::optional<QByteArray> encrypted = CCEncryption::encryptWithPassword(
        secret, password, &salt, &initializationVector, &error);
    if (!encrypted) {
        show(u"Unexpected"_s, error.description());
        return false;
    }
    show(u"salt"_s, MBWExtensions::hexadecimalString(salt));
    show(u"vector"_s, MBWExtensions::hexadecimalString(initializationVector));
    show(u"%1 bytes encrypted"_s.arg(secret.size()), MBWExtensions::hexadecimalString(*encrypted));
    const std::optional<QByteArray> decrypted = CCEncryption::decryptWithPassword(
        *encrypted, password, salt, initializationVector, &error);
    show(u"decrypted"_s, decrypted ? QString::fromUtf8(*decrypted) : error.description());
    const bool isRefused = !CCEncryption::decryptWithPassword(encrypted->chopped(1), password, salt,
                                                              initializationVector, &error);
    show(u"with a byte missing"_s, isRefused ? error.description() : u"Unexpected: it was decrypted"_s);
    return decrypted == secret && isRefused;
}

void showMACAddress()
{
    say(u"\n3. The address of this machine's primary Ethernet interface."_s);
    CFStringRef address = nullptr;
    const int32_t result = GetMACAddress(&address, nullptr, true);
    if (result == 0)
        show(u"address"_s, QString::fromLatin1(CFStringGetCStringPtr(address, kCFStringEncodingASCII)));
    else if (result == 5)
        show(u"none"_s, u"No interface here is wired, physical and built in (result 5)."_s);
    else
        show(u"none"_s, NSError::posixError(result).localizedDescription());
    CFRelease(address);
}

bool write(const QString &path, const QByteArray &contents)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

bool showChecksums()
{
    say(u"\n4. Checksums of a file and of the folders around it."_s);
    const QString atlas = Host::demoFolder() + u"/atlas"_s;
    QDir(atlas).removeRecursively();
    if (!QDir().mkpath(atlas + u"/Europe"_s) || !write(atlas + u"/Europe/Iceland"_s, "65 N 18 W\n"_ba)) {
        say(u"  Unexpected: no files could be written in "_s + atlas);
        return false;
    }
    const auto checksum = [](const QString &path) {
        const auto *const files = NSFileManager::defaultManager();
        const auto result = MBWExtensions::checksumForFileAtPath(files, path);
        return result ? MBWExtensions::hexadecimalString(*result) : u"none"_s;
    };
    for (const QString &path : {u"/Europe/Iceland"_s, u"/Europe"_s, QString(), u"/Atlantis"_s})
        show(u"atlas"_s + path, checksum(atlas + path));
    const QString before = checksum(atlas);
    const bool isWritten = write(atlas + u"/Europe/Iceland"_s, "64 N 18 W\n"_ba);
    const QString after = checksum(atlas);
    show(u"atlas, changed"_s, after);
    return isWritten && before != after;
}

void showQuery()
{
    say(u"\n5. A URL's query."_s);
    QString query;
    URLExtensions::appendParameterStringValue(query, u"place"_s, u"Café on the quay"_s);
    URLExtensions::appendParameterIntegerValue(query, u"zoom"_s, 12);
    URLExtensions::appendParameterFloatValue(query, u"latitude"_s, 64.147F, 3);
    URLExtensions::appendParameterBoolValue(query, u"satellite"_s, false);
    show(u"query"_s, query);
}

} // namespace

bool playUtilitiesScene()
{
    say(u"\n== The utilities, one by one =="_s);
    bool isPlayed = showDigests();
    isPlayed = showEncryption() && isPlayed;
    showMACAddress();
    isPlayed = showChecksums() && isPlayed;
    showQuery();
    return isPlayed;
}
