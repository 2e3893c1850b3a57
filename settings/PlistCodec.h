#pragma once
// Property lists <-> Qt values, through libplist. The value representation used by the defaults
// store and by every settings record:
//   dictionary -> QVariantMap (keys sorted, so what is written is the same for the same content)
//   array      -> QVariantList
//   integer    -> qint64        boolean -> bool          real -> double
//   string     -> QString       data    -> QByteArray    date -> QDateTime (UTC, whole seconds)
// Reading accepts XML and binary property lists; writing produces XML.

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <optional>

namespace orvella::settings::plist {

// The dictionary at the root of `bytes`; nullopt when the bytes are not a property list, the
// root is not a dictionary, or the bytes are beyond the limits of settings/PlistShape.h (size,
// nesting, values), with the reason in *why.
std::optional<QVariantMap> parseDictionary(const QByteArray& bytes, QString* why);

// The XML property list of `root`. Values that have no property-list form (an invalid QVariant,
// an object) are left out, and so are containers nested deeper than kMaxDepth (logged).
QByteArray toXml(const QVariantMap& root);

// The property-list name of a value's type ("dictionary", "array", "integer", "real",
// "boolean", "string", "data", "date"), for messages about values of an unexpected type.
QString typeName(const QVariant& value);

// `value` in the representation above: every integer type becomes qint64, float double, string
// lists and hashes become lists and maps, recursively. Values with no property-list form become
// an invalid QVariant.
QVariant normalized(const QVariant& value);

}  // namespace orvella::settings::plist
