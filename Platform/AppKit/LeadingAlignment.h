#pragma once

#include <QLabel>
#include <QStyle>

namespace Marblewick {

/*! Puts a label's text where lines begin in the direction of its window. By itself a label follows the
   direction of its text, and one that is not translated would lie apart from the rest of a mirrored window.
*/
inline void alignLeading(QLabel *label)
{
    label->setAlignment(QStyle::visualAlignment(label->layoutDirection(), Qt::AlignLeading)
                        | Qt::AlignAbsolute | (label->alignment() & Qt::AlignVertical_Mask));
}

} // namespace Marblewick
