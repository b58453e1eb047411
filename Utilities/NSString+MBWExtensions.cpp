#include "Utilities/NSString+MBWExtensions.h"

#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSPathUtilities.h"
#include "Utilities/GetMACAddress.h"

namespace MBWExtensions {

std::optional<QString> macAddressString()
{
    CFStringRef address = nullptr;
    if (GetMACAddress(&address, nullptr, true) != 0) {
        Marblewick::NSLog(u"Couldn't get MAC Address");
        return std::nullopt;
    }
    const QString text = QString::fromLatin1(CFStringGetCStringPtr(address, kCFStringEncodingASCII));
    CFRelease(address);
    return text;
}

QString userPassword()
{
    const QString name = Marblewick::NSUserName();
    return name + QString::number(name.size());
}

} // namespace MBWExtensions
