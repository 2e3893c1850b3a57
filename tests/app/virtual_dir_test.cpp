// Virtual cameras that come and go with the files of a folder, and the request log they write.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "camera/QTCamera.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/virtual/VirtualCameraDirectory.h"
#include "platform/virtual/VirtualPlatform.h"
#include "support/EventLoop.h"
#include "support/VirtualRig.h"

namespace orvella::virtualcam {
namespace {

using testing::waitFor;

QByteArray fixture(const char* name) {
    return testing::fixtureBytes(name);
}

void writeFile(const QString& path, const QByteArray& content) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
}

struct Recorder : platform::CaptureDeviceObserver {
    std::vector<QString> connected, disconnected;
    void captureDeviceConnected(const std::shared_ptr<platform::CaptureDevice>& d) override {
        connected.push_back(d->uniqueID());
    }
    void captureDeviceDisconnected(const std::shared_ptr<platform::CaptureDevice>& d) override {
        disconnected.push_back(d->uniqueID());
    }
};

struct Folder : ::testing::Test {
    QTemporaryDir dir;
    VirtualPlatform platform;
    Recorder recorder;
    log::ScopedCapture log;

    QString path(const char* name) const { return dir.filePath(QLatin1String(name)); }
    size_t diagnostics() const {
        size_t count = 0;
        for (const std::string& line : log.lines())
            count += line.find("Virtual camera not plugged in") != std::string::npos;
        return count;
    }
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        platform.capture().setObserver(&recorder);
    }
};

TEST_F(Folder, FilesThatAppearAndGoAreCamerasPluggedAndUnplugged) {
    writeFile(path("first.json"), fixture("generic.json"));
    writeFile(path("notes.txt"), "not a camera");
    VirtualCameraDirectory folder(platform, dir.path());
    QString error;
    ASSERT_TRUE(folder.start(&error)) << error.toStdString();
    // What the folder holds at start is there at once.
    ASSERT_EQ(recorder.connected.size(), 1u);
    ASSERT_TRUE(folder.deviceFor("first.json"));

    writeFile(path("second.json"), fixture("logitech-c270.json"));
    ASSERT_TRUE(waitFor([&] { return recorder.connected.size() == 2; }));
    EXPECT_EQ(platform.usb().cameras().size(), 2u);

    const auto first = folder.deviceFor("first.json");
    ASSERT_TRUE(QFile::remove(path("first.json")));
    ASSERT_TRUE(waitFor([&] { return recorder.disconnected.size() == 1; }));
    EXPECT_EQ(recorder.disconnected[0], first->uniqueID());
    EXPECT_FALSE(first->camera()->present());  // its handles now answer "no device"
    EXPECT_EQ(platform.usb().cameras().size(), 1u);
    EXPECT_EQ(platform.capture().devices().size(), 1u);
    EXPECT_FALSE(folder.deviceFor("first.json"));

    // Plugged in again under the same name: a new camera.
    writeFile(path("first.json"), fixture("generic.json"));
    ASSERT_TRUE(waitFor([&] { return recorder.connected.size() == 3; }));
    EXPECT_EQ(diagnostics(), 0u);
}

TEST_F(Folder, HalfWrittenOrGarbageFilesAreReportedOnceAndPickedUpWhenValid) {
    VirtualCameraDirectory folder(platform, dir.path());
    ASSERT_TRUE(folder.start(nullptr));
    const QByteArray whole = fixture("generic.json");

    writeFile(path("cam.json"), whole.left(whole.size() / 2));
    ASSERT_TRUE(waitFor([&] { return diagnostics() == 1; }));
    writeFile(path("junk.json"), QByteArray("\x00\xff{{{", 5));
    ASSERT_TRUE(waitFor([&] { return diagnostics() == 2; }));
    // A file too large to be a definition is not read into memory, and said once too.
    writeFile(path("huge.json"), QByteArray(5 << 20, ' '));
    ASSERT_TRUE(waitFor([&] { return diagnostics() == 3; }));
    // Nothing new in the folder: nothing said again.
    folder.rescan();
    EXPECT_EQ(diagnostics(), 3u);
    EXPECT_TRUE(recorder.connected.empty());

    writeFile(path("cam.json"), whole);
    ASSERT_TRUE(waitFor([&] { return recorder.connected.size() == 1; }));
    EXPECT_TRUE(folder.deviceFor("cam.json"));
    EXPECT_FALSE(folder.deviceFor("junk.json"));
    // A definition that parses but whose media-device key is broken is a diagnostic too.
    QByteArray broken = whole;
    broken.replace("\"vendorID\"", "\"mediaDevice\": 7, \"vendorID\"");
    writeFile(path("broken.json"), broken);
    ASSERT_TRUE(waitFor([&] { return diagnostics() == 4; }));
    EXPECT_EQ(recorder.connected.size(), 1u);
}

