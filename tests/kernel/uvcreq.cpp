// uvcreq: sends raw UVC class requests to a camera through Orvella's Linux USB backend (sysfs,
// V4L2 and uvcvideo ioctls) and prints what comes back, so that the kernel tests can compare the
// backend's answers with what the device saw. Also lists the formats uvcvideo reports.
//
//   uvcreq [--camera N] UNIT SELECTOR REQUEST LENGTH [DATA] [, UNIT SELECTOR ...]...
//   uvcreq [--camera N] --formats
//   uvcreq [--camera N] --v4l2 get|set|query ID [VALUE]
//   uvcreq [--camera N] --set-format FOURCC WIDTHxHEIGHT
//   uvcreq [--camera N] --stream FOURCC WIDTHxHEIGHT COUNT
//   uvcreq --hold NODE SECONDS
//
// --hold opens NODE (a capture node), keeps it open for SECONDS without streaming and closes it:
// another program holding the camera, as seen by anyone who watches the node or scans /proc for
// it. It opens nothing else, so watchers see exactly one open and one close.
// --stream takes COUNT frames through the capture backend's memory-mapped stream and prints one
// line per frame ("frame SEQ FOURCC WxH BYTES ok|bad", bad when an uncompressed frame has the
// wrong size or an MJPEG frame lacks its start or end marker), then "streamed N"; a camera that
// cannot be opened prints "open failed: STATUS DESCRIPTION" and exits 1.
//
// REQUEST is set_cur, get_cur, get_min, get_max, get_res, get_len, get_info or get_def; DATA the
// bytes of a set_cur in hexadecimal. Each request prints one line: the IOReturn status in
// hexadecimal, then the bytes answered ("-" when none). All requests of one run go through the
// same interface handle, as the camera core's do.

#include <fcntl.h>
#include <linux/videodev2.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/UvcRequest.h"
#include "platform/linux/LinuxUsbHost.h"
#include "platform/linux/V4l2CaptureDevices.h"
#include "platform/linux/VideoIo.h"

namespace {

using namespace orvella;

const std::map<std::string, uint8_t> kRequests{
    {"set_cur", 0x01}, {"get_cur", 0x81}, {"get_min", 0x82},  {"get_max", 0x83},
    {"get_res", 0x84}, {"get_len", 0x85}, {"get_info", 0x86}, {"get_def", 0x87}};

int usage() {
    std::fputs(
        "usage: uvcreq [--camera N] UNIT SELECTOR REQUEST LENGTH [DATA] [, ...]\n"
        "       uvcreq [--camera N] --formats\n",
        stderr);
    return 2;
}

std::optional<std::vector<uint8_t>> fromHex(const std::string& text) {
    if (text.size() % 2) return std::nullopt;
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i < text.size(); i += 2) {
        char* end = nullptr;
        const std::string pair = text.substr(i, 2);
        const unsigned long v = std::strtoul(pair.c_str(), &end, 16);
        if (*end) return std::nullopt;
        bytes.push_back(static_cast<uint8_t>(v));
    }
    return bytes;
}

// The VideoControl interface of the n-th USB device that has one.
std::shared_ptr<platform::UsbInterface> controlInterface(platform::UsbHost& host, int n) {
    std::vector<std::shared_ptr<platform::UsbDeviceService>> services;
    host.getMatchingServices(services);
    for (const auto& service : services) {
        bool got = false;
        std::shared_ptr<platform::UsbDevice> device;
        if (service->createPlugIn(got) != kIOReturnSuccess || !got ||
            service->queryInterface(device))
            continue;
        std::vector<std::shared_ptr<platform::UsbInterfaceService>> interfaces;
        device->createInterfaceIterator(interfaces);
        for (const auto& interfaceService : interfaces) {
            std::shared_ptr<platform::UsbInterface> handle;
            if (interfaceService->createPlugIn(got) || !got ||
                interfaceService->queryInterface(handle))
                continue;
            uint8_t cls = 0, sub = 0;
            handle->getInterfaceClass(cls);
            handle->getInterfaceSubClass(sub);
            if (cls == 0x0E && sub == 1 && --n == 0) return handle;
        }
    }
    return nullptr;
}

