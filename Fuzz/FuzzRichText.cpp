#include <Marblewick/NSAttributedString.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// libFuzzer calls it by this name.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const auto text = Marblewick::NSAttributedString::initWithRTF("{\\rtf1" + bytes);
    qsizetype length = 0;
    for (const Marblewick::NSAttributeRun &run : text->runs)
        length += run.length;
    const auto paragraphs = static_cast<qsizetype>(text->paragraphs.size());
    if (length != text->string.size() || paragraphs != text->string.count(u'\n') + 1
        || !text->string.isValidUtf16())
        std::abort();
    return 0;
}
