#include <Marblewick/NSURL+Bookmarks.h>
#include <Marblewick/NSURL.h>

#include <QtEndian>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace Marblewick;

namespace {

/*! The bytes with a checksum of their own, which the fuzzer would never guess. */
QByteArray sealed(QByteArray bytes)
{
    quint64 sum = 0xcbf29ce484222325;
    for (const char byte : bytes)
        sum = (sum ^ static_cast<quint8>(byte)) * 0x100000001b3;
    sum = qToBigEndian(sum);
    return bytes.append(reinterpret_cast<const char *>(&sum), sizeof sum);
}

} // namespace

// libFuzzer calls it by this name.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    for (const QByteArray &bookmark : {bytes, sealed(bytes)}) {
        NSError error;
        const auto url = NSURL::URLByResolvingBookmarkData(bookmark, NSURLBookmarkResolutionWithoutUI,
                                                           nullptr, &error);
        const QString path = url ? NSURL::path(*url) : QString();
        if (url.has_value() == (error.code() != 0)
            || (url && (!path.startsWith(u'/') || path.contains(QChar(0)))))
            std::abort();
    }
    return 0;
}
