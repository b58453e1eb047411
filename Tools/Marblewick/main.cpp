// The command `marblewick`: what the utilities compute, and crash logs, for shells and scripts.

#include "Tools/Marblewick/Commands.h"
#include "Tools/Marblewick/Console.h"
#include "Tools/Marblewick/CrashLogCommands.h"
#include "Tools/Marblewick/Serve.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int wrongUsage = 2;

// CLI11 takes an argument "[a,b]" for a list of two. A NUL in front, which no argument of a program can hold,
// keeps a file name of that kind whole.
constexpr char guard = '\0';

std::vector<std::string> guardedArguments(int argc, char **argv)
{
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    for (std::string &argument : arguments) {
        if (argument.starts_with('['))
            argument.insert(0, 1, guard);
    }
    std::reverse(arguments.begin(), arguments.end()); // the order that CLI11 takes them in
    return arguments;
}

/*! An option whose values are file names, byte for byte. */
CLI::Option *addFiles(CLI::App *command, const std::string &name, const std::string &description,
                      std::vector<std::string> *files)
{
    const auto keep = [files](const CLI::results_t &values) {
        *files = values;
        for (std::string &file : *files)
            std::erase(file, guard);
        return true;
    };
    return command->add_option(name, keep, description);
}

/*! An option whose value is a file name, byte for byte. */
CLI::Option *addFile(CLI::App *command, const std::string &name, const std::string &description,
                     std::string *file)
{
    const auto keep = [file](const CLI::results_t &values) {
        *file = values.front();
        std::erase(*file, guard);
        return !file->empty();
    };
    return command->add_option(name, keep, description)->type_name("PATH");
}

/*! Says what is wrong with the command line. */
void complainAboutUsage(const CLI::App &app, const CLI::ParseError &error)
{
    const std::vector<std::string> unexpected = app.remaining(true);
    std::string text = unexpected.empty() ? error.what() : "unexpected argument: " + unexpected.front();
    std::erase(text, guard);
    complain(QString::fromStdString(text));
    std::fputs("Try: marblewick --help\n", stderr);
}

/*! Does what the command line asks for, and returns the exit status. */
int run(int argc, char **argv)
{
    CLI::App app("Prints what Marblewick's utilities compute, and crash logs.", "marblewick");
    app.set_version_flag("--version", "marblewick " MARBLEWICK_VERSION, "Print the version and exit");
    app.footer("The exit status is 0 where all could be done, 1 where something failed, and 2 for a wrong "
               "command line.");
    app.require_subcommand(1);
    CLI::App *const digest = app.add_subcommand("digest", "Digests of files or of standard input");
    digest->require_subcommand(1);
    const CLI::App *const mac = app.add_subcommand("mac",
                                                   "The address of the machine's primary Ethernet interface");

    std::vector<std::string> files{"-"};
    const auto addDigest = [digest, &files](const std::string &name, const std::string &description) {
        CLI::App *const command = digest->add_subcommand(name, description);
        addFiles(command, "FILE", "Files; \"-\" or none is standard input", &files)
            ->allow_extra_args()
            ->expected(1, -1);
        return command;
    };
    const CLI::App *const sha1 = addDigest("sha1", "SHA-1, in lines as those of sha1sum");
    const CLI::App *const sha256 = addDigest("sha256", "SHA-256, in lines as those of sha256sum");
    CLI::App *const hmac = addDigest("hmac", "HMAC-SHA-256 under a key");
    std::vector<std::string> keyFile;
    addFiles(hmac, "--key-file", "File whose bytes are the key, up to 1 MiB", &keyFile)
        ->type_name("FILE")
        ->required();
    CLI::App *const checksum = app.add_subcommand("checksum",
                                                  "Checksums of files, folders and file packages");
    addFiles(checksum, "PATH", "Files, folders or file packages", &files)
        ->allow_extra_args()
        ->expected(1, -1)
        ->required();
    CLI::App *const crashLog = app.add_subcommand("crashlog", "Crash logs of applications");
    crashLog->require_subcommand(1);
    CLI::App *const text = crashLog->add_subcommand("text", "A crash report as its user sees it");
    addFiles(text, "FILE", "Crash log; \"-\" is standard input", &files)->expected(1)->required();
    CLI::App *const list = crashLog->add_subcommand("list", "The paths of the crash logs, the newest first");
    std::vector<std::string> applicationNames;
    addFiles(list, "NAME", "Names of the applications; without any, those of all", &applicationNames)
        ->allow_extra_args()
        ->expected(0, -1);

    CLI::App *const serveCommand = app.add_subcommand("serve",
                                                      "A server on 127.0.0.1 to develop a host against");
    ServeOptions serveOptions;
    serveCommand->add_option("--port", serveOptions.port, "Port; any that is free without")
        ->check(CLI::Range(1, 65535))
        ->type_name("NUMBER");
    addFile(serveCommand, "--feed", "Release record to serve at /feed", &serveOptions.feedFile);
    addFile(serveCommand, "--notes", "Folder to serve under /notes/", &serveOptions.notesFolder);
    addFile(serveCommand, "--reports", "Folder for the crash reports that are posted to /report",
            &serveOptions.reportsFolder);

    try {
        app.parse(guardedArguments(argc, argv));
    } catch (const CLI::Success &help) { // or the version
        app.exit(help);
        return finishOutput() ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const CLI::ParseError &error) {
        complainAboutUsage(app, error);
        return wrongUsage;
    }

    bool isDone = false;
    if (serveCommand->parsed()) {
        isDone = serve(serveOptions);
    } else if (mac->parsed()) {
        isDone = printMACAddress();
    } else if (text->parsed()) {
        isDone = printCrashLog(files.front());
    } else if (list->parsed()) {
        isDone = listCrashLogs(applicationNames);
    } else if (checksum->parsed()) {
        isDone = printDigests(files, checksumOfPath);
    } else if (sha1->parsed()) {
        isDone = printDigests(files, sha1Digest);
    } else if (sha256->parsed()) {
        isDone = printDigests(files, sha256Digest);
    } else if (const std::optional<QByteArray> key = readKey(keyFile.front())) {
        isDone = printDigests(files, sha256HMAC(*key));
    }
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
