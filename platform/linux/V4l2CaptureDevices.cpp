#include "platform/linux/V4l2CaptureDevices.h"

#include <linux/videodev2.h>

#include <QObject>
#include <QSocketNotifier>
#include <algorithm>
#include <filesystem>
#include <mutex>
#include <set>
#include <system_error>

#include "platform/CaptureIdentity.h"
#include "platform/linux/AlsaAudioDevice.h"
#include "platform/linux/ProcUsers.h"
#include "platform/linux/Sysfs.h"
#include "platform/linux/UsbDescriptors.h"
#include "platform/linux/V4l2CaptureStream.h"
#include "platform/pipewire/PipeWireCaptureStream.h"

namespace orvella::linuxplatform {

namespace fs = std::filesystem;

namespace {

// What identifies the node's current format: pixel format, size and frame interval. Empty when
// the node cannot be read.
std::string formatFingerprint(VideoIo& io) {
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (io.ioctl(VIDIOC_G_FMT, &format) < 0) return {};
    std::string print = std::to_string(format.fmt.pix.pixelformat) + ' ' +
                        std::to_string(format.fmt.pix.width) + 'x' +
                        std::to_string(format.fmt.pix.height);
    v4l2_streamparm parm{};
    parm.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (io.ioctl(VIDIOC_G_PARM, &parm) >= 0)
        print += ' ' + std::to_string(parm.parm.capture.timeperframe.numerator) + '/' +
                 std::to_string(parm.parm.capture.timeperframe.denominator);
    return print;
}

}  // namespace

// The format watch of one device, on the thread that registered the observer: the observer is
// called on that thread's event loop, never from inside a request.
struct V4l2CaptureDevice::FormatWatch {
    std::string path;
    VideoIoOpener& opener;
    platform::CaptureFormatObserver* observer;
    QObject context;                  // where a stream that started posts its news
    std::unique_ptr<VideoIo> events;  // the node with the source change subscribed
    std::unique_ptr<QSocketNotifier> notifier;
    std::unique_ptr<NodeUseWatch> use;
    std::string last;

    FormatWatch(std::string path, VideoIoOpener& opener, platform::CaptureFormatObserver* observer)
        : path(std::move(path)), opener(opener), observer(observer) {}

    std::string read() const {
        int error = 0;
        auto io = opener.open(path, &error);
        return io ? formatFingerprint(*io) : std::string();
    }
    // Reads the format again and tells it when it differs from the last one read.
    void recheck() {
        const std::string now = read();
        if (now.empty() || now == last) return;
        last = now;
        observer->captureFormatChanged();
    }
    void readEvents() {
        bool changed = false;
        for (;;) {
            v4l2_event event{};
            const int result = events->ioctl(VIDIOC_DQEVENT, &event);
            if (result == -ENOENT) break;
            if (result < 0) {
                // The node went away or cannot be read; its opens and closes still tell.
                notifier->setEnabled(false);
                break;
            }
            if (event.type == V4L2_EVENT_SOURCE_CHANGE) changed = true;
        }
        if (changed) recheck();
    }
};

// Streams start on any thread and may outlive the watch: they reach it through this relay, which
// the watch leaves before it goes.
struct V4l2CaptureDevice::StartRelay {
    std::mutex mutex;
    FormatWatch* watch = nullptr;

