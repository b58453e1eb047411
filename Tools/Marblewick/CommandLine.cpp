#include "Tools/Marblewick/CommandLine.h"

#include <algorithm>

namespace {

// CLI11 takes an argument "[a,b]" for a list of two, and "++" for the end of a subcommand. A NUL in front,
// which no argument of a program can hold, makes such names of files like any other.
constexpr char guard = '\0';

} // namespace

std::vector<std::string> guardedArguments(int argc, char **argv)
{
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    for (std::string &argument : arguments) {
        if (argument.starts_with('[') || argument == "++")
            argument.insert(0, 1, guard);
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

std::string withoutGuards(std::string text)
{
    std::erase(text, guard);
    return text;
}

CLI::Option *addFiles(CLI::App *command, const std::string &name, const std::string &description,
                      std::vector<std::string> *files)
{
    const auto keep = [files](const CLI::results_t &values) {
        files->clear();
        for (const std::string &value : values)
            files->push_back(withoutGuards(value));
        return true;
    };
    return command->add_option(name, keep, description);
}

CLI::Option *addFile(CLI::App *command, const std::string &name, const std::string &description,
                     std::string *file)
{
    const auto keep = [file](const CLI::results_t &values) {
        *file = withoutGuards(values.front());
        return !file->empty();
    };
    return command->add_option(name, keep, description)->type_name("PATH");
}
