// The live preview's cost: a 1920 x 1080 MJPEG stream at 30 frames a second from a virtual camera,
// through the capture path (frame-rate count, latest-frame swap) into the preview widget, which
// decodes and paints it. Measured over a few seconds of real time: process CPU time per frame
// shown and the frames dropped, beside libjpeg-turbo's own decode time for the same frames in the
// same run (full size, and at the scale the widget decodes at). The ratio our_path / bare_decode
// is the figure to watch; the goal is 1.15 or less.

#include <benchmark/benchmark.h>
#include <turbojpeg.h>

#include <QApplication>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>
#include <ctime>
#include <vector>

#include "camera/QTCamera.h"
#include "capture/QTCameraCapture.h"
#include "platform/Log.h"
#include "platform/virtual/VirtualPlatform.h"
#include "ui/CapturePreview.h"

namespace {

using namespace orvella;

double cpuSeconds(clockid_t clock) {
    timespec t{};
    clock_gettime(clock, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

QApplication& application() {
    static int argc = 1;
    static char name[] = "orvella_bench";
    static char* argv[] = {name, nullptr};
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // Never destroyed: widgets of other statics must not outlive it at exit.
    static QApplication* app = new QApplication(argc, argv);
    return *app;
}

void runEventLoop(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

// CPU seconds per decode of `frames` with TurboJPEG alone, into a buffer of the scaled size.
double bareDecode(const std::vector<QByteArray>& frames, int width, int height, int rounds) {
    tjhandle handle = tjInitDecompress();
    std::vector<unsigned char> pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
    const double start = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
    int decoded = 0;
    for (int r = 0; r < rounds; ++r)
        for (const QByteArray& jpeg : frames) {
            tjDecompress2(handle, reinterpret_cast<const unsigned char*>(jpeg.constData()),
                          static_cast<unsigned long>(jpeg.size()), pixels.data(), width, width * 4,
                          height, TJPF_BGRX, 0);
            ++decoded;
        }
    const double seconds = cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - start;
    tjDestroy(handle);
    return seconds / decoded;
}

// CPU seconds per decode when TurboJPEG decodes one frame every 1/30 s on the main thread's event
// loop, as the preview does: the same work with the caches a real-time stream sees.
double pacedDecode(const std::vector<QByteArray>& frames, int width, int height) {
    tjhandle handle = tjInitDecompress();
    std::vector<unsigned char> pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
    int decoded = 0;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        const QByteArray& jpeg = frames[static_cast<size_t>(decoded) % frames.size()];
        tjDecompress2(handle, reinterpret_cast<const unsigned char*>(jpeg.constData()),
                      static_cast<unsigned long>(jpeg.size()), pixels.data(), width, width * 4,
                      height, TJPF_BGRX, 0);
        ++decoded;
    });
    timer.start(33);
    const double start = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
    runEventLoop(3000);
    const double seconds = cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - start;
    tjDestroy(handle);
    return decoded ? seconds / decoded : 0;
}

// state.range(0): the widget's width (16:9).
void PreviewMjpeg1080p30(benchmark::State& state) {
    application();
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
    auto camera = QTCamera::initWithQTCaptureDevice(platform.platform(), device);
    capture::QTCameraCapture capture(*camera);
    for (const FormatEntry& f : camera->formatArray())
        if (f.FormatWidth == 1920 && f.FormatCode == 0x47504A4D) capture.setImageFormat(f);

    const int width = static_cast<int>(state.range(0)), height = width * 9 / 16;
    ui::CapturePreview preview;
    preview.resize(width, height);
    preview.show();
    capture.startPreview(&preview);
    runEventLoop(1500);  // the camera renders its pattern loop once; the decoder warms up

    // The same frames the camera sends, for the reference decode.
    std::vector<QByteArray> frames;
    const virtualcam::OfferedFormat mjpeg{platform::kPixelFormatMJPG, 1920, 1080};
    for (uint64_t i = 0; i < 16; ++i) {
        int32_t bytesPerLine = 0;
        frames.push_back(device->player().pattern(mjpeg, i, &bytesPerLine));
    }

    double ourPerFrame = 0, mainPerFrame = 0, dropped = 0, shown = 0, arrived = 0;
    for (auto _ : state) {
        const int64_t shown0 = preview.framesShown(), dropped0 = preview.framesDropped();
        const double cpu0 = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
        const double main0 = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
        runEventLoop(4000);
        const double cpu = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - cpu0;
        const double mainCpu = cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - main0;
        shown = static_cast<double>(preview.framesShown() - shown0);
        dropped = static_cast<double>(preview.framesDropped() - dropped0);
        arrived = shown + dropped;
        ourPerFrame = shown > 0 ? cpu / shown : 0;
        mainPerFrame = shown > 0 ? mainCpu / shown : 0;
    }
    const QSize scaled = preview.decodedSize();
    capture.stopPreview(&preview);

    const double bareFull = bareDecode(frames, 1920, 1080, 4);
    const double bareScaled = bareDecode(frames, scaled.width(), scaled.height(), 4);
    const double paced = pacedDecode(frames, scaled.width(), scaled.height());
    state.counters["frames_arrived"] = arrived;
    state.counters["frames_shown"] = shown;
    state.counters["frames_dropped"] = dropped;
    state.counters["our_ms_per_frame"] = ourPerFrame * 1e3;
    state.counters["main_thread_ms_per_frame"] = mainPerFrame * 1e3;
    state.counters["bare_decode_full_ms"] = bareFull * 1e3;
    state.counters["bare_decode_scaled_ms"] = bareScaled * 1e3;
    state.counters["decoded_width"] = scaled.width();
    state.counters["ratio_vs_full_decode"] = bareFull > 0 ? ourPerFrame / bareFull : 0;
    state.counters["ratio_vs_scaled_decode"] = bareScaled > 0 ? ourPerFrame / bareScaled : 0;
    state.counters["paced_decode_ms"] = paced * 1e3;
    state.counters["ratio_vs_paced_decode"] = paced > 0 ? ourPerFrame / paced : 0;
    log::setSink(previous);
}
BENCHMARK(PreviewMjpeg1080p30)
    ->Arg(960)
    ->Arg(1920)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
