// The profile store on data: saving under typed names, the last-state record, two cameras of one
// model, deleting and its load-at-start rule, updating the record a list shows, the start-up
// clean-up; the list model both profile lists show; the preferences and the login item.

#include <gtest/gtest.h>

#include <QFile>

#include "platform/Log.h"
#include "platform/linux/XdgAutostart.h"
#include "settings/CameraProfiles.h"
#include "settings/DefaultsKeys.h"
#include "settings/DefaultsStore.h"
#include "settings/PlistCodec.h"
#include "settings/Preferences.h"
#include "settings/ProfileListModel.h"
#include "settings/ProfileStore.h"
#include "tests/settings/SettingsRig.h"

namespace orvella {
namespace {

using settings::DefaultsStore;
using settings::ProfileListModel;
using settings::ProfileStore;
using settings::SettingsRecord;
using testing::FixtureCamera;
using testing::ScratchPreferences;

QStringList names(const QList<SettingsRecord>& records) {
    QStringList out;
    for (const SettingsRecord& record : records)
        out << record.value("SettingsName").toString();
    return out;
}

struct StoreRig {
    ScratchPreferences prefs;
    DefaultsStore defaults{prefs.file()};
    ProfileStore profiles{defaults};
    FixtureCamera cam;
    explicit StoreRig(const char* fixture = "generic.json") : cam(fixture) {}
    QString model() const { return cam.camera->modelUniqueID(); }
};

TEST(ProfileStore, SavesUnderTrimmedNamesAndRefusesClashes) {
    StoreRig rig;
    QStringList changed;
    QObject::connect(&rig.profiles, &ProfileStore::profilesChanged,
                     [&](const QString& model) { changed << model; });
    QTCamera& cam = *rig.cam.camera;

    auto saved = settings::saveNewProfile(rig.profiles, "  Evening \n", cam, &cam);
    EXPECT_EQ(saved.result, ProfileStore::SaveResult::Saved);
    EXPECT_EQ(saved.name, "Evening");
    EXPECT_EQ(saved.listIndex, 2);
    EXPECT_EQ(changed, QStringList{rig.model()});

    EXPECT_EQ(settings::saveNewProfile(rig.profiles, " \t\n ", cam, &cam).result,
              ProfileStore::SaveResult::BlankName);
    EXPECT_EQ(settings::saveNewProfile(rig.profiles, "Evening", cam, &cam).result,
              ProfileStore::SaveResult::NameTaken);
    // The last-state record's name is taken too, once the record exists.
    ASSERT_TRUE(settings::updateSettings(rig.profiles, settings::kAllSettings, &cam));
    EXPECT_EQ(settings::saveNewProfile(rig.profiles, "AppDefault", cam, &cam).result,
              ProfileStore::SaveResult::NameTaken);
    // The last-state record stands between the profiles in the array but not in the lists.
    saved = settings::saveNewProfile(rig.profiles, "Day", cam, &cam);
    EXPECT_EQ(saved.listIndex, 3);
    EXPECT_EQ(names(rig.profiles.records(rig.model())),
              QStringList({"Evening", "AppDefault", "Day"}));
    EXPECT_EQ(names(rig.profiles.profiles(rig.model())), QStringList({"Evening", "Day"}));
    EXPECT_EQ(rig.profiles.listIndexOf(rig.model(), "Day"), 3);
    EXPECT_EQ(changed.size(), 2);  // the last-state record changes no list
    // Saved records are whole snapshots with their name.
    const SettingsRecord day = *rig.profiles.profileAt(rig.model(), 3);
    EXPECT_EQ(day.value("Brightness"), QVariant(qint64{rig.cam.controls().curBrightness}));
    EXPECT_FALSE(day.contains("AppDefault"));
}

TEST(ProfileStore, TwoCamerasOfAModelShareTheLastStateAndTheProfiles) {
    StoreRig rig;
    FixtureCamera second("generic.json");
    QTCamera& first = *rig.cam.camera;
    ASSERT_EQ(second.camera->modelUniqueID(), rig.model());

    EXPECT_TRUE(settings::loadAppDefault(rig.profiles, first, &first).created);
    first.setBrightness(10);
    first.setContrast(20);
    // Only the moved control's entries are refreshed.
    ASSERT_TRUE(settings::updateSettings(rig.profiles, settings::kBrightness, &first));
    SettingsRecord last = *rig.profiles.appDefaultRecord(rig.model());
    EXPECT_EQ(last.value("Brightness"), QVariant(qint64{10}));
    EXPECT_NE(last.value("Contrast"), QVariant(qint64{20}));
    EXPECT_EQ(last.value("AppDefault"), QVariant(true));

    second.device->clearRequests();
    EXPECT_FALSE(settings::loadAppDefault(rig.profiles, *second.camera, &first).created);
    EXPECT_EQ(second.controls().curBrightness, 10);
    EXPECT_EQ(rig.profiles.records(rig.model()).size(), 1);

    settings::saveNewProfile(rig.profiles, "Shared", first, &first);
    second.camera->setBrightness(-3);
    ASSERT_TRUE(settings::applyProfile(rig.profiles, rig.model(), 2, *second.camera));
    EXPECT_EQ(second.controls().curBrightness, 10);
    EXPECT_FALSE(settings::applyProfile(rig.profiles, rig.model(), 1, *second.camera));
    EXPECT_FALSE(settings::applyProfile(rig.profiles, rig.model(), 3, *second.camera));
}

TEST(ProfileStore, DeletingForgetsLoadAtStartAndUpdatingFindsTheShownRecord) {
    StoreRig rig;
    QTCamera& cam = *rig.cam.camera;
    for (const char* name : {"P1", "P2", "P3"})
        settings::saveNewProfile(rig.profiles, name, cam, &cam);
    rig.profiles.setLoadAtStart(rig.model(), 3);
    EXPECT_EQ(rig.profiles.loadAtStart(rig.model()), 3);

    // The camera-default item and the separator delete nothing, but the mark goes.
    EXPECT_FALSE(rig.profiles.deleteSettings(rig.model(), 0));
    EXPECT_FALSE(rig.profiles.deleteSettings(rig.model(), 1));
    EXPECT_EQ(rig.profiles.profiles(rig.model()).size(), 3);
    EXPECT_EQ(rig.profiles.loadAtStart(rig.model()), -1);

    rig.profiles.setLoadAtStart(rig.model(), 2);
    EXPECT_TRUE(rig.profiles.deleteSettings(rig.model(), 3));
    EXPECT_EQ(names(rig.profiles.profiles(rig.model())), QStringList({"P1", "P3"}));
    EXPECT_EQ(rig.profiles.loadAtStart(rig.model()), -1);

    // Another process deletes P1 while this one's list still shows P3 at index 3.
    const SettingsRecord shown = *rig.profiles.profileAt(rig.model(), 3);
    {
        DefaultsStore otherDefaults(rig.prefs.file());
        ProfileStore other(otherDefaults);
        ASSERT_TRUE(other.deleteSettings(rig.model(), 2));
    }
    cam.setBrightness(33);
    EXPECT_TRUE(settings::updateProfile(rig.profiles, 3, cam, &cam, &shown));
    const auto p3 = rig.profiles.profileAt(rig.model(), 2);
    ASSERT_TRUE(p3);
    EXPECT_EQ(p3->value("SettingsName"), QVariant("P3"));
    EXPECT_EQ(p3->value("Brightness"), QVariant(qint64{33}));
    EXPECT_EQ(rig.profiles.profiles(rig.model()).size(), 1);
    // A shown record that is gone is not updated, nor is an index that holds no profile.
    EXPECT_FALSE(settings::updateProfile(rig.profiles, 2, cam, &cam, &shown));
    EXPECT_FALSE(settings::updateProfile(rig.profiles, 1, cam, &cam));
}

TEST(ProfileStore, CleanDefaultsCollapsesNamesDropsEmptyModelsAndKeepsWhatItDoesNotKnow) {
    StoreRig rig;
    const QVariantMap a1{{"SettingsName", "A"}, {"Gain", 1}};
    const QVariantMap b{{"SettingsName", "B"}, {"Gain", 2}};
    const QVariantMap a2{{"SettingsName", "A"}, {"Gain", 3}};
    rig.defaults.setObject(
        QVariantMap{
            {"M1", QVariantList{a1, b, a2, 5}}, {"M2", QVariantList()}, {"M3", "not a list"}},
        "Settings");
    ASSERT_TRUE(rig.defaults.synchronize());
    log::ScopedCapture log;
    ASSERT_TRUE(rig.profiles.cleanDefaults());
    // Entries of another type are somebody's data: kept where they are, reported once.
    EXPECT_EQ(DefaultsStore(rig.prefs.file()).dictionaryForKey("Settings"),
              QVariantMap({{"M1", QVariantList{settings::plist::normalized(b),
                                               settings::plist::normalized(a2), 5}},
                           {"M3", "not a list"}}));
    ASSERT_TRUE(rig.profiles.cleanDefaults());
    EXPECT_EQ(log.lines().size(), 3u);  // M1's 5, M3, and the two "A" collapsed once
}

// A "Settings" that is not a dictionary, or a model entry that is not a list, would be replaced
// by the next change (the login unit's apply-last included): such an entry is kept byte for byte,
// the change is refused with a reason, and the rest of the store goes on working.
TEST(ProfileStore, EntriesOfAnotherTypeAreNeverWrittenOver) {
    const QVariant kinds[] = {QVariantList{1, "two"}, QVariantMap{{"x", 1}}};
    for (const QVariant& odd : kinds) {
        SCOPED_TRACE(odd.typeName());
        StoreRig rig;
        const bool settingsItself = odd.typeId() == QMetaType::QVariantList;
        rig.defaults.setObject(settingsItself ? odd : QVariantMap{{rig.model(), odd}}, "Settings");
        ASSERT_TRUE(rig.defaults.synchronize());
        const QVariant before = DefaultsStore(rig.prefs.file()).objectForKey("Settings");

        log::ScopedCapture log;
        EXPECT_EQ(
            settings::saveNewProfile(rig.profiles, "New", *rig.cam.camera, rig.cam.camera.get())
                .result,
            ProfileStore::SaveResult::NotWritten);
        EXPECT_TRUE(rig.profiles.problem().contains("kept as it is"))
            << rig.profiles.problem().toStdString();
        EXPECT_FALSE(settings::updateSettings(rig.profiles, 0, rig.cam.camera.get()));
        EXPECT_TRUE(
            settings::loadAppDefault(rig.profiles, *rig.cam.camera, rig.cam.camera.get()).created ==
            false);
        EXPECT_EQ(rig.profiles.deleteProfileNamed(rig.model(), "New"),
                  ProfileStore::NamedResult::NotWritten);
        rig.profiles.cleanDefaults();
        EXPECT_EQ(std::count_if(log.lines().cbegin(), log.lines().cend(),
                                [](const std::string& line) {
                                    return line.find("kept as it is") != std::string::npos;
                                }),
                  1);

        DefaultsStore after(rig.prefs.file());
        EXPECT_EQ(after.objectForKey("Settings"), before);
        // Other keys are still written.
        EXPECT_TRUE(rig.profiles.setLoadAtStart(rig.model(), 0));
        EXPECT_EQ(DefaultsStore(rig.prefs.file()).objectForKey("Settings"), before);
    }
}

// Another process changes the profiles between this process's read and its change: a profile is
// looked up by name in what the file holds under the lock, so the one meant is the one changed.
TEST(ProfileStore, ProfilesNamedAreLookedUpUnderTheLock) {
    StoreRig rig;
    for (const char* name : {"A", "B", "C"})
        ASSERT_EQ(
            settings::saveNewProfile(rig.profiles, name, *rig.cam.camera, rig.cam.camera.get())
                .result,
            ProfileStore::SaveResult::Saved);
    {
        DefaultsStore otherDefaults(rig.prefs.file());
        ProfileStore other(otherDefaults);
        ASSERT_EQ(other.deleteProfileNamed(rig.model(), "A"), ProfileStore::NamedResult::Done);
        rig.cam.camera->setGain(7);
        ASSERT_EQ(
            settings::saveNewProfile(other, "D", *rig.cam.camera, rig.cam.camera.get()).result,
            ProfileStore::SaveResult::Saved);
    }
    EXPECT_EQ(rig.profiles.deleteProfileNamed(rig.model(), "B"), ProfileStore::NamedResult::Done);
    EXPECT_EQ(rig.profiles.deleteProfileNamed(rig.model(), "A"),
              ProfileStore::NamedResult::NoSuchProfile);
    EXPECT_EQ(names(rig.profiles.profiles(rig.model())), QStringList({"C", "D"}));
    const auto d = rig.profiles.currentProfileNamed(rig.model(), "D");
    ASSERT_TRUE(d);
    EXPECT_EQ(d->value("Gain"), QVariant(qint64{7}));
}

TEST(ProfileStore, TheLifeCamStudioZoomIsLeftToTheSteppedZoom) {
    StoreRig rig("exposure-knob.json");
    rig.defaults.setObject(
        QVariantMap{{rig.model(), QVariantList{QVariantMap{{"SettingsName", "AppDefault"},
                                                           {"AppDefault", true},
                                                           {"ZoomAbsolute", 3}}}}},
        "Settings");
    QTCamera& cam = *rig.cam.camera;
    const auto outcome = settings::loadAppDefault(rig.profiles, cam, &cam);
    EXPECT_EQ(outcome.steppedZoomTarget, 3);

    FixtureCamera other("generic.json");
    EXPECT_FALSE(settings::loadAppDefault(rig.profiles, *other.camera, nullptr).steppedZoomTarget);
}

TEST(ProfileListModel, RowsStarsAndTheProfileInForce) {
    StoreRig rig;
    QTCamera& cam = *rig.cam.camera;
    for (const char* name : {"P1", "P2"})
        settings::saveNewProfile(rig.profiles, name, cam, &cam);
    rig.profiles.setLoadAtStart(rig.model(), 3);
    ProfileListModel list(rig.profiles);
    auto at = [&](int row, int role) { return list.data(list.index(row), role); };

    EXPECT_EQ(list.showModel(rig.model(), false), 3);
    ASSERT_EQ(list.rowCount(), 4);
    EXPECT_EQ(at(0, Qt::DisplayRole), QVariant("CameraDefault"));
    EXPECT_EQ(at(1, Qt::AccessibleDescriptionRole), QVariant("separator"));
    EXPECT_EQ(list.flags(list.index(1)), Qt::NoItemFlags);
    EXPECT_EQ(at(2, Qt::DisplayRole), QVariant("P1"));
    EXPECT_EQ(at(3, ProfileListModel::StarImageRole), QVariant("Star"));
    EXPECT_EQ(at(3, ProfileListModel::TagRole), QVariant(1));
    EXPECT_EQ(at(2, ProfileListModel::StarImageRole), QVariant("NoStar"));
    EXPECT_EQ(at(3, Qt::CheckStateRole), QVariant(Qt::Checked));
    EXPECT_EQ(at(2, Qt::CheckStateRole), QVariant(Qt::Unchecked));

    list.markModified();
    EXPECT_EQ(at(3, Qt::CheckStateRole), QVariant(Qt::PartiallyChecked));
    list.setCurrentRow(2);
    EXPECT_EQ(at(2, Qt::CheckStateRole), QVariant(Qt::Checked));
    EXPECT_EQ(at(3, Qt::CheckStateRole), QVariant(Qt::Unchecked));

    // The load-at-start profile is applied once per camera.
    EXPECT_EQ(list.showModel(rig.model(), true), -1);

    // The rows follow the store: a saved profile is the one in force, an updated one is no
    // longer modified, a delete leaves none in force.
    settings::saveNewProfile(rig.profiles, "P3", cam, &cam);
    EXPECT_EQ(list.rowCount(), 5);
    EXPECT_EQ(at(4, Qt::DisplayRole), QVariant("P3"));
    EXPECT_EQ(list.currentRow(), 4);
    list.setCurrentRow(3);
    list.markModified();
    settings::updateProfile(rig.profiles, 3, cam, &cam);
    EXPECT_EQ(at(3, Qt::CheckStateRole), QVariant(Qt::Checked));
    // Another process's change moves the profile in force; its mark moves with it.
    {
        DefaultsStore otherDefaults(rig.prefs.file());
        ProfileStore(otherDefaults).deleteSettings(rig.model(), 2);
    }
    rig.profiles.reload();
    EXPECT_EQ(list.rowCount(), 4);
    EXPECT_EQ(list.currentRow(), 2);
    EXPECT_EQ(at(2, Qt::DisplayRole), QVariant("P2"));
    rig.profiles.deleteSettings(rig.model(), 3);
    EXPECT_EQ(list.currentRow(), -1);
    EXPECT_EQ(list.startRow(), -1);  // deleting forgot the mark
    EXPECT_EQ(at(2, ProfileListModel::StarRole), QVariant(false));

    // The camera default as the start: both lists star it when it is chosen, but a list built
    // with it stars it in the pop-up only.
    EXPECT_TRUE(list.markLoadAtStart(0));
    EXPECT_EQ(at(0, ProfileListModel::StarRole), QVariant(true));
    EXPECT_EQ(at(0, ProfileListModel::MenuStarRole), QVariant(true));
    EXPECT_EQ(list.showModel(rig.model(), false), 0);
    EXPECT_EQ(at(0, ProfileListModel::StarRole), QVariant(true));
    EXPECT_EQ(at(0, ProfileListModel::MenuStarRole), QVariant(false));

    list.clear();
    EXPECT_EQ(list.rowCount(), 2);
    EXPECT_FALSE(list.markLoadAtStart(0));
}

TEST(Preferences, AFreshUserAndTheLoginItem) {
    ScratchPreferences prefs;
    DefaultsStore defaults(prefs.file());
    ProfileStore profiles(defaults);
    linuxplatform::XdgAutostart login("/opt/my apps/orvella", {"--hidden"},
                                      prefs.dir.filePath("autostart/orvella.desktop"));
    settings::Preferences preferences(defaults, &login);
    preferences.startUp(profiles);
    EXPECT_TRUE(preferences.panelOn());
    EXPECT_FALSE(preferences.launchAtLogin());
    EXPECT_EQ(preferences.updateSlider(), 0);
    EXPECT_EQ(preferences.reconfigureWebcam(), 0);
    EXPECT_EQ(preferences.hideMenuBarIcon(), 0);
    EXPECT_EQ(preferences.bwMenuIcon(), 1);
    DefaultsStore written(prefs.file());
    EXPECT_EQ(written.objectForKey("Black and White Menu Icon"), QVariant(qint64{1}));
    EXPECT_EQ(written.objectForKey("Show/Hide Control Panel"), QVariant(true));
    EXPECT_FALSE(written.objectForKey("UpdateSlider").isValid());  // registered, not written

    // A colour icon lasts until the next start.
    preferences.setMenuIcon(false);
    EXPECT_EQ(DefaultsStore(prefs.file()).integerForKey("Black and White Menu Icon"), 0);
    settings::Preferences restarted(defaults);
    restarted.readDefaults();
    EXPECT_EQ(restarted.bwMenuIcon(), 1);

    preferences.selectUpdateSlider(4);
    preferences.selectReconfigureWebcam(3);  // not offered, but kept as it is
    EXPECT_EQ(DefaultsStore(prefs.file()).integerForKey("UpdateSlider"), 4);
    EXPECT_EQ(DefaultsStore(prefs.file()).integerForKey("ReconfigureWebcam"), 3);
    preferences.selectReconfigureWebcam(-5);  // nonsense: off
    EXPECT_EQ(DefaultsStore(prefs.file()).integerForKey("ReconfigureWebcam"), 0);

    preferences.setDisplayValue(3, true);
    EXPECT_TRUE(preferences.displayValue(3));
    EXPECT_FALSE(preferences.displayValue(14));
    EXPECT_EQ(DefaultsStore(prefs.file()).dictionaryForKey("Display Value"),
              QVariantMap({{"3", true}}));

    // Launch at login is a real autostart entry, and resetting to camera defaults removes it.
    preferences.clickLaunchAtLogin(true);
    EXPECT_TRUE(login.isEnabled());
    EXPECT_TRUE(DefaultsStore(prefs.file()).boolForKey("Launch at Login"));
    QFile entry(login.path());
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    EXPECT_TRUE(entry.readAll().contains("\nExec=\"/opt/my apps/orvella\" --hidden\n"));
    preferences.switchOffLaunchAtLogin();
    EXPECT_FALSE(QFile::exists(login.path()));
    EXPECT_FALSE(DefaultsStore(prefs.file()).boolForKey("Launch at Login"));
}

// Preferences of another type than the application writes stay as they are until the user
// changes them: a start writes nothing over them, and a choice that needs the dictionary is not
// stored.
TEST(Preferences, ValuesOfAnotherTypeAreKeptUntilChanged) {
    ScratchPreferences prefs;
    DefaultsStore defaults(prefs.file());
    defaults.setObject(QString("yes"), "Show/Hide Control Panel");
    defaults.setObject(QVariantList{1, 2}, "Display Value");
    ASSERT_TRUE(defaults.synchronize());
    ProfileStore profiles(defaults);
    settings::Preferences preferences(defaults);
    preferences.startUp(profiles);
    preferences.setDisplayValue(3, true);
    DefaultsStore after(prefs.file());
    EXPECT_EQ(after.objectForKey("Show/Hide Control Panel"), QVariant(QString("yes")));
    EXPECT_EQ(after.objectForKey("Display Value"), QVariant(QVariantList{1, 2}));
    EXPECT_EQ(after.integerForKey("Black and White Menu Icon"), 1);  // written at every start
    // A change the user makes is written.
    preferences.setPanelOn(true);
    EXPECT_EQ(DefaultsStore(prefs.file()).objectForKey("Show/Hide Control Panel"), QVariant(true));
}

}  // namespace
}  // namespace orvella
