// orvellactl: the command-line face of the camera core.
#include <iostream>

#include "tools/OrvellaCtl.h"

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return orvella::tools::runOrvellaCtl(arguments, std::cout, std::cerr);
}
