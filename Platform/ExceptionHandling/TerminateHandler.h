#pragma once

#include "Platform/ExceptionHandling/StackTrace.h"

#include <exception>
#include <span>

namespace Marblewick {

/*! The end of a thread, and with it of the process, by an exception that nobody caught. */
struct Termination
{
    std::exception_ptr exception;
    /*! As it was when std::terminate() was called, without the frames that had been unwound by then. The
        frames of a terminate handler that the host has put in front may come first.
    */
    StackTrace stack;
};

/*! Something to be done before such an end, on its thread. */
using TerminationStep = void (*)(const Termination &termination);

/*! From now on these steps are taken, in their order, when an exception that nobody caught ends the process;
    none where the span is empty. What it spans must stay.

    A step that throws, or ends in std::terminate() again, is given up for the next one. All steps together
    have 10 seconds; then a SIGABRT ends the process. Where several threads end at once, each takes the
    reporting steps, only the first one the recording steps, and the process ends when all are done.

    Each call that has steps puts them in front of the terminate handler that is current, which goes on after
    them. Main thread.
*/
void setRecordingSteps(std::span<const TerminationStep> steps);
/*! The same for steps that follow the recording ones, whichever were set first. Where there are some, the
    standard library's terminate handler does not print the exception once more, unless one of the host's
    calls it.
*/
void setReportingSteps(std::span<const TerminationStep> steps);

} // namespace Marblewick
