#include "ui/ControlPanel.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QGuiApplication>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QStyle>
#include <QTabWidget>
#include <QToolButton>
#include <algorithm>

#include <QPointer>

#include "camera/CameraSession.h"
#include "ui/AllControlsPage.h"
#include "ui/ControlPanelOutlets.h"
#include "ui/Localization.h"
#include "ui/PreferencesPage.h"
#include "ui/PreviewArea.h"
#include "ui/ProfileBox.h"
#include "ui/WhoChanged.h"

namespace orvella::ui {

ControlPanel::ControlPanel() : ui_(std::make_unique<Ui::ControlPanel>()) {
    window_ = std::make_unique<QWidget>();
    ui_->setupUi(window_.get());
    controls_ = std::make_unique<CameraControlsPage>();
    preferences_ = new PreferencesPage();
    allControls_ = new AllControlsPage();
    profileBox_ = new ProfileBox();
    placeRooms();
    preview_ = std::make_unique<PreviewArea>(*ui_);
    clearFPS();  // until a capture session reports a rate
    wireActions();
    localize();
    emptyPanel();
    fitScreen();

    outlets_ = std::make_unique<Outlets>();
    static_cast<Ui::ControlPanel&>(*outlets_) = *ui_;
    static_cast<Ui::CameraControlsPage&>(*outlets_) = controls_->outlets();
    static_cast<Ui::ProfileBox&>(*outlets_) = profileBox_->outlets();
    static_cast<Ui::PreferencesPage&>(*outlets_) = preferences_->outlets();
}

ControlPanel::~ControlPanel() {
    for (PendingZoom& zoom : pendingZooms_)
        delete zoom.timer;
    // The rows' views belong to the window; let the rows go first.
    controls_.reset();
}

void ControlPanel::placeRooms() {
    QTabWidget* tabs = ui_->mTabView;
    tabs->addTab(controls_->basicPage(), QString());
    tabs->addTab(controls_->advancedPage(), QString());
    // The Preferences tab scrolls like the controls' tabs, so that it does not set the panel's
    // smallest height (room the live preview above the tabs takes on a short screen).
    auto* preferencesTab = new QScrollArea();
    preferencesTab->setWidget(preferences_);
    preferencesTab->setWidgetResizable(true);
    preferencesTab->setFrameShape(QFrame::NoFrame);
    preferencesTab->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    preferencesTab->viewport()->setAutoFillBackground(false);  // the tab's pane shows through
    preferences_->setAutoFillBackground(false);
    tabs->addTab(preferencesTab, QString());
    tabs->addTab(allControls_, QString());
    tabs->setCurrentIndex(0);
    // The profile box takes its placeholder's place; its outlet now names the box.
    delete window_->layout()->replaceWidget(ui_->mVwProfileBox, profileBox_);
    delete ui_->mVwProfileBox;
    ui_->mVwProfileBox = profileBox_;
    // The rooms joined the window's focus chain at its end: the bottom line goes last again.
    QWidget::setTabOrder(profileBox_, ui_->mBtnResetToDefault);
}

void ControlPanel::fitScreen() {
    // The interface file's height fits a 1366x768 screen with a top bar; a shorter screen gets a
    // shorter panel, down to its smallest (the camera's controls scroll).
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen) return;
    const int room = screen->availableGeometry().height() - kWindowFrameAllowance;
    QWidget* window = window_.get();
    if (window->height() > room)
        window->resize(window->width(), std::max(room, window->minimumSizeHint().height()));
}

