// The USB/IP server's reader of the kernel's messages (tools/usbip-camera): the input is what
// vhci_hcd would write to the socket, after one byte of camera faults (low four bits: the
// control request at which the camera vanishes, high four bits: the one from which it stops
// answering; 0 = never). The camera is the --demo one.

#include <sys/socket.h>
#include <unistd.h>

#include "fuzz/FuzzTarget.h"
#include "platform/virtual/RequestLog.h"
#include "platform/virtual/UsbWireDevice.h"
#include "tools/usbip-camera/UsbipConnection.h"

using namespace orvella;

namespace {

// Replies go back into the socket pair unread: inputs are kept small enough that they fit.
constexpr size_t kMaxInput = 4096;

void put32(fuzz::Bytes& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(static_cast<uint8_t>(v >> shift));
}

void submit(fuzz::Bytes& out, uint32_t seqnum, uint32_t direction, uint32_t endpoint,
            uint32_t length, std::array<uint8_t, 8> setup, const fuzz::Bytes& data = {},
            int32_t packets = -1) {
    for (uint32_t v : {usbip::kCmdSubmit, seqnum, 0x00010002u, direction, endpoint, 0u, length, 0u,
                       static_cast<uint32_t>(packets), 0u})
        put32(out, v);
    out.insert(out.end(), setup.begin(), setup.end());
    out.insert(out.end(), data.begin(), data.end());
    for (int32_t i = 0; i < packets; ++i)
        for (int w = 0; w < 4; ++w)
            put32(out, w == 1 ? 3072 : 0);
}

void unlink(fuzz::Bytes& out, uint32_t seqnum, uint32_t victim) {
    for (uint32_t v : {usbip::kCmdUnlink, seqnum, 0x00010002u, 0u, 0u, victim})
        put32(out, v);
    out.resize(out.size() + 24, 0);
}

}  // namespace

ORVELLA_FUZZ_TARGET(usbip) {
    if (size < 1 || size > kMaxInput) return 0;
    auto camera = virtualcam::VirtualCamera::demo();
    if (data[0] & 0x0F) camera->vanishOnRequest(data[0] & 0x0F);
    if (data[0] >> 4) camera->failOnRequest(data[0] >> 4, kIOReturnNotResponding);
    virtualcam::UsbWireDevice device(camera);
    virtualcam::RequestLog log("");
    usbip::UsbipConnection connection(device, log, 1);

    int fds[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, fds) != 0) return 0;
    const uint8_t* at = data + 1;
    size_t left = size - 1;
    while (left > 0) {
        const ssize_t n = ::write(fds[0], at, left);
        if (n <= 0) break;
        at += n;
        left -= static_cast<size_t>(n);
    }
    ::shutdown(fds[0], SHUT_WR);
    (void)connection.serve(fds[1]);
    ::close(fds[0]);
    ::close(fds[1]);
    return 0;
}

ORVELLA_FUZZ_SEEDS(usbip) {
    (void)fixtures;
    // The kernel enumerating the demo camera, binding it, probing a control and streaming.
    fuzz::Bytes session{0x00};
    uint32_t seq = 1;
    submit(session, seq++, usbip::kDirIn, 0, 64, {0x80, 6, 0, 1, 0, 0, 64, 0});
    submit(session, seq++, usbip::kDirIn, 0, 9, {0x80, 6, 0, 2, 0, 0, 9, 0});
    submit(session, seq++, usbip::kDirIn, 0, 1024, {0x80, 6, 0, 2, 0, 0, 0, 4});
    submit(session, seq++, usbip::kDirIn, 0, 255, {0x80, 6, 0, 3, 0, 0, 255, 0});
    submit(session, seq++, usbip::kDirIn, 0, 255, {0x80, 6, 2, 3, 9, 4, 255, 0});
    submit(session, seq++, usbip::kDirOut, 0, 0, {0x00, 9, 1, 0, 0, 0, 0, 0});
    submit(session, seq++, usbip::kDirIn, 0, 2, {0xA1, 0x81, 0, 2, 0, 2, 2, 0});
    submit(session, seq++, usbip::kDirIn, 0, 2, {0xA1, 0x82, 0, 2, 0, 2, 2, 0});
    submit(session, seq++, usbip::kDirOut, 0, 2, {0x21, 0x01, 0, 2, 0, 2, 2, 0}, {0x10, 0x00});
    submit(session, seq++, usbip::kDirIn, 0, 26, {0xA1, 0x81, 0, 1, 1, 0, 26, 0});
    submit(session, seq++, usbip::kDirOut, 0, 26, {0x21, 0x01, 0, 1, 1, 0, 26, 0},
           fuzz::Bytes(26, 0x01));
    submit(session, seq++, usbip::kDirOut, 0, 0, {0x01, 11, 1, 0, 1, 0, 0, 0});
    const uint32_t iso = seq++;
    submit(session, iso, usbip::kDirIn, 1, 3 * 3072, {}, {}, 3);
    const uint32_t status = seq++;
    submit(session, status, usbip::kDirIn, 2, 16, {});
    unlink(session, seq++, iso);
    unlink(session, seq++, status);
    unlink(session, seq++, 999);

    std::vector<fuzz::Seed> seeds{{"session", session}};
    fuzz::Bytes vanishing = session;
    vanishing[0] = 0x03;
    seeds.push_back({"session-vanish", vanishing});
    fuzz::Bytes silent = session;
    silent[0] = 0x20;
    seeds.push_back({"session-noanswer", silent});
    return seeds;
}
