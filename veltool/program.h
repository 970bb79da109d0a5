// Other programs: where they are, running them.
#pragma once

#include <string>
#include <vector>

namespace vel::tool {

// Whether there is a file that this user may run.
bool is_program(const std::string& path);

// Where PATH has a program; empty: nowhere. Relative directories in PATH are left out, since the
// current one may be anybody's.
std::string find_program(const std::string& name);

// Runs a program without input and without the options that the environment has for archivers, and
// answers what it has written. Throws Failure when it is not there, or when it
// fails, with what it has said.
std::string run_program(const std::vector<std::string>& words);

}  // namespace vel::tool
