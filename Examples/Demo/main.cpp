// Plays the example host's life, scene by scene, against a server on loopback.

#include "CrashScene.h"
#include "LogScene.h"
#include "PanelsScene.h"
#include "SandboxScene.h"
#include "UpdateScene.h"
#include "UtilitiesScene.h"

#include <CLI/CLI.hpp>

#include <QCoreApplication>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    CLI::App commandLine(
        "Plays scenes from the life of a host application that uses Marblewick. With a display you use "
        "its windows yourself; without one a program does, and saves a picture of each.",
        "run-demo");
    const CLI::App *const crash = commandLine.add_subcommand(
        "crash", "a first launch, a crash, and the report that reaches the maker");
    const CLI::App *const update = commandLine.add_subcommand(
        "update", "a new release, what the user can do about it, and a check that fails");
    const CLI::App *const log = commandLine.add_subcommand(
        "log", "eleven launches, each with a log file, of which ten are kept, and the log of one that threw");
    const CLI::App *const panels = commandLine.add_subcommand(
        "panels", "the panels that a host asks its users with, in light and dark");
    const CLI::App *const utilities = commandLine.add_subcommand(
        "utilities", "digests, encryption, the machine's address, checksums and queries");
    const CLI::App *const sandbox = commandLine.add_subcommand(
        "sandbox", "what a host may open again that its user has granted, and what becomes of the grants");
    CLI11_PARSE(commandLine, argc, argv);

    const bool playAll = commandLine.get_subcommands().empty();
    bool isPlayed = true;
    if (playAll || crash->parsed())
        isPlayed = playCrashScene() && isPlayed;
    if (playAll || update->parsed())
        isPlayed = playUpdateScene() && isPlayed;
    if (playAll || log->parsed())
        isPlayed = playLogScene() && isPlayed;
    if (playAll || panels->parsed())
        isPlayed = playPanelsScene() && isPlayed;
    if (playAll || utilities->parsed())
        isPlayed = playUtilitiesScene() && isPlayed;
    if (playAll || sandbox->parsed())
        isPlayed = playSandboxScene() && isPlayed;
    return isPlayed ? EXIT_SUCCESS : EXIT_FAILURE;
}
