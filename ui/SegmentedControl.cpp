#include "ui/SegmentedControl.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
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
        connect(button, &QToolButton::toggled, this, [this] {
            updateSegmentColours();
            updateTabStop();
        });
        button->installEventFilter(this);
        layout()->addWidget(button);
        buttons_.append(button);
        tags_.append(0);
    }
    updateTabStop();
}

void SegmentedControl::updateTabStop() {
    // The control is one stop of the tab chain, as a group of radio buttons is: the selected
    // segment, or the first one that can be chosen. A label's mnemonic moves the focus there.
    QToolButton* stop = nullptr;
    const int selected = selectedSegment();
    if (selected >= 0 && buttons_[selected]->isEnabled()) stop = buttons_[selected];
    for (QToolButton* button : buttons_)
        if (!stop && button->isEnabled()) stop = button;
    if (!stop && !buttons_.isEmpty()) stop = buttons_.first();
    for (QToolButton* button : buttons_)
        button->setFocusPolicy(button == stop ? Qt::StrongFocus : Qt::ClickFocus);
    setFocusProxy(stop);
}

bool SegmentedControl::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return QWidget::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    int step = 0;
    if (key == Qt::Key_Left || key == Qt::Key_Up) step = -1;
    if (key == Qt::Key_Right || key == Qt::Key_Down) step = 1;
    const int from = static_cast<int>(buttons_.indexOf(static_cast<QToolButton*>(watched)));
    if (step == 0 || from < 0) return QWidget::eventFilter(watched, event);
    // The arrow keys choose the next segment that can be chosen, as they do in a radio group.
    for (int i = from + step; i >= 0 && i < segmentCount(); i += step) {
        if (!buttons_[i]->isEnabled()) continue;
        buttons_[i]->setFocus(Qt::OtherFocusReason);
        buttons_[i]->click();
        break;
    }
    return true;
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
    updateTabStop();
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
            updateTabStop();
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
