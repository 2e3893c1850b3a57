#include "tools/usbip-camera/UsbipConnection.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace orvella::usbip {

namespace {

using Outcome = virtualcam::UsbWireDevice::Outcome;

// Reads exactly `size` bytes; false at end of stream or on an error.
bool readAll(int fd, void* buffer, size_t size) {
    auto* at = static_cast<uint8_t*>(buffer);
    while (size > 0) {
        const ssize_t n = ::read(fd, at, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        at += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool writeAll(int fd, const void* buffer, size_t size) {
    const auto* at = static_cast<const uint8_t*>(buffer);
    while (size > 0) {
        const ssize_t n = ::send(fd, at, size, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        at += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

}  // namespace

UsbipConnection::UsbipConnection(virtualcam::UsbWireDevice& device, virtualcam::RequestLog& log,
                                 int camera)
    : device_(device), log_(log), camera_(camera) {}

std::string UsbipConnection::serve(int fd) {
    for (;;) {
        Header header;
        if (!readAll(fd, header.data(), header.size())) return "connection closed";
        const auto command = parseCommand(header);
        if (!command) return "malformed USB/IP header";
        std::vector<uint8_t> out(command->outDataLength());
        std::vector<uint8_t> iso(command->isoDescriptorsLength());
        if (!readAll(fd, out.data(), out.size()) || !readAll(fd, iso.data(), iso.size()))
            return "connection closed inside a command";

        if (command->command == kCmdUnlink) {
            const auto it = pending_.find(command->unlinkSeqnum);
            const bool wasPending = it != pending_.end();
            if (wasPending) {
                log_.unlink(camera_, it->second, true);
                pending_.erase(it);
            }
            // -ECONNRESET: cancelled here; 0: it had completed already and its answer is on
            // the way, which the host sorts out by sequence number.
            const Header reply = retUnlink(command->seqnum, wasPending ? -ECONNRESET : 0);
            if (!writeAll(fd, reply.data(), reply.size())) return "connection closed";
            continue;
        }
        if (video_ && !gone_ && command->endpoint == video_->endpoint() &&
            command->direction == kDirIn && command->numberOfPackets > 0) {
            if (!submitVideo(fd, *command, iso)) return "connection closed";
            continue;
        }
        if (!submit(fd, *command, out)) return "connection closed";
    }
}

bool UsbipConnection::submitVideo(int fd, const Command& command, const std::vector<uint8_t>& iso) {
    auto get32 = [&](size_t at) {
        return uint32_t{iso[at]} << 24 | uint32_t{iso[at + 1]} << 16 | uint32_t{iso[at + 2]} << 8 |
               uint32_t{iso[at + 3]};
    };
    std::vector<IsoPacket> packets(static_cast<size_t>(command.numberOfPackets));
    for (size_t i = 0; i < packets.size(); ++i) {
        packets[i].offset = get32(i * kIsoPacketDescriptorSize);
        packets[i].length = get32(i * kIsoPacketDescriptorSize + 4);
        // A packet that would run past the buffer gets nothing.
        if (uint64_t{packets[i].offset} + packets[i].length >
            static_cast<uint64_t>(command.transferBufferLength))
            packets[i].length = 0;
    }
    const std::vector<uint8_t> data = video_->fill(packets);
    // Each packet is a microframe: the URB completes when its time has passed.
    ::usleep(static_cast<useconds_t>(packets.size() * 125));
    const Header reply = retSubmitIso(command.seqnum, static_cast<int32_t>(data.size()),
                                      command.startFrame, command.numberOfPackets);
    std::vector<uint8_t> descriptors(packets.size() * kIsoPacketDescriptorSize);
    auto put32 = [&](size_t at, uint32_t value) {
        descriptors[at] = static_cast<uint8_t>(value >> 24);
        descriptors[at + 1] = static_cast<uint8_t>(value >> 16);
        descriptors[at + 2] = static_cast<uint8_t>(value >> 8);
        descriptors[at + 3] = static_cast<uint8_t>(value);
    };
    for (size_t i = 0; i < packets.size(); ++i) {
        put32(i * kIsoPacketDescriptorSize, packets[i].offset);
        put32(i * kIsoPacketDescriptorSize + 4, packets[i].length);
        put32(i * kIsoPacketDescriptorSize + 8, packets[i].actualLength);
        put32(i * kIsoPacketDescriptorSize + 12, 0);
    }
    return writeAll(fd, reply.data(), reply.size()) && writeAll(fd, data.data(), data.size()) &&
           writeAll(fd, descriptors.data(), descriptors.size());
}

bool UsbipConnection::submit(int fd, const Command& command, const std::vector<uint8_t>& out) {
    if (command.endpoint != 0 || gone_) {
        // Nothing to report on the status endpoint, no frames to stream; a device that has gone
        // answers nothing at all.
        pending_[command.seqnum] = command.endpoint;
        return true;
    }
    const virtualcam::UsbWireDevice::Transfer t = device_.control(command.setup, out);
    const bool in = (command.setup[0] & 0x80) != 0;
    std::vector<uint8_t> data = in ? t.data : out;
    if (!in) data.resize(std::min<size_t>(data.size(), command.setup[6] | command.setup[7] << 8));
    log_.transfer(camera_, command.setup, data, t.outcome);

    switch (t.outcome) {
        case Outcome::Done: {
            size_t length = in ? std::min<size_t>(t.data.size(),
                                                  static_cast<size_t>(command.transferBufferLength))
                               : t.length;
            const Header reply = retSubmit(command.seqnum, 0, static_cast<int32_t>(length));
            if (!writeAll(fd, reply.data(), reply.size())) return false;
            return !in || writeAll(fd, t.data.data(), length);
        }
        case Outcome::Stall: {
            const Header reply = retSubmit(command.seqnum, -EPIPE, 0);
            return writeAll(fd, reply.data(), reply.size());
        }
        case Outcome::NoAnswer:
            pending_[command.seqnum] = 0;
            return true;
        case Outcome::Gone:
            gone_ = true;
            pending_[command.seqnum] = 0;
            log_.note("camera " + std::to_string(camera_) + " vanished mid-request");
            if (onGone_) onGone_();
            return true;
    }
    return true;
}

}  // namespace orvella::usbip
