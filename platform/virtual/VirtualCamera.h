#pragma once
// A software UVC camera defined by a JSON file (docs/virtual-cameras.md): identity, raw
// class-specific descriptors, per-control answers, string descriptors and faults. It answers
// control requests as a camera would (ranges, clamping or stalling, GET_INFO bit 2 while an
// automatic mode governs a manual control, the request error code after a stall, the streaming
// interfaces' probe and commit controls, suspend), records every request with its exact bytes,
// and injects faults on demand. This class is the face the USB seam, the tools and the tests
// use; behind it the device model (DeviceModel.h) answers, the fault plan (FaultPlan.h) decides
// which requests fail before they reach it, and the request recorder (RequestRecorder.h) keeps
// what crossed the wire. Thread-safe: one mutex guards all three and the listeners.

#include <QJsonObject>
#include <QString>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/ControlEvents.h"
#include "platform/IOReturn.h"
#include "platform/Usb.h"
#include "platform/virtual/DeviceModel.h"
#include "platform/virtual/FaultPlan.h"
#include "platform/virtual/RequestRecorder.h"

namespace orvella::virtualcam {

class VirtualCamera {
  public:
    // Parses a definition; on failure returns null and sets *error to a one-line reason.
    static std::shared_ptr<VirtualCamera> fromJson(const QByteArray& json, QString* error,
                                                   const QString& origin = QString());
    static std::shared_ptr<VirtualCamera> fromFile(const QString& path, QString* error);
    // The bytes of a definition file: a regular file of at most kMaxDefinitionBytes (a device
    // or a pipe would be read for ever, a huge file into memory). False with a one-line reason
    // naming the file in *error otherwise.
    static bool readDefinitionFile(const QString& path, QByteArray* bytes, QString* error);
    // Definitions are a few kilobytes; descriptors written out in hex stay far below this.
    static constexpr qint64 kMaxDefinitionBytes = qint64{4} << 20;
    // The most pixels a frame of the `vs` descriptors may have (4096 x 2304, a little more than
    // 4K): the frame player renders each as RGB, 27 MB at this size, and keeps a loop of them.
    static constexpr int64_t kMaxFramePixels = int64_t{4096} * 2304;
    // The camera that --demo shows.
    static std::shared_ptr<VirtualCamera> demo();

    // ---- Identity ----
    uint16_t vendorID() const { return vendorID_; }
    uint16_t productID() const { return productID_; }
    uint32_t locationID() const { return locationID_; }
    const QString& productString() const { return productString_; }
    const QString& displayName() const { return displayName_; }
    uint8_t productStringIndex() const { return productStringIndex_; }
    // The serial-number string ("serialNumber"; empty: none) and its string index (0: none).
    const QString& serialNumber() const { return serialNumber_; }
    uint8_t serialNumberStringIndex() const { return serialNumberStringIndex_; }
    uint8_t vcInterfaceNumber() const { return vcInterfaceNumber_; }
    const std::vector<InterfaceDefinition>& interfaces() const { return model_.interfaces; }
    // The whole definition, for the parts of the system that read keys of their own.
    const QJsonObject& json() const { return json_; }
    const QString& origin() const { return origin_; }

    // ---- USB behaviour (called by the seam's handles) ----
    IOReturn controlRequest(uint8_t interfaceNumber, platform::ControlRequest& request);
    IOReturn deviceRequest(platform::DeviceRequestTO& request);
    IOReturn deviceInformation(uint32_t& info);
    IOReturn open();
    IOReturn suspend(bool suspend);
    IOReturn close();

    // ---- State, for tests and tools ----
    // The control at (unit, selector), if the device has one.
    std::optional<DeviceControl> control(uint8_t unit, uint8_t selector) const;
    // GET_CUR value decoded by its kind (pan/tilt: low 32 bits pan, high 32 bits tilt, raw).
    std::optional<int64_t> currentValue(uint8_t unit, uint8_t selector) const;
    // Sets the current value directly, bypassing clamping and the request log; a change is told
    // to the control-change listeners.
    bool setCurrentValue(uint8_t unit, uint8_t selector, int64_t value);
    // The unit ID of the first camera terminal / processing unit in the descriptors, 0 if none.
    uint8_t cameraTerminalID() const { return model_.cameraTerminalID; }
    uint8_t processingUnitID() const { return model_.processingUnitID; }

    // The request error code the device holds for its last class request on the VideoControl
    // interface (0 none, 2 wrong state, 4 out of range, 5 invalid unit, 6 invalid control, 7
    // invalid request, 8 invalid value within range), as the request error code control
    // (unit 0, selector 0x02) answers it.
    uint8_t requestErrorCode() const;
    // The probe or commit control of a VideoStreaming interface as it stands, empty when the
    // interface has none.
    std::vector<uint8_t> streamingControl(uint8_t interfaceNumber, uint8_t selector) const;

    // ---- Changes behind the host's back ----
    // Another program writes the control (pan/tilt: pan in the low 32 bits, tilt in the high):
    // clamped or refused exactly as the host's SET_CUR would be, recorded nowhere, and told to
    // the control-change listeners when the value changed. On refusal returns false with
    // *error set to a short reason.
    bool setByAnotherProgram(uint8_t unit, uint8_t selector, int64_t value,
                             std::string* error = nullptr);
    // Listeners hear every change that did not come from the host: the control's new value
    // (GET_CUR's bytes, little-endian) and, when an automatic mode changed, the controls it now
    // governs or releases (GET_INFO bit 2). Called on the changing thread, after the camera's
    // lock is released. The returned id removes the listener.
    using ControlChangeListener = std::function<void(const platform::ControlChange&)>;
    int addControlChangeListener(ControlChangeListener listener);
    void removeControlChangeListener(int id);

