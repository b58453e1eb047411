#include "Tools/Marblewick/Commands.h"

#include "Tools/Marblewick/Console.h"

#include <Marblewick/CommonDigest.h>
#include <Marblewick/CommonHMAC.h>
#include <Marblewick/GetMACAddress.h>
#include <Marblewick/NSFileManager+MBWExtensions.h>
#include <Marblewick/NSFileManager.h>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

unsigned char *bytesOf(QByteArray &digest) { return reinterpret_cast<unsigned char *>(digest.data()); }

} // namespace

// The digests of whole buffers would hold a file in memory, and count its bytes modulo 2^32.

std::optional<QByteArray> sha1Digest(const std::string &fileName)
{
    CC_SHA1_CTX context;
    CC_SHA1_Init(&context);
    const bool isRead = readInput(fileName, [&context](QByteArrayView piece) {
        CC_SHA1_Update(&context, piece.data(), static_cast<CC_LONG>(piece.size()));
    });
    QByteArray digest(CC_SHA1_DIGEST_LENGTH, '\0');
    CC_SHA1_Final(bytesOf(digest), &context);
    return isRead ? std::optional(digest) : std::nullopt;
}

std::optional<QByteArray> sha256Digest(const std::string &fileName)
{
    CC_SHA256_CTX context;
    CC_SHA256_Init(&context);
    const bool isRead = readInput(fileName, [&context](QByteArrayView piece) {
        CC_SHA256_Update(&context, piece.data(), static_cast<CC_LONG>(piece.size()));
    });
    QByteArray digest(CC_SHA256_DIGEST_LENGTH, '\0');
    CC_SHA256_Final(bytesOf(digest), &context);
    return isRead ? std::optional(digest) : std::nullopt;
}

DigestOfFile sha256HMAC(const QByteArray &key)
{
    return [key](const std::string &fileName) {
        CCHmacContext context;
        CCHmacInit(&context, kCCHmacAlgSHA256, key.constData(), static_cast<size_t>(key.size()));
        const bool isRead = readInput(fileName, [&context](QByteArrayView piece) {
            CCHmacUpdate(&context, piece.data(), static_cast<size_t>(piece.size()));
        });
        QByteArray digest(CC_SHA256_DIGEST_LENGTH, '\0');
        CCHmacFinal(&context, bytesOf(digest));
        return isRead ? std::optional(digest) : std::nullopt;
    };
}

std::optional<QByteArray> checksumOfPath(const std::string &path)
{
    const QString pathString = NSFileManager::stringWithFileSystemRepresentation(path);
    const auto *const files = NSFileManager::defaultManager();
    const std::optional<QByteArray> checksum = MBWExtensions::checksumForFileAtPath(files, pathString);
    if (!checksum)
        complainAbout(path, u"no checksum: it is missing, cannot be read, or is no file or folder"_s);
    return checksum;
}

bool printDigests(const std::vector<std::string> &fileNames, const DigestOfFile &digest)
{
    bool isDone = true;
    for (const std::string &fileName : fileNames) {
        const std::optional<QByteArray> result = digest(fileName);
        if (result)
            printDigest(*result, fileName);
        else
            isDone = false;
    }
    return isDone;
}

bool printMACAddress()
{
    constexpr int32_t noneFound = 5;
    CFStringRef address = nullptr;
    const int32_t result = GetMACAddress(&address, nullptr, true);
    if (result == 0)
        std::printf("%s\n", CFStringGetCStringPtr(address, kCFStringEncodingASCII));
    else if (result == noneFound)
        complain(u"no primary Ethernet interface"_s);
    else
        complain(NSError::posixError(result).localizedDescription());
    CFRelease(address);
    return result == 0;
}

std::optional<QByteArray> readKey(const std::string &fileName)
{
    constexpr qsizetype maximumSize = 1024 * 1024;
    QByteArray key;
    if (!readInput(
            fileName, [&key](QByteArrayView piece) { key += piece; }, maximumSize + 1))
        return std::nullopt;
    if (key.size() > maximumSize) {
        complainAbout(fileName, u"larger than 1 MiB"_s);
        return std::nullopt;
    }
    return key;
}
