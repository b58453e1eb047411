#include <Marblewick/NSExceptionHandler.h>

/*! Asks for throws to be recorded, and tells whether they are. */
extern "C" [[gnu::visibility("default")]] bool recordThrows()
{
    auto *const handler = Marblewick::NSExceptionHandler::defaultExceptionHandler();
    handler->setRecordsThrows(true);
    return handler->recordsThrows();
}
