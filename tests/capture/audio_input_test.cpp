// Sound inputs: a camera's microphone found through sysfs, an ALSA device that is not there; and
// malformed "frames" and "audio" keys of a virtual camera.

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include "CaptureRig.h"
#include "platform/linux/AlsaAudioDevice.h"

namespace orvella::testing {
namespace {

void writeFile(const QString& path, const QByteArray& content) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

TEST(AudioInput, TheCameraMicrophoneIsTheSoundCardOfTheSameUsbDevice) {
    QTemporaryDir sysfs;
    const QString camera = sysfs.filePath("devices/usb1/1-2");
    const QString other = sysfs.filePath("devices/usb1/1-3");
    writeFile(camera + "/product", "HD Webcam C270\n");
    writeFile(camera + "/1-2:1.0/video4linux/video0/name", "C270\n");
    writeFile(camera + "/1-2:1.2/sound/card3/id", "U0x46d0x825\n");
    writeFile(other + "/1-3:1.0/video4linux/video2/name", "Other\n");

    const auto microphone = linuxplatform::cameraMicrophone(camera.toStdString());
    ASSERT_TRUE(microphone);
    EXPECT_EQ(microphone->pcm(), "plughw:CARD=U0x46d0x825,DEV=0");
    EXPECT_EQ(microphone->localizedDisplayName(), "HD Webcam C270 (U0x46d0x825)");
    EXPECT_TRUE(microphone->hasMediaType(platform::MediaType::Sound));
    EXPECT_FALSE(linuxplatform::cameraMicrophone(other.toStdString()));
    EXPECT_FALSE(linuxplatform::cameraMicrophone(sysfs.filePath("gone").toStdString()));
}

TEST(AudioInput, AnAlsaDeviceThatIsNotThereIsAnErrorWithItsName) {
    linuxplatform::AlsaAudioDevice device("orvella_no_such_device", "nothing");
    const auto source = device.createAudioSource();
    platform::StreamError error;
    EXPECT_NE(source->open(&error), kIOReturnSuccess);
    EXPECT_TRUE(error.localizedDescription.contains("orvella_no_such_device"))
        << error.localizedDescription.toStdString();
    EXPECT_NE(source->start(nullptr), kIOReturnSuccess);  // not open: nothing runs
    source->close();
}

// The definition keys the frame player and the microphone read: a malformed one keeps the camera
// out, with the key named.
TEST(VirtualCapture, AMalformedFramesOrAudioKeyIsRefusedWithItsName) {
    for (const auto& [key, value, message] : std::vector<std::tuple<QString, QJsonValue, QString>>{
             {"frames", QJsonValue(3), "frames: expected an object"},
             {"frames", QJsonObject{{"fps", -1}}, "frames.fps"},
             {"frames", QJsonObject{{"busy", 1}}, "frames.busy"},
             {"audio", QJsonValue(5), "audio: expected an object"},
             {"audio", QJsonObject{{"sampleRate", 100}}, "audio.sampleRate: expected a number"},
             {"audio", QJsonObject{{"tone", 30000}}, "audio.tone: expected a number"},
             {"audio", QJsonObject{{"tone", 5000}, {"sampleRate", 8000}},
              "audio.tone: above half"}}) {
        QJsonObject definition = genericWithFrames(QJsonObject{});
        definition.insert(key, value);
        QString error;
        auto camera =
            virtualcam::VirtualCamera::fromJson(QJsonDocument(definition).toJson(), &error);
        ASSERT_TRUE(camera) << error.toStdString();
        virtualcam::VirtualPlatform platform;
        EXPECT_FALSE(platform.addCamera(camera, &error));
        EXPECT_TRUE(error.startsWith(message)) << error.toStdString();
    }
}

}  // namespace
}  // namespace orvella::testing
