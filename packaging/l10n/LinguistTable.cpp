#include "packaging/l10n/LinguistTable.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QXmlStreamReader>

namespace orvella::packaging {
namespace {

// A translation counts when a translator finished it: Linguist marks the others with a type.
bool isFinished(const QXmlStreamAttributes& attributes) {
    const auto type = attributes.value(QStringLiteral("type"));
    return type.isEmpty() || type == QStringLiteral("finished");
}

struct Message {
    QString source;
    QString translation;
    bool finished = false;
    bool hasTranslation = false;
};

// Reads one <message> element; the reader stands on its start tag.
Message readMessage(QXmlStreamReader& xml) {
    Message message;
    while (xml.readNextStartElement()) {
        if (xml.name() == QStringLiteral("source")) {
            message.source = xml.readElementText();
        } else if (xml.name() == QStringLiteral("translation")) {
            message.finished = isFinished(xml.attributes());
            message.hasTranslation = true;
            // A plural message keeps its forms in <numerusform> children; the first one is
            // the singular, which is what a name or a comment needs.
            QString text;
            bool sawForm = false;
            while (!xml.atEnd()) {
                const auto token = xml.readNext();
                if (token == QXmlStreamReader::EndElement) break;  // </translation>
                if (token == QXmlStreamReader::Characters && !sawForm) {
                    text += xml.text();
                } else if (token == QXmlStreamReader::StartElement) {
                    const bool form = xml.name() == QStringLiteral("numerusform") ||
                                      xml.name() == QStringLiteral("lengthvariant");
                    const QString inner =
                        xml.readElementText(QXmlStreamReader::IncludeChildElements);
                    if (form && !sawForm) {
                        text = inner;
                        sawForm = true;
                    }
                }
            }
            message.translation = text;
        } else {
            xml.skipCurrentElement();
        }
    }
    return message;
}

}  // namespace

bool readLinguistTable(const QString& path, const QString& context, LinguistTable& table,
                       QString& error) {
    table = {};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("%1: cannot read: %2").arg(path, file.errorString());
        return false;
    }
    QXmlStreamReader xml(&file);
    if (!xml.readNextStartElement() || xml.name() != QStringLiteral("TS")) {
        error =
            xml.hasError()
                ? QStringLiteral("%1:%2: %3").arg(path).arg(xml.lineNumber()).arg(xml.errorString())
                : QStringLiteral("%1: not a Qt Linguist file (no TS element)").arg(path);
        return false;
    }
    table.language = xml.attributes().value(QStringLiteral("language")).toString();
    while (xml.readNextStartElement()) {
        if (xml.name() != QStringLiteral("context")) {
            xml.skipCurrentElement();
            continue;
        }
        QString name;
        QHash<QString, QString> found;
        while (xml.readNextStartElement()) {
            if (xml.name() == QStringLiteral("name")) {
                name = xml.readElementText();
            } else if (xml.name() == QStringLiteral("message")) {
                const Message message = readMessage(xml);
                if (message.hasTranslation && message.finished && !message.translation.isEmpty())
                    found.insert(message.source, message.translation);
            } else {
                xml.skipCurrentElement();
            }
        }
        // A context may appear more than once in a file; later entries win, as in lrelease.
        if (name == context) table.translations.insert(found);
    }
    if (xml.hasError()) {
        error = QStringLiteral("%1:%2: %3").arg(path).arg(xml.lineNumber()).arg(xml.errorString());
        table = {};
        return false;
    }
    return true;
}

QString localeOfTableFile(const QString& path) {
    static const QRegularExpression pattern(
        QStringLiteral("^[^_]+_([a-z]{2,3}(?:_[A-Z]{2})?(?:@[a-z]+)?)\\.ts$"));
    const auto match = pattern.match(QFileInfo(path).fileName());
    return match.hasMatch() ? match.captured(1) : QString();
}

}  // namespace orvella::packaging
