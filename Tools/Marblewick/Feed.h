#pragma once

#include <string>

// The feed that announces a release, for its maker's scripts. Each command is true where it could be done,
// and complains elsewhere.

/*! Writes the feed of the record in a JSON file; "-" is standard input and standard output. An output file is
    whole or as it was before.
*/
bool createFeed(const std::string &inputName, const std::string &outputName);

/*! Prints what a feed announces, as text or as JSON that createFeed() takes; "-" is standard input. */
bool showFeed(const std::string &fileName, bool asJSON);
