#pragma once

#include "Platform/AppKit/RichText/RTFState.h"

#include <QByteArrayView>

/*! What the words of rich text mean, as far as a word can be understood by itself. */
namespace Marblewick::RTFWords {

/*! The character that a word stands for, "\n" for the end of a paragraph; nil for other words. */
std::optional<char16_t> character(QByteArrayView word);

/*! The destination that a word gives its group; nil for other words. */
std::optional<RTFDestination> destination(QByteArrayView word);

/*! Changes the formatting as a word asks for; other words change nothing. Sizes and indents are bounded. */
void applyFormatting(QByteArrayView word, std::optional<int> parameter, RTFState &state);

} // namespace Marblewick::RTFWords
