#pragma once
// The compact binary form of a whole hostile camera, the input of the whole-device fuzz target.
// Decoding gives a camera definition (docs/virtual-cameras.md), so any input, a crashing one
// included, can be written out as a definition and loaded with --virtual; encoding turns a
// definition into that form, which is how the seed corpus is made from the camera fixtures.
//
// Layout (multi-byte fields little-endian; a short input reads as zeros):
//   header, 14 bytes:
//     0  u16 vendorID          2  u16 productID
//     4  u8  flags: 0x01 starts suspended, 0x02 out-of-range writes stall, 0x04 not responding
//            once, 0x08 vsInterfaceNumber given, 0x10 productStringIndex given, 0x20 the
//            plug-in cannot be created, 0x40 write the defaults back (setDefaults)
//     5  u8  vcInterfaceNumber  6  u8 vsInterfaceNumber (flag 0x08)
//     7  u8  productStringIndex (flag 0x10)
//     8  u16 vanishOnRequest (0 never)
//    10  u16 failOnRequest (0 never)    12 u8 its status (index into kFailStatuses)
//    13  u8  how many requests fail (0 = every one from then on)
//   then sections until the input ends: u8 tag, u8 length, `length` bytes of body:
//     1  a VideoControl class-specific descriptor, exactly these bytes
//     2  a VideoStreaming class-specific descriptor, exactly these bytes
//     3  answers of a camera-terminal or processing-unit control:
//          u8 control (bit 7: processing unit, else camera terminal; low 5 bits: bmControls bit)
//          u8 fields (0x01 min, 0x02 max, 0x04 res, 0x08 def, 0x10 cur, 0x20 info,
//                     0x40 answerLength, 0x80 unit)
//          for each of min, max, res, def, cur given: u8 count, count raw bytes
//          then u8 info, u8 answerLength, u8 unit, each if given
//     4  an extension-unit control: u8 unit, u8 selector, u8 length (1 + value % 64),
//          u8 fields (as above for min..info; 0x40 signed), then the fields as above
//     5  a string descriptor: u8 index, then its raw bytes
//     6  a stalled selector: u8 unit, u8 selector, u8 request error code
//     7  the product string (Latin-1 text)
//     8  a write the application makes after reading: u8 control (index into the
//          orvellactl control table, modulo its size), u32 value (signed)
//   Unknown tags are skipped.

#include <QByteArray>
#include <QJsonObject>
#include <cstdint>
#include <vector>

#include "platform/IOReturn.h"

namespace orvella::virtualcam {
class VirtualCamera;
}

namespace orvella::fuzz {

// The statuses a failing request can answer, by the index the layout gives (modulo the size).
extern const IOReturn kFailStatuses[10];

struct ControlWrite {
    uint8_t control = 0;  // index into tools::ctlControls(), modulo its size
    int32_t value = 0;
};

struct DeviceScript {
    QByteArray json;  // the camera definition
    QJsonObject definition() const;
    std::vector<ControlWrite> writes;
    bool writeDefaults = false;
};

DeviceScript decodeDevice(const uint8_t* data, size_t size);

// The layout of a loaded camera: identity, descriptors, the answers of every camera-terminal,
// processing-unit and extension-unit control, its strings and the faults of its definition,
// followed by the given writes.
std::vector<uint8_t> encodeDevice(virtualcam::VirtualCamera& camera,
                                  const std::vector<ControlWrite>& writes = {},
                                  bool writeDefaults = false);

}  // namespace orvella::fuzz
