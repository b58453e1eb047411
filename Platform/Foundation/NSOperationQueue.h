#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <functional>

namespace Marblewick {

/*! A queue that runs blocks one after another. Only the main queue exists. */
class MARBLEWICK_CORE_EXPORT NSOperationQueue
{
public:
    /*! The queue whose blocks run on the main thread, in its event loop. */
    static NSOperationQueue *mainQueue();

    /*! Adds a block, which runs after the current event has been handled, never before this call returns.
        Any thread. Without an application object there is no event loop: the block is dropped.
    */
    void addOperationWithBlock(std::function<void()> block);

private:
    NSOperationQueue() = default;
};

} // namespace Marblewick
