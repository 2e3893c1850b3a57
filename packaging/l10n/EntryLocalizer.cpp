#include "packaging/l10n/EntryLocalizer.h"

#include <QRegularExpression>
#include <QStringList>

namespace orvella::packaging {
namespace {

const QRegularExpression& placeholderPattern() {
    static const QRegularExpression pattern(QStringLiteral("@([A-Za-z][A-Za-z0-9_]*)@"));
    return pattern;
}

// Desktop entry values: backslash, control characters and a leading space are escaped, as the
// freedesktop.org desktop-entry format asks of its string values.
QString escapeDesktop(const QString& text) {
    QString out;
    for (const QChar c : text) {
        if (c == u'\\')
            out += QStringLiteral("\\\\");
        else if (c == u'\n')
            out += QStringLiteral("\\n");
        else if (c == u'\t')
            out += QStringLiteral("\\t");
        else if (c == u'\r')
            out += QStringLiteral("\\r");
        else
            out += c;
    }
    if (out.startsWith(u' ')) out.replace(0, 1, QStringLiteral("\\s"));
    return out;
}

QString escapeXml(const QString& text) {
    return text.toHtmlEscaped();
}

// Replaces the placeholders of `line` with the texts of `locale` (falling back to the
// defaults); returns false when a placeholder has no default.
bool substitute(const QString& line, const QMap<QString, QString>& defaults,
                const QMap<QString, QString>* locale, EntryFormat format, QString& out,
                QString& missing) {
    out.clear();
    qsizetype last = 0;
    auto it = placeholderPattern().globalMatch(line);
    while (it.hasNext()) {
        const auto match = it.next();
        const QString key = match.captured(1);
        if (!defaults.contains(key)) {
            missing = key;
            return false;
        }
        const QString text =
            locale && locale->contains(key) ? locale->value(key) : defaults.value(key);
        out += line.mid(last, match.capturedStart() - last);
        out += format == EntryFormat::Desktop ? escapeDesktop(text) : escapeXml(text);
        last = match.capturedEnd();
    }
    out += line.mid(last);
    return true;
}

// Whether `locale` translates one of the placeholders of `line`.
bool translatesLine(const QString& line, const QMap<QString, QString>& locale) {
    auto it = placeholderPattern().globalMatch(line);
    while (it.hasNext())
        if (locale.contains(it.next().captured(1))) return true;
    return false;
}

// The localized form of a filled line: "Name=X" -> "Name[de]=X"; "  <name>X</name>" ->
// "  <name xml:lang="de">X</name>". Empty when the line has no place for a locale.
QString markLocale(const QString& filled, const QString& locale, EntryFormat format) {
    if (format == EntryFormat::Desktop) {
        const qsizetype equals = filled.indexOf(u'=');
        if (equals <= 0 || filled.left(equals).contains(u'[')) return {};
        const QString key = filled.left(equals).trimmed();
        return key + u'[' + locale + u']' + filled.mid(equals);
    }
    static const QRegularExpression element(QStringLiteral("^(\\s*<[A-Za-z_][\\w.-]*)"));
    const auto match = element.match(filled);
    if (!match.hasMatch()) return {};
    QString out = filled;
    out.insert(match.capturedEnd(), QStringLiteral(" xml:lang=\"%1\"").arg(escapeXml(locale)));
    return out;
}

}  // namespace

bool localizeEntry(const QString& templateText, EntryFormat format, const EntryTexts& texts,
                   QString& output, QString& error) {
    output.clear();
    const QStringList lines = templateText.split(u'\n');
    QStringList out;
    for (qsizetype index = 0; index < lines.size(); ++index) {
        const QString& line = lines[index];
        QString filled;
        QString missing;
        if (!substitute(line, texts.defaults, nullptr, format, filled, missing)) {
            error = QStringLiteral("line %1: no text for @%2@").arg(index + 1).arg(missing);
            return false;
        }
        out += filled;
        if (!placeholderPattern().match(line).hasMatch()) continue;
        for (auto locale = texts.localized.cbegin(); locale != texts.localized.cend(); ++locale) {
            if (!translatesLine(line, locale.value())) continue;
            QString translated;
            substitute(line, texts.defaults, &locale.value(), format, translated, missing);
            const QString marked = markLocale(translated, locale.key(), format);
            if (marked.isEmpty()) {
                error = QStringLiteral(
                            "line %1: a translated line must be KEY=VALUE in a desktop "
                            "entry or begin with an element in a metainfo file")
                            .arg(index + 1);
                return false;
            }
            out += marked;
        }
    }
    output = out.join(u'\n');
    return true;
}

}  // namespace orvella::packaging
