// orvella-entry-l10n: fills the desktop entry or the AppStream metainfo template with the
// application's names and descriptions, translated from the Qt Linguist tables.
//
//   orvella-entry-l10n --in TEMPLATE --out FILE [--context NAME] [--default KEY=TEXT]... [TS]...
//
// The format follows the template's name (".desktop" or ".xml"). Each @KEY@ of the template gets
// the default TEXT; each table orvella_<locale>.ts that translates KEY in the context (default
// "InfoPlist") adds a localized line. The table of "en" replaces the defaults instead.
#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>
#include <QStringList>
#include <cstdio>

#include "packaging/l10n/EntryLocalizer.h"
#include "packaging/l10n/LinguistTable.h"

using namespace orvella::packaging;

namespace {

int fail(const QString& message, int status = 1) {
    std::fprintf(stderr, "orvella-entry-l10n: %s\n", qPrintable(message));
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QStringList arguments = app.arguments().mid(1);
    QString input, output, context = QStringLiteral("InfoPlist");
    QStringList tables;
    EntryTexts texts;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == QStringLiteral("--in") && hasValue) {
            input = arguments[++i];
        } else if (argument == QStringLiteral("--out") && hasValue) {
            output = arguments[++i];
        } else if (argument == QStringLiteral("--context") && hasValue) {
            context = arguments[++i];
        } else if (argument == QStringLiteral("--default") && hasValue) {
            const QString pair = arguments[++i];
            const qsizetype equals = pair.indexOf(u'=');
            if (equals <= 0)
                return fail(QStringLiteral("--default wants KEY=TEXT, not '%1'").arg(pair), 2);
            texts.defaults.insert(pair.left(equals), pair.mid(equals + 1));
        } else if (argument.startsWith(u'-')) {
            return fail(QStringLiteral("unknown option or missing value: %1").arg(argument), 2);
        } else {
            tables += argument;
        }
    }
    if (input.isEmpty() || output.isEmpty())
        return fail(QStringLiteral("--in and --out are needed"), 2);
    const EntryFormat format =
        input.contains(QStringLiteral(".desktop")) ? EntryFormat::Desktop : EntryFormat::Metainfo;

    for (const QString& path : tables) {
        const QString locale = localeOfTableFile(path);
        if (locale.isEmpty()) {
            std::fprintf(stderr, "orvella-entry-l10n: %s: no locale in the file name, skipped\n",
                         qPrintable(path));
            continue;
        }
        LinguistTable table;
        QString error;
        if (!readLinguistTable(path, context, table, error)) return fail(error);
        QMap<QString, QString> found;
        for (auto key = texts.defaults.cbegin(); key != texts.defaults.cend(); ++key)
            if (table.translations.contains(key.key()))
                found.insert(key.key(), table.translations.value(key.key()));
        if (found.isEmpty()) continue;
        if (locale == QStringLiteral("en"))
            texts.defaults.insert(found);
        else
            texts.localized.insert(locale, found);
    }

    QFile templateFile(input);
    if (!templateFile.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("%1: cannot read: %2").arg(input, templateFile.errorString()));
    QString result, error;
    if (!localizeEntry(QString::fromUtf8(templateFile.readAll()), format, texts, result, error))
        return fail(QStringLiteral("%1: %2").arg(input, error));

    QSaveFile out(output);
    if (!out.open(QIODevice::WriteOnly) || out.write(result.toUtf8()) < 0 || !out.commit())
        return fail(QStringLiteral("%1: cannot write: %2").arg(output, out.errorString()));
    return 0;
}
