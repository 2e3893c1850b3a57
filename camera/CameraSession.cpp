#include "camera/CameraSession.h"

#include <QCoreApplication>
#include <QThread>
#include <algorithm>
#include <chrono>
#include <deque>
#include <mutex>
#include <thread>

#include "platform/Log.h"

namespace orvella {

namespace {

constexpr uint64_t kNoJob = UINT64_MAX;
// The camera's request count at the start of the job under way on this thread (kNoJob: none).
thread_local uint64_t tJobStartRequests = kNoJob;
// The camera's request count when its session last judged whether it answers (a session's thread
// serves one camera).
thread_local uint64_t tJudgedUpTo = 0;
// The key of the empty job settleAll sends.
constexpr uint64_t kSettleKey = UINT64_MAX;

}  // namespace

struct CameraSession::Shared {
    struct Entry {
        uint64_t key = 0;
        AskJob job;
    };

    std::mutex mutex;
    std::deque<Entry> queue;
    bool running = false;         // a job is under way
    bool drainScheduled = false;  // a drain is queued on the session thread
    bool closed = false;
    CameraSession* owner = nullptr;  // null once closed: replies go nowhere
    QObject* worker = nullptr;       // the session thread's receiver, while its loop runs
    int repliesInFlight = 0;         // replies queued to the interface thread, not yet run
    std::unique_ptr<QTCamera> camera;
    QString name;
    // A camera still to be built on the session thread, and whether that is under way.
    std::function<std::unique_ptr<QTCamera>()> build;
    bool building = false;
    std::function<void(bool built)> ready;
    std::vector<Job> atEnd;  // run on the session thread before the camera goes

    // Runs the queued jobs in order until the queue is empty. Session thread.
    static void drain(const std::shared_ptr<Shared>& shared);
    // Hands a reply and the camera's record to the owner, if there still is one. Session thread.
    static void publish(const std::shared_ptr<Shared>& shared, Reply reply);
    // Keeps the camera the session thread built (null: it could not be) and tells the owner.
    static void finishBuild(const std::shared_ptr<Shared>& shared,
                            std::unique_ptr<QTCamera> camera);
    // Queues `call` on the session thread; false when its loop has ended. Mutex held.
    bool toSessionThread(std::function<void()> call) {
        if (!worker) return false;
        return QMetaObject::invokeMethod(worker, std::move(call), Qt::QueuedConnection);
    }
};

namespace {

std::mutex gRegistryMutex;
std::vector<std::weak_ptr<CameraSession::Shared>>& registry() {
    static std::vector<std::weak_ptr<CameraSession::Shared>> sessions;
    return sessions;
}

// The sessions' thread objects, deleted on the interface thread once their thread has ended (a
// thread cannot delete its own object, and the interface's event loop may not run again).
std::vector<QThread*>& threads() {
    // Never destroyed: a thread still at work when the process ends keeps its object.
    static auto* all = new std::vector<QThread*>;
    return *all;
}
void reapThreads() {
    std::lock_guard registryLock(gRegistryMutex);
    std::erase_if(threads(), [](QThread* thread) {
        if (!thread->isFinished()) return false;
        thread->wait();
        delete thread;
        return true;
    });
}

// The session's thread: an event loop (changes followed behind the process's back arrive on it)
// that runs the jobs, and at its end destroys the camera on the thread that used it.
class SessionThread final : public QThread {
  public:
    explicit SessionThread(std::shared_ptr<CameraSession::Shared> shared)
        : shared_(std::move(shared)) {}

