#include "capture/MovieRecording.h"

#include "capture/MovieFileOutput.h"
#include "media/AlsaAudioSource.h"
#include "media/MovieWriter.h"
#include "platform/linux/AlsaAudioDevice.h"

namespace orvella::capture {

namespace {

std::shared_ptr<MovieOutput> makeMovieFileOutput() {
    return std::make_shared<MovieFileOutput>();
}

}  // namespace

void enableMovieRecording() {
    setMovieOutputMaker(&makeMovieFileOutput);
    linuxplatform::setAlsaSourceMaker(&media::makeAlsaAudioSource);
}

QString recordingProblem(const QString& file, const QString& videoEncoder,
                         const QString& audioEncoder) {
    return media::movieSettingsProblem(file, videoEncoder, audioEncoder);
}

}  // namespace orvella::capture
