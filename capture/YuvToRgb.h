#pragma once
// The uncompressed formats cameras send (YUYV, UYVY, NV12) into RGB32: BT.601 with limited range
// (Y 16-235, Cb and Cr 16-240), the matrix UVC cameras use for these formats. Two horizontally
// neighbouring pixels share a chroma pair (NV12: a 2 x 2 block shares one); the last pixel of an
// odd width, whose pair the line does not hold whole, takes the pair before it.

#include <QRgb>
#include <QtGlobal>

#include "platform/CaptureStream.h"

namespace orvella::capture {

// One pixel: Y, Cb, Cr to opaque RGB.
QRgb yuvToRgb(int y, int cb, int cr);

// The frame, at its own size, into RGB32 memory (`bytesPerLine` at least width x 4). False, with
// nothing written, when the format is none of the three, the size is empty, the lines are
// shorter than the width needs or the data shorter than the lines.
bool convertYuv(const platform::VideoFrame& frame, uchar* pixels, qsizetype bytesPerLine);

}  // namespace orvella::capture
