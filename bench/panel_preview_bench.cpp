// What the panel's live preview costs: the control panel, shown (offscreen) at its own size,
// with the preview of a 1920 x 1080 MJPEG stream at 30 frames a second from a virtual camera --
// the application's own path: the stream in the camera's session, the frames relayed to the
// panel's preview widget, which decodes them at the size it shows (TurboJPEG's scaled decode).
// Beside it, in the same run, the same stream through the capture path with every frame decoded
// at full size, as a preview that does not scale its decode would. Both as CPU seconds of the
// whole process per second of wall time; the figure to watch is their ratio (panel / full).
// Also the panel hidden, which must cost next to nothing: no stream, nothing decoded.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <ctime>
#include <vector>

#include "app/PreviewPart.h"
#include "camera/CameraSession.h"
#include "camera/QTCamera.h"
#include "capture/FrameDecoder.h"
#include "capture/QTCameraCapture.h"
#include "platform/Log.h"
#include "platform/virtual/VirtualPlatform.h"
#include "settings/DefaultsStore.h"
#include "settings/Preferences.h"
#include "ui/CapturePreview.h"
#include "ui/ControlPanel.h"
#include "ui/PreviewArea.h"

namespace {

using namespace orvella;

constexpr int64_t kFormatCodeMJPG = 0x47504A4D;

double processCpu() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

void runFor(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

// CPU seconds per wall second over `milliseconds` of the event loop.
double cpuPerSecond(int milliseconds) {
    const double start = processCpu();
    runFor(milliseconds);
    return (processCpu() - start) / (milliseconds / 1000.0);
}

// Decodes every frame at full size on the capture thread: a preview without a scaled decode.
struct FullDecode final : capture::PreviewView {
    std::unique_ptr<capture::QTCameraCapture> capture;  // made and destroyed in session jobs
    capture::QTCameraCapture* camera = nullptr;
    capture::FrameDecoder decoder;
    QImage image;
    std::atomic<int> decoded{0};
    void setCaptureSession(capture::QTCameraCapture* c) override { camera = c; }
    void frameAvailable() override {
        if (!camera) return;
        if (const auto frame = camera->currentImageBuffer();
            frame && decoder.decodeInto(*frame, &image))
            ++decoded;
    }
    void frameRateChanged(uint32_t) override {}
};

void PanelPreviewMjpeg1080p30(benchmark::State& state) {
    static int argc = 1;
    static char name[] = "orvella_bench";
    static char* argv[] = {name, nullptr};
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!qApp) new QApplication(argc, argv);  // never destroyed: see preview_bench.cpp
    log::NullSink quiet;
    log::Sink* previous = log::setSink(&quiet);

    QFile file(QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras/generic.json"));
    file.open(QIODevice::ReadOnly);
    QJsonObject definition = QJsonDocument::fromJson(file.readAll()).object();
    definition.insert(QStringLiteral("frames"), QJsonObject{{"fps", 30}});
    QString error;
    virtualcam::VirtualPlatform platform;
    auto device = platform.addCamera(
        virtualcam::VirtualCamera::fromJson(QJsonDocument(definition).toJson(), &error), &error);
    if (!device) {
        state.SkipWithError(error.toStdString().c_str());
        log::setSink(previous);
        return;
    }
    QTemporaryDir home;
    settings::DefaultsStore defaults(home.filePath(QStringLiteral("bench.plist")));
    settings::Preferences preferences(defaults);
    defaults.registerDefaults(settings::Preferences::registeredDefaults());

    ui::ControlPanel panel;
    auto session = std::make_unique<CameraSession>(
        QTCamera::initWithQTCaptureDevice(platform.platform(), device));
    auto preview = std::make_unique<app::PreviewPart>(panel, preferences);
    preview->showStored();
    preview->setCamera(session.get());
    int fullHd = -1;
    for (int i = 0; i < static_cast<int>(preview->formats().size()) && fullHd < 0; ++i) {
        const app::PreviewPart::Choice& choice = preview->formats()[i];
        if (choice.format.FormatWidth == 1920 && choice.format.FormatCode == kFormatCodeMJPG &&
            std::abs(choice.fps - 30) < 0.5)
            fullHd = i;
    }
    if (fullHd < 0) {
        state.SkipWithError(QStringLiteral("the camera offers no 1920 x 1080 MJPEG at 30 frames a "
                                           "second (of %1 formats)")
                                .arg(preview->formats().size())
                                .toStdString()
                                .c_str());
        log::setSink(previous);
        return;
    }
    preview->selectFormat(fullHd);

    struct Round {
        double panel = 0, full = 0, hidden = 0;
    };
    std::vector<Round> rounds;
    int shownWidth = 0, decodedWidth = 0;
    for (auto _ : state) {
        for (int r = 0; r < 3; ++r) {
            Round round;
            // The panel, shown: the preview streams and paints.
            panel.window()->show();
            runFor(r == 0 ? 1500 : 500);  // the pattern is rendered, the decoder warm
            round.panel = cpuPerSecond(3000);
            shownWidth = panel.preview().view()->width();
            decodedWidth = panel.preview().view()->decodedSize().width();
            // Hidden: the stream stops.
            panel.window()->hide();
            runFor(300);
            round.hidden = cpuPerSecond(2000);
            // The same stream decoded whole.
            CameraSession::settleAll();
            FullDecode full;
            session->post([&full](QTCamera& camera) {
                full.capture = std::make_unique<capture::QTCameraCapture>(camera);
                for (const FormatEntry& f : camera.formatArray())
                    if (f.FormatWidth == 1920 && f.FormatCode == kFormatCodeMJPG)
                        full.capture->setImageFormat(f);
                full.capture->startPreview(&full);
            });
            CameraSession::settleAll();
            runFor(500);
            round.full = cpuPerSecond(3000);
            session->post([&full](QTCamera&) { full.capture.reset(); });  // stops the stream
            CameraSession::settleAll();
            rounds.push_back(round);
        }
    }
    const auto median = [&](auto figure) {
        std::vector<double> values;
        for (const Round& round : rounds)
            values.push_back(figure(round));
        std::sort(values.begin(), values.end());
        return values.empty() ? 0.0 : values[values.size() / 2];
    };
    state.counters["panel_cpu_per_s"] = median([](const Round& r) { return r.panel; });
    state.counters["full_decode_cpu_per_s"] = median([](const Round& r) { return r.full; });
    state.counters["hidden_cpu_per_s"] = median([](const Round& r) { return r.hidden; });
    state.counters["ratio_panel_vs_full"] =
        median([](const Round& r) { return r.full > 0 ? r.panel / r.full : 0.0; });
    state.counters["preview_width"] = shownWidth;
    state.counters["decoded_width"] = decodedWidth;

    preview.reset();
    session.reset();
    CameraSession::waitForSessionsToEnd(10000);
    log::setSink(previous);
}
BENCHMARK(PanelPreviewMjpeg1080p30)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
