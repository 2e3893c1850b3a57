// What a moved slider costs the preferences: refreshing one entry of the model's last-state
// record takes the lock, re-reads and parses the file, merges and writes it atomically. Measured
// on a store of 20 models with 10 full profiles each, against the reference of writing the same
// bytes atomically alone (QSaveFile), in the same run.

#include <benchmark/benchmark.h>

#include <QSaveFile>
#include <QTemporaryDir>

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
