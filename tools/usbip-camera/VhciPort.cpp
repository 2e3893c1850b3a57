#include "tools/usbip-camera/VhciPort.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tools/usbip-camera/UsbipProtocol.h"

namespace orvella::usbip {

namespace {

// Writes one line to a sysfs attribute; 0 or the errno of the write.
int writeAttribute(const std::string& path, const std::string& text) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) return errno;
    const ssize_t n = ::write(fd, text.data(), text.size());
    const int error = n < 0 ? errno : 0;
    ::close(fd);
    return error;
}

}  // namespace

VhciPort::VhciPort(std::shared_ptr<virtualcam::VirtualCamera> camera, std::string vhciDirectory,
                   unsigned port, virtualcam::RequestLog& log, int number)
    : camera_(std::move(camera)),
      vhciDirectory_(std::move(vhciDirectory)),
      port_(port),
      log_(log),
      number_(number) {}

VhciPort::~VhciPort() {
    unplug();
}

bool VhciPort::plugged() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return plugged_;
}

bool VhciPort::plug(std::string* error) {
    if (plugged()) return true;
    if (thread_.joinable()) thread_.join();  // a connection that ended by itself
    std::lock_guard<std::mutex> lock(mutex_);
    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
        if (error) *error = std::string("socketpair: ") + std::strerror(errno);
        return false;
    }
    // A fresh device each time: the kernel enumerates it from an unconfigured state.
    device_ = std::make_unique<virtualcam::UsbWireDevice>(camera_);
    const unsigned devid = (1u << 16) | (port_ + 2);
    const std::string line = std::to_string(port_) + " " + std::to_string(pair[1]) + " " +
                             std::to_string(devid) + " " + std::to_string(kSpeedHigh) + "\n";
    const int failure = writeAttribute(vhciDirectory_ + "/attach", line);
    // The kernel holds its own reference to its end now.
    ::close(pair[1]);
    if (failure) {
        ::close(pair[0]);
        if (error)
            *error = "attach to " + vhciDirectory_ + " port " + std::to_string(port_) + ": " +
                     std::strerror(failure);
        return false;
    }
    plugged_ = true;
    fd_ = pair[0];
    log_.note("camera " + std::to_string(number_) + " plugged into port " + std::to_string(port_));
    const int fd = pair[0];
    thread_ = std::thread([this, fd] {
        UsbipConnection connection(*device_, log_, number_);
        IsochronousVideo video(camera_);
        connection.setVideo(&video);
        connection.setOnGone([this, fd] {
            if (detach() != 0) ::shutdown(fd, SHUT_RDWR);
        });
        const std::string why = connection.serve(fd);
        std::lock_guard<std::mutex> lock(mutex_);
        ::close(fd);
        fd_ = -1;
        plugged_ = false;
        log_.note("camera " + std::to_string(number_) + " disconnected: " + why);
    });
    return true;
}

int VhciPort::detach() {
    return writeAttribute(vhciDirectory_ + "/detach", std::to_string(port_) + "\n");
}

void VhciPort::unplug() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (plugged_) {
            if (const int failure = detach()) {
                // Closing our end disconnects the device as well.
                log_.note("camera " + std::to_string(number_) +
                          ": detach failed: " + std::strerror(failure));
                ::shutdown(fd_, SHUT_RDWR);
            }
        }
    }
    // The kernel closes its end of the connection and serving ends.
    if (thread_.joinable()) thread_.join();
}

}  // namespace orvella::usbip
