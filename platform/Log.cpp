#include "platform/Log.h"

#include <unistd.h>

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <mutex>

namespace orvella::log {

namespace {

ConsoleSink& consoleSink() {
    static ConsoleSink console;
    return console;
}

Sink* gSink = nullptr;
std::mutex gConsoleMutex;

std::string vformat(const char* format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    const int size = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (size <= 0) return {};
    std::string text(static_cast<size_t>(size) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, args);
    text.resize(static_cast<size_t>(size));
    return text;
}

std::string processName() {
    char buffer[256] = {};
    const ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (n <= 0) return "orvella";
    std::string path(buffer, static_cast<size_t>(n));
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

void ConsoleSink::systemLog(const std::string& message) {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    const auto millis = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm local{};
    localtime_r(&seconds, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);
    static const std::string name = processName();
    std::lock_guard<std::mutex> lock(gConsoleMutex);
    std::fprintf(stderr, "%s.%03d %s[%d] %s\n", stamp, static_cast<int>(millis), name.c_str(),
                 static_cast<int>(getpid()), message.c_str());
}

void ConsoleSink::standardOutput(const std::string& text) {
    std::lock_guard<std::mutex> lock(gConsoleMutex);
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

Sink& sink() {
    return gSink ? *gSink : consoleSink();
}

Sink* setSink(Sink* sink) {
    Sink* previous = gSink ? gSink : &consoleSink();
    gSink = sink;
    return previous;
}

}  // namespace orvella::log

namespace orvella {

void NSLog(const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::string message = log::vformat(format, args);
    va_end(args);
    if (!message.empty() && message.back() == '\n') message.pop_back();
    log::sink().systemLog(message);
}

void printOut(const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::string text = log::vformat(format, args);
    va_end(args);
    log::sink().standardOutput(text);
}

}  // namespace orvella
