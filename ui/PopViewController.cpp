#include "ui/PopViewController.h"

#include <QCoreApplication>

#include "ui/StatusMenu.h"
#include "ui_PopViewController.h"

namespace orvella::ui {

PopViewController::PopViewController(QWidget* parent)
    : QWidget(parent), ui_(std::make_unique<Ui::PopViewController>()) {
    ui_->setupUi(this);
    setAttribute(Qt::WA_TranslucentBackground);
    connect(ui_->mChkDisablePopup, &QCheckBox::clicked, this,
            &PopViewController::disablePopupClicked);
    localize();
}

PopViewController::~PopViewController() = default;

QString PopViewController::infoValueForKey(const QString& key) {
    const QByteArray utf8 = key.toUtf8();
    const QString localized = QCoreApplication::translate("InfoPlist", utf8.constData());
    if (localized != key) return localized;
    if (key == QLatin1String("CFBundleName")) return QCoreApplication::applicationName();
    if (key == QLatin1String("CFBundleShortVersionString"))
        return QCoreApplication::applicationVersion();
    return {};
}

void PopViewController::localize() {
    const QString name = infoValueForKey(QStringLiteral("CFBundleName"));
    ui_->mTxtPopover->setText(tray::nameFormat("PopOverText", name));
    ui_->mChkDisablePopup->setText(tray::text("DisableNotification"));
    QPalette palette = ui_->mTxtPopover->palette();
    palette.setColor(QPalette::WindowText, Qt::white);
    ui_->mTxtPopover->setPalette(palette);
    setTextColor(*ui_->mChkDisablePopup, Qt::white);
}

void PopViewController::setDisablePopup(bool disabled) {
    ui_->mChkDisablePopup->setChecked(disabled);
}

bool PopViewController::disablePopup() const {
    return ui_->mChkDisablePopup->isChecked();
}

QLabel* PopViewController::mTxtPopover() const {
    return ui_->mTxtPopover;
}

QCheckBox* PopViewController::mChkDisablePopup() const {
    return ui_->mChkDisablePopup;
}

QColor textColor(const QAbstractButton& button) {
    return button.palette().color(QPalette::ButtonText);
}

void setTextColor(QAbstractButton& button, const QColor& color) {
    QPalette palette = button.palette();
    for (const QPalette::ColorRole role : {QPalette::ButtonText, QPalette::WindowText})
        palette.setColor(role, color);
    button.setPalette(palette);
}

}  // namespace orvella::ui