void printFormats(const std::string& node) {
    int error = 0;
    auto io = linuxplatform::PosixVideoIoOpener::shared().open(node, &error);
    if (!io) {
        std::printf("%s: %s\n", node.c_str(), std::strerror(error));
        return;
    }
    for (uint32_t f = 0;; ++f) {
        v4l2_fmtdesc format{};
        format.index = f;
        format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (io->ioctl(VIDIOC_ENUM_FMT, &format) < 0) break;
        const uint32_t p = format.pixelformat;
        for (uint32_t s = 0;; ++s) {
            v4l2_frmsizeenum size{};
            size.index = s;
            size.pixel_format = p;
            if (io->ioctl(VIDIOC_ENUM_FRAMESIZES, &size) < 0 ||
                size.type != V4L2_FRMSIZE_TYPE_DISCRETE)
                break;
            std::printf("%c%c%c%c %ux%u", p & 0xFF, p >> 8 & 0xFF, p >> 16 & 0xFF, p >> 24 & 0xFF,
                        size.discrete.width, size.discrete.height);
            for (uint32_t i = 0;; ++i) {
                v4l2_frmivalenum interval{};
                interval.index = i;
                interval.pixel_format = p;
                interval.width = size.discrete.width;
                interval.height = size.discrete.height;
                if (io->ioctl(VIDIOC_ENUM_FRAMEINTERVALS, &interval) < 0) break;
                if (interval.type == V4L2_FRMIVAL_TYPE_DISCRETE) {
                    std::printf(" %u/%u", interval.discrete.numerator,
                                interval.discrete.denominator);
                } else {
                    std::printf(" %u/%u..%u/%u+%u/%u", interval.stepwise.min.numerator,
                                interval.stepwise.min.denominator, interval.stepwise.max.numerator,
                                interval.stepwise.max.denominator, interval.stepwise.step.numerator,
                                interval.stepwise.step.denominator);
                    break;
                }
            }
            std::printf("\n");
        }
    }
}

const char* errnoName(int error) {
    static const std::map<int, const char*> kNames{
        {EACCES, "EACCES"},   {EILSEQ, "EILSEQ"}, {EINVAL, "EINVAL"},   {ERANGE, "ERANGE"},
        {EIO, "EIO"},         {EPIPE, "EPIPE"},   {ENODEV, "ENODEV"},   {ETIMEDOUT, "ETIMEDOUT"},
        {EBUSY, "EBUSY"},     {ENOENT, "ENOENT"}, {EPROTO, "EPROTO"},   {ESHUTDOWN, "ESHUTDOWN"},
        {EREMOTE, "EREMOTE"}, {ENOTTY, "ENOTTY"}, {ENOBUFS, "ENOBUFS"}, {EBADRQC, "EBADRQC"}};
    const auto it = kNames.find(error);
    return it == kNames.end() ? "E?" : it->second;
}

// One V4L2 control ioctl on the capture node, with the driver's errno shown by name:
// "get ID", "set ID VALUE" (prints the value the driver settled on) or "query ID" (minimum,
// maximum, step, default and flags).
int v4l2Control(const std::string& node, const std::vector<std::string>& args) {
    int error = 0;
    auto io = linuxplatform::PosixVideoIoOpener::shared().open(node, &error);
    if (!io) {
        std::printf("error %s\n", errnoName(error));
        return 1;
    }
    const auto id = static_cast<uint32_t>(std::strtoul(args[1].c_str(), nullptr, 0));
    int result;
    if (args[0] == "query") {
        v4l2_query_ext_ctrl q{};
        q.id = id;
        result = io->ioctl(VIDIOC_QUERY_EXT_CTRL, &q);
        if (result == 0)
            std::printf("ok %lld %lld %llu %lld 0x%x\n", static_cast<long long>(q.minimum),
                        static_cast<long long>(q.maximum), static_cast<unsigned long long>(q.step),
                        static_cast<long long>(q.default_value), q.flags);
    } else {
        v4l2_ext_control control{};
        control.id = id;
        if (args.size() > 2)
            control.value = static_cast<int32_t>(std::strtol(args[2].c_str(), nullptr, 0));
        v4l2_ext_controls list{};
        list.which = V4L2_CTRL_WHICH_CUR_VAL;
        list.count = 1;
        list.controls = &control;
        result = io->ioctl(args[0] == "set" ? VIDIOC_S_EXT_CTRLS : VIDIOC_G_EXT_CTRLS, &list);
        if (result == 0) std::printf("ok %d\n", control.value);
    }
    if (result < 0) std::printf("error %s\n", errnoName(-result));
    return 0;
}

