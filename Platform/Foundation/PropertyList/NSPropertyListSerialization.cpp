#include "Platform/Foundation/PropertyList/NSPropertyListSerialization.h"

#include "Platform/Foundation/Plugin.h"
#include "Platform/Foundation/PropertyList/PropertyListPlugin.h"

using namespace Qt::StringLiterals;

namespace Marblewick::NSPropertyListSerialization {

std::optional<QVariantMap> dictionaryWithData(const QByteArray &data, NSError *error)
{
    QString reason;
    const auto read = reinterpret_cast<MarblewickReadPropertyList>(
        resolveInPlugin("marblewick-plist", marblewickReadPropertyListName, &reason));
    QVariant root;
    const bool isRead = read && read(data, &root, &reason);
    if (isRead && root.metaType() == QMetaType::fromType<QVariantMap>())
        return root.toMap();
    if (isRead)
        reason = u"The top of the property list is not a dictionary."_s;
    if (error)
        *error = NSError(NSCocoaErrorDomain, NSPropertyListReadCorruptError,
                         {{NSLocalizedDescriptionKey, reason}});
    return std::nullopt;
}

} // namespace Marblewick::NSPropertyListSerialization
