#include "PanelsScene.h"

#include "Host.h"
#include "Say.h"

#include <Marblewick/NSUserDefaults.h>

using namespace Qt::StringLiterals;
using namespace Marblewick;

bool playPanelsScene()
{
    say(u"\n== A host shows its panels ==\n"_s);
    if (Host::hasDisplay())
        say(u"The host asks two things by itself; its Help menu asks them again. Close its window to go on."_s);
    else
        say(u"(No display: a program opens each panel and presses each of its buttons.)"_s);

    const Host host(u"panels"_s);
    if (!host.launch({u"--panels"_s}))
        return false;
    const NSUserDefaults defaults([&host] { return host.defaultsFile(); });
    const bool isAnswered = defaults.boolForKey(u"MBWSubscribeToNewsPanelRun"_s);
    say(isAnswered ? u"  The news prompt was answered, so it does not come by itself again."_s
                   : u"  The news prompt was not answered: the next launch asks again."_s);
    return isAnswered || Host::hasDisplay();
}
