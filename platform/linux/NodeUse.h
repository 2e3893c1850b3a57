#pragma once
// Who else has a device node open. The kernel tells every open and close of a node through
// inotify, this process's own included, and merges an event into an unread identical one before
// it. So each own open and close (PosixVideoIoOpener makes every one this backend makes) is
// bracketed here: the watches of the node read what is queued just before it, and just after it
// take the one event it raised as their own instead of counting it.

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>

class QSocketNotifier;

namespace orvella::linuxplatform {

// A node as the kernel tells it apart: the inode behind the path, whatever name reached it.
struct NodeKey {
    dev_t device = 0;
    ino_t inode = 0;
    bool valid() const { return device || inode; }
    bool operator==(const NodeKey& other) const {
        return device == other.device && inode == other.inode;
    }
};

// The brackets around this process's own opens and closes; safe from any thread.
namespace ownnodeuse {
// Before opening `path`; returns its key (invalid when it cannot be read).
NodeKey willOpen(const std::string& path);
void opened(const NodeKey& key, bool succeeded);
// Around closing a descriptor of the node.
void willClose(const NodeKey& key);
void closed(const NodeKey& key);
}  // namespace ownnodeuse

struct NodeUseState;

// Counts other programs' outstanding opens of one node and reports each change, on the event
// loop of the thread that started it (which must also destroy it).
class NodeUseWatch {
  public:
    explicit NodeUseWatch(std::function<void(int foreignOpens)> changed);
    ~NodeUseWatch();
    NodeUseWatch(const NodeUseWatch&) = delete;
    NodeUseWatch& operator=(const NodeUseWatch&) = delete;

    // False (with one log line) when the node cannot be watched.
    bool start(const std::string& path);

  private:
    void readEvents();
    void stop();

    std::function<void(int)> changed_;
    std::shared_ptr<NodeUseState> state_;
    std::unique_ptr<QSocketNotifier> notifier_;
    bool reading_ = false;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace orvella::linuxplatform
