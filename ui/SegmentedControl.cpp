#include "ui/SegmentedControl.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QToolButton>

#include "ui/ButtonAccessible.h"

namespace orvella::ui {

SegmentedControl::SegmentedControl(QWidget* parent) : QWidget(parent) {
    auto layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    group_.setExclusive(true);
    connect(&group_, &QButtonGroup::idClicked, this, &SegmentedControl::segmentClicked);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

int SegmentedControl::segmentCount() const {
    return static_cast<int>(buttons_.size());
}

void SegmentedControl::setSegmentCount(int count) {
    count = std::max(count, 0);
    while (segmentCount() > count) {
        QToolButton* button = buttons_.takeLast();
        tags_.removeLast();
        group_.removeButton(button);
        delete button;
    }
    while (segmentCount() < count) {
        auto button = new QToolButton(this);
        button->setCheckable(true);
        setAccessibleButtonRole(button, ButtonRole::Segment);
        button->setAutoRaise(false);
        button->setToolButtonStyle(Qt::ToolButtonTextOnly);
        button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        group_.addButton(button, segmentCount());
        connect(button, &QToolButton::toggled, this, [this] { updateSegmentColours(); });
        layout()->addWidget(button);
        buttons_.append(button);
        tags_.append(0);
        // A label's mnemonic for the control moves the focus to its first segment.
        if (buttons_.size() == 1) setFocusProxy(button);
    }
}

QString SegmentedControl::label(int segment) const {
    return segment >= 0 && segment < segmentCount() ? buttons_[segment]->text() : QString();
}

void SegmentedControl::setLabel(int segment, const QString& label) {
    if (segment >= 0 && segment < segmentCount()) buttons_[segment]->setText(label);
}

int SegmentedControl::tag(int segment) const {
    return segment >= 0 && segment < segmentCount() ? tags_[segment] : -1;
}

void SegmentedControl::setTag(int segment, int tag) {
    if (segment >= 0 && segment < segmentCount()) tags_[segment] = tag;
}

int SegmentedControl::selectedSegment() const {
    return group_.checkedId();
}

void SegmentedControl::setSelectedSegment(int segment) {
    if (segment >= 0 && segment < segmentCount()) {
        buttons_[segment]->setChecked(true);
        return;
    }
    // An exclusive group keeps one button checked; lift the rule while clearing.
    group_.setExclusive(false);
    for (QToolButton* button : buttons_)
        button->setChecked(false);
    group_.setExclusive(true);
}

bool SegmentedControl::selectSegmentWithTag(int tag) {
    const int segment = static_cast<int>(tags_.indexOf(tag));
    if (segment < 0) return false;
    setSelectedSegment(segment);
    return true;
}

int SegmentedControl::selectedTag() const {
    const int segment = selectedSegment();
    return segment >= 0 ? tags_[segment] : -1;
}

bool SegmentedControl::isSegmentEnabled(int segment) const {
    return segment >= 0 && segment < segmentCount() && buttons_[segment]->isEnabled();
}

void SegmentedControl::setSegmentEnabled(int segment, bool enabled) {
    if (segment >= 0 && segment < segmentCount()) buttons_[segment]->setEnabled(enabled);
}

QToolButton* SegmentedControl::segmentButton(int segment) const {
    return segment >= 0 && segment < segmentCount() ? buttons_[segment] : nullptr;
}

void SegmentedControl::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    switch (event->type()) {
        case QEvent::PaletteChange:
        case QEvent::ApplicationPaletteChange:
        case QEvent::EnabledChange:
            updateSegmentColours();
            break;
        default:
            break;
    }
}

void SegmentedControl::updateSegmentColours() {
    const QPalette base = palette();
    for (QToolButton* button : buttons_) {
        if (!button->isChecked()) {
            button->setPalette(QPalette());
            continue;
        }
        QPalette selected = base;
        for (auto group : {QPalette::Active, QPalette::Inactive}) {
            selected.setColor(group, QPalette::Button, base.color(group, QPalette::Highlight));
            selected.setColor(group, QPalette::ButtonText,
                              base.color(group, QPalette::HighlightedText));
        }
        // A selected segment of a disabled control keeps a hint of the selection.
        const QColor dimmed = base.color(QPalette::Disabled, QPalette::Button);
        const QColor accent = base.color(QPalette::Active, QPalette::Highlight);
        selected.setColor(
            QPalette::Disabled, QPalette::Button,
            QColor((dimmed.red() * 2 + accent.red()) / 3, (dimmed.green() * 2 + accent.green()) / 3,
                   (dimmed.blue() * 2 + accent.blue()) / 3));
        button->setPalette(selected);
    }
}

QStringList SegmentedControl::labels() const {
    QStringList out;
    for (QToolButton* button : buttons_)
        out << button->text();
    return out;
}

void SegmentedControl::setLabels(const QStringList& labels) {
    if (labels.size() > segmentCount()) setSegmentCount(static_cast<int>(labels.size()));
    for (int i = 0; i < labels.size(); ++i)
        setLabel(i, labels[i]);
}

QStringList SegmentedControl::tagTexts() const {
    QStringList out;
    for (int tag : tags_)
        out << QString::number(tag);
    return out;
}

void SegmentedControl::setTagTexts(const QStringList& tags) {
    if (tags.size() > segmentCount()) setSegmentCount(static_cast<int>(tags.size()));
    for (int i = 0; i < tags.size(); ++i)
        setTag(i, tags[i].toInt());
}

}  // namespace orvella::ui
