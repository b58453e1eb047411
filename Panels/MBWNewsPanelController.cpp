#include "Panels/MBWNewsPanelController.h"

#include "Platform/AppKit/NSAlert.h"
#include "Platform/AppKit/NSApplication.h"
#include "Platform/AppKit/NSWorkspace.h"
#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSString.h"
#include "Platform/Foundation/NSURL.h"
#include "Platform/Foundation/NSUserDefaults.h"

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr QLatin1StringView subscribeToNewsPanelRunKey("MBWSubscribeToNewsPanelRun");
constexpr QLatin1StringView subscriptionPage(MARBLEWICK_NEWS_SUBSCRIPTION_PAGE);

QString localized(const QString &text) { return NSBundle::mainBundle()->localizedStringForKey(text); }

qint64 runAlert()
{
    NSAlert alert;
    alert.setMessageText(localized(u"Sign Up for News"_s));
    alert.setInformativeText(localized(
        u"For the latest news about apps and updates, subscribe to our infrequent mailing list. Your details will not be shared with anyone else."_s));
    alert.addButtonWithTitle(localized(u"Subscribe…"_s));
    alert.addButtonWithTitle(localized(u"Cancel"_s));
    return alert.runModal();
}

QString addressForProductCode(const std::optional<QString> &productCode)
{
    if (!productCode || productCode->isEmpty())
        return subscriptionPage;
    return NSString::stringWithFormat(u"%@?product=%@", {subscriptionPage, *productCode});
}

} // namespace

MBWNewsPanelController *MBWNewsPanelController::sharedPanel()
{
    static auto *const panel = new MBWNewsPanelController;
    return panel;
}

bool MBWNewsPanelController::showSubscribePanelIfFirstRunForProductCode(
    const std::optional<QString> &productCode)
{
    if (NSUserDefaults::standardUserDefaults()->boolForKey(subscribeToNewsPanelRunKey))
        return false;
    showSubscribePanelForProductCode(productCode);
    return NSApplication::sharedApplication() != nullptr;
}

void MBWNewsPanelController::showSubscribePanelForProductCode(const std::optional<QString> &productCode)
{
    const qint64 answer = runAlert();
    if (answer == NSModalResponseAbort)
        return;
    if (answer == NSAlertFirstButtonReturn) {
        if (const auto url = NSURL::URLWithString(addressForProductCode(productCode)))
            NSWorkspace::sharedWorkspace()->openURL(*url);
    }
    NSUserDefaults::standardUserDefaults()->setBool(true, subscribeToNewsPanelRunKey);
}
