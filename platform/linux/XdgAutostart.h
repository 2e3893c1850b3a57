#pragma once
// The login item as an XDG autostart entry: $XDG_CONFIG_HOME/autostart/orvella.desktop
// (~/.config when the variable is unset), which desktop sessions start at login. Switching it off
// removes the entry.

#include <QString>
#include <QStringList>

#include "platform/LoginItem.h"

namespace orvella::linuxplatform {

class XdgAutostart final : public platform::LoginItem {
  public:
    // The entry starts `program` with `arguments`; `path` empty: the default place.
    explicit XdgAutostart(const QString& program = QStringLiteral("orvella"),
                          const QStringList& arguments = {}, const QString& path = QString());

    static QString defaultPath();
    const QString& path() const { return path_; }

    bool setEnabled(bool enabled) override;
    // True when the entry exists and is not hidden.
    bool isEnabled() const override;

    // The entry's text.
    QByteArray desktopEntry() const;

  private:
    QString path_;
    QString exec_;
};

}  // namespace orvella::linuxplatform
