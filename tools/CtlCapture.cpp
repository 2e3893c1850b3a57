#include "tools/CtlCapture.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QImage>
#include <QStringList>
#include <QThread>
#include <chrono>
#include <cmath>
#include <memory>

#include "camera/QTCamera.h"
#include "capture/MovieRecording.h"
#include "capture/QTCameraCapture.h"
#include "platform/CaptureDevice.h"
#include "platform/Clock.h"
#include "platform/linux/AlsaAudioDevice.h"

namespace orvella::tools {

namespace {

using namespace std::chrono_literals;

constexpr auto kFirstFrameLimit = 10s;  // a camera that sends nothing by then is given up

std::optional<QSize> parseSize(const QString& text) {
    const QStringList parts = text.toLower().split(QLatin1Char('x'));
    if (parts.size() != 2) return std::nullopt;
    bool okW = false, okH = false;
    const int w = parts[0].toInt(&okW), h = parts[1].toInt(&okH);
    if (!okW || !okH || w <= 0 || h <= 0 || w > 16384 || h > 16384) return std::nullopt;
    return QSize(w, h);
}

// Queued messages and the watchdog need an application object; the tool may not have one yet.
class EventLoopHost {
  public:
    EventLoopHost() {
        if (!QCoreApplication::instance())
            app_ = std::make_unique<QCoreApplication>(argc_, const_cast<char**>(argv_));
    }

