#pragma once
// The USB/IP wire format between the kernel's virtual host controller (vhci_hcd) and a device
// served from user space: 48-byte big-endian headers for CMD_SUBMIT / CMD_UNLINK from the host
// and RET_SUBMIT / RET_UNLINK back, followed by the OUT data of a submit (and isochronous packet
// descriptors, 16 bytes each). Pure encoding and decoding; the server does the I/O.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace orvella::usbip {

constexpr size_t kHeaderSize = 48;
constexpr size_t kIsoPacketDescriptorSize = 16;

constexpr uint32_t kCmdSubmit = 0x0001;
constexpr uint32_t kCmdUnlink = 0x0002;
constexpr uint32_t kRetSubmit = 0x0003;
constexpr uint32_t kRetUnlink = 0x0004;

constexpr uint32_t kDirOut = 0;
constexpr uint32_t kDirIn = 1;

// vhci_hcd's attach speeds (enum usb_device_speed).
constexpr uint32_t kSpeedHigh = 3;

// A command from the host.
struct Command {
    uint32_t command = 0;
    uint32_t seqnum = 0;
    uint32_t devid = 0;
    uint32_t direction = 0;
    uint32_t endpoint = 0;
    // CMD_SUBMIT
    uint32_t transferFlags = 0;
    int32_t transferBufferLength = 0;
    int32_t startFrame = 0;
    int32_t numberOfPackets = 0;
    int32_t interval = 0;
    std::array<uint8_t, 8> setup{};
    // CMD_UNLINK
    uint32_t unlinkSeqnum = 0;

    // Bytes that follow the header on the wire: OUT data, then isochronous packet descriptors.
    size_t outDataLength() const;
    size_t isoDescriptorsLength() const;
};

using Header = std::array<uint8_t, kHeaderSize>;

// Decodes a header from the host; nullopt for anything but a well-formed CMD_SUBMIT or
// CMD_UNLINK (unknown command, negative or oversized lengths).
std::optional<Command> parseCommand(const Header& bytes);

// RET_SUBMIT for `seqnum`: status is 0 or a negative errno (-EPIPE for a stall); actualLength
// bytes of IN data follow it on the wire.
Header retSubmit(uint32_t seqnum, int32_t status, int32_t actualLength);
// RET_SUBMIT of an isochronous URB: the packet count echoed, no packet in error.
Header retSubmitIso(uint32_t seqnum, int32_t actualLength, int32_t startFrame,
                    int32_t numberOfPackets);
// RET_UNLINK for the unlink command `seqnum`: -ECONNRESET when the URB was still pending and is
// now cancelled, 0 when it had already completed.
Header retUnlink(uint32_t seqnum, int32_t status);

// Largest transfer the server accepts in one submit.
constexpr int32_t kMaxTransferLength = 1 << 20;
constexpr int32_t kMaxIsoPackets = 1024;

}  // namespace orvella::usbip
