#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

/*! The code pages in which rich text holds what is not Unicode. */
namespace Marblewick::RTFCodePage {

/*! Western European, which holds where a document names none. */
inline constexpr int windowsLatin1 = 1252;

inline constexpr int macRoman = 10'000;

/*! The code page of a font's character set (`\fcharset`); nil for those that stand for the document's own. */
std::optional<int> codePageOfCharacterSet(int characterSet);

/*! Text from bytes. A code page that is not known is read as Latin-1. */
QString decode(QByteArrayView bytes, int codePage);

} // namespace Marblewick::RTFCodePage
