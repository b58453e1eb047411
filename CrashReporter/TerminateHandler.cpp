#include "CrashReporter/TerminateHandler.h"

#include "CrashReporter/UncaughtException.h"
#include "Platform/ExceptionHandling/ExceptionDescription.h"
#include "Platform/ExceptionHandling/TerminateHandler.h"

#include <array>

using namespace Marblewick;

namespace {

void tellType(const Termination &termination)
{
    if (uncaughtException.claim())
        uncaughtException.setType(typeNameOfException(termination.exception));
}

/*! After the type, because what() may crash. */
void tellText(const Termination &termination)
{
    if (const auto text = textOfException(termination.exception))
        uncaughtException.setText(*text);
}

constexpr std::array<TerminationStep, 2> steps = {tellType, tellText};

} // namespace

void installTerminateHandler() { setRecordingSteps(steps); }
