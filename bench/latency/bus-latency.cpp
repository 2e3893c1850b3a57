// orvella-bus-latency: how long the running application takes to answer a cheap call on its bus
// object (IsPanelVisible), which its event loop serves, while ApplyProfile keeps a camera busy.
//
//   orvella-bus-latency [--seconds S] [--every MS] [--apply CAMERA PROFILE] [--wait S]
//
// For S seconds (default 10) a call is sent every MS ms (default 100) without waiting for the
// previous answer, so a caller that comes while the event loop is held up is counted as it waits;
// with --apply, ApplyProfile(CAMERA, PROFILE) is sent at the start and again each time it is
// answered. Then answers are awaited for up to --wait seconds (default 300). Prints one line:
//   calls ANSWERED/SENT median MEDIAN ms max MAX ms applies DONE
// with the round trips in milliseconds; status 1 when a call got an error or no answer.

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

const char kService[] = "org.orvella.Orvella";
const char kPath[] = "/org/orvella/Orvella";
const char kInterface[] = "org.orvella.Orvella";

struct Options {
    int seconds = 10;
    int everyMs = 100;
    int waitSeconds = 300;
    QString camera, profile;  // profile empty: no ApplyProfile
};

bool parse(const QStringList& arguments, Options& options) {
    for (int i = 1; i < arguments.size(); ++i) {
        const QString& arg = arguments[i];
        auto number = [&](int& out, int least) {
            bool ok = false;
            if (i + 1 < arguments.size()) out = arguments[++i].toInt(&ok);
            return ok && out >= least;
        };
        if (arg == QLatin1String("--seconds")) {
            if (!number(options.seconds, 0)) return false;
        } else if (arg == QLatin1String("--every")) {
            if (!number(options.everyMs, 1)) return false;
        } else if (arg == QLatin1String("--wait")) {
            if (!number(options.waitSeconds, 0)) return false;
        } else if (arg == QLatin1String("--apply") && i + 2 < arguments.size()) {
            options.camera = arguments[++i];
            options.profile = arguments[++i];
        } else {
            return false;
        }
    }
    return true;
}

class Probe : public QObject {
  public:
    explicit Probe(const Options& options)
        : options_(options), bus_(QDBusConnection::sessionBus()) {}

    void start() {
        clock_.start();
        if (!options_.profile.isEmpty()) apply();
        connect(&ticker_, &QTimer::timeout, this, [this] {
            if (clock_.elapsed() >= qint64{options_.seconds} * 1000) {
                ticker_.stop();
                sending_ = false;
                QTimer::singleShot(options_.waitSeconds * 1000, this, [this] { finish(); });
                finishIfDone();
                return;
            }
            ask();
        });
        ticker_.start(options_.everyMs);
    }

    int status() const { return status_; }

  private:
    // Long enough for any answer the bench waits for; the default 25 s would cut the worst off.
    int timeoutMs() const { return (options_.seconds + options_.waitSeconds + 10) * 1000; }

    void ask() {
        const QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface,
                                                                 QStringLiteral("IsPanelVisible"));
        const qint64 sent = clock_.nsecsElapsed();
        auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call, timeoutMs()), this);
        ++sent_;
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, sent] {
            watcher->deleteLater();
            if (watcher->isError()) {
                std::fprintf(stderr, "orvella-bus-latency: IsPanelVisible: %s\n",
                             qUtf8Printable(watcher->error().message()));
                status_ = 1;
            } else {
                roundTripsMs_.push_back(double(clock_.nsecsElapsed() - sent) / 1e6);
            }
            ++ended_;
            finishIfDone();
        });
    }

    void apply() {
        QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface,
                                                           QStringLiteral("ApplyProfile"));
        call << options_.camera << options_.profile;
        applying_ = true;
        auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call, timeoutMs()), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
            watcher->deleteLater();
            applying_ = false;
            if (watcher->isError()) {
                std::fprintf(stderr, "orvella-bus-latency: ApplyProfile: %s\n",
                             qUtf8Printable(watcher->error().message()));
                status_ = 1;
            } else {
                ++applied_;
            }
            if (sending_ && status_ == 0)
                apply();
            else
                finishIfDone();
        });
    }

    void finishIfDone() {
        if (!sending_ && ended_ == sent_ && !applying_) finish();
    }

    void finish() {
        if (finished_) return;
        finished_ = true;
        std::vector<double> times = roundTripsMs_;
        std::sort(times.begin(), times.end());
        double median = 0, max = 0;
        if (!times.empty()) {
            const size_t n = times.size();
            median = n % 2 ? times[n / 2] : (times[n / 2 - 1] + times[n / 2]) / 2;
            max = times.back();
        }
        if (ended_ != sent_ || applying_) {
            std::fprintf(stderr, "orvella-bus-latency: %d call(s) not answered in time\n",
                         sent_ - ended_ + (applying_ ? 1 : 0));
            status_ = 1;
        }
        std::printf("calls %zu/%d median %.1f ms max %.1f ms applies %d\n", times.size(), sent_,
                    median, max, applied_);
        QCoreApplication::exit(status_);
    }

    Options options_;
    QDBusConnection bus_;
    QElapsedTimer clock_;
    QTimer ticker_;
    bool sending_ = true, applying_ = false, finished_ = false;
    int sent_ = 0, ended_ = 0, applied_ = 0, status_ = 0;
    std::vector<double> roundTripsMs_;
};

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    Options options;
    if (!parse(QCoreApplication::arguments(), options)) {
        std::fputs(
            "usage: orvella-bus-latency [--seconds S] [--every MS] [--apply CAMERA PROFILE] "
            "[--wait S]\n",
            stderr);
        return 2;
    }
    if (!QDBusConnection::sessionBus().isConnected()) {
        std::fputs("orvella-bus-latency: no session bus\n", stderr);
        return 2;
    }
    Probe probe(options);
    QTimer::singleShot(0, &probe, [&probe] { probe.start(); });
    return application.exec();
}