// Sets the node's format (VIDIOC_S_FMT, which makes uvcvideo negotiate with the camera through
// the probe control) and prints what the driver settled on.
int setFormat(const std::string& node, const std::string& fourcc, const std::string& size) {
    int error = 0;
    auto io = linuxplatform::PosixVideoIoOpener::shared().open(node, &error);
    unsigned width = 0, height = 0;
    if (!io || fourcc.size() != 4 || std::sscanf(size.c_str(), "%ux%u", &width, &height) != 2)
        return 1;
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    format.fmt.pix.pixelformat = v4l2_fourcc(fourcc[0], fourcc[1], fourcc[2], fourcc[3]);
    format.fmt.pix.width = width;
    format.fmt.pix.height = height;
    const int result = io->ioctl(VIDIOC_S_FMT, &format);
    if (result < 0) {
        std::printf("error %s\n", errnoName(-result));
        return 0;
    }
    const uint32_t p = format.fmt.pix.pixelformat;
    std::printf("%c%c%c%c %ux%u %u\n", p & 0xFF, p >> 8 & 0xFF, p >> 16 & 0xFF, p >> 24 & 0xFF,
                format.fmt.pix.width, format.fmt.pix.height, format.fmt.pix.sizeimage);
    return 0;
}

}  // namespace

// Frames of a stream, counted on the capture thread.
class FrameCounter final : public platform::CaptureStreamClient {
  public:
    explicit FrameCounter(int wanted) : wanted_(wanted) {}
    void streamDidOutputFrame(const platform::FramePtr& frame) override {
        std::lock_guard lock(mutex_);
        if (count_ >= wanted_) return;
        const auto* b = reinterpret_cast<const uint8_t*>(frame->data.constData());
        const auto n = static_cast<size_t>(frame->data.size());
        bool good;
        if (frame->pixelFormat == platform::kPixelFormatMJPG)
            good = n > 4 && b[0] == 0xFF && b[1] == 0xD8 && b[n - 2] == 0xFF && b[n - 1] == 0xD9;
        else
            good =
                n == static_cast<size_t>(frame->bytesPerLine) * static_cast<size_t>(frame->height);
        const uint32_t f = frame->pixelFormat;
        std::printf("frame %llu %c%c%c%c %dx%d %zu %s\n",
                    static_cast<unsigned long long>(frame->sequence), char(f >> 24), char(f >> 16),
                    char(f >> 8), char(f), frame->width, frame->height, n, good ? "ok" : "bad");
        ++count_;
        done_.notify_all();
    }
    void streamDidFail(IOReturn status, const QString& reason) override {
        std::lock_guard lock(mutex_);
        std::printf("stream failed: 0x%08x %s\n", static_cast<uint32_t>(status),
                    reason.toLocal8Bit().constData());
        failed_ = true;
        done_.notify_all();
    }
    int wait(std::chrono::seconds limit) {
        std::unique_lock lock(mutex_);
        done_.wait_for(lock, limit, [&] { return count_ >= wanted_ || failed_; });
        return count_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable done_;
    int wanted_;
    int count_ = 0;
    bool failed_ = false;
};

int stream(platform::CaptureDevice& device, const std::string& fourcc, const std::string& size,
           int count) {
    unsigned width = 0, height = 0;
    if (fourcc.size() != 4 || std::sscanf(size.c_str(), "%ux%u", &width, &height) != 2) return 2;
    platform::StreamFormat format;
    format.pixelFormat = uint32_t(uint8_t(fourcc[0])) << 24 | uint32_t(uint8_t(fourcc[1])) << 16 |
                         uint32_t(uint8_t(fourcc[2])) << 8 | uint8_t(fourcc[3]);
    format.width = static_cast<int32_t>(width);
    format.height = static_cast<int32_t>(height);
    auto s = device.createStream();
    platform::StreamError error;
    if (const IOReturn status = s->open(&error); status != kIOReturnSuccess) {
        std::printf("open failed: 0x%08x %s\n", static_cast<uint32_t>(status),
                    error.localizedDescription.toLocal8Bit().constData());
        return 1;
    }
    s->setFormat(format);
    FrameCounter counter(count);
    if (const IOReturn status = s->start(&counter); status != kIOReturnSuccess) {
        std::printf("start failed: 0x%08x\n", static_cast<uint32_t>(status));
        return 1;
    }
    const int got = counter.wait(std::chrono::seconds(30));
    s->close();
    std::printf("streamed %d\n", got);
    std::fflush(stdout);
    return got == count ? 0 : 1;
}

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    int camera = 1;
    if (args.size() >= 2 && args[0] == "--camera") {
        camera = std::atoi(args[1].c_str());
        args.erase(args.begin(), args.begin() + 2);
    }
    // The capture-node modes work on the camera's capture device; a camera that is not there
    // ends the run with status 1.
    const bool v4l2 = args.size() >= 3 && args[0] == "--v4l2";
    const bool setFormatMode = args.size() == 3 && args[0] == "--set-format";
    const bool streamMode = args.size() == 4 && args[0] == "--stream";
    const bool formats = args.size() == 1 && args[0] == "--formats";
    if (args.size() == 3 && args[0] == "--hold") {
        const int fd = ::open(args[1].c_str(), O_RDWR);
        if (fd < 0) {
            std::fprintf(stderr, "uvcreq: cannot open %s: %s\n", args[1].c_str(),
                         std::strerror(errno));
            return 1;
        }
        std::this_thread::sleep_for(std::chrono::seconds(std::atoi(args[2].c_str())));
        ::close(fd);
        return 0;
    }
    if (v4l2 || setFormatMode || streamMode || formats) {
        linuxplatform::V4l2CaptureDeviceSystem capture;
        const auto devices = capture.scan();
        if (camera < 1 || static_cast<size_t>(camera) > devices.size()) return 1;
        linuxplatform::V4l2CaptureDevice& device = *devices[static_cast<size_t>(camera - 1)];
        if (v4l2) return v4l2Control(device.devicePath(), {args.begin() + 1, args.end()});
        if (setFormatMode) return setFormat(device.devicePath(), args[1], args[2]);
        if (streamMode) {
            setvbuf(stdout, nullptr, _IOLBF, 0);
            return stream(device, args[1], args[2], std::atoi(args[3].c_str()));
        }
        printFormats(device.devicePath());
        return 0;
    }
    if (args.empty()) return usage();

