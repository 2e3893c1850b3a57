#include "tools/usbip-camera/IsochronousVideo.h"

#include <algorithm>
#include <chrono>

#include "platform/UvcDescriptors.h"

namespace orvella::usbip {

namespace {

constexpr uint32_t kMicroframesPerSecond = 8000;
constexpr uint8_t kHeaderLength = 2;
constexpr uint8_t kEndOfHeader = 0x80;
constexpr uint8_t kEndOfFrame = 0x02;

uint32_t le32(const std::vector<uint8_t>& b, size_t at) {
    return b.size() < at + 4 ? 0
                             : uint32_t{b[at]} | uint32_t{b[at + 1]} << 8 |
                                   uint32_t{b[at + 2]} << 16 | uint32_t{b[at + 3]} << 24;
}

}  // namespace

IsochronousVideo::IsochronousVideo(std::shared_ptr<virtualcam::VirtualCamera> camera)
    : camera_(std::move(camera)) {
    QString error;
    const auto plan = virtualcam::FramePlan::parse(camera_->json(), &error);
    player_ = std::make_shared<virtualcam::VirtualFramePlayer>(
        camera_, plan.value_or(virtualcam::FramePlan{}));
    for (const virtualcam::InterfaceDefinition& interface : camera_->interfaces()) {
        if (interface.subClass != uvc::kSubClassVideoStreaming) continue;
        bool found = false;
        // The first input header with an IN endpoint names the streaming endpoint.
        uvc::walkClassDescriptors(interface.descriptors, uvc::Extent::Received, 7,
                                  [&](const uvc::DescriptorBytes& d) {
                                      if (d.subtype() != uvc::VS_INPUT_HEADER || !(d.u8(6) & 0x80))
                                          return true;
                                      interfaceNumber_ = interface.number;
                                      endpoint_ = d.u8(6) & 0x0F;
                                      found = true;
                                      return false;
                                  });
        if (found) return;
    }
}

void IsochronousVideo::nextFrame() {
    // The format and interval the host committed.
    const std::vector<uint8_t> commit =
        camera_->streamingControl(interfaceNumber_, uvc::VS_COMMIT_CONTROL);
    std::optional<virtualcam::OfferedFormat> format;
    if (commit.size() >= 8) format = player_->formatAt(commit[2], commit[3]);
    if (!format) format = player_->choose({});
    const uint32_t interval = le32(commit, 4);  // 100 ns units
    const uint64_t perFrame =
        interval ? std::max<uint64_t>(1, uint64_t{interval} * kMicroframesPerSecond / 10000000)
                 : kMicroframesPerSecond / 30;
    int32_t bytesPerLine = 0;
    frame_ = player_->pattern(*format, frames_++, &bytesPerLine);
    sent_ = 0;
    sending_ = true;
    frameStart_ = microframe_ + perFrame;  // when the frame after this one may begin
}

std::vector<uint8_t> IsochronousVideo::fill(std::vector<IsoPacket>& packets) {
    // A pause in the URBs is the host stopping the stream: what was being sent is dropped.
    const auto now = platform::MonotonicClock::now();
    if (now - lastFill_ > std::chrono::milliseconds(200)) {
        sending_ = false;
        frameStart_ = microframe_;
    }
    lastFill_ = now;
    std::vector<uint8_t> data;
    for (IsoPacket& packet : packets) {
        packet.actualLength = 0;
        ++microframe_;
        if (!sending_ && microframe_ >= frameStart_) nextFrame();
        if (!sending_ || packet.length <= kHeaderLength || frame_.isEmpty()) continue;
        const size_t chunk = std::min<size_t>(packet.length - kHeaderLength,
                                              static_cast<size_t>(frame_.size()) - sent_);
        const bool last = sent_ + chunk == static_cast<size_t>(frame_.size());
        data.push_back(kHeaderLength);
        data.push_back(static_cast<uint8_t>(kEndOfHeader | frameId_ | (last ? kEndOfFrame : 0)));
        const auto* bytes = reinterpret_cast<const uint8_t*>(frame_.constData()) + sent_;
        data.insert(data.end(), bytes, bytes + chunk);
        sent_ += chunk;
        packet.actualLength = static_cast<uint32_t>(chunk + kHeaderLength);
        if (last) {
            sending_ = false;
            frameId_ ^= 1;
        }
    }
    return data;
}

}  // namespace orvella::usbip
