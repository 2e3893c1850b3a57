#include "ui/AllControlsPage.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHash>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QToolButton>
#include <limits>

#include "camera/CameraSession.h"
#include "ui/Localization.h"
#include "ui_AllControlsPage.h"

namespace orvella::ui {

namespace {

// Session keys of the writes: one waiting write per control, the latest value standing for a
// drag's steps; far above the keys of the rows' setting identifiers.
uint64_t writeKey(const QString& key) {
    return 0x400000000ull + qHash(key);
}

int clampToInt(long value) {
    return static_cast<int>(
        std::clamp<long>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

// Whether the control's automatic mode, in the same snapshot, owns it now.
bool governed(const ExtraControl& control, const ExtraControls& all) {
    if (control.master.isEmpty()) return false;
    for (const ExtraControl& master : all)
        if (master.key == control.master) return master.cur != 0;
    return false;
}

}  // namespace

AllControlsPage::AllControlsPage(QWidget* parent)
    : QWidget(parent), ui_(std::make_unique<Ui::AllControlsPage>()) {
    ui_->setupUi(this);
    setObjectName(QStringLiteral("mAllControls"));
    retranslate();
    setCamera(nullptr);
}

AllControlsPage::~AllControlsPage() = default;

void AllControlsPage::retranslate() {
    ui_->mCameraGroup->setTitle(localized("CameraGroup"));
    ui_->mImageGroup->setTitle(localized("ImageGroup"));
    ui_->mVendorGroup->setTitle(localized("VendorGroup"));
    ui_->mTxtNone->setText(localized("NoMoreControls"));
    for (Row& row : rows_) {
        row.title->setText(titleOf(row.control));
        nameWidgets(row);
    }
}

void AllControlsPage::nameWidgets(Row& row) {
    // Screen readers announce each field by its row's title.
    const QString title = titleOf(row.control);
    for (QWidget* w : row.container->findChildren<QWidget*>()) {
        if (auto* command = qobject_cast<QToolButton*>(w);
            command && command->property("orvellaCommand").toBool()) {
            command->setAccessibleName(title + QStringLiteral(": ") + command->text());
            continue;
        }
        const int direction = w->property("orvellaDirection").toInt();
        w->setAccessibleName(direction == 0  ? title
                             : direction < 0 ? localizedFormat("Decrease_Control", title)
                                             : localizedFormat("Increase_Control", title));
    }
}

QFormLayout* AllControlsPage::layoutOf(ExtraGroup group) const {
    switch (group) {
        case ExtraGroup::Camera:
            return ui_->mCameraRows;
        case ExtraGroup::Image:
            return ui_->mImageRows;
        case ExtraGroup::Vendor:
            return ui_->mVendorRows;
    }
    return ui_->mVendorRows;
}

QString AllControlsPage::titleOf(const ExtraControl& control) const {
    if (control.group != ExtraGroup::Vendor) return localized(control.key);
    if (control.key.startsWith(QLatin1String("xu.")))
        return QStringLiteral("%1 (%2)").arg(localized("UnknownExtensionUnit"), control.key);
    return control.name;  // vendors' names stay as the data file gives them
}

QString AllControlsPage::valueText(const ExtraControl& control) {
    if (!control.curKnown) return QStringLiteral("\u2013");
    if (const ExtraItem* item = control.itemWithValue(control.cur)) return item->name;
    if (control.size == 0 && control.length > 8)
        return QStringLiteral("%1 bytes").arg(control.length);
    // An unknown unit's bytes mean nothing as a number: shown as the camera sends them.
    if (control.key.startsWith(QLatin1String("xu."))) {
        QByteArray bytes;
        for (size_t i = 0; i < control.length && i < 8; ++i)
            bytes.append(static_cast<char>(static_cast<uint64_t>(control.cur) >> (8 * i)));
        return QString::fromLatin1(bytes.toHex(' '));
    }
    return QString::number(control.cur);
}

void AllControlsPage::clearRows() {
    for (Row& row : rows_) {
        QFormLayout* layout = layoutOf(row.control.group);
        layout->removeRow(row.title);
    }
    rows_.clear();
}

void AllControlsPage::setCamera(CameraSession* camera) {
    camera_ = camera;
    clearRows();
    if (camera_)
        for (const ExtraControl& control : camera_->snapshot().extras)
            addRow(control);
    for (auto [group, box] : {std::pair{ExtraGroup::Camera, ui_->mCameraGroup},
                              std::pair{ExtraGroup::Image, ui_->mImageGroup},
                              std::pair{ExtraGroup::Vendor, ui_->mVendorGroup}})
        box->setVisible(layoutOf(group)->rowCount() > 0);
    ui_->mTxtNone->setVisible(rows_.empty());
    showValues();
}

void AllControlsPage::addRow(const ExtraControl& control) {
    Row row;
    row.control = control;
    row.title = new QLabel(titleOf(control));
    row.title->setToolTip(control.stored.isEmpty()
                              ? control.key
                              : control.key + QStringLiteral("\n") + control.stored);
    row.container = new QWidget;
    auto* line = new QHBoxLayout(row.container);
    line->setContentsMargins(0, 0, 0, 0);
    const size_t index = rows_.size();
    auto rowAt = [this, index]() -> const Row& { return rows_[index]; };
    switch (control.kind) {
        case ExtraKind::Range: {
            row.slider = new QSlider(Qt::Horizontal);
            row.field = new QSpinBox;
            for (auto* w : {static_cast<QAbstractSlider*>(row.slider)}) {
                w->setRange(clampToInt(control.min), clampToInt(control.max));
                w->setSingleStep(clampToInt(std::max<long>(control.res, 1)));
            }
            row.field->setRange(clampToInt(control.min), clampToInt(control.max));
            row.field->setSingleStep(clampToInt(std::max<long>(control.res, 1)));
            line->addWidget(row.slider, 1);
            line->addWidget(row.field);
            QSlider* slider = row.slider;
            QSpinBox* field = row.field;
            connect(slider, &QSlider::valueChanged, field, &QSpinBox::setValue);
            connect(field, &QSpinBox::valueChanged, slider, &QSlider::setValue);
            connect(field, &QSpinBox::valueChanged, this, [this, rowAt](int value) {
                if (!showing_) write(rowAt(), value);
            });
            break;
        }
        case ExtraKind::Boolean:
            row.check = new QCheckBox;
            line->addWidget(row.check);
            line->addStretch();
            connect(row.check, &QCheckBox::toggled, this, [this, rowAt](bool on) {
                if (!showing_) write(rowAt(), on ? 1 : 0);
            });
            break;
        case ExtraKind::Command:
            // A command has no current value to show: one button per thing it can do.
            for (size_t i = 0; i < control.items.size(); ++i) {
                auto* button = new QToolButton;
                button->setText(control.items[i].name);
                button->setProperty("orvellaCommand", true);
                line->addWidget(button);
                connect(button, &QToolButton::clicked, this,
                        [this, rowAt, i] { write(rowAt(), static_cast<long>(i)); });
            }
            line->addStretch();
            break;
        case ExtraKind::Menu:
        case ExtraKind::Bitmap: {
            row.choices = new QComboBox;
            for (const auto& item : control.items)
                row.choices->addItem(item.name, QVariant::fromValue<qlonglong>(item.value));
            line->addWidget(row.choices);
            line->addStretch();
            connect(row.choices, &QComboBox::activated, this, [this, rowAt](int index) {
                const Row& r = rowAt();
                write(r, static_cast<long>(r.choices->itemData(index).toLongLong()));
            });
            break;
        }
        case ExtraKind::Move: {
            // A standard move runs while the button is held and stops when it is let go; a
            // vendor's move is one step per press.
            const bool held = control.guid.isEmpty();
            for (const int direction : {-1, 1}) {
                auto* button = new QToolButton;
                button->setText(direction < 0 ? QStringLiteral("\u2212") : QStringLiteral("+"));
                button->setProperty("orvellaDirection", direction);
                line->addWidget(button);
                connect(button, &QToolButton::pressed, this,
                        [this, rowAt, direction] { write(rowAt(), direction); });
                if (held)
                    connect(button, &QToolButton::released, this,
                            [this, rowAt] { write(rowAt(), 0); });
            }
            line->addStretch();
            break;
        }
        case ExtraKind::ReadOnly:
            row.value = new QLabel;
            row.value->setTextInteractionFlags(Qt::TextSelectableByMouse);
            line->addWidget(row.value);
            line->addStretch();
            break;
    }
    layoutOf(control.group)->addRow(row.title, row.container);
    row.title->setBuddy(row.container);
    nameWidgets(row);
    rows_.push_back(std::move(row));
}

void AllControlsPage::showValues() {
    if (!camera_) return;
    const ExtraControls& now = camera_->snapshot().extras;
    showing_ = true;
    for (Row& row : rows_) {
        for (const ExtraControl& control : now)
            if (control.key == row.control.key) row.control = control;
        const ExtraControl& c = row.control;
        const bool enabled = c.writable && !governed(c, now);
        row.container->setEnabled(enabled);
        if (row.field) row.field->setValue(clampToInt(c.cur));
        if (row.check) row.check->setChecked(c.cur != 0);
        if (row.choices) {
            const int index = row.choices->findData(QVariant::fromValue<qlonglong>(c.cur));
            row.choices->setCurrentIndex(c.curKnown ? index : -1);
        }
        if (row.value) row.value->setText(valueText(c));
    }
    showing_ = false;
}

void AllControlsPage::write(const Row& row, long value) {
    if (!camera_ || !row.control.writable || !row.control.allows(value)) return;
    const QString key = row.control.key;
    camera_->post(
        [key, value](QTCamera& camera) {
            if (ExtraControl* control = camera.extraControl(key))
                extras::set(camera, *control, value);
        },
        row.control.kind == ExtraKind::Move ? 0 : writeKey(key));
    const ExtraControl& c = row.control;
    if (c.isStored() || (c.kind == ExtraKind::Command && c.kept && c.drivenBy.isEmpty()))
        emit settingChanged(0);
}

}  // namespace orvella::ui
