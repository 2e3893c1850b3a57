// Who holds a capture node: the /proc scan against a tree of its own (processes that vanish
// while scanned, processes of other users, Flatpak and snap ids, the node reached under another
// name), and PipeWire holders replaced by the clients a finder names.

#include <gtest/gtest.h>

#include <unistd.h>
#include <QTemporaryDir>
#include <filesystem>
#include <fstream>

#include "platform/linux/ProcUsers.h"
#include "platform/linux/V4l2CaptureDevices.h"

namespace orvella::linuxplatform {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kMe = 1000;

struct FakeProc : ::testing::Test {
    QTemporaryDir dir;
    fs::path root, node, proc;

    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        root = dir.path().toStdString();
        node = root / "dev" / "video0";
        proc = root / "proc";
        fs::create_directories(node.parent_path());
        std::ofstream(node) << "node";
        std::ofstream(root / "dev" / "other") << "other";
        fs::create_directories(proc);
    }
    static void write(const fs::path& file, const std::string& text) {
        std::ofstream(file) << text;
    }
    // A process with the given descriptors (link targets), real user and files.
    fs::path process(int pid, std::vector<fs::path> fds, uid_t uid, const std::string& comm,
                     const std::string& cgroup = "0::/user.slice\n") {
        const fs::path base = proc / std::to_string(pid);
        fs::create_directories(base / "fd");
        int fd = 3;
        for (const fs::path& target : fds)
            fs::create_symlink(target, base / "fd" / std::to_string(fd++));
        write(base / "status", "Name:\t" + comm + "\nUid:\t" + std::to_string(uid) + "\t" +
                                   std::to_string(uid) + "\t0\t0\n");
        write(base / "comm", comm + "\n");
        write(base / "cgroup", cgroup);
        fs::create_symlink("/usr/bin/" + comm, base / "exe");
        return base;
    }
    std::vector<platform::CameraUser> scan(pid_t self = 1) const {
        ProcScanOptions options;
        options.procRoot = proc.string();
        options.self = self;
        options.user = kMe;
        return processesHolding(node.string(), options);
    }
};

TEST_F(FakeProc, FindsTheHoldersOfTheNodeNamedFromTheirFiles) {
    process(300, {root / "dev" / "other", node}, kMe, "chromium",
            "0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
            "app-flatpak-org.chromium.Chromium-81234.scope\n");
    process(20, {root / "dev" / "other"}, kMe, "bash");  // holds something else
    process(1, {node}, kMe, "orvella");                  // this process
    process(77, {node, node}, kMe, "obs");               // twice: one entry
    process(4000, {node}, 0, "secretd");                 // another user's
    // The node reached under another name is the same node.
    fs::create_symlink(node, root / "dev" / "by-id-camera");
    process(501, {root / "dev" / "by-id-camera"}, kMe, "firefox",
            "0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
            "snap.firefox.firefox-0b2c1d3e-aaaa-bbbb-cccc-0123456789ab.scope\n");
    // A process that ended between its listing and its files: descriptor found, status gone.
    fs::remove(process(600, {node}, kMe, "gone") / "status");
    // One whose descriptor closed: the link leads nowhere.
    process(700, {root / "dev" / "closed-long-ago"}, kMe, "idle");
    // Entries that are no processes.
    fs::create_directories(proc / "self");
    write(proc / "uptime", "1.0 1.0\n");

    const auto users = scan();
    ASSERT_EQ(users.size(), 4u);
    EXPECT_EQ(users[0].pid, 77);
    EXPECT_EQ(users[0].program, "obs");
    EXPECT_EQ(users[0].executable, "/usr/bin/obs");
    EXPECT_TRUE(users[0].applicationId.isEmpty());
    EXPECT_EQ(users[1].pid, 300);
    EXPECT_EQ(users[1].program, "chromium");
    EXPECT_EQ(users[1].applicationId, "org.chromium.Chromium");
    EXPECT_EQ(users[2].program, "firefox");
    EXPECT_EQ(users[2].applicationId, "firefox");
    // Another user's program is marked and named by nothing.
    EXPECT_EQ(users[3].pid, 4000);
    EXPECT_TRUE(users[3].otherUser);
    EXPECT_TRUE(users[3].program.isEmpty());
    EXPECT_TRUE(users[3].executable.isEmpty());

    // A missing node or /proc has no holders, rather than an error.
    ProcScanOptions nowhere;
    nowhere.procRoot = (root / "no-proc").string();
    EXPECT_TRUE(processesHolding(node.string(), nowhere).empty());
    EXPECT_TRUE(processesHolding((root / "dev" / "video9").string()).empty());
}

TEST(ApplicationIds, FromTheCgroupOfFlatpakAndSnapPrograms) {
    EXPECT_EQ(applicationIdFromCgroup("0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
                                      "app-flatpak-com.github.my\\x2dapp-12.scope\n"),
              "com.github.my-app");
    EXPECT_EQ(applicationIdFromCgroup("12:pids:/\n0::/user.slice/snap.discord.discord.1a2b.scope"),
              "discord");
    EXPECT_EQ(applicationIdFromCgroup("0::/user.slice/user-1000.slice/session-2.scope\n"), "");
    EXPECT_EQ(applicationIdFromCgroup(""), "");
    EXPECT_EQ(applicationIdFromCgroup("0::/app-flatpak-"), "");
}

TEST_F(FakeProc, APipeWireHolderIsReplacedByTheClientsTheFinderNames) {
    // The lookup scans as this process's user.
    process(50, {node}, ::getuid(), "pipewire");
    process(51, {node}, ::getuid(), "wireplumber");
    process(90, {node}, ::getuid(), "guvcview");
    CaptureUserLookup lookup(proc.string());
    // Without a finder the daemon itself is the holder.
    auto users = lookup.usersOf(node.string());
    ASSERT_EQ(users.size(), 3u);
    EXPECT_EQ(users[0].program, "pipewire");

    int asked = 0;
    QString askedFor;
    lookup.setPipeWireClientFinder([&](const QString& path) {
        ++asked;
        askedFor = path;
        platform::CameraUser client;
        client.pid = 1234;
        client.program = "Google Meet";
        client.applicationId = "com.google.Chrome";
        return std::vector<platform::CameraUser>{client};
    });
    users = lookup.usersOf(node.string());
    EXPECT_EQ(asked, 1);  // once for both daemons
    EXPECT_EQ(askedFor.toStdString(), node.string());
    ASSERT_EQ(users.size(), 2u);
    EXPECT_EQ(users[0].program, "Google Meet");
    EXPECT_TRUE(users[0].viaPipeWire);
    EXPECT_EQ(users[1].program, "guvcview");

    // A daemon that names no client (gone, or no node of that device) leaves the holder.
    lookup.setPipeWireClientFinder(
        [](const QString&) { return std::vector<platform::CameraUser>{}; });
    users = lookup.usersOf(node.string());
    ASSERT_EQ(users.size(), 2u);
    EXPECT_EQ(users[0].program, "pipewire");
}

}  // namespace
}  // namespace orvella::linuxplatform
