// orvella-fuzz: the fuzz targets without libFuzzer. It replays corpora and regression inputs
// through the same target code (the test suite runs it under AddressSanitizer and UBSan), writes
// the seed corpora made from the camera fixtures, and turns a whole-device input into the camera
// definition it stands for.
//
//   orvella-fuzz list
//   orvella-fuzz replay TARGET [--seeds FIXTURES_DIR] [FILE_OR_DIR...]
//   orvella-fuzz seeds OUT_DIR FIXTURES_DIR [TARGET...]
//   orvella-fuzz decode-device FILE

#include <QJsonDocument>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/DeviceLayout.h"
#include "fuzz/FuzzTarget.h"

namespace fs = std::filesystem;
using namespace orvella;

namespace {

fuzz::Bytes readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return fuzz::Bytes(std::istreambuf_iterator<char>(in), {});
}

int usage() {
    std::fprintf(stderr,
                 "usage: orvella-fuzz list\n"
                 "       orvella-fuzz replay TARGET [--seeds FIXTURES_DIR] [FILE_OR_DIR...]\n"
                 "       orvella-fuzz seeds OUT_DIR FIXTURES_DIR [TARGET...]\n"
                 "       orvella-fuzz decode-device FILE\n");
    return 2;
}

void runOne(const fuzz::Target& target, const std::string& name, const fuzz::Bytes& bytes) {
    // Named first, so that a sanitizer report that ends the program follows its input's name.
    std::fprintf(stderr, "%s: %s (%zu bytes)\n", target.name.c_str(), name.c_str(), bytes.size());
    fuzz::prepare();
    target.run(bytes.data(), bytes.size());
}

int replay(int argc, char** argv) {
    if (argc < 3) return usage();
    const fuzz::Target* target = fuzz::findTarget(argv[2]);
    if (!target) {
        std::fprintf(stderr, "orvella-fuzz: no target \"%s\"\n", argv[2]);
        return 2;
    }
    size_t count = 0;
    for (int i = 3; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--seeds" && i + 1 < argc) {
            const std::vector<fuzz::Seed> seeds = target->seeds(argv[++i]);
            // No seeds means the fixtures moved or stopped loading: say so rather than pass.
            if (seeds.empty()) {
                std::fprintf(stderr, "orvella-fuzz: no seeds for %s from %s\n",
                             target->name.c_str(), argv[i]);
                return 1;
            }
            for (const fuzz::Seed& seed : seeds) {
                runOne(*target, "seed " + seed.name, seed.bytes);
                ++count;
            }
            continue;
        }
        std::vector<fs::path> files;
        std::error_code error;
        if (fs::is_directory(arg, error)) {
            for (const auto& entry : fs::recursive_directory_iterator(arg, error))
                if (entry.is_regular_file()) files.push_back(entry.path());
            std::sort(files.begin(), files.end());
        } else if (fs::is_regular_file(arg, error)) {
            files.push_back(arg);
        } else {
            std::fprintf(stderr, "orvella-fuzz: cannot read %s\n", arg.c_str());
            return 1;
        }
        for (const fs::path& file : files) {
            runOne(*target, file.string(), readFile(file));
            ++count;
        }
    }
    std::printf("%s: %zu inputs replayed, no fault\n", target->name.c_str(), count);
    return 0;
}

int seeds(int argc, char** argv) {
    if (argc < 4) return usage();
    const fs::path out = argv[2];
    std::vector<std::string> names(argv + 4, argv + argc);
    for (const fuzz::Target& target : fuzz::targets()) {
        if (!names.empty() && std::find(names.begin(), names.end(), target.name) == names.end())
            continue;
        const fs::path dir = out / target.name;
        fs::create_directories(dir);
        size_t count = 0;
        for (const fuzz::Seed& seed : target.seeds(argv[3])) {
            std::ofstream file(dir / seed.name, std::ios::binary | std::ios::trunc);
            file.write(reinterpret_cast<const char*>(seed.bytes.data()),
                       static_cast<std::streamsize>(seed.bytes.size()));
            ++count;
        }
        std::printf("%s: %zu seeds in %s\n", target.name.c_str(), count, dir.c_str());
    }
    return 0;
}

int decodeDevice(int argc, char** argv) {
    if (argc != 3) return usage();
    const fuzz::Bytes bytes = readFile(argv[2]);
    const fuzz::DeviceScript script = fuzz::decodeDevice(bytes.data(), bytes.size());
    const QByteArray text = QJsonDocument(script.definition()).toJson();
    std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stdout);
    for (const fuzz::ControlWrite& write : script.writes)
        std::fprintf(stderr, "write control %u value %d\n", write.control, write.value);
    if (script.writeDefaults) std::fprintf(stderr, "write the defaults\n");
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return usage();
    const std::string command = argv[1];
    if (command == "list") {
        for (const fuzz::Target& target : fuzz::targets())
            std::printf("%s\n", target.name.c_str());
        return 0;
    }
    if (command == "replay") return replay(argc, argv);
    if (command == "seeds") return seeds(argc, argv);
    if (command == "decode-device") return decodeDevice(argc, argv);
    return usage();
}
