// orvellactl snapshot and record, run as a program against virtual cameras.

#include <gtest/gtest.h>

#include <QImage>
#include <QTemporaryDir>

#include "CaptureRig.h"
#include "support/Orvellactl.h"

namespace orvella::testing {
namespace {

QString writeCamera(const QTemporaryDir& dir, const QJsonObject& frames,
                    const std::optional<QJsonObject>& audio = std::nullopt) {
    const QString path = dir.filePath(audio ? "microphone.json" : "camera.json");
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QJsonDocument(genericWithFrames(frames, audio)).toJson());
    return path;
}

// Each stream as "codec,width,height" (an audio stream as its codec), one a line.
QString probeStreams(const QString& file) {
    QStringList lines;
    for (const auto& stream : ffprobe(file, "codec_name,width,height")) {
        QStringList fields{stream["codec_name"], stream["width"], stream["height"]};
        fields.removeAll(QString());
        lines << fields.join(',');
    }
    return lines.join('\n');
}

TEST(OrvellactlSnapshot, WritesPngAndJpegOfTheChosenSize) {
    QTemporaryDir dir;
    for (const auto& [name, size] : std::vector<std::pair<QString, QSize>>{
             {"still.png", QSize(1920, 1080)}, {"still.JPG", QSize(640, 480)}}) {
        const QString file = dir.filePath(name);
        const CtlRun run =
            runOrvellactl({"--demo", "snapshot", file, "--format",
                           QStringLiteral("%1x%2").arg(size.width()).arg(size.height())});
        ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
        const QImage image(file);
        EXPECT_EQ(image.size(), size);
        EXPECT_GT(qGray(image.pixel(size.width() / 32 * 3, size.height() / 2)), 200);  // white bar
    }
}

TEST(OrvellactlSnapshot, RefusesWhatItCannotDoWithAClearMessage) {
    QTemporaryDir dir;
    const struct {
        QStringList arguments;
        int status;
        QString message;
    } cases[] = {
        {{"--demo", "snapshot", dir.filePath("x.gif")}, 2, "must end in .png, .jpg or .jpeg"},
        {{"--demo", "snapshot", dir.filePath("x.png"), "--format", "800x600"},
         2,
         "offers no 800x600 (it offers 640x480, 1280x720, 1920x1080)"},
        {{"--demo", "snapshot", dir.filePath("x.png"), "--format", "big"}, 2, "--format wants"},
        {{"--demo", "record", dir.filePath("x.mkv")}, 2, "record needs --seconds N"},
        {{"--demo", "record", dir.filePath("x.mkv"), "--seconds", "-1"}, 2, "--seconds wants"},
        // Names that would stop the movie are refused before the camera streams.
        {{"--demo", "record", dir.filePath("x.mkv"), "--seconds", "1", "--video-codec", "nope"},
         2,
         "no video encoder named \"nope\""},
        {{"--demo", "record", dir.filePath("x.mkv"), "--seconds", "1", "--audio-codec", "mpeg4"},
         2,
         "no audio encoder named \"mpeg4\""},
        {{"--demo", "record", dir.filePath("x.avi"), "--seconds", "1", "--audio", "nosuchpcm"},
         1,
         "cannot open the sound device nosuchpcm"},
        {{"--virtual", writeCamera(dir, QJsonObject{{"busy", true}}), "snapshot",
          dir.filePath("x.png")},
         1,
         "the camera is streaming to another program"},
    };
    for (const auto& c : cases) {
        const CtlRun run = runOrvellactl(c.arguments);
        EXPECT_EQ(run.exitCode, c.status) << c.arguments.join(' ').toStdString();
        EXPECT_TRUE(run.err.contains(c.message)) << run.err.toStdString();
    }
    for (const char* name : {"x.png", "x.mkv", "x.avi"})
        EXPECT_FALSE(QFile::exists(dir.filePath(name))) << name;
}

TEST(OrvellactlRecord, WritesAMovieAndReportsProgress) {
    QTemporaryDir dir;
    const QString file = dir.filePath("movie.mp4");
    const CtlRun run =
        runOrvellactl({"--virtual", writeCamera(dir, QJsonObject{{"fps", 20}}), "record", file,
                       "--seconds", "1.5", "--format", "640x480", "--video-codec", "mpeg4"});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains("recording: 1 of 1.5 s, ")) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains("has no microphone; recording video only"))
        << run.err.toStdString();
    EXPECT_TRUE(run.err.contains("recorded ")) << run.err.toStdString();
    EXPECT_EQ(probeStreams(file), "mpeg4,640,480");
}

TEST(OrvellactlRecord, TakesTheCameraMicrophoneUnlessToldNotTo) {
    QTemporaryDir dir;
    const QString camera = writeCamera(dir, QJsonObject{{"fps", 20}}, QJsonObject{});
    const QString withSound = dir.filePath("sound.mkv"), without = dir.filePath("silent.mkv");
    CtlRun run = runOrvellactl({"--virtual", camera, "record", withSound, "--seconds", "1",
                                "--format", "1280x720", "--audio-codec", "libopus"});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains("frames with sound to ")) << run.err.toStdString();
    EXPECT_EQ(probeStreams(withSound), "mjpeg,1280,720\nopus");
    run = runOrvellactl(
        {"--virtual", camera, "record", without, "--seconds", "1", "--audio", "none"});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_FALSE(run.err.contains("with sound")) << run.err.toStdString();
    EXPECT_EQ(probeStreams(without).count('\n'), 0);
}

}  // namespace
}  // namespace orvella::testing
