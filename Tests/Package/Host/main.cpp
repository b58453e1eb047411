#include <Marblewick/MBWApplicationName.h>
#include <Marblewick/NSBundle.h>

#include <cstdio>

/*! Succeeds where the framework tells what only the Info.plist beside this program says: then its libraries
    were found, and the plugin that reads property lists too.
*/
int main()
{
    using Marblewick::NSBundle;
    const QString name = MBWApplicationName().value_or(QString());
    const QString version = NSBundle::mainBundle()
                                ->objectForInfoDictionaryKey(Marblewick::kCFBundleShortVersionStringKey)
                                .toString();
    std::printf("%s %s\n", qPrintable(name), qPrintable(version));
    return name == QStringLiteral("Map Maker") && version == QStringLiteral("2.5") ? 0 : 1;
}
