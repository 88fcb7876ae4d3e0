// Where GenTL producers are: the folders that the environment names, or files that the user names.
#pragma once

#include <string>
#include <vector>

namespace zevo_tool
{

/// The variable that names the folders, for programs of this one's word size.
const char* ProducerPathVariable();

/// What a search has looked at and what it has found.
struct ProducerSearch {
    std::vector<std::string> files;    ///< the *.cti files, in order
    std::vector<std::string> problems; ///< why a place gave none: a sentence each
};

/// Searches the folders of a list separated by colons; `folders` is null when the variable isn't
/// set. A file that is reached twice is listed once.
ProducerSearch SearchProducers(const char* folders);

/// As above, from the environment.
ProducerSearch SearchProducers();

} // namespace zevo_tool
