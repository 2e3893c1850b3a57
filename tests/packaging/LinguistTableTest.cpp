#include "packaging/l10n/LinguistTable.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

using orvella::packaging::LinguistTable;
using orvella::packaging::localeOfTableFile;
using orvella::packaging::readLinguistTable;

namespace {

const QString kFixtures = QStringLiteral(ORVELLA_FIXTURES_DIR "/translations");

class LinguistTableTest : public ::testing::Test {
  protected:
    QString write(const QByteArray& content) {
        const QString path = dir.filePath(QStringLiteral("orvella_xx.ts"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(content);
        return path;
    }
    QTemporaryDir dir;
};

TEST_F(LinguistTableTest, ReadsOnlyTheFinishedMessagesOfTheNamedContext) {
    LinguistTable table;
    QString error;
    ASSERT_TRUE(readLinguistTable(kFixtures + "/orvella_de.ts", "InfoPlist", table, error))
        << qPrintable(error);
    EXPECT_EQ(table.language, "de_DE");
    EXPECT_EQ(table.translations.size(), 3);
    // The same source text in another context does not leak in.
    EXPECT_EQ(table.translations.value("Comment"),
              "Bildregler von USB-Webcams einstellen und behalten");

    ASSERT_TRUE(readLinguistTable(kFixtures + "/orvella_fr.ts", "InfoPlist", table, error));
    EXPECT_EQ(table.translations.value("GenericName"), QString::fromUtf8("Réglages & webcam"));
    EXPECT_FALSE(table.translations.contains("Comment"));  // unfinished

    ASSERT_TRUE(readLinguistTable(kFixtures + "/orvella_pt_BR.ts", "InfoPlist", table, error));
    EXPECT_FALSE(table.translations.contains("GenericName"));  // obsolete

    ASSERT_TRUE(readLinguistTable(kFixtures + "/orvella_de.ts", "Missing", table, error));
    EXPECT_TRUE(table.translations.isEmpty());
}

TEST_F(LinguistTableTest, PluralFormsEmptyTextsAndRepeatedContexts) {
    const QString path = write(R"(<?xml version="1.0" encoding="utf-8"?>
<TS version="2.1">
<context><name>InfoPlist</name>
  <message numerus="yes"><source>CFBundleName</source>
    <translation><numerusform>Eine</numerusform><numerusform>Viele</numerusform></translation></message>
  <message><source>GenericName</source><translation></translation></message>
  <message><source>Comment</source><comment>ignored</comment><translation>Erste</translation></message>
</context>
<context><name>InfoPlist</name>
  <message><source>Comment</source><translation type="vanished">Weg</translation></message>
  <message><source>Keywords</source><translation>Zweite</translation></message>
</context>
</TS>
)");
    LinguistTable table;
    QString error;
    ASSERT_TRUE(readLinguistTable(path, "InfoPlist", table, error)) << qPrintable(error);
    EXPECT_EQ(table.translations.value("CFBundleName"), "Eine");
    EXPECT_FALSE(table.translations.contains("GenericName"));
    EXPECT_EQ(table.translations.value("Comment"), "Erste");
    EXPECT_EQ(table.translations.value("Keywords"), "Zweite");
}

TEST_F(LinguistTableTest, BrokenFilesAreErrorsThatNameTheFileAndLine) {
    LinguistTable table;
    QString error;
    const QString truncated =
        write("<TS version=\"2.1\">\n<context><name>InfoPlist</name>\n<message>");
    EXPECT_FALSE(readLinguistTable(truncated, "InfoPlist", table, error));
    EXPECT_TRUE(error.startsWith(truncated + ":")) << qPrintable(error);
    EXPECT_TRUE(table.translations.isEmpty());

    const QString other = write("<html><body/></html>");
    EXPECT_FALSE(readLinguistTable(other, "InfoPlist", table, error));
    EXPECT_TRUE(error.contains("not a Qt Linguist file")) << qPrintable(error);

    EXPECT_FALSE(readLinguistTable(dir.filePath("absent.ts"), "InfoPlist", table, error));
    EXPECT_TRUE(error.contains("cannot read")) << qPrintable(error);
}

TEST(LocaleOfTableFile, TakesTheLocaleFromTheFileName) {
    EXPECT_EQ(localeOfTableFile("/x/orvella_de.ts"), "de");
    EXPECT_EQ(localeOfTableFile("orvella_pt_BR.ts"), "pt_BR");
    EXPECT_EQ(localeOfTableFile("orvella_zh_CN.ts"), "zh_CN");
    EXPECT_EQ(localeOfTableFile("orvella_sr@latin.ts"), "sr@latin");
    EXPECT_EQ(localeOfTableFile("orvella_ast.ts"), "ast");
    EXPECT_EQ(localeOfTableFile("orvella.ts"), "");
    EXPECT_EQ(localeOfTableFile("orvella_DE.ts"), "");
    EXPECT_EQ(localeOfTableFile("orvella_de.qm"), "");
    EXPECT_EQ(localeOfTableFile("orvella_de_de.ts"), "");
}

}  // namespace
