#pragma once
// Sleep and wake on Linux: logind's PrepareForSleep(bool) signal on the system bus (true before
// the system sleeps, false after it woke), delivered on the Qt event loop. The bus is the one
// DBUS_SYSTEM_BUS_ADDRESS names, or the system's own. Without a bus, or with no logind on it,
// one line is logged and no notification ever comes; the program goes on.

#include <QObject>

#include "platform/PowerEvents.h"

namespace orvella::linuxplatform {

class LogindPower final : public QObject, public platform::PowerEventSource {
    Q_OBJECT
  public:
    explicit LogindPower(QObject* parent = nullptr);
    ~LogindPower() override;

    // Subscribes to the signal; false (with one logged line) when the system bus cannot be
    // reached. When logind is not on the bus yet, that is logged and the subscription stays, so
    // a logind that starts later is still heard.
    bool start();

  private slots:
    void prepareForSleep(bool start);

  private:
    bool started_ = false;
};

}  // namespace orvella::linuxplatform
