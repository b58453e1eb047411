#pragma once

#include "Tools/Marblewick/CommandLine.h"

/*! `mac`: prints the hardware address of the machine's primary Ethernet interface. */
void addMACCommand(CLI::App *app, Action *action);
