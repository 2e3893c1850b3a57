#pragma once
// The list of usable cameras, as one item model that both the panel's camera pop-up and the
// tray menu's camera section show, so the two are in step by construction. The list owns the
// cameras' sessions (camera/CameraSession.h: each owns its camera object and does its I/O on a
// thread of its own) and knows which one is current.
//
// Rows: Qt::DisplayRole is the name the camera goes by (settings/CameraNames.h: its display
// name, told apart from a twin's, or the name the user gave it); Qt::CheckStateRole is Checked for
// the current camera (the menu item's state); UniqueIDRole the unique identifier; InPopUpRole
// whether the pop-up shows the row. A camera added with the unique identifier of one already listed
// takes that one's place in the pop-up (the older row stays for the menu, as cameras that share a
// unique identifier -- identical cameras of the USB table -- are all listed there).

#include <QAbstractListModel>
#include <QSortFilterProxyModel>
#include <QStringList>
#include <QVariantMap>
#include <memory>
#include <vector>

#include "camera/CameraSession.h"

namespace orvella::app {

class CameraList final : public QAbstractListModel {
    Q_OBJECT
  public:
    enum Role { UniqueIDRole = Qt::UserRole + 1, InPopUpRole };

    explicit CameraList(QObject* parent = nullptr);
    ~CameraList() override;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Appends a camera, starting its session, and returns its row.
    int add(std::unique_ptr<QTCamera> camera);
    // Appends a camera whose session is running (and has built it).
    int add(std::unique_ptr<CameraSession> session);
    // Takes the camera out of the list and hands its session back (closing it, or letting it go,
    // drops its queued work); the current row follows its camera (or becomes -1 when the current
    // camera is the one taken).
    std::unique_ptr<CameraSession> take(int row);

    int size() const { return static_cast<int>(cameras_.size()); }
    CameraSession* at(int row) const;
    int rowOf(const CameraSession* session) const;

    // The names the user gave cameras, by unique identifier (the preferences' "Camera Names").
    void setUserNames(const QVariantMap& names);
    // The name each row goes by, in row order; the second with other names of the user's.
    QStringList names() const { return names(userNames_); }
    QStringList names(const QVariantMap& userNames) const;
    QString nameAt(int row) const { return names().value(row); }

    // The current camera's row, -1 for none.
    int currentRow() const { return current_; }
    CameraSession* current() const { return at(current_); }
    // Makes a row current (-1: none); out-of-range rows mean none.
    void setCurrentRow(int row);

    // A view of the rows the camera pop-up shows (see InPopUpRole), owned by the list, and the
    // mapping between its rows and the list's (-1 where there is none).
    QAbstractItemModel* popUpModel() { return &popUp_; }
    int rowForPopUpRow(int popUpRow) const;
    int popUpRowForRow(int row) const;

  private:
    std::vector<std::unique_ptr<CameraSession>> cameras_;
    int current_ = -1;
    QVariantMap userNames_;
    QSortFilterProxyModel popUp_;
};

}  // namespace orvella::app
