// The registry of fuzz targets in the replay program, and the quiet trace of every target.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/FuzzTarget.h"
#include "platform/Log.h"
#include "platform/virtual/VirtualCamera.h"

namespace orvella::fuzz {

std::vector<Target>& targets() {
    static std::vector<Target> all;
    return all;
}

const Target* findTarget(const std::string& name) {
    for (const Target& target : targets())
        if (target.name == name) return &target;
    return nullptr;
}

TargetRegistrar::TargetRegistrar(const char* name, TargetFunction run, SeedFunction seeds) {
    targets().push_back({name, run, seeds});
}

std::vector<std::pair<std::string, Bytes>> fixtureFiles(const std::string& dir) {
    std::vector<std::pair<std::string, Bytes>> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(dir, error)) {
        if (entry.path().extension() != ".json") continue;
        std::ifstream in(entry.path(), std::ios::binary);
        files.emplace_back(entry.path().stem().string(),
                           Bytes(std::istreambuf_iterator<char>(in), {}));
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::pair<std::string, std::shared_ptr<virtualcam::VirtualCamera>>> fixtureCameras(
    const std::string& dir) {
    std::vector<std::pair<std::string, std::shared_ptr<virtualcam::VirtualCamera>>> cameras;
    for (const auto& [name, json] : fixtureFiles(dir)) {
        auto camera = virtualcam::VirtualCamera::fromJson(
            QByteArray(reinterpret_cast<const char*>(json.data()),
                       static_cast<qsizetype>(json.size())),
            nullptr);
        if (camera) cameras.emplace_back(name, std::move(camera));
    }
    return cameras;
}

void prepare() {
    static log::NullSink quiet;
    static const bool installed = (log::setSink(&quiet), true);
    (void)installed;
}

}  // namespace orvella::fuzz
