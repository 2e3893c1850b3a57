// The real orvella program on a desktop of its own (Xvfb, a tray host, private session and system
// buses, a logind that sends PrepareForSleep), driven from the outside as a user and a script
// would: cameras plugged and unplugged through its camera folder, profiles saved with orvellactl
// into the same preferences file and chosen over the bus, sleep and wake. What reached each
// camera is read from the request log.
#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <memory>

#include "Desktop.h"
#include "support/EventLoop.h"
#include "support/Orvellactl.h"

namespace orvella::e2e {
namespace {

using testing::waitFor;

const QString kGenericModel = QStringLiteral("UVC Camera VendorID_7531 ProductID_258");
const QString kGenericName = QStringLiteral("Orvella Virtual Camera");
const QString kC270Name = QStringLiteral("C270 HD WEBCAM");
// Brightness is selector 2 of the processing unit; the fixture cameras' unit is 2 (generic) and
// 3 (C270). Values go little-endian, two bytes.
constexpr int kBrightness = 2;
constexpr int kGenericUnit = 2;

QString brightnessBytes(int value) {
    const auto bits = static_cast<uint16_t>(value);
    return QString::asprintf("%02x%02x", bits & 0xff, bits >> 8);
}

// The request log of the virtual cameras (docs/virtual-cameras.md for the line format).
struct RequestLog {
    QString path;

    QStringList lines() const { return testing::fileLines(path); }
    // The number the camera of `file` got when it was last plugged in, 0 before that.
    int camera(const QString& file) const {
        int number = 0;
        for (const QString& line : lines())
            if (line.startsWith(QStringLiteral("# plug ")) &&
                line.endsWith(QLatin1Char(' ') + file))
                number = line.section(QLatin1Char(' '), 2, 2).toInt();
        return number;
    }
    // The data of every SET_CUR camera `number` saw for the control, from line `from` on.
    QStringList setCur(int number, int unit, int selector, int from = 0) const {
        const QString prefix = QString::asprintf("%d 21 01 %02x00 %02x00 ", number, selector, unit);
        QStringList data;
        const QStringList all = lines();
        for (int i = from; i < all.size(); ++i)
            if (all[i].startsWith(prefix)) data << all[i].section(QLatin1Char(' '), 6, 6);
        return data;
    }
    int size() const { return static_cast<int>(lines().size()); }
};

// The preferences file, written before the application starts.
QString preferences(int reconfigureWebcam, int lastBrightness, int eveningBrightness) {
    const auto record = [](const QString& name, int brightness, bool lastState) {
        return QStringLiteral(
                   "<dict>%1<key>Brightness</key><integer>%2</integer>"
                   "<key>BrightnessDisabled</key><false/>"
                   "<key>SettingsName</key><string>%3</string></dict>")
            .arg(lastState ? QStringLiteral("<key>AppDefault</key><true/>") : QString())
            .arg(brightness)
            .arg(name);
    };
    return QStringLiteral(
               "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
               "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
               "<plist version=\"1.0\"><dict>"
               "<key>Disable Popup</key><true/>"
               "<key>ReconfigureWebcam</key><integer>%1</integer>"
               "<key>Settings</key><dict><key>%2</key><array>%3%4</array></dict>"
               "<key>UpdateSlider</key><integer>0</integer>"
               "</dict></plist>\n")
        .arg(reconfigureWebcam)
        .arg(kGenericModel, record(QStringLiteral("Evening"), eveningBrightness, false),
             record(QStringLiteral("AppDefault"), lastBrightness, true));
}

struct EndToEnd : ::testing::Test {
    QTemporaryDir dir;
    Desktop desktop;
    QString cameras, config;
    RequestLog log;
    QProcessEnvironment environment;
    std::vector<std::unique_ptr<QProcess>> started;
    QByteArray output;

    // Whether the tray host is there from the start.
    virtual bool trayAtStart() const { return true; }