  protected:
    void run() override {
        QObject worker;
        {
            std::lock_guard lock(shared_->mutex);
            if (!shared_->closed) shared_->worker = &worker;
        }
        buildCamera();
        bool closed = false;
        {
            std::lock_guard lock(shared_->mutex);
            closed = shared_->closed;
            if (!closed) {
                // Jobs sent before the loop ran found no receiver.
                if (!shared_->queue.empty() && !shared_->drainScheduled) {
                    std::weak_ptr<CameraSession::Shared> weak = shared_;
                    shared_->drainScheduled = shared_->toSessionThread([weak] {
                        if (auto shared = weak.lock()) CameraSession::Shared::drain(shared);
                    });
                }
            }
        }
        if (!closed) exec();
        std::unique_ptr<QTCamera> camera;
        std::vector<CameraSession::Job> atEnd;
        {
            std::lock_guard lock(shared_->mutex);
            shared_->worker = nullptr;
            camera = std::move(shared_->camera);
            atEnd.swap(shared_->atEnd);
        }
        if (camera)
            for (const auto& job : atEnd)
                job(*camera);
        atEnd.clear();   // what the jobs hold goes on this thread too
        camera.reset();  // stops its following on this thread, whose loop registered it
        // Events the loop did not get to are the worker's; they go with it.
    }

  private:
    // A session made with a way to build its camera builds it first, here: probing reaches the
    // device, so it stays off the interface thread, which hears when the camera is ready.
    void buildCamera() {
        std::function<std::unique_ptr<QTCamera>()> build;
        {
            std::lock_guard lock(shared_->mutex);
            if (!shared_->build) return;
            build = std::move(shared_->build);
            shared_->build = nullptr;
            if (shared_->closed) {
                shared_->building = false;
                return;
            }
        }
        CameraSession::Shared::finishBuild(shared_, build());
    }

