#include "ui/Localization.h"

#include <QCoreApplication>
#include <QFile>
#include <QLocale>
#include <QPointer>
#include <QTranslator>

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
    static const QStringList keys = {
        "About",      "Quit",        "Control_Panel_Title", "Launch_App_at_Login", "Hide_Panel",
        "Show_Panel", "PopOverText", "ReadIntervalInfoWS",  "WriteIntervalInfo"};
    return keys;
}

const QStringList& localizationKeys() {
    static const QStringList keys = {
        // Status menu, panel, tabs and boxes.
        "About", "Quit", "UseBWMenuIcon", "Control_Panel_Title", "Exposure", "Auto_Exposure_Mode",
        "Manual", "Auto", "Shutter_Priority", "Aperture_Priority", "White_Balance_Temperature",
        "Power_Line_Frequency", "Disabled", "50_Hz", "60_Hz", "Backlight_Compensation", "Startup",
        "Launch_App_at_Login", "Reset_to_Default", "Basic", "Advanced", "Focus", "PanTilt", "LED",
        "On", "Off", "ManageProfile", "CameraDefault", "SaveNewProfile", "UpdateProfile",
        "DeleteProfile", "LoadAtStart", "Preferences", "UpdateSlider", "ReconfigureWebcam",
        "Webcam", "Profile", "HideMenuBarIcon",
        // The reminder popover.
        "PopOverText", "DisableNotification",
        // Control rows.
        "Exposure_Time", "Gain", "Aperture", "Brightness", "Contrast", "Hue", "Saturation",
        "Sharpness", "Gamma", "Zoom", "Pan", "Tilt", "NoiseReduction",
        // Show/hide menu item.
        "Hide_Panel", "Show_Panel",
        // Profile dialogs and the interval explanations.
        "SaveBtn", "CancelBtn", "SaveCurrentSettingsInfo", "ProfileName", "ProfileConfilict",
        "OKBtn", "ProfileConfilictInfo", "DeleteBtn", "DeleteSavedSettingsInfo",
        "ReadIntervalInfoWS", "WriteIntervalInfo",
        // Items of the two interval pop-ups, and the panel's own captions and tool tips.
        "1_Second", "2_Seconds", "5_Seconds", "10_Seconds", "Format", "FPS", "Move_Up", "Move_Down",
        "Move_Left", "Move_Right", "Move_Center", "Interval_Info", "NoCamera"};
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

QString installTranslation() {
    // uiLanguages() lists the user's choices in order, LANGUAGE first ("de-DE", "pt-BR", "zh-CN").
    for (QString language : QLocale::system().uiLanguages()) {
        language.replace(QLatin1Char('-'), QLatin1Char('_'));
        const QLocale locale(language);
        const QStringList candidates = {language,
                                        QLocale::languageToCode(locale.language()) +
                                            QLatin1Char('_') +
                                            QLocale::territoryToCode(locale.territory()),
                                        QLocale::languageToCode(locale.language())};
        for (const QString& candidate : candidates) {
            for (const QString& available : availableLocales()) {
                // Portuguese and Chinese need their region: pt_BR for every Portuguese, zh_CN for
                // Simplified Chinese.
                const bool match =
                    candidate == available ||
                    (candidate == QLatin1String("pt") && available == QLatin1String("pt_BR")) ||
                    (candidate == QLatin1String("zh") && available == QLatin1String("zh_CN") &&
                     locale.script() != QLocale::TraditionalChineseScript);
                if (match && installTranslation(available)) return available;
            }
        }
    }
    installTranslation(QStringLiteral("en"));
    return QStringLiteral("en");
}

}  // namespace orvella::ui
