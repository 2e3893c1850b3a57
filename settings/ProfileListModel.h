#pragma once
// The profile list of one camera model as an item model, shown both by the panel's profile pop-up
// and by the profile section of the tray menu, so the two cannot drift apart:
//   row 0      the camera-default item (its title is the localized "CameraDefault")
//   row 1      a separator, never a profile
//   rows 2...  the model's named profiles in stored order (row = list index of ProfileStore)
// Roles: the title (DisplayRole), the load-at-start star (StarRole, image name "Star"/"NoStar" in
// StarImageRole, TagRole 1 or 0), the profile in force as Qt::CheckStateRole (checked; partially
// checked after a manual control change), and the record. The menu stars its camera-default item
// by its own rule (MenuStarRole). The rows follow the profile store's signals: a profile saved or
// updated becomes the one in force, a delete leaves none in force.

#include <QAbstractListModel>
#include <QString>

#include "settings/ProfileStore.h"

namespace orvella::settings {

class ProfileListModel : public QAbstractListModel {
    Q_OBJECT
  public:
    enum Role {
        StarRole = Qt::UserRole + 1,  // bool: the load-at-start item
        StarImageRole,                // "Star" or "NoStar"
        TagRole,                      // 1 for the load-at-start item, else 0
        MenuStarRole,                 // bool: the star as the menu shows it
        MenuStarImageRole,            // "Star" or "NoStar" for the menu
        RecordRole,                   // QVariantMap: the profile's record (rows 2...)
        SeparatorRole,                // bool: row 1
    };
    static constexpr int kCameraDefaultRow = 0;
    static constexpr int kSeparatorRow = 1;

    explicit ProfileListModel(ProfileStore& store, QObject* parent = nullptr);

    // The title of row 0 (the localized "CameraDefault").
    void setCameraDefaultTitle(const QString& title);

    // Builds the list for a camera model. The model's load-at-start row becomes the profile in
    // force unless the camera has had it already (`loadAtStartApplied`, the camera's
    // bLoadAtStart); returns that row, or -1, for the caller to apply.
    int showModel(const QString& model, bool loadAtStartApplied);
    // No camera: only the camera-default item and the separator.
    void clear();
    const QString& model() const { return model_; }

    // The profile in force (the pop-up's selection and the menu's check mark), -1 for none.
    int currentRow() const { return currentRow_; }
    void setCurrentRow(int row);
    // A control was moved by hand: the profile in force shows partially checked until a profile
    // is chosen, saved or updated.
    void markModified();
    bool isModified() const { return modified_; }

    // The load-at-start row, -1 for none. markLoadAtStart stores it for the model and stars it in
    // both lists (the menu's camera-default item too, for row 0).
    int startRow() const { return startRow_; }
    bool markLoadAtStart(int row);

    // The profile's record at a row, none for rows 0 and 1.
    std::optional<SettingsRecord> recordAt(int row) const;
    bool isProfileRow(int row) const { return row >= kFirstProfileIndex && row < rowCount(); }

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QHash<int, QByteArray> roleNames() const override;

  signals:
    void currentRowChanged(int row);

  private:
    void reloadRows();
    void refreshStars();
    void emitRowChanged(int row);

    ProfileStore& store_;
    QString model_;
    QString cameraDefaultTitle_ = QStringLiteral("CameraDefault");
    QList<SettingsRecord> profiles_;
    int currentRow_ = -1;
    bool modified_ = false;
    int startRow_ = -1;
    // The menu stars its camera-default item when a start row of 0 is chosen in this session,
    // not when the list is built with one.
    bool menuStarsDefault_ = false;
};

}  // namespace orvella::settings
