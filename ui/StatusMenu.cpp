#include "ui/StatusMenu.h"

#include <QAbstractItemModel>
#include <QCoreApplication>
#include <QIcon>

#include "ui/Images.h"
#include "ui/Localization.h"

namespace orvella::ui {

namespace {
// Menus have no indentation levels; items inside a section are set in by this much.
const QString kIndent = QStringLiteral("\u2003");
}  // namespace

// The tray's texts come from the one string table (Localization.h).
QString tray::text(const char* key) {
    return localized(key);
}

QString tray::nameFormat(const char* key, const QString& appName) {
    QString text = localized(key);
    if (text.contains(QLatin1String("%1"))) return text.arg(appName);
    return text.replace(QLatin1String("%@"), appName);
}

StatusMenu::StatusMenu(QWidget* parent) : QMenu(parent) {
    mItmAbout = addAction(QString(), this, &StatusMenu::aboutClicked);
    addSeparator();
    mItmWebcamLabel = addAction(QString());
    mItmWebcamLabel->setEnabled(false);
    mItmWebcamBottom = addSeparator();
    mItmSettingsLabel = addAction(QString());
    mItmSettingsLabel->setEnabled(false);
    mItmSettingsDefault = addAction(QString(), this, [this] {
        if (cameraDefaultActive_) emit profileSelected(0);
    });
    mItmSettingsDefault->setCheckable(true);
    mItmSettingsBottom = addSeparator();
    mItmShowHide = addAction(QString(), this, &StatusMenu::showHideClicked);
    mItmBWMenuIcon = addAction(QString());
    mItmBWMenuIcon->setCheckable(true);
    // The item's own toggle is undone: its state follows the preference, set by the controller.
    connect(mItmBWMenuIcon, &QAction::triggered, this, [this](bool checked) {
        mItmBWMenuIcon->setChecked(!checked);
        emit bwMenuIconClicked(checked);
    });
    addSeparator();
    mItmQuit = addAction(QString(), this, &StatusMenu::quitClicked);
    localize(QCoreApplication::applicationName());
}

StatusMenu::~StatusMenu() = default;

void StatusMenu::localize(const QString& appName) {
    mItmAbout->setText(tray::nameFormat("About", appName));
    mItmQuit->setText(tray::nameFormat("Quit", appName));
    mItmBWMenuIcon->setText(tray::text("UseBWMenuIcon"));
    mItmWebcamLabel->setText(tray::text("Webcam"));
    mItmSettingsLabel->setText(tray::text("Profile"));
    mItmSettingsDefault->setText(kIndent + tray::text("CameraDefault"));
    setPanelOn(false, appName);
}

void StatusMenu::setPanelOn(bool panelOn, const QString& appName) {
    mItmShowHide->setText(tray::nameFormat(panelOn ? "Hide_Panel" : "Show_Panel", appName));
}

void StatusMenu::setBWMenuIcon(bool on) {
    mItmBWMenuIcon->setChecked(on);
}

void StatusMenu::watch(QAbstractItemModel* model, void (StatusMenu::*rebuild)()) {
    if (!model) return;
    const auto again = [this, rebuild] { (this->*rebuild)(); };
    connect(model, &QAbstractItemModel::rowsInserted, this, again);
    connect(model, &QAbstractItemModel::rowsRemoved, this, again);
    connect(model, &QAbstractItemModel::rowsMoved, this, again);
    connect(model, &QAbstractItemModel::modelReset, this, again);
    connect(model, &QAbstractItemModel::dataChanged, this, again);
    connect(model, &QObject::destroyed, this, again);
}

void StatusMenu::setCameraModel(QAbstractItemModel* model) {
    if (cameras_) disconnect(cameras_, nullptr, this, nullptr);
    cameras_ = model;
    watch(model, &StatusMenu::rebuildCameras);
    rebuildCameras();
}

void StatusMenu::setProfileModel(QAbstractItemModel* model, int firstProfileRow,
                                 int starImageRole) {
    if (profiles_) disconnect(profiles_, nullptr, this, nullptr);
    profiles_ = model;
    firstProfileRow_ = firstProfileRow;
    starImageRole_ = starImageRole;
    watch(model, &StatusMenu::rebuildProfiles);
    rebuildProfiles();
}

void StatusMenu::rebuildCameras() {
    // Later, not now: this may run inside one of these items' own signal.
    for (QAction* item : cameraItems_) {
        removeAction(item);
        item->deleteLater();
    }
    cameraItems_.clear();
    const int rows = cameras_ ? cameras_->rowCount() : 0;
    for (int row = 0; row < rows; ++row) {
        const QModelIndex index = cameras_->index(row, 0);
        auto* item = new QAction(kIndent + index.data(Qt::DisplayRole).toString(), this);
        item->setCheckable(true);
        item->setChecked(index.data(Qt::CheckStateRole).toInt() == Qt::Checked);
        connect(item, &QAction::triggered, this, [this, row, item] {
            // The state is the model's to change.
            item->setChecked(!item->isChecked());
            emit cameraSelected(row);
        });
        insertAction(mItmWebcamBottom, item);
        cameraItems_.push_back(item);
    }
    validateAll();
}

void StatusMenu::rebuildProfiles() {
    // Later, not now: this may run inside one of these items' own signal.
    for (QAction* item : profileItems_) {
        removeAction(item);
        item->deleteLater();
    }
    profileItems_.clear();
    const int rows = profiles_ ? profiles_->rowCount() : 0;
    const auto state = [](const QModelIndex& index) {
        return index.data(Qt::CheckStateRole).toInt();
    };
    const auto icon = [this](const QModelIndex& index) {
        if (starImageRole_ < 0) return index.data(Qt::DecorationRole).value<QIcon>();
        const QString name = index.data(starImageRole_).toString();
        return name.isEmpty() ? QIcon() : QIcon(QStringLiteral(":/images/%1.svg").arg(name));
    };
    // Menus have no mixed state: an item changed by hand since it was chosen loses its check mark
    // ("in force") and shows the mixed-state image and "(modified)" after its title instead.
    const auto show = [&](QAction* item, const QModelIndex& index, const QString& title) {
        const bool modified = state(index) == Qt::PartiallyChecked;
        item->setText(modified ? title + QLatin1Char(' ') + tray::text("ProfileModified") : title);
        item->setChecked(state(index) == Qt::Checked);
        item->setIcon(modified ? imageNamed(QStringLiteral("ProfileModified")) : icon(index));
    };
    if (rows > 0) {
        show(mItmSettingsDefault, profiles_->index(0, 0), kIndent + tray::text("CameraDefault"));
        if (!cameraDefaultActive_) mItmSettingsDefault->setChecked(false);
    }
    for (int row = firstProfileRow_; row < rows; ++row) {
        const QModelIndex index = profiles_->index(row, 0);
        if (index.data(Qt::AccessibleDescriptionRole).toString() == QLatin1String("separator"))
            continue;
        auto* item = new QAction(this);
        item->setCheckable(true);
        show(item, index, kIndent + index.data(Qt::DisplayRole).toString());
        connect(item, &QAction::triggered, this, [this, row, item] {
            item->setChecked(!item->isChecked());
            emit profileSelected(row);
        });
        insertAction(mItmSettingsBottom, item);
        profileItems_.push_back(item);
    }
    validateAll();
}

void StatusMenu::setCameraDefaultActive(bool active) {
    cameraDefaultActive_ = active;
    if (!active) mItmSettingsDefault->setChecked(false);
    validateAll();
}

void StatusMenu::setSheetOpen(bool open) {
    sheetOpen_ = open;
    validateAll();
}

bool StatusMenu::validateMenuItem(const QAction* item) const {
    if (item == mItmSettingsDefault && !cameraDefaultActive_) return false;
    if (!sheetOpen_) return true;
    if (item == mItmShowHide || item == mItmQuit || item == mItmSettingsDefault) return false;
    for (const auto* list : {&cameraItems_, &profileItems_})
        for (const QAction* listed : *list)
            if (listed == item) return false;
    return true;
}

void StatusMenu::validateAll() {
    for (QAction* item : actions()) {
        if (item == mItmWebcamLabel || item == mItmSettingsLabel || item->isSeparator()) continue;
        item->setEnabled(validateMenuItem(item));
    }
}

}  // namespace orvella::ui