    void SetUp() override {
        if (!XServer::isInstalled()) GTEST_SKIP() << "Xvfb is not installed (Debian package xvfb)";
        QString error;
        ASSERT_TRUE(desktop.start(&error, trayAtStart())) << error.toStdString();
        cameras = dir.filePath(QStringLiteral("cameras"));
        config = dir.filePath(QStringLiteral("config"));
        const QString runtime = dir.filePath(QStringLiteral("runtime"));
        ASSERT_TRUE(QDir().mkpath(cameras) && QDir().mkpath(config + "/orvella") &&
                    QDir().mkpath(runtime));
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        log.path = dir.filePath(QStringLiteral("requests.log"));

        environment = QProcessEnvironment::systemEnvironment();
        for (const char* desktopHint :
             {"XDG_CURRENT_DESKTOP", "DESKTOP_SESSION", "KDE_FULL_SESSION", "WAYLAND_DISPLAY",
              "GNOME_DESKTOP_SESSION_ID"})
            environment.remove(QLatin1String(desktopHint));
        environment.insert("DISPLAY", desktop.x.display());
        environment.insert("QT_QPA_PLATFORM", "xcb");
        environment.insert("DBUS_SESSION_BUS_ADDRESS", desktop.session.address());
        environment.insert("DBUS_SYSTEM_BUS_ADDRESS", desktop.system.address());
        environment.insert("XDG_CONFIG_HOME", config);
        environment.insert("XDG_RUNTIME_DIR", runtime);
    }

    void TearDown() override {
        for (auto& process : started) {
            if (process->state() == QProcess::NotRunning) continue;
            process->terminate();
            if (!finished(*process, 15000)) process->kill();
            finished(*process, 5000);
        }
        for (auto& process : started)
            output += process->readAll();
        QDBusConnection::disconnectFromBus(QStringLiteral("e2e-script"));
        if (HasFailure()) std::fprintf(stderr, "the programs said:\n%s\n", output.constData());
    }

    // Whether the tray menu has an entry of this title (camera entries are indented).
    bool inTrayMenu(const QString& title) {
        for (const QString& label : desktop.tray.menuLabels())
            if (label.trimmed() == title) return true;
        return false;
    }

    void writePreferences(const QString& content) {
        QFile file(config + QStringLiteral("/orvella/org.orvella.Orvella.plist"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content.toUtf8());
    }

    void plug(const char* fixtureName, const QString& as) {
        // Written beside the folder and renamed in, so the camera appears whole.
        const QString staging = dir.filePath(as);
        QFile::remove(staging);
        ASSERT_TRUE(QFile::copy(testing::cameraFixture(fixtureName), staging));
        ASSERT_TRUE(QFile::rename(staging, cameras + QLatin1Char('/') + as));
    }
    QString cameraFile(const QString& name) const { return cameras + QLatin1Char('/') + name; }

    // Starts a program on the desktop, stopped with the test; what it prints goes to `output`.
    QProcess& start(const QString& program, const QStringList& arguments) {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environment);
        process->setProcessChannelMode(QProcess::MergedChannels);
        QProcess* raw = process.get();
        QObject::connect(raw, &QProcess::readyRead, [this, raw] { output += raw->readAll(); });
        process->start(program, arguments);
        EXPECT_TRUE(process->waitForStarted(10000));
        started.push_back(std::move(process));
        return *started.back();
    }
    QProcess& startApplication() {
        return start(QStringLiteral(ORVELLA_APP),
                     {"--virtual-dir", cameras, "--request-log", log.path});
    }

    // Waits for a process to end while serving the tray host and logind: the application calls
    // the tray host, and must not find it blocked.
    static bool finished(QProcess& process, int timeoutMs) {
        return waitFor([&] { return process.state() == QProcess::NotRunning; }, timeoutMs);
    }

    // Runs orvellactl on a virtual camera of its own against the same preferences file.
    QString orvellactl(const QStringList& arguments) {
        QProcess ctl;
        ctl.setProcessEnvironment(environment);
        ctl.start(QStringLiteral(ORVELLA_ORVELLACTL),
                  QStringList{"--virtual", testing::cameraFixture("generic.json")} + arguments);
        EXPECT_TRUE(finished(ctl, 30000));
        EXPECT_EQ(ctl.exitCode(), 0) << ctl.readAllStandardError().toStdString();
        return QString::fromUtf8(ctl.readAllStandardOutput());
    }

    QDBusMessage callApplication(const QString& method, const QVariantList& arguments = {}) {
        QDBusConnection script =
            QDBusConnection::connectToBus(desktop.session.address(), QStringLiteral("e2e-script"));
        QDBusMessage message = QDBusMessage::createMethodCall(
            "org.orvella.Orvella", "/org/orvella/Orvella", "org.orvella.Orvella", method);
        message.setArguments(arguments);
        return call(script, message);
    }

