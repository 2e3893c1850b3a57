#pragma once
// Property lists nested as deep as asked, for the reader's limits: a root dictionary whose one
// key holds a chain of arrays, in XML and in binary form.

#include <QByteArray>

namespace orvella::testing {

// <dict><key>k</key><array><array>...</array></array></dict>: `arrays` levels below the root.
inline QByteArray nestedXml(int arrays, const QByteArray& between = {}) {
    QByteArray xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict><key>k</key>";
    for (int i = 0; i < arrays; ++i)
        xml += "<array>" + between;
    for (int i = 0; i < arrays; ++i)
        xml += "</array>";
    return xml + "</dict></plist>\n";
}

// The same in binary form. Each array refers to the next `refsEach` times, so the list unfolds
// into refsEach^arrays values while its file stays small.
inline QByteArray nestedBinary(int arrays, int refsEach = 1) {
    auto put32 = [](QByteArray& out, uint32_t value) {
        for (int shift = 24; shift >= 0; shift -= 8)
            out += static_cast<char>((value >> shift) & 0xFF);
    };
    QByteArray out = "bplist00";
    std::vector<uint32_t> offsets;
    // 0: the root dictionary {k: object 2}; 1: the key "k"; 2...: the arrays; last: an empty one.
    offsets.push_back(static_cast<uint32_t>(out.size()));
    out += '\xD1';
    put32(out, 1);
    put32(out, 2);
    offsets.push_back(static_cast<uint32_t>(out.size()));
    out += "\x51k";
    for (int i = 0; i < arrays; ++i) {
        offsets.push_back(static_cast<uint32_t>(out.size()));
        const bool last = i + 1 == arrays;
        out += static_cast<char>(0xA0 | (last ? 0 : refsEach));
        for (int r = 0; !last && r < refsEach; ++r)
            put32(out, static_cast<uint32_t>(i + 3));
    }
    const uint32_t table = static_cast<uint32_t>(out.size());
    for (uint32_t offset : offsets)
        put32(out, offset);
    out += QByteArray(6, '\0');
    out += '\x04';  // offset size
    out += '\x04';  // reference size
    auto put64 = [&](uint64_t value) {
        put32(out, static_cast<uint32_t>(value >> 32));
        put32(out, static_cast<uint32_t>(value));
    };
    put64(offsets.size());
    put64(0);
    put64(table);
    return out;
}

}  // namespace orvella::testing
