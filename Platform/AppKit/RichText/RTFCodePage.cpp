#include "Platform/AppKit/RichText/RTFCodePage.h"

#include <QStringDecoder>

#include <algorithm>
#include <array>
#include <utility>

namespace Marblewick::RTFCodePage {

namespace {

constexpr auto codePagesOfCharacterSets = std::to_array<std::pair<int, int>>({
    {77, macRoman},
    {128, 932}, // Japanese
    {129, 949}, // Korean
    {134, 936}, // simplified Chinese
    {136, 950}, // traditional Chinese
    {161, 1253}, // Greek
    {162, 1254}, // Turkish
    {163, 1258}, // Vietnamese
    {177, 1255}, // Hebrew
    {178, 1256}, // Arabic
    {186, 1257}, // Baltic
    {204, 1251}, // Cyrillic
    {222, 874}, // Thai
    {238, 1250}, // Central European
    {254, 437}, // of the IBM PC
    {255, 850},
});

/*! The name by which the decoders know a code page. */
QByteArray nameOfCodePage(int codePage)
{
    switch (codePage) {
    case macRoman:
        return "macintosh";
    case 65001:
        return "UTF-8";
    case 437:
    case 850:
    case 852:
    case 866:
        return "cp" + QByteArray::number(codePage);
    default:
        return "windows-" + QByteArray::number(codePage);
    }
}

} // namespace

std::optional<int> codePageOfCharacterSet(int characterSet)
{
    const auto found = std::ranges::find(codePagesOfCharacterSets, characterSet, &std::pair<int, int>::first);
    return found == codePagesOfCharacterSets.end() ? std::nullopt : std::optional(found->second);
}

QString decode(QByteArrayView bytes, int codePage)
{
    // A decoder takes longer to be found than the credits to be read; most need none.
    const bool isLatin1 = std::ranges::all_of(bytes, [codePage](char c) {
        const auto byte = static_cast<uchar>(c);
        return byte < 0x80 || (codePage == windowsLatin1 && byte >= 0xa0);
    });
    if (!isLatin1) {
        QStringDecoder decoder(nameOfCodePage(codePage).constData());
        if (decoder.isValid())
            return decoder.decode(bytes);
    }
    return QString::fromLatin1(bytes);
}

} // namespace Marblewick::RTFCodePage