void ControlPanel::wireActions() {
    connect(controls_.get(), &CameraControlsPage::settingChanged, this,
            &ControlPanel::settingChanged);
    connect(allControls_, &AllControlsPage::settingChanged, this, &ControlPanel::settingChanged);
    connect(controls_.get(), &CameraControlsPage::settingStored, this, [this](int32_t id) {
        if (delegate_ && delegate_->updateSettings) delegate_->updateSettings(id);
    });
    connect(controls_.get(), &CameraControlsPage::titleClicked, this, &ControlPanel::titleClicked);

    // Esc and Ctrl+W close the panel as its close button does (it is hidden, not destroyed), as
    // does the desktop's own close key. Each key once: a key bound twice would be ambiguous.
    QList<QKeySequence> closeKeys = {QKeySequence(Qt::Key_Escape),
                                     QKeySequence(Qt::CTRL | Qt::Key_W)};
    for (const QKeySequence& keys : QKeySequence::keyBindings(QKeySequence::Close))
        if (!closeKeys.contains(keys)) closeKeys << keys;
    for (const QKeySequence& keys : closeKeys)
        connect(new QShortcut(keys, window_.get()), &QShortcut::activated, window_.get(),
                &QWidget::close);

    connect(ui_->mPopCamera, &QComboBox::activated, this, &ControlPanel::selectCamera);
    connect(ui_->mBtnRenameCamera, &QToolButton::clicked, this, &ControlPanel::clickRenameCamera);
    connect(ui_->mBtnResetToDefault, &QPushButton::clicked, this,
            &ControlPanel::clickResetToDefault);

    ProfileBox* box = profileBox_;
    connect(box, &ProfileBox::selectProfile, this, &ControlPanel::selectProfile);
    connect(box, &ProfileBox::clickSaveNewProfile, this, &ControlPanel::clickSaveNewProfile);
    connect(box, &ProfileBox::clickUpdateProfile, this, &ControlPanel::clickUpdateProfile);
    connect(box, &ProfileBox::clickDeleteProfile, this, &ControlPanel::clickDeleteProfile);
    connect(box, &ProfileBox::clickLoadAtStart, this, &ControlPanel::clickLoadAtStart);

    PreferencesPage* page = preferences_;
    connect(page, &PreferencesPage::clickLaunchAtLogin, this, &ControlPanel::clickLaunchAtLogin);
    connect(page, &PreferencesPage::selectBWMenuIcon, this, &ControlPanel::selectBWMenuIcon);
    connect(page, &PreferencesPage::clickHideMenuBarIcon, this,
            &ControlPanel::clickHideMenuBarIcon);
    connect(page, &PreferencesPage::selectUpdateSlider, this, &ControlPanel::selectUpdateSlider);
    connect(page, &PreferencesPage::selectReconfigureWebcam, this,
            &ControlPanel::selectReconfigureWebcam);
    connect(page, &PreferencesPage::clickReadIntervalInfo, this,
            &ControlPanel::clickReadIntervalInfo);
    connect(page, &PreferencesPage::clickWriteIntervalInfo, this,
            &ControlPanel::clickWriteIntervalInfo);
    connect(page, &PreferencesPage::clickGuardSettings, this, &ControlPanel::clickGuardSettings);
    connect(page, &PreferencesPage::setProgramRule, this, &ControlPanel::setProgramRule);
    connect(ui_->mBtnLockTheLook, &QPushButton::clicked, this, &ControlPanel::clickLockTheLook);
    connect(ui_->mBtnDismissChromiumNote, &QPushButton::clicked, this, [this] {
        ui_->mVwChromiumNote->hide();
        emit dismissChromiumNote();
    });
    connect(page, &PreferencesPage::selectGuardSettleTime, this,
            &ControlPanel::selectGuardSettleTime);
}

