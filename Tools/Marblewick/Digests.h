#pragma once

#include "Tools/Marblewick/CommandLine.h"

/*! `digest sha1|sha256|hmac`: prints the digest of each file, or of standard input. */
void addDigestCommands(CLI::App *app, Action *action);

/*! `checksum`: prints the checksum of each file, folder or file package. */
void addChecksumCommand(CLI::App *app, Action *action);
