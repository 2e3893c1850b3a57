#include "ui/ProfileBox.h"

#include <QAbstractItemModel>
#include <QComboBox>
#include <QPushButton>

#include "ui/Localization.h"
#include "ui/ProfileItemRoles.h"
#include "ui_ProfileBox.h"

namespace orvella::ui {

ProfileBox::ProfileBox(QWidget* parent)
    : QGroupBox(parent), ui_(std::make_unique<Ui::ProfileBox>()) {
    ui_->setupUi(this);
    ui_->mPopProfile->insertSeparator(1);
    Ui::ProfileBox& ui = *ui_;
    connect(ui.mPopProfile, &QComboBox::activated, this, &ProfileBox::selectProfile);
    connect(ui.mBtnSaveNewProfile, &QPushButton::clicked, this, &ProfileBox::clickSaveNewProfile);
    connect(ui.mBtnUpdateProfile, &QPushButton::clicked, this, &ProfileBox::clickUpdateProfile);
    connect(ui.mBtnDeleteProfile, &QPushButton::clicked, this, &ProfileBox::clickDeleteProfile);
    connect(ui.mBtnLoadAtStart, &QPushButton::clicked, this, &ProfileBox::clickLoadAtStart);
}

ProfileBox::~ProfileBox() = default;

void ProfileBox::localize() {
    Ui::ProfileBox& ui = *ui_;
    setTitle(localized("ManageProfile"));
    ui.mPopProfile->setItemText(0, localized("CameraDefault"));
    ui.mBtnSaveNewProfile->setText(localized("SaveNewProfile"));
    ui.mBtnUpdateProfile->setText(localized("UpdateProfile"));
    ui.mBtnDeleteProfile->setText(localized("DeleteProfile"));
    ui.mBtnLoadAtStart->setText(localized("LoadAtStart"));
}

void ProfileBox::setModel(QAbstractItemModel* model) {
    model->setParent(ui_->mPopProfile);
    ui_->mPopProfile->setModel(model);
}

void ProfileBox::showSelection(int row, bool cameraChosen) {
    if (ui_->mPopProfile->currentIndex() != row) ui_->mPopProfile->setCurrentIndex(row);
    enableDisableProfileButton(cameraChosen);
}

int ProfileBox::selectedRow() const {
    return ui_->mPopProfile->currentIndex();
}

QString ProfileBox::selectedTitle() const {
    return ui_->mPopProfile->currentText();
}

void ProfileBox::markSelectedModified() {
    const int index = ui_->mPopProfile->currentIndex();
    // The tray menu shows the same item, so it follows.
    if (index >= 0)
        ui_->mPopProfile->model()->setData(ui_->mPopProfile->model()->index(index, 0),
                                           Qt::PartiallyChecked, kProfileStateRole);
}

void ProfileBox::showLoadAtStartChosen() {
    ui_->mBtnLoadAtStart->setEnabled(false);
}

void ProfileBox::setChoosable(bool on) {
    ui_->mPopProfile->setEnabled(on);
}

void ProfileBox::clear(bool cameraChosen) {
    if (QAbstractItemModel* model = ui_->mPopProfile->model(); model->rowCount() > 2)
        model->removeRows(2, model->rowCount() - 2);
    ui_->mPopProfile->setCurrentIndex(-1);
    ui_->mPopProfile->setEnabled(false);
    enableDisableProfileButton(cameraChosen);
}

void ProfileBox::enableDisableProfileButton(bool cameraChosen) {
    Ui::ProfileBox& ui = *ui_;
    const int index = ui.mPopProfile->currentIndex();
    if (index >= 0) {
        const QModelIndex item = ui.mPopProfile->model()->index(index, 0);
        const bool mixed = item.data(kProfileStateRole).toInt() == Qt::PartiallyChecked;
        if (!mixed) {
            ui.mBtnSaveNewProfile->setEnabled(false);
            ui.mBtnUpdateProfile->setEnabled(false);
            ui.mBtnDeleteProfile->setEnabled(index >= 2);
        } else {
            ui.mBtnSaveNewProfile->setEnabled(true);
            ui.mBtnUpdateProfile->setEnabled(index >= 2);
            ui.mBtnDeleteProfile->setEnabled(false);
        }
        ui.mBtnLoadAtStart->setEnabled(item.data(kProfileTagRole).toInt() != 1);
    } else {
        ui.mBtnSaveNewProfile->setEnabled(cameraChosen);
        ui.mBtnDeleteProfile->setEnabled(false);
        ui.mBtnLoadAtStart->setEnabled(false);
    }
}

}  // namespace orvella::ui
