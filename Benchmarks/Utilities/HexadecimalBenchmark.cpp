#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"

#include <Marblewick/NSData+MBWExtensions.h>

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype size = 1024 * 1024;
constexpr int times = 32;

QByteArray bytes()
{
    QByteArray data(size, '\0');
    for (qsizetype i = 0; i < size; ++i)
        data[i] = static_cast<char>(i * 7919 >> 3);
    return data;
}

/*! Milliseconds that a conversion takes, which must have results of this length. */
template <typename Function>
double milliseconds(qsizetype resultSize, Function convert)
{
    return 1000 / double(times) * secondsOf([&] {
               for (int i = 0; i < times; ++i) {
                   if (convert().size() != resultSize)
                       std::abort();
               }
           });
}

} // namespace

void benchmarkHexadecimal()
{
    const QByteArray data = bytes();
    const QByteArray latin1 = data.toHex();
    const QString text = QString::fromLatin1(latin1);
    if (MBWExtensions::hexadecimalString(data) != text
        || MBWExtensions::dataFromHexidecimalString(text) != data)
        std::abort();

    const Comparison encoding{
        .ours =
            [&] { return milliseconds(2 * size, [&] { return MBWExtensions::hexadecimalString(data); }); },
        .peer = [&] { return milliseconds(2 * size, [&] { return data.toHex(); }); }};
    printRatio("hexadecimalString, 1 MiB / QByteArray::toHex", encoding.run(), "ms", "at most 0.5");

    const Comparison decoding{
        .ours =
            [&] {
                return milliseconds(size, [&] { return MBWExtensions::dataFromHexidecimalString(text); });
            },
        .peer = [&] { return milliseconds(size, [&] { return QByteArray::fromHex(latin1); }); }};
    printRatio("dataFromHexidecimalString, 1 MiB / QByteArray::fromHex", decoding.run(), "ms", "at most 0.5");
}
