#include "ui/Localization.h"

#include <QCoreApplication>
#include <QPointer>
#include <QRegularExpression>
#include <QTranslator>

#include "camera/ControlCatalog.h"

namespace orvella::ui {

namespace {

constexpr char kContext[] = "Localizable";
constexpr char kInfoContext[] = "InfoPlist";

// The translator in force; replaced when another locale is installed.
QPointer<QTranslator> gTranslator;

QString qmPath(const QString& locale) {
    return QStringLiteral(":/i18n/orvella_%1.qm").arg(locale);
}

}  // namespace

QString localized(const char* key) {
    const QString text = QCoreApplication::translate(kContext, key);
    return text.isEmpty() ? QString::fromUtf8(key) : text;
}

QString localized(const QString& key) {
    return localized(key.toUtf8().constData());
}

QString withoutMnemonic(const QString& text) {
    // Languages that write without Latin letters mark the mnemonic in brackets: "自動(&A)".
    static const QRegularExpression bracketed(QStringLiteral("\\s?\\(&[^&)]\\)"));
    if (text.contains(bracketed)) return QString(text).remove(bracketed);
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('&')) {
            if (i + 1 < text.size() && text[i + 1] == QLatin1Char('&')) out += text[++i];
            continue;
        }
        out += text[i];
    }
    return out;
}

QString applicationName() {
    const QString name = QCoreApplication::translate(kInfoContext, "CFBundleName");
    return name == QLatin1String("CFBundleName") || name.isEmpty() ? QStringLiteral("Orvella")
                                                                   : name;
}

QString localizedFormat(const char* key, const QString& argument) {
    const QString text = localized(key);
    if (!text.contains(QLatin1String("%1"))) return text;
    return text.arg(argument);
}

QString nameFormat(const char* key) {
    return localizedFormat(key, applicationName());
}

const QStringList& nameFormatKeys() {
    static const QStringList keys = {"About",
                                     "Quit",
                                     "Control_Panel_Title",
                                     "Launch_App_at_Login",
                                     "Hide_Panel",
                                     "Show_Panel",
                                     "PopOverText",
                                     "ReadIntervalInfoWS",
                                     "WriteIntervalInfo",
                                     "HideTrayIconInfo",
                                     "ReconfigureWebcamGuardNote"};
    return keys;
}

// The titles of the control rows, in panel order (rows inside a named box have none).
static QStringList controlRowTitles() {
    QStringList titles;
    for (const ControlDescription* row : catalog::inOrder(&ControlDescription::panelOrder))
        if (!row->panelTitle.empty())
            titles << QString::fromLatin1(row->panelTitle.data(),
                                          static_cast<qsizetype>(row->panelTitle.size()));
    return titles;
}

