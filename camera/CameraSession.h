#pragma once
// One camera's session: a thread of its own that owns the camera object and does all of its
// device I/O -- control requests, the fixed pauses some controls need, read-backs, building and
// applying settings records, the periodic re-send, the guard's restore. A camera that takes 4 ms a
// request, or 5 s when it does not answer, costs its own session that time and nobody else's.
//
// The interface thread (widgets, tray, bus object, timers) never touches the camera: it sends
// the session jobs, which run one after the other in the order they were sent, so the camera sees
// its requests and pauses in the order the interface asked for them. After each job the session
// publishes a snapshot of the camera's record (values, ranges, disabled flags) and whether the
// camera answered; the interface shows that. A job sent under a key replaces a job of the same
// key that has not started yet (the last slider value wins while the camera is slow); the newer
// job takes its place at the end of the queue.
//
// A session that is closed (the camera went away, the application quits) drops the jobs still
// waiting, with one log line; the job under way finishes on the session thread, which then
// destroys the camera object and ends. Nothing the user stored is touched by that: stored
// settings live in the preferences, which only the interface thread changes.
//
// Threads: everything here but `run`'s jobs is called on the interface thread (the thread that
// made the session). Jobs get the camera; replies run back on the interface thread.

#include <QObject>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "camera/QTCamera.h"
#include "camera/SupportedControl.h"

class QThread;

namespace orvella {

// What the interface shows of a camera, as its session last saw it.
struct CameraSnapshot {
    SupportedControl controls;
    // The camera answered the last request the session made (a stall is an answer).
    bool answering = true;
    // The controls beyond the catalog's rows, as the camera holds them.
    ExtraControls extras;
};

class CameraSession {
  public:
    // Takes the camera; identity fields (unique identifier, names, formats, the capture device)
    // are fixed from here on and may be read on the interface thread through camera().
    explicit CameraSession(std::unique_ptr<QTCamera> camera);
    // A session that first builds its camera on its own thread (building probes the device);
    // `ready` runs on the interface thread when that is done: built, or not (`build` returned
    // null). Until then camera() must not be called, and jobs wait.
    CameraSession(std::function<std::unique_ptr<QTCamera>()> build,
                  std::function<void(bool built)> ready);
    // Closes the session (see close()).
    ~CameraSession();
    // The camera is built (always, for a session made with a camera).
    bool isReady() const { return identity_ != nullptr; }
    CameraSession(const CameraSession&) = delete;
    CameraSession& operator=(const CameraSession&) = delete;

    // The camera, for its identity only: every operation that reaches the device is non-const.
    const QTCamera& camera() const { return *identity_; }
    // The camera for its capture path (capture/QTCameraCapture.h), which streams on a thread of
    // its own and touches the capture device and the capture state, never the controls.
    QTCamera& captureCamera() const { return *shared_camera_; }

    using Job = std::function<void(QTCamera&)>;
    using Reply = std::function<void()>;
    // A job that computes what the interface thread then does: it returns the reply to run there
    // (or an empty function).
    using AskJob = std::function<Reply(QTCamera&)>;

    // Queues a job. A non-zero key drops a job queued under the same key that has not started.
    void post(Job job, uint64_t key = 0);
    void ask(AskJob job, uint64_t key = 0);

    // Called on the interface thread after each job's reply, when the snapshot has changed
    // (several listeners may register; they stay for the session's life).
    void onPublished(std::function<void()> listener);
    const CameraSnapshot& snapshot() const { return snapshot_; }
    bool answering() const { return snapshot_.answering; }
    // Jobs queued or under way.
    int pending() const;
    // For handlers the camera calls on the session thread outside a job (changes followed behind
    // the process's back): hands a reply, with the camera's record as it is now, to the
    // interface thread. Safe to call after the session closed (nothing arrives then).
    using Publisher = std::function<void(Reply)>;
    Publisher publisher() const;

    // Drops the waiting jobs (one log line names how many) and lets the session thread destroy
    // the camera once the job under way is done. Idempotent.
    void close();
    // Runs `job` on the session thread when the session ends, just before the camera is
    // destroyed, whatever jobs close() dropped: for work that holds the camera and must let go
    // of it on that thread (a preview's stream). Nothing runs for a camera never built, nor when
    // the session is closed already (its jobs are dropped too).
    void atEnd(Job job);

    // Whether the camera answers: in a job, the last request the session made since it last
    // judged (a slider step's write and read-back, before the record of it), else one read of
    // the camera's request error code. Session thread only.
    static bool isThereAndAnswering(QTCamera& camera);

    // For tests and tools: waits, running the interface thread's posted events (not its timers),
    // until every session is idle and every reply has run, or `timeoutMs` passed. True when idle.
    static bool settleAll(int timeoutMs = 10000);
    // Sessions (open or closing) whose thread is still at work.
    static int busyCount();
    // Waits, running the interface thread's posted events, until every closed session's thread
    // has let go of its camera (it does once its job under way returns). True when none is left.
    static bool waitForSessionsToEnd(int timeoutMs);

    // The key of a job that sets one control, and of one that reads the entries of a setting
    // identifier for the last-state record (by settings identifier; 0 all).
    static constexpr uint64_t setKey(int32_t settingsID) {
        return 0x100u + static_cast<uint32_t>(settingsID);
    }
    static constexpr uint64_t recordKey(int32_t settingsID) {
        return 0x200000000u + static_cast<uint32_t>(settingsID);
    }
    // Keys of work where the latest request stands for the ones still waiting: the timer's
    // slider refresh and re-send, applying a whole record (a profile, the camera's defaults)
    // and reading the modes back for the panel.
    static constexpr uint64_t kRefreshKey = 1, kResendKey = 2, kApplyKey = 3, kStatusKey = 4;

    // The application's mark that the load-at-start profile was applied to this camera object
    // (interface thread).
    bool bLoadAtStart = false;

    struct Shared;

  private:
    void start();
    void enqueue(AskJob job, uint64_t key);
    // The session thread's report that the camera was built (interface thread).
    void becameReady(QTCamera* camera, const CameraSnapshot& snapshot, bool built);
    void publish(const CameraSnapshot& snapshot, const Reply& reply);

    std::shared_ptr<Shared> shared_;
    const QTCamera* identity_;
    QTCamera* shared_camera_;
    CameraSnapshot snapshot_;
    QObject mailbox_;  // lives on the interface thread; replies are queued to it
    std::vector<std::function<void()>> listeners_;
};

}  // namespace orvella
