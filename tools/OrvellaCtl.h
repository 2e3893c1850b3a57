#pragma once
// orvellactl, the command-line face of the camera core, as a function the program and the tests
// call: list the cameras, show one, get and set a control, reset a camera to its defaults.

#include <ostream>
#include <string>
#include <vector>

namespace orvella::tools {

constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;  // a camera, file or control operation failed
constexpr int kExitUsage = 2;    // the command line is wrong

// Runs with the arguments that follow the program name. Results go to `out`, one-line errors
// (and the core's trace with --verbose) to `err`. Returns the exit status.
int runOrvellaCtl(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace orvella::tools
