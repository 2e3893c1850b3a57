#pragma once
// One fuzz target per outside input. A target file in fuzz/targets/ says
//
//   ORVELLA_FUZZ_TARGET(name) { ... use data, size ...; return 0; }
//   ORVELLA_FUZZ_SEEDS(name) { ... return seeds made from the camera fixtures ...; }
//
// and is compiled twice: into its own libFuzzer program `fuzz_<name>` (clang, ORVELLA_LIBFUZZER
// defined), and into `orvella-fuzz`, the ordinary program that replays corpora and regression
// inputs through the same code (any compiler, no libFuzzer) and writes the seed corpora.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvella::virtualcam {
class VirtualCamera;
}

namespace orvella::fuzz {

using Bytes = std::vector<uint8_t>;

struct Seed {
    std::string name;  // file name in the corpus directory
    Bytes bytes;
};

using TargetFunction = int (*)(const uint8_t* data, size_t size);
// Seeds for a target, made from the camera definitions in `fixtures` (tests/fixtures/cameras).
using SeedFunction = std::vector<Seed> (*)(const std::string& fixtures);

struct Target {
    std::string name;
    TargetFunction run = nullptr;
    SeedFunction seeds = nullptr;
};

// Every target compiled into this program, by name.
std::vector<Target>& targets();
const Target* findTarget(const std::string& name);

struct TargetRegistrar {
    TargetRegistrar(const char* name, TargetFunction run, SeedFunction seeds);
};

// The camera definitions in `dir` (*.json, by file name), for making seeds.
std::vector<std::pair<std::string, Bytes>> fixtureFiles(const std::string& dir);
// The same definitions as virtual cameras, leaving out any that does not load.
std::vector<std::pair<std::string, std::shared_ptr<virtualcam::VirtualCamera>>> fixtureCameras(
    const std::string& dir);

// Silences the core's trace (a fuzzer runs millions of cameras); called before every input.
void prepare();

}  // namespace orvella::fuzz

#define ORVELLA_FUZZ_DECLARE_(name)                                                   \
    static int orvellaFuzzRun_##name(const uint8_t* data, size_t size);               \
    [[maybe_unused]] static std::vector<orvella::fuzz::Seed> orvellaFuzzSeeds_##name( \
        const std::string& fixtures);

#ifdef ORVELLA_LIBFUZZER
#define ORVELLA_FUZZ_TARGET(name)                                             \
    ORVELLA_FUZZ_DECLARE_(name)                                               \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { \
        orvella::fuzz::prepare();                                             \
        return orvellaFuzzRun_##name(data, size);                             \
    }                                                                         \
    static int orvellaFuzzRun_##name(const uint8_t* data, size_t size)
#else
#define ORVELLA_FUZZ_TARGET(name)                                            \
    ORVELLA_FUZZ_DECLARE_(name)                                              \
    static const orvella::fuzz::TargetRegistrar orvellaFuzzRegistrar_##name( \
        #name, &orvellaFuzzRun_##name, &orvellaFuzzSeeds_##name);            \
    static int orvellaFuzzRun_##name(const uint8_t* data, size_t size)
#endif

#define ORVELLA_FUZZ_SEEDS(name) \
    static std::vector<orvella::fuzz::Seed> orvellaFuzzSeeds_##name(const std::string& fixtures)
