#pragma once
// Movie recording for the programs that record (orvellactl, the capture tests): installs
// MovieFileOutput as the capture path's movie output and FFmpeg's ALSA input as the Linux
// backend's sound source. Part of orvella_recording, the one capture library that links FFmpeg
// (through media/); calling it more than once does no harm.

#include <QString>

namespace orvella::capture {

void enableMovieRecording();

// Why a movie with this file name and these encoder names (empty: the defaults) cannot be
// recorded, in words; empty when it can. Lets a program refuse before it starts the camera.
QString recordingProblem(const QString& file, const QString& videoEncoder,
                         const QString& audioEncoder);

}  // namespace orvella::capture
