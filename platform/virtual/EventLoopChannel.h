#pragma once
// A way back to one thread's event loop for notifications raised on any thread: a posted call
// runs later on the thread that opened the channel, in the order posted, never inside the
// poster's own call. Calls still waiting when the channel closes are dropped.

#include <functional>
#include <memory>
#include <mutex>

class QObject;

namespace orvella::virtualcam {

class EventLoopChannel : public std::enable_shared_from_this<EventLoopChannel> {
  public:
    // A channel to the calling thread's event loop.
    static std::shared_ptr<EventLoopChannel> toCurrentThread();
    ~EventLoopChannel();
    EventLoopChannel(const EventLoopChannel&) = delete;
    EventLoopChannel& operator=(const EventLoopChannel&) = delete;

    // Queues `call`; ignored once the channel is closed. Any thread.
    void post(std::function<void()> call);
    // Drops the waiting calls and refuses new ones. Any thread.
    void close();

  private:
    EventLoopChannel() = default;
    bool isOpen();

    std::mutex mutex_;
    QObject* context_ = nullptr;  // lives in the thread that opened the channel
};

}  // namespace orvella::virtualcam
