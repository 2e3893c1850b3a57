#pragma once
// The one door through which the Linux backend talks to a V4L2 device node: every ioctl goes
// through VideoIo, so the UVC translation is tested with a fake device and no kernel.

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/IOReturn.h"

namespace orvella::linuxplatform {

class VideoIo {
  public:
    virtual ~VideoIo() = default;
    // Returns the ioctl's non-negative result, or -errno. VIDIOC_DQEVENT never waits: -ENOENT
    // when no event is pending.
    virtual int ioctl(unsigned long request, void* argument) = 0;
    // The descriptor to watch on an event loop (pending V4L2 events raise POLLPRI); -1 when
    // there is none.
    virtual int descriptor() const { return -1; }

    // Streaming: maps a buffer the driver allocated (VIDIOC_QUERYBUF's length and offset), null
    // on failure; unmaps it; waits up to `timeoutMs` for a filled buffer to dequeue (1 ready,
    // 0 not yet, -errno on error). Nodes that only carry controls need none of them.
    virtual void* mmap(size_t length, int64_t offset) {
        (void)length;
        (void)offset;
        return nullptr;
    }
    virtual void munmap(void* address, size_t length) {
        (void)address;
        (void)length;
    }
    virtual int waitReadable(int timeoutMs) {
        (void)timeoutMs;
        return -ENOSYS;
    }
};

class VideoIoOpener {
  public:
    virtual ~VideoIoOpener() = default;
    // Opens a device node for reading and writing; null with *error = errno on failure.
    virtual std::unique_ptr<VideoIo> open(const std::string& path, int* error) = 0;
};

// Opens real device nodes, noting each open and close as this process's own
// (platform/linux/NodeUse.h); every video node this backend opens is opened here.
class PosixVideoIoOpener final : public VideoIoOpener {
  public:
    std::unique_ptr<VideoIo> open(const std::string& path, int* error) override;
    static PosixVideoIoOpener& shared();
};

// The status the camera core expects for an errno of a control ioctl or transfer:
// device gone -> no device; no answer in time or busy -> not responding (the core then wakes
// the device and retries once); refused by driver or device -> stall.
IOReturn ioReturnForErrno(int error);

// A one-line explanation of why a device node could not be opened, with what to do about it.
std::string openFailureText(const std::string& path, int error);

}  // namespace orvella::linuxplatform
