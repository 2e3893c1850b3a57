// orvellactl's profile commands as separate processes beside the application's own store: a
// profile saved on one side is listed and applied on the other, two processes saving at once keep
// every profile, the request log shows what reached the cameras, and bad input is one line. (That
// a running application's lists pick up what orvellactl saves is the controller tests' part.)

#include <gtest/gtest.h>

#include <QRegularExpression>
#include <QTemporaryDir>

#include <unistd.h>

#include "settings/CameraProfiles.h"
#include "settings/DefaultsStore.h"
#include "settings/ProfileStore.h"
#include "settings/SettingsRecord.h"
#include "support/OpenedCamera.h"
#include "support/Orvellactl.h"
#include "support/RequestsSeen.h"
#include "tools/CtlRequestLog.h"

namespace orvella {
namespace {

using settings::DefaultsStore;
using settings::ProfileStore;

using testing::cameraFixture;
using testing::CtlRun;
using testing::fileLines;

// orvellactl with a preferences folder of its own.
struct Ctl {
    QTemporaryDir home;

    QString prefsFile() const { return home.filePath("orvella/org.orvella.Orvella.plist"); }
    QProcessEnvironment environment() const {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_CONFIG_HOME", home.path());
        return env;
    }
    CtlRun operator()(const QStringList& arguments) const {
        return testing::runOrvellactl(arguments, environment());
    }
    // A shell loop of orvellactl commands, started: `$0` is orvellactl, `$1` the generic camera's
    // definition and `$2` the argument given.
    std::unique_ptr<QProcess> loop(const char* script, const QString& argument) const {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environment());
        process->start("/bin/sh",
                       {"-c", script, ORVELLA_ORVELLACTL, cameraFixture("generic.json"), argument});
        return process;
    }
};

// The SET_CUR lines of a request log.
QStringList setCurLines(const QStringList& log) {
    return log.filter(QRegularExpression("^\\d+ 21 01 "));
}

TEST(OrvellaCtlProfiles, AProfileSavedOnOneSideIsListedAndAppliedOnTheOther) {
    Ctl ctl;
    const QStringList camera{"--virtual", cameraFixture("generic.json")};
    // The application saves a profile...
    DefaultsStore appDefaults(ctl.prefsFile());
    ProfileStore app(appDefaults);
    testing::FixtureCamera cam("generic.json");
    cam.camera->setBrightness(25);
    cam.camera->setGain(9);
    ASSERT_EQ(settings::saveNewProfile(app, " Studio ", *cam.camera, cam.camera.get()).result,
              ProfileStore::SaveResult::Saved);

    // ...orvellactl lists it and applies it to a camera of the model.
    CtlRun run = ctl(camera + QStringList{"profile", "list", "1"});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, "Studio\n");
    const QString log = ctl.home.filePath("requests.log");
    run = ctl(camera + QStringList{"--request-log", log, "profile", "apply", "1", "Studio"});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();

    // What reached the camera is what applying the record in the application sends, in order.
    testing::FixtureCamera fresh("generic.json");
    settings::loadSettings(*app.profileAt(cam.camera->modelUniqueID(), 2), *fresh.camera);
    const QStringList expected = testing::requestLogLines(*fresh.device);
    EXPECT_EQ(setCurLines(fileLines(log)), setCurLines(expected));
    EXPECT_TRUE(fileLines(log).contains("1 21 01 0200 0200 2 1900 ok"));  // Brightness 25
    // The last state followed the profile.
    run = ctl(camera + QStringList{"profile", "show", "1", "AppDefault", "--json"});
    EXPECT_TRUE(run.out.contains("\"Brightness\": 25")) << run.out.toStdString();

    // The other way round: orvellactl saves (with blanks around the name), the application sees.
    run = ctl(camera + QStringList{"profile", "save", "1", "  Night \t"});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    app.reload();
    EXPECT_EQ(app.listIndexOf(cam.camera->modelUniqueID(), "Night"), 3);
    EXPECT_TRUE(settings::applyProfile(app, cam.camera->modelUniqueID(), 3, *cam.camera));

    run = ctl(camera + QStringList{"profile", "show", "Studio"});  // one camera: CAMERA left out
    EXPECT_TRUE(run.out.contains("Gain = 9\n")) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains("SettingsName = \"Studio\"\n"));
    run = ctl(camera + QStringList{"profile", "delete", "1", "Studio"});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    app.reload();
    EXPECT_EQ(app.listIndexOf(cam.camera->modelUniqueID(), "Night"), 2);
    run = ctl(QStringList{"--demo", "profile", "list"});  // every model
    EXPECT_EQ(run.out, "UVC Camera VendorID_7531 ProductID_258\tNight\n");
}

