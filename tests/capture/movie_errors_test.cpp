// A movie that cannot start: at each stage of opening the file (video encoder, sound track,
// file) the failure comes back with its words, nothing is counted as written, and everything
// opened up to there is given back (LeakSanitizer checks the last part when the program ends).

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include "CaptureRig.h"
#include "capture/MovieFileOutput.h"

namespace orvella::testing {
namespace {

struct FailedStart {
    QString file;
    QString videoEncoder;
    std::optional<platform::AudioFormat> sound;
    QString audioEncoder;
    QString domain;
    QString words;  // how the error text starts
};

TEST(MovieErrors, AMovieThatCannotStartSaysWhyAndKeepsNothingOpen) {
    QTemporaryDir dir;
    CaptureRig rig;
    const platform::AudioFormat mono{48000, 1};
    const QString missing = dir.filePath("no-such-folder/x.mkv");
    for (const FailedStart& start : std::vector<FailedStart>{
             // Both encoders are open when the file cannot be created.
             {missing, "mpeg4", mono, "aac", "FFmpeg", "cannot create " + missing},
             {dir.filePath("a.mkv"), "mpeg4", mono, "no-such-audio", "Recording",
              "no audio encoder named \"no-such-audio\""},
             {dir.filePath("b.gif"), "", mono, "", "Recording", "the container gif holds no sound"},
             {dir.filePath("c.mp4"), "mpeg4", platform::AudioFormat{48000, 9}, "aac", "FFmpeg",
              "cannot open audio encoder aac"},
             // H.263 has only its five picture sizes.
             {dir.filePath("d.avi"), "h263", std::nullopt, "", "FFmpeg",
              "cannot open encoder h263"},
         }) {
        SCOPED_TRACE(start.file.toStdString());
        capture::MovieFileOutput output;
        output.setVideoCompression(start.videoEncoder);
        output.setAudioCompression(start.audioEncoder);
        output.setAudioInput(start.sound);
        output.recordToOutputFileURL(QUrl::fromLocalFile(start.file));
        const virtualcam::OfferedFormat yuyv{platform::kPixelFormatYUYV, 640, 480};
        auto frame = std::make_shared<platform::VideoFrame>();
        frame->pixelFormat = yuyv.pixelFormat;
        frame->width = yuyv.width;
        frame->height = yuyv.height;
        frame->data = rig.device->player().pattern(yuyv, 0, &frame->bytesPerLine);
        output.captureFrame(frame);
        auto buffer = std::make_shared<platform::AudioBuffer>();
        buffer->sampleRate = start.sound ? start.sound->sampleRate : 48000;
        buffer->channels = start.sound ? start.sound->channels : 1;
        buffer->samples.assign(static_cast<size_t>(960 * buffer->channels), 0);
        output.captureAudio(buffer);

        const auto error = output.finish();
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->domain, start.domain);
        EXPECT_TRUE(error->userInfo.startsWith(start.words)) << error->userInfo.toStdString();
        EXPECT_EQ(output.framesWritten(), 0);
        EXPECT_EQ(output.audioSamplesWritten(), 0);
    }
}

}  // namespace
}  // namespace orvella::testing
