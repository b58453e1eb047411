#include "Platform/CoreData/SQLite/SQLiteLayout.h"

#include "Platform/CoreData/CoreDataErrors.h"

#include <QByteArrayList>

#include <limits>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

constexpr qint64 applicationIdentifier = 0x4d425753; // "MBWS"

QByteArray quoted(const QString &name) { return '"' + name.toUtf8().replace('"', "\"\"") + '"'; }

QByteArray columnDefinition(const NSAttributeDescription &attribute)
{
    const char *const type = attribute.type == NSAttributeType::BinaryData ? " BLOB"
                             : attribute.type == NSAttributeType::Boolean  ? " INTEGER"
                                                                           : " TEXT";
    return quoted(attribute.name) + type;
}

/*! The columns of a store of this version. The identifier has a name that no attribute can have. */
QByteArrayList columns(const NSEntityDescription &entity, int storedVersion)
{
    QByteArrayList names{"_id"};
    for (const NSAttributeDescription &attribute : entity.attributes()) {
        if (isStored(attribute, storedVersion))
            names.append(quoted(attribute.name));
    }
    return names;
}

void createTable(SQLiteDatabase &database, const NSEntityDescription &entity)
{
    // Without AUTOINCREMENT the identifier of a deleted record could come again, for another one.
    QByteArrayList definitions{"_id INTEGER PRIMARY KEY AUTOINCREMENT"};
    for (const NSAttributeDescription &attribute : entity.attributes()) {
        if (isStored(attribute, std::numeric_limits<int>::max()))
            definitions.append(columnDefinition(attribute));
    }
    database.execute("CREATE TABLE " + quoted(entity.name()) + " (" + definitions.join(", ") + ')');
}

void addColumns(SQLiteDatabase &database, const NSEntityDescription &entity, int storedVersion)
{
    const QByteArray table = quoted(entity.name());
    for (const NSAttributeDescription &attribute : entity.attributes()) {
        if (attribute.isTransient || isStored(attribute, storedVersion))
            continue;
        database.execute("ALTER TABLE " + table + " ADD COLUMN " + columnDefinition(attribute));
        SQLiteStatement fill(database, "UPDATE " + table + " SET " + quoted(attribute.name) + " = ?1");
        fill.bind(1, attribute.type, attribute.defaultValue);
        fill.run();
    }
}

} // namespace

int layoutVersion(SQLiteDatabase &database, const NSManagedObjectModel &model)
{
    const qint64 application = database.integer("PRAGMA application_id");
    const qint64 version = database.integer("PRAGMA user_version");
    const bool isUnmarked = application == 0 && version == 0;
    if (isUnmarked && database.integer("SELECT count(*) FROM sqlite_schema") == 0)
        return 0;
    if (application != applicationIdentifier)
        throw StoreFailure{NSPersistentStoreIncompatibleSchemaError,
                           u"The file is another program’s database."_s};
    if (version < 1 || version > model.version())
        throw StoreFailure{
            NSPersistentStoreIncompatibleVersionHashError,
            u"The store has the layout %1, but %2 is the newest that is known."_s.arg(version).arg(
                model.version())};
    return static_cast<int>(version);
}

void bringUpToDate(SQLiteDatabase &database, const NSManagedObjectModel &model)
{
    const int storedVersion = layoutVersion(database, model);
    if (storedVersion == model.version())
        return;
    for (const NSEntityDescription &entity : model.entities()) {
        if (storedVersion == 0)
            createTable(database, entity);
        else
            addColumns(database, entity, storedVersion);
    }
    database.execute("PRAGMA application_id = " + QByteArray::number(applicationIdentifier));
    database.execute("PRAGMA user_version = " + QByteArray::number(model.version()));
}

bool isStored(const NSAttributeDescription &attribute, int storedVersion)
{
    return !attribute.isTransient && attribute.sinceVersion <= storedVersion;
}

SQLiteStatement selectStatement(const SQLiteDatabase &database, const NSEntityDescription &entity,
                                int storedVersion)
{
    return {database, "SELECT " + columns(entity, storedVersion).join(", ") + " FROM " + quoted(entity.name())
                          + " WHERE _id > ?1 ORDER BY _id"};
}

SQLiteStatement nextIdentifierStatement(const SQLiteDatabase &database, const NSEntityDescription &entity)
{
    return {database, "SELECT min(_id) FROM " + quoted(entity.name()) + " WHERE _id > ?1"};
}

SQLiteStatement writeStatement(const SQLiteDatabase &database, const NSEntityDescription &entity,
                               int storedVersion)
{
    const QByteArrayList names = columns(entity, storedVersion);
    const QByteArrayList parameters(names.size(), "?");
    return {database, "INSERT OR REPLACE INTO " + quoted(entity.name()) + " (" + names.join(", ")
                          + ") VALUES (" + parameters.join(", ") + ')'};
}

SQLiteStatement deleteStatement(const SQLiteDatabase &database, const NSEntityDescription &entity)
{
    return {database, "DELETE FROM " + quoted(entity.name()) + " WHERE _id = ?1"};
}

} // namespace Marblewick
