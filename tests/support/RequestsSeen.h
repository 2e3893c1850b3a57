#pragma once
// What a virtual camera received, asked the ways the tests ask: every SET_CUR with its bytes and
// value in order, the values written to one control, and the lines orvellactl's request log
// would hold for them. The one place tests read a camera's recorded requests through.

#include <QString>
#include <QStringList>
#include <cstdint>
#include <ostream>
#include <vector>

#include "platform/virtual/RequestLog.h"
#include "platform/virtual/VirtualCamera.h"

namespace orvella::testing {

// One SET_CUR: where it went and what it carried.
struct SetCur {
    int unit, selector;
    std::vector<uint8_t> data;
    bool operator==(const SetCur&) const = default;

    // The little-endian value, sign-extended from its own width (up to 8 bytes).
    int64_t value() const {
        uint64_t bits = 0;
        for (size_t i = 0; i < data.size() && i < 8; ++i)
            bits |= static_cast<uint64_t>(data[i]) << (8 * i);
        if (!data.empty() && data.size() < 8 && (data.back() & 0x80))
            bits |= ~uint64_t{0} << (8 * data.size());
        return static_cast<int64_t>(bits);
    }
};
inline void PrintTo(const SetCur& s, std::ostream* os) {
    *os << "{" << s.unit << ", 0x" << std::hex << s.selector << ", [";
    for (uint8_t b : s.data)
        *os << " " << int(b);
    *os << std::dec << " ]}";
}

inline std::vector<SetCur> setCurs(const virtualcam::VirtualCamera& device) {
    std::vector<SetCur> out;
    for (const auto& r : device.requests())
        if (r.bmRequestType == 0x21 && r.bRequest == 0x01)
            out.push_back({r.unit(), r.selector(), r.data});
    return out;
}

inline std::vector<SetCur> setCursOf(const virtualcam::VirtualCamera& device, int unit,
                                     int selector) {
    std::vector<SetCur> out;
    for (SetCur& s : setCurs(device))
        if (s.unit == unit && s.selector == selector) out.push_back(std::move(s));
    return out;
}

// The values written to one control, in order.
inline std::vector<int64_t> valuesWritten(const virtualcam::VirtualCamera& device, int unit,
                                          int selector) {
    std::vector<int64_t> out;
    for (const SetCur& s : setCursOf(device, unit, selector))
        out.push_back(s.value());
    return out;
}

// Every class request the camera received, as orvellactl's request log writes it for camera
// number `camera` ("1 21 01 0200 0200 2 1900 ok").
inline QStringList requestLogLines(const virtualcam::VirtualCamera& device, int camera = 1) {
    QStringList out;
    for (const auto& r : device.requests())
        if (r.kind == virtualcam::RecordedRequest::Kind::Control)
            out << QString::fromStdString(virtualcam::RequestLog::transferLine(
                camera,
                {r.bmRequestType, r.bRequest, uint8_t(r.wValue), uint8_t(r.wValue >> 8),
                 uint8_t(r.wIndex), uint8_t(r.wIndex >> 8), uint8_t(r.wLength),
                 uint8_t(r.wLength >> 8)},
                r.data, virtualcam::RequestLog::outcomeFor(r.status)));
    return out;
}

}  // namespace orvella::testing
