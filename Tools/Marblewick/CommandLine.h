#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

/*! What a command line asks for. True where all of it could be done; it has complained otherwise. */
using Action = std::function<bool()>;

/*! The program's arguments as CLI11 is to parse them: in reverse, and with names of files guarded that it
    would take for something else.
*/
std::vector<std::string> guardedArguments(int argc, char **argv);
std::string withoutGuards(std::string text);

/*! An option whose values are file names, byte for byte. */
CLI::Option *addFiles(CLI::App *command, const std::string &name, const std::string &description,
                      std::vector<std::string> *files);
/*! An option whose value is a file name, byte for byte. */
CLI::Option *addFile(CLI::App *command, const std::string &name, const std::string &description,
                     std::string *file);
