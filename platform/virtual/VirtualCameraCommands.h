#pragma once
// The commands by which a test drives virtual cameras from outside the program that serves them
// (orvella-usbip-camera --control, orvella --virtual-control), one per line:
//   vanish N K                    the K-th control request from now finds camera N gone
//   noanswer N K                  camera N leaves its next K control requests unanswered: each
//                                 holds its caller for the driver's time-out (5 s), then fails
//                                 as not responding
//   slow N MS                     every control request of camera N takes MS ms of real time
//                                 before it is answered; "slow N 0" answers at once again
//   stall N UNIT SELECTOR [CODE]  the control stalls with request error CODE (default 6)
//   clear N                       removes camera N's stalls
//   set N UNIT SELECTOR VALUE     another program writes the control: clamped or refused as the
//                                 host's own write would be, and told as a change behind the
//                                 host's back
//   open N [PID NAME]             another program opens camera N's capture node; with PID and
//                                 NAME (one word) it is named as one of the camera's users
//   close N [PID]                 another program closes it: the opener PID, else the last one
//   format N FOURCC WIDTH HEIGHT  another program's stream sets the capture node's format (one
//                                 the descriptors declare, e.g. "format 1 YUY2 640 480")
//   unplug N | plug N | quit      carried out by the program itself, where it can
// Cameras are numbered from 1; numbers are decimal or 0x-hexadecimal, and VALUE may be negative
// (pan/tilt: pan in the low 32 bits, tilt in the high). Each line is confirmed as
// "ok: LINE" or "error: LINE: REASON".

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/virtual/VirtualCamera.h"

namespace orvella::virtualcam {

struct CameraCommand {
    enum class Verb {
        Vanish,
        NoAnswer,
        Slow,
        Stall,
        Clear,
        Set,
        Open,
        Close,
        Format,
        Unplug,
        Plug,
        Quit
    };
    Verb verb = Verb::Quit;
    int camera = 0;                  // from 1; 0 for quit
    std::vector<int64_t> arguments;  // after the camera number (stall's CODE filled in)
    std::string program;             // open's NAME

    // One line; nullopt with *error set to a short reason.
    static std::optional<CameraCommand> parse(const std::string& line, std::string* error);
    // Whether the serving program carries the verb out itself (unplug, plug, quit).
    bool isProgramVerb() const;
    // Carries out a camera verb on `camera`; returns empty or what went wrong.
    std::string applyTo(VirtualCamera& camera) const;
};

// Reads commands from a byte stream, carries them out and confirms each.
class CameraCommandRunner {
  public:
    // The camera numbered `number`, null when there is none.
    using CameraLookup = std::function<VirtualCamera*(int number)>;
    // Carries out a program verb; returns empty or what went wrong.
    using ProgramVerbs = std::function<std::string(const CameraCommand&)>;
    // Takes each confirmation, "ok: LINE" or "error: LINE: REASON".
    using Confirm = std::function<void(const std::string&)>;

    CameraCommandRunner(CameraLookup cameras, ProgramVerbs programVerbs, Confirm confirm);

    // Bytes as read from the stream: every complete line is run, empty ones skipped. A line
    // longer than kMaxLine is refused whole.
    void feed(const char* data, size_t size);
    // Runs one line and confirms it; returns whether it was carried out.
    bool run(const std::string& line);

    static constexpr size_t kMaxLine = 1024;

  private:
    CameraLookup cameras_;
    ProgramVerbs programVerbs_;
    Confirm confirm_;
    std::string pending_;
    bool overlong_ = false;  // dropping the rest of a line that was too long
};

}  // namespace orvella::virtualcam
