#include "settings/PlistShape.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace orvella::settings::plist {

namespace {

QString tooDeep() {
    return QStringLiteral("it is nested deeper than %1 levels").arg(kMaxDepth);
}

QString tooMany() {
    return QStringLiteral("it holds more than %1 values").arg(kMaxValues);
}

// The XML form, read the way libplist's XML reader tokenizes it: processing instructions and
// document types (with quoted text skipped), comments and CDATA sections, then tags, whose
// attributes may quote '<' and '>'. Text between tags is passed over up to the next '<', as
// libplist does. Where libplist would stop with an error, so does the look.
class XmlLook {
  public:
    explicit XmlLook(const QByteArray& bytes)
        : text_(bytes.constData(), static_cast<size_t>(bytes.size())) {}

    QString problem() {
        std::string open;  // 'a' or 'd' for each array or dictionary not yet closed
        int64_t values = 0;
        size_t at = 0;
        while ((at = text_.find('<', at)) != std::string_view::npos) {
            const size_t after = at + 1;
            if (after >= text_.size()) break;
            if (text_[after] == '?') {
                if ((at = findText(after, "?>", true)) == npos) break;
                at += 2;
            } else if (startsAt(after, "!--")) {
                if ((at = findText(after + 3, "-->", false)) == npos) break;
                at += 3;
            } else if (startsAt(after, "![CDATA[")) {
                if ((at = findText(after + 8, "]]>", false)) == npos) break;
                at += 3;
            } else if (startsAt(after, "!DOCTYPE")) {
                if ((at = findAny(after + 8, "[>", true)) == npos) break;
                if (text_[at] == '[' && (at = findText(at, "]>", true)) == npos) break;
                at += text_[at] == '>' ? 1 : 2;
            } else if (text_[after] == '!') {
                break;  // no other declaration is read
            } else {
                const size_t nameEnd = findAny(after, " \r\n\t<>", false);
                if (nameEnd == npos) break;
                const size_t close = text_[nameEnd] == '>' ? nameEnd : findAny(nameEnd, "<>", true);
                if (close == npos || text_[close] != '>') break;
                const bool empty = text_[close - 1] == '/';
                std::string_view name = text_.substr(after, nameEnd - after);
                if (empty && !name.empty() && name.back() == '/') name.remove_suffix(1);
                at = close + 1;
                if (!name.empty() && name.front() == '/') {
                    name.remove_prefix(1);
                    if ((name == "array" || name == "dict") && !open.empty() &&
                        open.back() == name.front())
                        open.pop_back();
                    continue;
                }
                if (name == "plist") continue;
                if (name != "key" && ++values > kMaxValues) return tooMany();
                if ((name == "array" || name == "dict") && !empty) {
                    open.push_back(name.front());
                    if (open.size() > static_cast<size_t>(kMaxDepth)) return tooDeep();
                }
            }
        }
        return {};
    }

  private:
    static constexpr size_t npos = std::string_view::npos;

    bool startsAt(size_t at, std::string_view what) const {
        return text_.substr(at, what.size()) == what;
    }

    // The position after a quoted run that opens at `at`, or npos when it is not closed.
    size_t pastQuote(size_t at) const {
        const size_t closing = text_.find('"', at + 1);
        return closing == npos ? npos : closing + 1;
    }

    // The first of `chars` from `at`, passing over quoted runs when `skipQuotes`.
    size_t findAny(size_t at, std::string_view chars, bool skipQuotes) const {
        while (at < text_.size()) {
            if (skipQuotes && text_[at] == '"') {
                if ((at = pastQuote(at)) == npos) return npos;
                continue;
            }
            if (chars.find(text_[at]) != npos) return at;
            ++at;
        }
        return npos;
    }

    // Where `what` starts from `at`, passing over quoted runs when `skipQuotes`.
    size_t findText(size_t at, std::string_view what, bool skipQuotes) const {
        while (at < text_.size()) {
            if (startsAt(at, what)) return at;
            if (skipQuotes && text_[at] == '"') {
                if ((at = pastQuote(at)) == npos) return npos;
                continue;
            }
            ++at;
        }
        return npos;
    }

    std::string_view text_;
};

// The binary form: its trailer, offset table and containers' references, walked depth first with
// a stack of its own. Each object's depth and unfolded value count is kept once worked out, so an
// object that many containers share is walked once. A reference back to a container still being
// walked (a cycle) is refused, as libplist refuses it.
class BinaryLook {
  public:
    explicit BinaryLook(const QByteArray& bytes)
        : data_(reinterpret_cast<const uint8_t*>(bytes.constData())),
          size_(static_cast<uint64_t>(bytes.size())) {}

