#pragma once
// The two diagnostic channels of the core: the system log (one line per message, with time and
// process on the default sink) and plain standard-output prints used by the lowest USB layer.
// Tests replace the sink to read exactly what was written.

#include <mutex>
#include <string>
#include <vector>

namespace orvella::log {

class Sink {
  public:
    virtual ~Sink() = default;
    // One system-log message, without a trailing newline.
    virtual void systemLog(const std::string& message) = 0;
    // Text printed to standard output, exactly as formatted.
    virtual void standardOutput(const std::string& text) = 0;
};

// Writes system-log lines to standard error as "<date time> <process>[<pid>] <message>" and
// prints to standard output unchanged.
class ConsoleSink final : public Sink {
  public:
    void systemLog(const std::string& message) override;
    void standardOutput(const std::string& text) override;
};

// Keeps everything in memory; used by tests and by tools that want to filter the trace. Cameras'
// sessions log from their own threads at the same time, so the writes are serialized; read the
// lines once the writers are done.
class MemorySink final : public Sink {
  public:
    void systemLog(const std::string& message) override {
        std::lock_guard lock(mutex_);
        lines.push_back(message);
    }
    void standardOutput(const std::string& text) override {
        std::lock_guard lock(mutex_);
        printed += text;
    }

    std::vector<std::string> lines;
    std::string printed;

  private:
    std::mutex mutex_;
};

// Drops everything (orvellactl without --verbose).
class NullSink final : public Sink {
  public:
    void systemLog(const std::string&) override {}
    void standardOutput(const std::string&) override {}
};

// The sink in use; never null. The default is a ConsoleSink.
Sink& sink();
// Installs a sink (not owned) and returns the previous one; nullptr restores the console sink.
Sink* setSink(Sink* sink);

// Installs a MemorySink for the lifetime of the object.
class ScopedCapture {
  public:
    ScopedCapture() : previous_(setSink(&memory_)) {}
    ~ScopedCapture() { setSink(previous_); }
    ScopedCapture(const ScopedCapture&) = delete;
    ScopedCapture& operator=(const ScopedCapture&) = delete;

    const std::vector<std::string>& lines() const { return memory_.lines; }
    const std::string& printed() const { return memory_.printed; }
    void clear() {
        memory_.lines.clear();
        memory_.printed.clear();
    }

  private:
    MemorySink memory_;
    Sink* previous_;
};

}  // namespace orvella::log

namespace orvella {

// printf-style message to the system log. A single trailing newline is dropped, so every
// message is one line.
void NSLog(const char* format, ...) __attribute__((format(printf, 1, 2)));

// printf-style text to standard output, exactly as formatted.
void printOut(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace orvella
