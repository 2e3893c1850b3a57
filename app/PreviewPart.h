#pragma once
// The controller's part for the panel's live preview of the current camera. The preview runs
// while the panel is shown, "Show preview" is on, the camera can stream and the machine is
// awake; it stops when any of that ends, and when the camera changes.
//
// The stream belongs to the camera's session: a QTCameraCapture made, started, switched to
// another format and stopped by session jobs, so the device's opens, format changes and closes
// never run on the interface thread. Frames go from the capture thread to the panel's
// CapturePreview without a copy (a relay keeps the latest frame's shared pointer; the widget
// takes it when it paints and decodes it at the size shown); the measured rate comes back queued.
//
// A V4L2 stream is exclusive, so the preview yields: when another program opens the camera's
// capture node, or the stream's start answers busy, the stream stops at once and "In use by
// another program" shows in its place; a few seconds after the other program has closed the node
// the preview starts again (not at once: a program that lost the race for the buffers and tries
// again gets the camera first). A busy start is also tried again every few seconds, since a
// program that opened the node before it was watched announces no close. A stream that shares the
// camera (a PipeWire node serves it) need not yield. A stream that ends by itself (the camera went
// away, failed) shows a note; so does a format the preview cannot read.

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <cstdint>
#include <memory>
#include <vector>

#include "camera/FormatEntry.h"

namespace orvella {
class CameraSession;
namespace settings {
class Preferences;
}
namespace ui {
class ControlPanel;
class PreviewArea;
}  // namespace ui
}  // namespace orvella

namespace orvella::app {

class PreviewPart final : public QObject {
    Q_OBJECT

  public:
    // What the preview is doing, as the interface last heard.
    enum class State {
        Off,       // not wanted (panel hidden, preference off, asleep, no camera that streams)
        Starting,  // the start is on its way to the camera's session
        Running,   // frames come
        InUse,     // another program has the camera; waiting for it to let go
        Failed,    // the stream could not start or ended by itself; a note shows why
    };

    // Milliseconds between tries while the camera answers busy.
    static constexpr int kBusyRetryMs = 2000;
    // Milliseconds after another program closed the camera before the preview takes it again.
    static constexpr int kTakeBackDelayMs = 3000;

    // Both borrowed; they outlive the part.
    PreviewPart(ui::ControlPanel& panel, settings::Preferences& preferences);
    ~PreviewPart() override;

    // The stored choice on the Preferences tab and in force (after the preferences' start-up).
    void showStored();
    // The user's choice on the Preferences tab: stored and in force at once.
    void clickShowPreview(bool on);

    // The current camera (null: none). The old camera's stream stops.
    void setCamera(CameraSession* camera);
    CameraSession* camera() const { return camera_; }
    void systemWillSleep();
    void systemDidWake();
    // Whether the panel is on screen (followed from its window's show and hide).
    bool panelShown() const { return panelShown_; }
    // Other programs' opens of a listed camera's capture node (the count its capture device
    // tells).
    void captureUseChanged(CameraSession* camera, int foreignOpens);
    // The user chose the format at `index` of the pop-up.
    void selectFormat(int index);

    State state() const { return state_; }
    // One item of the format pop-up: a format and size of the camera's list at one of its rates.
    struct Choice {
        FormatEntry format;
        double fps = 0;  // 0: the camera lists no rate for it (the device's own is taken)
    };
    // What the pop-up offers (the camera's format list, each size at each of its rates, the
    // highest first) and the one streamed.
    const std::vector<Choice>& formats() const { return formats_; }
    int currentFormat() const { return current_; }
    // The preview runs on a stream that shares the camera.
    bool sharesCamera() const { return shared_; }

  signals:
    // The frame rate measured over the last second while frames come.
    void frameRateMeasured(uint32_t fps);
    // The preview stopped: no rate is measured any more.
    void stopped();

  private:
    struct Side;
    class Relay;

    bool eventFilter(QObject* watched, QEvent* event) override;
    bool wanted() const;
    // Starts or stops the stream to match what is wanted, and shows it.
    void reconsider();
    void start();
    void stop();
    void setState(State state);
    // Replies from the camera's session (generation: the start they answer).
    void started(uint64_t generation, bool shares);
    void startFailed(uint64_t generation, bool busy, const QString& reason);
    void streamEnded(uint64_t generation, const QString& reason);
    void loadFormats();

    ui::ControlPanel& panel_;
    ui::PreviewArea& area_;
    settings::Preferences& preferences_;
    bool enabled_ = true;
    bool panelShown_ = false;
    bool asleep_ = false;
    CameraSession* camera_ = nullptr;
    bool streams_ = false;  // the current camera has a capture path
    int foreignOpens_ = 0;
    std::vector<Choice> formats_;
    int current_ = -1;
    State state_ = State::Off;
    bool active_ = false;  // a stream was asked for and not stopped since
    bool shared_ = false;
    uint64_t generation_ = 0;
    std::shared_ptr<Side> side_;    // the session side of the current camera
    std::shared_ptr<Relay> relay_;  // frames and rates from the session and capture threads
    QTimer retry_;
};

}  // namespace orvella::app