    linuxplatform::LinuxUsbHost host;
    const auto interface = controlInterface(host, camera);
    if (!interface) {
        std::fprintf(stderr, "uvcreq: no camera %d\n", camera);
        return 1;
    }
    uint8_t number = 0;
    interface->getInterfaceNumber(number);
    args.push_back(",");
    std::vector<std::string> words;
    for (const std::string& word : args) {
        if (word != ",") {
            words.push_back(word);
            continue;
        }
        if (words.size() < 4 || words.size() > 5 || !kRequests.count(words[2])) return usage();
        const uint8_t code = kRequests.at(words[2]);
        std::vector<uint8_t> buffer(static_cast<size_t>(std::atoi(words[3].c_str())), 0);
        if (words.size() == 5) {
            const auto data = fromHex(words[4]);
            if (!data) return usage();
            std::copy_n(data->begin(), std::min(data->size(), buffer.size()), buffer.begin());
        }
        const uvc::ControlAddress at{static_cast<uint8_t>(std::atoi(words[0].c_str())),
                                     static_cast<uint8_t>(std::atoi(words[1].c_str())), number};
        const auto length = static_cast<uint16_t>(buffer.size());
        void* data = buffer.empty() ? nullptr : buffer.data();
        platform::ControlRequest request = code == uvc::SET_CUR
                                               ? uvc::setCurRequest(at, length, data)
                                               : uvc::getRequest(code, at, length, data);
        const IOReturn status = interface->controlRequest(0, request);
        std::printf("%08x ", static_cast<uint32_t>(status));
        if (code == uvc::SET_CUR || status != kIOReturnSuccess || request.wLenDone == 0)
            std::printf("-");
        else
            for (uint32_t i = 0; i < request.wLenDone && i < buffer.size(); ++i)
                std::printf("%02x", buffer[i]);
        std::printf("\n");
        words.clear();
    }
    return 0;
}