TEST(OrvellaCtlProfiles, TwoProcessesSavingAtOnceKeepEveryProfile) {
    Ctl ctl;
    const char* save =
        "for i in $(seq 1 50); do \"$0\" --virtual \"$1\" profile save 1 \"$2$i\" || exit 1; done";
    auto first = ctl.loop(save, "A"), second = ctl.loop(save, "B");
    ASSERT_TRUE(first->waitForFinished(300000));
    ASSERT_TRUE(second->waitForFinished(300000));
    EXPECT_EQ(first->exitCode(), 0) << first->readAllStandardError().toStdString();
    EXPECT_EQ(second->exitCode(), 0) << second->readAllStandardError().toStdString();

    const CtlRun list = ctl({"--virtual", cameraFixture("generic.json"), "profile", "list", "1"});
    QStringList saved = list.out.split('\n', Qt::SkipEmptyParts), expected;
    for (int i = 1; i <= 50; ++i)
        expected << QString("A%1").arg(i) << QString("B%1").arg(i);
    saved.sort();
    expected.sort();
    EXPECT_EQ(saved, expected);
}

TEST(OrvellaCtlProfiles, ApplyLastRestoresEveryConnectedCamera) {
    Ctl ctl;
    const QStringList cameras{"--virtual", cameraFixture("generic.json"), "--virtual",
                              cameraFixture("full-pu.json")};
    {
        DefaultsStore defaults(ctl.prefsFile());
        defaults.setObject(QVariantMap{{"UVC Camera VendorID_7531 ProductID_258",
                                        QVariantList{QVariantMap{{"SettingsName", "AppDefault"},
                                                                 {"AppDefault", true},
                                                                 {"BrightnessDisabled", false},
                                                                 {"Brightness", 7}}}}},
                           "Settings");
        ASSERT_TRUE(defaults.synchronize());
    }
    const QString log = ctl.home.filePath("requests.log");
    const CtlRun run = ctl(cameras + QStringList{"apply-last", "--all", "--request-log", log});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(setCurLines(fileLines(log)), QStringList{"1 21 01 0200 0200 2 0700 ok"});
    EXPECT_FALSE(fileLines(log).filter(QRegularExpression("^2 ")).isEmpty());  // probed, recorded
    // The camera that had no last state got one, as the application would record it.
    DefaultsStore after(ctl.prefsFile());
    ProfileStore profiles(after);
    EXPECT_TRUE(profiles.appDefaultRecord("UVC Camera VendorID_7531 ProductID_259"));
    EXPECT_EQ(ctl(cameras + QStringList{"apply-last", "2"}).exitCode, 0);
}

// A disk with a few kilobytes left: the save fails with the reason, and the file keeps every
// profile it had. The disk is a small tmpfs in a mount namespace of the test's own.
TEST(OrvellaCtlProfiles, AFullDiskKeepsEveryProfile) {
    Ctl ctl;
    QTemporaryDir outside;
    QProcess script;
    script.setProcessEnvironment(ctl.environment());
    script.start("unshare",
                 {"-rm", "/bin/sh", "-c", R"(
        d=$XDG_CONFIG_HOME; ctl=$1; fixture=$2; out=$3
        mount -t tmpfs -o size=256k tmpfs "$d" || exit 77
        for i in 1 2 3 4 5 6; do "$ctl" --virtual "$fixture" profile save 1 "Profile$i" || exit 3; done
        cp "$d/orvella/org.orvella.Orvella.plist" "$out/before"
        dd if=/dev/zero of="$d/fill" bs=1k 2>/dev/null; rm "$d/fill"
        avail=$(df -k --output=avail "$d" | tail -1)
        dd if=/dev/zero of="$d/fill" bs=1k count=$((avail - 6)) 2>/dev/null
        "$ctl" --virtual "$fixture" profile save 1 Seventh; status=$?
        cp "$d/orvella/org.orvella.Orvella.plist" "$out/after"
        ls "$d/orvella" >"$out/files"
        exit $status)",
                  "sh", ORVELLA_ORVELLACTL, cameraFixture("generic.json"), outside.path()});
    ASSERT_TRUE(script.waitForFinished(120000));
    const QString err = QString::fromUtf8(script.readAllStandardError());
    if (script.error() == QProcess::FailedToStart || script.exitCode() == 77 ||
        err.contains("unshare:"))
        GTEST_SKIP() << "no mount namespace here: " << err.toStdString();
    EXPECT_EQ(script.exitCode(), 1) << err.toStdString();
    EXPECT_TRUE(err.contains("no space left on device")) << err.toStdString();
    const QByteArray before = fileLines(outside.filePath("before")).join('\n').toUtf8();
    ASSERT_FALSE(before.isEmpty());
    EXPECT_EQ(fileLines(outside.filePath("after")).join('\n').toUtf8(), before);
    // No temporary file is left behind to fill the disk further.
    EXPECT_EQ(fileLines(outside.filePath("files")), QStringList{"org.orvella.Orvella.plist"});
}

