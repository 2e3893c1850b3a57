#include "app/QuitOnSignal.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "platform/Log.h"

namespace orvella::app {

namespace {
sigset_t quitSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGHUP);
    return set;
}
}  // namespace

void blockQuitSignals() {
    const sigset_t set = quitSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

QuitOnSignal::QuitOnSignal(QObject* parent) : QObject(parent) {
    const sigset_t set = quitSignals();
    fd_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (fd_ < 0) {
        // Unblocked again, so that the signals still end the program.
        pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
        NSLog("Cannot receive quit signals; they end the program at once");
        return;
    }
    notifier_ = std::make_unique<QSocketNotifier>(fd_, QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, &QuitOnSignal::readSignal);
}

QuitOnSignal::~QuitOnSignal() {
    notifier_.reset();
    if (fd_ >= 0) ::close(fd_);
}

void QuitOnSignal::readSignal() {
    signalfd_siginfo info;
    while (::read(fd_, &info, sizeof info) == static_cast<ssize_t>(sizeof info))
        emit quitRequested(static_cast<int>(info.ssi_signo));
}

}  // namespace orvella::app
