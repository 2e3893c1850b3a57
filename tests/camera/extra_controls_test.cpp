// The controls beyond the catalog's rows: which rows a camera's descriptors give (standard
// controls the system does not drive, extension units known from the data file, unknown ones),
// what bad answers leave out, what a write is refused without a request, and a stored extra value
// through a record, the plist a profile is written as, and the guard's restore.

#include <gtest/gtest.h>

#include <map>

#include "camera/ControlCatalogExtra.h"
#include "platform/Log.h"
#include "settings/PlistCodec.h"
#include "settings/SettingsRecord.h"
#include "support/OpenedCamera.h"
#include "support/RequestsSeen.h"

namespace orvella {
namespace {

using testing::logged;
using testing::openFixture;
using testing::setCurs;
using testing::valuesWritten;

struct Expected {
    ExtraKind kind;
    bool writable;
    bool stored;
};

std::map<QString, const ExtraControl*> byKey(const QTCamera& camera) {
    std::map<QString, const ExtraControl*> rows;
    for (const ExtraControl& control : camera.extraControls())
        rows[control.key] = &control;
    return rows;
}

TEST(ExtraControls, DataFileParses) {
    const extras::DataFileSummary summary = extras::dataFileSummary();
    EXPECT_TRUE(summary.error.isEmpty()) << summary.error.toStdString();
    EXPECT_GE(summary.units, 6);
    EXPECT_GE(summary.controls, 14);
    const uint8_t wire[16] = {0x82, 0x06, 0x61, 0x63, 0x70, 0x50, 0xab, 0x49,
                              0xb8, 0xcc, 0xb3, 0x85, 0x5e, 0x8d, 0x22, 0x1f};
    EXPECT_EQ(extras::guidText(wire), QStringLiteral("63610682-5070-49ab-b8cc-b3855e8d221f"));
}

TEST(ExtraControls, ALogitechCameraWithUvc15BitsAndExtensionUnitsGivesItsRows) {
    auto c = openFixture("logitech-extension-units.json");
    log::ScopedCapture log;
    c->probe();
    const auto rows = byKey(*c->camera);

    const std::map<QString, Expected> expected = {
        // Standard controls the catalog does not drive.
        {"RollAbsolute", {ExtraKind::Range, true, true}},
        {"Privacy", {ExtraKind::Boolean, true, true}},
        {"FocusSimple", {ExtraKind::Menu, true, true}},
        {"WhiteBalanceBlue", {ExtraKind::Range, true, true}},
        {"WhiteBalanceRed", {ExtraKind::Range, true, true}},
        {"HueAuto", {ExtraKind::Boolean, true, true}},
        {"WhiteBalanceComponentAuto", {ExtraKind::Boolean, true, true}},
        // GET_INFO says the camera only reports it.
        {"ContrastAuto", {ExtraKind::Boolean, false, false}},
        // Extension units the data file knows; the LED mode is the system's LEDIndex already.
        {"logitech.led1.mode", {ExtraKind::Menu, true, false}},
        {"logitech.led1.frequency", {ExtraKind::Range, true, true}},
        {"logitech.motor.pan.relative", {ExtraKind::Move, true, false}},
        {"logitech.motor.tilt.relative", {ExtraKind::Move, true, false}},
        {"logitech.motor.pantilt.reset", {ExtraKind::Command, true, false}},
        {"logitech.motor.focus", {ExtraKind::Range, true, false}},
        // GET_LEN 4 where the file says 5: read-only.
        {"logitech.peripheral.led1.mode", {ExtraKind::ReadOnly, false, false}},
        {"logitech.peripheral.led1.frequency", {ExtraKind::ReadOnly, false, false}},
        // A unit the file does not know: listed, read-only.
        {"xu.12.1", {ExtraKind::ReadOnly, false, false}},
    };
    for (const auto& [key, want] : expected) {
        ASSERT_TRUE(rows.count(key)) << key.toStdString();
        const ExtraControl& row = *rows.at(key);
        EXPECT_EQ(row.kind, want.kind) << key.toStdString();
        EXPECT_EQ(row.writable, want.writable) << key.toStdString();
        EXPECT_EQ(row.isStored(), want.stored) << key.toStdString();
    }
    EXPECT_EQ(rows.size(), expected.size());

    const ExtraControl& roll = *rows.at("RollAbsolute");
    EXPECT_TRUE(roll.isSigned);
    EXPECT_EQ(roll.min, -180);
    EXPECT_EQ(roll.max, 180);
    EXPECT_EQ(rows.at("WhiteBalanceRed")->offset, 2);
    EXPECT_EQ(rows.at("WhiteBalanceRed")->cur, 128);
    EXPECT_EQ(rows.at("logitech.led1.mode")->cur, 3);
    EXPECT_EQ(rows.at("logitech.led1.frequency")->cur, 10);
    EXPECT_EQ(rows.at("xu.12.1")->cur, 0x04030201);
    EXPECT_EQ(rows.at("xu.12.1")->name, QStringLiteral("unknown extension unit"));

    // Each control left out or made read-only says so once.
    EXPECT_TRUE(logged(log,
                       "Extension unit 12 {33221100-5544-7766-8899-aabbccddeeff}: unknown "
                       "extension unit"));
    EXPECT_TRUE(logged(log, "Extension unit 12 selector 2 left out: length 100 (at most 64)"));
    EXPECT_TRUE(logged(log, "Extension unit 12 selector 3 left out: GET_LEN failed (e000404f)"));
    EXPECT_TRUE(logged(log,
                       "Extra control logitech.peripheral.led1.mode read-only: the camera "
                       "says 4 bytes, the data file 5"));
}

TEST(ExtraControls, AStallOrAValueOutsideTheMenuLeavesTheControlOutOrReadOnly) {
    auto c = openFixture("logitech-extension-units.json");
    c->device->stallSelector(1, 0x11, 6);    // privacy
    c->device->setCurrentValue(1, 0x12, 7);  // simple focus: items 0 to 3
    log::ScopedCapture log;
    c->probe();
    const auto rows = byKey(*c->camera);
    EXPECT_FALSE(rows.count("Privacy"));
    ASSERT_TRUE(rows.count("FocusSimple"));
    EXPECT_EQ(rows.at("FocusSimple")->kind, ExtraKind::ReadOnly);
    EXPECT_FALSE(rows.at("FocusSimple")->writable);
    EXPECT_TRUE(logged(log, "Extra control Privacy left out: GET_INFO failed (e000404f)"));
    EXPECT_TRUE(logged(log, "Extra control FocusSimple read-only: value 7 is none of its items"));
    c->device->clearRequests();
    EXPECT_EQ(extras::set(*c->camera, *c->camera->extraControl("FocusSimple"), 1),
              kIOReturnNotPermitted);
    EXPECT_TRUE(c->device->requests().empty());
}

TEST(ExtraControls, WritesGoOnlyWhereTheRowAllows) {
    auto c = openFixture("logitech-extension-units.json");
    c->probe();
    c->device->clearRequests();
    QTCamera& camera = *c->camera;
    auto row = [&](const char* key) { return camera.extraControl(QString::fromLatin1(key)); };

    // Refused without a request: read-only, unknown, outside the range or the menu.
    EXPECT_EQ(extras::set(camera, *row("xu.12.1"), 5), kIOReturnNotPermitted);
    EXPECT_EQ(extras::set(camera, *row("logitech.peripheral.led1.mode"), 1), kIOReturnNotPermitted);
    EXPECT_EQ(extras::set(camera, *row("ContrastAuto"), 1), kIOReturnNotPermitted);
    EXPECT_EQ(extras::set(camera, *row("RollAbsolute"), 181), kIOReturnBadArgument);
    EXPECT_EQ(extras::set(camera, *row("logitech.led1.mode"), 4), kIOReturnBadArgument);
    EXPECT_EQ(extras::set(camera, *row("logitech.motor.pantilt.reset"), 3), kIOReturnBadArgument);
    EXPECT_TRUE(c->device->requests().empty());

    // A signed standard control: two bytes, read back.
    EXPECT_EQ(extras::set(camera, *row("RollAbsolute"), -90), kIOReturnSuccess);
    EXPECT_EQ(valuesWritten(*c->device, 1, 0x0F), (std::vector<int64_t>{-90}));
    long value = 0;
    EXPECT_EQ(extras::query(camera, *row("RollAbsolute"), &value), kIOReturnSuccess);
    EXPECT_EQ(value, -90);

    // A value inside a longer control keeps the other bytes as the camera holds them.
    c->device->clearRequests();
    EXPECT_EQ(extras::set(camera, *row("logitech.led1.frequency"), 40), kIOReturnSuccess);
    EXPECT_EQ(setCurs(*c->device),
              (std::vector<testing::SetCur>{{4, 1, std::vector<uint8_t>{3, 0, 40}}}));
    EXPECT_EQ(row("logitech.led1.frequency")->cur, 40);

    // The red half of the white-balance component leaves the blue half alone.
    c->device->clearRequests();
    EXPECT_EQ(extras::set(camera, *row("WhiteBalanceRed"), 200), kIOReturnSuccess);
    EXPECT_EQ(setCurs(*c->device),
              (std::vector<testing::SetCur>{{2, 0x0C, std::vector<uint8_t>{128, 0, 200, 0}}}));

    // A relative move is a direction and the slowest speed, and a command its item's bytes.
    c->device->clearRequests();
    EXPECT_EQ(extras::set(camera, *row("logitech.motor.tilt.relative"), -1), kIOReturnSuccess);
    EXPECT_EQ(extras::set(camera, *row("logitech.motor.pantilt.reset"), 2), kIOReturnSuccess);
    EXPECT_EQ(setCurs(*c->device),
              (std::vector<testing::SetCur>{{9, 1, std::vector<uint8_t>{0, 0, 0x80, 0xFF}},
                                            {9, 2, std::vector<uint8_t>{3}}}));
}

TEST(ExtraControls, AStoredExtraValueSurvivesAProfileAndTheRestore) {
    auto c = openFixture("logitech-extension-units.json");
    c->probe();
    c->camera->queryControlStatus();
    QTCamera& camera = *c->camera;
    ASSERT_EQ(extras::set(camera, *camera.extraControl("RollAbsolute"), 45), kIOReturnSuccess);
    ASSERT_EQ(extras::set(camera, *camera.extraControl("logitech.led1.frequency"), 20),
              kIOReturnSuccess);

    // Saved as a profile is: the record written as a property list and read back.
    settings::SettingsRecord record;
    settings::allSettingsDict(record, camera, nullptr);
    EXPECT_EQ(record.value("x.RollAbsolute").toLongLong(), 45);
    EXPECT_EQ(record.value("x.logitech.led1.frequency").toLongLong(), 20);
    EXPECT_FALSE(record.contains("x.logitech.led1.mode"));  // the LEDIndex keeps it
    EXPECT_FALSE(record.contains("x.xu.12.1"));
    QString why;
    const auto loaded = settings::plist::parseDictionary(settings::plist::toXml(record), &why);
    ASSERT_TRUE(loaded) << why.toStdString();

    // Someone else moves them; the restore applies the record: the system's own keys first,
    // exactly as before, then the extra ones.
    ASSERT_EQ(extras::set(camera, *camera.extraControl("RollAbsolute"), -10), kIOReturnSuccess);
    ASSERT_EQ(extras::set(camera, *camera.extraControl("logitech.led1.frequency"), 99),
              kIOReturnSuccess);
    settings::SettingsRecord systemOnly = *loaded;
    for (const QString& key : systemOnly.keys())
        if (key.startsWith("x.")) systemOnly.remove(key);
    c->device->clearRequests();
    settings::loadSettings(systemOnly, camera);
    const std::vector<testing::SetCur> systemWrites = setCurs(*c->device);

    c->device->clearRequests();
    settings::loadSettings(*loaded, camera);
    const std::vector<testing::SetCur> allWrites = setCurs(*c->device);
    ASSERT_GE(allWrites.size(), systemWrites.size() + 2);
    EXPECT_TRUE(std::equal(systemWrites.begin(), systemWrites.end(), allWrites.begin()));
    EXPECT_EQ(camera.extraControl("RollAbsolute")->cur, 45);
    EXPECT_EQ(camera.extraControl("logitech.led1.frequency")->cur, 20);

    settings::SettingsRecord now;
    settings::allSettingsDict(now, camera, nullptr);
    EXPECT_TRUE(settings::settingsThatDidNotStick(*loaded, now).isEmpty());

    // The camera's defaults: the extra controls a record keeps go back to their GET_DEF too.
    camera.setDefaults();
    EXPECT_EQ(camera.extraControl("RollAbsolute")->cur, 0);
    EXPECT_EQ(camera.extraControl("logitech.led1.frequency")->cur, 10);

    // A stored value the control does not take is not sent.
    settings::SettingsRecord bad;
    bad.insert("x.RollAbsolute", qint64{1000});
    c->device->clearRequests();
    log::ScopedCapture log;
    settings::loadSettings(bad, camera);
    EXPECT_TRUE(valuesWritten(*c->device, 1, 0x0F).empty());
    EXPECT_TRUE(logged(
        log, "    x.RollAbsolute: stored value 1000 is not one the control takes; not sent"));
}

}  // namespace
}  // namespace orvella
