// Who uses a camera. Two measures, each beside a reference taken in the same run:
//
// - ProcScan: CPU time of one scan of /proc for the holders of a capture node
//   (platform/linux/ProcUsers.h) on a tree of 500 processes with 8 descriptors each, one of them
//   holding the node (Arg 500), and on this machine's own /proc (Arg 0); beside one plain readdir
//   of the same /proc root, the least any scan must do.
// - ForeignOpenToNameInPanel: wall time from another program's open of a virtual camera (named,
//   as "open N PID NAME" makes it) to its name known on the interface thread (found on the
//   camera's session, handed to the guard), and on to the panel's line, which waits for the
//   guard's settle time (the shortest the preferences keep, 50 ms) and the restore; beside, in
//   the same application, the time from another program's write to the panel's slider (the same
//   hop from the camera's session to the interface, without finding anybody).

#include <benchmark/benchmark.h>

#include <dirent.h>
#include <unistd.h>
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <ctime>
#include <filesystem>
#include <fstream>

#include "app/CameraDiscovery.h"
#include "app/Orvella.h"
#include "camera/CameraSession.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/linux/ProcUsers.h"
#include "platform/virtual/VirtualPlatform.h"
#include "settings/SettingsID.h"
#include "ui/ControlPanel.h"
#include "ui/Localization.h"

namespace {

using namespace orvella;
namespace fs = std::filesystem;

double cpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// A /proc of `count` processes with 8 descriptors each; the last one holds the node.
struct FakeProc {
    QTemporaryDir dir;
    fs::path root, node;
    explicit FakeProc(int count) {
        root = fs::path(dir.path().toStdString()) / "proc";
        node = fs::path(dir.path().toStdString()) / "video0";
        std::ofstream(node) << "node";
        std::vector<fs::path> files;
        for (int i = 0; i < 8; ++i) {
            files.push_back(fs::path(dir.path().toStdString()) / ("file" + std::to_string(i)));
            std::ofstream(files.back()) << i;
        }
        for (int pid = 1000; pid < 1000 + count; ++pid) {
            const fs::path base = root / std::to_string(pid);
            fs::create_directories(base / "fd");
            for (int fd = 0; fd < 8; ++fd)
                fs::create_symlink(fd == 7 && pid == 999 + count ? node : files[fd],
                                   base / "fd" / std::to_string(fd));
            std::ofstream(base / "status") << "Name:\tp\nUid:\t" << getuid() << "\t0\t0\t0\n";
            std::ofstream(base / "comm") << "program" << pid << "\n";
            std::ofstream(base / "cgroup") << "0::/user.slice\n";
        }
    }
};

int readdirOnce(const std::string& root) {
    DIR* dir = opendir(root.c_str());
    int entries = 0;
    if (!dir) return 0;
    while (readdir(dir))
        ++entries;
    closedir(dir);
    return entries;
}

void ProcScan(benchmark::State& state) {
    const int processes = static_cast<int>(state.range(0));
    std::unique_ptr<FakeProc> fake = processes ? std::make_unique<FakeProc>(processes) : nullptr;
    linuxplatform::ProcScanOptions options;
    std::string node = "/dev/null";
    if (fake) {
        options.procRoot = fake->root.string();
        node = fake->node.string();
    }
    size_t found = 0;
    double scanCpu = 0;
    int scans = 0;
    for (auto _ : state) {
        const double start = cpuSeconds();
        found = linuxplatform::processesHolding(node, options).size();
        scanCpu += cpuSeconds() - start;
        ++scans;
    }
    constexpr int kReaddirs = 200;
    const double start = cpuSeconds();
    int entries = 0;
    for (int i = 0; i < kReaddirs; ++i)
        entries = readdirOnce(options.procRoot);
    const double readdirCpu = (cpuSeconds() - start) / kReaddirs;
    state.counters["scan_cpu_us"] = scanCpu / scans * 1e6;
    state.counters["readdir_cpu_us"] = readdirCpu * 1e6;
    state.counters["ratio_scan_vs_readdir"] = readdirCpu > 0 ? scanCpu / scans / readdirCpu : 0;
    state.counters["proc_entries"] = entries;
    state.counters["holders"] = static_cast<double>(found);
}
BENCHMARK(ProcScan)->Arg(500)->Arg(0)->Unit(benchmark::kMillisecond)->Iterations(50);

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

constexpr int kSettleMs = 50;

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

    App() {
        ui::installTranslation(QStringLiteral("en"));  // the panel's line is read as text
        const QString path = home.filePath(QStringLiteral("orvella/org.orvella.Orvella.plist"));
        {
            settings::DefaultsStore store(path);
            store.setBool(true, QStringLiteral("GuardSettings"));
            store.setInteger(kSettleMs, QStringLiteral("GuardSettleTime"));
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
        options.guard.maxRestores = 1 << 20;  // every open here is restored
        orvella = std::make_unique<app::Orvella>(*defaults, cameras, nullptr, options);
        discovery = std::make_unique<app::CameraDiscovery>(platform.platform(&clock),
                                                           platform.capture(), cameras, *orvella);
        orvella->setDiscovery(discovery.get());
        orvella->applicationDidFinishLaunching();
        runEventLoop(1200);
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
};

void ForeignOpenToNameInPanel(benchmark::State& state) {
    Application application;
    App app;
    constexpr uint8_t kPU = 2, kBrightness = 2;
    double toName = 0, toKnown = 0, toSlider = 0;
    int opens = 0, changes = 0;
    int64_t value = 10;
    for (auto _ : state) {
        const QString name = QStringLiteral("program%1").arg(opens);
        QElapsedTimer clock;
        clock.start();
        app.camera->openByAnotherProgram(4000 + opens, name.toStdString());
        app.camera->setByAnotherProgram(kPU, kBrightness, 30);
        CameraSession* session = app.orvella->qtCamera();
        const auto known = [&] {
            for (const platform::CameraUser& user : app.orvella->guard().users(session))
                if (user.program == name) return true;
            return false;
        };
        while (!known() && clock.elapsed() < 5000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 1);
        toKnown += static_cast<double>(clock.nsecsElapsed()) * 1e-9;
        while (!app.orvella->panel().whoChangedText().startsWith(name) && clock.elapsed() < 5000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        const double seconds = static_cast<double>(clock.nsecsElapsed()) * 1e-9;
        state.SetIterationTime(seconds);
        toName += seconds;
        ++opens;
        app.camera->closeByAnotherProgram();
        runEventLoop(2 * kSettleMs);  // the close settles
        CameraSession::settleAll();

        // The reference: another program's write to the slider, no open, nothing restored.
        value = -value;
        clock.restart();
        app.camera->setByAnotherProgram(kPU, kBrightness, value);
        while (app.orvella->panel().row(settings::SettingsID::kBrightness)->cur() != value &&
               clock.elapsed() < 5000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        toSlider += static_cast<double>(clock.nsecsElapsed()) * 1e-9;
        ++changes;
        runEventLoop(2 * kSettleMs);
        CameraSession::settleAll();
    }
    const double name = toName / opens, known = toKnown / opens, slider = toSlider / changes;
    state.counters["open_to_known_ms"] = known * 1e3;
    state.counters["open_to_panel_line_ms"] = name * 1e3;
    state.counters["settle_ms"] = kSettleMs;
    state.counters["change_to_slider_ms"] = slider * 1e3;
    state.counters["ratio_known_vs_slider"] = slider > 0 ? known / slider : 0;
}
BENCHMARK(ForeignOpenToNameInPanel)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);

}  // namespace
