#include "Tests/Platform/CoreData/BookmarkStore.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

std::shared_ptr<const NSManagedObjectModel> modelOf(const QByteArray &contents)
{
    const TemporaryHome home;
    const QString path = home.path() + u"/Test.momd"_s;
    writeFile(path, contents);
    return NSManagedObjectModel::initWithContentsOfURL(QUrl::fromLocalFile(path));
}

QByteArray modelWithAttribute(const QByteArray &attribute)
{
    return R"({"version": 1, "entities": [{"name": "Note", "attributes": [)" + attribute + "]}]}";
}

} // namespace

TEST(NSManagedObjectModel, OfBookmarksHasOneEntityWithItsRecordClass)
{
    const auto model = bookmarkModel();
    ASSERT_TRUE(model);
    ASSERT_EQ(model->entities().size(), 1);
    EXPECT_EQ(model->entities().first().name(), u"Bookmark"_s);
    EXPECT_EQ(model->entities().first().managedObjectClassName(), u"MBWSandboxPersistedBookmark"_s);
    EXPECT_EQ(model->entityNamed(u"Bookmark"_s), &model->entities().first());
    EXPECT_EQ(model->entityNamed(u"bookmark"_s), nullptr);
}

TEST(NSManagedObjectModel, OfBookmarksHasTheAttributesInTheirOrder)
{
    const auto model = bookmarkModel();
    ASSERT_TRUE(model);
    QStringList names;
    QList<NSAttributeType> types;
    QStringList transients;
    QStringList falseByDefault;
    for (const NSAttributeDescription &attribute : model->entities().first().attributes()) {
        names.append(attribute.name);
        types.append(attribute.type);
        if (attribute.isTransient)
            transients.append(attribute.name);
        if (attribute.defaultValue == QVariant(false))
            falseByDefault.append(attribute.name);
    }
    EXPECT_EQ(names, (QStringList{u"data"_s, u"isDirectory"_s, u"isReadOnly"_s, u"resolvedURL"_s,
                                  u"urlString"_s, u"isUnresolvable"_s}));
    EXPECT_EQ(types, (QList{NSAttributeType::BinaryData, NSAttributeType::Boolean, NSAttributeType::Boolean,
                            NSAttributeType::URL, NSAttributeType::String, NSAttributeType::Boolean}));
    EXPECT_EQ(transients, QStringList{u"resolvedURL"_s});
    EXPECT_EQ(falseByDefault, (QStringList{u"isDirectory"_s, u"isReadOnly"_s, u"isUnresolvable"_s}));
}

TEST(NSManagedObjectModel, IsNullForAMissingFile)
{
    EXPECT_EQ(NSManagedObjectModel::initWithContentsOfURL(QUrl()), nullptr);
    EXPECT_EQ(NSManagedObjectModel::initWithContentsOfURL(QUrl(u"qrc:/Marblewick/Other.momd"_s)), nullptr);
    EXPECT_EQ(NSManagedObjectModel::initWithContentsOfURL(QUrl(u"file:///missing/Other.momd"_s)), nullptr);
}

TEST(NSManagedObjectModel, IsLoadedFromAFile)
{
    const auto model = modelOf(modelWithAttribute(R"({"name": "text", "type": "string"})"));
    ASSERT_TRUE(model);
    EXPECT_EQ(model->version(), 1);
    EXPECT_TRUE(model->entityNamed(u"Note"_s));
}

TEST(NSManagedObjectModel, IsNullForWhatDescribesNoModel)
{
    for (const QByteArray &contents :
         {QByteArray(), QByteArray("no model"), QByteArray("[]"), QByteArray("{}"),
          QByteArray(R"({"version": 1, "entities": []})"),
          QByteArray(R"({"version": 1, "entities": [{"name": "Note"}]})"),
          QByteArray(R"({"version": 1, "entities": [7]})"),
          QByteArray(R"({"entities": [{"name": "Note", "attributes": [{"name": "a", "type": "string"}]}]})"),
          modelWithAttribute(R"({"name": "a", "type": "date"})"), modelWithAttribute(R"({"type": "string"})"),
          modelWithAttribute("7")})
        EXPECT_EQ(modelOf(contents), nullptr) << contents.constData();
}

TEST(NSManagedObjectModel, StoresNoURLs)
{
    EXPECT_EQ(modelOf(modelWithAttribute(R"({"name": "a", "type": "URL"})")), nullptr);
    EXPECT_NE(modelOf(modelWithAttribute(R"({"name": "a", "type": "URL", "transient": true})")), nullptr);
}
