#include "packaging/l10n/EntryLocalizer.h"

#include <gtest/gtest.h>

using orvella::packaging::EntryFormat;
using orvella::packaging::EntryTexts;
using orvella::packaging::localizeEntry;

namespace {

EntryTexts sampleTexts() {
    EntryTexts texts;
    texts.defaults = {
        {"CFBundleName", "Orvella"}, {"Comment", "Adjust webcams"}, {"VERSION", "1.2"}};
    texts.localized["pt_BR"] = {{"Comment", "Ajustar webcams"}};
    texts.localized["de"] = {{"CFBundleName", "Orvella"}, {"Comment", "Webcams einstellen"}};
    return texts;
}

TEST(EntryLocalizer, OneLinePerTranslatingLocaleAfterTheDefaultEscapedForTheFormat) {
    EntryTexts escapes;
    escapes.defaults = {{"Comment", " two\nlines\\ and\ttab"}};
    escapes.localized["de"] = {{"Comment", "a\rb"}};
    EntryTexts french = sampleTexts();
    french.localized["fr"] = {{"Comment", "Réglages & <webcam>"}};
    struct Case {
        QString input;
        EntryFormat format;
        EntryTexts texts;
        QString expected;
    };
    const Case cases[] = {
        {"[Desktop Entry]\nName=@CFBundleName@\nComment=@Comment@\nIcon=x\n", EntryFormat::Desktop,
         sampleTexts(),
         "[Desktop Entry]\n"
         "Name=Orvella\nName[de]=Orvella\n"
         "Comment=Adjust webcams\nComment[de]=Webcams einstellen\nComment[pt_BR]=Ajustar webcams\n"
         "Icon=x\n"},
        // Desktop values escape a leading blank, line ends, backslashes and tabs.
        {"Comment=@Comment@", EntryFormat::Desktop, escapes,
         "Comment=\\stwo\\nlines\\\\ and\\ttab\nComment[de]=a\\rb"},
        // Metainfo elements get xml:lang and escaped texts.
        {"<component>\n  <name>@CFBundleName@</name>\n  <summary>@Comment@</summary>\n"
         "  <release version=\"@VERSION@\"/>\n</component>",
         EntryFormat::Metainfo, french,
         "<component>\n"
         "  <name>Orvella</name>\n  <name xml:lang=\"de\">Orvella</name>\n"
         "  <summary>Adjust webcams</summary>\n"
         "  <summary xml:lang=\"de\">Webcams einstellen</summary>\n"
         "  <summary xml:lang=\"fr\">Réglages &amp; &lt;webcam&gt;</summary>\n"
         "  <summary xml:lang=\"pt_BR\">Ajustar webcams</summary>\n"
         "  <release version=\"1.2\"/>\n</component>"},
        // A line mixing keys falls back on the default for the ones a locale lacks.
        {"Comment=@CFBundleName@: @Comment@", EntryFormat::Desktop, sampleTexts(),
         "Comment=Orvella: Adjust webcams\nComment[de]=Orvella: Webcams einstellen\n"
         "Comment[pt_BR]=Orvella: Ajustar webcams"},
    };
    for (const Case& c : cases) {
        QString output, error;
        EXPECT_TRUE(localizeEntry(c.input, c.format, c.texts, output, error)) << qPrintable(error);
        EXPECT_EQ(output, c.expected);
    }
}

TEST(EntryLocalizer, TemplatesItCannotFillAreErrors) {
    QString output, error;
    EXPECT_FALSE(
        localizeEntry("a\nName=@Nmae@", EntryFormat::Desktop, sampleTexts(), output, error));
    EXPECT_EQ(error, "line 2: no text for @Nmae@");

    EXPECT_FALSE(localizeEntry("text @Comment@ outside an element", EntryFormat::Metainfo,
                               sampleTexts(), output, error));
    EXPECT_TRUE(error.startsWith("line 1:")) << qPrintable(error);

    EXPECT_FALSE(
        localizeEntry("Name[de]=@Comment@", EntryFormat::Desktop, sampleTexts(), output, error));

    // Addresses and other at-signs are not placeholders.
    EXPECT_TRUE(localizeEntry("<email>dev@orvella.org</email>", EntryFormat::Metainfo,
                              sampleTexts(), output, error));
    EXPECT_EQ(output, "<email>dev@orvella.org</email>");
}

}  // namespace
