#include "ui/ButtonAccessible.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAccessibleWidget>

#include "ui/Localization.h"

namespace orvella::ui {

namespace {

constexpr char kRoleProperty[] = "orvellaAccessibleButtonRole";

class ButtonAccessible : public QAccessibleWidget {
  public:
    ButtonAccessible(QAbstractButton* button, ButtonRole role)
        : QAccessibleWidget(
              button, role == ButtonRole::Segment ? QAccessible::RadioButton : QAccessible::Button),
          role_(role) {}

    QString text(QAccessible::Text t) const override {
        QString text = QAccessibleWidget::text(t);
        // The button's own text when no name was given, without its mnemonic marker.
        if (t == QAccessible::Name && text.isEmpty()) text = withoutMnemonic(button()->text());
        return text;
    }
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        if (role_ == ButtonRole::Segment) {
            state.checkable = true;
            state.checked = button()->isChecked();
        } else {
            state.pressed = button()->isChecked();
        }
        return state;
    }
    QStringList actionNames() const override {
        return QStringList{role_ == ButtonRole::Segment ? toggleAction() : pressAction()} +
               QAccessibleWidget::actionNames();
    }
    void doAction(const QString& actionName) override {
        if (actionName == pressAction() || actionName == toggleAction()) {
            if (button()->isEnabled()) button()->click();
            return;
        }
        QAccessibleWidget::doAction(actionName);
    }

  private:
    QAbstractButton* button() const { return static_cast<QAbstractButton*>(widget()); }
    ButtonRole role_;
};

QAccessibleInterface* buttonAccessible(const QString&, QObject* object) {
    auto* button = qobject_cast<QAbstractButton*>(object);
    if (!button) return nullptr;
    const QVariant role = button->property(kRoleProperty);
    if (!role.isValid()) return nullptr;
    return new ButtonAccessible(button, static_cast<ButtonRole>(role.toInt()));
}

}  // namespace

void setAccessibleButtonRole(QAbstractButton* button, ButtonRole role) {
    static const bool installed = [] {
        QAccessible::installFactory(buttonAccessible);
        return true;
    }();
    Q_UNUSED(installed);
    button->setProperty(kRoleProperty, static_cast<int>(role));
}

}  // namespace orvella::ui