const QStringList& localizationKeys() {
    static const QStringList keys =
        QStringList{
            // Status menu, panel, tabs and boxes.
            "About", "Quit", "UseBWMenuIcon", "Control_Panel_Title", "Exposure",
            "Auto_Exposure_Mode", "Manual", "Auto", "Shutter_Priority", "Aperture_Priority",
            "White_Balance_Temperature", "Power_Line_Frequency", "Disabled", "50_Hz", "60_Hz",
            "Backlight_Compensation", "Startup", "Launch_App_at_Login", "Reset_to_Default", "Basic",
            "Advanced", "Focus", "PanTilt", "LED", "On", "Off", "ManageProfile", "CameraDefault",
            "SaveNewProfile", "UpdateProfile", "DeleteProfile", "LoadAtStart", "Preferences",
            "UpdateSlider", "ReconfigureWebcam", "Webcam", "Profile", "HideMenuBarIcon",
            // The reminder popover.
            "PopOverText", "DisableNotification",
            // Show/hide menu item.
            "Hide_Panel", "Show_Panel",
            // Profile dialogs and the interval explanations.
            "SaveBtn", "CancelBtn", "SaveCurrentSettingsInfo", "ProfileName", "ProfileConfilict",
            "OKBtn", "ProfileConfilictInfo", "DeleteBtn", "DeleteSavedSettingsInfo",
            "ReadIntervalInfoWS", "WriteIntervalInfo", "HideTrayIconInfo",
            // Items of the two interval pop-ups, and the panel's own captions and tool tips.
            "Interval_Off", "1_Second", "2_Seconds", "5_Seconds", "10_Seconds", "Format", "FPS",
            "Move_Up", "Move_Down", "Move_Left", "Move_Right", "Move_Center", "Interval_Info",
            "NoCamera",
            // Renaming a camera (beside the camera pop-up).
            "RenameCamera", "RenameCameraTitle", "RenameCameraInfo", "CameraName",
            // The panel without a camera (the controller's banner).
            "NoCameraFound", "AddDemoCamera",
            // The settings guard on the Preferences tab.
            "OtherPrograms", "KeepMySettings", "GuardSettleTime", "Wait_1_Second", "Wait_2_Seconds",
            "Wait_5_Seconds", "ReconfigureWebcamGuardNote",
            // Who changed the camera (ui/WhoChanged.h).
            "AnotherProgram", "AnotherUsersProgram", "SecondsAgo", "MinutesAgo",
            "WhoChangedControls", "WhoChangedOneControl", "WhoOpenedCamera", "WhoGotProfile",
            "WhoLetGo", "ChromiumPipeWireNote", "DismissNote", "LookLocked", "LookNotStuck",
            "NothingToLock",
            // The "All controls" tab: its title, groups, and the names of the standard controls
            // beyond the rows (camera/ControlCatalogExtra.cpp), looked up by their keys.
            "AllControls", "CameraGroup", "ImageGroup", "VendorGroup", "NoMoreControls",
            "UnknownExtensionUnit", "ScanningMode", "ExposureTimeRelative", "FocusRelative",
            "IrisAbsolute", "ZoomRelative", "PanRelative", "TiltRelative", "RollAbsolute",
            "RollRelative", "Privacy", "FocusSimple", "DigitalWindow", "RegionOfInterest",
            "WhiteBalanceBlue", "WhiteBalanceRed", "HueAuto", "WhiteBalanceComponentAuto",
            "DigitalMultiplier", "DigitalMultiplierLimit", "AnalogVideoStandard",
            "AnalogVideoLockStatus", "ContrastAuto"} +
        controlRowTitles();
    return keys;
}

const QStringList& availableLocales() {
    static const QStringList locales = {"en", "de", "fr", "es", "it", "pt_BR", "ja", "zh_CN"};
    return locales;
}

bool installTranslation(const QString& locale) {
    auto translator = new QTranslator(QCoreApplication::instance());
    if (!translator->load(qmPath(locale))) {
        delete translator;
        return false;
    }
    if (gTranslator) {
        QCoreApplication::removeTranslator(gTranslator);
        delete gTranslator;
    }
    QCoreApplication::installTranslator(translator);
    gTranslator = translator;
    return true;
}

QStringList userLanguages() {
    QStringList languages;
    const auto clean = [](QString value) {
        value = value.section(QLatin1Char('.'), 0, 0).section(QLatin1Char('@'), 0, 0);
        return value.trimmed();
    };
    QString locale;
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        locale = clean(qEnvironmentVariable(variable));
        if (!locale.isEmpty()) break;
    }
    // LANGUAGE comes first, even under the plain C locale (where gettext would ignore it): a
    // desktop session or container often has LANG=C.UTF-8, and LANGUAGE=de alone should still
    // choose German. An entry without a table falls through to the next, then to the locale.
    for (const QString& entry : qEnvironmentVariable("LANGUAGE").split(QLatin1Char(':')))
        if (!clean(entry).isEmpty()) languages << clean(entry);
    if (!locale.isEmpty()) languages << locale;
    return languages;
}

QString chooseLocale(const QStringList& languages) {
    for (QString language : languages) {
        language.replace(QLatin1Char('-'), QLatin1Char('_'));
        const QString base = language.section(QLatin1Char('_'), 0, 0);
        if (availableLocales().contains(language)) return language;
        // Portuguese speakers get the Brazilian table, Chinese ones the simplified one unless
        // they ask for the traditional script's regions.
        if (base == QLatin1String("pt")) return QStringLiteral("pt_BR");
        if (base == QLatin1String("zh")) {
            static const QStringList traditional = {"zh_TW", "zh_HK", "zh_MO", "zh_Hant"};
            if (traditional.contains(language)) continue;
            return QStringLiteral("zh_CN");
        }
        if (availableLocales().contains(base)) return base;
    }
    return QStringLiteral("en");
}

QString installTranslation() {
    const QString locale = chooseLocale(userLanguages());
    if (installTranslation(locale)) return locale;
    installTranslation(QStringLiteral("en"));
    return QStringLiteral("en");
}

}  // namespace orvella::ui
