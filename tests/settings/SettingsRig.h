#pragma once
// A scratch preferences folder; the cameras are support/OpenedCamera.h's FixtureCamera and what
// they received is read through support/RequestsSeen.h.

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <QVariantMap>

#include "support/OpenedCamera.h"
#include "support/RequestsSeen.h"

// Records and preferences print as "{key: value, ...}" in failure messages.
inline void PrintTo(const QVariantMap& map, std::ostream* os) {
    *os << "{";
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        *os << (it == map.cbegin() ? "" : ", ") << it.key().toStdString() << ": "
            << it.value().toString().toStdString();
    *os << "}";
}

namespace orvella::testing {

// A preferences folder of its own, so no test touches the user's.
struct ScratchPreferences {
    QTemporaryDir dir;
    QString file() const { return dir.filePath("orvella/org.orvella.Orvella.plist"); }
};

}  // namespace orvella::testing
