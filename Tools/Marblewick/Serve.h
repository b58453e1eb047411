#pragma once

#include <string>

/*! What the development server offers. Paths are bytes; an empty one means that it offers no such thing. */
struct ServeOptions
{
    int port = 0; ///< 0 for any that is free
    std::string feedFile; ///< served at /feed, as it is at each request
    std::string notesFolder; ///< served under /notes/
    std::string reportsFolder; ///< receives the reports that are posted to /report, a file for each
};

/*! Serves on 127.0.0.1, with a line on standard output for where and for each request, until the process is
    told to end by SIGINT or SIGTERM. False, with a complaint, where it cannot.
*/
bool serve(const ServeOptions &options);
