#pragma once
// Ends the event loop on SIGTERM, SIGINT or SIGHUP, so that a session logout, `kill` or Ctrl-C
// closes the application as Quit does: destructors run, the request log is complete, the bus
// name is given back. The signals arrive through a signalfd on the event loop; they must be
// blocked before any thread starts, so blockQuitSignals() is the first thing main() does.

#include <QObject>
#include <QSocketNotifier>
#include <memory>

namespace orvella::app {

// Blocks the three signals in this thread and every thread started after it.
void blockQuitSignals();

class QuitOnSignal final : public QObject {
    Q_OBJECT
  public:
    explicit QuitOnSignal(QObject* parent = nullptr);
    ~QuitOnSignal() override;

    // Whether the signals can be received (false: they keep their default action).
    bool isActive() const { return fd_ >= 0; }

  signals:
    // One of the signals came; carries its number.
    void quitRequested(int signal);

  private:
    void readSignal();

    int fd_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace orvella::app