void ControlPanel::localize() {
    Ui::ControlPanel& ui = *ui_;
    window_->setWindowTitle(nameFormat("Control_Panel_Title"));
    if (preview_) preview_->localize();
    ui.mTabView->setTabText(ui.mTabView->indexOf(controls_->basicPage()), localized("Basic"));
    ui.mTabView->setTabText(ui.mTabView->indexOf(controls_->advancedPage()), localized("Advanced"));
    auto* preferencesTab = qobject_cast<QScrollArea*>(preferences_->parentWidget()->parentWidget());
    ui.mTabView->setTabText(ui.mTabView->indexOf(preferencesTab), localized("Preferences"));
    ui.mTabView->setTabText(ui.mTabView->indexOf(allControls_), localized("AllControls"));
    allControls_->retranslate();
    ui.mBtnResetToDefault->setText(localized("Reset_to_Default"));
    ui.mTxtCameraLabel->setText(localized("Webcam"));
    ui.mTxtFormatLabel->setText(localized("Format"));
    ui.mTxtFPSLabel->setText(localized("FPS"));
    ui.mTxtNotAnswering->setText(localized("CameraNotAnswering"));
    ui.mBtnDismissChromiumNote->setText(localized("DismissNote"));
    ui.mBtnLockTheLook->setText(localized("LockTheLook"));
    ui.mPopCamera->setPlaceholderText(localized("NoCamera"));
    ui.mBtnRenameCamera->setText(localized("RenameCamera"));
    controls_->localize();
    profileBox_->localize();
    preferences_->localize();
    // As wide as the page's texts in this language, beside room for the scroll bar.
    preferencesTab->setMinimumWidth(
        preferences_->minimumSizeHint().width() +
        preferencesTab->style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, preferencesTab));
}

int ControlPanel::intervalTag(const QComboBox* pop, int index) {
    return PreferencesPage::intervalTag(pop, index);
}

bool ControlPanel::selectIntervalTag(QComboBox* pop, int tag) {
    return PreferencesPage::selectIntervalTag(pop, tag);
}

bool ControlPanel::cameraChosen() const {
    return ui_->mPopCamera->currentIndex() >= 0;
}

// ---------------------------------------------------------------------------------------------
// Filling the panel

void ControlPanel::setQTCamera(CameraSession* camera) {
    controls_->setQTCamera(camera);
    // Whether the camera answers shows in the bottom line, whenever its session tells.
    if (camera && !watched_.contains(camera)) {
        watched_.insert(camera);
        camera->onPublished([panel = QPointer(this), camera] {
            if (panel && camera == panel->qtCamera()) {
                panel->showAnswering(camera->answering());
                panel->allControls_->showValues();
            }
        });
    }
    showAnswering(!camera || camera->answering());
    allControls_->setCamera(camera);
}

void ControlPanel::loadSupportedControl() {
    CameraSession* camera = qtCamera();
    if (!camera) return;
    controls_->loadSupportedModes();
    loadSupportedControlUVCValue();

    if (delegate_ && delegate_->buildProfileLists) delegate_->buildProfileLists();

    profileBox_->setChoosable(true);
    enableDisableProfileButton();
    disableAutoControl();
    showQTFormat(camera->camera().qtCaptureDevice().get());
    ui_->mBtnResetToDefault->setEnabled(true);
    controls_->loadLED();
}

void ControlPanel::loadSupportedControlUVCValue() {
    if (!qtCamera()) return;
    // The value display the user chose for each row, kept across cameras and runs.
    controls_->loadSupportedControlUVCValue(
        delegate_ && delegate_->displayValues ? delegate_->displayValues() : std::nullopt);
}

void ControlPanel::disableAutoControl() {
    if (!qtCamera()) return;
    controls_->disableAutoControl([this] { enableDisableProfileButton(); });
}

void ControlPanel::disableAutoControlUVCValue() {
    controls_->disableAutoControlUVCValue();
}

void ControlPanel::showCameraRecord() {
    controls_->showCameraRecord();
    allControls_->showValues();
}

void ControlPanel::showProgramRules(const QStringList& programs,
                                    const QMap<QString, QPair<int, QString>>& rules,
                                    const QPair<int, QString>& otherPrograms,
                                    const QStringList& profiles) {
    preferences_->showProgramRules(programs, rules, otherPrograms, profiles);
}

void ControlPanel::showWhoChanged(const QString& text) {
    ui_->mTxtWhoChanged->setText(text);
    ui_->mTxtWhoChanged->setVisible(!text.isEmpty());
}

QString ControlPanel::whoChangedText() const {
    return ui_->mTxtWhoChanged->isVisibleTo(window_.get()) ? ui_->mTxtWhoChanged->text()
                                                           : QString();
}

