#pragma once
// Capture devices on Linux: the V4L2 capture nodes that uvcvideo creates (not its metadata
// nodes), one per camera, with the identity strings other platforms give the same camera.

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/CaptureDevice.h"
#include "platform/linux/NodeUse.h"
#include "platform/linux/VideoIo.h"

namespace orvella::linuxplatform {

// How the devices of one system find who uses them: where /proc is, and who to ask when the
// holder of a node is PipeWire. Shared by the system and its devices; the finder may be set
// while sessions ask.
class CaptureUserLookup {
  public:
    explicit CaptureUserLookup(std::string procRoot) : procRoot_(std::move(procRoot)) {}
    void setPipeWireClientFinder(platform::PipeWireClientFinder finder);
    // The processes holding the node, each PipeWire holder replaced by the clients the finder
    // names (kept as it is when the finder names none).
    std::vector<platform::CameraUser> usersOf(const std::string& devicePath) const;

  private:
    std::string procRoot_;
    mutable std::mutex mutex_;
    platform::PipeWireClientFinder finder_;
};

class V4l2CaptureDevice final : public platform::CaptureDevice {
  public:
    V4l2CaptureDevice(std::string devicePath, std::string usbDirectory, QString name,
                      uint32_t locationID, uint16_t vendor, uint16_t product, VideoIoOpener& opener,
                      std::shared_ptr<const CaptureUserLookup> users = nullptr);
    ~V4l2CaptureDevice() override;

    QString uniqueID() const override { return uniqueID_; }
    QString modelUniqueID() const override { return modelUniqueID_; }
    QString localizedDisplayName() const override { return name_; }
    bool hasMediaType(platform::MediaType type) const override {
        return type == platform::MediaType::Video;
    }
    // The node's current format (VIDIOC_G_FMT); empty when the node cannot be opened.
    std::vector<platform::CaptureFormatDescription> formatDescriptions() const override;
    // Memory-mapped streaming from the node (platform/linux/V4l2CaptureStream.h).
    std::unique_ptr<platform::CaptureStream> createStream() override;
    // A stream from the PipeWire node that serves this node (platform/pipewire), shared with
    // every other PipeWire client; null without a daemon, without such a node, or with
    // ORVELLA_NO_PIPEWIRE set. One connection and registry round trip (at most about 1 s).
    std::unique_ptr<platform::CaptureStream> createSharedStream() override;
    // Other programs' opens of the node, from inotify; this process's own opens (every one goes
    // through PosixVideoIoOpener) are not counted.
    bool setCaptureUseObserver(platform::CaptureUseObserver* observer) override;
    // The processes that hold the node open, this one left out (platform/linux/ProcUsers.h), and
    // for PipeWire the clients its finder names. Scans /proc: not on the interface thread.
    std::vector<platform::CameraUser> captureUsers() const override;
    // The node's format (VIDIOC_G_FMT and G_PARM) is read again when the driver sends a source
    // change (V4L2_EVENT_SOURCE_CHANGE, subscribed where the driver offers it; uvcvideo may not),
    // when a stream of this device starts, and when another program opens or closes the node
    // (its stream ends with its close); a format that differs from the last one read is told.
    bool setFormatObserver(platform::CaptureFormatObserver* observer) override;
    // The ALSA card of the same USB device (platform/linux/AlsaAudioDevice.h).
    std::shared_ptr<platform::CaptureDevice> soundInputDevice() const override;

    const std::string& devicePath() const { return devicePath_; }
    const std::string& usbDirectory() const { return usbDirectory_; }
    uint32_t locationID() const { return locationID_; }
    uint16_t vendorID() const { return vendor_; }
    uint16_t productID() const { return product_; }
    // Why the node cannot be opened for reading and writing, with what to do; nullopt if it can.
    std::optional<std::string> accessProblem() const;

  private:
    std::string devicePath_;
    std::string usbDirectory_;
    QString name_;
    uint32_t locationID_;
    uint16_t vendor_;
    uint16_t product_;
    QString uniqueID_;
    QString modelUniqueID_;
    VideoIoOpener& opener_;
    std::shared_ptr<const CaptureUserLookup> users_;
    std::unique_ptr<NodeUseWatch> useWatch_;
    struct FormatWatch;
    struct StartRelay;
    std::unique_ptr<FormatWatch> formatWatch_;
    std::shared_ptr<StartRelay> relay_;
};

class V4l2CaptureDeviceSystem final : public platform::CaptureDeviceSystem {
  public:
    // The opener is borrowed (null = real device nodes); procRoot is where the devices look for
    // the processes that use them.
    explicit V4l2CaptureDeviceSystem(std::string sysfsRoot = "/sys", std::string devRoot = "/dev",
                                     VideoIoOpener* opener = nullptr,
                                     std::string procRoot = "/proc");

    // Who to ask for the program behind PipeWire when PipeWire holds a node (null = nobody);
    // the devices listed before and after use it.
    void setPipeWireClientFinder(platform::PipeWireClientFinder finder);

    std::vector<std::shared_ptr<platform::CaptureDevice>> inputDevicesWithMediaType(
        platform::MediaType type) override;

    // Reads the cameras present now, in node order.
    std::vector<std::shared_ptr<V4l2CaptureDevice>> scan();

    // Rescans and tells the observer about cameras that appeared or went away since the last
    // rescan. A camera whose node cannot be opened yet (udev still setting permissions) is held
    // back until a later rescan finds it usable; `pending` says whether one is waiting.
    void rescan(bool* pending = nullptr);

  private:
    std::string sysfsRoot_;
    std::string devRoot_;
    VideoIoOpener& opener_;
    std::shared_ptr<CaptureUserLookup> users_;
    std::vector<std::shared_ptr<V4l2CaptureDevice>> known_;
};

}  // namespace orvella::linuxplatform
