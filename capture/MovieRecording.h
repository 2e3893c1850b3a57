#pragma once
// Movie recording for the programs that record (orvellactl, the capture tests): installs
// MovieFileOutput as the capture path's movie output and FFmpeg's ALSA input as the Linux
// backend's sound source. Part of orvella_recording, the one capture library that links FFmpeg
// (through media/); calling it more than once does no harm.

namespace orvella::capture {

void enableMovieRecording();

}  // namespace orvella::capture
