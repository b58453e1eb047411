#include "SoftwareUpdate/MBWSWUpdateInfo.h"

#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSCoder.h"
#include "Platform/Foundation/NSProcessInfo.h"
#include "Platform/Foundation/NSString.h"

#include <QStringList>

using namespace Qt::StringLiterals;
using namespace Marblewick;

static_assert(NSSecureCoding<MBWSWUpdateInfo>);

// The keys of the feed, and the order in which its fields are read and written. Members are initialised in
// the same order, that of their declaration.

MBWSWUpdateInfo::MBWSWUpdateInfo(NSCoder &coder)
    : m_productIdentifier(coder.decodeObjectOfClass<QString>("productIdentifier"_L1))
    , m_productName(coder.decodeObjectOfClass<QString>("productName"_L1))
    , m_versionIdentifier(coder.decodeIntegerForKey("versionIdentifier"_L1))
    , m_versionString(coder.decodeObjectOfClass<QString>("versionString"_L1))
    , m_directDownloadURL(coder.decodeObjectOfClass<QUrl>("directDownloadURL"_L1))
    , m_productPageURL(coder.decodeObjectOfClass<QUrl>("productPageURL"_L1))
    , m_updateInfoURL(coder.decodeObjectOfClass<QUrl>("updateInfoURL"_L1))
    , m_appStoreURL(coder.decodeObjectOfClass<QUrl>("appStoreURL"_L1))
    , m_systemVersion(coder.decodeObjectOfClass<QString>("systemVersion"_L1))
{ }

void MBWSWUpdateInfo::encodeWithCoder(NSCoder &coder) const
{
    coder.encodeObject(productIdentifier(), "productIdentifier"_L1);
    coder.encodeObject(productName(), "productName"_L1);
    coder.encodeInteger(versionIdentifier(), "versionIdentifier"_L1);
    coder.encodeObject(versionString(), "versionString"_L1);
    coder.encodeObject(directDownloadURL(), "directDownloadURL"_L1);
    coder.encodeObject(productPageURL(), "productPageURL"_L1);
    coder.encodeObject(updateInfoURL(), "updateInfoURL"_L1);
    coder.encodeObject(appStoreURL(), "appStoreURL"_L1);
    coder.encodeObject(systemVersion(), "systemVersion"_L1);
}

std::optional<QString> MBWSWUpdateInfo::currentVersionString() const
{
    const QVariant version = NSBundle::mainBundle()->infoDictionary().value(kCFBundleShortVersionStringKey);
    return version.isValid() ? std::optional(version.toString()) : std::nullopt;
}

bool MBWSWUpdateInfo::isOperatingSystemVersionCompatible() const
{
    const QStringList parts = systemVersion().value_or(QString()).split(u'.');
    if (parts.size() < 2)
        return true;
    return NSProcessInfo::processInfo()->isOperatingSystemAtLeastVersion(
        {NSString::integerValue(parts[0]), NSString::integerValue(parts[1]),
         NSString::integerValue(parts.value(2))});
}
