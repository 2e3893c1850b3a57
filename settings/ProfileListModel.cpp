#include "settings/ProfileListModel.h"

#include "settings/DefaultsKeys.h"

namespace orvella::settings {

namespace {

QString starImage(bool starred) {
    return starred ? QStringLiteral("Star") : QStringLiteral("NoStar");
}

}  // namespace

ProfileListModel::ProfileListModel(ProfileStore& store, QObject* parent)
    : QAbstractListModel(parent), store_(store) {
    connect(&store_, &ProfileStore::profilesChanged, this, [this](const QString& model) {
        if (!model_.isEmpty() && (model.isEmpty() || model == model_)) reloadRows();
    });
    connect(&store_, &ProfileStore::loadAtStartChanged, this, [this](const QString& model) {
        if (model == model_) refreshStars();
    });
    // A profile just saved or overwritten is the one in force; after a delete none is.
    const auto select = [this](const QString& model, int row) {
        if (model == model_) setCurrentRow(row);
    };
    connect(&store_, &ProfileStore::profileSaved, this, select);
    connect(&store_, &ProfileStore::profileUpdated, this, select);
    connect(&store_, &ProfileStore::profileDeleted, this,
            [select](const QString& model, int) { select(model, -1); });
}

void ProfileListModel::setCameraDefaultTitle(const QString& title) {
    cameraDefaultTitle_ = title;
    const QModelIndex first = index(kCameraDefaultRow);
    emit dataChanged(first, first, {Qt::DisplayRole});
}

int ProfileListModel::showModel(const QString& model, bool loadAtStartApplied) {
    beginResetModel();
    model_ = model;
    profiles_ = store_.profiles(model);
    startRow_ = store_.loadAtStart(model);
    menuStarsDefault_ = false;
    modified_ = false;
    // The separator is never in force; neither is a start row the list does not reach.
    currentRow_ = loadAtStartApplied || startRow_ == kSeparatorRow || startRow_ >= rowCount()
                      ? -1
                      : startRow_;
    endResetModel();
    emit currentRowChanged(currentRow_);
    return currentRow_;
}

void ProfileListModel::clear() {
    beginResetModel();
    model_.clear();
    profiles_.clear();
    startRow_ = -1;
    currentRow_ = -1;
    modified_ = false;
    menuStarsDefault_ = false;
    endResetModel();
    emit currentRowChanged(currentRow_);
}

void ProfileListModel::setCurrentRow(int row) {
    if (row < -1 || row >= rowCount() || row == kSeparatorRow) row = -1;
    const int previous = currentRow_;
    const bool wasModified = modified_;
    currentRow_ = row;
    modified_ = false;
    if (previous != row) emitRowChanged(previous);
    if (previous != row || wasModified) emitRowChanged(row);
    if (previous != row) emit currentRowChanged(row);
}

void ProfileListModel::markModified() {
    if (modified_ || currentRow_ < 0) return;
    modified_ = true;
    emitRowChanged(currentRow_);
}

bool ProfileListModel::markLoadAtStart(int row) {
    if (model_.isEmpty() || row < 0 || row >= rowCount()) return false;
    if (!store_.setLoadAtStart(model_, row)) return false;
    menuStarsDefault_ = row == kCameraDefaultRow || row == kSeparatorRow;
    refreshStars();
    return true;
}

std::optional<SettingsRecord> ProfileListModel::recordAt(int row) const {
    if (!isProfileRow(row)) return std::nullopt;
    return profiles_[row - kFirstProfileIndex];
}

int ProfileListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kFirstProfileIndex + static_cast<int>(profiles_.size());
}

QVariant ProfileListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const int row = index.row();
    if (row == kSeparatorRow) {
        switch (role) {
            case SeparatorRole:
                return true;
            // What QComboBox and its delegate take for a separator.
            case Qt::AccessibleDescriptionRole:
                return QStringLiteral("separator");
            default:
                return {};
        }
    }
    const bool starred = row == startRow_;
    const bool menuStarred =
        row == kCameraDefaultRow ? menuStarsDefault_ || startRow_ == 1 : starred;
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            return row == kCameraDefaultRow
                       ? cameraDefaultTitle_
                       : profiles_[row - kFirstProfileIndex].value(keys::kSettingsName).toString();
        case StarRole:
            return starred;
        case StarImageRole:
            return starImage(starred);
        case TagRole:
            return starred ? 1 : 0;
        case MenuStarRole:
            return menuStarred;
        case MenuStarImageRole:
            return starImage(menuStarred);
        case RecordRole:
            return row >= kFirstProfileIndex ? QVariant(profiles_[row - kFirstProfileIndex])
                                             : QVariant();
        case SeparatorRole:
            return false;
        case Qt::CheckStateRole:
            if (row != currentRow_) return Qt::Unchecked;
            return modified_ ? Qt::PartiallyChecked : Qt::Checked;
        default:
            return {};
    }
}

Qt::ItemFlags ProfileListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    if (index.row() == kSeparatorRow) return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}

QHash<int, QByteArray> ProfileListModel::roleNames() const {
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert(StarRole, "star");
    names.insert(StarImageRole, "starImage");
    names.insert(TagRole, "tag");
    names.insert(MenuStarRole, "menuStar");
    names.insert(MenuStarImageRole, "menuStarImage");
    names.insert(RecordRole, "record");
    names.insert(SeparatorRole, "separator");
    names.insert(Qt::CheckStateRole, "checkState");
    return names;
}

void ProfileListModel::reloadRows() {
    const std::optional<SettingsRecord> current = recordAt(currentRow_);
    beginResetModel();
    profiles_ = store_.profiles(model_);
    startRow_ = store_.loadAtStart(model_);
    // A profile in force that moved keeps its check mark where it went; one that is gone loses it.
    if (current) {
        currentRow_ = -1;
        for (qsizetype i = 0; i < profiles_.size(); ++i)
            if (profiles_[i].value(keys::kSettingsName) == current->value(keys::kSettingsName))
                currentRow_ = static_cast<int>(i) + kFirstProfileIndex;
        if (currentRow_ < 0) modified_ = false;
    }
    endResetModel();
    if (current) emit currentRowChanged(currentRow_);
}

void ProfileListModel::refreshStars() {
    startRow_ = store_.loadAtStart(model_);
    if (startRow_ < 0) menuStarsDefault_ = false;
    if (rowCount() > 0)
        emit dataChanged(index(0), index(rowCount() - 1),
                         {StarRole, StarImageRole, TagRole, MenuStarRole, MenuStarImageRole});
}

void ProfileListModel::emitRowChanged(int row) {
    if (row < 0 || row >= rowCount()) return;
    const QModelIndex at = index(row);
    emit dataChanged(at, at, {Qt::CheckStateRole});
}

}  // namespace orvella::settings