TEST_F(Folder, RewritingAFileKeepsItsCameraUntilTheNewDefinitionIsValid) {
    writeFile(path("cam.json"), fixture("generic.json"));
    VirtualCameraDirectory folder(platform, dir.path());
    ASSERT_TRUE(folder.start(nullptr));
    ASSERT_EQ(recorder.connected.size(), 1u);

    writeFile(path("cam.json"), "{\"vendorID\": ");  // an editor half way through
    ASSERT_TRUE(waitFor([&] { return diagnostics() == 1; }));
    EXPECT_TRUE(recorder.disconnected.empty());

    writeFile(path("cam.json"), fixture("logitech-c270.json"));
    ASSERT_TRUE(waitFor([&] { return recorder.connected.size() == 2; }));
    ASSERT_EQ(recorder.disconnected.size(), 1u);
    EXPECT_NE(recorder.connected[0], recorder.connected[1]);
    EXPECT_EQ(platform.capture().devices().size(), 1u);
}

TEST_F(Folder, AFolderThatIsNotThereIsAnError) {
    VirtualCameraDirectory folder(platform, dir.filePath("missing"));
    QString error;
    EXPECT_FALSE(folder.start(&error));
    EXPECT_TRUE(error.contains("not a readable folder")) << error.toStdString();
}

QStringList logLines(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    return QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
}

TEST_F(Folder, TheRequestLogHasEveryRequestOfEveryCameraInTheServersFormat) {
    const QString logPath = path("requests.log");
    platform.setRequestLog(std::make_shared<RequestLog>(logPath.toStdString()));
    writeFile(path("a.json"), fixture("generic.json"));
    writeFile(path("b.json"), fixture("logitech-c270.json"));
    auto a = platform.addDefinitionFile(path("a.json"), nullptr);
    auto b = platform.addDefinitionFile(path("b.json"), nullptr);
    ASSERT_TRUE(a && b);
    EXPECT_EQ(platform.logNumber(*a->camera()), 1);
    EXPECT_EQ(platform.logNumber(*b->camera()), 2);

    platform::RecordingClock clock;
    auto camera = QTCamera::initWithQTCaptureDevice(platform.platform(&clock), b);
    ASSERT_TRUE(camera && camera->controlInterface);
    const size_t probed = b->camera()->requestCount();
    ASSERT_GT(probed, 0u);
    a->camera()->clearRequests();
    b->camera()->clearRequests();
    ASSERT_EQ(camera->setBrightness(0x1234 & 0xFF), kIOReturnSuccess);
    b->camera()->stallSelector(b->camera()->processingUnitID(), 0x02);
    long value = 0;
    camera->queryBrightness(&value);
    platform.removeCamera(b);

    const QStringList lines = logLines(logPath);
    ASSERT_FALSE(lines.isEmpty());
    EXPECT_EQ(lines[0], "# plug 1 " + path("a.json"));
    EXPECT_EQ(lines[1], "# plug 2 " + path("b.json"));
    // Every request camera 2 saw is there, in order, after the notes, and nothing of camera 1.
    const qsizetype last = lines.size();
    ASSERT_GT(last, 2 + static_cast<qsizetype>(probed) + 3);
    for (qsizetype i = 2; i < last - 1; ++i)
        EXPECT_TRUE(lines[i].startsWith("2 ")) << lines[i].toStdString();
    const QString unit =
        QStringLiteral("%1").arg(b->camera()->processingUnitID(), 2, 16, QLatin1Char('0'));
    const QString vc =
        QStringLiteral("%1").arg(b->camera()->vcInterfaceNumber(), 2, 16, QLatin1Char('0'));
    // The write with its bytes, the value read back, then the stalled read.
    const qsizetype write = 2 + static_cast<qsizetype>(probed);
    EXPECT_EQ(lines[write], QStringLiteral("2 21 01 0200 %1%2 2 3400 ok").arg(unit, vc));
    const QString read = QStringLiteral("2 a1 81 0200 %1%2 ").arg(unit, vc);
    EXPECT_TRUE(lines[write + 1].startsWith(read) && lines[write + 1].endsWith(" 3400 ok"))
        << lines[write + 1].toStdString();
    EXPECT_TRUE(lines[last - 2].startsWith(read) && lines[last - 2].endsWith(" - stall"))
        << lines[last - 2].toStdString();
    EXPECT_EQ(lines[last - 1], "# unplug 2 " + path("b.json"));
    // A camera taken out of the platform stays safe to call: it answers "no device", logged.
    camera->queryBrightness(&value);
    EXPECT_TRUE(logLines(logPath).last().endsWith(" gone"));
}

}  // namespace
}  // namespace orvella::virtualcam
