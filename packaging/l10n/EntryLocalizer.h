#pragma once

#include <QMap>
#include <QString>

namespace orvella::packaging {

// The texts that a desktop entry or metainfo template names as @KEY@: one text per key in the
// default language, and, per locale, the keys that locale translates.
struct EntryTexts {
    QMap<QString, QString> defaults;
    QMap<QString, QMap<QString, QString>> localized;  // locale -> key -> text
};

enum class EntryFormat { Desktop, Metainfo };

// Fills a template. Every line holding @KEY@ placeholders is written with the default texts;
// after it comes one line per locale that translates one of its keys: `Key[de]=...` in a desktop
// entry, the line's first element with xml:lang="de" in a metainfo file. Substituted texts are
// escaped for the format. On a placeholder without a default, or a metainfo line that does not
// begin with an element but holds a translated key, returns false with a reason in `error`.
bool localizeEntry(const QString& templateText, EntryFormat format, const EntryTexts& texts,
                   QString& output, QString& error);

}  // namespace orvella::packaging
