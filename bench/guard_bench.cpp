// Following a camera instead of polling it. Two measures, each beside the timer it replaces, in
// the same run, on the application controller with a virtual camera (offscreen):
//
// - ForeignChangeToSlider: from another program's write of a control (behind the application's
//   back) to the panel's slider showing the value, with changes followed; beside the same for
//   the timer's slider refresh at its shortest interval (one 0.5 s tick), which is how the panel
//   learnt of the camera's own changes before. Wall time per change.
// - IdleGuardVersusResend: process CPU time and USB requests over 10 s with the guard on and
//   the timer's intervals off, beside the timer's blind re-send every 0.5 s ("ReconfigureWebcam"
//   1 tick) with the guard off.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <ctime>

#include "app/CameraDiscovery.h"
#include "app/Orvella.h"
#include "camera/CameraSession.h"
#include "camera/QTCamera.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/virtual/VirtualPlatform.h"
#include "settings/SettingsID.h"
#include "ui/ControlPanel.h"

namespace {

using namespace orvella;

constexpr uint8_t kCT = 1, kPU = 2;
constexpr uint8_t kExposureTime = 0x04, kBrightness = 0x02;

// The process's QApplication while a benchmark runs: the one that exists (another benchmark of
// the program may keep one for good), or one of its own (offscreen) that goes when it ends.
class Application {
  public:
    Application() {
        if (QCoreApplication::instance()) return;
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
        own_ = std::make_unique<QApplication>(argc_, argv_);
    }

  private:
    int argc_ = 1;
    char name_[14] = "orvella_bench";
    char* argv_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> own_;
};

void runEventLoop(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

double processCpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// The controller over one virtual camera, with the given preferences stored before start.
struct App {
    log::NullSink quiet;
    log::Sink* previous = log::setSink(&quiet);
    QTemporaryDir home;
    std::unique_ptr<settings::DefaultsStore> defaults;
    virtualcam::VirtualPlatform platform;
    platform::RecordingClock clock;
    app::CameraList cameras;
    std::unique_ptr<app::Orvella> orvella;
    std::unique_ptr<app::CameraDiscovery> discovery;
    std::shared_ptr<virtualcam::VirtualCamera> camera;

    App(int updateSlider, int reconfigureWebcam, bool guard) {
        const QString path = home.filePath(QStringLiteral("orvella/org.orvella.Orvella.plist"));
        {
            settings::DefaultsStore store(path);
            store.setInteger(updateSlider, QStringLiteral("UpdateSlider"));
            store.setInteger(reconfigureWebcam, QStringLiteral("ReconfigureWebcam"));
            store.setBool(guard, QStringLiteral("GuardSettings"));
            store.setBool(true, QStringLiteral("Disable Popup"));
            store.synchronize();
        }
        QFile file(QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras/generic.json"));
        file.open(QIODevice::ReadOnly);
        QString error;
        camera = virtualcam::VirtualCamera::fromJson(file.readAll(), &error);
        platform.addCamera(camera, &error);
        defaults = std::make_unique<settings::DefaultsStore>(path);
        app::OrvellaOptions options;
        options.trayAvailable = [] { return false; };
        orvella = std::make_unique<app::Orvella>(*defaults, cameras, nullptr, options);
        discovery = std::make_unique<app::CameraDiscovery>(platform.platform(&clock),
                                                           platform.capture(), cameras, *orvella);
        orvella->setDiscovery(discovery.get());
        orvella->applicationDidFinishLaunching();
        runEventLoop(1200);  // past the timer's launch delay
    }
    ~App() {
        orvella->applicationWillTerminate();
        orvella->switchCamera(nullptr);
        while (cameras.size() > 0)
            cameras.take(cameras.size() - 1);
        CameraSession::waitForSessionsToEnd(10000);
        discovery.reset();
        orvella.reset();
        log::setSink(previous);
    }
    int64_t shown(int32_t settingsID) { return orvella->panel().row(settingsID)->cur(); }
};

// Wall seconds from a change behind the application's back to the slider showing it: another
// program's write, or (`byCamera`) the camera's own automatic mode moving a control it governs.
double changeToSlider(App& app, uint8_t unit, uint8_t selector, int32_t row, int64_t value,
                      bool byCamera = false) {
    QElapsedTimer clock;
    clock.start();
    if (byCamera)
        app.camera->setCurrentValue(unit, selector, value);
    else
        app.camera->setByAnotherProgram(unit, selector, value);
    while (app.shown(row) != value && clock.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    return static_cast<double>(clock.nsecsElapsed()) * 1e-9;
}

void ForeignChangeToSlider(benchmark::State& state) {
    Application application;
    constexpr int kChanges = 20, kPolledChanges = 10;
    // The exposure time, which aperture priority leaves to the camera: the change the timer's
    // slider refresh was made for.
    double followed = 0, polled = 0;
    {
        App app(0, 0, false);
        for (int i = 0; i < kChanges; ++i)  // warm-up and measure alike
            followed += changeToSlider(app, kCT, kExposureTime,
                                       settings::SettingsID::kExposureTimeAbsolute, 300 + i, true);
        // The time of the benchmark itself: another program's brightness writes, alternating.
        int64_t brightness = 10;
        for (auto _ : state) {
            brightness = -brightness;
            state.SetIterationTime(changeToSlider(app, kPU, kBrightness,
                                                  settings::SettingsID::kBrightness, brightness));
        }
    }
    {
        App app(1, 0, false);  // refresh every tick; changes are not followed
        app.orvella->qtCamera()->post([](QTCamera& device) { device.stopFollowingChanges(); });
        CameraSession::settleAll();
        // Changes land anywhere in the tick: spread over it.
        for (int i = 0; i < kPolledChanges; ++i) {
            runEventLoop(i * 500 / kPolledChanges);
            polled += changeToSlider(app, kCT, kExposureTime,
                                     settings::SettingsID::kExposureTimeAbsolute, 300 + i, true);
        }
    }
    followed /= kChanges;
    polled /= kPolledChanges;
    state.counters["followed_exposure_ms"] = followed * 1e3;
    state.counters["timer_refresh_exposure_ms"] = polled * 1e3;
    state.counters["ratio_followed_vs_timer"] = polled > 0 ? followed / polled : 0;
}
BENCHMARK(ForeignChangeToSlider)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(200);

// CPU seconds and USB requests over `seconds` of an idle application.
std::pair<double, size_t> idle(App& app, int seconds) {
    app.camera->clearRequests();
    const double start = processCpuSeconds();
    runEventLoop(seconds * 1000);
    return {processCpuSeconds() - start, app.camera->requestCount()};
}

void IdleGuardVersusResend(benchmark::State& state) {
    Application application;
    const int seconds = static_cast<int>(state.range(0));
    std::pair<double, size_t> guard, resend;
    for (auto _ : state) {
        {
            App app(0, 0, true);
            guard = idle(app, seconds);
        }
        {
            App app(0, 1, false);
            resend = idle(app, seconds);
        }
    }
    state.counters["guard_cpu_ms"] = guard.first * 1e3;
    state.counters["resend_cpu_ms"] = resend.first * 1e3;
    state.counters["ratio_cpu_guard_vs_resend"] = resend.first > 0 ? guard.first / resend.first : 0;
    state.counters["guard_requests"] = static_cast<double>(guard.second);
    state.counters["resend_requests"] = static_cast<double>(resend.second);
}
BENCHMARK(IdleGuardVersusResend)->Arg(10)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
