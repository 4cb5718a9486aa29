#pragma once

#include <string>
#include <vector>

namespace orvanta {

// Starts program (found through PATH) with arguments, its standard input and
// output on /dev/null, and returns without waiting; the child is reaped in
// the background. No shell reads the arguments. On failure answers false and
// puts the reason in *error.
bool startDetached(const std::string& program, const std::vector<std::string>& arguments, std::string* error);

}  // namespace orvanta
