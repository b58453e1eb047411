#pragma once

#include "Tools/Marblewick/CommandLine.h"

/*! `serve`: a server on 127.0.0.1 with a feed, release notes and an endpoint for crash reports, for who
    develops a host. It prints a line for where it listens and for each request, and serves until the process
    is told to end by SIGINT or SIGTERM.
*/
void addServeCommand(CLI::App *app, Action *action);