// Two processes deleting profiles at once: each deletes the profile it names, never the one that
// moved into its place.
TEST(OrvellaCtlProfiles, TwoProcessesDeletingAtOnceDeleteWhatTheyName) {
    Ctl ctl;
    {
        DefaultsStore defaults(ctl.prefsFile());
        ProfileStore store(defaults);
        testing::FixtureCamera cam("generic.json");
        for (int i = 1; i <= 20; ++i)
            ASSERT_EQ(settings::saveNewProfile(store, QString("P%1").arg(i), *cam.camera,
                                               cam.camera.get())
                          .result,
                      ProfileStore::SaveResult::Saved);
    }
    const char* remove =
        "for i in $(seq $2 $(($2 + 9))); do \"$0\" --virtual \"$1\" profile delete 1 "
        "P$i || exit 1; done";
    auto low = ctl.loop(remove, "1"), high = ctl.loop(remove, "11");
    ASSERT_TRUE(low->waitForFinished(300000));
    ASSERT_TRUE(high->waitForFinished(300000));
    EXPECT_EQ(low->exitCode(), 0) << low->readAllStandardError().toStdString();
    EXPECT_EQ(high->exitCode(), 0) << high->readAllStandardError().toStdString();
    EXPECT_EQ(ctl({"--virtual", cameraFixture("generic.json"), "profile", "list", "1"}).out, "");
}

