#include "tools/usbip-camera/UsbipProtocol.h"

namespace orvella::usbip {

namespace {

uint32_t get32(const Header& b, size_t at) {
    return static_cast<uint32_t>(b[at]) << 24 | static_cast<uint32_t>(b[at + 1]) << 16 |
           static_cast<uint32_t>(b[at + 2]) << 8 | static_cast<uint32_t>(b[at + 3]);
}

void put32(Header& b, size_t at, uint32_t value) {
    b[at] = static_cast<uint8_t>(value >> 24);
    b[at + 1] = static_cast<uint8_t>(value >> 16);
    b[at + 2] = static_cast<uint8_t>(value >> 8);
    b[at + 3] = static_cast<uint8_t>(value);
}

Header reply(uint32_t command, uint32_t seqnum, int32_t status) {
    Header h{};
    put32(h, 0, command);
    put32(h, 4, seqnum);
    // devid, direction and endpoint stay 0 in replies, as the kernel's own USB/IP host sends them.
    put32(h, 20, static_cast<uint32_t>(status));
    return h;
}

}  // namespace

size_t Command::outDataLength() const {
    return command == kCmdSubmit && direction == kDirOut ? static_cast<size_t>(transferBufferLength)
                                                         : 0;
}

size_t Command::isoDescriptorsLength() const {
    return command == kCmdSubmit && numberOfPackets > 0
               ? static_cast<size_t>(numberOfPackets) * kIsoPacketDescriptorSize
               : 0;
}

std::optional<Command> parseCommand(const Header& b) {
    Command c;
    c.command = get32(b, 0);
    c.seqnum = get32(b, 4);
    c.devid = get32(b, 8);
    c.direction = get32(b, 12);
    c.endpoint = get32(b, 16);
    if (c.direction > kDirIn || c.endpoint > 15) return std::nullopt;
    if (c.command == kCmdUnlink) {
        c.unlinkSeqnum = get32(b, 20);
        return c;
    }
    if (c.command != kCmdSubmit) return std::nullopt;
    c.transferFlags = get32(b, 20);
    c.transferBufferLength = static_cast<int32_t>(get32(b, 24));
    c.startFrame = static_cast<int32_t>(get32(b, 28));
    c.numberOfPackets = static_cast<int32_t>(get32(b, 32));
    c.interval = static_cast<int32_t>(get32(b, 36));
    for (size_t i = 0; i < c.setup.size(); ++i)
        c.setup[i] = b[40 + i];
    // Non-isochronous transfers carry 0 (older kernels) or -1 (newer ones) packets.
    if (c.numberOfPackets == -1) c.numberOfPackets = 0;
    if (c.transferBufferLength < 0 || c.transferBufferLength > kMaxTransferLength ||
        c.numberOfPackets < 0 || c.numberOfPackets > kMaxIsoPackets)
        return std::nullopt;
    return c;
}

Header retSubmit(uint32_t seqnum, int32_t status, int32_t actualLength) {
    Header h = reply(kRetSubmit, seqnum, status);
    put32(h, 24, static_cast<uint32_t>(actualLength));
    return h;
}

Header retSubmitIso(uint32_t seqnum, int32_t actualLength, int32_t startFrame,
                    int32_t numberOfPackets) {
    Header h = retSubmit(seqnum, 0, actualLength);
    put32(h, 28, static_cast<uint32_t>(startFrame));
    put32(h, 32, static_cast<uint32_t>(numberOfPackets));
    return h;
}

Header retUnlink(uint32_t seqnum, int32_t status) {
    return reply(kRetUnlink, seqnum, status);
}

}  // namespace orvella::usbip