    QString problem() {
        const QString damaged = QStringLiteral("it is not a property list");
        if (size_ < 8 + 32) return damaged;
        const uint64_t trailer = size_ - 32;
        offsetSize_ = data_[trailer + 6];
        refSize_ = data_[trailer + 7];
        objects_ = number(trailer + 8, 8);
        const uint64_t root = number(trailer + 16, 8);
        table_ = number(trailer + 24, 8);
        if (offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 || refSize_ > 8 || objects_ == 0 ||
            root >= objects_ || table_ < 8 || table_ >= trailer ||
            objects_ > (trailer - table_) / offsetSize_)
            return damaged;

        // Per object: 0 not seen, kOpen on the path being walked, else its unfolded value count
        // (at most kMaxValues + 1); and its depth.
        constexpr uint32_t kOpen = 0xFFFFFFFF;
        std::vector<uint32_t> values(objects_, 0);
        std::vector<uint16_t> depths(objects_, 0);
        struct Frame {
            uint64_t object;
            Container container;
            uint64_t next = 0;
            int deepest = 0;
            int64_t values = 0;
        };
        std::vector<Frame> path;

        Container rootContainer;
        if (!container(root, &rootContainer)) return damaged;
        if (!rootContainer.isContainer) return {};
        values[root] = kOpen;
        path.push_back({root, rootContainer});
        while (!path.empty()) {
            Frame& frame = path.back();
            if (frame.next == frame.container.refs) {
                const int depth = frame.deepest + 1;
                const int64_t count = std::min(frame.values + 1, kMaxValues + 1);
                values[frame.object] = static_cast<uint32_t>(count);
                depths[frame.object] = static_cast<uint16_t>(depth);
                path.pop_back();
                if (path.empty()) break;
                Frame& parent = path.back();
                parent.deepest = std::max(parent.deepest, depth);
                parent.values += count;
                if (parent.values > kMaxValues) return tooMany();
                continue;
            }
            const uint64_t child = number(frame.container.refsAt + frame.next * refSize_, refSize_);
            ++frame.next;
            if (child >= objects_) return damaged;
            if (values[child] == kOpen) return damaged;
            if (values[child] != 0) {
                frame.deepest = std::max<int>(frame.deepest, depths[child]);
                frame.values += values[child];
                if (frame.values > kMaxValues) return tooMany();
                continue;
            }
            Container inner;
            if (!container(child, &inner)) return damaged;
            if (!inner.isContainer) {
                frame.deepest = std::max(frame.deepest, 1);
                if (++frame.values > kMaxValues) return tooMany();
                continue;
            }
            if (path.size() >= static_cast<size_t>(kMaxDepth)) return tooDeep();
            values[child] = kOpen;
            path.push_back({child, inner});
        }
        if (values[root] > kMaxValues) return tooMany();
        return {};
    }

  private:
    struct Container {
        bool isContainer = false;
        uint64_t refsAt = 0;
        uint64_t refs = 0;  // keys and values for a dictionary
    };

    // A big-endian number of `width` bytes at `at`, which the caller has checked lies inside.
    uint64_t number(uint64_t at, unsigned width) const {
        uint64_t value = 0;
        for (unsigned i = 0; i < width; ++i)
            value = value << 8 | data_[at + i];
        return value;
    }

    // Object `index`'s references when it is an array, a set or a dictionary; false when the
    // object or its references lie outside the data.
    bool container(uint64_t index, Container* out) const {
        const uint64_t offset = number(table_ + index * offsetSize_, offsetSize_);
        if (offset < 8 || offset >= table_) return false;
        const uint8_t marker = data_[offset];
        const uint8_t type = marker >> 4;
        *out = {};
        if (type != 0xA && type != 0xC && type != 0xD) return true;
        out->isContainer = true;
        uint64_t count = marker & 0x0F;
        uint64_t at = offset + 1;
        if (count == 0x0F) {
            if (at >= table_) return false;
            const uint8_t sizeMarker = data_[at];
            if (sizeMarker >> 4 != 0x1 || (sizeMarker & 0x0F) > 3) return false;
            const unsigned width = 1u << (sizeMarker & 0x0F);
            if (at + 1 + width > table_) return false;
            count = number(at + 1, width);
            at += 1 + width;
        }
        const uint64_t perEntry = type == 0xD ? 2 : 1;
        if (count > (table_ - at) / refSize_ / perEntry) return false;
        out->refsAt = at;
        out->refs = count * perEntry;
        return true;
    }

    const uint8_t* data_;
    uint64_t size_;
    unsigned offsetSize_ = 0;
    unsigned refSize_ = 0;
    uint64_t objects_ = 0;
    uint64_t table_ = 0;
};

}  // namespace

QString shapeProblem(const QByteArray& bytes) {
    if (bytes.size() > kMaxBytes)
        return QStringLiteral("it is larger than %1 MB").arg(kMaxBytes >> 20);
    // A file that starts so is binary to libplist, or else no XML it reads (the first character
    // of an XML property list is a '<' or a blank).
    if (bytes.startsWith("bplist")) return BinaryLook(bytes).problem();
    return XmlLook(bytes).problem();
}

}  // namespace orvella::settings::plist
