// orvellactl as a user runs it: the built program over virtual cameras, its output, and its
// answers to bad input (one line on standard error, a non-zero exit, never a crash).

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <tuple>

#include "support/Orvellactl.h"

namespace orvella {
namespace {

using testing::cameraFixture;
using testing::CtlRun;
using testing::runOrvellactl;

QStringList twoCameras(QStringList command) {
    return QStringList{"--virtual", cameraFixture("logitech-c270.json"), "--virtual",
                       cameraFixture("builtin.json")} +
           command;
}

TEST(OrvellaCtl, ListsAndShowsCameras) {
    const CtlRun list = runOrvellactl(twoCameras({"list"}));
    ASSERT_EQ(list.exitCode, 0) << list.err.toStdString();
    const QStringList lines = list.out.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(lines[0],
              "1\tC270 HD WEBCAM\t0x1a200000046d0825\tUVC Camera VendorID_1133 "
              "ProductID_2085");
    EXPECT_TRUE(lines[1].startsWith("2\tFaceTime HD Camera (Built-in)\t0x8020000005ac8507\t"));

    const CtlRun show = runOrvellactl(twoCameras({"show", "FaceTime", "--json"}));
    ASSERT_EQ(show.exitCode, 0) << show.err.toStdString();
    const QJsonObject json = QJsonDocument::fromJson(show.out.toUtf8()).object();
    EXPECT_EQ(json["modelUniqueID"].toString(), "Apple Camera VendorID_0x106B ProductID_0x8507");
    EXPECT_EQ(json["vendorID"].toInt(), 0x106B);
    EXPECT_EQ(json["cameraType"].toInt(), 2);
    EXPECT_EQ(json["bBrightness"].toInt(), 1);
    EXPECT_EQ(json["maxBrightness"].toInt(), 255);
    for (const char* key : {"uniqueID", "displayName", "locationID", "productID", "interfaceNumber",
                            "inputTerminalID", "processingUnitID", "defaultFrameIndex", "ledIndex",
                            "cameraLED", "wObjectiveFocalLengthMax", "formatArray"})
        EXPECT_TRUE(json.contains(key)) << key;

    const CtlRun usb = runOrvellactl(twoCameras({"--json", "show", "0x1a200000046d0825"}));
    const QJsonArray formats = QJsonDocument::fromJson(usb.out.toUtf8())["formatArray"].toArray();
    ASSERT_FALSE(formats.isEmpty());
    EXPECT_EQ(formats[0]["FrameIndex"].toInt(), 0x101);
    EXPECT_EQ(formats[0]["FormatCode"].toInteger(), 0x32595559);
    EXPECT_TRUE(formats[0]["FormatFPS"].isArray());

    const CtlRun text = runOrvellactl({"--demo", "show"});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_TRUE(text.out.contains("Brightness")) << text.out.toStdString();
    EXPECT_TRUE(text.err.isEmpty()) << text.err.toStdString();  // the trace needs --verbose
    EXPECT_FALSE(runOrvellactl({"--demo", "--verbose", "list"}).err.isEmpty());
}

TEST(OrvellaCtl, GetsAndSetsControls) {
    CtlRun get = runOrvellactl(twoCameras({"get", "1", "Contrast"}));
    EXPECT_EQ(get.exitCode, 0) << get.err.toStdString();
    EXPECT_EQ(get.out, "32\n");
    get = runOrvellactl({"--virtual", cameraFixture("builtin.json"), "get", "brightness"});
    EXPECT_EQ(get.out, "128\n") << get.err.toStdString();

    const CtlRun set = runOrvellactl(twoCameras({"set", "C270", "Gain", "0x40"}));
    EXPECT_EQ(set.exitCode, 0) << set.err.toStdString();
    EXPECT_EQ(set.out, "Gain = 64\n");
    EXPECT_EQ(runOrvellactl(twoCameras({"defaults", "2"})).exitCode, 0);
}

// The controls beyond the system's own: named by get and set, refused without a request where
// the control does not allow the value, listed with kind and range by show --json.
TEST(OrvellaCtl, ControlsBeyondTheSystemsOwnAreNamedAndGuarded) {
    const QString camera = cameraFixture("logitech-extension-units.json");
    CtlRun set = runOrvellactl({"--virtual", camera, "set", "RollAbsolute", "-30"});
    EXPECT_EQ(set.exitCode, 0) << set.err.toStdString();
    EXPECT_EQ(set.out, "RollAbsolute = -30\n");
    set = runOrvellactl({"--virtual", camera, "set", "logitech.led1.frequency", "7"});
    EXPECT_EQ(set.out, "logitech.led1.frequency = 7\n") << set.err.toStdString();
    EXPECT_EQ(runOrvellactl({"--virtual", camera, "get", "xu.12.1"}).out, "67305985\n");

    QTemporaryDir dir;
    const QString log = dir.filePath("requests.log");
    for (const auto& [key, value, why] :
         {std::tuple{"xu.12.1", "1", "xu.12.1 is read-only (unknown extension unit)"},
          std::tuple{"RollAbsolute", "500", "RollAbsolute takes -180..180, not 500"},
          std::tuple{"logitech.led1.mode", "9",
                     "logitech.led1.mode takes 0 (Off), 1 (On), 2 (Blinking), 3 (Auto), not 9"}}) {
        const CtlRun refused =
            runOrvellactl({"--virtual", camera, "--request-log", log, "set", key, value});
        EXPECT_NE(refused.exitCode, 0);
        EXPECT_EQ(refused.err, QStringLiteral("orvellactl: %1\n").arg(why));
    }
    EXPECT_TRUE(testing::fileLines(log).filter(QRegularExpression("^1 21 01 ")).isEmpty());

    // A command on a system control builds the camera without probing the controls beyond the
    // system's own: no extension unit is asked its length; one on an extra control probes them.
    const QRegularExpression getLen("^1 a1 85 ");
    const QString gainLog = dir.filePath("gain.log"), rollLog = dir.filePath("roll.log");
    EXPECT_EQ(
        runOrvellactl({"--virtual", camera, "--request-log", gainLog, "set", "Gain", "5"}).exitCode,
        0);
    EXPECT_TRUE(testing::fileLines(gainLog).filter(getLen).isEmpty());
    runOrvellactl({"--virtual", camera, "--request-log", rollLog, "get", "RollAbsolute"});
    EXPECT_FALSE(testing::fileLines(rollLog).filter(getLen).isEmpty());

    const CtlRun show = runOrvellactl({"--virtual", camera, "show", "--json"});
    const QJsonArray controls =
        QJsonDocument::fromJson(show.out.toUtf8()).object().value("controls").toArray();
    QMap<QString, QJsonObject> byName;
    for (const QJsonValue& control : controls)
        byName[control.toObject().value("name").toString()] = control.toObject();
    EXPECT_EQ(byName["Brightness"].value("kind").toString(), "range");
    EXPECT_EQ(byName["AutoExposureMode"].value("kind").toString(), "bitmap");
    EXPECT_EQ(byName["RollAbsolute"].value("min").toInt(), -180);
    EXPECT_EQ(byName["RollAbsolute"].value("recordKey").toString(), "x.RollAbsolute");
    EXPECT_EQ(byName["logitech.motor.pan.relative"].value("kind").toString(), "move");
    EXPECT_EQ(byName["logitech.led1.mode"].value("items").toArray().size(), 4);
    EXPECT_FALSE(byName["xu.12.1"].value("writable").toBool());
    EXPECT_EQ(byName["xu.12.1"].value("guid").toString(), "33221100-5544-7766-8899-aabbccddeeff");
}

// A value beyond the control's range is clamped to the range the camera gave before it is
// encoded: 100000 cut to Brightness's two bytes reached the camera as another number.
TEST(OrvellaCtl, ValuesOutsideTheRangeAreClampedAndSaid) {
    QTemporaryDir dir;
    const QString log = dir.filePath("requests.log");
    const CtlRun high = runOrvellactl({"--virtual", cameraFixture("generic.json"), "--request-log",
                                       log, "set", "1", "Brightness", "100000"});
    EXPECT_EQ(high.exitCode, 0) << high.err.toStdString();
    EXPECT_EQ(high.err, "orvellactl: Brightness 100000 is beyond -64..64; the camera took 64\n");
    EXPECT_EQ(high.out, "Brightness = 64\n");
    // The one SET_CUR of brightness (selector 2) carried 64.
    const QStringList writes = testing::fileLines(log).filter(QRegularExpression("^1 21 01 0200 "));
    ASSERT_EQ(writes.size(), 1) << testing::fileLines(log).join('\n').toStdString();
    EXPECT_TRUE(writes[0].endsWith(" 2 4000 ok")) << writes[0].toStdString();

    const CtlRun low = runOrvellactl(twoCameras({"set", "C270", "Brightness", "-5"}));
    EXPECT_EQ(low.exitCode, 0);
    EXPECT_EQ(low.err, "orvellactl: Brightness -5 is beyond 0..255; the camera took 0\n");
    EXPECT_EQ(low.out, "Brightness = 0\n");
}

TEST(OrvellaCtl, BadInputGivesOneLineAndNonZeroExit) {
    QTemporaryDir dir;
    const auto write = [&](const char* name, const char* content) {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return file.fileName();
    };
    const QString broken = write("broken.json", "{\"vendorID\": ");
    const QString badMedia = write("media.json", R"({"vendorID": 1, "productID": 2,
        "mediaDevice": {"controls": [{"class": "toolong"}]}})");
    const QString huge =
        write("huge.json", QByteArray(5 << 20, ' ').prepend("{\"vendorID\": 1}").constData());

