#pragma once

#include <QtGlobal>

#include <functional>

/*! By how many bytes a piece of work raises the most memory that this process has had resident. */
qint64 peakMemoryAddedBy(const std::function<void()> &work);
