#include "Tools/Marblewick/MACAddress.h"

#include "Tools/Marblewick/Console.h"

#include <Marblewick/GetMACAddress.h>
#include <Marblewick/NSError.h>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

bool printMACAddress()
{
    constexpr int32_t noneFound = 5;
    CFStringRef address = nullptr;
    const int32_t result = GetMACAddress(&address, nullptr, true);
    if (result == 0)
        std::printf("%s\n", CFStringGetCStringPtr(address, kCFStringEncodingASCII));
    else if (result == noneFound)
        complain(u"no primary Ethernet interface"_s);
    else
        complain(NSError::posixError(result).localizedDescription());
    CFRelease(address);
    return result == 0;
}

} // namespace

void addMACCommand(CLI::App *app, Action *action)
{
    CLI::App *const command = app->add_subcommand("mac",
                                                  "The address of the machine's primary Ethernet interface");
    command->callback([=] { *action = printMACAddress; });
}
