// orvella-usbip-camera: shows virtual cameras to the Linux kernel as USB devices, through the
// USB/IP virtual host controller, so that the real uvcvideo driver binds them. Runs as root,
// typically inside a test virtual machine.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QString>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/virtual/RequestLog.h"
#include "platform/virtual/VirtualCamera.h"
#include "platform/virtual/VirtualCameraCommands.h"
#include "tools/usbip-camera/VhciPort.h"

namespace {

using orvella::usbip::VhciPort;
using orvella::virtualcam::CameraCommand;
using orvella::virtualcam::CameraCommandRunner;
using orvella::virtualcam::RequestLog;

const char kUsage[] = R"(usage: orvella-usbip-camera [OPTIONS] CAMERA.json...

Plugs each virtual camera into a port of the kernel's USB/IP virtual host controller (load
vhci-hcd first; needs root) and serves it until SIGTERM, SIGINT or "quit".

Options:
  --vhci DIR        the controller's sysfs directory (default /sys/devices/platform/vhci_hcd.0)
  --first-port N    plug the first camera into high-speed port N, the next into N+1... (default 0)
  --log FILE        append every request the cameras see to FILE, one line each
  --control FIFO    read commands from FIFO (created if missing), one per line:
                      unplug N | plug N          pull camera N's cable / plug it back in
                      vanish N K                 the K-th control request from now finds camera N gone
                      noanswer N K               camera N leaves its next K control requests unanswered
                                                 (the driver gives up after its own time-out)
                      slow N MS                  camera N answers each control request MS ms late
                                                 (0: at once again)
                      stall N UNIT SELECTOR [CODE]  the control stalls with request error CODE (6)
                      clear N                    remove camera N's stalls
                      set N UNIT SELECTOR VALUE  another program writes the control (clamped as
                                                 the host's write would be)
                      open N | close N           another program opens / closes camera N
                      quit
                    Each command is confirmed in the log as "# ok: COMMAND" or "# error: ...".
Cameras are numbered from 1 in the order given.
)";

struct Options {
    std::string vhci = "/sys/devices/platform/vhci_hcd.0";
    unsigned firstPort = 0;
    std::string log;
    std::string control;
    std::vector<std::string> cameras;
};

bool parse(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= argc) return false;
            out = argv[++i];
            return true;
        };
        std::string port;
        if (arg == "--vhci") {
            if (!value(options.vhci)) return false;
        } else if (arg == "--log") {
            if (!value(options.log)) return false;
        } else if (arg == "--control") {
            if (!value(options.control)) return false;
        } else if (arg == "--first-port") {
            if (!value(port)) return false;
            options.firstPort = static_cast<unsigned>(std::strtoul(port.c_str(), nullptr, 10));
        } else if (!arg.empty() && arg[0] == '-') {
            return false;
        } else {
            options.cameras.push_back(arg);
        }
    }
    return !options.cameras.empty();
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parse(argc, argv, options)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    RequestLog log(options.log);
    if (!options.log.empty() && !log.isOpen()) {
        std::fprintf(stderr, "orvella-usbip-camera: cannot open %s: %s\n", options.log.c_str(),
                     std::strerror(errno));
        return 1;
    }

    // Signals arrive through a descriptor so that the main loop can wait for them and commands
    // alike; they must be blocked before the serving threads start.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    sigprocmask(SIG_BLOCK, &stopSignals, nullptr);
    const int signalFd = signalfd(-1, &stopSignals, SFD_CLOEXEC);

    std::vector<std::unique_ptr<VhciPort>> ports;
    for (size_t i = 0; i < options.cameras.size(); ++i) {
        QString error;
        auto camera = orvella::virtualcam::VirtualCamera::fromFile(
            QString::fromStdString(options.cameras[i]), &error);
        if (!camera) {
            std::fprintf(stderr, "orvella-usbip-camera: %s\n", error.toLocal8Bit().constData());
            return 1;
        }
        // A request the camera leaves unanswered stays unanswered on the wire: the kernel's
        // driver waits out its own time-out and unlinks it, so the camera holds nothing here.
        camera->setUnansweredWait(std::chrono::milliseconds{0});
        ports.push_back(std::make_unique<VhciPort>(camera, options.vhci,
                                                   options.firstPort + static_cast<unsigned>(i),
                                                   log, static_cast<int>(i + 1)));
    }
    for (auto& port : ports) {
        std::string error;
        if (!port->plug(&error)) {
            std::fprintf(stderr, "orvella-usbip-camera: %s\n", error.c_str());
            return 1;
        }
    }

    int controlFd = -1;
    if (!options.control.empty()) {
        if (::mkfifo(options.control.c_str(), 0600) != 0 && errno != EEXIST) {
            std::fprintf(stderr, "orvella-usbip-camera: cannot create %s: %s\n",
                         options.control.c_str(), std::strerror(errno));
            return 1;
        }
        // Read and write, so that the FIFO never reports end-of-file between two writers.
        controlFd = ::open(options.control.c_str(), O_RDWR | O_CLOEXEC);
    }
    std::printf("ready: %zu camera(s)\n", ports.size());
    std::fflush(stdout);

    bool quit = false;
    CameraCommandRunner commands(
        [&ports](int number) -> orvella::virtualcam::VirtualCamera* {
            if (number < 1 || static_cast<size_t>(number) > ports.size()) return nullptr;
            return &ports[static_cast<size_t>(number) - 1]->camera();
        },
        [&ports, &quit](const CameraCommand& command) -> std::string {
            if (command.verb == CameraCommand::Verb::Quit) {
                quit = true;
                return {};
            }
            VhciPort& port = *ports[static_cast<size_t>(command.camera) - 1];
            std::string error;
            if (command.verb == CameraCommand::Verb::Unplug)
                port.unplug();
            else if (!port.plug(&error))
                return error;
            return {};
        },
        [&log](const std::string& confirmation) { log.note(confirmation); });
    while (!quit) {
        pollfd fds[2] = {{signalFd, POLLIN, 0}, {controlFd, POLLIN, 0}};
        if (::poll(fds, controlFd >= 0 ? 2 : 1, -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (fds[0].revents) break;
        if (controlFd < 0 || !(fds[1].revents & POLLIN)) continue;
        char buffer[512];
        const ssize_t n = ::read(controlFd, buffer, sizeof buffer);
        if (n > 0) commands.feed(buffer, static_cast<size_t>(n));
    }
    for (auto& port : ports)
        port->unplug();
    return 0;
}
