#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/NSKeyedArchiver.h>
#include <Marblewick/NSKeyedUnarchiver.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace Marblewick;

// libFuzzer calls it by this name.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

std::shared_ptr<MBWSWUpdateInfo> decoded(const QByteArray &feed)
{
    return NSKeyedUnarchiver::unarchivedObjectOfClass<MBWSWUpdateInfo>(feed);
}

} // namespace

/*! What can be read can be written, and read again as the same. */
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto *bytes = reinterpret_cast<const char *>(data);
    const auto record = decoded(QByteArray(bytes, static_cast<qsizetype>(size)));
    if (!record)
        return 0;
    const QByteArray again = NSKeyedArchiver::archivedDataWithRootObject(*record);
    const auto recordAgain = decoded(again);
    if (!recordAgain || NSKeyedArchiver::archivedDataWithRootObject(*recordAgain) != again)
        std::abort();
    return 0;
}
