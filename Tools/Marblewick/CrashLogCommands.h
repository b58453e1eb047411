#pragma once

#include <string>
#include <vector>

// Each command is true where all of it could be done; it has complained otherwise.

/*! Prints the crash report in a file, or in standard input for "-", as the panel shows it to the user. Tabs
    and line ends are as they are; other control characters are escaped.
*/
bool printCrashLog(const std::string &fileName);

/*! Prints the paths of the crash logs in the folders that are searched for them, the newest first; only
    those of these applications where any are named.
*/
bool listCrashLogs(const std::vector<std::string> &applicationNames);
