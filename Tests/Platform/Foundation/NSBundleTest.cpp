#include <Marblewick/NSBundle.h>

#include <Marblewick/NSException.h>

#include "Tests/Platform/Foundation/RunFoundationHost.h"
#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/InstalledTranslator.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QResource>

#include <sys/stat.h>
#include <thread>
#include <vector>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

QByteArray propertyListWithName(const QByteArray &name)
{
    return "<plist version=\"1.0\"><dict><key>CFBundleName</key><string>" + name + "</string></dict></plist>";
}

class NSBundleTest : public ::testing::Test
{
protected:
    QString path(const QString &name) const { return m_home.path() + u'/' + name; }
    QString bundleName() const
    {
        return NSBundle(m_executable).infoDictionary().value(u"CFBundleName"_s).toString();
    }

    TemporaryHome m_home;
    const QString m_executable = path(u"bin/kite"_s);
    const QString m_beside = path(u"bin/Info.plist"_s);
    const QString m_shared = path(u"share/kite/Info.plist"_s);
};

/*! The test's Qt resources, from construction to destruction. */
class RegisteredResources
{
public:
    RegisteredResources() { EXPECT_TRUE(QResource::registerResource(m_file)); }
    ~RegisteredResources() { QResource::unregisterResource(m_file); }
    RegisteredResources(const RegisteredResources &) = delete;
    RegisteredResources &operator=(const RegisteredResources &) = delete;

private:
    const QString m_file = QCoreApplication::applicationDirPath() + u"/FoundationTests.rcc"_s;
};

} // namespace

TEST_F(NSBundleTest, OfTheRunningProgramKnowsItsExecutable)
{
    EXPECT_EQ(NSBundle::mainBundle()->executablePath(), QCoreApplication::applicationFilePath());
    EXPECT_EQ(NSBundle::mainBundle()->executableName(), u"FoundationTests"_s);
    EXPECT_EQ(NSBundle::mainBundle(), NSBundle::mainBundle());
}

TEST_F(NSBundleTest, KnowsTheNameOfAnExecutableThatIsNotUTF8)
{
    const QString host = copyOfFoundationHost(m_home.path(), u"kite"_s);
    ASSERT_EQ(::rename(host.toUtf8().constData(), (m_home.path().toUtf8() + "/k\xefte").constData()), 0);
    QProcess shell; // because QProcess itself starts no program of such a name
    shell.start(u"/bin/sh"_s, {u"-c"_s, u"exec \"$0\"/k*te info CFBundleExecutable"_s, m_home.path()});
    ASSERT_TRUE(shell.waitForFinished());
    EXPECT_EQ(shell.readAllStandardOutput(), "k\xefte\n");
}

TEST_F(NSBundleTest, KeepsAnExecutableNameThatEndsLikeTheMarkOfADeletedOne)
{
    const QString host = copyOfFoundationHost(m_home.path(), u"kite (deleted)"_s);
    EXPECT_EQ(runFoundationHost(host, {u"info"_s, u"CFBundleExecutable"_s}).output, u"kite (deleted)\n"_s);
}

TEST_F(NSBundleTest, WithoutAPropertyListTakesTheHostsOwnNameAndVersion)
{
    QCoreApplication::setApplicationName(u"Käfer"_s);
    QCoreApplication::setApplicationVersion(u"2.0b1"_s);
    const QVariantMap expected{{u"CFBundleExecutable"_s, u"kite"_s},
                               {u"CFBundleName"_s, u"Käfer"_s},
                               {u"CFBundleShortVersionString"_s, u"2.0b1"_s}};
    const NSBundle bundle(m_executable);
    EXPECT_EQ(bundle.infoDictionary(), expected);
    QCoreApplication::setApplicationName(u"Renamed"_s);
    EXPECT_EQ(bundle.infoDictionary().value(u"CFBundleName"_s), u"Renamed"_s);
}

TEST_F(NSBundleTest, LeavesOutWhatTheHostHasNotSet)
{
    QCoreApplication::setApplicationVersion({});
    EXPECT_FALSE(NSBundle(m_executable).infoDictionary().contains(u"CFBundleShortVersionString"_s));
}

TEST_F(NSBundleTest, ReadsThePropertyListBesideTheExecutable)
{
    writeFile(m_beside, propertyListWithName("beside"));
    writeFile(m_shared, propertyListWithName("shared"));
    EXPECT_EQ(bundleName(), u"beside"_s);
}

TEST_F(NSBundleTest, ReadsThePropertyListInTheShareFolder)
{
    writeFile(m_shared, propertyListWithName("shared"));
    EXPECT_EQ(bundleName(), u"shared"_s);
}

