#pragma once
// Turns a camera frame into an image: MJPEG through libjpeg-turbo's TurboJPEG API, YUYV, UYVY and
// NV12 through capture/YuvToRgb (BT.601, limited range) and, for another size, Qt's smooth
// scaling. One decoder per thread (it keeps its decompressor and a frame-sized image).

#include <QImage>
#include <QSize>
#include <memory>

#include "platform/CaptureStream.h"

namespace orvella::capture {

class FrameDecoder {
  public:
    FrameDecoder();
    ~FrameDecoder();
    FrameDecoder(const FrameDecoder&) = delete;
    FrameDecoder& operator=(const FrameDecoder&) = delete;

    // The frame as an RGB32 image of its own size; a null image when the frame is damaged or
    // in a format this decoder does not know.
    QImage toImage(const platform::VideoFrame& frame);
    // The same into `image`, reusing its memory when the size is unchanged.
    bool decodeInto(const platform::VideoFrame& frame, QImage* image);
    // For display at `target` size: uncompressed frames are converted and scaled to exactly that
    // size; MJPEG is decoded at the smallest of libjpeg-turbo's DCT scales that is at
    // least that size (decoding fewer pixels is most of the saving). An empty target decodes
    // the whole frame.
    bool decodeInto(const platform::VideoFrame& frame, QImage* image, QSize target);
    // Straight into RGB32 memory of exactly `size` (a window's backing store, say); false when
    // the frame cannot be decoded at exactly that size (MJPEG has only its DCT scales).
    bool decodeTo(const platform::VideoFrame& frame, uchar* pixels, qsizetype bytesPerLine,
                  QSize size);

  private:
    struct Private;
    std::unique_ptr<Private> d_;
};

}  // namespace orvella::capture
