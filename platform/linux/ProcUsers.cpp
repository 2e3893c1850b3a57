#include "platform/linux/ProcUsers.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>

namespace orvella::linuxplatform {

namespace {

// A whole small file; nullopt-like empty with *ok false when it cannot be read (the process
// ended, or the file is not ours to read).
std::string readSmallFile(const std::string& path, bool* ok) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        *ok = false;
        return {};
    }
    std::ostringstream text;
    text << in.rdbuf();
    *ok = !in.bad();
    return text.str().substr(0, 64 * 1024);
}

std::optional<uid_t> realUserOf(const std::string& status) {
    std::istringstream lines(status);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("Uid:", 0) != 0) continue;
        std::istringstream fields(line.substr(4));
        long long uid = -1;
        if (fields >> uid && uid >= 0) return static_cast<uid_t>(uid);
        return std::nullopt;
    }
    return std::nullopt;
}

bool numeric(const char* name) {
    if (!*name) return false;
    for (const char* c = name; *c; ++c)
        if (*c < '0' || *c > '9') return false;
    return std::strlen(name) < 10;
}

// Whether what `path` leads to is the node `target` describes.
bool sameNode(const std::string& path, const struct stat& target) {
    struct stat seen {};
    if (::stat(path.c_str(), &seen) != 0) return false;
    if (S_ISCHR(target.st_mode)) return S_ISCHR(seen.st_mode) && seen.st_rdev == target.st_rdev;
    return seen.st_dev == target.st_dev && seen.st_ino == target.st_ino;
}

// Whether one of the process's descriptors leads to the node. Nothing when the descriptor list
// cannot be read (the process ended, or belongs to another user and we may not look).
bool holds(const std::string& fdDirectory, const struct stat& target) {
    std::unique_ptr<DIR, int (*)(DIR*)> dir(::opendir(fdDirectory.c_str()), ::closedir);
    if (!dir) return false;
    while (const dirent* entry = ::readdir(dir.get())) {
        if (!numeric(entry->d_name)) continue;
        if (sameNode(fdDirectory + '/' + entry->d_name, target)) return true;
    }
    return false;
}

std::string unescapeSystemd(std::string text) {
    for (size_t at = text.find("\\x"); at != std::string::npos && at + 4 <= text.size();
         at = text.find("\\x", at + 1)) {
        const std::string hex = text.substr(at + 2, 2);
        char* end = nullptr;
        const long byte = std::strtol(hex.c_str(), &end, 16);
        if (end != hex.c_str() + 2 || byte <= 0) continue;
        text.replace(at, 4, 1, static_cast<char>(byte));
    }
    return text;
}

}  // namespace

QString applicationIdFromCgroup(const std::string& cgroup) {
    std::istringstream lines(cgroup);
    for (std::string line; std::getline(lines, line);) {
        // "0::/user.slice/…/app.slice/app-flatpak-org.chromium.Chromium-12345.scope"
        if (const size_t at = line.find("/app-flatpak-"); at != std::string::npos) {
            std::string scope = line.substr(at + 13);
            scope = scope.substr(0, scope.find('/'));
            if (const size_t dot = scope.rfind(".scope"); dot != std::string::npos)
                scope.erase(dot);
            // The instance number after the last dash.
            const size_t dash = scope.rfind('-');
            if (dash != std::string::npos && dash + 1 < scope.size() &&
                std::all_of(scope.begin() + static_cast<long>(dash) + 1, scope.end(),
                            [](char c) { return c >= '0' && c <= '9'; }))
                scope.erase(dash);
            scope = unescapeSystemd(scope);
            if (!scope.empty()) return QString::fromStdString(scope);
        }
        // "0::/user.slice/…/app.slice/snap.chromium.chromium-5a1b….scope"
        if (const size_t at = line.find("/snap."); at != std::string::npos) {
            std::string rest = line.substr(at + 6);
            const size_t dot = rest.find('.');
            if (dot != std::string::npos && dot > 0)
                return QString::fromStdString(rest.substr(0, dot));
        }
    }
    return {};
}

bool isPipeWireProcess(const platform::CameraUser& user) {
    if (user.otherUser || user.viaPipeWire) return false;
    return user.program == QLatin1String("pipewire") ||
           user.program == QLatin1String("wireplumber");
}

std::vector<platform::CameraUser> processesHolding(const std::string& devicePath,
                                                   const ProcScanOptions& options) {
    std::vector<platform::CameraUser> users;
    struct stat target {};
    if (::stat(devicePath.c_str(), &target) != 0) return users;
    const pid_t self = options.self ? options.self : ::getpid();
    const uid_t me = options.user != uid_t(-1) ? options.user : ::getuid();

    std::unique_ptr<DIR, int (*)(DIR*)> proc(::opendir(options.procRoot.c_str()), ::closedir);
    if (!proc) return users;
    while (const dirent* entry = ::readdir(proc.get())) {
        if (!numeric(entry->d_name)) continue;
        const long pid = std::strtol(entry->d_name, nullptr, 10);
        if (pid == self) continue;
        const std::string base = options.procRoot + '/' + entry->d_name;
        if (!holds(base + "/fd", target)) continue;
        // Anything below may vanish with the process: a process without a status is gone.
        bool ok = true;
        const auto owner = realUserOf(readSmallFile(base + "/status", &ok));
        if (!ok || !owner) continue;
        platform::CameraUser user;
        user.pid = pid;
        if (*owner != me) {
            user.otherUser = true;
            users.push_back(user);
            continue;
        }
        std::string comm = readSmallFile(base + "/comm", &ok);
        if (!ok) continue;
        while (!comm.empty() && (comm.back() == '\n' || comm.back() == '\r'))
            comm.pop_back();
        user.program = QString::fromUtf8(comm.data(), static_cast<qsizetype>(comm.size()));
        char exe[4096];
        const ssize_t length = ::readlink((base + "/exe").c_str(), exe, sizeof exe - 1);
        if (length > 0)
            user.executable = QString::fromUtf8(exe, static_cast<qsizetype>(length))
                                  .remove(QLatin1String(" (deleted)"));
        const std::string cgroup = readSmallFile(base + "/cgroup", &ok);
        if (ok) user.applicationId = applicationIdFromCgroup(cgroup);
        users.push_back(user);
    }
    std::sort(users.begin(), users.end(),
              [](const auto& a, const auto& b) { return a.pid < b.pid; });
    return users;
}

}  // namespace orvella::linuxplatform
