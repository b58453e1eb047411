// The command `marblewick`: the framework for shells and scripts, and for who develops a host.

#include "Tools/Marblewick/Bookmarks.h"
#include "Tools/Marblewick/Console.h"
#include "Tools/Marblewick/CrashLogCommands.h"
#include "Tools/Marblewick/Digests.h"
#include "Tools/Marblewick/Feed.h"
#include "Tools/Marblewick/MACAddress.h"
#include "Tools/Marblewick/Serve.h"

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int wrongUsage = 2;

/*! Says what is wrong with the command line. */
void complainAboutUsage(const CLI::App &app, const CLI::ParseError &error)
{
    const std::vector<std::string> unexpected = app.remaining(true);
    const std::string text = unexpected.empty() ? error.what() : "unexpected argument: " + unexpected.front();
    complain(QString::fromStdString(withoutGuards(text)));
    std::fputs("Try: marblewick --help\n", stderr);
}

/*! Does what the command line asks for, and returns the exit status. */
int run(int argc, char **argv)
{
    CLI::App app("What Marblewick does for its hosts, on the command line.", "marblewick");
    app.set_version_flag("--version", "marblewick " MARBLEWICK_VERSION, "Print the version and exit");
    app.footer("The exit status is 0 where all could be done, 1 where something failed, and 2 for a wrong "
               "command line.");
    app.require_subcommand(1);
    Action action;
    addDigestCommands(&app, &action);
    addChecksumCommand(&app, &action);
    addMACCommand(&app, &action);
    addFeedCommands(&app, &action);
    addCrashLogCommands(&app, &action);
    addBookmarksCommands(&app, &action);
    addServeCommand(&app, &action);

    try {
        app.parse(guardedArguments(argc, argv));
    } catch (const CLI::Success &help) { // or the version
        app.exit(help);
        return finishOutput() ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const CLI::ParseError &error) {
        complainAboutUsage(app, error);
        return wrongUsage;
    }
    const bool isDone = action();
    return finishOutput() && isDone ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &failure) { // such as a plugin that is missing
        complain(QString::fromUtf8(failure.what()));
        return EXIT_FAILURE;
    }
}
