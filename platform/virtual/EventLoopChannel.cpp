#include "platform/virtual/EventLoopChannel.h"

#include <QMetaObject>
#include <QObject>
#include <QThread>
#include <utility>

namespace orvella::virtualcam {

std::shared_ptr<EventLoopChannel> EventLoopChannel::toCurrentThread() {
    std::shared_ptr<EventLoopChannel> channel(new EventLoopChannel);
    channel->context_ = new QObject;
    return channel;
}

EventLoopChannel::~EventLoopChannel() {
    close();
}

bool EventLoopChannel::isOpen() {
    std::lock_guard<std::mutex> lock(mutex_);
    return context_ != nullptr;
}

void EventLoopChannel::post(std::function<void()> call) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!context_) return;
    QMetaObject::invokeMethod(
        context_,
        [channel = weak_from_this(), call = std::move(call)] {
            // A channel closed from another thread may still have calls queued here.
            const auto self = channel.lock();
            if (self && self->isOpen()) call();
        },
        Qt::QueuedConnection);
}

void EventLoopChannel::close() {
    QObject* context = nullptr;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        context = std::exchange(context_, nullptr);
    }
    if (!context) return;
    // Deleting the context on its own thread removes the calls queued for it; another thread
    // leaves that to the context's event loop.
    if (context->thread() == QThread::currentThread())
        delete context;
    else
        context->deleteLater();
}

}  // namespace orvella::virtualcam
