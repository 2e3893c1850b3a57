#include "platform/linux/AlsaAudioDevice.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

extern "C" {
#include <libavdevice/avdevice.h>
#include <libavformat/avformat.h>
#include <libavutil/time.h>
}

#include "platform/Clock.h"

namespace orvella::linuxplatform {

namespace {

namespace fs = std::filesystem;

constexpr int kSampleRate = 48000;

QString ffmpegText(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return QString::fromLocal8Bit(text);
}

IOReturn statusFor(int code) {
    switch (code) {
        case AVERROR(EBUSY):
            return kIOReturnExclusiveAccess;
        case AVERROR(ENOENT):
        case AVERROR(ENODEV):
        case AVERROR(ENXIO):
            return kIOReturnNoDevice;
        case AVERROR(EACCES):
        case AVERROR(EPERM):
            return kIOReturnNotPermitted;
        default:
            return kIOReturnError;
    }
}

class AlsaAudioSource final : public platform::AudioCaptureSource {
  public:
    AlsaAudioSource(std::string pcm, int channels) : pcm_(std::move(pcm)), channels_(channels) {}
    ~AlsaAudioSource() override { close(); }

    IOReturn open(platform::StreamError* error) override {
        if (input_) return kIOReturnSuccess;
        static std::once_flag registered;
        std::call_once(registered, [] {
            avdevice_register_all();
            // A failure comes back in *error; FFmpeg's own line would say it a second time.
            av_log_set_level(AV_LOG_QUIET);
        });
        const AVInputFormat* alsa = av_find_input_format("alsa");
        int status = AVERROR_DEMUXER_NOT_FOUND;
        if (alsa) {
            AVDictionary* options = nullptr;
            av_dict_set_int(&options, "sample_rate", kSampleRate, 0);
            av_dict_set_int(&options, "channels", channels_, 0);
            status = avformat_open_input(&input_, pcm_.c_str(), alsa, &options);
            av_dict_free(&options);
        }
        if (status < 0) {
            input_ = nullptr;
            if (error) {
                error->domain = QStringLiteral("ALSA");
                error->code = -status;
                error->localizedDescription =
                    QStringLiteral("cannot open the sound device %1: %2")
                        .arg(QString::fromStdString(pcm_), ffmpegText(status));
                if (status == AVERROR(EBUSY))
                    error->localizedRecoverySuggestion =
                        QStringLiteral("close the other program that records from it");
            }
            return statusFor(status);
        }
        const AVCodecParameters* p =
            input_->nb_streams > 0 ? input_->streams[0]->codecpar : nullptr;
        if (!p || p->codec_id != AV_CODEC_ID_PCM_S16LE || p->sample_rate <= 0 ||
            p->ch_layout.nb_channels <= 0) {
            avformat_close_input(&input_);
            if (error) {
                error->domain = QStringLiteral("ALSA");
                error->code = EINVAL;
                error->localizedDescription =
                    QStringLiteral("the sound device %1 gives no 16-bit samples")
                        .arg(QString::fromStdString(pcm_));
            }
            return kIOReturnUnsupported;
        }
        return kIOReturnSuccess;
    }

    platform::AudioFormat format() const override {
        if (!input_ || input_->nb_streams == 0) return {};
        const AVCodecParameters* p = input_->streams[0]->codecpar;
        return {p->sample_rate, p->ch_layout.nb_channels};
    }

    IOReturn start(platform::AudioCaptureClient* client) override {
        if (!input_) return kIOReturnNotOpen;
        if (thread_.joinable()) return kIOReturnSuccess;
        stopping_ = false;
        thread_ = std::thread([this, client] { run(client); });
        return kIOReturnSuccess;
    }

    void stop() override {
        stopping_ = true;
        if (thread_.joinable()) thread_.join();
    }

    void close() override {
        stop();
        avformat_close_input(&input_);
    }

  private:
    void run(platform::AudioCaptureClient* client) {
        AVPacket* packet = av_packet_alloc();
        const AVStream* stream = input_->streams[0];
        const int rate = stream->codecpar->sample_rate;
        const int channels = stream->codecpar->ch_layout.nb_channels;
        if (!packet) {
            client->audioSourceDidFail(kIOReturnNoMemory, QStringLiteral("out of memory"));
            return;
        }
        while (!stopping_) {
            const int status = av_read_frame(input_, packet);
            if (status == AVERROR(EAGAIN)) continue;
            if (status < 0) {
                client->audioSourceDidFail(statusFor(status), ffmpegText(status));
                break;
            }
            auto buffer = std::make_shared<platform::AudioBuffer>();
            buffer->sampleRate = rate;
            buffer->channels = channels;
            buffer->samples.resize(static_cast<size_t>(packet->size) / sizeof(int16_t));
            std::memcpy(buffer->samples.data(), packet->data,
                        buffer->samples.size() * sizeof(int16_t));
            // The packet is stamped on the wall clock with the device's delay taken off; the
            // same delay is taken off the monotonic clock that video frames use.
            const int64_t now = platform::monotonicMicroseconds();
            buffer->timestampUs =
                packet->pts == AV_NOPTS_VALUE
                    ? now - buffer->frames() * 1000000 / rate
                    : now + av_rescale_q(packet->pts, stream->time_base, AVRational{1, 1000000}) -
                          av_gettime();
            av_packet_unref(packet);
            client->audioSourceDidOutput(buffer);
        }
        av_packet_free(&packet);
    }

    std::string pcm_;
    int channels_;
    AVFormatContext* input_ = nullptr;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

std::string readLine(const fs::path& file) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    return line;
}

}  // namespace

AlsaAudioDevice::AlsaAudioDevice(std::string pcm, QString displayName, int channels)
    : pcm_(std::move(pcm)), displayName_(std::move(displayName)), channels_(channels) {}

std::unique_ptr<platform::AudioCaptureSource> AlsaAudioDevice::createAudioSource() {
    return std::make_unique<AlsaAudioSource>(pcm_, channels_);
}

std::shared_ptr<AlsaAudioDevice> cameraMicrophone(const std::string& usbDirectory) {
    std::error_code error;
    const fs::path device(usbDirectory);
    // The interfaces are the device's subdirectories named "<device>:<config>.<interface>".
    const std::string prefix = device.filename().string() + ":";
    for (const auto& interface : fs::directory_iterator(device, error)) {
        if (interface.path().filename().string().rfind(prefix, 0) != 0) continue;
        for (const auto& card : fs::directory_iterator(interface.path() / "sound", error)) {
            const std::string name = card.path().filename().string();
            if (name.rfind("card", 0) != 0) continue;
            std::string id = readLine(card.path() / "id");
            if (id.empty()) id = name.substr(4);  // the card's number
            return std::make_shared<AlsaAudioDevice>(
                "plughw:CARD=" + id + ",DEV=0",
                QString::fromStdString(readLine(device / "product")).trimmed() +
                    QStringLiteral(" (") + QString::fromStdString(id) + QLatin1Char(')'));
        }
    }
    return nullptr;
}

}  // namespace orvella::linuxplatform
