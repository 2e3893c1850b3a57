#pragma once
// The controller's part that tells the user who took a camera and what the settings guard did
// about it: the panel's line for the current camera ("chromium changed 9 controls 2 s ago —
// restored"), kept up to date every second for an hour, the tray icon's tooltip for the latest
// of all cameras, and once (until dismissed for good) the note for Chromium-family programs;
// and the Preferences tab's rules for programs, stored at once when chosen.

#include <QObject>
#include <QTimer>
#include <functional>
#include <map>

#include "app/SettingsGuard.h"

namespace orvella::settings {
class DefaultsStore;
}
namespace orvella::ui {
class ControlPanel;
class StatusBar;
}  // namespace orvella::ui

namespace orvella::app {

class CameraUsersPart final : public QObject {
    Q_OBJECT
  public:
    using CurrentCamera = std::function<CameraSession*()>;
    CameraUsersPart(ui::ControlPanel& panel, ui::StatusBar& statusBar,
                    settings::DefaultsStore& defaults, CurrentCamera current,
                    std::function<qint64()> now, QObject* parent = nullptr);

    void acted(const GuardAction& action);
    // The users the guard heard of: their programs are offered in the Preferences tab's rules.
    void seen(const std::vector<platform::CameraUser>& users);
    // The rules as stored, the programs seen and the current camera's profiles, in the tab.
    void showRules();
    // Where the profile names of the current camera's model come from.
    void setProfileNames(std::function<QStringList()> names) { profileNames_ = std::move(names); }
    // The panel shows another camera (or none).
    void refresh();
    void forget(const CameraSession* camera);

    static constexpr int kShownForMs = 60 * 60 * 1000;

  private:
    QString textOf(const GuardAction& action) const;
    void storeRule(const QString& program, int kind, const QString& profile);

    ui::ControlPanel& panel_;
    ui::StatusBar& statusBar_;
    settings::DefaultsStore& defaults_;
    CurrentCamera current_;
    std::function<qint64()> now_;
    std::map<const CameraSession*, GuardAction> last_;
    const CameraSession* latest_ = nullptr;
    QTimer tick_;
    QStringList programsSeen_;
    std::function<QStringList()> profileNames_;
};

}  // namespace orvella::app
