#include "platform/linux/XdgAutostart.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <algorithm>

#include "platform/Log.h"

namespace orvella::linuxplatform {

namespace {

// An argument of an Exec line, quoted as the freedesktop desktop-entry format asks.
QString quoted(const QString& argument) {
    static const QString kReserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    const bool plain =
        !argument.isEmpty() && std::none_of(argument.cbegin(), argument.cend(),
                                            [](QChar c) { return kReserved.contains(c); });
    QString text = argument;
    // A literal percent sign is written twice in every Exec argument.
    text.replace(QLatin1Char('%'), QStringLiteral("%%"));
    if (plain) return text;
    QString escaped;
    for (QChar c : text) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$') ||
            c == QLatin1Char('\\'))
            escaped += QLatin1Char('\\');
        escaped += c;
    }
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

}  // namespace

XdgAutostart::XdgAutostart(const QString& program, const QStringList& arguments,
                           const QString& path)
    : path_(path.isEmpty() ? defaultPath() : path) {
    QStringList words{quoted(program)};
    for (const QString& argument : arguments)
        words << quoted(argument);
    exec_ = words.join(QLatin1Char(' '));
}

QString XdgAutostart::defaultPath() {
    QString config = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (config.isEmpty() || !QDir::isAbsolutePath(config))
        config = QDir::homePath() + QStringLiteral("/.config");
    return config + QStringLiteral("/autostart/orvella.desktop");
}

QByteArray XdgAutostart::desktopEntry() const {
    return QByteArrayLiteral(
               "[Desktop Entry]\n"
               "Type=Application\n"
               "Name=Orvella\n"
               "Comment=Adjust the image controls of UVC webcams\n"
               "Icon=org.orvella.Orvella\n"
               "Exec=") +
           exec_.toUtf8() +
           QByteArrayLiteral(
               "\n"
               "Terminal=false\n"
               "X-GNOME-Autostart-enabled=true\n");
}

bool XdgAutostart::setEnabled(bool enabled) {
    if (!enabled) {
        if (!QFileInfo::exists(path_) || QFile::remove(path_)) return true;
        NSLog("Launch at Login: cannot remove %s", qPrintable(path_));
        return false;
    }
    const QString directory = QFileInfo(path_).absolutePath();
    QSaveFile file(path_);
    if (!QDir().mkpath(directory) || !file.open(QIODevice::WriteOnly) ||
        file.write(desktopEntry()) < 0 || !file.commit()) {
        NSLog("Launch at Login: cannot write %s: %s", qPrintable(path_),
              qPrintable(file.errorString()));
        return false;
    }
    return true;
}

bool XdgAutostart::isEnabled() const {
    QFile file(path_);
    if (!file.open(QIODevice::ReadOnly)) return false;
    for (const QByteArray& line : file.readAll().split('\n'))
        if (line.trimmed() == "Hidden=true") return false;
    return true;
}

}  // namespace orvella::linuxplatform
