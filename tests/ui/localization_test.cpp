// The string tables: every key the interface uses has a text in every language, the name formats
// take the application's name, the profile dialogs' three messages can be told apart, and the
// language follows the user's environment.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QRegularExpression>
#include <QSet>
#include <QTabWidget>
#include <QTranslator>

#include "UiRig.h"
#include "ui/ControlPanel.h"
#include "ui/ControlPanelOutlets.h"
#include "ui/Localization.h"
#include "ui/SegmentedControl.h"

namespace orvella::ui {
namespace {

// Every key the interface's sources look up: the calls of the localization functions, the row
// titles, and the placeholder texts of the interface files (which are keys), plus the keys the
// other parts look up through localizationKeys().
QSet<QString> keysUsedInSources() {
    QSet<QString> keys(localizationKeys().begin(), localizationKeys().end());
    const QDir dir(QStringLiteral(ORVELLA_UI_SOURCE_DIR));
    const QRegularExpression call(
        QStringLiteral(R"re((?:localized|nameFormat|localizedFormat)\("([^"]+)")re"));
    const QRegularExpression rowTitle(QStringLiteral(R"re(SettingsID::k\w+,\s*"([A-Za-z_]+)")re"));
    for (const QString& name : dir.entryList({"*.cpp"}, QDir::Files)) {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        const QString text = QString::fromUtf8(file.readAll());
        for (const auto& re : {call, rowTitle})
            for (auto it = re.globalMatch(text); it.hasNext();)
                keys.insert(it.next().captured(1));
    }
    const QRegularExpression uiText(
        QStringLiteral(R"re(<string>([A-Za-z][A-Za-z0-9_]*)</string>)re"));
    for (const QString& name : dir.entryList({"*.ui"}, QDir::Files)) {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        const QString text = QString::fromUtf8(file.readAll());
        for (auto it = uiText.globalMatch(text); it.hasNext();)
            keys.insert(it.next().captured(1));
    }
    return keys;
}

class Localization : public ::testing::Test {
  protected:
    void TearDown() override { installTranslation(QStringLiteral("en")); }
};

TEST_F(Localization, EveryKeyUsedHasATextInEveryLanguage) {
    const QSet<QString> keys = keysUsedInSources();
    ASSERT_GT(keys.size(), 70);
    for (const QString& locale : availableLocales()) {
        QTranslator table;
        ASSERT_TRUE(table.load(QStringLiteral(":/i18n/orvella_%1.qm").arg(locale)))
            << locale.toStdString();
        for (const QString& key : keys) {
            const QString text = table.translate("Localizable", key.toUtf8().constData());
            EXPECT_FALSE(text.isEmpty())
                << locale.toStdString() << ": no text for \"" << key.toStdString() << "\"";
        }
        for (const char* key : {"CFBundleName", "GenericName", "Comment"})
            EXPECT_FALSE(table.translate("InfoPlist", key).isEmpty()) << locale.toStdString();
        EXPECT_EQ(table.translate("InfoPlist", "CFBundleName"), "Orvella");

        // The profile dialogs are told apart by their message texts.
        const QString save = table.translate("Localizable", "SaveNewProfile");
        const QString remove = table.translate("Localizable", "DeleteProfile");
        const QString conflict = table.translate("Localizable", "ProfileConfilict");
        EXPECT_NE(save, remove) << locale.toStdString();
        EXPECT_NE(save, conflict) << locale.toStdString();
        EXPECT_NE(remove, conflict) << locale.toStdString();

        // Formats keep their one placeholder; other texts have none. The accessible names of a
        // control's parts are formats taking the control's name.
        const QStringList controlFormatKeys = {"Display_Value_Of", "Decrease_Control",
                                               "Increase_Control", "Auto_Control"};
        // The lines about other programs take several arguments, each exactly once.
        const QMap<QString, int> multiFormats = {{"SecondsAgo", 1},
                                                 {"MinutesAgo", 1},
                                                 {"WhoChangedControls", 3},
                                                 {"WhoChangedOneControl", 2},
                                                 {"WhoOpenedCamera", 2},
                                                 {"WhoGotProfile", 3},
                                                 {"WhoLetGo", 2},
                                                 {"LookNotStuck", 1},
                                                 {"ChromiumPipeWireNote", 1}};
        for (const QString& key : keys) {
            const QString text = table.translate("Localizable", key.toUtf8().constData());
            if (multiFormats.contains(key)) {
                for (int n = 1; n <= 3; ++n)
                    EXPECT_EQ(text.count(QStringLiteral("%%1").arg(n)),
                              n <= multiFormats.value(key) ? 1 : 0)
                        << locale.toStdString() << ": " << key.toStdString() << " %" << n;
                continue;
            }
            const bool isFormat =
                nameFormatKeys().contains(key) || key == QLatin1String("SaveCurrentSettingsInfo") ||
                key == QLatin1String("DeleteSavedSettingsInfo") ||
                key == QLatin1String("ProfileConfilictInfo") ||
                key == QLatin1String("RenameCameraInfo") || controlFormatKeys.contains(key);
            EXPECT_EQ(text.count(QLatin1String("%1")), isFormat ? 1 : 0)
                << locale.toStdString() << ": " << key.toStdString();
        }
    }
}

TEST_F(Localization, NameFormatsTakeTheApplicationsName) {
    ASSERT_TRUE(installTranslation(QStringLiteral("de")));
    EXPECT_EQ(applicationName(), "Orvella");
    EXPECT_EQ(nameFormat("Quit"), "Orvella beenden");
    EXPECT_EQ(localized("Auto"), "&Automatik");
    EXPECT_EQ(withoutMnemonic(localized("Auto")), "Automatik");
    EXPECT_EQ(withoutMnemonic("Save && &Quit"), "Save & Quit");
    EXPECT_EQ(withoutMnemonic(QString::fromUtf8("自動(&A)")), QString::fromUtf8("自動"));
    EXPECT_EQ(localizedFormat("DeleteSavedSettingsInfo", "Abend"),
              "Das Profil „Abend“ wird gelöscht. Das lässt sich nicht rückgängig machen.");

    // A locale without a table changes nothing.
    EXPECT_FALSE(installTranslation(QStringLiteral("none")));
    EXPECT_EQ(localized("Gain"), "Verstärkung");
    // Without a table every element shows its key, and a format without a placeholder stays.
    const auto tables = QCoreApplication::instance()->findChildren<QTranslator*>();
    for (QTranslator* table : tables)
        QCoreApplication::removeTranslator(table);
    EXPECT_EQ(localized("Gain"), "Gain");
    EXPECT_EQ(nameFormat("Quit"), "Quit");
    EXPECT_EQ(applicationName(), "Orvella");
}

TEST_F(Localization, FollowsTheUsersLanguage) {
    const QByteArray language = qgetenv("LANGUAGE"), lang = qgetenv("LANG"),
                     all = qgetenv("LC_ALL"), messages = qgetenv("LC_MESSAGES");
    qunsetenv("LC_ALL");
    qunsetenv("LC_MESSAGES");
    const struct {
        const char* language;
        const char* lang;
        const char* expected;
    } cases[] = {{"", "de_DE.UTF-8", "de"},
                 {"", "pt_BR.UTF-8", "pt_BR"},
                 {"", "pt_PT.UTF-8", "pt_BR"},
                 {"", "zh_CN.UTF-8", "zh_CN"},
                 {"", "fr_CA.UTF-8", "fr"},
                 {"ja:en", "de_DE.UTF-8", "ja"},
                 {"", "C", "en"},
                 {"", "sv_SE.UTF-8", "en"},
                 {"sv:it", "sv_SE.UTF-8", "it"},
                 {"", "es_MX.UTF-8", "es"},
                 {"zh_TW:fr", "zh_TW.UTF-8", "fr"},
                 // LANGUAGE alone chooses, also under the C locale (gettext would not).
                 {"de", "C.UTF-8", "de"},
                 {"sv:ja", "C", "ja"},
                 {"sv", "C.UTF-8", "en"}};
    for (const auto& c : cases) {
        qputenv("LANGUAGE", c.language);
        qputenv("LANG", c.lang);
        EXPECT_EQ(installTranslation(), c.expected) << c.language << " / " << c.lang;
    }
    qputenv("LANGUAGE", language);
    qputenv("LANG", lang);
    if (!all.isNull()) qputenv("LC_ALL", all);
    if (!messages.isNull()) qputenv("LC_MESSAGES", messages);
}

// Every text the panel shows, with the element it belongs to.
std::vector<std::pair<QString, QString>> visibleTexts(QWidget* root) {
    std::vector<std::pair<QString, QString>> out;
    out.push_back({root->windowTitle(), "window title"});
    for (QWidget* w : root->findChildren<QWidget*>()) {
        const QString where = w->objectName();
        if (auto b = qobject_cast<QAbstractButton*>(w)) out.push_back({b->text(), where});
        if (auto b = qobject_cast<QAbstractButton*>(w)) out.push_back({b->toolTip(), where});
        if (auto l = qobject_cast<QLabel*>(w)) out.push_back({l->text(), where});
        if (auto g = qobject_cast<QGroupBox*>(w)) out.push_back({g->title(), where});
        if (auto t = qobject_cast<QTabWidget*>(w))
            for (int i = 0; i < t->count(); ++i)
                out.push_back({t->tabText(i), where});
        if (auto c = qobject_cast<QComboBox*>(w))
            for (int i = 0; i < c->count(); ++i)
                out.push_back({c->itemText(i), where});
    }
    return out;
}

TEST_F(Localization, NoKeyShowsInThePanelInAnyLanguage) {
    const QSet<QString> keys = keysUsedInSources();
    for (const QString& locale : availableLocales()) {
        ASSERT_TRUE(installTranslation(locale));
        testing::UiCamera cam("full-pu.json");
        ControlPanel panel;
        panel.setQTCamera(cam.session());
        panel.loadSupportedControl();
        for (const auto& [text, where] : visibleTexts(panel.window())) {
            const bool untranslatedKey =
                keys.contains(text) && withoutMnemonic(localized(text)) != text;
            EXPECT_FALSE(untranslatedKey) << locale.toStdString() << ": " << where.toStdString()
                                          << " shows the key " << text.toStdString();
            EXPECT_FALSE(text.contains(QLatin1String("%1"))) << where.toStdString();
        }
    }
}

}  // namespace
}  // namespace orvella::ui
