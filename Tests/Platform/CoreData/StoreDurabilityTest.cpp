#include "Tests/Platform/CoreData/BookmarkStore.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/*! What SQLite had the system do, in this order. */
QStringList steps;

void noteSync(int file)
{
    struct stat status = {};
    if (::fstat(file, &status) == 0)
        steps.append(S_ISDIR(status.st_mode) ? u"folder written through"_s : u"file written through"_s);
}

} // namespace

// These stand in front of the system's functions, as no test can cut the power.
#pragma GCC visibility push(default)

extern "C" int fsync(int file)
{
    noteSync(file);
    static const auto next = reinterpret_cast<decltype(&fsync)>(::dlsym(RTLD_NEXT, "fsync"));
    return next(file);
}

extern "C" int fdatasync(int file)
{
    noteSync(file);
    static const auto next = reinterpret_cast<decltype(&fdatasync)>(::dlsym(RTLD_NEXT, "fdatasync"));
    return next(file);
}

extern "C" int unlink(const char *path) noexcept
{
    if (QByteArrayView(path).endsWith("-journal"))
        steps.append(u"journal removed"_s);
    static const auto next = reinterpret_cast<decltype(&unlink)>(::dlsym(RTLD_NEXT, "unlink"));
    return next(path);
}

#pragma GCC visibility pop

TEST(StoreDurability, ASaveReturnsWhenTheStoreAndTheRemovalOfItsJournalAreWrittenThrough)
{
    const TemporaryHome home;
    BookmarkStore store(home.path() + u"/store"_s);
    store.insert(u"a"_s);
    steps.clear();
    ASSERT_TRUE(store.save());
    EXPECT_EQ(steps.mid(steps.size() - 3),
              (QStringList{u"file written through"_s, u"journal removed"_s, u"folder written through"_s}));
    EXPECT_EQ(steps.count(u"file written through"_s), 3) << "the journal, its header, the store";
}

TEST(StoreDurability, ANewStoreIsWrittenThroughWithItsName)
{
    const TemporaryHome home;
    steps.clear();
    const BookmarkStore store(home.path() + u"/store"_s);
    ASSERT_TRUE(store.isOpen());
    EXPECT_EQ(steps.mid(steps.size() - 3),
              (QStringList{u"file written through"_s, u"journal removed"_s, u"folder written through"_s}));
}
