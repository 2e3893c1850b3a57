#pragma once
// Hot-plug on Linux: a libudev monitor for the "usb" and "video4linux" subsystems on the Qt event
// loop. A camera raises a burst of events (its USB device, its interfaces, a capture and a
// metadata node); the monitor waits for the burst to settle, then lets the USB host and the
// capture-device system rescan, so each camera is reported once, and only when its capture node
// can be opened.

#include <QObject>
#include <QTimer>
#include <memory>

namespace orvella::linuxplatform {

class LinuxUsbHost;
class V4l2CaptureDeviceSystem;

class UdevMonitor final : public QObject {
    Q_OBJECT
  public:
    // Both are borrowed; either may be null.
    UdevMonitor(LinuxUsbHost* usb, V4l2CaptureDeviceSystem* capture, QObject* parent = nullptr);
    ~UdevMonitor() override;

    // Starts listening; false (with a logged reason) when udev cannot be reached.
    bool start();

    // Quiet time after the last event before rescanning, and the pause between rescans while a
    // new camera's node is not usable yet.
    static constexpr int kSettleMs = 300;
    static constexpr int kRetryMs = 250;
    static constexpr int kMaxRetries = 20;

  private:
    void eventArrived();
    void settle();

    struct Udev;
    std::unique_ptr<Udev> udev_;
    LinuxUsbHost* usb_;
    V4l2CaptureDeviceSystem* capture_;
    QTimer timer_;
    int retries_ = 0;
};

}  // namespace orvella::linuxplatform
