#include "platform/virtual/VirtualCameraCommands.h"

#include <charconv>
#include <chrono>
#include <climits>
#include <sstream>
#include <string_view>

namespace orvella::virtualcam {

namespace {

using Verb = CameraCommand::Verb;

// What a verb takes after the camera number, with the range of each argument.
struct Argument {
    const char* name;
    int64_t min, max;
    bool fourCC = false;  // four printable characters, packed with the first on top
    bool word = false;    // a word of printable characters, kept as it is
};
constexpr Argument kCount{"K", 1, 1 << 30};
constexpr Argument kMilliseconds{"MS", 0, VirtualCamera::kMaxRequestTime.count()};
constexpr Argument kUnit{"UNIT", 0, 255};
constexpr Argument kSelector{"SELECTOR", 0, 255};
constexpr Argument kCode{"CODE", 0, 255};
constexpr Argument kValue{"VALUE", INT64_MIN, INT64_MAX};
constexpr Argument kFourCC{"FOURCC", 0, UINT32_MAX, true};
constexpr Argument kWidth{"WIDTH", 1, 65535};
constexpr Argument kHeight{"HEIGHT", 1, 65535};
constexpr Argument kPid{"PID", 1, INT32_MAX};
constexpr Argument kName{"NAME", 0, 0, false, true};

struct Grammar {
    const char* word;
    Verb verb;
    std::vector<Argument> arguments;
    bool lastOptional = false;
    bool allOptional = false;  // the arguments are given all together or not at all
};

const std::vector<Grammar>& grammar() {
    static const std::vector<Grammar> verbs = {
        {"vanish", Verb::Vanish, {kCount}},
        {"noanswer", Verb::NoAnswer, {kCount}},
        {"slow", Verb::Slow, {kMilliseconds}},
        {"stall", Verb::Stall, {kUnit, kSelector, kCode}, true},
        {"clear", Verb::Clear, {}},
        {"set", Verb::Set, {kUnit, kSelector, kValue}},
        {"open", Verb::Open, {kPid, kName}, false, true},
        {"close", Verb::Close, {kPid}, false, true},
        {"format", Verb::Format, {kFourCC, kWidth, kHeight}},
        {"unplug", Verb::Unplug, {}},
        {"plug", Verb::Plug, {}},
    };
    return verbs;
}

constexpr uint8_t kDefaultStallCode = 6;  // invalid control

// A decimal or 0x-hexadecimal number, optionally negative; hexadecimal takes all 64 bits.
std::optional<int64_t> number(std::string_view word) {
    const bool negative = !word.empty() && word.front() == '-';
    if (negative) word.remove_prefix(1);
    int base = 10;
    if (word.size() > 2 && word[0] == '0' && (word[1] == 'x' || word[1] == 'X')) {
        base = 16;
        word.remove_prefix(2);
    }
    uint64_t magnitude = 0;
    const auto [end, status] =
        std::from_chars(word.data(), word.data() + word.size(), magnitude, base);
    if (word.empty() || status != std::errc() || end != word.data() + word.size())
        return std::nullopt;
    const uint64_t limit = negative     ? uint64_t{1} << 63
                           : base == 16 ? UINT64_MAX
                                        : (uint64_t{1} << 63) - 1;
    if (magnitude > limit) return std::nullopt;
    return negative ? static_cast<int64_t>(0 - magnitude) : static_cast<int64_t>(magnitude);
}

std::string usage(const Grammar& g) {
    std::string text = std::string("usage: ") + g.word + " N";
    for (size_t i = 0; i < g.arguments.size(); ++i) {
        const bool optional = g.lastOptional && i + 1 == g.arguments.size();
        text += optional || (g.allOptional && i == 0) ? " [" : " ";
        text += g.arguments[i].name;
        if (optional || (g.allOptional && i + 1 == g.arguments.size())) text += ']';
    }
    return text;
}

bool blank(const std::string& text) {
    return text.find_first_not_of(" \t\r") == std::string::npos;
}

// The line as the confirmation repeats it: without surrounding blanks, control bytes shown as '?'.
std::string printable(const std::string& line) {
    const size_t first = line.find_first_not_of(" \t\r");
    if (first == std::string::npos) return {};
    std::string text = line.substr(first, line.find_last_not_of(" \t\r") - first + 1);
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    return text;
}

}  // namespace

std::optional<CameraCommand> CameraCommand::parse(const std::string& line, std::string* error) {
    auto refuse = [error](std::string reason) -> std::optional<CameraCommand> {
        if (error) *error = std::move(reason);
        return std::nullopt;
    };
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    if (words.empty()) return refuse("empty command");

    CameraCommand command;
    if (words[0] == "quit") {
        if (words.size() > 1) return refuse("usage: quit");
        return command;
    }
    const Grammar* g = nullptr;
    for (const Grammar& candidate : grammar())
        if (words[0] == candidate.word) g = &candidate;
    if (!g) return refuse("unknown command");
    const size_t most = g->arguments.size() + 2;
    const size_t least = most - (g->lastOptional ? 1 : 0);
    if (g->allOptional) {
        if (words.size() != 2 && words.size() != most) return refuse(usage(*g));
    } else if (words.size() < least || words.size() > most) {
        return refuse(usage(*g));
    }

    command.verb = g->verb;
    const auto camera = number(words[1]);
    if (!camera) return refuse(usage(*g));
    if (*camera < 1 || *camera > INT_MAX) return refuse("no such camera");
    command.camera = static_cast<int>(*camera);
    for (size_t i = 0; i < g->arguments.size(); ++i) {
        const Argument& argument = g->arguments[i];
        if (i + 2 >= words.size()) {
            if (g->lastOptional) command.arguments.push_back(kDefaultStallCode);  // stall's CODE
            break;
        }
        if (argument.word) {
            const std::string& word = words[i + 2];
            if (word.size() > 64) return refuse(std::string(argument.name) + " is too long");
            for (char c : word)
                if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) return refuse(usage(*g));
            command.program = word;
            continue;
        }
        if (argument.fourCC) {
            const std::string& code = words[i + 2];
            if (code.size() != 4) return refuse(usage(*g));
            uint32_t packed = 0;
            for (char c : code) {
                if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x7E)
                    return refuse(usage(*g));
                packed = packed << 8 | static_cast<unsigned char>(c);
            }
            command.arguments.push_back(packed);
            continue;
        }
        const auto value = number(words[i + 2]);
        if (!value) return refuse(usage(*g));
        if (*value < argument.min || *value > argument.max)
            return refuse(std::string(argument.name) + " must be " + std::to_string(argument.min) +
                          ".." + std::to_string(argument.max));
        command.arguments.push_back(*value);
    }
    return command;
}

