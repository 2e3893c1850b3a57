#pragma once
// The profile box: the profile pop-up over an item model (0 the camera default, 1 a separator,
// 2.. the profiles) and the save, update, delete and load-at-start buttons, which follow the
// selected item's state. Its widgets only emit signals; the profile flows belong to the owner.

#include <QGroupBox>
#include <memory>

namespace Ui {
class ProfileBox;
}
class QAbstractItemModel;

namespace orvella::ui {

class ProfileBox : public QGroupBox {
    Q_OBJECT

  public:
    explicit ProfileBox(QWidget* parent = nullptr);
    ~ProfileBox() override;

    Ui::ProfileBox& outlets() { return *ui_; }
    void localize();

    // The model the pop-up shows; the box keeps it.
    void setModel(QAbstractItemModel* model);
    // The pop-up shows `row` (-1: none); the buttons follow.
    void showSelection(int row, bool cameraChosen);
    int selectedRow() const;
    QString selectedTitle() const;
    // The selected item is marked as changed by hand since it was chosen.
    void markSelectedModified();
    // The selected item just became the start profile.
    void showLoadAtStartChosen();
    // Whether a profile can be chosen (there is a camera).
    void setChoosable(bool on);
    // The profiles leave the list; nothing is selected and nothing can be chosen.
    void clear(bool cameraChosen);
    // The buttons by the selected item's state: save while it is changed by hand, update that,
    // delete an unchanged profile, load at start anything but the start profile. With nothing
    // selected, saving needs a chosen camera.
    void enableDisableProfileButton(bool cameraChosen);

  signals:
    void selectProfile(int index);
    void clickSaveNewProfile();
    void clickUpdateProfile();
    void clickDeleteProfile();
    void clickLoadAtStart();

  private:
    std::unique_ptr<Ui::ProfileBox> ui_;
};

}  // namespace orvella::ui
