#include "Utilities/MBWApplicationName.h"

#include "Platform/Foundation/NSBundle.h"

std::optional<QString> MBWApplicationName()
{
    using namespace Marblewick;
    const QVariantMap info = NSBundle::mainBundle()->infoDictionary();
    for (const auto key : {kCFBundleNameKey, kCFBundleExecutableKey}) {
        const QVariant value = info.value(key);
        if (value.metaType() == QMetaType::fromType<QString>() && !value.toString().isEmpty())
            return value.toString();
    }
    return std::nullopt;
}
