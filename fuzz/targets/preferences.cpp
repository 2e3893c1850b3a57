// The preferences reader: a preferences file of any content, XML or binary property list, through
// libplist and our walk of its dictionary into Qt values, then what the application reads from
// it: the defaults store's typed reads, the start-up tidying of the profile store, and every
// model's records, profiles, last-state record and "Load at Start" entry.

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "fuzz/FuzzTarget.h"
#include "fuzz/NewCamera.h"
#include "settings/CameraProfiles.h"
#include "settings/DefaultsStore.h"
#include "settings/PlistCodec.h"
#include "settings/Preferences.h"
#include "settings/ProfileStore.h"

using namespace orvella;
using namespace orvella::settings;

namespace {

// Every input is written to one file in a private directory; a file that does not parse is
// moved aside by the store, so the directory is emptied after each input.
const QString& scratchPath() {
    static QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/orvella-fuzz-prefs-XXXXXX"));
    static const QString path = dir.path() + QStringLiteral("/org.orvella.Orvella.plist");
    return path;
}

void clearScratch() {
    QDir dir = QFileInfo(scratchPath()).dir();
    for (const QString& name : dir.entryList(QDir::Files | QDir::Hidden))
        dir.remove(name);
}

void readEverything(DefaultsStore& store) {
    const QVariantMap& domain = store.persistentDomain();
    for (auto it = domain.cbegin(); it != domain.cend(); ++it) {
        (void)store.dictionaryForKey(it.key());
        (void)store.arrayForKey(it.key());
        (void)store.integerForKey(it.key());
        (void)store.boolForKey(it.key());
        (void)store.stringForKey(it.key());
    }
    // What the application's start-up reads: the registered preferences and the profiles.
    Preferences preferences(store);
    preferences.initDefaults();
    preferences.readDefaults();
    ProfileStore profiles(store);
    profiles.cleanDefaults();
    for (const QString& model : profiles.models()) {
        const QList<SettingsRecord> profileList = profiles.profiles(model);
        (void)profiles.records(model);
        (void)profiles.appDefaultRecord(model);
        (void)profiles.loadAtStart(model);
        (void)profiles.hasRecordNamed(model, QStringLiteral("AppDefault"));
        for (int i = 0; i < profileList.size(); ++i) {
            (void)profiles.profileAt(model, i + kFirstProfileIndex);
            (void)profiles.listIndexOf(
                model, profileList[i].value(QStringLiteral("SettingsName")).toString());
            for (int32_t id = 1; id <= 22; ++id)
                for (const QString& key : valueKeys(id))
                    (void)profileList[i].value(key).toLongLong();
        }
    }
}

}  // namespace

ORVELLA_FUZZ_TARGET(preferences) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QString why;
    if (const auto root = plist::parseDictionary(bytes, &why)) {
        // What is read must write back as a property list that reads again.
        if (!plist::parseDictionary(plist::toXml(*root), &why)) __builtin_trap();
    }
    {
        QFile file(scratchPath());
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) return 0;
        file.write(bytes);
    }
    {
        DefaultsStore store(scratchPath());
        readEverything(store);
    }
    clearScratch();
    return 0;
}

ORVELLA_FUZZ_SEEDS(preferences) {
    std::vector<fuzz::Seed> seeds;
    auto add = [&](const std::string& name, const QByteArray& bytes) {
        seeds.push_back({name, fuzz::Bytes(bytes.begin(), bytes.end())});
    };
    // The preferences files of the tests (binary, as a Mac writes them), and their XML form.
    const QDir plistDir(QString::fromStdString(fixtures) + QStringLiteral("/../plist"));
    for (const QString& name : plistDir.entryList({QStringLiteral("*.plist")}, QDir::Files)) {
        QFile file(plistDir.filePath(name));
        if (!file.open(QIODevice::ReadOnly)) continue;
        const QByteArray bytes = file.readAll();
        add(name.toStdString(), bytes);
        QString why;
        if (const auto root = plist::parseDictionary(bytes, &why))
            add(name.toStdString() + ".xml", plist::toXml(*root));
    }
    // A store written by the application from every fixture camera: its last-state record, a
    // named profile and a load-at-start mark.
    fuzz::prepare();
    const QString path = scratchPath();
    clearScratch();
    {
        DefaultsStore store(path);
        Preferences preferences(store);
        preferences.initDefaults();
        ProfileStore profiles(store);
        for (const auto& [name, device] : fuzz::fixtureCameras(fixtures)) {
            fuzz::NewCamera run(device);
            QTCamera* camera = run.bringUp();
            if (!camera) continue;
            settings::loadAppDefault(profiles, *camera, camera, &run.clock());
            const auto saved =
                settings::saveNewProfile(profiles, QStringLiteral("Evening"), *camera, camera);
            if (saved.result == ProfileStore::SaveResult::Saved)
                profiles.setLoadAtStart(camera->modelUniqueID(), saved.listIndex);
        }
        store.synchronize();
    }
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) add("fixture-cameras.plist", file.readAll());
    clearScratch();
    return seeds;
}
