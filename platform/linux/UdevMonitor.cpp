#include "platform/linux/UdevMonitor.h"

#include <libudev.h>

#include <QSocketNotifier>

#include "platform/Log.h"
#include "platform/linux/LinuxUsbHost.h"
#include "platform/linux/V4l2CaptureDevices.h"

namespace orvella::linuxplatform {

struct UdevMonitor::Udev {
    udev* context = nullptr;
    udev_monitor* monitor = nullptr;
    std::unique_ptr<QSocketNotifier> notifier;

    ~Udev() {
        notifier.reset();
        if (monitor) udev_monitor_unref(monitor);
        if (context) udev_unref(context);
    }
};

UdevMonitor::UdevMonitor(LinuxUsbHost* usb, V4l2CaptureDeviceSystem* capture, QObject* parent)
    : QObject(parent), usb_(usb), capture_(capture) {
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, &UdevMonitor::settle);
}

UdevMonitor::~UdevMonitor() = default;

bool UdevMonitor::start() {
    auto udev = std::make_unique<Udev>();
    udev->context = udev_new();
    if (!udev->context) {
        NSLog("CameraControl Error: udev is not available; cameras plugged in later are not seen");
        return false;
    }
    // The "udev" source reports a node after the rules ran, so it exists with its permissions.
    udev->monitor = udev_monitor_new_from_netlink(udev->context, "udev");
    if (!udev->monitor ||
        udev_monitor_filter_add_match_subsystem_devtype(udev->monitor, "usb", "usb_device") < 0 ||
        udev_monitor_filter_add_match_subsystem_devtype(udev->monitor, "video4linux", nullptr) <
            0 ||
        udev_monitor_enable_receiving(udev->monitor) < 0) {
        NSLog("CameraControl Error: cannot listen to udev; cameras plugged in later are not seen");
        return false;
    }
    udev->notifier = std::make_unique<QSocketNotifier>(udev_monitor_get_fd(udev->monitor),
                                                       QSocketNotifier::Read);
    connect(udev->notifier.get(), &QSocketNotifier::activated, this, &UdevMonitor::eventArrived);
    udev_ = std::move(udev);
    // What is present now is reported at once, without waiting for an event.
    settle();
    return true;
}

void UdevMonitor::eventArrived() {
    // Drain every queued event; what they say is read back from sysfs when the burst settles.
    while (udev_device* device = udev_monitor_receive_device(udev_->monitor))
        udev_device_unref(device);
    retries_ = 0;
    timer_.start(kSettleMs);
}

void UdevMonitor::settle() {
    if (usb_) usb_->rescan();
    bool pending = false;
    if (capture_) capture_->rescan(&pending);
    if (pending && retries_ < kMaxRetries) {
        ++retries_;
        timer_.start(kRetryMs);
    }
}

}  // namespace orvella::linuxplatform
