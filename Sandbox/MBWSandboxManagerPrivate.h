#pragma once

#include "Platform/CoreData/NSManagedObjectContext.h"
#include "Platform/Foundation/Atomic.h"
#include "Sandbox/FileURLSet.h"
#include "Sandbox/MBWSandboxManager.h"

class MBWSandboxPersistedBookmark;

struct MBWSandboxManager::Private
{
    FileURLSet allowedFileURLs; ///< what was granted, in this launch or an earlier one
    FileURLSet allowedDirectoryURLs;
    FileURLSet accessedURLs; ///< what can be used without starting access
    Marblewick::Atomic<QSet<QUrl>> entitledDirectoryURLs;
    Marblewick::Atomic<QSet<QUrl>> readOnlyEntitledDirectoryURLs;
    const Marblewick::NSFileManager *fileManager = nullptr; ///< null until the manager is initialised

    std::shared_ptr<const Marblewick::NSManagedObjectModel> managedObjectModel;
    std::shared_ptr<Marblewick::NSPersistentStoreCoordinator> persistentStoreCoordinator;
    std::unique_ptr<Marblewick::NSManagedObjectContext> managedObjectContext;
};
