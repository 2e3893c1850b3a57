#include "app/CameraList.h"

#include "settings/CameraNames.h"

namespace orvella::app {

CameraList::CameraList(QObject* parent) : QAbstractListModel(parent) {
    popUp_.setSourceModel(this);
    popUp_.setFilterRole(InPopUpRole);
    popUp_.setFilterFixedString(QStringLiteral("true"));
}

CameraList::~CameraList() = default;

int CameraList::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : size();
}

QVariant CameraList::data(const QModelIndex& index, int role) const {
    const CameraSession* session = index.isValid() ? at(index.row()) : nullptr;
    if (!session) return {};
    const QTCamera* camera = &session->camera();
    switch (role) {
        case Qt::DisplayRole:
            return nameAt(index.row());
        case Qt::CheckStateRole:
            return index.row() == current_ ? Qt::Checked : Qt::Unchecked;
        case UniqueIDRole:
            return camera->uniqueID();
        case InPopUpRole:
            // A later row with the same unique identifier has taken this one's place.
            for (int row = index.row() + 1; row < size(); ++row)
                if (cameras_[static_cast<size_t>(row)]->camera().uniqueID() == camera->uniqueID())
                    return false;
            return true;
        default:
            return {};
    }
}

QHash<int, QByteArray> CameraList::roleNames() const {
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names[UniqueIDRole] = "uniqueID";
    names[InPopUpRole] = "inPopUp";
    return names;
}

int CameraList::add(std::unique_ptr<QTCamera> camera) {
    if (!camera) return -1;
    return add(std::make_unique<CameraSession>(std::move(camera)));
}

int CameraList::add(std::unique_ptr<CameraSession> session) {
    if (!session || !session->isReady()) return -1;
    const int row = size();
    beginInsertRows(QModelIndex(), row, row);
    cameras_.push_back(std::move(session));
    endInsertRows();
    // Earlier rows with the same identifier leave the pop-up; earlier rows of the same name are
    // now twins of the new one and named apart.
    if (row > 0) emit dataChanged(index(0), index(row - 1), {InPopUpRole, Qt::DisplayRole});
    return row;
}

std::unique_ptr<CameraSession> CameraList::take(int row) {
    if (row < 0 || row >= size()) return nullptr;
    beginRemoveRows(QModelIndex(), row, row);
    std::unique_ptr<CameraSession> camera = std::move(cameras_[static_cast<size_t>(row)]);
    cameras_.erase(cameras_.begin() + row);
    if (current_ == row)
        current_ = -1;
    else if (current_ > row)
        --current_;
    endRemoveRows();
    if (size() > 0) emit dataChanged(index(0), index(size() - 1), {InPopUpRole, Qt::DisplayRole});
    return camera;
}

void CameraList::setUserNames(const QVariantMap& names) {
    if (names == userNames_) return;
    userNames_ = names;
    if (size() > 0) emit dataChanged(index(0), index(size() - 1), {Qt::DisplayRole});
}

QStringList CameraList::names(const QVariantMap& userNames) const {
    std::vector<settings::CameraIdentity> identities;
    for (const auto& session : cameras_) {
        const QTCamera& camera = session->camera();
        identities.push_back(
            {camera.uniqueID(), camera.displayName(), camera.serialNumber(), camera.locationID()});
    }
    return settings::cameraNames(identities, userNames);
}

int CameraList::rowForPopUpRow(int popUpRow) const {
    if (popUpRow < 0 || popUpRow >= popUp_.rowCount()) return -1;
    return popUp_.mapToSource(popUp_.index(popUpRow, 0)).row();
}

int CameraList::popUpRowForRow(int row) const {
    if (row < 0 || row >= size()) return -1;
    return popUp_.mapFromSource(index(row)).row();
}

CameraSession* CameraList::at(int row) const {
    if (row < 0 || row >= size()) return nullptr;
    return cameras_[static_cast<size_t>(row)].get();
}

int CameraList::rowOf(const CameraSession* session) const {
    for (int row = 0; row < size(); ++row)
        if (cameras_[static_cast<size_t>(row)].get() == session) return row;
    return -1;
}

void CameraList::setCurrentRow(int row) {
    if (row < 0 || row >= size()) row = -1;
    if (row == current_) return;
    const int previous = current_;
    current_ = row;
    for (int changed : {previous, current_})
        if (changed >= 0) emit dataChanged(index(changed), index(changed), {Qt::CheckStateRole});
}

}  // namespace orvella::app