    const testing::CtlCase cases[] = {
        {{"show"}, 1, "no camera"},  // this machine has no camera of its own
        {{"--demo", "--bogus", "list"}, 2, "--bogus"},
        {{"--demo"}, 2, "no command"},
        {{"--demo", "frobnicate"}, 2, "frobnicate"},
        {{"--demo", "get", "1", "Bogus"}, 2, "Bogus"},
        {{"--demo", "get", "9", "Gain"}, 1, "no camera"},
        {{"--demo", "get", "1", "NoiseReduction"}, 1, "NoiseReduction"},
        {{"--demo", "set", "1", "Gain", "loud"}, 2, "loud"},
        {{"--demo", "set", "1", "Gain", "1.5"}, 2, "1.5"},
        {{"--demo", "set", "1", "Gain", "99999999999999999999"}, 2, "whole number"},
        {{"--demo", "list", "--json"}, 2, "--json"},
        {{"--demo", "get"}, 2, "usage"},
        // A missing value is named as such, not taken for a control called "Brightness".
        {{"--demo", "set", "1", "Brightness"},
         2,
         "Brightness needs a VALUE; usage: orvellactl set"},
        {{"--demo", "set", "brightness"}, 2, "brightness needs a VALUE"},
        {{"--demo", "set", "1"}, 2, "usage: orvellactl set CAMERA CONTROL VALUE"},
        {{"--virtual"}, 2, "FILE"},
        {{"--virtual", dir.filePath("missing.json"), "list"}, 1, "missing.json"},
        {{"--virtual", broken, "list"}, 1, "broken.json"},
        {{"--virtual", badMedia, "list"}, 1, "class"},
        {{"--virtual", "/dev/zero", "list"}, 1, "/dev/zero: not a regular file"},
        {{"--virtual", huge, "list"}, 1, "larger than 4 MB"},
        {{"--demo", "--request-log", "/dev/full", "defaults"},
         1,
         "cannot write the request log /dev/full: No space left on device"},
        {twoCameras({"get", "Brightness"}), 2, "2 cameras"},
        {twoCameras({"get", "a", "Brightness"}), 1, "matches 2"},
    };
    for (const testing::CtlCase& c : cases)
        testing::expectAnswer(c, runOrvellactl(c.arguments));
}

// The generic camera starts in aperture priority with automatic white balance and focus: a write
// the camera refuses for that names the mode and the value that frees the control.
TEST(OrvellaCtl, AWriteAnAutomaticModeRefusesNamesTheMode) {
    const testing::CtlCase cases[] = {
        {{"--virtual", cameraFixture("generic.json"), "set", "1", "ExposureTimeAbsolute", "100"},
         1,
         "ExposureTimeAbsolute is governed by the automatic exposure mode (aperture priority); "
         "set AutoExposureMode to manual (1) first"},
        {{"--virtual", cameraFixture("generic.json"), "set", "1", "FocusAbsolute", "10"},
         1,
         "FocusAbsolute is governed by FocusAuto (on); set FocusAuto to 0 first"},
    };
    for (const testing::CtlCase& c : cases) {
        const CtlRun run = runOrvellactl(c.arguments);
        testing::expectAnswer(c, run);
        EXPECT_FALSE(run.err.contains("status")) << run.err.toStdString();
    }
}

// No camera is an empty list and one line saying so; the machine running the tests has none.
TEST(OrvellaCtl, ListWithoutCamerasSaysSo) {
    const CtlRun list = runOrvellactl({"list"});
    EXPECT_EQ(list.exitCode, 0);
    EXPECT_TRUE(list.out.isEmpty()) << list.out.toStdString();
    EXPECT_EQ(list.err, "orvellactl: no camera found\n");
}

TEST(OrvellaCtl, HelpNamesEveryCommandAndControl) {
    const CtlRun help = runOrvellactl({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* word : {"list", "show", "get", "set", "defaults", "--virtual", "--demo",
                             "--json", "--verbose", "PanAbsolute", "LEDIndex", "Exit status"})
        EXPECT_TRUE(help.out.contains(word)) << word;
}

}  // namespace
}  // namespace orvella
