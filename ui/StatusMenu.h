#pragma once
// The tray menu. Marker items divide it: the cameras are listed between mItmWebcamLabel and
// mItmWebcamBottom, the profile section runs from mItmSettingsLabel to mItmSettingsBottom with
// mItmSettingsDefault first and one indented item per profile; around them the about, show/hide,
// icon and quit items. Both lists are views of item models (the camera list and the profile
// list the panel's pop-ups show), so menu and pop-ups are in step by construction: the title is
// Qt::DisplayRole, the item's check state Qt::CheckStateRole. The menu only reports choices; the
// controller acts on them.

#include <QAction>
#include <QMenu>
#include <QPointer>
#include <QString>
#include <vector>

class QAbstractItemModel;

namespace orvella::ui {

class StatusMenu final : public QMenu {
    Q_OBJECT
  public:
    explicit StatusMenu(QWidget* parent = nullptr);
    ~StatusMenu() override;

    // The camera list (every row is a camera).
    void setCameraModel(QAbstractItemModel* model);
    // The profile list: row 0 is the camera default (mItmSettingsDefault's state), rows from
    // `firstProfileRow` on are the profiles; rows whose Qt::AccessibleDescriptionRole is
    // "separator" are skipped. A profile in force that was changed by hand (partially checked)
    // shows the mixed state as menus do: no check mark, the "ProfileModified" image and
    // "(modified)" after its title. With `starImageRole`, each item shows the image that role names
    // (":/images/<name>.svg", the load-at-start star), else the model's decoration.
    void setProfileModel(QAbstractItemModel* model, int firstProfileRow = 2,
                         int starImageRole = -1);

    // Fills every title from the string table; `appName` goes into the name formats.
    void localize(const QString& appName);
    // The show/hide item's title for the panel being on or off.
    void setPanelOn(bool panelOn, const QString& appName);
    void setBWMenuIcon(bool on);

    // The camera-default item's action (the reset to the camera's defaults) is there only while
    // a camera is: without one the item is off and greyed. On by default.
    void setCameraDefaultActive(bool active);

    // While a dialog is attached to the panel, the items that would change what it works on are
    // disabled: show/hide, quit, the default profile, every camera and profile item.
    void setSheetOpen(bool open);
    bool validateMenuItem(const QAction* item) const;

    const std::vector<QAction*>& cameraItems() const { return cameraItems_; }
    const std::vector<QAction*>& profileItems() const { return profileItems_; }

    QAction* mItmAbout = nullptr;
    QAction* mItmWebcamLabel = nullptr;
    QAction* mItmWebcamBottom = nullptr;
    QAction* mItmSettingsLabel = nullptr;
    QAction* mItmSettingsDefault = nullptr;
    QAction* mItmSettingsBottom = nullptr;
    QAction* mItmShowHide = nullptr;
    QAction* mItmBWMenuIcon = nullptr;
    QAction* mItmQuit = nullptr;

  signals:
    void aboutClicked();
    void showHideClicked();
    // The icon item was chosen: the new black-and-white state is the opposite of the old one.
    void bwMenuIconClicked(bool on);
    void quitClicked();
    // A camera (its row in the camera model) or a profile (its row in the profile model, 0 for
    // the camera default) was chosen.
    void cameraSelected(int row);
    void profileSelected(int row);

  private:
    void rebuildCameras();
    void rebuildProfiles();
    void watch(QAbstractItemModel* model, void (StatusMenu::*rebuild)());
    void validateAll();

    QPointer<QAbstractItemModel> cameras_;
    QPointer<QAbstractItemModel> profiles_;
    int firstProfileRow_ = 2;
    int starImageRole_ = -1;
    std::vector<QAction*> cameraItems_;
    std::vector<QAction*> profileItems_;
    bool sheetOpen_ = false;
    bool cameraDefaultActive_ = true;
};

namespace tray {
// A text of the string table by key; a key without a text shows itself.
QString text(const char* key);
// A name format ("About", "Quit", "Hide_Panel", ...) with the application's name.
QString nameFormat(const char* key, const QString& appName);
}  // namespace tray

}  // namespace orvella::ui