    // Another program opens the camera's capture node; false when the camera is gone. A named
    // opener (a pid or a program name) is one of the camera's users until it closes.
    bool openByAnotherProgram(int64_t pid = 0, const std::string& program = {});
    // Another program closes it: the opener with that pid, or with 0 the last one that opened
    // it; false when no other program (or none with that pid) has it open.
    bool closeByAnotherProgram(int64_t pid = 0);
    int foreignOpens() const;
    // The other programs that have the node open now, in the order they opened it.
    struct ForeignOpener {
        int64_t pid = 0;
        std::string program;
    };
    std::vector<ForeignOpener> foreignOpeners() const;
    // Listeners hear the number of other programs' opens after every open and close, like the
    // control-change listeners.
    using CaptureUseListener = std::function<void(int foreignOpens)>;
    int addCaptureUseListener(CaptureUseListener listener);
    void removeCaptureUseListener(int id);

    // The formats the VideoStreaming descriptors declare, one per frame size, in descriptor
    // order (four-character code with the first character on top).
    using StreamingFormat = virtualcam::StreamingFormat;
    std::vector<StreamingFormat> streamingFormats() const;
    // Another program's stream sets the capture node's format; false with *error when the
    // descriptors declare no such format and size, or the camera is gone. The format stays the
    // node's current one until another is set.
    bool streamFormatByAnotherProgram(uint32_t fourCC, int width, int height,
                                      std::string* error = nullptr);
    // The format another program's stream set last, if any.
    std::optional<StreamingFormat> formatSetByAnotherProgram() const;
    // Listeners hear each format another program's stream sets, like the capture-use listeners.
    using FormatListener = std::function<void()>;
    int addFormatListener(FormatListener listener);
    void removeFormatListener(int id);

    // ---- Faults ----
    // Every request to the control stalls; the request error code control then says `code`.
    void stallSelector(uint8_t unit, uint8_t selector, uint8_t code = 6);
    void clearStalls();
    // The next `count` control requests fail with `status` (kIOReturnNotResponding: "not
    // responding once") without reaching the device.
    void failNext(IOReturn status, int count = 1);
    // The next `count` control requests get no answer: each holds its caller for the unanswered
    // wait (the driver's time-out), then fails with kIOReturnNotResponding, as uvcvideo's ioctl
    // does on a camera that has fallen silent.
    void leaveUnanswered(int count);
    // How long a request left unanswered holds its caller: kDriverTimeout unless changed. Tests
    // shorten it; 0 answers at once, for a host that waits out its own time-out on the wire (the
    // USB/IP camera, where the kernel's driver does the waiting).
    void setUnansweredWait(std::chrono::milliseconds wait);
    // uvcvideo's time-out for a control request (UVC_CTRL_CONTROL_TIMEOUT).
    static constexpr std::chrono::milliseconds kDriverTimeout{5000};
    // The longest a request may be made to take: far beyond any host's time-out; more would only
    // hang the caller.
    static constexpr std::chrono::milliseconds kMaxRequestTime{60000};
    // Every control request that reaches the camera takes `perRequest` of real time, spent on
    // the thread that makes it, before it is answered; 0 answers at once again. A request left
    // unanswered takes the unanswered wait instead.
    void setSlowness(std::chrono::milliseconds perRequest);
    std::chrono::milliseconds slowness() const;
    // The n-th control request from now (1 = the next one) finds the device gone mid-request:
    // it and everything after it answer kIOReturnNoDevice.
    void vanishOnRequest(int n);
    // The n-th control request from now (1 = the next one) and the `count` - 1 after it fail with
    // `status` without reaching the device; count 0 = every request from then on (a camera that
    // stops answering for good, with kIOReturnNotResponding).
    void failOnRequest(int n, IOReturn status, int count = 0);
    void vanish();
    bool present() const;
    void setSuspended(bool suspended);
    bool suspended() const;
    // Number of times the device was resumed.
    int resumeCount() const;

    // ---- Request log ----
    std::vector<RecordedRequest> requests() const;
    void clearRequests();
    size_t requestCount() const;
    // Called with every request as it is recorded, on the thread that sent it and under the
    // camera's lock (so it must not call back into the camera); an empty function removes it.
    void setRequestObserver(std::function<void(const RecordedRequest&)> observer);

    struct Private;  // parsing helpers

  private:
    VirtualCamera() = default;

    void tellControlChanges(const std::vector<platform::ControlChange>& changes);
    void tellCaptureUse(int foreignOpens);

    mutable std::mutex mutex_;
    QJsonObject json_;
    QString origin_;
    uint16_t vendorID_ = 0;
    uint16_t productID_ = 0;
    uint32_t locationID_ = 0;
    QString productString_;
    QString displayName_;
    uint8_t productStringIndex_ = 2;
    QString serialNumber_;
    uint8_t serialNumberStringIndex_ = 0;
    uint8_t vcInterfaceNumber_ = 0;
    DeviceModel model_;
    FaultPlan faults_;
    RequestRecorder recorder_;
    bool suspended_ = false;
    std::chrono::milliseconds slowness_{0};
    std::chrono::milliseconds unansweredWait_ = kDriverTimeout;
    int openCount_ = 0;
    int resumeCount_ = 0;
    std::vector<ForeignOpener> foreignOpeners_;  // one per open, named or not
    int lastListenerID_ = 0;
    std::map<int, ControlChangeListener> controlListeners_;
    std::map<int, CaptureUseListener> useListeners_;
    std::optional<StreamingFormat> foreignFormat_;
    std::map<int, FormatListener> formatListeners_;

    friend class VirtualUsbHost;
    friend struct Private;
};

}  // namespace orvella::virtualcam
