// Sound inputs: a camera's microphone found through sysfs, an ALSA device that is not there, and
// a malformed "audio" key of a virtual camera.

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

TEST(AudioInput, AMalformedAudioKeyIsRefusedWithItsName) {
    for (const auto& [audio, message] : std::vector<std::pair<QJsonValue, QString>>{
             {QJsonValue(5), "audio: expected an object"},
             {QJsonObject{{"sampleRate", 100}}, "audio.sampleRate: expected a number"},
             {QJsonObject{{"tone", 30000}}, "audio.tone: expected a number"},
             {QJsonObject{{"tone", 5000}, {"sampleRate", 8000}}, "audio.tone: above half"}}) {
        QJsonObject definition = genericWithFrames(QJsonObject{});
        definition.insert("audio", audio);
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
