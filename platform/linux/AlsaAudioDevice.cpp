#include "platform/linux/AlsaAudioDevice.h"

#include <atomic>
#include <filesystem>
#include <fstream>

namespace orvella::linuxplatform {

namespace {

namespace fs = std::filesystem;

// Set once at start-up by the programs that record.
std::atomic<AlsaSourceMaker> installedMaker{nullptr};

std::string readLine(const fs::path& file) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    return line;
}

}  // namespace

void setAlsaSourceMaker(AlsaSourceMaker maker) {
    installedMaker.store(maker, std::memory_order_release);
}

AlsaAudioDevice::AlsaAudioDevice(std::string pcm, QString displayName, int channels)
    : pcm_(std::move(pcm)), displayName_(std::move(displayName)), channels_(channels) {}

std::unique_ptr<platform::AudioCaptureSource> AlsaAudioDevice::createAudioSource() {
    const AlsaSourceMaker maker = installedMaker.load(std::memory_order_acquire);
    return maker ? maker(pcm_, channels_) : nullptr;
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