TEST_F(NSBundleTest, ReadsThePropertyListInTheQtResourcesFirst)
{
    writeFile(m_beside, propertyListWithName("beside"));
    const RegisteredResources resources;
    EXPECT_EQ(NSBundle(m_executable).pathForResource(u"Info"_s, u"plist"_s), u":/Info.plist"_s);
    EXPECT_EQ(bundleName(), u"From a Qt resource"_s);
}

TEST_F(NSBundleTest, OfAClassOfTheFrameworkHasTheFrameworksResourcesAndNotTheHosts)
{
    const RegisteredResources resources;
    const NSBundle *const framework = NSBundle::bundleForClass<NSException>();
    EXPECT_EQ(framework->URLForResource(u"SandboxPersistedBookmarks"_s, u"momd"_s),
              QUrl(u"qrc:/Marblewick/SandboxPersistedBookmarks.momd"_s));
    EXPECT_FALSE(framework->URLForResource(u"Info"_s, u"plist"_s));
    EXPECT_TRUE(NSBundle::mainBundle()->URLForResource(u"Info"_s, u"plist"_s));
    EXPECT_EQ(NSBundle::bundleForClass<NSException>(), framework);
}

TEST_F(NSBundleTest, OfAClassOfTheHostIsTheMainBundle)
{
    EXPECT_EQ(NSBundle::bundleForClass<NSBundleTest>(), NSBundle::mainBundle());
}

TEST_F(NSBundleTest, HasTheURLOfAResourceFile)
{
    EXPECT_FALSE(NSBundle(m_executable).URLForResource(u"Info"_s, u"plist"_s));
    writeFile(m_beside, propertyListWithName("beside"));
    EXPECT_EQ(NSBundle(m_executable).URLForResource(u"Info"_s, u"plist"_s), QUrl::fromLocalFile(m_beside));
}

TEST_F(NSBundleTest, ReadsThePropertyListOnce)
{
    writeFile(m_beside, propertyListWithName("first"));
    const NSBundle bundle(m_executable);
    EXPECT_EQ(bundle.infoDictionary().value(u"CFBundleName"_s), u"first"_s);
    writeFile(m_beside, propertyListWithName("second"));
    EXPECT_EQ(bundle.infoDictionary().value(u"CFBundleName"_s), u"first"_s);
}

TEST_F(NSBundleTest, TakesNeitherFoldersNorFIFOsNorLinksToNowhereForResources)
{
    ASSERT_TRUE(QDir().mkpath(m_beside));
    ASSERT_TRUE(QDir().mkpath(path(u"share/kite"_s)));
    ASSERT_EQ(::mkfifo(m_shared.toUtf8().constData(), 0600), 0);
    ASSERT_EQ(::symlink("nowhere", path(u"bin/Link.plist"_s).toUtf8().constData()), 0);
    const RegisteredResources resources;
    EXPECT_TRUE(QResource(u":/Folder.plist"_s).isValid());
    const NSBundle bundle(m_executable);
    EXPECT_EQ(bundle.pathForResource(u"Folder"_s, u"plist"_s), std::nullopt);
    EXPECT_EQ(bundle.pathForResource(u"Link"_s, u"plist"_s), std::nullopt);
    QResource::unregisterResource(QCoreApplication::applicationDirPath() + u"/FoundationTests.rcc"_s);
    const CapturedStandardError log;
    EXPECT_EQ(bundle.pathForResource(u"Info"_s, u"plist"_s), std::nullopt);
    EXPECT_EQ(bundle.infoDictionary().value(u"CFBundleExecutable"_s), u"kite"_s);
    EXPECT_EQ(log.text(), QString());
}

TEST_F(NSBundleTest, FindsNoFileWithoutAnExecutable)
{
    EXPECT_EQ(NSBundle({}).pathForResource(u"../etc/host"_s, u"conf"_s), std::nullopt);
}

TEST_F(NSBundleTest, NamesADamagedPropertyListOnceAndDoesWithoutIt)
{
    writeFile(m_beside, "<plist><dict><key>CFBundleName</key>");
    writeFile(m_shared, propertyListWithName("shared"));
    QCoreApplication::setApplicationName(u"Käfer"_s);
    const CapturedStandardError log;
    const NSBundle bundle(m_executable);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bundle.infoDictionary().value(u"CFBundleName"_s), u"Käfer"_s);
    EXPECT_TRUE(log.text().contains(m_beside)) << qPrintable(log.text());
    EXPECT_EQ(log.text().count(u'\n'), 1);
}

TEST_F(NSBundleTest, NamesAnUnreadablePropertyListAndDoesWithoutIt)
{
    writeFile(m_beside, propertyListWithName("beside"));
    ASSERT_EQ(::chmod(m_beside.toUtf8().constData(), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [&] {
        const CapturedStandardError log;
        return bundleName() != u"beside" && log.text().contains(u"Permission denied");
    }));
}

