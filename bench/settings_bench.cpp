// What a moved slider costs the preferences: refreshing one entry of the model's last-state
// record takes the lock, re-reads and parses the file, merges and writes it atomically. Measured
// on a store of 20 models with 10 full profiles each, against the reference of writing the same
// bytes atomically alone (QSaveFile), in the same run: written on the calling thread (as
// orvellactl writes) and with the store's writer thread (as the application writes), where the
// calling thread only changes its view and queues the change. A two-second drag counts the file
// writes each way.

#include <benchmark/benchmark.h>

#include <QSaveFile>
#include <QTemporaryDir>

#include <chrono>
#include <thread>

#include "camera/QTCamera.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/virtual/VirtualPlatform.h"
#include "settings/CameraProfiles.h"
#include "settings/DefaultsStore.h"
#include "settings/PlistCodec.h"
#include "settings/ProfileStore.h"

namespace {

using namespace orvella;

constexpr int kModels = 20;
constexpr int kProfilesPerModel = 10;

struct Rig {
    log::NullSink quiet;
    log::Sink* previous = log::setSink(&quiet);
    QTemporaryDir dir;
    virtualcam::VirtualPlatform virtualPlatform;
    platform::RecordingClock clock;
    std::unique_ptr<QTCamera> camera;
    QString path = dir.filePath("orvella/org.orvella.Orvella.plist");

    Rig() {
        QString error;
        auto capture = virtualPlatform.addDefinitionFile(
            QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras/full-pu.json"), &error);
        camera = QTCamera::initWithQTCaptureDevice(virtualPlatform.platform(&clock), capture);
        settings::SettingsRecord record;
        settings::allSettingsDict(record, *camera, camera.get());
        QVariantMap store;
        for (int model = 0; model < kModels; ++model) {
            QVariantList profiles;
            for (int i = 0; i < kProfilesPerModel; ++i) {
                record.insert("SettingsName", QStringLiteral("Profile %1").arg(i));
                profiles << record;
            }
            store.insert(model == 0
                             ? camera->modelUniqueID()
                             : QStringLiteral("UVC Camera VendorID_%1 ProductID_1").arg(model),
                         profiles);
        }
        settings::DefaultsStore defaults(path);
        defaults.setObject(store, "Settings");
        defaults.synchronize();
    }
    ~Rig() { log::setSink(previous); }
};

void UpdateSettingsOneControl(benchmark::State& state) {
    Rig rig;
    settings::DefaultsStore defaults(rig.path);
    settings::ProfileStore profiles(defaults);
    for (auto _ : state) {
        rig.camera->supportedControl()->curBrightness ^= 1;
        settings::updateSettings(profiles, settings::kBrightness, rig.camera.get());
    }
}
BENCHMARK(UpdateSettingsOneControl)->Unit(benchmark::kMicrosecond);

// The same change with the writer thread: the time is the calling thread's alone; the writes
// happen meanwhile on the writer (counted, per change, including the flush at the end).
void UpdateSettingsOneControlBackground(benchmark::State& state) {
    Rig rig;
    settings::DefaultsStore defaults(rig.path);
    defaults.enableBackgroundWrites();
    settings::ProfileStore profiles(defaults);
    const std::uint64_t writesBefore = defaults.writeCount();
    for (auto _ : state) {
        rig.camera->supportedControl()->curBrightness ^= 1;
        settings::updateSettings(profiles, settings::kBrightness, rig.camera.get());
    }
    defaults.flush();
    state.counters["writes_per_change"] =
        static_cast<double>(defaults.writeCount() - writesBefore) /
        static_cast<double>(state.iterations());
}
BENCHMARK(UpdateSettingsOneControlBackground)->Unit(benchmark::kMicrosecond);

// A slider dragged for two seconds: 120 steps at 60 Hz, each refreshing the last-state record,
// then a flush (as quitting does). Counts the file writes, and the calling thread's time per step.
// Argument 0: written on the calling thread; 1: with the writer thread.
void DragTwoSeconds(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    constexpr int kSteps = 120;
    for (auto _ : state) {
        Rig rig;
        settings::DefaultsStore defaults(rig.path);
        if (state.range(0)) defaults.enableBackgroundWrites();
        settings::ProfileStore profiles(defaults);
        const std::uint64_t writesBefore = defaults.writeCount();
        Clock::duration calling{};
        Clock::time_point next = Clock::now();
        for (int step = 0; step < kSteps; ++step) {
            rig.camera->supportedControl()->curBrightness = step;
            const Clock::time_point start = Clock::now();
            settings::updateSettings(profiles, settings::kBrightness, rig.camera.get());
            calling += Clock::now() - start;
            next += std::chrono::microseconds(1000000 / 60);
            std::this_thread::sleep_until(next);
        }
        defaults.flush();
        state.counters["file_writes"] = static_cast<double>(defaults.writeCount() - writesBefore);
        state.counters["calling_thread_us_per_step"] =
            std::chrono::duration<double, std::micro>(calling).count() / kSteps;
    }
}
BENCHMARK(DragTwoSeconds)
    ->ArgName("writer_thread")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// The reference: the same bytes written atomically, nothing else.
void ReferenceAtomicWrite(benchmark::State& state) {
    Rig rig;
    settings::DefaultsStore defaults(rig.path);
    const QByteArray bytes = settings::plist::toXml(defaults.persistentDomain());
    state.counters["bytes"] = static_cast<double>(bytes.size());
    for (auto _ : state) {
        QSaveFile file(rig.path);
        file.open(QIODevice::WriteOnly);
        file.write(bytes);
        file.commit();
    }
}
BENCHMARK(ReferenceAtomicWrite)->Unit(benchmark::kMicrosecond);

}  // namespace
