#pragma once

#include "Tools/Marblewick/CommandLine.h"

/*! `feed create|show`, for a maker's release scripts: writes the feed that announces a release, whole or not
    at all, from a readable record, and prints what a feed announces.
*/
void addFeedCommands(CLI::App *app, Action *action);