    std::shared_ptr<CameraSession::Shared> shared_;
};

}  // namespace

void CameraSession::Shared::drain(const std::shared_ptr<Shared>& shared) {
    for (;;) {
        Entry entry;
        {
            std::lock_guard lock(shared->mutex);
            if (shared->closed || shared->queue.empty()) {
                shared->drainScheduled = false;
                shared->running = false;
                return;
            }
            entry = std::move(shared->queue.front());
            shared->queue.pop_front();
            shared->running = true;
        }
        if (!shared->camera) {  // never built: nothing to run jobs on
            std::lock_guard lock(shared->mutex);
            shared->queue.clear();
            shared->running = false;
            shared->drainScheduled = false;
            return;
        }
        QTCamera& camera = *shared->camera;
        tJobStartRequests = camera.requestsMade();
        Reply reply = entry.job ? entry.job(camera) : Reply{};
        tJobStartRequests = kNoJob;
        publish(shared, std::move(reply));
    }
}

void CameraSession::Shared::finishBuild(const std::shared_ptr<Shared>& shared,
                                        std::unique_ptr<QTCamera> camera) {
    std::lock_guard lock(shared->mutex);
    shared->building = false;
    const bool built = camera != nullptr;
    if (camera) shared->name = camera->displayName();
    shared->camera = std::move(camera);
    CameraSession* owner = shared->owner;
    if (!owner) return;
    ++shared->repliesInFlight;
    const CameraSnapshot snapshot = built ? CameraSnapshot{*shared->camera->supportedControl(),
                                                           true, shared->camera->extraControls()}
                                          : CameraSnapshot{};
    QMetaObject::invokeMethod(
        &owner->mailbox_,
        [owner, shared, built, snapshot, camera = shared->camera.get()] {
            {
                std::lock_guard lock(shared->mutex);
                --shared->repliesInFlight;
            }
            owner->becameReady(camera, snapshot, built);
        },
        Qt::QueuedConnection);
}

void CameraSession::Shared::publish(const std::shared_ptr<Shared>& shared, Reply reply) {
    CameraSnapshot snapshot{*shared->camera->supportedControl(),
                            shared->camera->lastRequestAnswered(), shared->camera->extraControls()};
    std::lock_guard lock(shared->mutex);
    CameraSession* owner = shared->owner;
    if (!owner) return;
    ++shared->repliesInFlight;
    // The owner cannot go while the mutex is held (close() takes it first); events queued to its
    // mailbox die with the mailbox.
    QMetaObject::invokeMethod(
        &owner->mailbox_,
        [owner, shared, snapshot = std::move(snapshot), reply = std::move(reply)] {
            {
                std::lock_guard lock(shared->mutex);
                --shared->repliesInFlight;
            }
            owner->publish(snapshot, reply);
        },
        Qt::QueuedConnection);
}

CameraSession::CameraSession(std::unique_ptr<QTCamera> camera)
    : shared_(std::make_shared<Shared>()), identity_(camera.get()), shared_camera_(camera.get()) {
    snapshot_.controls = *camera->supportedControl();
    snapshot_.extras = camera->extraControls();
    shared_->name = camera->displayName();
    shared_->camera = std::move(camera);
    shared_->owner = this;
    start();
}

void CameraSession::start() {
    reapThreads();
    auto* thread = new SessionThread(shared_);
    thread->setObjectName(QStringLiteral("camera session"));
    thread->start();
    {
        std::lock_guard lock(gRegistryMutex);
        std::erase_if(registry(), [](const auto& weak) { return weak.expired(); });
        registry().push_back(shared_);
        threads().push_back(thread);
    }
}

CameraSession::CameraSession(std::function<std::unique_ptr<QTCamera>()> build,
                             std::function<void(bool built)> ready)
    : shared_(std::make_shared<Shared>()), identity_(nullptr), shared_camera_(nullptr) {
    shared_->owner = this;
    shared_->build = std::move(build);
    shared_->building = true;
    shared_->ready = std::move(ready);
    start();
}

void CameraSession::becameReady(QTCamera* camera, const CameraSnapshot& snapshot, bool built) {
    if (built) {
        identity_ = camera;
        shared_camera_ = camera;
        snapshot_ = snapshot;
    }
    const auto ready = std::move(shared_->ready);
    if (ready) ready(built);
}

CameraSession::~CameraSession() {
    close();
}

void CameraSession::close() {
    std::size_t dropped = 0;
    {
        std::lock_guard lock(shared_->mutex);
        if (shared_->closed) return;
        shared_->closed = true;
        shared_->owner = nullptr;
        dropped = shared_->queue.size();
        shared_->queue.clear();
        // The loop ends once the job under way (if any) returns; the camera goes with it.
        shared_->toSessionThread([] { QThread::currentThread()->quit(); });
    }
    // Replies already on their way would call into parts that may be gone by the time they run.
    QCoreApplication::removePostedEvents(&mailbox_);
    if (dropped > 0)
        NSLog("%s: the session closed with %zu request(s) still queued; they were dropped",
              qUtf8Printable(shared_->name), dropped);
}

void CameraSession::atEnd(Job job) {
    std::lock_guard lock(shared_->mutex);
    if (!shared_->closed) shared_->atEnd.push_back(std::move(job));
}

void CameraSession::post(Job job, uint64_t key) {
    enqueue(
        [job = std::move(job)](QTCamera& camera) -> Reply {
            job(camera);
            return {};
        },
        key);
}

void CameraSession::ask(AskJob job, uint64_t key) {
    enqueue(std::move(job), key);
}

void CameraSession::enqueue(AskJob job, uint64_t key) {
    std::lock_guard lock(shared_->mutex);
    if (shared_->closed) return;
    auto& queue = shared_->queue;
    const auto same = key == 0
                          ? queue.end()
                          : std::find_if(queue.begin(), queue.end(),
                                         [key](const Shared::Entry& e) { return e.key == key; });
    // The newer intent wins and goes where it would have gone had the older one never been
    // sent: after what was sent since (a set, then the record of what it set).
    if (same != queue.end()) queue.erase(same);
    queue.push_back({key, std::move(job)});
    if (!shared_->drainScheduled) {
        std::weak_ptr<Shared> weak = shared_;
        shared_->drainScheduled = shared_->toSessionThread([weak] {
            if (auto shared = weak.lock()) Shared::drain(shared);
        });
    }
}

void CameraSession::publish(const CameraSnapshot& snapshot, const Reply& reply) {
    const bool changed = !(snapshot.controls == snapshot_.controls) ||
                         snapshot.answering != snapshot_.answering ||
                         !extras::sameState(snapshot.extras, snapshot_.extras);
    snapshot_ = snapshot;
    if (reply) reply();
    if (changed)
        for (const auto& listener : listeners_)
            listener();
}

CameraSession::Publisher CameraSession::publisher() const {
    return [weak = std::weak_ptr<Shared>(shared_)](Reply reply) {
        if (auto shared = weak.lock()) {
            if (shared->camera) Shared::publish(shared, std::move(reply));
        }
    };
}

void CameraSession::onPublished(std::function<void()> listener) {
    listeners_.push_back(std::move(listener));
}

int CameraSession::pending() const {
    std::lock_guard lock(shared_->mutex);
    return static_cast<int>(shared_->queue.size()) + (shared_->running ? 1 : 0);
}

bool CameraSession::isThereAndAnswering(QTCamera& camera) {
    // Requests made since the last judgement (the step's write and read-back before the record
    // of it) say it; otherwise the camera is asked once.
    const bool inJob = tJobStartRequests != kNoJob;
    const bool answered = inJob && camera.requestsMade() > tJudgedUpTo
                              ? camera.lastRequestAnswered()
                              : camera.isAnswering();
    if (inJob) tJudgedUpTo = camera.requestsMade();
    return answered;
}

namespace {

// Every session's state, or none when a session is still at work.
bool allIdle(bool* anyAtWork) {
    std::lock_guard registryLock(gRegistryMutex);
    bool idle = true;
    int atWork = 0;
    for (const auto& weak : registry()) {
        auto shared = weak.lock();
        if (!shared) continue;
        std::lock_guard lock(shared->mutex);
        if (shared->worker || shared->camera) ++atWork;
        if (shared->closed) continue;
        if (!shared->queue.empty() || shared->running || shared->drainScheduled ||
            shared->building || shared->repliesInFlight > 0)
            idle = false;
    }
    if (anyAtWork) *anyAtWork = atWork > 0;
    return idle;
}

}  // namespace

bool CameraSession::settleAll(int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    // What a session thread's loop already holds (a change the camera told) comes before a job
    // sent now: one empty job per session, and its reply, mean that has been handled too.
    {
        std::lock_guard registryLock(gRegistryMutex);
        for (const auto& weak : registry()) {
            auto shared = weak.lock();
            if (!shared) continue;
            std::lock_guard lock(shared->mutex);
            if (shared->closed) continue;
            auto& queue = shared->queue;
            if (std::none_of(queue.begin(), queue.end(),
                             [](const Shared::Entry& e) { return e.key == kSettleKey; }))
                queue.push_back({kSettleKey, [](QTCamera&) { return Reply{}; }});
            if (!shared->drainScheduled) {
                std::weak_ptr<Shared> again = shared;
                shared->drainScheduled = shared->toSessionThread([again] {
                    if (auto s = again.lock()) Shared::drain(s);
                });
            }
        }
    }
    // Only posted events run here (the sessions' replies among them), not timers or sockets, so
    // that waiting for the sessions does not also run the rest of the application.
    for (;;) {
        QCoreApplication::sendPostedEvents();
        if (allIdle(nullptr)) {
            // Replies may have queued more work; look once more after running them.
            QCoreApplication::sendPostedEvents();
            if (allIdle(nullptr)) return true;
        }
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

namespace {

// Closed sessions whose thread has not let go of the camera yet.
int closingCount() {
    std::lock_guard registryLock(gRegistryMutex);
    int closing = 0;
    for (const auto& weak : registry())
        if (auto shared = weak.lock()) {
            std::lock_guard lock(shared->mutex);
            if (shared->closed && (shared->camera || shared->building)) ++closing;
        }
    return closing;
}

}  // namespace

bool CameraSession::waitForSessionsToEnd(int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (closingCount() > 0) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        QCoreApplication::sendPostedEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    // Their threads end right after they let go of their cameras; with no session open any
    // more, every thread object goes.
    for (;;) {
        reapThreads();
        if (busyCount() > 0) return true;  // open sessions keep their threads
        {
            std::lock_guard registryLock(gRegistryMutex);
            if (threads().empty()) return true;
        }
        if (std::chrono::steady_clock::now() >= deadline) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

int CameraSession::busyCount() {
    std::lock_guard registryLock(gRegistryMutex);
    int busy = 0;
    for (const auto& weak : registry())
        if (auto shared = weak.lock()) {
            std::lock_guard lock(shared->mutex);
            if (shared->running || shared->camera || shared->building) ++busy;
        }
    return busy;
}

}  // namespace orvella
