// The orvella program from the outside without a desktop: its command line, a request log that
// cannot be written, the control FIFO, a clean stop and a missing system bus. (Cameras coming and
// going with the folder, the bus and a second start are the end-to-end tests' part, on a desktop
// of their own.)
#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include "support/EventLoop.h"
#include "support/PrivateBus.h"

namespace orvella::app {
namespace {

using testing::waitFor;

QString fixture(const char* name) {
    return QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras/") + QLatin1String(name);
}

QString readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

struct Program : ::testing::Test {
    QTemporaryDir dir;
    testing::PrivateBus session, system;
    std::vector<std::unique_ptr<QProcess>> started;

    void SetUp() override {
        QString error;
        ASSERT_TRUE(session.start(&error)) << error.toStdString();
        ASSERT_TRUE(system.start(&error)) << error.toStdString();
    }
    void TearDown() override {
        for (auto& process : started) {
            if (process->state() == QProcess::NotRunning) continue;
            process->terminate();
            if (!process->waitForFinished(10000)) process->kill();
            process->waitForFinished(5000);
        }
    }
    QProcess& start(const QStringList& arguments, const QString& systemBus = QString()) {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        // Preferences of the test's own, not the user's (nor another test's running alongside).
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.filePath(QStringLiteral("config")));
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), session.address());
        env.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"),
                   systemBus.isEmpty() ? system.address() : systemBus);
        process->setProcessEnvironment(env);
        process->start(QStringLiteral(ORVELLA_APP), arguments);
        EXPECT_TRUE(process->waitForStarted(10000));
        started.push_back(std::move(process));
        return *started.back();
    }
};

TEST_F(Program, NonsenseOnTheCommandLineIsOneLineAndExitTwo) {
    QProcess& process = start({QStringLiteral("--frobnicate")});
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitCode(), 2);
    const QString error = QString::fromUtf8(process.readAllStandardError()).trimmed();
    EXPECT_EQ(error, "orvella: Unknown option 'frobnicate'. (see orvella --help)");

    QProcess& missing = start({QStringLiteral("--virtual"), dir.filePath("none.json")});
    ASSERT_TRUE(missing.waitForFinished(20000));
    EXPECT_EQ(missing.exitCode(), 2);
    // The definition's own refusal (a device such as /dev/zero, a huge file: the definition
    // tests) is the program's message.
    const QString said = QString::fromUtf8(missing.readAllStandardError());
    EXPECT_TRUE(said.contains("orvella: " + dir.filePath("none.json") + ": cannot read"))
        << said.toStdString();
}

// A request log on a full disk loses lines; the first failed write is said on standard error.
TEST_F(Program, ARequestLogThatCannotBeWrittenIsSaid) {
    QProcess& process = start({"--demo", "--request-log", "/dev/full"});
    QByteArray err;
    for (int i = 0; i < 200 && !err.contains("cannot write"); ++i) {
        process.waitForReadyRead(100);
        err += process.readAllStandardError();
    }
    EXPECT_TRUE(err.contains("Request log /dev/full: cannot write (No space left on device)"))
        << err.toStdString();
}

TEST_F(Program, CommandsFromTheControlFifoAreConfirmedInTheRequestLog) {
    const QString log = dir.filePath("requests.log");
    const QString fifo = dir.filePath("control");
    QProcess& process = start(
        {"--virtual", fixture("generic.json"), "--request-log", log, "--virtual-control", fifo});
    ASSERT_TRUE(waitFor([&] { return readAll(log).contains("\n1 a1 "); }, 30000))
        << process.readAllStandardError().toStdString();
    ASSERT_TRUE(QFileInfo(fifo).exists());

    QFile control(fifo);
    ASSERT_TRUE(control.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    control.write("set 1 2 2 -7\nopen 1\nbogus\n");
    control.close();
    ASSERT_TRUE(
        waitFor([&] { return readAll(log).contains("# error: bogus: unknown command\n"); }, 30000))
        << readAll(log).toStdString() << process.readAllStandardError().toStdString();
    const QString text = readAll(log);
    EXPECT_TRUE(text.contains("# ok: set 1 2 2 -7\n"));
    EXPECT_TRUE(text.contains("# ok: open 1\n"));
    EXPECT_EQ(process.state(), QProcess::Running);

    // Asked to stop, it closes as Quit does, its camera still there: cleanly, with status 0.
    process.terminate();
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
}

// A second start shows the running one's panel; options it was given are said to be unused.
TEST_F(Program, ASecondStartSaysItsOptionsWereNotUsed) {
    QProcess& first = start({QStringLiteral("--demo")});
    QDBusConnection bus = QDBusConnection::connectToBus(session.address(), "program-test");
    ASSERT_TRUE(waitFor(
        [&] { return bus.interface()->isServiceRegistered("org.orvella.Orvella").value(); }, 30000))
        << first.readAllStandardError().toStdString();

    QProcess& plain = start({});
    ASSERT_TRUE(plain.waitForFinished(30000))
        << "the second start said: " << plain.readAllStandardError().toStdString()
        << "\nthe first said: " << first.readAllStandardError().toStdString();
    EXPECT_EQ(plain.exitCode(), 0);
    // (Qt may add lines of its own, about the runtime directory for one.)
    const QString plainSaid = QString::fromUtf8(plain.readAllStandardError());
    EXPECT_TRUE(plainSaid.contains("orvella: already running; its panel is shown\n"))
        << plainSaid.toStdString();

    QProcess& second = start({"--virtual", fixture("generic.json")});
    ASSERT_TRUE(second.waitForFinished(30000));
    EXPECT_EQ(second.exitCode(), 0);
    const QString said = QString::fromUtf8(second.readAllStandardError());
    EXPECT_TRUE(
        said.contains("orvella: already running; its panel is shown. The options given "
                      "(--virtual " +
                      fixture("generic.json") + ") were not used"))
        << said.toStdString();
    QDBusConnection::disconnectFromBus("program-test");
}

TEST_F(Program, RunsWithoutASystemBus) {
    QProcess& process =
        start({QStringLiteral("--demo")}, QStringLiteral("unix:path=") + dir.filePath("no-bus"));
    QByteArray errors;
    ASSERT_TRUE(waitFor(
        [&] {
            errors += process.readAllStandardError();
            return errors.contains("No system bus");
        },
        30000))
        << errors.toStdString();
    EXPECT_EQ(errors.count("No system bus"), 1);
    testing::spin(300);
    EXPECT_EQ(process.state(), QProcess::Running);
}

}  // namespace
}  // namespace orvella::app