    void streamStarted(const std::shared_ptr<StartRelay>& self) {
        std::lock_guard lock(mutex);
        if (!watch) return;
        QMetaObject::invokeMethod(
            &watch->context,
            [self] {
                FormatWatch* now = nullptr;
                {
                    std::lock_guard again(self->mutex);
                    now = self->watch;
                }
                if (now) now->recheck();  // on the watch's own thread
            },
            Qt::QueuedConnection);
    }
};

V4l2CaptureDevice::V4l2CaptureDevice(std::string devicePath, std::string usbDirectory, QString name,
                                     uint32_t locationID, uint16_t vendor, uint16_t product,
                                     VideoIoOpener& opener,
                                     std::shared_ptr<const CaptureUserLookup> users)
    : devicePath_(std::move(devicePath)),
      usbDirectory_(std::move(usbDirectory)),
      name_(std::move(name)),
      locationID_(locationID),
      vendor_(vendor),
      product_(product),
      uniqueID_(platform::usbCaptureUniqueID(locationID, vendor, product)),
      modelUniqueID_(platform::usbCaptureModelUniqueID(vendor, product)),
      opener_(opener),
      users_(users ? std::move(users) : std::make_shared<CaptureUserLookup>("/proc")),
      relay_(std::make_shared<StartRelay>()) {}

std::vector<platform::CameraUser> V4l2CaptureDevice::captureUsers() const {
    return users_->usersOf(devicePath_);
}

void CaptureUserLookup::setPipeWireClientFinder(platform::PipeWireClientFinder finder) {
    std::lock_guard lock(mutex_);
    finder_ = std::move(finder);
}

std::vector<platform::CameraUser> CaptureUserLookup::usersOf(const std::string& devicePath) const {
    ProcScanOptions options;
    options.procRoot = procRoot_;
    std::vector<platform::CameraUser> found = processesHolding(devicePath, options);
    platform::PipeWireClientFinder finder;
    {
        std::lock_guard lock(mutex_);
        finder = finder_;
    }
    if (!finder) return found;
    std::vector<platform::CameraUser> users;
    bool asked = false;
    for (platform::CameraUser& user : found) {
        if (!isPipeWireProcess(user)) {
            users.push_back(std::move(user));
            continue;
        }
        // PipeWire and WirePlumber may both hold the node: one question is enough.
        if (asked) continue;
        asked = true;
        std::vector<platform::CameraUser> clients = finder(QString::fromStdString(devicePath));
        if (clients.empty()) {
            users.push_back(std::move(user));
            continue;
        }
        for (platform::CameraUser& client : clients) {
            client.viaPipeWire = true;
            users.push_back(std::move(client));
        }
    }
    return users;
}

std::vector<platform::CaptureFormatDescription> V4l2CaptureDevice::formatDescriptions() const {
    int error = 0;
    auto io = opener_.open(devicePath_, &error);
    if (!io) return {};
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (io->ioctl(VIDIOC_G_FMT, &format) < 0) return {};
    platform::CaptureFormatDescription description;
    // V4L2 packs the four characters little-endian; the seam wants the first character on top.
    const uint32_t p = format.fmt.pix.pixelformat;
    description.formatType =
        ((p & 0xFF) << 24) | ((p >> 8 & 0xFF) << 16) | ((p >> 16 & 0xFF) << 8) | (p >> 24);
    description.width = static_cast<int32_t>(format.fmt.pix.width);
    description.height = static_cast<int32_t>(format.fmt.pix.height);
    const char code[5] = {static_cast<char>(p & 0xFF), static_cast<char>(p >> 8 & 0xFF),
                          static_cast<char>(p >> 16 & 0xFF), static_cast<char>(p >> 24 & 0xFF), 0};
    description.localizedFormatSummary = QStringLiteral("%1, %2 x %3")
                                             .arg(QString::fromLatin1(code))
                                             .arg(description.width)
                                             .arg(description.height);
    return {description};
}

V4l2CaptureDevice::~V4l2CaptureDevice() {
    setFormatObserver(nullptr);
}

std::unique_ptr<platform::CaptureStream> V4l2CaptureDevice::createStream() {
    auto stream = std::make_unique<V4l2CaptureStream>(devicePath_, opener_);
    // A stream that starts may have set another format: the watch reads it again.
    stream->setStartedHook([relay = relay_] { relay->streamStarted(relay); });
    return stream;
}

std::unique_ptr<platform::CaptureStream> V4l2CaptureDevice::createSharedStream() {
    return pipewire::makeSharedStream(devicePath_);
}

bool V4l2CaptureDevice::setFormatObserver(platform::CaptureFormatObserver* observer) {
    {
        std::lock_guard lock(relay_->mutex);
        relay_->watch = nullptr;
    }
    formatWatch_.reset();
    if (!observer) return true;
    auto watch = std::make_unique<FormatWatch>(devicePath_, opener_, observer);
    // Another program's open or close: its stream may have set a format, or just ended.
    FormatWatch* raw = watch.get();
    watch->use = std::make_unique<NodeUseWatch>([raw](int) { raw->recheck(); });
    if (!watch->use->start(devicePath_)) return false;
    watch->last = watch->read();
    int error = 0;
    watch->events = opener_.open(devicePath_, &error);
    v4l2_event_subscription subscription{};
    subscription.type = V4L2_EVENT_SOURCE_CHANGE;
    if (watch->events && watch->events->descriptor() >= 0 &&
        watch->events->ioctl(VIDIOC_SUBSCRIBE_EVENT, &subscription) >= 0) {
        watch->notifier = std::make_unique<QSocketNotifier>(watch->events->descriptor(),
                                                            QSocketNotifier::Exception);
        QObject::connect(watch->notifier.get(), &QSocketNotifier::activated, watch->notifier.get(),
                         [raw] { raw->readEvents(); });
    } else {
        // uvcvideo sends no source changes: streams starting and other programs' opens and
        // closes are what tells.
        watch->events.reset();
    }
    formatWatch_ = std::move(watch);
    std::lock_guard lock(relay_->mutex);
    relay_->watch = formatWatch_.get();
    return true;
}

bool V4l2CaptureDevice::setCaptureUseObserver(platform::CaptureUseObserver* observer) {
    useWatch_.reset();
    if (!observer) return true;
    auto watch = std::make_unique<NodeUseWatch>(
        [observer](int foreignOpens) { observer->captureUseChanged(foreignOpens); });
    if (!watch->start(devicePath_)) return false;
    useWatch_ = std::move(watch);
    return true;
}

std::shared_ptr<platform::CaptureDevice> V4l2CaptureDevice::soundInputDevice() const {
    return cameraMicrophone(usbDirectory_);
}

std::optional<std::string> V4l2CaptureDevice::accessProblem() const {
    int error = 0;
    if (opener_.open(devicePath_, &error)) return std::nullopt;
    return openFailureText(devicePath_, error);
}

V4l2CaptureDeviceSystem::V4l2CaptureDeviceSystem(std::string sysfsRoot, std::string devRoot,
                                                 VideoIoOpener* opener, std::string procRoot)
    : sysfsRoot_(std::move(sysfsRoot)),
      devRoot_(std::move(devRoot)),
      opener_(opener ? *opener : PosixVideoIoOpener::shared()),
      users_(std::make_shared<CaptureUserLookup>(std::move(procRoot))) {}

void V4l2CaptureDeviceSystem::setPipeWireClientFinder(platform::PipeWireClientFinder finder) {
    users_->setPipeWireClientFinder(std::move(finder));
}

std::vector<std::shared_ptr<V4l2CaptureDevice>> V4l2CaptureDeviceSystem::scan() {
    std::vector<std::shared_ptr<V4l2CaptureDevice>> devices;
    std::set<fs::path> interfacesSeen;
    std::vector<fs::path> nodes;
    std::error_code error;
    for (const auto& entry :
         fs::directory_iterator(fs::path(sysfsRoot_) / "class" / "video4linux", error))
        nodes.push_back(entry.path());
    // video2 before video10.
    std::sort(nodes.begin(), nodes.end(), [](const fs::path& a, const fs::path& b) {
        const std::string x = a.filename().string(), y = b.filename().string();
        return x.size() != y.size() ? x.size() < y.size() : x < y;
    });
    for (const fs::path& node : nodes) {
        // The node's device is the VideoControl interface; its parent is the USB device.
        const fs::path interface = fs::canonical(node / "device", error);
        if (error || !interfacesSeen.insert(interface).second) continue;
        const auto capture = captureNodeOf(interface, devRoot_, opener_);
        if (!capture) continue;
        const fs::path usb = interface.parent_path();
        const auto bus = sysfs::readNumber(usb / "busnum", 10);
        const auto vendor = sysfs::readNumber(usb / "idVendor", 16);
        const auto product = sysfs::readNumber(usb / "idProduct", 16);
        if (!bus || !vendor || !product) continue;
        const uint32_t location = locationIDFor(static_cast<unsigned>(*bus),
                                                sysfs::readLine(usb / "devpath").value_or(""));
        devices.push_back(std::make_shared<V4l2CaptureDevice>(
            capture->devicePath, usb.string(), QString::fromStdString(capture->name), location,
            static_cast<uint16_t>(*vendor), static_cast<uint16_t>(*product), opener_, users_));
    }
    return devices;
}

std::vector<std::shared_ptr<platform::CaptureDevice>>
V4l2CaptureDeviceSystem::inputDevicesWithMediaType(platform::MediaType type) {
    std::vector<std::shared_ptr<platform::CaptureDevice>> devices;
    if (type != platform::MediaType::Video) return devices;
    // A listed device is known from now on: the next rescan must not report it as newly
    // connected, and a device found again is the same object its users already hold.
    for (auto& device : scan()) {
        const auto old = std::find_if(known_.begin(), known_.end(), [&](const auto& k) {
            return k->uniqueID() == device->uniqueID();
        });
        if (old != known_.end()) {
            devices.push_back(*old);
        } else {
            known_.push_back(device);
            devices.push_back(std::move(device));
        }
    }
    return devices;
}

void V4l2CaptureDeviceSystem::rescan(bool* pending) {
    bool waiting = false;
    std::vector<std::shared_ptr<V4l2CaptureDevice>> now;
    for (auto& device : scan()) {
        const bool known = std::any_of(known_.begin(), known_.end(), [&](const auto& k) {
            return k->uniqueID() == device->uniqueID();
        });
        if (!known && device->accessProblem()) {
            waiting = true;  // not usable yet; look again on the next rescan
            continue;
        }
        now.push_back(std::move(device));
    }
    std::vector<std::shared_ptr<V4l2CaptureDevice>> gone;
    for (const auto& old : known_) {
        const bool still = std::any_of(now.begin(), now.end(), [&](const auto& n) {
            return n->uniqueID() == old->uniqueID();
        });
        if (!still) gone.push_back(old);
    }
    std::vector<std::shared_ptr<V4l2CaptureDevice>> added;
    for (auto& device : now) {
        const auto old = std::find_if(known_.begin(), known_.end(), [&](const auto& k) {
            return k->uniqueID() == device->uniqueID();
        });
        if (old == known_.end())
            added.push_back(device);
        else
            device = *old;  // keep the object observers already hold
    }
    known_ = std::move(now);
    if (observer_) {
        for (const auto& device : gone)
            observer_->captureDeviceDisconnected(device);
        for (const auto& device : added)
            observer_->captureDeviceConnected(device);
    }
    if (pending) *pending = waiting;
}

}  // namespace orvella::linuxplatform