TEST_F(NSBundleTest, IsReadByManyThreadsAtOnce)
{
    writeFile(m_beside, propertyListWithName("beside"));
    const NSBundle bundle(m_executable);
    std::atomic_int equal = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                equal += bundle.objectForInfoDictionaryKey(u"CFBundleName"_s).toString() == u"beside";
            });
        }
    }
    EXPECT_EQ(equal, 8);
}

TEST_F(NSBundleTest, TranslatesAnInformationPropertyWhereATranslatorKnowsIt)
{
    writeFile(m_beside, propertyListWithName("Kite"));
    const NSBundle bundle(m_executable);
    EXPECT_EQ(bundle.objectForInfoDictionaryKey(u"CFBundleName"_s), u"Kite"_s);
    const InstalledTranslator german("InfoPlist", "CFBundleName", u"Drachen"_s);
    EXPECT_EQ(bundle.objectForInfoDictionaryKey(u"CFBundleName"_s), u"Drachen"_s);
    EXPECT_EQ(bundle.infoDictionary().value(u"CFBundleName"_s), u"Kite"_s);
    EXPECT_FALSE(bundle.objectForInfoDictionaryKey(u"CFBundleExecutable"_s).isValid());
    EXPECT_FALSE(bundle.objectForInfoDictionaryKey({}).isValid());
}

TEST_F(NSBundleTest, HasOnlyTheTranslatedInformationPropertiesInItsLocalizedDictionary)
{
    writeFile(m_beside, "<plist><dict><key>CFBundleName</key><string>Kite</string><key>Wind</key>"
                        "<string>West</string></dict></plist>");
    const NSBundle bundle(m_executable);
    EXPECT_EQ(bundle.localizedInfoDictionary(), QVariantMap());
    const InstalledTranslator wind("InfoPlist", "Wind", u"Westwind"_s);
    EXPECT_EQ(bundle.localizedInfoDictionary(), (QVariantMap{{u"Wind"_s, u"Westwind"_s}}));
}

TEST_F(NSBundleTest, FindsPropertiesThatPeopleReadWhereTheyAreInTranslationOnly)
{
    const NSBundle bundle(m_executable);
    for (const char *key :
         {"CFBundleName", "CFBundleDisplayName", "CFBundleShortVersionString", "NSHumanReadableCopyright"}) {
        const InstalledTranslator translator("InfoPlist", key, u"Übersetzt"_s);
        EXPECT_EQ(bundle.localizedInfoDictionary(),
                  (QVariantMap{{QString::fromLatin1(key), u"Übersetzt"_s}}));
    }
}

TEST_F(NSBundleTest, ReadsTheBytesOfAResourceWhereverItLies)
{
    const RegisteredResources resources;
    EXPECT_TRUE(NSBundle::contentsOfResourceAtPath(u":/Info.plist"_s, 4096)->contains("From a Qt resource"));
    writeFile(m_beside, "beside");
    EXPECT_EQ(NSBundle::contentsOfResourceAtPath(m_beside, 6), "beside");
    NSError error;
    EXPECT_EQ(NSBundle::contentsOfResourceAtPath(m_beside, 5, &error), std::nullopt);
    EXPECT_NE(error.localizedDescription(), QString());
    EXPECT_EQ(NSBundle::contentsOfResourceAtPath(m_shared, 4096), std::nullopt);
}

TEST_F(NSBundleTest, TranslatesATextOfItsTable)
{
    const NSBundle bundle(m_executable);
    const InstalledTranslator german("CrashReport", "Send", u"Senden"_s);
    EXPECT_EQ(bundle.localizedStringForKey(u"Send"_s, {}, u"CrashReport"_s), u"Senden"_s);
    EXPECT_EQ(bundle.localizedStringForKey(u"Send"_s), u"Send"_s);
    const InstalledTranslator localizable("Localizable", "%@ quit", u"%@ wurde beendet"_s);
    EXPECT_EQ(bundle.localizedStringForKey(u"%@ quit"_s, u"other"_s), u"%@ wurde beendet"_s);
}

TEST_F(NSBundleTest, GivesTheValueElseTheKeyForATextThatNoTranslatorKnows)
{
    const NSBundle bundle(m_executable);
    EXPECT_EQ(bundle.localizedStringForKey(u"Ünknown %n"_s), u"Ünknown %n"_s);
    EXPECT_EQ(bundle.localizedStringForKey(u"KEY"_s, u"Value"_s), u"Value"_s);
    EXPECT_EQ(bundle.localizedStringForKey({}), QString());
}
