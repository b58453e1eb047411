#include <Marblewick/CrashReportText.h>

#include <cstddef>
#include <cstdint>

// libFuzzer calls it by this name.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto *bytes = reinterpret_cast<const char *>(data);
    Marblewick::textOfCrashReport(QByteArray(bytes, static_cast<qsizetype>(size)));
    return 0;
}
