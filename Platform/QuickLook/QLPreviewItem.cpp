#include "Platform/QuickLook/QLPreviewItem.h"

namespace Marblewick {

QLPreviewItem::~QLPreviewItem() = default;

} // namespace Marblewick
