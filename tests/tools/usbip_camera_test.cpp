// The USB/IP camera server without a kernel: the wire format, and a connection served over a
// socket pair with this test playing vhci_hcd.

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QTemporaryDir>
#include <cerrno>
#include <fstream>
#include <thread>

#include "support/VirtualRig.h"
#include "tools/usbip-camera/UsbipConnection.h"
#include "tools/usbip-camera/UsbipProtocol.h"

namespace orvella::usbip {
namespace {

using Bytes = std::vector<uint8_t>;
using virtualcam::RequestLog;

void put32(Header& h, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i)
        h[at + i] = static_cast<uint8_t>(v >> (24 - 8 * i));
}
uint32_t get32(const Header& h, size_t at) {
    return static_cast<uint32_t>(h[at]) << 24 | h[at + 1] << 16 | h[at + 2] << 8 | h[at + 3];
}

Header submit(uint32_t seqnum, uint32_t direction, uint32_t endpoint, int32_t length,
              std::array<uint8_t, 8> setup = {}) {
    Header h{};
    put32(h, 0, kCmdSubmit);
    put32(h, 4, seqnum);
    put32(h, 8, 0x00010002);
    put32(h, 12, direction);
    put32(h, 16, endpoint);
    put32(h, 24, static_cast<uint32_t>(length));
    put32(h, 32, 0xFFFFFFFF);  // number_of_packets of a non-isochronous URB on newer kernels
    std::copy(setup.begin(), setup.end(), h.begin() + 40);
    return h;
}

Header unlink(uint32_t seqnum, uint32_t victim) {
    Header h{};
    put32(h, 0, kCmdUnlink);
    put32(h, 4, seqnum);
    put32(h, 20, victim);
    return h;
}

TEST(UsbipProtocol, ParsesCommandsAndRefusesGarbage) {
    const auto command = parseCommand(submit(7, kDirOut, 0, 2, {0x21, 0x01, 0, 2, 0, 2, 2, 0}));
    ASSERT_TRUE(command);
    EXPECT_EQ(command->seqnum, 7u);
    EXPECT_EQ(command->outDataLength(), 2u);
    EXPECT_EQ(command->numberOfPackets, 0);
    EXPECT_EQ(command->setup[0], 0x21);
    EXPECT_EQ(parseCommand(unlink(8, 7))->unlinkSeqnum, 7u);

    Header bad = submit(1, kDirIn, 0, -4);
    EXPECT_FALSE(parseCommand(bad));
    bad = submit(1, 2, 0, 4);  // no such direction
    EXPECT_FALSE(parseCommand(bad));
    bad = submit(1, kDirIn, 16, 4);
    EXPECT_FALSE(parseCommand(bad));
    bad = submit(1, kDirIn, 0, 4);
    put32(bad, 0, kRetSubmit);  // a reply is not a command
    EXPECT_FALSE(parseCommand(bad));

    const Header reply = retSubmit(9, -EPIPE, 0);
    EXPECT_EQ(get32(reply, 0), kRetSubmit);
    EXPECT_EQ(get32(reply, 4), 9u);
    EXPECT_EQ(static_cast<int32_t>(get32(reply, 20)), -EPIPE);
    EXPECT_EQ(static_cast<int32_t>(get32(retUnlink(10, -ECONNRESET), 20)), -ECONNRESET);
}

// This side of the socket pair is the kernel.
class UsbipConnectionTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
        camera = testing::loadFixture("logitech-c270.json");
        device = std::make_unique<virtualcam::UsbWireDevice>(camera);
        log = std::make_unique<RequestLog>(dir.filePath("requests.log").toStdString());
        connection = std::make_unique<UsbipConnection>(*device, *log, 1);
        connection->setOnGone([this] { ++gone; });
        server = std::thread([this] { ended = connection->serve(fds[1]); });
    }
    void TearDown() override {
        ::shutdown(fds[0], SHUT_RDWR);
        server.join();
        ::close(fds[0]);
        ::close(fds[1]);
    }

    void send(const Header& h, const Bytes& data = {}) {
        ASSERT_EQ(::write(fds[0], h.data(), h.size()), static_cast<ssize_t>(h.size()));
        if (!data.empty()) {
            ASSERT_EQ(::write(fds[0], data.data(), data.size()), static_cast<ssize_t>(data.size()));
        }
    }
    bool readable(int timeoutMs) {
        pollfd p{fds[0], POLLIN, 0};
        return ::poll(&p, 1, timeoutMs) == 1;
    }
    // The next reply: its header and `dataLength` bytes after it.
    Header reply(Bytes* data = nullptr, size_t dataLength = 0) {
        Header h{};
        size_t got = 0;
        while (got < h.size() && readable(2000))
            got += static_cast<size_t>(::read(fds[0], h.data() + got, h.size() - got));
        EXPECT_EQ(got, h.size());
        if (data) {
            data->assign(dataLength, 0);
            got = 0;
            while (got < dataLength && readable(2000))
                got += static_cast<size_t>(::read(fds[0], data->data() + got, dataLength - got));
        }
        return h;
    }
    std::vector<std::string> logLines() {
        std::ifstream in(dir.filePath("requests.log").toStdString());
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }

    int fds[2] = {-1, -1};
    QTemporaryDir dir;
    std::shared_ptr<virtualcam::VirtualCamera> camera;
    std::unique_ptr<virtualcam::UsbWireDevice> device;
    std::unique_ptr<RequestLog> log;
    std::unique_ptr<UsbipConnection> connection;
    std::thread server;
    std::string ended;
    int gone = 0;
};

