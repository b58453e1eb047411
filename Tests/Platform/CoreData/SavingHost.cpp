// Saves one bookmark after the other in the store at a path, and prints the number of each whose save
// returned, until it is killed: SavingHost STORE FIRST-NUMBER

#include <Marblewick/NSManagedObjectContext.h>

#include <cstdio>
#include <cstdlib>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void fail(const NSError &error)
{
    std::puts(qPrintable(error.description()));
    std::fflush(stdout);
    std::exit(1);
}

} // namespace

int main(int, char **argv)
{
    const QUrl model(u"qrc:/Marblewick/SandboxPersistedBookmarks.momd"_s);
    const auto coordinator = std::make_shared<NSPersistentStoreCoordinator>(
        NSManagedObjectModel::initWithContentsOfURL(model));
    NSError error;
    if (!coordinator->addPersistentStoreWithType(
            NSSQLiteStoreType, std::nullopt, QUrl::fromLocalFile(QString::fromLocal8Bit(argv[1])),
            {{NSMigratePersistentStoresAutomaticallyOption, true}}, &error))
        fail(error);
    NSManagedObjectContext context(NSMainQueueConcurrencyType);
    context.setPersistentStoreCoordinator(coordinator);
    const NSEntityDescription *const entity = NSEntityDescription::entityForName(u"Bookmark"_s, context);

    for (int number = std::atoi(argv[2]);; ++number) {
        NSManagedObject *const bookmark = NSManagedObject::initWithEntity(*entity, context);
        bookmark->setValue(u"urlString"_s, QString::number(number));
        bookmark->setValue(u"data"_s, QByteArray(300, 'x'));
        if (!context.save(&error))
            fail(error);
        std::printf("%d\n", number);
        std::fflush(stdout);
    }
}
