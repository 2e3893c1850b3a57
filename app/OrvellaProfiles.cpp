// The controller's profile flows and dialogs: the window-modal dialogs on the panel (save, name
// conflict, delete, the two interval explanations, renaming a camera), choosing, updating and
// starring profiles, reset to the camera's defaults; the Preferences tab's actions pass to
// PreferencesPart.
#include <QDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QRegularExpressionValidator>
#include <QTimer>

#include "app/Orvella.h"

#include "camera/CameraSession.h"
#include "platform/Log.h"
#include "settings/CameraNames.h"
#include "settings/LockTheLook.h"
#include "settings/ProfileListModel.h"
#include "settings/SettingsRecord.h"
#include "ui/ControlPanel.h"
#include "ui/Localization.h"
#include "ui/StatusMenu.h"

namespace orvella::app {

namespace {

QMessageBox* alertOn(QWidget* window, QMessageBox::Icon icon, const char* message,
                     const QString& informative) {
    auto* box = new QMessageBox(window);
    box->setObjectName(QLatin1String(message));
    box->setIcon(icon);
    box->setText(ui::localized(message));
    box->setInformativeText(informative);
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    return box;
}

}  // namespace

// ---- Dialogs ----

void Orvella::showSheet(QDialog* dialog, std::function<void(int)> done) {
    endSheet();
    sheet_ = dialog;
    tray_->menu().setSheetOpen(true);
    connect(dialog, &QDialog::finished, this, [this, dialog, done = std::move(done)](int result) {
        if (sheet_ == dialog) {
            sheet_ = nullptr;
            tray_->menu().setSheetOpen(false);
        }
        if (done) done(result);
    });
    dialog->open();
}

void Orvella::endSheet() {
    if (QDialog* open = sheet_) {
        sheet_ = nullptr;
        tray_->menu().setSheetOpen(false);
        open->disconnect(this);
        open->reject();
    }
}

void Orvella::clickRenameCamera() {
    CameraSession* camera = qtCamera();
    const int row = cameras_.rowOf(camera);
    if (!camera || row < 0) return;
    const QString uniqueID = camera->camera().uniqueID();
    // The name the camera goes by without a name of the user's.
    QVariantMap others = settings::userCameraNames(defaults_);
    others.remove(uniqueID);
    const QString derived = cameras_.names(others).value(row);

    auto* dialog = new QInputDialog(panel_->window());
    dialog->setObjectName(QStringLiteral("RenameCamera"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setWindowTitle(ui::localized("RenameCameraTitle"));
    dialog->setLabelText(ui::localizedFormat("RenameCameraInfo", derived));
    dialog->setOkButtonText(ui::localized("OKBtn"));
    dialog->setCancelButtonText(ui::localized("CancelBtn"));
    dialog->setTextValue(cameras_.nameAt(row));
    if (auto* field = dialog->findChild<QLineEdit*>()) {
        field->setMinimumWidth(300);
        field->setPlaceholderText(ui::localized("CameraName"));
        field->setValidator(new QRegularExpressionValidator(
            QRegularExpression(QStringLiteral("[^\\x{0}-\\x{1f}\\x{7f}-\\x{9f}]*")), field));
    }
    showSheet(dialog, [this, dialog, uniqueID, derived](int result) {
        if (result != QDialog::Accepted) return;
        // The derived name typed back (or left as it was) is no name of the user's.
        const QString typed = dialog->textValue().trimmed();
        renameCamera(uniqueID, typed == derived ? QString() : typed);
    });
}

void Orvella::renameCamera(const QString& uniqueID, const QString& name) {
    settings::setUserCameraName(defaults_, uniqueID, name);
    cameras_.setUserNames(settings::userCameraNames(defaults_));
}

void Orvella::clickSaveNewProfile() {
    CameraSession* camera = qtCamera();
    if (!camera) return;
    auto* dialog = new QInputDialog(panel_->window());
    dialog->setObjectName(QStringLiteral("SaveNewProfile"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setWindowTitle(ui::localized("SaveNewProfile"));
    dialog->setLabelText(
        ui::localized("SaveNewProfile") + QStringLiteral("\n\n") +
        ui::localizedFormat("SaveCurrentSettingsInfo", panel_->selectedProfileTitle()));
    dialog->setOkButtonText(ui::localized("SaveBtn"));
    dialog->setCancelButtonText(ui::localized("CancelBtn"));
    dialog->setTextValue(QString());
    if (auto* field = dialog->findChild<QLineEdit*>()) {
        field->setFixedSize(300, 22);
        field->setPlaceholderText(ui::localized("ProfileName"));
        // Control characters cannot be stored in a profile name: they are not taken at all.
        field->setValidator(new QRegularExpressionValidator(
            QRegularExpression(QStringLiteral("[^\\x{0}-\\x{1f}\\x{7f}-\\x{9f}]*")), field));
    }
    showSheet(dialog, [this, dialog](int result) {
        if (result != QDialog::Accepted) return;
        CameraSession* current = qtCamera();
        if (!current) return;
        const QString typed = dialog->textValue();
        if (settings::ProfileStore::refuseName(typed)) return;  // blank: nothing is saved
        // The camera's state is read in its session; the store takes it when it comes back.
        const QString model = current->camera().modelUniqueID();
        current->ask([this, typed, model](QTCamera& device) -> CameraSession::Reply {
            auto state = settings::readRecord(device, settings::kAllSettings, true);
            return [this, typed, model, state] { saveNewProfile(typed, model, state); };
        });
    });
}

void Orvella::saveNewProfile(const QString& typed, const QString& model,
                             const std::optional<settings::SettingsRecord>& state) {
    const auto outcome = profiles_.saveNewProfile(typed, model, state);
    {
        switch (outcome.result) {
            case settings::ProfileStore::SaveResult::Saved:
                panel_->enableDisableProfileButton();
                break;
            case settings::ProfileStore::SaveResult::BlankName:
            case settings::ProfileStore::SaveResult::InvalidName:
            case settings::ProfileStore::SaveResult::NotWritten:
                break;
            case settings::ProfileStore::SaveResult::NameTaken: {
                // After this dialog is gone, the conflict; its OK brings the name dialog back.
                QTimer::singleShot(0, this, [this, name = outcome.name] {
                    QMessageBox* box =
                        alertOn(panel_->window(), QMessageBox::Warning, "ProfileConfilict",
                                ui::localizedFormat("ProfileConfilictInfo", name));
                    box->addButton(ui::localized("OKBtn"), QMessageBox::AcceptRole);
                    showSheet(box, [this](int) {
                        QTimer::singleShot(0, this, &Orvella::clickSaveNewProfile);
                    });
                });
                break;
            }
        }
    }
}

void Orvella::clickUpdateProfile() {
    CameraSession* camera = qtCamera();
    const int row = profileList_.currentRow();
    if (!camera || !profileList_.isProfileRow(row)) return;
    const std::optional<settings::SettingsRecord> shown = profileList_.recordAt(row);
    const QString model = camera->camera().modelUniqueID();
    camera->ask([this, row, model, shown](QTCamera& device) -> CameraSession::Reply {
        auto state = settings::readRecord(device, settings::kAllSettings, true);
        return [this, row, model, shown, state] {
            profiles_.updateProfile(row, model, state, shown ? &*shown : nullptr);
            panel_->enableDisableProfileButton();
        };
    });
}

void Orvella::clickDeleteProfile() {
    CameraSession* camera = qtCamera();
    if (!camera) return;
    QMessageBox* box =
        alertOn(panel_->window(), QMessageBox::Critical, "DeleteProfile",
                ui::localizedFormat("DeleteSavedSettingsInfo", panel_->selectedProfileTitle()));
    QPushButton* remove = box->addButton(ui::localized("DeleteBtn"), QMessageBox::AcceptRole);
    box->addButton(ui::localized("CancelBtn"), QMessageBox::RejectRole);
    box->setDefaultButton(remove);
    showSheet(box, [this, box, remove](int) {
        if (box->clickedButton() != remove) return;
        CameraSession* current = qtCamera();
        if (!current) return;
        const int row = profileList_.currentRow();
        const std::optional<settings::SettingsRecord> shown = profileList_.recordAt(row);
        profiles_.deleteSettings(current->camera().modelUniqueID(), row, shown ? &*shown : nullptr);
        panel_->enableDisableProfileButton();
    });
}

void Orvella::clickLoadAtStart() {
    const int row = panel_->selectedProfileRow();
    if (!qtCamera() || row < 0 || row == settings::ProfileListModel::kSeparatorRow) return;
    profileList_.markLoadAtStart(row);
    panel_->showLoadAtStartChosen();
}

void Orvella::clickResetToDefault() {
    CameraSession* camera = qtCamera();
    if (!camera) return;
    profileList_.setCurrentRow(settings::ProfileListModel::kCameraDefaultRow);
    // Resetting the camera switches launch at login off as well.
    panel_->showLaunchAtLogin(false);
    preferences_.switchOffLaunchAtLogin();
    camera->post([](QTCamera& device) { device.setDefaults(); }, CameraSession::kApplyKey);
    refreshPanelValues();
    updateSettings(0);
}

void Orvella::selectProfile(int row) {
    CameraSession* camera = qtCamera();
    if (!camera) return;
    // The separator is never chosen; the lists keep what they show.
    if (row == settings::ProfileListModel::kSeparatorRow) {
        followProfileRow();
        return;
    }
    // The chosen item is in force in both lists (-1: none is). Only a profile has a record to
    // apply: the camera default item sends nothing here (the tray's reset does that). Either way
    // the panel follows the camera's modes and the last state follows what the camera now holds.
    profileList_.setCurrentRow(row);
    followProfileRow();
    if (profileList_.isProfileRow(row))
        if (const auto record = profiles_.profileAt(profileList_.model(), row))
            camera->post(
                [record = *record](QTCamera& device) { settings::loadSettings(record, device); },
                CameraSession::kApplyKey);
    refreshPanelValues();
    updateSettings(0);
}

void Orvella::updateSettings(int32_t settingsID) {
    if (CameraSession* camera = qtCamera()) updateLastState(*camera, settingsID);
}

void Orvella::lockTheLook() {
    CameraSession* session = qtCamera();
    if (!session) return;
    session->ask([this, session](QTCamera& device) -> CameraSession::Reply {
        const settings::LockReport report = settings::lockTheLook(device);
        if (!report.anyAutomatic())
            NSLog("Lock the look: no automatic mode of %s is on",
                  qUtf8Printable(device.displayName()));
        else
            NSLog("Lock the look of %s: %s", qUtf8Printable(device.displayName()),
                  qUtf8Printable(report.lines().join(QStringLiteral("; "))));
        return [this, session, report] {
            if (cameras_.rowOf(session) < 0) return;  // on its way out
            // The modes and values now held are what the guard keeps.
            if (report.anyAutomatic()) updateLastState(*session, settings::kAllSettings);
            if (session != qtCamera()) return;
            panel_->showCameraRecord();
            const QStringList problems = report.problems();
            panel_->showWhoChanged(
                !report.anyAutomatic() ? ui::localized("NothingToLock")
                : problems.isEmpty()
                    ? ui::localized("LookLocked")
                    : ui::localized("LookNotStuck").arg(problems.join(QStringLiteral(", "))));
        };
    });
}

void Orvella::updateLastState(CameraSession& camera, int32_t settingsID) {
    const QString model = camera.camera().modelUniqueID();
    const bool whole = settingsID == settings::kAllSettings || !profiles_.hasAppDefault(model);
    const bool current = &camera == qtCamera();
    // One refresh of an identifier waits at a time: a drag's steps share it, after their sets.
    camera.ask(
        [this, model, whole, current, settingsID](QTCamera& device) -> CameraSession::Reply {
            auto state =
                settings::readRecord(device, whole ? settings::kAllSettings : settingsID, current);
            return [this, model, state, whole] { profiles_.updateSettings(model, state, whole); };
        },
        CameraSession::recordKey(whole ? settings::kAllSettings : settingsID));
}

void Orvella::applyRecord(CameraSession& camera, const settings::SettingsRecord& record) {
    camera.post([record](QTCamera& device) { settings::loadSettings(record, device); },
                CameraSession::kApplyKey);
    updateLastState(camera, settings::kAllSettings);
}

void Orvella::buildProfileLists() {
    CameraSession* session = qtCamera();
    if (!session) {
        profileList_.clear();
        return;
    }
    // The start profile is in force once per camera object; choosing the list's item then
    // applies it (nothing for the camera default or no item) and refreshes the last state with
    // this camera current, so its record is complete (the aperture is read from the current
    // camera only).
    const int row =
        profileList_.showModel(session->camera().modelUniqueID(), session->bLoadAtStart);
    tray_->menu().setCameraDefaultActive(true);
    selectProfile(row);
    session->bLoadAtStart = true;
}

void Orvella::refreshPanelValues() {
    // The modes and values as the camera reports them; a row an automatic mode owns keeps what it
    // showed.
    if (qtCamera()) panel_->disableAutoControl();
}

void Orvella::followProfileRow() {
    panel_->showProfileSelection(profileList_.currentRow());
}

void Orvella::followCameraRow() {
    panel_->showCameraSelection(cameras_.popUpRowForRow(cameras_.currentRow()),
                                cameras_.size() > 0);
    if (noCamera_) noCamera_->setVisible(cameras_.size() == 0);
    if (usersPart_) {
        usersPart_->refresh();    // the line of the camera shown
        usersPart_->showRules();  // with its profiles
    }
}

// ---- Preferences tab ----

void Orvella::clickLaunchAtLogin(bool on) {
    preferencesPart_->clickLaunchAtLogin(on);
}

void Orvella::selectBWMenuIcon(bool on) {
    preferencesPart_->selectBWMenuIcon(on);
}

void Orvella::clickHideMenuBarIcon(bool hidden) {
    if (!hidden) {
        preferencesPart_->clickHideMenuBarIcon(false);
        return;
    }
    // Before the icon goes, the user learns the one way back to the panel without it: starting
    // the program again. Cancel keeps the icon.
    QMessageBox* box = alertOn(panel_->window(), QMessageBox::Information, "HideMenuBarIcon",
                               ui::nameFormat("HideTrayIconInfo"));
    QPushButton* hide = box->addButton(ui::localized("OKBtn"), QMessageBox::AcceptRole);
    box->addButton(ui::localized("CancelBtn"), QMessageBox::RejectRole);
    box->setDefaultButton(hide);
    showSheet(box, [this, box, hide](int) {
        if (box->clickedButton() == hide)
            preferencesPart_->clickHideMenuBarIcon(true);
        else
            panel_->showTrayIconHidden(false);
    });
}

void Orvella::selectUpdateSlider(int tag) {
    preferencesPart_->selectUpdateSlider(tag);
}

void Orvella::selectReconfigureWebcam(int tag) {
    preferencesPart_->selectReconfigureWebcam(tag);
}

void Orvella::clickGuardSettings(bool on) {
    preferencesPart_->clickGuardSettings(on);
}

void Orvella::selectGuardSettleTime(int milliseconds) {
    preferencesPart_->selectGuardSettleTime(milliseconds);
}

void Orvella::clickReadIntervalInfo() {
    QMessageBox* box = alertOn(panel_->window(), QMessageBox::Information, "UpdateSlider",
                               ui::nameFormat("ReadIntervalInfoWS"));
    box->addButton(ui::localized("OKBtn"), QMessageBox::AcceptRole);
    showSheet(box, {});
}

void Orvella::clickWriteIntervalInfo() {
    QMessageBox* box = alertOn(panel_->window(), QMessageBox::Information, "ReconfigureWebcam",
                               ui::nameFormat("WriteIntervalInfo"));
    box->addButton(ui::localized("OKBtn"), QMessageBox::AcceptRole);
    showSheet(box, {});
}

}  // namespace orvella::app
