#include "platform/linux/NodeUse.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QMetaObject>
#include <QSocketNotifier>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <vector>

#include "platform/Log.h"

namespace orvella::linuxplatform {

// One watch as every thread sees it; guarded by the registry's mutex.
struct NodeUseState {
    NodeKey key;
    std::string path;
    int fd = -1;
    std::function<void(int)> changed;
    QObject* context = nullptr;  // lives on the watching thread; null once stopped
    int foreign = 0;
    // Own opens and closes under way, and the events of them not yet read.
    int opening = 0, closing = 0;
    int ownOpens = 0, ownCloses = 0;
    std::vector<int> unreported;  // counts not yet told to the watching thread
    bool ended = false;
};

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<std::shared_ptr<NodeUseState>> watches;
};

Registry& registry() {
    static Registry instance;
    return instance;
}

NodeKey keyOf(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return {};
    return NodeKey{st.st_dev, st.st_ino};
}

// Reads every queued event of a watch and counts the ones that are not its own (under the
// registry's mutex).
void drain(NodeUseState& s) {
    alignas(inotify_event) char buffer[4096];
    while (!s.ended) {
        const ssize_t length = ::read(s.fd, buffer, sizeof buffer);
        if (length < 0 && errno == EINTR) continue;
        if (length <= 0) break;
        for (ssize_t offset = 0; offset + static_cast<ssize_t>(sizeof(inotify_event)) <= length;) {
            inotify_event event;
            std::memcpy(&event, buffer + offset, sizeof event);
            offset += static_cast<ssize_t>(sizeof event + event.len);
            if (event.mask & IN_OPEN) {
                if (s.ownOpens > 0)
                    --s.ownOpens;
                else
                    s.unreported.push_back(++s.foreign);
            }
            if (event.mask & IN_CLOSE) {
                if (s.ownCloses > 0) {
                    --s.ownCloses;
                } else if (s.foreign > 0) {
                    // A close of an open made before the watch began is not one to take back.
                    s.unreported.push_back(--s.foreign);
                }
            }
            if (event.mask & IN_Q_OVERFLOW)
                NSLog("CameraControl Error: too many opens of %s to follow; counts may be off",
                      s.path.c_str());
            if (event.mask & (IN_DELETE_SELF | IN_IGNORED | IN_UNMOUNT)) {
                NSLog("CameraControl: %s went away; no longer watching it for other programs' use",
                      s.path.c_str());
                s.ended = true;
            }
        }
    }
    // An own open or close raises its event before it returns, so with none under way every
    // own event has been read (merged ones included).
    if (!s.opening) s.ownOpens = 0;
    if (!s.closing) s.ownCloses = 0;
}

// Tells the watching thread's observer the counts its watch found.
void flush(const std::shared_ptr<NodeUseState>& state) {
    std::vector<int> counts;
    std::function<void(int)> changed;
    {
        std::lock_guard<std::mutex> lock(registry().mutex);
        if (!state->context) return;
        counts.swap(state->unreported);
        changed = state->changed;
    }
    for (int count : counts) {
        {
            std::lock_guard<std::mutex> lock(registry().mutex);
            if (!state->context) return;  // stopped by the observer
        }
        changed(count);
    }
}

// Runs `step` on every watch of `key`, reading their events first; counts found here are told
// later on the watching thread.
template <typename F>
void bracket(const NodeKey& key, F&& step) {
    if (!key.valid()) return;
    std::lock_guard<std::mutex> lock(registry().mutex);
    for (const auto& state : registry().watches) {
        if (!(state->key == key)) continue;
        step(*state);
        if (state->unreported.empty() || !state->context) continue;
        const std::weak_ptr<NodeUseState> weak = state;
        QMetaObject::invokeMethod(
            state->context,
            [weak] {
                if (const auto s = weak.lock()) flush(s);
            },
            Qt::QueuedConnection);
    }
}

}  // namespace

namespace ownnodeuse {

NodeKey willOpen(const std::string& path) {
    const NodeKey key = keyOf(path);
    bracket(key, [](NodeUseState& s) {
        drain(s);
        ++s.opening;
        ++s.ownOpens;
    });
    return key;
}

void opened(const NodeKey& key, bool succeeded) {
    bracket(key, [succeeded](NodeUseState& s) {
        s.opening = std::max(0, s.opening - 1);
        if (!succeeded) s.ownOpens = std::max(0, s.ownOpens - 1);  // no event to take
        drain(s);
    });
}

void willClose(const NodeKey& key) {
    bracket(key, [](NodeUseState& s) {
        drain(s);
        ++s.closing;
        ++s.ownCloses;
    });
}

void closed(const NodeKey& key) {
    bracket(key, [](NodeUseState& s) {
        s.closing = std::max(0, s.closing - 1);
        drain(s);
    });
}

}  // namespace ownnodeuse

NodeUseWatch::NodeUseWatch(std::function<void(int)> changed) : changed_(std::move(changed)) {}

NodeUseWatch::~NodeUseWatch() {
    stop();
}

bool NodeUseWatch::start(const std::string& path) {
    stop();
    auto state = std::make_shared<NodeUseState>();
    state->path = path;
    state->changed = changed_;
    state->key = keyOf(path);
    int error = state->key.valid() ? 0 : errno;
    if (!error) {
        state->fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        if (state->fd < 0) error = errno;
    }
    if (!error &&
        ::inotify_add_watch(state->fd, path.c_str(), IN_OPEN | IN_CLOSE | IN_DELETE_SELF) < 0)
        error = errno;
    if (error) {
        NSLog("CameraControl Error: cannot watch %s for other programs' use: %s", path.c_str(),
              std::strerror(error));
        if (state->fd >= 0) ::close(state->fd);
        return false;
    }
    notifier_ = std::make_unique<QSocketNotifier>(state->fd, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { readEvents(); });
    state->context = notifier_.get();
    {
        std::lock_guard<std::mutex> lock(registry().mutex);
        registry().watches.push_back(state);
    }
    state_ = std::move(state);
    return true;
}

void NodeUseWatch::stop() {
    if (state_) {
        {
            std::lock_guard<std::mutex> lock(registry().mutex);
            state_->context = nullptr;
            auto& watches = registry().watches;
            watches.erase(std::remove(watches.begin(), watches.end(), state_), watches.end());
        }
        ::close(state_->fd);
        state_.reset();
    }
    if (notifier_) {
        notifier_->setEnabled(false);
        // Inside the notifier's own signal it goes when the event loop gets back.
        if (reading_)
            notifier_.release()->deleteLater();
        else
            notifier_.reset();
    }
}

void NodeUseWatch::readEvents() {
    reading_ = true;
    const std::shared_ptr<NodeUseState> state = state_;
    {
        std::lock_guard<std::mutex> lock(registry().mutex);
        drain(*state);
        // Ended: the inotify descriptor has no watch left and stays quiet.
        if (state->ended) notifier_->setEnabled(false);
    }
    const std::weak_ptr<bool> alive = alive_;
    flush(state);  // the observer may stop or delete the watch
    if (!alive.expired()) reading_ = false;
}

}  // namespace orvella::linuxplatform
