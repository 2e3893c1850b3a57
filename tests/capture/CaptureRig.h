#pragma once
// A virtual camera with frames, its camera object and capture path, and helpers that let the
// main thread's queued messages run while a test waits.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QProcess>
#include <QThread>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "camera/QTCamera.h"
#include "capture/QTCameraCapture.h"
#include "platform/virtual/VirtualPlatform.h"
#include "support/EventLoop.h"

namespace orvella::testing {

// Lets queued messages run until `done` or the time is up (longer than elsewhere: a loaded
// machine renders a camera's first frames slowly); returns `done()`.
inline bool spinUntil(const std::function<bool()>& done) {
    return waitFor(done, 10000);
}

inline void spinFor(std::chrono::milliseconds time) {
    spin(static_cast<int>(time.count()));
}

// The generic fixture camera (YUYV 640x480 and 1280x720, MJPEG 1280x720 and 1920x1080) with the
// given "frames" key, and a microphone when `audio` is given.
inline QJsonObject genericWithFrames(const QJsonObject& frames,
                                     const std::optional<QJsonObject>& audio = std::nullopt) {
    QFile file(QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras/generic.json"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QJsonObject definition = QJsonDocument::fromJson(file.readAll()).object();
    definition.insert(QStringLiteral("frames"), frames);
    if (audio) definition.insert(QStringLiteral("audio"), *audio);
    return definition;
}

// What reached the delegate, and on which thread.
struct RecordingDelegate : capture::QTCameraDelegate {
    std::vector<uint32_t> rates;
    int firstFrames = 0;
    std::vector<std::pair<QUrl, std::optional<capture::CaptureError>>> finished;
    bool offMainThread = false;

    void check() {
        if (QThread::currentThread() != QCoreApplication::instance()->thread())
            offMainThread = true;
    }
    void updateFPS(uint32_t fps) override {
        check();
        rates.push_back(fps);
    }
    void gotFirstFrame(capture::QTCameraCapture*) override {
        check();
        ++firstFrames;
    }
    void didFinishRecordingToOutputFileAtURL(
        const QUrl& url, const std::optional<capture::CaptureError>& error) override {
        finished.emplace_back(url, error);
    }
};

struct CaptureRig {
    virtualcam::VirtualPlatform platform;
    std::shared_ptr<virtualcam::VirtualCaptureDevice> device;
    std::unique_ptr<QTCamera> camera;
    std::unique_ptr<capture::QTCameraCapture> capture;
    RecordingDelegate delegate;

    explicit CaptureRig(const QJsonObject& frames = QJsonObject{{"fps", 100}},
                        const std::optional<QJsonObject>& audio = std::nullopt) {
        QString error;
        auto virtualCamera = virtualcam::VirtualCamera::fromJson(
            QJsonDocument(genericWithFrames(frames, audio)).toJson(), &error);
        EXPECT_TRUE(virtualCamera) << error.toStdString();
        device = platform.addCamera(virtualCamera, &error);
        EXPECT_TRUE(device) << error.toStdString();
        camera = QTCamera::initWithQTCaptureDevice(platform.platform(), device);
        capture = std::make_unique<capture::QTCameraCapture>(*camera);
        capture->setDelegate(&delegate);
    }
    ~CaptureRig() {
        capture.reset();  // stops the stream before the camera goes
    }

    // The camera's format entry of that code and size.
    FormatEntry format(int64_t code, int32_t width, int32_t height) const {
        for (const FormatEntry& f : camera->formatArray())
            if (f.FormatCode == code && f.FormatWidth == width && f.FormatHeight == height)
                return f;
        ADD_FAILURE() << "no format " << width << "x" << height;
        return {};
    }
};

// What ffprobe reads of each stream of a movie: the comma-separated stream `entries` by name
// ("codec_name" -> "mjpeg"), frames counted when `countFrames`.
inline std::vector<QMap<QString, QString>> ffprobe(const QString& file, const QString& entries,
                                                   bool countFrames = false) {
    QStringList arguments{
        "-v", "error", "-show_entries", "stream=" + entries, "-of", "compact=p=0:nk=0", file};
    if (countFrames) arguments.prepend("-count_frames");
    QProcess process;
    process.start("ffprobe", arguments);
    EXPECT_TRUE(process.waitForFinished(60000));
    std::vector<QMap<QString, QString>> streams;
    for (const QString& line :
         QString::fromUtf8(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts)) {
        QMap<QString, QString> stream;
        for (const QString& field : line.split('|'))
            stream.insert(field.section('=', 0, 0), field.section('=', 1));
        streams.push_back(stream);
    }
    return streams;
}

constexpr int64_t kCodeYUY2 = 0x32595559;  // 'YUY2' as a little-endian number
constexpr int64_t kCodeMJPG = 0x47504A4D;

}  // namespace orvella::testing
