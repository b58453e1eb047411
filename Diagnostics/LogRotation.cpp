#include "Diagnostics/LogRotation.h"

#include <algorithm>

namespace {

constexpr size_t rotationThreshold = 10;
constexpr size_t keptLogs = 9;

} // namespace

QStringList logsToRemove(std::vector<LogRecord> records)
{
    if (records.size() < rotationThreshold)
        return {};
    std::ranges::stable_sort(records, {},
                             [](const LogRecord &record) { return record.attributes.creationDate; });
    QStringList paths;
    for (size_t i = 0; i < records.size() - keptLogs; ++i)
        paths += records[i].fullPath;
    return paths;
}