void ControlPanel::showChromiumNote(const QString& program) {
    ui_->mTxtChromiumNote->setText(program.isEmpty() ? QString() : chromiumNoteText(program));
    ui_->mVwChromiumNote->setVisible(!program.isEmpty());
}

bool ControlPanel::isChromiumNoteShown() const {
    return ui_->mVwChromiumNote->isVisibleTo(window_.get());
}

void ControlPanel::showGuardSettings(bool on, int settleMs) {
    preferences_->showGuardSettings(on, settleMs);
}

void ControlPanel::disableAllCameraControl() {
    emptyPanel();
    // Nothing enables the pan/tilt buttons again: they keep the interface file's state only until
    // a camera goes away.
    controls_->disablePanTilt();
}

void ControlPanel::emptyPanel() {
    Ui::ControlPanel& ui = *ui_;
    ui.mPopCamera->setEnabled(false);
    ui.mBtnRenameCamera->setEnabled(false);
    controls_->empty();
    allControls_->setCamera(nullptr);
    ui.mTxtFormatType->setText(QString());
    ui.mTxtFormatSummary->setText(QString());
    ui.mBtnResetToDefault->setEnabled(false);
    profileBox_->clear(cameraChosen());
    emit cameraControlsCleared();
}

void ControlPanel::enableDisableProfileButton() {
    profileBox_->enableDisableProfileButton(cameraChosen());
}

// ---------------------------------------------------------------------------------------------
// What the owner shows

void ControlPanel::setCameraModel(QAbstractItemModel* model) {
    ui_->mPopCamera->setModel(model);
}

void ControlPanel::setProfileModel(QAbstractItemModel* model) {
    profileBox_->setModel(model);
}

void ControlPanel::showCameraSelection(int row, bool anyCamera) {
    if (ui_->mPopCamera->currentIndex() != row) ui_->mPopCamera->setCurrentIndex(row);
    ui_->mPopCamera->setEnabled(anyCamera);
    ui_->mBtnRenameCamera->setEnabled(anyCamera && row >= 0);
}

void ControlPanel::showProfileSelection(int row) {
    profileBox_->showSelection(row, cameraChosen());
}

int ControlPanel::selectedProfileRow() const {
    return profileBox_->selectedRow();
}

QString ControlPanel::selectedProfileTitle() const {
    return profileBox_->selectedTitle();
}

void ControlPanel::showLoadAtStartChosen() {
    profileBox_->showLoadAtStartChosen();
}

void ControlPanel::showControlValue(int32_t settingsID, long value) {
    if (UVCValueViewController* r = row(settingsID)) r->setValue(value);
}

void ControlPanel::showBanner(QWidget* banner) {
    if (auto* box = qobject_cast<QBoxLayout*>(window_->layout()))
        box->insertWidget(0, banner);
    else if (window_->layout())
        window_->layout()->addWidget(banner);
}

void ControlPanel::showLaunchAtLogin(bool on) {
    preferences_->showLaunchAtLogin(on);
}

void ControlPanel::showMenuIcon(bool blackAndWhite) {
    preferences_->showMenuIcon(blackAndWhite);
}

void ControlPanel::showTrayIconHidden(bool hidden) {
    preferences_->showTrayIconHidden(hidden);
}

void ControlPanel::showIntervals(int updateSliderTicks, int reconfigureWebcamTicks) {
    preferences_->showIntervals(updateSliderTicks, reconfigureWebcamTicks);
}

// ---------------------------------------------------------------------------------------------
// What the camera's controls report

void ControlPanel::settingChanged(int32_t settingsID) {
    // The selected profile is now modified; the tray menu shows the same item, so it follows.
    profileBox_->markSelectedModified();
    enableDisableProfileButton();
    if (delegate_ && delegate_->updateSettings) delegate_->updateSettings(settingsID);
}

void ControlPanel::titleClicked(bool displayValue, int32_t settingsID) {
    if (delegate_ && delegate_->storeDisplayValue)
        delegate_->storeDisplayValue(settingsID, displayValue);
}

}  // namespace orvella::ui
