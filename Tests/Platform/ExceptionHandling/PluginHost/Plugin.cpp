#include <Marblewick/NSExceptionHandler.h>

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

using namespace Marblewick;

namespace {

/*! Tells whose frame is the first, and ends the process. */
class FirstFrame : public NSExceptionHandlerDelegate
{
public:
    bool exceptionHandlerShouldLogException(NSExceptionHandler *, const NSException &exception,
                                            quint64) override
    {
        const QString stack = exception.userInfo().value(NSStackTraceKey).toString();
        const quintptr address = stack.section(u' ', 0, 0).toULongLong(nullptr, 16);
        Dl_info place = {};
        if (::dladdr(reinterpret_cast<const void *>(address - 1), &place) != 0 && place.dli_sname)
            std::printf("thrown by %s\n", place.dli_sname);
        std::fflush(stdout);
        std::_Exit(0);
    }
};

} // namespace

/*! Asks for throws to be recorded, and tells whether they are. */
extern "C" [[gnu::visibility("default")]] bool recordThrows()
{
    auto *const handler = NSExceptionHandler::defaultExceptionHandler();
    handler->setRecordsThrows(true);
    return handler->recordsThrows();
}

/*! Throws what nobody catches. */
extern "C" [[gnu::visibility("default")]] void throwNumber()
{
    auto *const handler = NSExceptionHandler::defaultExceptionHandler();
    handler->setDelegate(new FirstFrame);
    handler->setExceptionHandlingMask(NSLogUncaughtExceptionMask);
    throw 1;
}
