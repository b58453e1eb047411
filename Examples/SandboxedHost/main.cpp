// A host without windows that remembers what its user lets it open. Its arguments are what happens, in order:
// "open" and an item, which it says whether it may; "choose" and an item, as the user does in an open panel;
// "forget" and an item, as in the host's settings; "refuse" and an item, which the system refuses from then
// on.

#include <Marblewick/MBWSandboxManager.h>
#include <Marblewick/NSPathUtilities.h>
#include <Marblewick/NSURL+Bookmarks.h>
#include <Marblewick/NSURL.h>

#include <QCoreApplication>
#include <QDir>
#include <QTextStream>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

class HostSandbox : public MBWSandboxManager
{
public:
    std::optional<QUrl> storeFileURL() const override
    {
        const QString folder = NSHomeDirectory() + u"/data"_s;
        QDir().mkpath(folder);
        return NSURL::fileURLWithPath(folder + u"/Grants.store"_s);
    }
};

/*! The system's scope, but for one item, which it refuses. */
class RefusingScope : public NSSecurityScope
{
public:
    ~RefusingScope() override { setCurrent(systemScope()); }

    void refuse(const QUrl &url)
    {
        m_refused = url;
        setCurrent(this);
    }

    bool startAccessing(const QUrl &url, bool isReadOnly) override
    {
        return url != m_refused && systemScope()->startAccessing(url, isReadOnly);
    }
    void stopAccessing(const QUrl &url) override { systemScope()->stopAccessing(url); }

private:
    QUrl m_refused;
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    MBWSandboxManager *const sandbox = MBWSandboxManager::sharedManager<HostSandbox>();
    RefusingScope scope;
    QTextStream output(stdout);
    const QStringList arguments = QCoreApplication::arguments();
    for (qsizetype i = 1; i + 1 < arguments.size(); i += 2) {
        const QUrl url = NSURL::fileURLWithPath(arguments[i + 1]);
        if (arguments[i] == "choose"_L1)
            sandbox->appDidObtainPermissionToAccessURL(url);
        else if (arguments[i] == "forget"_L1)
            sandbox->removePersistedBookmarkForURL(url);
        else if (arguments[i] == "refuse"_L1)
            scope.refuse(url);
        else
            output << (sandbox->appNeedsToObtainPermissionToAccessURL(url) ? "ask" : "open") << Qt::endl;
    }
    sandbox->closeAllSecureBookmarks();
}
