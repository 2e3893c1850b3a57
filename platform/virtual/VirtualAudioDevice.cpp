#include "platform/virtual/VirtualAudioDevice.h"

#include <QJsonValue>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <numbers>
#include <thread>

#include "platform/Clock.h"
#include "platform/virtual/DefinitionNumber.h"

namespace orvella::virtualcam {

namespace {

constexpr int kChunkMs = 20;

// The tone in chunks of 20 ms, paced by the monotonic clock; each chunk is stamped with the
// time its first sample was "heard".
class ToneSource final : public platform::AudioCaptureSource {
  public:
    ToneSource(std::shared_ptr<VirtualCamera> camera, AudioPlan plan)
        : camera_(std::move(camera)), plan_(plan) {}
    ~ToneSource() override { close(); }

    IOReturn open(platform::StreamError* error) override {
        if (!camera_->present()) {
            if (error) {
                error->domain = QStringLiteral("VirtualCamera");
                error->code = ENODEV;
                error->localizedDescription = QStringLiteral("the microphone is gone");
            }
            return kIOReturnNoDevice;
        }
        open_ = true;
        return kIOReturnSuccess;
    }

    platform::AudioFormat format() const override { return {plan_.sampleRate, plan_.channels}; }

    IOReturn start(platform::AudioCaptureClient* client) override {
        if (!open_) return kIOReturnNotOpen;
        if (thread_.joinable()) return kIOReturnSuccess;
        stopping_ = false;
        thread_ = std::thread([this, client] { run(client); });
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
        open_ = false;
    }

  private:
    void run(platform::AudioCaptureClient* client) {
        using Clock = platform::MonotonicClock;
        // Samples up to the end of chunk n, so that rates not divisible by 50 do not drift.
        const auto samplesBefore = [&](int64_t n) {
            return n * kChunkMs * plan_.sampleRate / 1000;
        };
        const double step = 2 * std::numbers::pi * plan_.tone / plan_.sampleRate;
        const auto start = Clock::now();
        const int64_t startUs = platform::monotonicMicroseconds();
        for (int64_t chunk = 0;; ++chunk) {
            {
                std::unique_lock lock(mutex_);
                const auto due = start + std::chrono::milliseconds(kChunkMs * (chunk + 1));
                if (wake_.wait_until(lock, due, [this] { return stopping_; })) return;
            }
            if (!camera_->present()) {
                client->audioSourceDidFail(kIOReturnNoDevice,
                                           QStringLiteral("the microphone is gone"));
                return;
            }
            auto buffer = std::make_shared<platform::AudioBuffer>();
            buffer->sampleRate = plan_.sampleRate;
            buffer->channels = plan_.channels;
            buffer->timestampUs = startUs + chunk * kChunkMs * 1000;
            const int64_t perChunk = samplesBefore(chunk + 1) - samplesBefore(chunk);
            buffer->samples.resize(static_cast<size_t>(perChunk * plan_.channels));
            for (int64_t i = 0; i < perChunk; ++i) {
                const auto value = static_cast<int16_t>(
                    std::lround(8000 * std::sin(step * static_cast<double>(sample_++))));
                for (int c = 0; c < plan_.channels; ++c)
                    buffer->samples[static_cast<size_t>(i * plan_.channels + c)] = value;
            }
            client->audioSourceDidOutput(buffer);
        }
    }

    std::shared_ptr<VirtualCamera> camera_;
    AudioPlan plan_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
    bool open_ = false;
    int64_t sample_ = 0;
    std::thread thread_;
};

}  // namespace

std::optional<AudioPlan> AudioPlan::parse(const QJsonObject& definition, QString* error) {
    if (!definition.contains(QLatin1String("audio"))) return std::nullopt;
    const QJsonValue value = definition.value(QLatin1String("audio"));
    if (!value.isObject()) {
        if (error) *error = QStringLiteral("audio: expected an object");
        return std::nullopt;
    }
    const QJsonObject audio = value.toObject();
    AudioPlan plan;
    double rate = plan.sampleRate, channels = plan.channels;
    if (!readBoundedNumber(audio, "audio", "tone", 1, 20000, &plan.tone, error) ||
        !readBoundedNumber(audio, "audio", "sampleRate", 8000, 192000, &rate, error) ||
        !readBoundedNumber(audio, "audio", "channels", 1, 8, &channels, error))
        return std::nullopt;
    plan.sampleRate = static_cast<int>(rate);
    plan.channels = static_cast<int>(channels);
    if (plan.tone * 2 > plan.sampleRate) {
        if (error) *error = QStringLiteral("audio.tone: above half the sample rate");
        return std::nullopt;
    }
    return plan;
}

VirtualAudioDevice::VirtualAudioDevice(std::shared_ptr<VirtualCamera> camera, AudioPlan plan,
                                       QString uniqueID)
    : camera_(std::move(camera)), plan_(plan), uniqueID_(std::move(uniqueID)) {}

std::unique_ptr<platform::AudioCaptureSource> VirtualAudioDevice::createAudioSource() {
    return std::make_unique<ToneSource>(camera_, plan_);
}

}  // namespace orvella::virtualcam
