#pragma once

#include <QHash>
#include <QString>

namespace orvella::packaging {

// The finished translations of one context of a Qt Linguist table (.ts), keyed by source text.
// Unfinished, obsolete and vanished entries and empty translations are left out, so a lookup
// misses exactly where a translator has not yet given a text.
struct LinguistTable {
    QString language;                      // the TS element's language attribute, may be empty
    QHash<QString, QString> translations;  // source text -> translation
};

// Reads the messages of `context` from the .ts file at `path`. On failure returns false and
// puts a one-line reason ("FILE:LINE: what") into `error`.
bool readLinguistTable(const QString& path, const QString& context, LinguistTable& table,
                       QString& error);

// The locale a table's file name stands for: "orvella_pt_BR.ts" -> "pt_BR". Empty when the
// name does not have the form PREFIX_<locale>.ts with a locale such as de, pt_BR or sr@latin.
QString localeOfTableFile(const QString& path);

}  // namespace orvella::packaging