// A preferences file the user cannot read is said to be so; nothing is listed as if it were empty,
// and nothing is written over it.
TEST(OrvellaCtlProfiles, AnUnreadableFileIsNamedAndLeftAlone) {
    Ctl ctl;
    {
        DefaultsStore defaults(ctl.prefsFile());
        defaults.setObject(QVariantMap{{"M", QVariantList{QVariantMap{{"SettingsName", "A"}}}}},
                           "Settings");
        ASSERT_TRUE(defaults.synchronize());
    }
    const QByteArray before = fileLines(ctl.prefsFile()).join('\n').toUtf8();
    // Root reads every file: the commands then run as nobody, beside a file of root's own.
    QStringList asUser;
    if (::geteuid() == 0) {
        QFile::setPermissions(ctl.home.path(), QFileDevice::Permissions(0x7755));
        QFile::setPermissions(ctl.home.filePath("orvella"), QFileDevice::Permissions(0x7755));
        asUser = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    } else {
        QFile::setPermissions(ctl.prefsFile(), {});
    }
    for (const QStringList& command :
         {QStringList{"profile", "list"}, QStringList{"profile", "save", "1", "B"},
          QStringList{"apply-last", "--all"}}) {
        QProcess process;
        process.setProcessEnvironment(ctl.environment());
        const QStringList arguments =
            asUser + QStringList{ORVELLA_ORVELLACTL, "--virtual", cameraFixture("generic.json")} +
            command;
        process.start(arguments[0], arguments.mid(1));
        ASSERT_TRUE(process.waitForFinished(60000));
        const QString err = QString::fromUtf8(process.readAllStandardError());
        EXPECT_EQ(process.exitCode(), 1) << command.join(' ').toStdString();
        EXPECT_TRUE(err.contains("cannot read " + ctl.prefsFile() + ": permission denied"))
            << err.toStdString();
        EXPECT_TRUE(process.readAllStandardOutput().isEmpty());
    }
    QFile::setPermissions(ctl.prefsFile(), QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_EQ(fileLines(ctl.prefsFile()).join('\n').toUtf8(), before);
}

TEST(OrvellaCtlProfiles, BadInputIsOneLineAndANonZeroExit) {
    Ctl ctl;
    const QStringList camera{"--virtual", cameraFixture("generic.json")};
    ASSERT_EQ(ctl(camera + QStringList{"profile", "save", "1", "Taken"}).exitCode, 0);
    const testing::CtlCase cases[] = {
        {camera + QStringList{"profile", "save", "1", "  Taken "}, 1, "already has"},
        {camera + QStringList{"profile", "save", "1", "AppDefault"}, 0},
        {camera + QStringList{"profile", "save", "1", "AppDefault"}, 1, "already has"},
        {camera + QStringList{"profile", "apply", "1", "Nope"}, 1, "no profile \"Nope\""},
        {camera + QStringList{"profile", "delete", "1", "Nope"}, 1, "no profile"},
        {camera + QStringList{"profile", "show", "1", "Nope"}, 1, "no profile"},
        {camera + QStringList{"profile", "save", "1", " \t "}, 2, "blank"},
        {camera + QStringList{"profile", "save", "1", "Two\nLines"}, 2, "control characters"},
        {camera + QStringList{"profile", "save", "1", "Esc\x1b[2J"}, 2, "control characters"},
        {camera + QStringList{"profile"}, 2, "usage"},
        {camera + QStringList{"profile", "rename", "1", "x"}, 2, "rename"},
        {camera + QStringList{"profile", "list", "--json"}, 2, "--json"},
        {camera + QStringList{"profile", "list", "--all"}, 2, "--all"},
        {camera + QStringList{"apply-last", "1", "--all"}, 2, "not both"},
        {camera + QStringList{"profile", "list", "7"}, 1, "no camera"},
        {camera + QStringList{"list", "--request-log"}, 2, "FILE"},
        {camera + QStringList{"list", "--request-log", "/nonexistent/dir/log"}, 1, "cannot open"},
    };
    for (const testing::CtlCase& c : cases)
        testing::expectAnswer(c, ctl(c.arguments));

    // A damaged preferences file is set aside with a note, and the command goes on.
    QFile damaged(ctl.prefsFile());
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly | QIODevice::Truncate));
    damaged.write("<?xml version=\"1.0\"?><plist><dict><key>Settings</key>");
    damaged.close();
    const CtlRun run = ctl(camera + QStringList{"profile", "save", "1", "Fresh"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.err.contains("moved aside to")) << run.err.toStdString();
    EXPECT_EQ(ctl(camera + QStringList{"profile", "list"}).out,
              "UVC Camera VendorID_7531 ProductID_258\tFresh\n");
}

}  // namespace
}  // namespace orvella

namespace orvella {
namespace {

// orvellactl lock on a camera in aperture priority: the mode goes manual, the exposure time it
// found is written after the switch and read back, and the result is the model's last state.
TEST(OrvellaCtlLock, LocksWhatTheAutomaticModeFoundAsTheLastState) {
    struct Ctl ctl;
    const QString log = ctl.home.filePath("requests.log");
    const CtlRun run =
        ctl({"--virtual", cameraFixture("generic.json"), "lock", "1", "--request-log", log});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.out.contains("AutoExposureMode: manual")) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains("ExposureTimeAbsolute = 250")) << run.out.toStdString();
    // Each mode first, then what it found: exposure (manual, time 250 and gain 0), white balance
    // (off, 4600 K), focus (off, 0).
    EXPECT_EQ(setCurLines(fileLines(log)), (QStringList{
                                               "1 21 01 0200 0100 1 01 ok",
                                               "1 21 01 0400 0100 4 fa000000 ok",
                                               "1 21 01 0400 0200 2 0000 ok",
                                               "1 21 01 0b00 0200 1 00 ok",
                                               "1 21 01 0a00 0200 2 f811 ok",
                                               "1 21 01 0800 0100 1 00 ok",
                                               "1 21 01 0600 0100 2 0000 ok",
                                           }));
    DefaultsStore after(ctl.prefsFile());
    ProfileStore profiles(after);
    const auto last = profiles.appDefaultRecord("UVC Camera VendorID_7531 ProductID_258");
    ASSERT_TRUE(last);
    EXPECT_EQ(last->value("AutoExposureMode").toInt(), 1);
    EXPECT_EQ(last->value("ExposureTimeAbsolute").toInt(), 250);
}

}  // namespace
}  // namespace orvella
