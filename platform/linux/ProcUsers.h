#pragma once
// Who holds a device node open: a scan of /proc/PID/fd for links to the node, matched by what
// stat finds (a character device's device number, or the same file otherwise), not by the link
// text alone, so a node reached under another name (a udev symlink, a bind mount) still matches.
// Each holder is named from /proc/PID/comm, /proc/PID/exe (unreadable for many processes) and,
// for Flatpak and snap programs, the application id in /proc/PID/cgroup. Processes that end
// while they are scanned are skipped; processes of another user are kept but marked, and are
// never named.

#include <sys/types.h>
#include <QString>
#include <string>
#include <vector>

#include "platform/CameraUsers.h"

namespace orvella::linuxplatform {

struct ProcScanOptions {
    std::string procRoot = "/proc";
    pid_t self = 0;          // this process, left out; 0 = getpid()
    uid_t user = uid_t(-1);  // this process's real user; -1 = getuid()
};

// The processes that have `devicePath` open, in pid order. A node that cannot be stat'ed has no
// holders.
std::vector<platform::CameraUser> processesHolding(const std::string& devicePath,
                                                   const ProcScanOptions& options = {});

// The Flatpak ("app-flatpak-ID-N.scope") or snap ("snap.NAME.APP-….scope") application id in the
// text of a /proc/PID/cgroup file; empty when there is none.
QString applicationIdFromCgroup(const std::string& cgroup);

// Whether a holder's name says it is the PipeWire daemon or its session manager, which open
// cameras for their clients.
bool isPipeWireProcess(const platform::CameraUser& user);

}  // namespace orvella::linuxplatform
