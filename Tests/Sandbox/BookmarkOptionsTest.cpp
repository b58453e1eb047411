#include "Tests/Sandbox/SandboxTest.h"

#include <dlfcn.h>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

QList<quint32> creationOptions;
QList<quint32> resolutionOptions;
bool isResolutionRefused = false;

template <typename Function>
Function original(const char *mangledName)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, mangledName));
}

class BookmarkOptions : public SandboxTest
{ };

} // namespace

namespace Marblewick::NSURL {

// Stand in, in this program, for the operations, to see what they are asked for; and do it.

std::optional<QByteArray> bookmarkDataWithOptions(const QUrl &url, NSURLBookmarkCreationOptions options,
                                                  NSError *error)
{
    creationOptions.append(static_cast<quint32>(options.toInt()));
    static const auto create = original<decltype(&bookmarkDataWithOptions)>(BOOKMARK_DATA_WITH_OPTIONS);
    return create(url, options, error);
}

std::optional<QUrl> URLByResolvingBookmarkData(const QByteArray &data, NSURLBookmarkResolutionOptions options,
                                               bool *isStale, NSError *error)
{
    EXPECT_EQ(isStale, nullptr) << "a stale bookmark is used as it resolves";
    resolutionOptions.append(static_cast<quint32>(options.toInt()));
    static const auto resolve = original<decltype(&URLByResolvingBookmarkData)>(URL_BY_RESOLVING);
    return isResolutionRefused ? std::nullopt : resolve(data, options, isStale, error);
}

} // namespace Marblewick::NSURL

TEST_F(BookmarkOptions, OfAGrantForReadingAndWritingAre2048)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Iceland.map"_s));
    EXPECT_EQ(creationOptions, QList<quint32>{2048});
}

TEST_F(BookmarkOptions, OfAGrantForReadingAre4096WithoutTheOther)
{
    manager()->appDidObtainReadOnlyPermissionToAccessURL(newFile(u"Iceland.map"_s));
    EXPECT_EQ(creationOptions, QList<quint32>{4096});
}

TEST_F(BookmarkOptions, OfAResolutionAre1280)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Iceland.map"_s));
    EXPECT_EQ(resolutionOptions, QList<quint32>{1280});
}

TEST_F(BookmarkOptions, AreNeededOnceForEachRecordWhenAManagerIsMade)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Iceland.map"_s));
    manager()->appDidObtainPermissionToAccessURL(newFolder(u"Atlas"_s));
    resolutionOptions.clear();
    const auto later = nextLaunch();
    EXPECT_EQ(resolutionOptions.size(), 2);
    EXPECT_FALSE(later->appNeedsToObtainPermissionToAccessURL(newFile(u"Atlas/Ireland.map"_s)));
    EXPECT_EQ(resolutionOptions.size(), 2) << "a decision about what is granted resolves nothing";
}

TEST_F(BookmarkOptions, OfAGrantThatDoesNotResolveLeaveNothingBehind)
{
    isResolutionRefused = true;
    const QUrl file = newFile(u"Iceland.map"_s);
    const CapturedStandardError log;
    manager()->appDidObtainPermissionToAccessURL(file);
    EXPECT_THAT(log.text().toStdString(),
                testing::HasSubstr("] Cannot start accessing just created security scoped URL: "
                                   + file.toString().toStdString() + '\n'));
    EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(file));
    EXPECT_EQ(storedBookmarks(), std::vector<StoredBookmark>());
    EXPECT_EQ(records(manager()).size(), 0);
}