  private:
    int argc_ = 1;
    const char* argv_[2] = {"orvellactl", nullptr};
    std::unique_ptr<QCoreApplication> app_;
};

struct ToolDelegate : capture::QTCameraDelegate {
    std::optional<std::optional<capture::CaptureError>> finished;
    void didFinishRecordingToOutputFileAtURL(
        const QUrl&, const std::optional<capture::CaptureError>& error) override {
        finished = error;
    }
};

// Chooses the stream format of the size asked for (MJPEG first: it is what cameras deliver
// fastest at large sizes), or leaves the camera's own when none is asked for.
std::optional<CaptureFailure> chooseFormat(QTCamera& camera, capture::QTCameraCapture& capture,
                                           const CaptureOptions& options) {
    if (!options.format) return std::nullopt;
    const FormatEntry* chosen = nullptr;
    QStringList offered;
    for (const FormatEntry& f : camera.formatArray()) {
        const QString size = QStringLiteral("%1x%2").arg(f.FormatWidth).arg(f.FormatHeight);
        if (!offered.contains(size)) offered << size;
        if (f.FormatWidth != options.format->width() || f.FormatHeight != options.format->height())
            continue;
        if (!chosen || f.FormatCode == 0x47504A4D) chosen = &f;
    }
    if (!chosen)
        return CaptureFailure{QStringLiteral("%1 offers no %2x%3 (it offers %4)")
                                  .arg(camera.displayName())
                                  .arg(options.format->width())
                                  .arg(options.format->height())
                                  .arg(offered.isEmpty() ? QStringLiteral("no listed size")
                                                         : offered.join(QStringLiteral(", "))),
                              true};
    capture.setImageFormat(*chosen);
    return std::nullopt;
}

std::optional<CaptureFailure> startStreaming(QTCamera& camera, capture::QTCameraCapture& capture) {
    if (camera.cameraMode() != CameraMode::Idle)
        return CaptureFailure{QStringLiteral("%1 cannot stream (it has no capture device)")
                                  .arg(camera.displayName())};
    capture.startPreview(nullptr);
    if (const auto error = capture.streamError())
        return CaptureFailure{QStringLiteral("cannot stream from %1: %2")
                                  .arg(camera.displayName(), error->localizedDescription)};
    return std::nullopt;
}

// Waits (letting the watchdog work) for a still image of the current size.
std::optional<CaptureFailure> waitForImage(capture::QTCameraCapture& capture, QImage* image) {
    const auto start = platform::MonotonicClock::now();
    while (true) {
        const int status = capture.captureImage(image, 50ms);
        if (status == capture::kCaptureDone) return std::nullopt;
        if (status != kIOReturnTimeout) {
            const auto error = capture.streamError();
            return CaptureFailure{
                error ? QStringLiteral("the stream stopped: %1").arg(error->localizedDescription)
                      : QStringLiteral("the frame could not be decoded")};
        }
        if (std::chrono::duration_cast<std::chrono::milliseconds>(platform::MonotonicClock::now() -
                                                                  start) > kFirstFrameLimit)
            return CaptureFailure{QStringLiteral("no frame came from the camera in %1 s")
                                      .arg(std::chrono::seconds(kFirstFrameLimit).count())};
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
}

// The sound input --audio names: the camera's own microphone (told on `err` when it has none),
// none, or an ALSA device.
std::shared_ptr<platform::CaptureDevice> soundInputFor(QTCamera& camera,
                                                       const CaptureOptions& options,
                                                       std::ostream& err) {
    const QString source = options.audio.isEmpty() ? QStringLiteral("camera") : options.audio;
    if (source == QLatin1String("none")) return nullptr;
    if (source != QLatin1String("camera"))
        return std::make_shared<linuxplatform::AlsaAudioDevice>(source.toStdString(), source);
    const auto& device = camera.qtCaptureDevice();
    auto microphone = device ? device->soundInputDevice() : nullptr;
    if (!microphone)
        err << camera.displayName().toStdString() << " has no microphone; recording video only"
            << std::endl;
    return microphone;
}

// An ALSA device --audio names is opened once before recording: one that does not exist or
// cannot be opened ends the command rather than leaving a movie without the sound asked for.
std::optional<CaptureFailure> checkSoundDevice(const CaptureOptions& options) {
    if (options.audio.isEmpty() || options.audio == QLatin1String("camera") ||
        options.audio == QLatin1String("none"))
        return std::nullopt;
    linuxplatform::AlsaAudioDevice device(options.audio.toStdString(), options.audio);
    const auto source = device.createAudioSource();
    platform::StreamError error;
    if (!source) return CaptureFailure{QStringLiteral("no sound input from %1").arg(options.audio)};
    if (source->open(&error) != kIOReturnSuccess)
        return CaptureFailure{
            error.localizedDescription.isEmpty()
                ? QStringLiteral("cannot open the sound device %1").arg(options.audio)
                : error.localizedDescription};
    source->close();
    return std::nullopt;
}

}  // namespace

bool takeCaptureOption(const std::vector<std::string>& arguments, size_t& i,
                       CaptureOptions& options, QString* error) {
    const QString name = QString::fromLocal8Bit(arguments[i]);
    if (name != QLatin1String("--format") && name != QLatin1String("--seconds") &&
        name != QLatin1String("--video-codec") && name != QLatin1String("--audio") &&
        name != QLatin1String("--audio-codec"))
        return false;
    if (i + 1 >= arguments.size()) {
        *error = QStringLiteral("%1 needs a value").arg(name);
        return true;
    }
    const QString value = QString::fromLocal8Bit(arguments[++i]);
    if (name == QLatin1String("--format")) {
        options.format = parseSize(value);
        if (!options.format)
            *error = QStringLiteral("--format wants WIDTHxHEIGHT, not \"%1\"").arg(value);
    } else if (name == QLatin1String("--seconds")) {
        bool ok = false;
        const double seconds = value.toDouble(&ok);
        if (!ok || !std::isfinite(seconds) || seconds <= 0 || seconds > 24 * 3600)
            *error = QStringLiteral("--seconds wants a positive number, not \"%1\"").arg(value);
        else
            options.seconds = seconds;
    } else if (name == QLatin1String("--video-codec")) {
        options.videoCodec = value;
    } else if (name == QLatin1String("--audio")) {
        if (value.isEmpty())
            *error = QStringLiteral("--audio wants camera, none or an ALSA device name");
        options.audio = value;
    } else {
        options.audioCodec = value;
    }
    return true;
}

std::optional<CaptureFailure> snapshotCommand(QTCamera& camera, const QString& file,
                                              const CaptureOptions& options, std::ostream& err) {
    (void)err;
    const QString suffix = QFileInfo(file).suffix().toLower();
    const char* format = suffix == QLatin1String("png") ? "PNG"
                         : suffix == QLatin1String("jpg") || suffix == QLatin1String("jpeg")
                             ? "JPEG"
                             : nullptr;
    if (!format)
        return CaptureFailure{
            QStringLiteral("%1: the file must end in .png, .jpg or .jpeg").arg(file), true};
    if (options.seconds || !options.videoCodec.isEmpty() || !options.audio.isEmpty() ||
        !options.audioCodec.isEmpty())
        return CaptureFailure{
            QStringLiteral("--seconds, --video-codec, --audio and --audio-codec go with record"),
            true};
    EventLoopHost host;
    capture::QTCameraCapture capture(camera);
    if (auto failure = chooseFormat(camera, capture, options)) return failure;
    if (auto failure = startStreaming(camera, capture)) return failure;
    QImage image;
    if (auto failure = waitForImage(capture, &image)) return failure;
    capture.stopPreview(nullptr);
    if (!image.save(file, format, 92))
        return CaptureFailure{QStringLiteral("cannot write %1").arg(file)};
    return std::nullopt;
}

std::optional<CaptureFailure> recordCommand(QTCamera& camera, const QString& file,
                                            const CaptureOptions& options, std::ostream& err) {
    if (!options.seconds) return CaptureFailure{QStringLiteral("record needs --seconds N"), true};
    capture::enableMovieRecording();
    // What would stop the movie is found before the camera streams, not a frame into it.
    if (const QString problem =
            capture::recordingProblem(file, options.videoCodec, options.audioCodec);
        !problem.isEmpty())
        return CaptureFailure{problem, true};
    if (auto failure = checkSoundDevice(options)) return failure;
    EventLoopHost host;
    capture::QTCameraCapture capture(camera);
    ToolDelegate delegate;
    capture.setDelegate(&delegate);
    if (auto failure = chooseFormat(camera, capture, options)) return failure;
    if (auto failure = startStreaming(camera, capture)) return failure;
    // Recording starts with the first frame, so a slow camera does not shorten the movie.
    QImage first;
    if (auto failure = waitForImage(capture, &first)) return failure;
    const auto sound = soundInputFor(camera, options, err);
    capture.startRecord(QUrl::fromLocalFile(QFileInfo(file).absoluteFilePath()), options.videoCodec,
                        sound.get(), options.audioCodec);
    if (sound && !capture.recordsSound())
        err << capture.soundInputProblem().toStdString() << "; recording video only" << std::endl;
    const auto start = platform::MonotonicClock::now();
    const auto elapsedMs = [&start] {
        return static_cast<qint64>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                       platform::MonotonicClock::now() - start)
                                       .count());
    };
    qint64 nextReport = 1000;
    const auto total = static_cast<qint64>(*options.seconds * 1000);
    while (elapsedMs() < total && !delegate.finished) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(10);
        if (elapsedMs() >= nextReport) {
            err << "recording: " << nextReport / 1000 << " of " << *options.seconds << " s, "
                << capture.framesRecorded() << " frames, " << capture.fps() << " fps" << std::endl;
            nextReport += 1000;
        }
    }
    const bool recordedSound = capture.recordsSound();
    capture.stopPreview(nullptr);
    const int64_t frames = capture.framesInLastMovie();
    if (delegate.finished && *delegate.finished)
        return CaptureFailure{
            QStringLiteral("recording failed: %1").arg((*delegate.finished)->userInfo)};
    err << "recorded " << frames << " frames" << (sound && recordedSound ? " with sound" : "")
        << " to " << file.toStdString() << std::endl;
    return std::nullopt;
}

}  // namespace orvella::tools
