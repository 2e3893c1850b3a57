#include "platform/linux/VideoIo.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/linux/NodeUse.h"

namespace orvella::linuxplatform {

namespace {

class PosixVideoIo final : public VideoIo {
  public:
    PosixVideoIo(int fd, NodeKey key) : fd_(fd), key_(key) {}
    ~PosixVideoIo() override {
        ownnodeuse::willClose(key_);
        ::close(fd_);
        ownnodeuse::closed(key_);
    }
    PosixVideoIo(const PosixVideoIo&) = delete;
    PosixVideoIo& operator=(const PosixVideoIo&) = delete;

    int ioctl(unsigned long request, void* argument) override {
        // The node is opened blocking, where VIDIOC_DQEVENT would wait for an event.
        if (request == VIDIOC_DQEVENT) {
            pollfd p{fd_, POLLPRI, 0};
            if (::poll(&p, 1, 0) <= 0) return -ENOENT;
        }
        int result;
        do {
            result = ::ioctl(fd_, request, argument);
        } while (result < 0 && errno == EINTR);
        return result < 0 ? -errno : result;
    }

    void* mmap(size_t length, int64_t offset) override {
        void* address = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd_,
                               static_cast<off_t>(offset));
        return address == MAP_FAILED ? nullptr : address;
    }

    void munmap(void* address, size_t length) override {
        if (address) ::munmap(address, length);
    }

    int waitReadable(int timeoutMs) override {
        pollfd p{fd_, POLLIN, 0};
        int result;
        do {
            result = ::poll(&p, 1, timeoutMs);
        } while (result < 0 && errno == EINTR);
        if (result < 0) return -errno;
        if (result == 0) return 0;
        // An error without data: the device went away or the queue is not streaming.
        if ((p.revents & (POLLERR | POLLHUP)) && !(p.revents & POLLIN)) return -ENODEV;
        return 1;
    }

    int descriptor() const override { return fd_; }

  private:
    int fd_;
    NodeKey key_;
};

}  // namespace

std::unique_ptr<VideoIo> PosixVideoIoOpener::open(const std::string& path, int* error) {
    const NodeKey key = ownnodeuse::willOpen(path);
    const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    const int openError = errno;
    ownnodeuse::opened(key, fd >= 0);
    if (fd < 0) {
        if (error) *error = openError;
        return nullptr;
    }
    return std::make_unique<PosixVideoIo>(fd, key);
}

PosixVideoIoOpener& PosixVideoIoOpener::shared() {
    static PosixVideoIoOpener opener;
    return opener;
}

IOReturn ioReturnForErrno(int error) {
    switch (error) {
        case 0:
            return kIOReturnSuccess;
        case ENODEV:
        case ENXIO:
        case ESHUTDOWN:
        case EPROTO:
            return kIOReturnNoDevice;
        case ETIMEDOUT:
        case EBUSY:
        case EAGAIN:
            return kIOReturnNotResponding;
        case EPIPE:    // stall without an explanation
        case EILSEQ:   // wrong state (kernels before 6.3)
        case EACCES:   // wrong state, read-only or inactive control
        case ERANGE:   // out of range
        case EINVAL:   // invalid value, or no such control on the node
        case EIO:      // invalid unit, control or request
        case EREMOTE:  // power
        case ENOENT:   // no such extension unit or selector
        case EBADRQC:  // request the control does not support
        case ENOBUFS:  // wrong length for the control
        case ENOTTY:   // not a node with controls
            return kIOUSBPipeStalled;
        case EPERM:
            return kIOReturnNotPermitted;
        case ENOMEM:
            return kIOReturnNoMemory;
        case EFAULT:
            return kIOReturnBadArgument;
        case EOVERFLOW:
            return kIOReturnOverrun;
        default:
            return kIOReturnError;
    }
}

std::string openFailureText(const std::string& path, int error) {
    std::string text = "cannot open " + path + ": " + std::strerror(error);
    if (error == EACCES || error == EPERM)
        text +=
            " (add your user to the 'video' group with 'sudo usermod -aG video $USER' and "
            "log in again)";
    else if (error == EBUSY)
        text += " (another program holds the camera)";
    return text;
}

}  // namespace orvella::linuxplatform
