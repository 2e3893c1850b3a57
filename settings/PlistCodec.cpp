#include "settings/PlistCodec.h"

#include <plist/plist.h>

#include "platform/Log.h"
#include "settings/PlistShape.h"

#include <QDateTime>
#include <algorithm>
#include <limits>
#include <memory>

namespace orvella::settings::plist {

namespace {

// Property-list dates count seconds from 2001-01-01 00:00:00 UTC.
constexpr qint64 kPlistEpochOffset = 978307200;

struct PlistFree {
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
using Owned = std::unique_ptr<void, PlistFree>;

// A string node's text, as far as libplist keeps it (by pointer and length: a string may
// hold NUL characters, which libplist's copying getter refuses with an assertion, aborting the
// program).
QString stringOf(plist_t node) {
    uint64_t length = 0;
    const char* text = node ? plist_get_string_ptr(node, &length) : nullptr;
    return text ? QString::fromUtf8(text, static_cast<qsizetype>(length)) : QString();
}

// The walks below recurse once per level. Reading never goes deeper than kMaxDepth, since
// parseDictionary looks at the bytes first; values to be written that nest deeper are left out
// with a logged diagnostic.
bool tooDeep(int depth) {
    if (depth <= kMaxDepth) return false;
    NSLog("Preferences: a value nested deeper than %d levels is left out", kMaxDepth);
    return true;
}

QVariant normalized(const QVariant& value, int depth);

QVariant fromNode(plist_t node, int depth) {
    if (depth > kMaxDepth) return {};
    switch (plist_get_node_type(node)) {
        case PLIST_DICT: {
            QVariantMap map;
            plist_dict_iter iter = nullptr;
            plist_dict_new_iter(node, &iter);
            for (;;) {
                char* key = nullptr;
                plist_t item = nullptr;
                plist_dict_next_item(node, iter, &key, &item);
                if (!item) {
                    std::free(key);
                    break;
                }
                const QString name = key ? QString::fromUtf8(key) : QString();
                std::free(key);
                const QVariant value = fromNode(item, depth + 1);
                if (value.isValid()) map.insert(name, value);
            }
            std::free(iter);
            return map;
        }
        case PLIST_ARRAY: {
            QVariantList list;
            const uint32_t size = plist_array_get_size(node);
            for (uint32_t i = 0; i < size; ++i) {
                const QVariant value = fromNode(plist_array_get_item(node, i), depth + 1);
                if (value.isValid()) list.append(value);
            }
            return list;
        }
        case PLIST_BOOLEAN: {
            uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return value != 0;
        }
        case PLIST_UINT: {
            // Negative integers are kept as their two's complement; larger unsigned values than
            // a signed 64-bit integer holds do not occur in preferences.
            uint64_t value = 0;
            plist_get_uint_val(node, &value);
            return static_cast<qint64>(value);
        }
        case PLIST_UID: {
            uint64_t value = 0;
            plist_get_uid_val(node, &value);
            return static_cast<qint64>(value);
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return value;
        }
        case PLIST_STRING:
            return stringOf(node);
        case PLIST_DATA: {
            char* bytes = nullptr;
            uint64_t length = 0;
            plist_get_data_val(node, &bytes, &length);
            QByteArray value(bytes, static_cast<qsizetype>(length));
            std::free(bytes);
            return value;
        }
        case PLIST_DATE: {
            int32_t seconds = 0, microseconds = 0;
            plist_get_date_val(node, &seconds, &microseconds);
            return QDateTime::fromSecsSinceEpoch(kPlistEpochOffset + seconds, Qt::UTC);
        }
        default:
            return {};
    }
}

plist_t toNode(const QVariant& value, int depth) {
    switch (value.typeId()) {
        case QMetaType::QVariantMap: {
            if (tooDeep(depth)) return nullptr;
            plist_t dict = plist_new_dict();
            const QVariantMap map = value.toMap();
            for (auto it = map.cbegin(); it != map.cend(); ++it)
                if (plist_t item = toNode(it.value(), depth + 1))
                    plist_dict_set_item(dict, it.key().toUtf8().constData(), item);
            return dict;
        }
        case QMetaType::QVariantList: {
            if (tooDeep(depth)) return nullptr;
            plist_t array = plist_new_array();
            for (const QVariant& element : value.toList())
                if (plist_t item = toNode(element, depth + 1)) plist_array_append_item(array, item);
            return array;
        }
        case QMetaType::Bool:
            return plist_new_bool(value.toBool());
        case QMetaType::LongLong:
            return plist_new_uint(static_cast<uint64_t>(value.toLongLong()));
        case QMetaType::Double:
            return plist_new_real(value.toDouble());
        case QMetaType::QString:
            return plist_new_string(value.toString().toUtf8().constData());
        case QMetaType::QByteArray: {
            const QByteArray bytes = value.toByteArray();
            return plist_new_data(bytes.constData(), static_cast<uint64_t>(bytes.size()));
        }
        case QMetaType::QDateTime: {
            const qint64 seconds = value.toDateTime().toSecsSinceEpoch() - kPlistEpochOffset;
            if (seconds < std::numeric_limits<int32_t>::min() ||
                seconds > std::numeric_limits<int32_t>::max())
                return nullptr;
            return plist_new_date(static_cast<int32_t>(seconds), 0);
        }
        default: {
            const QVariant plain = normalized(value, depth);
            return plain.isValid() && plain.typeId() != value.typeId() ? toNode(plain, depth)
                                                                       : nullptr;
        }
    }
}

// True when `value` already has the form normalized() gives it, so that it is kept as it is, its
// containers shared rather than rebuilt: the profile store sets its whole "Settings" dictionary
// at every change, and that dictionary holds every model's profiles.
bool isNormal(const QVariant& value, int depth) {
    switch (value.typeId()) {
        case QMetaType::QVariantMap: {
            if (depth > kMaxDepth) return false;
            const auto& map = *static_cast<const QVariantMap*>(value.constData());
            return std::all_of(map.cbegin(), map.cend(),
                               [depth](const QVariant& item) { return isNormal(item, depth + 1); });
        }
        case QMetaType::QVariantList: {
            if (depth > kMaxDepth) return false;
            const auto& list = *static_cast<const QVariantList*>(value.constData());
            return std::all_of(list.cbegin(), list.cend(),
                               [depth](const QVariant& item) { return isNormal(item, depth + 1); });
        }
        case QMetaType::Bool:
        case QMetaType::LongLong:
        case QMetaType::Double:
        case QMetaType::QString:
        case QMetaType::QByteArray:
            return true;
        case QMetaType::QDateTime: {
            const QDateTime time = value.toDateTime();
            return time.isValid() && time.timeSpec() == Qt::UTC && time.time().msec() == 0;
        }
        default:
            return false;
    }
}

QVariant normalized(const QVariant& value, int depth) {
    if (isNormal(value, depth)) return value;
    switch (value.typeId()) {
        case QMetaType::QVariantMap:
        case QMetaType::QVariantHash: {
            if (tooDeep(depth)) return {};
            QVariantMap map;
            const QVariantMap source = value.toMap();
            for (auto it = source.cbegin(); it != source.cend(); ++it) {
                const QVariant item = normalized(it.value(), depth + 1);
                if (item.isValid()) map.insert(it.key(), item);
            }
            return map;
        }
        case QMetaType::QVariantList:
        case QMetaType::QStringList: {
            if (tooDeep(depth)) return {};
            QVariantList list;
            for (const QVariant& element : value.toList()) {
                const QVariant item = normalized(element, depth + 1);
                if (item.isValid()) list.append(item);
            }
            return list;
        }
        case QMetaType::Bool:
            return value.toBool();
        case QMetaType::Char:
        case QMetaType::SChar:
        case QMetaType::UChar:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::Long:
        case QMetaType::ULong:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
            return value.toLongLong();
        case QMetaType::Float:
        case QMetaType::Double:
            return value.toDouble();
        case QMetaType::QString:
        case QMetaType::QByteArray:
            return value;
        case QMetaType::QDateTime: {
            // Property-list dates hold whole seconds.
            const QDateTime time = value.toDateTime();
            if (!time.isValid()) return {};
            return QDateTime::fromSecsSinceEpoch(time.toSecsSinceEpoch(), Qt::UTC);
        }
        default:
            return {};
    }
}

}  // namespace

QVariant normalized(const QVariant& value) {
    return normalized(value, 1);
}

std::optional<QVariantMap> parseDictionary(const QByteArray& bytes, QString* why) {
    auto fail = [why](const char* reason) -> std::optional<QVariantMap> {
        if (why) *why = QString::fromLatin1(reason);
        return std::nullopt;
    };
    if (bytes.isEmpty()) return fail("the file is empty");
    // Bytes that would take libplist deeper or further than is safe never reach it.
    if (const QString problem = shapeProblem(bytes); !problem.isEmpty()) {
        if (why) *why = problem;
        return std::nullopt;
    }
    plist_t root = nullptr;
    plist_from_memory(bytes.constData(), static_cast<uint32_t>(bytes.size()), &root);
    const Owned owner(root);
    if (!root) return fail("it is not a property list");
    if (plist_get_node_type(root) != PLIST_DICT) return fail("its root is not a dictionary");
    // libplist reads dictionary keys only through a getter that asserts (and so aborts the
    // program) when a key's stored length runs past a NUL, which a binary list can declare. Its
    // XML form cannot: a binary list is walked as the XML it writes, read back. Should that not
    // read, the binary tree is walked as it is.
    if (bytes.startsWith("bplist")) {
        char* xml = nullptr;
        uint32_t length = 0;
        plist_to_xml(root, &xml, &length);
        plist_t again = nullptr;
        if (xml) plist_from_xml(xml, length, &again);
        plist_to_xml_free(xml);
        const Owned againOwner(again);
        if (again && plist_get_node_type(again) == PLIST_DICT) return fromNode(again, 1).toMap();
    }
    return fromNode(root, 1).toMap();
}

QByteArray toXml(const QVariantMap& root) {
    const Owned node(toNode(QVariant(root), 1));
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(static_cast<plist_t>(node.get()), &xml, &length);
    QByteArray bytes(xml, static_cast<qsizetype>(length));
    plist_to_xml_free(xml);
    return bytes;
}

QString typeName(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::QVariantMap:
            return QStringLiteral("dictionary");
        case QMetaType::QVariantList:
            return QStringLiteral("array");
        case QMetaType::LongLong:
            return QStringLiteral("integer");
        case QMetaType::Double:
            return QStringLiteral("real");
        case QMetaType::Bool:
            return QStringLiteral("boolean");
        case QMetaType::QString:
            return QStringLiteral("string");
        case QMetaType::QByteArray:
            return QStringLiteral("data");
        case QMetaType::QDateTime:
            return QStringLiteral("date");
        default:
            return QString::fromLatin1(value.typeName());
    }
}

}  // namespace orvella::settings::plist