bool CameraCommand::isProgramVerb() const {
    return verb == Verb::Unplug || verb == Verb::Plug || verb == Verb::Quit;
}

std::string CameraCommand::applyTo(VirtualCamera& camera) const {
    auto byte = [this](size_t i) { return static_cast<uint8_t>(arguments.at(i)); };
    std::string error;
    switch (verb) {
        case Verb::Vanish:
            camera.vanishOnRequest(static_cast<int>(arguments.at(0)));
            break;
        case Verb::NoAnswer:
            camera.leaveUnanswered(static_cast<int>(arguments.at(0)));
            break;
        case Verb::Slow:
            camera.setSlowness(std::chrono::milliseconds{arguments.at(0)});
            break;
        case Verb::Stall:
            camera.stallSelector(byte(0), byte(1), byte(2));
            break;
        case Verb::Clear:
            camera.clearStalls();
            break;
        case Verb::Set:
            camera.setByAnotherProgram(byte(0), byte(1), arguments.at(2), &error);
            break;
        case Verb::Open:
            if (!camera.openByAnotherProgram(arguments.empty() ? 0 : arguments.at(0), program))
                error = "the camera is gone";
            break;
        case Verb::Close:
            if (!camera.closeByAnotherProgram(arguments.empty() ? 0 : arguments.at(0)))
                error = arguments.empty() ? "no other program has it open"
                                          : "no program with that pid has it open";
            break;
        case Verb::Format:
            camera.streamFormatByAnotherProgram(static_cast<uint32_t>(arguments.at(0)),
                                                static_cast<int>(arguments.at(1)),
                                                static_cast<int>(arguments.at(2)), &error);
            break;
        case Verb::Unplug:
        case Verb::Plug:
        case Verb::Quit:
            error = "not a camera command";
            break;
    }
    return error;
}

CameraCommandRunner::CameraCommandRunner(CameraLookup cameras, ProgramVerbs programVerbs,
                                         Confirm confirm)
    : cameras_(std::move(cameras)),
      programVerbs_(std::move(programVerbs)),
      confirm_(std::move(confirm)) {}

void CameraCommandRunner::feed(const char* data, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == '\n') {
            if (!overlong_ && !blank(pending_)) run(pending_);
            overlong_ = false;
            pending_.clear();
        } else if (!overlong_) {
            pending_ += data[i];
            if (pending_.size() > kMaxLine) {
                confirm_("error: " + printable(pending_.substr(0, 40)) + "...: line too long");
                pending_.clear();
                overlong_ = true;
            }
        }
    }
}

bool CameraCommandRunner::run(const std::string& line) {
    const std::string text = printable(line);
    std::string error;
    if (const auto command = CameraCommand::parse(line, &error)) {
        VirtualCamera* camera = command->verb == Verb::Quit ? nullptr : cameras_(command->camera);
        if (command->verb != Verb::Quit && !camera)
            error = "no such camera";
        else if (command->isProgramVerb())
            error = programVerbs_ ? programVerbs_(*command) : "not available here";
        else
            error = command->applyTo(*camera);
    }
    confirm_(error.empty() ? "ok: " + text : "error: " + text + ": " + error);
    return error.empty();
}

}  // namespace orvella::virtualcam
