#pragma once

#include "Tools/Marblewick/CommandLine.h"

/*! `crashlog text|list`: prints a crash report as the panel shows it to the user, tabs and line ends as they
    are, other control characters escaped; and the paths of the logs in the folders that are searched for
    them, the newest first.
*/
void addCrashLogCommands(CLI::App *app, Action *action);
