// The live preview's cost: a 1920 x 1080 MJPEG stream at 30 frames a second from a virtual camera,
// through the capture path (frame-rate count, latest-frame swap) into the preview widget, which
// decodes and paints it. Measured over a few seconds of real time: process CPU time per frame
// shown and the frames dropped, beside libjpeg-turbo's own decode time for the same frames in the
// same run (full size, and at the scale the widget decodes at). The ratio our_path / bare_decode
// is the figure to watch; the goal is 1.15 or less.

#include <benchmark/benchmark.h>
#include <turbojpeg.h>

#include <sys/resource.h>
#include <QApplication>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include <algorithm>
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

// Minor page faults of the process so far: memory the kernel had to map in, a cost that CPU time
// counts but an instruction count does not show.
long minorFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
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
// *faultsPerFrame (when given): minor page faults per decode.
double bareDecode(const std::vector<QByteArray>& frames, int width, int height, int rounds,
                  double* faultsPerFrame = nullptr) {
    tjhandle handle = tjInitDecompress();
    std::vector<unsigned char> pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
    const long faults0 = minorFaults();
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
    if (faultsPerFrame) *faultsPerFrame = static_cast<double>(minorFaults() - faults0) / decoded;
    tjDestroy(handle);
    return seconds / decoded;
}

// CPU seconds per decode when TurboJPEG decodes one frame every 1/30 s on the main thread's event
// loop, as the preview does: the same work with the caches a real-time stream sees.
double pacedDecode(const std::vector<QByteArray>& frames, int width, int height,
                   int milliseconds = 2000) {
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
    runEventLoop(milliseconds);
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

    // The same frames the camera sends, for the reference decode.
    std::vector<QByteArray> frames;
    const virtualcam::OfferedFormat mjpeg{platform::kPixelFormatMJPG, 1920, 1080};
    for (uint64_t i = 0; i < 16; ++i) {
        int32_t bytesPerLine = 0;
        frames.push_back(device->player().pattern(mjpeg, i, &bytesPerLine));
    }

    // Rounds of our path and the references one after the other, so that every figure sees the
    // same state of a shared machine; the median round counts.
    struct Round {
        double our = 0, main = 0, faults = 0, shown = 0, dropped = 0;
        double bareFull = 0, bareScaled = 0, paced = 0, bareFaults = 0;
    };
    std::vector<Round> rounds;
    QSize scaled;
    for (auto _ : state) {
        for (int r = 0; r < 3; ++r) {
            Round round;
            capture.startPreview(&preview);
            runEventLoop(r == 0 ? 1500 : 300);  // the pattern loop is rendered; the decoder warms
            const int64_t shown0 = preview.framesShown(), dropped0 = preview.framesDropped();
            const long faults0 = minorFaults();
            const double cpu0 = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
            const double main0 = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
            runEventLoop(3000);
            const double cpu = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - cpu0;
            const double mainCpu = cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - main0;
            round.shown = static_cast<double>(preview.framesShown() - shown0);
            round.dropped = std::max(0.0, static_cast<double>(preview.framesDropped() - dropped0));
            if (round.shown > 0) {
                round.our = cpu / round.shown;
                round.main = mainCpu / round.shown;
                round.faults = static_cast<double>(minorFaults() - faults0) / round.shown;
            }
            scaled = preview.decodedSize();
            capture.stopPreview(&preview);
            round.bareFull = bareDecode(frames, 1920, 1080, 4, &round.bareFaults);
            round.bareScaled = bareDecode(frames, scaled.width(), scaled.height(), 4);
            round.paced = pacedDecode(frames, scaled.width(), scaled.height());
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
    const auto ratio = [](double ours, double reference) {
        return reference > 0 ? ours / reference : 0.0;
    };
    state.counters["frames_shown"] = median([](const Round& r) { return r.shown; });
    state.counters["frames_dropped"] = median([](const Round& r) { return r.dropped; });
    state.counters["page_faults_per_frame"] = median([](const Round& r) { return r.faults; });
    state.counters["bare_decode_page_faults"] = median([](const Round& r) { return r.bareFaults; });
    state.counters["our_ms_per_frame"] = median([](const Round& r) { return r.our; }) * 1e3;
    state.counters["main_thread_ms_per_frame"] =
        median([](const Round& r) { return r.main; }) * 1e3;
    state.counters["bare_decode_full_ms"] = median([](const Round& r) { return r.bareFull; }) * 1e3;
    state.counters["bare_decode_scaled_ms"] =
        median([](const Round& r) { return r.bareScaled; }) * 1e3;
    state.counters["paced_decode_ms"] = median([](const Round& r) { return r.paced; }) * 1e3;
    state.counters["decoded_width"] = scaled.width();
    state.counters["ratio_vs_full_decode"] =
        median([&](const Round& r) { return ratio(r.our, r.bareFull); });
    state.counters["ratio_vs_scaled_decode"] =
        median([&](const Round& r) { return ratio(r.our, r.bareScaled); });
    state.counters["ratio_vs_paced_decode"] =
        median([&](const Round& r) { return ratio(r.our, r.paced); });
    log::setSink(previous);
}
BENCHMARK(PreviewMjpeg1080p30)
    ->Arg(960)
    ->Arg(1920)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
