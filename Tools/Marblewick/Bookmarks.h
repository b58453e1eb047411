#pragma once

#include "Tools/Marblewick/CommandLine.h"

/*! `bookmarks list`: prints what a store of a sandboxed host's grants holds, and which items still resolve.
   The store is only read.
*/
void addBookmarksCommands(CLI::App *app, Action *action);
