#include "CrashReporter/UncaughtException.h"

#include "CrashReporter/FixedText.h"

#include <unistd.h>

constinit UncaughtException uncaughtException;

bool UncaughtException::claim()
{
    pid_t nobody = 0;
    return m_thread.compare_exchange_strong(nobody, ::gettid());
}

void UncaughtException::setType(std::string_view type) { FixedText(m_type).append(type); }

void UncaughtException::setText(std::string_view text) { FixedText(m_text).append(text); }

void UncaughtException::addTo(CrashRecord &record) const
{
    if (m_thread.load() != record.thread)
        return;
    FixedText(record.exceptionType).append(m_type);
    FixedText(record.exceptionText).append(m_text);
}
