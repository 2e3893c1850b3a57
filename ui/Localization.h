#pragma once
// The localized string table: every visible text is looked up by its key in the context
// "Localizable" of the installed translation; a key without a text shows the key itself. Name
// formats take the application's name, itself the "CFBundleName" text of the context "InfoPlist".

#include <QString>
#include <QStringList>

class QTranslator;

namespace orvella::ui {

// The text of a key ("Exposure", "SaveNewProfile", ...); the key itself when it has none.
QString localized(const char* key);
QString localized(const QString& key);

// A text without its mnemonic marker ("&Auto" -> "Auto", "自動(&A)" -> "自動"; "&&" stays a
// literal "&"), for the
// elements that show a key's text as a plain label, such as segments.
QString withoutMnemonic(const QString& text);

// The application's name as the user's language gives it ("Orvella").
QString applicationName();

// The text of a key used as a format with one argument: the text's "%1" is replaced by `argument`;
// a text without a placeholder is returned unchanged.
QString localizedFormat(const char* key, const QString& argument);

// A name format: the key's text with the application's name as its argument.
QString nameFormat(const char* key);

// The keys whose texts are formats taking the application's name.
const QStringList& nameFormatKeys();

// Every key the interface and the dialogs look up, in the order of the string table.
const QStringList& localizationKeys();

// The locales that have a string table ("en", "de", "fr", "es", "it", "pt_BR", "ja", "zh_CN").
const QStringList& availableLocales();

// The user's languages in order of preference, from the environment much as gettext reads it: the
// entries of LANGUAGE, then the first of LC_ALL, LC_MESSAGES and LANG ("de_DE.UTF-8" -> "de_DE").
// Unlike gettext, LANGUAGE is taken under the C and POSIX locales too.
QStringList userLanguages();

// The string table for a list of languages in order of preference ("de_AT", "pt", "zh_CN"): the
// first that has one, matched by language and region, then by language alone; "en" when none.
QString chooseLocale(const QStringList& languages);

// Installs the string table that best matches the user's languages, falling back to English.
// Returns the locale chosen. The translator is owned by the application.
QString installTranslation();
// Installs the string table of one locale ("de", "pt_BR"); false when there is none.
bool installTranslation(const QString& locale);

}  // namespace orvella::ui