    // Waits until the log has not grown for `quietMs`; false if it keeps growing.
    bool waitQuiet(int quietMs, int timeoutMs) {
        QDeadlineTimer deadline(timeoutMs);
        int size = log.size();
        QDeadlineTimer quiet(quietMs);
        while (!deadline.hasExpired()) {
            testing::spin(50);
            const int now = log.size();
            if (now != size) {
                size = now;
                quiet.setRemainingTime(quietMs);
            } else if (quiet.hasExpired()) {
                return true;
            }
        }
        return false;
    }

    // Waits for camera `number` to get the generic camera's brightness `value` in a log line from
    // `from` on.
    bool brightnessSent(int number, int value, int from = 0, int timeoutMs = 20000) {
        return waitFor(
            [&] {
                return log.setCur(number, kGenericUnit, kBrightness, from)
                    .contains(brightnessBytes(value));
            },
            timeoutMs);
    }

    void stopCleanly(QProcess& process) {
        process.terminate();
        ASSERT_TRUE(finished(process, 30000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process.exitCode(), 0);
    }
};

// The parts of the application the controller wires (the panel, the profile store, the last
// state, the timer, sleep and wake) are checked once it is part of the build.
#ifdef ORVELLA_E2E_CONTROLLER
#define REQUIRE_CONTROLLER()
#else
#define REQUIRE_CONTROLLER()                                                                   \
    GTEST_SKIP() << "the application controller (app/Orvella) is not part of this build yet: " \
                    "no last state, profiles, timer or sleep handling to check"
#endif

TEST_F(EndToEnd, TheTrayListsTheCamerasAsTheyComeAndGo) {
    plug("generic.json", "one.json");
    QProcess& application = startApplication();

    // The icon reaches the tray host, with the camera in its menu.
    ASSERT_TRUE(waitFor([&] { return !desktop.tray.registeredItems().isEmpty(); }, 30000))
        << "no tray item registered";
    ASSERT_TRUE(waitFor([&] { return inTrayMenu(kGenericName); }, 20000))
        << desktop.tray.menuLabels().join(" | ").toStdString();

    plug("logitech-c270.json", "two.json");
    ASSERT_TRUE(waitFor([&] { return inTrayMenu(kC270Name); }, 20000))
        << desktop.tray.menuLabels().join(" | ").toStdString();
    ASSERT_TRUE(QFile::remove(cameraFile("one.json")));
    ASSERT_TRUE(waitFor([&] { return !inTrayMenu(kGenericName); }, 20000))
        << desktop.tray.menuLabels().join(" | ").toStdString();
    EXPECT_TRUE(log.lines().contains("# unplug 1 " + cameraFile("one.json")));

    // Scripts see the same.
    const QDBusMessage listed = callApplication(QStringLiteral("ListCameras"));
    ASSERT_EQ(listed.type(), QDBusMessage::ReplyMessage) << listed.errorMessage().toStdString();
    const QDBusArgument list = qvariant_cast<QDBusArgument>(listed.arguments().first());
    QStringList names;
    list.beginArray();
    while (!list.atEnd()) {
        QString id, name;
        bool current = false;
        list.beginStructure();
        list >> id >> name >> current;
        list.endStructure();
        names << name;
    }
    list.endArray();
    EXPECT_EQ(names, QStringList{kC270Name});

    stopCleanly(application);
}

TEST_F(EndToEnd, AStatusNotifierHostGetsTheBlackAndWhiteIconByItsThemeName) {
    // The symbolic icon installed as the package installs it, in the user's data folder.
    const QString icons = dir.filePath(QStringLiteral("data/icons/hicolor/symbolic/apps"));
    ASSERT_TRUE(QDir().mkpath(icons));
    ASSERT_TRUE(QFile::copy(QStringLiteral(ORVELLA_SOURCE_DIR "/packaging/icons/hicolor/symbolic/"
                                                              "apps/orvella-symbolic.svg"),
                            icons + QStringLiteral("/orvella-symbolic.svg")));
    environment.insert("XDG_DATA_HOME", dir.filePath(QStringLiteral("data")));
    plug("generic.json", "one.json");
    QProcess& application = startApplication();
    ASSERT_TRUE(waitFor([&] { return !desktop.tray.registeredItems().isEmpty(); }, 30000));
    // "Black and White Menu Icon" is on at every start: the host gets the name to recolour.
    EXPECT_TRUE(waitFor(
        [&] {
            return desktop.tray.itemProperty(QStringLiteral("IconName")).toString() ==
                   QLatin1String("orvella-symbolic");
        },
        20000))
        << desktop.tray.itemProperty(QStringLiteral("IconName")).toString().toStdString();
    stopCleanly(application);
}

TEST_F(EndToEnd, TheLastStateFollowsProfilesAndComesBackAtPlugIn) {
    REQUIRE_CONTROLLER();
    writePreferences(preferences(0, 17, -12));
    QProcess& application = startApplication();
    ASSERT_TRUE(waitFor([&] { return !desktop.tray.registeredItems().isEmpty(); }, 30000));

    // Plugged in, the camera gets the model's last state.
    plug("generic.json", "one.json");
    ASSERT_TRUE(waitFor([&] { return log.camera(cameraFile("one.json")) == 1; }, 20000));
    ASSERT_TRUE(brightnessSent(1, 17)) << log.lines().join('\n').toStdString();

    // A profile saved by orvellactl (from its own camera, at the model's default brightness 0)
    // into the same file is there for the running application to apply.
    orvellactl({"profile", "save", "Morning"});
    int from = log.size();
    ASSERT_TRUE(waitFor(
        [&] {
            const QDBusMessage reply = callApplication(QStringLiteral("ApplyProfile"),
                                                       {QString(), QStringLiteral("Morning")});
            return reply.type() == QDBusMessage::ReplyMessage;
        },
        20000));
    ASSERT_TRUE(brightnessSent(1, 0, from, 10000));

    // The profile from the file, by the camera's name.
    from = log.size();
    const QDBusMessage evening = callApplication(
        QStringLiteral("ApplyProfile"), {QStringLiteral("virtual"), QStringLiteral("Evening")});
    ASSERT_EQ(evening.type(), QDBusMessage::ReplyMessage) << evening.errorMessage().toStdString();
    ASSERT_TRUE(brightnessSent(1, -12, from, 10000));
    const QDBusMessage values =
        callApplication(QStringLiteral("GetControlValues"), {QStringLiteral("1")});
    ASSERT_EQ(values.type(), QDBusMessage::ReplyMessage) << values.errorMessage().toStdString();
    const QVariantMap map = qdbus_cast<QVariantMap>(values.arguments().first());
    EXPECT_EQ(map.value(QStringLiteral("Brightness")).toInt(), -12);
    // An unknown profile is an error, not a silent no-op.
    EXPECT_EQ(
        callApplication(QStringLiteral("ApplyProfile"), {QString(), QStringLiteral("Nope")}).type(),
        QDBusMessage::ErrorMessage);

    // The last state followed the profile: unplugged and plugged in again, the camera (a new
    // number) gets -12 back; orvellactl reads the same last state from the file.
    ASSERT_TRUE(waitFor(
        [&] {
            return orvellactl({"profile", "show", "AppDefault"}).contains("Brightness = -12");
        },
        10000));
    ASSERT_TRUE(QFile::remove(cameraFile("one.json")));
    ASSERT_TRUE(waitFor(
        [&] { return log.lines().contains("# unplug 1 " + cameraFile("one.json")); }, 20000));
    plug("generic.json", "one.json");
    ASSERT_TRUE(waitFor([&] { return log.camera(cameraFile("one.json")) == 2; }, 20000));
    ASSERT_TRUE(brightnessSent(2, -12)) << log.lines().join('\n').toStdString();

    // A second start shows the running one's panel and leaves.
    QProcess& second = startApplication();
    ASSERT_TRUE(finished(second, 30000));
    EXPECT_EQ(second.exitCode(), 0);
    output += second.readAll();
    EXPECT_TRUE(output.contains("already running")) << output.toStdString();
    const QDBusMessage visible = callApplication(QStringLiteral("IsPanelVisible"));
    ASSERT_EQ(visible.type(), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(visible.arguments().first().toBool());

    stopCleanly(application);
}

// With "ReconfigureWebcam" at two ticks (1 s, the shortest interval the preferences pop-up
// offers) the last state goes out at plug-in and then every second; asleep nothing reaches the
// camera, awake the re-send starts again. (Other intervals, one tick among them, are the
// controller tests' part.)
TEST_F(EndToEnd, ReSendsAtTheIntervalAndNothingWhileAsleep) {
    REQUIRE_CONTROLLER();
    const int ticks = 2;
    writePreferences(preferences(ticks, 23, 0));
    plug("generic.json", "one.json");
    QProcess& application = startApplication();

    ASSERT_TRUE(waitFor([&] { return log.camera(cameraFile("one.json")) == 1; }, 30000));
    const auto sent = [&] {
        return log.setCur(1, kGenericUnit, kBrightness).count(brightnessBytes(23));
    };
    ASSERT_TRUE(waitFor([&] { return sent() >= 1; }, 20000))
        << log.lines().join('\n').toStdString();
    QElapsedTimer clock;
    clock.start();
    const qsizetype first = sent();
    ASSERT_TRUE(waitFor([&] { return sent() >= first + 4; }, 4 * ticks * 500 + 15000))
        << "re-sent " << sent() - first << " times";
    // Not more often than the interval (slowness only lowers the count).
    EXPECT_LE(sent() - first, clock.elapsed() / (ticks * 500) + 2);

    // Asleep, the log falls quiet for well over an interval.
    ASSERT_TRUE(desktop.logind.prepareForSleep(true));
    ASSERT_TRUE(waitQuiet(ticks * 500 + 1500, 15000)) << "requests went on during sleep";
    const qsizetype asleep = sent();

    ASSERT_TRUE(desktop.logind.prepareForSleep(false));
    ASSERT_TRUE(waitFor([&] { return sent() >= asleep + 2; }, 4 * ticks * 500 + 15000))
        << "no re-send after wake";
    EXPECT_EQ(application.state(), QProcess::Running);
    stopCleanly(application);
}

// A desktop whose tray host comes late, as at login.
struct LateTray : EndToEnd {
    bool trayAtStart() const override { return false; }
};

TEST_F(LateTray, ThePanelStandsAloneUntilATrayComesAndADamagedFileIsSetAside) {
    REQUIRE_CONTROLLER();
    const QString damaged = QStringLiteral("<plist><dict><key>Settings</key><dict>");  // cut short
    writePreferences(damaged);
    plug("generic.json", "one.json");
    QProcess& application = startApplication();

    // The damaged file is moved aside, not overwritten, and the application carries on.
    ASSERT_TRUE(waitFor([&] { return log.camera(cameraFile("one.json")) == 1; }, 30000));
    const auto setAside = [&] {
        return QDir(config + "/orvella")
            .entryList({QStringLiteral("org.orvella.Orvella.plist.corrupt-*")});
    };
    ASSERT_TRUE(waitFor([&] { return !setAside().isEmpty(); }, 10000));
    QFile aside(config + "/orvella/" + setAside().first());
    ASSERT_TRUE(aside.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(aside.readAll()), damaged);
    // With no tray host the panel opens as a window, and says why.
    ASSERT_TRUE(waitFor([&] { return output.contains("control panel opens as a window"); }, 20000));
    const QDBusMessage visible = callApplication(QStringLiteral("IsPanelVisible"));
    ASSERT_EQ(visible.type(), QDBusMessage::ReplyMessage) << visible.errorMessage().toStdString();
    EXPECT_TRUE(visible.arguments().first().toBool());

    // An XEmbed tray that turns up later gets the icon. (A StatusNotifierWatcher that comes late
    // is not seen: Qt decides once per process whether to speak that protocol.)
    if (QStandardPaths::findExecutable(QStringLiteral("trayer")).isEmpty()) {
        stopCleanly(application);
        GTEST_SKIP() << "trayer is not installed (Debian package trayer): no late tray to check";
    }
    QProcess& trayer = start(QStringLiteral("trayer"),
                             {"--edge", "top", "--align", "right", "--widthtype", "request"});
    ASSERT_TRUE(waitFor(
        [&] { return output.contains("A system tray appeared; the icon is there"); }, 20000))
        << "the icon did not reach a tray that came after start";
    EXPECT_EQ(trayer.state(), QProcess::Running);
    stopCleanly(application);
}

}  // namespace
}  // namespace orvella::e2e