TEST_F(UsbipConnectionTest, AnswersControlTransfersAndKeepsOtherEndpointsPending) {
    send(submit(1, kDirIn, 0, 64, {0x80, 6, 0, 1, 0, 0, 64, 0}));
    Bytes data;
    Header h = reply(&data, 18);
    EXPECT_EQ(get32(h, 0), kRetSubmit);
    EXPECT_EQ(get32(h, 4), 1u);
    EXPECT_EQ(get32(h, 20), 0u);
    EXPECT_EQ(get32(h, 24), 18u);  // a short answer to the 64-byte read
    EXPECT_EQ(data, device->descriptors().device());

    send(submit(2, kDirOut, 0, 0, {0x00, 9, 1, 0, 0, 0, 0, 0}));
    EXPECT_EQ(get32(reply(), 20), 0u);
    send(submit(3, kDirOut, 0, 2, {0x21, 0x01, 0, 2, 0, 2, 2, 0}), {0x40, 0x00});
    h = reply();
    EXPECT_EQ(get32(h, 20), 0u);
    EXPECT_EQ(get32(h, 24), 2u);
    EXPECT_EQ(camera->currentValue(2, 2), 0x40);
    send(submit(4, kDirIn, 0, 2, {0xA1, 0x81, 0, 0x11, 0, 2, 2, 0}));  // a control it lacks
    EXPECT_EQ(static_cast<int32_t>(get32(reply(), 20)), -EPIPE);

    // The status endpoint has nothing to say until the host gives up on it.
    send(submit(5, kDirIn, 2, 16));
    EXPECT_FALSE(readable(100));
    send(unlink(6, 5));
    h = reply();
    EXPECT_EQ(get32(h, 0), kRetUnlink);
    EXPECT_EQ(get32(h, 4), 6u);
    EXPECT_EQ(static_cast<int32_t>(get32(h, 20)), -ECONNRESET);
    send(unlink(7, 3));  // long answered
    EXPECT_EQ(get32(reply(), 20), 0u);

    const auto lines = logLines();
    ASSERT_GE(lines.size(), 5u);
    EXPECT_EQ(lines[0], "1 80 06 0100 0000 64 12010002ef0201406d042508100000020001 ok");
    EXPECT_EQ(lines[2], "1 21 01 0200 0200 2 4000 ok");
    EXPECT_EQ(lines[3], "1 a1 81 1100 0200 2 - stall");
    EXPECT_EQ(lines[4], "1 unlink ep2 cancelled");
}

TEST_F(UsbipConnectionTest, UnansweredAndVanishedRequestsGetNoReply) {
    send(submit(1, kDirOut, 0, 0, {0x00, 9, 1, 0, 0, 0, 0, 0}));
    reply();
    camera->failNext(kIOReturnNotResponding);
    send(submit(2, kDirIn, 0, 2, {0xA1, 0x81, 0, 2, 0, 2, 2, 0}));
    EXPECT_FALSE(readable(100));
    send(unlink(3, 2));  // the host's time-out
    EXPECT_EQ(static_cast<int32_t>(get32(reply(), 20)), -ECONNRESET);

    camera->vanishOnRequest(1);
    send(submit(4, kDirOut, 0, 2, {0x21, 0x01, 0, 2, 0, 2, 2, 0}), {0x01, 0x00});
    EXPECT_FALSE(readable(100));
    EXPECT_EQ(gone, 1);
    send(submit(5, kDirIn, 0, 2, {0xA1, 0x81, 0, 2, 0, 2, 2, 0}));  // gone stays gone
    EXPECT_FALSE(readable(100));
    EXPECT_EQ(logLines().back(), "# camera 1 vanished mid-request");
}

TEST_F(UsbipConnectionTest, GarbageOrAClosedSocketEndsServing) {
    Header h = submit(1, kDirIn, 0, 8);
    put32(h, 0, 0x12345678);
    send(h);
    server.join();
    EXPECT_EQ(ended, "malformed USB/IP header");
    server = std::thread([this] { ended = connection->serve(fds[1]); });
    send(submit(2, kDirOut, 0, 4, {0x21, 0x01, 0, 2, 0, 2, 4, 0}), {1, 2});  // 2 of 4 data bytes
    ::shutdown(fds[0], SHUT_WR);
    server.join();
    EXPECT_EQ(ended, "connection closed inside a command");
    server = std::thread([] {});
}

}  // namespace
}  // namespace orvella::usbip
