#pragma once
// A scratch preferences folder and the SET_CUR requests a camera received; the cameras are
// support/OpenedCamera.h's FixtureCamera.

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <QVariantMap>

#include "support/OpenedCamera.h"

// Records and preferences print as "{key: value, ...}" in failure messages.
inline void PrintTo(const QVariantMap& map, std::ostream* os) {
    *os << "{";
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        *os << (it == map.cbegin() ? "" : ", ") << it.key().toStdString() << ": "
            << it.value().toString().toStdString();
    *os << "}";
}

namespace orvella::testing {

// One SET_CUR as (unit, selector, data).
struct SetCur {
    int unit, selector;
    std::vector<uint8_t> data;
    bool operator==(const SetCur&) const = default;
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

// A preferences folder of its own, so no test touches the user's.
struct ScratchPreferences {
    QTemporaryDir dir;
    QString file() const { return dir.filePath("orvella/org.orvella.Orvella.plist"); }
};

}  // namespace orvella::testing
