#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"

#include <Marblewick/NSData+MBWExtensions.h>

#include <cstdlib>
#include <functional>
#include <string>

using namespace std::string_literals;

namespace {

/*! A size of data, and how to measure and print it. */
struct Size
{
    const char *name;
    qsizetype bytes;
    int times; ///< how often a measurement converts it
    const char *unit;
    double unitsPerSecond;
    const char *promiseOfEncoding;
};

// From 8 MiB on, the results are pages fresh from the system, whose price is the same for both: text in
// UTF-16 has twice as many as toHex()'s Latin-1.
constexpr Size sizes[] = {
    {"32 B", 32, 100'000, "ns", 1e9, "at most 0.5"},
    {"1 KiB", 1024, 10'000, "ns", 1e9, "at most 0.5"},
    {"1 MiB", 1024 * 1024, 32, "ms", 1e3, "at most 0.5"},
    {"16 MiB", 16 * 1024 * 1024, 4, "ms", 1e3, "none: UTF-16 fills twice the memory"},
};

QByteArray bytes(qsizetype size)
{
    QByteArray data(size, '\0');
    for (qsizetype i = 0; i < size; ++i)
        data[i] = static_cast<char>(i * 7919 >> 3);
    return data;
}

/*! Measures a conversion that must have results of this length. */
template <typename Function>
std::function<double()> measurement(const Size &size, qsizetype resultSize, Function convert)
{
    return [=] {
        const double seconds = secondsOf([&] {
            for (int i = 0; i < size.times; ++i) {
                if (convert().size() != resultSize)
                    std::abort();
            }
        });
        return seconds / size.times * size.unitsPerSecond;
    };
}

void compare(const Size &size)
{
    const QByteArray data = bytes(size.bytes);
    const QByteArray latin1 = data.toHex();
    const QString text = QString::fromLatin1(latin1);
    if (MBWExtensions::hexadecimalString(data) != text
        || MBWExtensions::dataFromHexidecimalString(text) != data)
        std::abort();

    const auto encode = measurement(size, text.size(),
                                    [&] { return MBWExtensions::hexadecimalString(data); });
    const Comparison encoding{.ours = encode,
                              .peer = measurement(size, text.size(), [&] { return data.toHex(); })};
    printRatio("hexadecimalString, "s + size.name + " / QByteArray::toHex", encoding.run(), size.unit,
               size.promiseOfEncoding);
    const Comparison encodingToText{.ours = encode, .peer = measurement(size, text.size(), [&] {
                                                        return QString::fromLatin1(data.toHex());
                                                    })};
    printRatio("hexadecimalString, "s + size.name + " / toHex as a QString", encodingToText.run(), size.unit,
               size.promiseOfEncoding);

    const Comparison decoding{
        .ours = measurement(size, data.size(),
                            [&] { return MBWExtensions::dataFromHexidecimalString(text); }),
        .peer = measurement(size, data.size(), [&] { return QByteArray::fromHex(latin1); })};
    printRatio("dataFromHexidecimalString, "s + size.name + " / QByteArray::fromHex", decoding.run(),
               size.unit, "at most 0.5");
}

} // namespace

void benchmarkHexadecimal()
{
    for (const Size &size : sizes)
        compare(size);
}
