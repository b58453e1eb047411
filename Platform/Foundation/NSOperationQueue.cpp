#include "Platform/Foundation/NSOperationQueue.h"

#include <QCoreApplication>
#include <QMetaObject>

namespace Marblewick {

NSOperationQueue *NSOperationQueue::mainQueue()
{
    static NSOperationQueue queue;
    return &queue;
}

void NSOperationQueue::addOperationWithBlock(std::function<void()> block)
{
    if (QCoreApplication *application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, std::move(block), Qt::QueuedConnection);
}

} // namespace Marblewick
