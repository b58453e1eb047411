#pragma once

#include "Platform/AppKit/NSAttributedString.h"

namespace Marblewick {

/*! What the text of a group is. */
enum class RTFDestination { Text, FontTable, ColorTable, FieldInstruction, Skipped };

/*! Formatting of characters; fonts, colours and links are named by their places in the reader's tables, and a
    negative one stands for none.
*/
struct RTFCharacterFormat
{
    int font = -1;
    int halfPoints = 0; ///< 0 where no size was given
    int color = -1;
    int link = -1;
    bool isBold = false;
    bool isItalic = false;
    bool isUnderlined = false;
    bool isHidden = false; ///< also text that was deleted, but is kept to be looked through

    bool operator==(const RTFCharacterFormat &) const = default;
};

/*! What a group inherits from the one around it, and what ends with it. */
struct RTFState
{
    RTFDestination destination = RTFDestination::Text;
    RTFCharacterFormat character;
    NSParagraphStyle paragraph;
    /*! How many bytes stand after a Unicode character for readers that do not know it. */
    int unicodeFallbackLength = 1;
};

} // namespace Marblewick
