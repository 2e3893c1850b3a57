// orvellactl: the command-line face of the camera core.
#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    if (argc > 1 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        std::puts("usage: orvellactl [--virtual FILE]... [--demo] list | show [CAMERA] [--json] |\n"
                  "       get CAMERA CONTROL | set CAMERA CONTROL VALUE | defaults CAMERA");
        return 0;
    }
    std::fputs("orvellactl: not implemented yet\n", stderr);
    return 1;
}
