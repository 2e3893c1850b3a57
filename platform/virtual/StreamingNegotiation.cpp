#include "platform/virtual/StreamingNegotiation.h"

#include <algorithm>
#include <cstring>

#include "platform/UvcDescriptors.h"

namespace orvella::virtualcam {

namespace {

// Probe/commit layout (byte offsets).
constexpr size_t kFormatIndexAt = 2;
constexpr size_t kFrameIndexAt = 3;
constexpr size_t kFrameIntervalAt = 4;
constexpr size_t kMaxVideoFrameSizeAt = 18;
constexpr size_t kMaxPayloadTransferSizeAt = 22;
constexpr size_t kClockFrequencyAt = 26;
constexpr size_t kFramingInfoAt = 30;
constexpr size_t kPreferedVersionAt = 31;
constexpr size_t kMaxVersionAt = 33;
constexpr size_t kShortestControl = 26;

uint32_t get32(const std::vector<uint8_t>& b, size_t at) {
    if (at + 4 > b.size()) return 0;
    return static_cast<uint32_t>(b[at]) | static_cast<uint32_t>(b[at + 1]) << 8 |
           static_cast<uint32_t>(b[at + 2]) << 16 | static_cast<uint32_t>(b[at + 3]) << 24;
}

void put32(std::vector<uint8_t>& b, size_t at, uint32_t value) {
    for (size_t i = 0; i < 4 && at + i < b.size(); ++i)
        b[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

uint16_t get16(const std::vector<uint8_t>& b, size_t at) {
    if (at + 2 > b.size()) return 0;
    return static_cast<uint16_t>(b[at] | b[at + 1] << 8);
}

}  // namespace

StreamingNegotiation::StreamingNegotiation(const std::vector<platform::Descriptor>& vs,
                                           uint16_t bcdUVC, uint32_t clockFrequency)
    : length_(bcdUVC >= 0x0150   ? 48
              : bcdUVC >= 0x0110 ? 34
                                 : 26),
      clockFrequency_(clockFrequency) {
    uvc::walkClassDescriptors(vs, uvc::Extent::Received, 4, [&](const uvc::DescriptorBytes& w) {
        const platform::Descriptor& d = w.bytes();
        const uint8_t subtype = w.subtype();
        if (subtype == uvc::VS_FORMAT_UNCOMPRESSED || subtype == uvc::VS_FORMAT_FRAME_BASED ||
            subtype == uvc::VS_FORMAT_MJPEG) {
            // The default frame index sits at 22 in the uncompressed and frame-based formats and
            // at 6 in the MJPEG one.
            const size_t defaultAt = subtype == uvc::VS_FORMAT_MJPEG ? 6 : 22;
            if (d.size() <= defaultAt) return;
            formats_.push_back({d[3], d[defaultAt], {}});
            return;
        }
        const bool frameBased = subtype == uvc::VS_FRAME_FRAME_BASED;
        if ((subtype != uvc::VS_FRAME_UNCOMPRESSED && subtype != uvc::VS_FRAME_MJPEG &&
             !frameBased) ||
            formats_.empty() || d.size() < 26)
            return;
        Frame frame;
        frame.index = d[3];
        const uint32_t width = get16(d, 5);
        const uint32_t height = get16(d, 7);
        frame.maxFrameSize = frameBased ? width * height * 2 : get32(d, 17);
        frame.defaultInterval = get32(d, frameBased ? 17 : 21);
        const uint8_t intervalType = d[frameBased ? 21 : 25];
        if (intervalType == 0) {
            frame.minInterval = get32(d, 26);
            frame.maxInterval = std::max(frame.minInterval, get32(d, 30));
            frame.step = get32(d, 34);
        } else {
            for (size_t i = 0; i < intervalType && 26 + 4 * i + 4 <= d.size(); ++i)
                frame.intervals.push_back(get32(d, 26 + 4 * i));
        }
        formats_.back().frames.push_back(std::move(frame));
    });

    std::vector<uint8_t> proposal(length_, 0);
    if (!formats_.empty()) {
        proposal[kFormatIndexAt] = formats_.front().index;
        proposal[kFrameIndexAt] = formats_.front().defaultFrame;
    }
    proposal[0] = 1;  // bmHint: keep the frame interval
    default_ = settle(proposal);
    probe_ = default_;
    commit_ = default_;
}

const StreamingNegotiation::Format* StreamingNegotiation::format(uint8_t index) const {
    for (const Format& f : formats_)
        if (f.index == index) return &f;
    return formats_.empty() ? nullptr : &formats_.front();
}

std::vector<uint8_t> StreamingNegotiation::settle(const std::vector<uint8_t>& proposed) const {
    std::vector<uint8_t> v = proposed;
    v.resize(length_, 0);
    const Format* f = format(v[kFormatIndexAt]);
    if (!f) return v;
    v[kFormatIndexAt] = f->index;
    const Frame* frame = nullptr;
    for (uint8_t wanted : {v[kFrameIndexAt], f->defaultFrame})
        for (const Frame& candidate : f->frames)
            if (!frame && candidate.index == wanted) frame = &candidate;
    if (!frame && !f->frames.empty()) frame = &f->frames.front();
    if (frame) {
        v[kFrameIndexAt] = frame->index;
        uint32_t interval = get32(v, kFrameIntervalAt);
        if (interval == 0) interval = frame->defaultInterval;
        if (!frame->intervals.empty()) {
            // The offered interval nearest to the one asked for.
            uint32_t best = frame->intervals.front();
            for (uint32_t offered : frame->intervals) {
                const auto distance = [&](uint32_t x) {
                    return x > interval ? x - interval : interval - x;
                };
                if (distance(offered) < distance(best)) best = offered;
            }
            interval = best;
        } else {
            interval = std::clamp(interval, frame->minInterval, frame->maxInterval);
            if (frame->step)
                interval = frame->minInterval + (interval - frame->minInterval + frame->step / 2) /
                                                    frame->step * frame->step;
            interval = std::min(interval, frame->maxInterval);
        }
        put32(v, kFrameIntervalAt, interval);
        put32(v, kMaxVideoFrameSizeAt, frame->maxFrameSize);
    }
    put32(v, kMaxPayloadTransferSizeAt, kMaxPayloadTransferSize);
    if (length_ > kShortestControl) {
        put32(v, kClockFrequencyAt, clockFrequency_);
        v[kFramingInfoAt] = 0x03;
        v[kPreferedVersionAt] = v[kPreferedVersionAt + 1] = v[kMaxVersionAt] = 1;
    }
    return v;
}

IOReturn StreamingNegotiation::request(platform::ControlRequest& request,
                                       std::vector<uint8_t>& answered) {
    const uint8_t selector = static_cast<uint8_t>(request.wValue >> 8);
    if ((selector != uvc::VS_PROBE_CONTROL && selector != uvc::VS_COMMIT_CONTROL) ||
        (request.wValue & 0xFF) != 0)
        return kIOUSBPipeStalled;
    std::vector<uint8_t>& control = selector == uvc::VS_PROBE_CONTROL ? probe_ : commit_;

    if (request.bmRequestType == uvc::kRequestTypeSet) {
        if (request.bRequest != uvc::SET_CUR || request.wLength < kShortestControl ||
            !request.pData)
            return kIOUSBPipeStalled;
        const auto* sent = static_cast<const uint8_t*>(request.pData);
        control =
            settle(std::vector<uint8_t>(sent, sent + std::min<size_t>(request.wLength, length_)));
        request.wLenDone = request.wLength;
        return kIOReturnSuccess;
    }
    if (request.bmRequestType != uvc::kRequestTypeGet) return kIOUSBPipeStalled;
    std::vector<uint8_t> bytes;
    switch (request.bRequest) {
        case uvc::GET_CUR:
            bytes = control;
            break;
        case uvc::GET_MIN:
        case uvc::GET_MAX:
        case uvc::GET_DEF:
            // Only the probe control has a range; the camera offers one set of defaults.
            if (selector != uvc::VS_PROBE_CONTROL) return kIOUSBPipeStalled;
            bytes = default_;
            break;
        case uvc::GET_LEN:
            bytes = {static_cast<uint8_t>(length_), 0};
            break;
        case uvc::GET_INFO:
            bytes = {0x03};
            break;
        default:
            return kIOUSBPipeStalled;
    }
    const size_t count = std::min<size_t>(bytes.size(), request.wLength);
    if (count && !request.pData) return kIOReturnBadArgument;
    if (count) std::memcpy(request.pData, bytes.data(), count);
    request.wLenDone = static_cast<uint32_t>(count);
    answered.assign(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
    return kIOReturnSuccess;
}

}  // namespace orvella::virtualcam
