#include "platform/virtual/VirtualFramePlayer.h"

#include <turbojpeg.h>

#include <QJsonValue>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <thread>

#include "platform/Clock.h"
#include "platform/UvcDescriptors.h"
#include "platform/virtual/DefinitionNumber.h"

namespace orvella::virtualcam {

namespace {

constexpr uint64_t kPatternLoop = 16;  // distinct frames before the pattern repeats

// The seam's pixel format for an uncompressed format GUID's four characters, 0 if unknown.
uint32_t pixelFormatForGuid(const platform::Descriptor& d) {
    const uint32_t code =
        (uint32_t{d[5]} << 24) | (uint32_t{d[6]} << 16) | (uint32_t{d[7]} << 8) | d[8];
    switch (code) {
        case 0x59555932:  // 'YUY2'
        case platform::kPixelFormatYUYV:
            return platform::kPixelFormatYUYV;
        case platform::kPixelFormatUYVY:
            return platform::kPixelFormatUYVY;
        case platform::kPixelFormatNV12:
            return platform::kPixelFormatNV12;
        default:
            return 0;
    }
}

std::vector<OfferedFormat> offeredFormatsOf(const VirtualCamera& camera) {
    std::vector<OfferedFormat> offered;
    for (const InterfaceDefinition& interface : camera.interfaces()) {
        if (interface.subClass != uvc::kSubClassVideoStreaming) continue;
        uint32_t format = 0;
        uint8_t formatIndex = 0;
        uvc::walkClassDescriptors(
            interface.descriptors, uvc::Extent::Received, 4, [&](const uvc::DescriptorBytes& w) {
                const platform::Descriptor& d = w.bytes();
                if (d[2] == uvc::VS_FORMAT_UNCOMPRESSED) {
                    format = d.size() >= 9 ? pixelFormatForGuid(d) : 0;
                    formatIndex = d[3];
                } else if (d[2] == uvc::VS_FORMAT_MJPEG) {
                    format = platform::kPixelFormatMJPG;
                    formatIndex = d[3];
                } else if ((d[2] == uvc::VS_FRAME_UNCOMPRESSED || d[2] == uvc::VS_FRAME_MJPEG) &&
                           format && d.size() >= 9) {
                    const int32_t width = d[5] | (d[6] << 8), height = d[7] | (d[8] << 8);
                    // Sizes a test pattern cannot be laid out in are left out.
                    if (width >= 2 && height >= 2 && width % 2 == 0 && height % 2 == 0)
                        offered.push_back({format, width, height, formatIndex, d[3]});
                }
            });
    }
    return offered;
}

// Colour bars with a white stripe that moves one sixteenth of the width per frame, in RGB.
std::vector<uint8_t> renderRgb(int32_t width, int32_t height, uint64_t index) {
    static constexpr uint8_t kBars[8][3] = {{235, 235, 235}, {235, 235, 16}, {16, 235, 235},
                                            {16, 235, 16},   {235, 16, 235}, {235, 16, 16},
                                            {16, 16, 235},   {16, 16, 16}};
    std::vector<uint8_t> rgb(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
    const int32_t stripe = std::max(1, width / static_cast<int32_t>(kPatternLoop));
    const int32_t stripeX = static_cast<int32_t>(index % kPatternLoop) * stripe;
    std::vector<uint8_t> row(static_cast<size_t>(width) * 3);
    for (int32_t x = 0; x < width; ++x) {
        const uint8_t* c = kBars[static_cast<size_t>(x) * 8 / static_cast<size_t>(width)];
        const bool inStripe = x >= stripeX && x < stripeX + stripe;
        for (int i = 0; i < 3; ++i)
            row[static_cast<size_t>(x) * 3 + static_cast<size_t>(i)] = inStripe ? 255 : c[i];
    }
    for (int32_t y = 0; y < height; ++y)
        std::copy(row.begin(), row.end(), rgb.begin() + static_cast<ptrdiff_t>(y) * width * 3);
    return rgb;
}

// BT.601 limited range.
void toYuv(const uint8_t* p, int* y, int* u, int* v) {
    const int r = p[0], g = p[1], b = p[2];
    *y = std::clamp(((66 * r + 129 * g + 25 * b + 128) >> 8) + 16, 0, 255);
    *u = std::clamp(((-38 * r - 74 * g + 112 * b + 128) >> 8) + 128, 0, 255);
    *v = std::clamp(((112 * r - 94 * g - 18 * b + 128) >> 8) + 128, 0, 255);
}

QByteArray encode(const OfferedFormat& f, const std::vector<uint8_t>& rgb, int32_t* bytesPerLine) {
    const auto w = static_cast<size_t>(f.width), h = static_cast<size_t>(f.height);
    QByteArray out;
    if (f.pixelFormat == platform::kPixelFormatMJPG) {
        *bytesPerLine = 0;
        tjhandle handle = tjInitCompress();
        if (!handle) return out;
        unsigned char* jpeg = nullptr;
        unsigned long size = 0;
        if (tjCompress2(handle, rgb.data(), f.width, 0, f.height, TJPF_RGB, &jpeg, &size,
                        TJSAMP_422, 80, TJFLAG_FASTDCT) == 0)
            out = QByteArray(reinterpret_cast<const char*>(jpeg), static_cast<qsizetype>(size));
        tjFree(jpeg);
        tjDestroy(handle);
        return out;
    }
    if (f.pixelFormat == platform::kPixelFormatNV12) {
        *bytesPerLine = f.width;
        out.resize(static_cast<qsizetype>(w * h * 3 / 2));
        auto* yPlane = reinterpret_cast<uint8_t*>(out.data());
        uint8_t* uv = yPlane + w * h;
        for (size_t row = 0; row < h; ++row)
            for (size_t x = 0; x < w; ++x) {
                int y, u, v;
                toYuv(&rgb[(row * w + x) * 3], &y, &u, &v);
                yPlane[row * w + x] = static_cast<uint8_t>(y);
                if (row % 2 == 0 && x % 2 == 0) {
                    uv[(row / 2) * w + x] = static_cast<uint8_t>(u);
                    uv[(row / 2) * w + x + 1] = static_cast<uint8_t>(v);
                }
            }
        return out;
    }
    *bytesPerLine = f.width * 2;
    out.resize(static_cast<qsizetype>(w * h * 2));
    auto* d = reinterpret_cast<uint8_t*>(out.data());
    const bool uyvy = f.pixelFormat == platform::kPixelFormatUYVY;
    for (size_t i = 0; i < w * h; i += 2) {
        int y0, u, v, y1, u1, v1;
        toYuv(&rgb[i * 3], &y0, &u, &v);
        toYuv(&rgb[i * 3 + 3], &y1, &u1, &v1);
        uint8_t* q = d + i * 2;
        if (uyvy) {
            q[0] = static_cast<uint8_t>(u), q[1] = static_cast<uint8_t>(y0);
            q[2] = static_cast<uint8_t>(v), q[3] = static_cast<uint8_t>(y1);
        } else {
            q[0] = static_cast<uint8_t>(y0), q[1] = static_cast<uint8_t>(u);
            q[2] = static_cast<uint8_t>(y1), q[3] = static_cast<uint8_t>(v);
        }
    }
    return out;
}

// One stream: a capture thread that plays the pattern at the camera's rate.
class VirtualCaptureStream final : public platform::CaptureStream {
  public:
    explicit VirtualCaptureStream(std::shared_ptr<VirtualFramePlayer> player)
        : player_(std::move(player)) {
        format_ = player_->choose({});
    }
    ~VirtualCaptureStream() override { close(); }

    IOReturn open(platform::StreamError* error) override {
        auto fail = [&](IOReturn status, long code, const char* text, const char* suggestion) {
            if (error) {
                error->domain = QStringLiteral("VirtualCamera");
                error->code = code;
                error->localizedDescription = QString::fromLatin1(text);
                error->localizedRecoverySuggestion = QString::fromLatin1(suggestion);
            }
            return status;
        };
        if (!player_->camera()->present())
            return fail(kIOReturnNoDevice, ENODEV, "the camera is gone", "plug the camera in");
        if (player_->offeredFormats().empty())
            return fail(kIOReturnUnsupported, EINVAL, "the camera offers no video format", "");
        if (player_->plan().busy || !player_->claim(this))
            return fail(kIOReturnExclusiveAccess, EBUSY,
                        "the camera is streaming to another program",
                        "close the other program that uses the camera");
        open_ = true;
        std::lock_guard lock(mutex_);
        player_->noteFormat(this, format_, rate_);
        return kIOReturnSuccess;
    }

    void setFormat(const platform::StreamFormat& format) override {
        std::lock_guard lock(mutex_);
        format_ = player_->choose(format);
        rate_ = format.frameRate > 0 ? std::clamp(format.frameRate, 0.1, 1000.0) : 0.0;
        player_->noteFormat(this, format_, rate_);
    }

    IOReturn start(platform::CaptureStreamClient* client) override {
        if (!open_) return kIOReturnNotOpen;
        if (thread_.joinable()) return kIOReturnSuccess;
        stopping_ = false;
        const int start = player_->countStart();
        thread_ = std::thread([this, client, start] { run(client, start); });
        return kIOReturnSuccess;
    }

    void stop() override {
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        wake_.notify_all();
        if (thread_.joinable()) thread_.join();
    }

    void close() override {
        stop();
        if (open_) player_->release(this);
        open_ = false;
    }

  private:
    void run(platform::CaptureStreamClient* client, int start) {
        using Clock = platform::MonotonicClock;
        const FramePlan plan = player_->plan();
        const bool silent = start <= plan.silentStarts;
        int64_t delivered = 0;
        auto next = Clock::now();
        while (true) {
            next += std::chrono::microseconds(static_cast<int64_t>(
                1e6 / std::max(0.1, rate() > 0 ? rate() : player_->frameRate())));
            OfferedFormat format;
            {
                std::unique_lock lock(mutex_);
                if (wake_.wait_until(lock, next, [this] { return stopping_; })) return;
                if (const auto change = player_->takeSizeChange())
                    format_ = player_->choose({format_.pixelFormat, change->first, change->second});
                format = format_;
            }
            if (!player_->camera()->present()) {
                client->streamDidFail(kIOReturnNoDevice, QStringLiteral("the camera is gone"));
                return;
            }
            if (silent || player_->stalled() ||
                (plan.stallAfter >= 0 && delivered >= plan.stallAfter))
                continue;
            auto frame = std::make_shared<platform::VideoFrame>();
            frame->pixelFormat = format.pixelFormat;
            frame->width = format.width;
            frame->height = format.height;
            frame->data = player_->pattern(format, sequence_, &frame->bytesPerLine);
            frame->timestampUs = std::chrono::duration_cast<std::chrono::microseconds>(
                                     Clock::now().time_since_epoch())
                                     .count();
            frame->sequence = sequence_++;
            client->streamDidOutputFrame(frame);
            ++delivered;
            if (plan.changeSizeAfter >= 0 && delivered == plan.changeSizeAfter)
                player_->changeSize(plan.changeWidth, plan.changeHeight);
            if (plan.vanishAfter >= 0 && delivered >= plan.vanishAfter) {
                player_->camera()->vanish();
                client->streamDidFail(kIOReturnNoDevice, QStringLiteral("the camera is gone"));
                return;
            }
        }
    }

    std::shared_ptr<VirtualFramePlayer> player_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
    bool open_ = false;
    OfferedFormat format_;
    double rate_ = 0;  // asked for by setFormat; 0: the camera's
    uint64_t sequence_ = 0;

    double rate() {
        std::lock_guard lock(mutex_);
        return rate_;
    }
    std::thread thread_;
};

}  // namespace

std::optional<FramePlan> FramePlan::parse(const QJsonObject& definition, QString* error) {
    FramePlan plan;
    if (!definition.contains(QLatin1String("frames"))) return plan;
    const QJsonValue value = definition.value(QLatin1String("frames"));
    if (!value.isObject()) {
        if (error) *error = QStringLiteral("frames: expected an object");
        return std::nullopt;
    }
    const QJsonObject frames = value.toObject();
    double silent = 0, stall = -1, vanish = -1, change = -1, width = 0, height = 0;
    if (!readBoundedNumber(frames, "frames", "fps", 0.1, 1000, &plan.fps, error) ||
        !readBoundedNumber(frames, "frames", "silentStarts", 0, 1e6, &silent, error) ||
        !readBoundedNumber(frames, "frames", "stallAfter", 0, 1e12, &stall, error) ||
        !readBoundedNumber(frames, "frames", "vanishAfter", 1, 1e12, &vanish, error))
        return std::nullopt;
    if (frames.contains(QLatin1String("changeSize"))) {
        const QJsonObject c = frames.value(QLatin1String("changeSize")).toObject();
        if (!readBoundedNumber(c, "frames", "after", 1, 1e12, &change, error) ||
            !readBoundedNumber(c, "frames", "width", 2, 16384, &width, error) ||
            !readBoundedNumber(c, "frames", "height", 2, 16384, &height, error))
            return std::nullopt;
        if (change < 0) {
            if (error) *error = QStringLiteral("frames.changeSize: needs after, width and height");
            return std::nullopt;
        }
    }
    if (frames.contains(QLatin1String("busy"))) {
        if (!frames.value(QLatin1String("busy")).isBool()) {
            if (error) *error = QStringLiteral("frames.busy: expected true or false");
            return std::nullopt;
        }
        plan.busy = frames.value(QLatin1String("busy")).toBool();
    }
    plan.silentStarts = static_cast<int>(silent);
    plan.stallAfter = static_cast<int64_t>(stall);
    plan.vanishAfter = static_cast<int64_t>(vanish);
    plan.changeSizeAfter = static_cast<int64_t>(change);
    plan.changeWidth = static_cast<int32_t>(width);
    plan.changeHeight = static_cast<int32_t>(height);
    return plan;
}

VirtualFramePlayer::VirtualFramePlayer(std::shared_ptr<VirtualCamera> camera, FramePlan plan)
    : camera_(std::move(camera)), offered_(offeredFormatsOf(*camera_)), plan_(plan) {
    busy_ = plan.busy;
}

OfferedFormat VirtualFramePlayer::choose(const platform::StreamFormat& wanted) const {
    if (offered_.empty()) return {};
    uint32_t format = offered_.front().pixelFormat;
    for (const OfferedFormat& o : offered_)
        if (o.pixelFormat == wanted.pixelFormat) format = wanted.pixelFormat;
    const OfferedFormat* best = nullptr;
    int64_t bestDistance = 0;
    for (const OfferedFormat& o : offered_) {
        if (o.pixelFormat != format) continue;
        if (wanted.width <= 0 || wanted.height <= 0) return o;
        const int64_t distance =
            std::abs(int64_t{o.width} - wanted.width) + std::abs(int64_t{o.height} - wanted.height);
        if (!best || distance < bestDistance) best = &o, bestDistance = distance;
    }
    return *best;
}

std::unique_ptr<platform::CaptureStream> VirtualFramePlayer::createStream() {
    return std::make_unique<VirtualCaptureStream>(shared_from_this());
}

std::optional<OfferedFormat> VirtualFramePlayer::formatAt(uint8_t formatIndex,
                                                          uint8_t frameIndex) const {
    for (const OfferedFormat& o : offered_)
        if (o.formatIndex == formatIndex && o.frameIndex == frameIndex) return o;
    return std::nullopt;
}

void VirtualFramePlayer::changeSize(int32_t width, int32_t height) {
    std::lock_guard lock(mutex_);
    sizeChange_ = {width, height};
}

void VirtualFramePlayer::setFrameRate(double fps) {
    std::lock_guard lock(mutex_);
    plan_.fps = std::clamp(fps, 0.1, 1000.0);
}

double VirtualFramePlayer::frameRate() const {
    std::lock_guard lock(mutex_);
    return plan_.fps;
}

FramePlan VirtualFramePlayer::plan() const {
    std::lock_guard lock(mutex_);
    FramePlan plan = plan_;
    plan.busy = busy_;
    return plan;
}

bool VirtualFramePlayer::claim(const void* stream) {
    std::lock_guard lock(mutex_);
    if (holder_ && holder_ != stream) return false;
    holder_ = stream;
    return true;
}

void VirtualFramePlayer::release(const void* stream) {
    std::lock_guard lock(mutex_);
    if (holder_ == stream) holder_ = nullptr;
}

void VirtualFramePlayer::noteFormat(const void* stream, const OfferedFormat& format,
                                    double frameRate) {
    std::lock_guard lock(mutex_);
    if (holder_ != stream) return;
    holderFormat_ = format;
    holderRate_ = frameRate;
}

double VirtualFramePlayer::heldFrameRate() const {
    std::lock_guard lock(mutex_);
    return holder_ ? holderRate_ : 0.0;
}

bool VirtualFramePlayer::held() const {
    std::lock_guard lock(mutex_);
    return holder_ != nullptr;
}

std::optional<OfferedFormat> VirtualFramePlayer::heldFormat() const {
    std::lock_guard lock(mutex_);
    if (!holder_) return std::nullopt;
    return holderFormat_;
}

std::optional<std::pair<int32_t, int32_t>> VirtualFramePlayer::takeSizeChange() {
    std::lock_guard lock(mutex_);
    auto change = sizeChange_;
    sizeChange_.reset();
    return change;
}

QByteArray VirtualFramePlayer::pattern(const OfferedFormat& format, uint64_t index,
                                       int32_t* bytesPerLine) {
    const auto key =
        std::make_tuple(format.pixelFormat, format.width, format.height, index % kPatternLoop);
    {
        std::lock_guard lock(mutex_);
        if (const auto found = patterns_.find(key); found != patterns_.end()) {
            *bytesPerLine = format.pixelFormat == platform::kPixelFormatMJPG   ? 0
                            : format.pixelFormat == platform::kPixelFormatNV12 ? format.width
                                                                               : format.width * 2;
            return found->second;
        }
    }
    const QByteArray bytes =
        encode(format, renderRgb(format.width, format.height, index % kPatternLoop), bytesPerLine);
    std::lock_guard lock(mutex_);
    patterns_[key] = bytes;
    return bytes;
}

}  // namespace orvella::virtualcam
