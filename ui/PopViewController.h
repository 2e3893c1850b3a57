#pragma once
// The reminder's content, from PopViewController.ui: the text that says where the application
// lives (mTxtPopover) and the check box that turns the reminder off (mChkDisablePopup), both in
// white so that they read on the dark body. Storing the check box's state ("Disable Popup") is
// the controller's: it hears disablePopupClicked.

#include <QColor>
#include <QWidget>
#include <memory>

class QAbstractButton;
class QCheckBox;
class QLabel;

namespace Ui {
class PopViewController;
}

namespace orvella::ui {

class PopViewController final : public QWidget {
    Q_OBJECT
  public:
    explicit PopViewController(QWidget* parent = nullptr);
    ~PopViewController() override;

    // Fills the texts from the string table.
    void localize();
    // A value of the application's information table ("CFBundleName", ...): the localized one
    // when the translation has it, else the plain one.
    static QString infoValueForKey(const QString& key);

    void setDisablePopup(bool disabled);
    bool disablePopup() const;

    QLabel* mTxtPopover() const;
    QCheckBox* mChkDisablePopup() const;

  signals:
    // The check box was clicked: the reminder is (not) to be shown again.
    void disablePopupClicked(bool disabled);

  private:
    std::unique_ptr<Ui::PopViewController> ui_;
};

// A button title's colour, and setting it (the text colour of its palette).
QColor textColor(const QAbstractButton& button);
void setTextColor(QAbstractButton& button, const QColor& color);

}  // namespace orvella::ui
