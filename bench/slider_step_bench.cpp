// What one step of a slider costs the interface thread, and the camera: the application
// controller over the generic virtual camera (offscreen), the camera answering each control
// request after 4 ms of real time (a real camera's cost: 1-4 ms a request), the preferences
// written as the application writes them. The same source builds against a tree without camera
// sessions, so the figures before and after can be taken in one run (docs/performance.md).
//
// - SliderStep: wall time of the brightness row's slider step on the interface thread (the
//   gesture's handling, up to the return to the event loop); counters: USB requests per step
//   once the camera has done them, and its ratio to the one write and one read-back a step needs.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <chrono>

#include "app/CameraDiscovery.h"
#include "app/Orvella.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/virtual/VirtualPlatform.h"
#include "settings/SettingsID.h"
#include "ui/ControlPanel.h"
#include "ui/UVCValueViewController.h"
#if __has_include("camera/CameraSession.h")
#include "camera/CameraSession.h"
#define ORVELLA_HAS_SESSIONS 1
#endif

namespace {

using namespace orvella;
using namespace std::chrono_literals;

// Waits until the cameras have done what they were asked (at once without sessions).
void settle() {
#ifdef ORVELLA_HAS_SESSIONS
    CameraSession::settleAll(60000);
#endif
    QCoreApplication::processEvents();
}

struct SliderApp {
    int argc = 1;
    char name[14] = "orvella_bench";
    char* argv[2] = {name, nullptr};
    std::unique_ptr<QApplication> application;
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

    SliderApp() {
        if (!QCoreApplication::instance()) {
            if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
                qputenv("QT_QPA_PLATFORM", "offscreen");
            application = std::make_unique<QApplication>(argc, argv);
        }
        const QString path = home.filePath(QStringLiteral("orvella/org.orvella.Orvella.plist"));
        {
            settings::DefaultsStore store(path);
            store.setInteger(0, QStringLiteral("UpdateSlider"));
            store.setInteger(0, QStringLiteral("ReconfigureWebcam"));
            store.setBool(true, QStringLiteral("Disable Popup"));
            store.synchronize();
        }
        QFile file(QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras/generic.json"));
        file.open(QIODevice::ReadOnly);
        QString error;
        camera = virtualcam::VirtualCamera::fromJson(file.readAll(), &error);
        platform.addCamera(camera, &error);
        defaults = std::make_unique<settings::DefaultsStore>(path);
#ifdef ORVELLA_HAS_SESSIONS
        defaults->enableBackgroundWrites();  // as the application does
#endif
        app::OrvellaOptions options;
        options.trayAvailable = [] { return false; };
        orvella = std::make_unique<app::Orvella>(*defaults, cameras, nullptr, options);
        discovery = std::make_unique<app::CameraDiscovery>(platform.platform(&clock),
                                                           platform.capture(), cameras, *orvella);
        orvella->setDiscovery(discovery.get());
        orvella->applicationDidFinishLaunching();
        settle();
    }
    ~SliderApp() {
        orvella->applicationWillTerminate();
        orvella->switchCamera(nullptr);
        while (cameras.size() > 0)
            cameras.take(cameras.size() - 1);
#ifdef ORVELLA_HAS_SESSIONS
        CameraSession::waitForSessionsToEnd(60000);
#endif
        discovery.reset();
        orvella.reset();
        log::setSink(previous);
    }
};

void SliderStep(benchmark::State& state) {
    SliderApp app;
    app.camera->setSlowness(4ms);
    ui::UVCValueViewController& row = *app.orvella->panel().row(settings::kBrightness);
    app.camera->clearRequests();
    int steps = 0;
    int value = 0;
    for (auto _ : state) {
        value = value >= 10 ? -10 : value + 1;
        QElapsedTimer interfaceThread;
        interfaceThread.start();
        row.slideAction(value);
        state.SetIterationTime(static_cast<double>(interfaceThread.nsecsElapsed()) * 1e-9);
        ++steps;
        settle();  // a person's next step comes after the camera has answered this one
    }
    const double requests = static_cast<double>(app.camera->requestCount()) / steps;
    state.counters["usb_requests_per_step"] = requests;
    state.counters["requests_vs_write_and_readback"] = requests / 2;
}
BENCHMARK(SliderStep)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(60);

}  // namespace
