#pragma once
// The "All controls" tab: every control the current camera has beyond the rows of the other tabs
// (camera/ControlCatalogExtra.h), generated from the camera's published snapshot and grouped as
// camera, image and vendor controls, with Qt's widget for each kind: a slider and its value
// field for a range, a check box for a boolean, a pop-up for a menu or a vendor's command, two
// buttons for a relative move, a label for a read-only control. A control an automatic mode
// governs is greyed like the rows. Writes go to the camera's session as jobs; nothing here
// waits for the camera.

#include <QString>
#include <QWidget>
#include <cstdint>
#include <memory>
#include <vector>

#include "camera/ControlCatalogExtra.h"

namespace Ui {
class AllControlsPage;
}
class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QSlider;
class QSpinBox;

namespace orvella {
class CameraSession;
}

namespace orvella::ui {

class AllControlsPage : public QWidget {
    Q_OBJECT

  public:
    explicit AllControlsPage(QWidget* parent = nullptr);
    ~AllControlsPage() override;

    // Builds the rows for the camera's controls (null: none) from its snapshot.
    void setCamera(CameraSession* camera);
    // Shows the snapshot's values again, without a request.
    void showValues();
    void retranslate();
    int rowCount() const { return static_cast<int>(rows_.size()); }

  signals:
    // A control a record keeps was changed: the last state is refreshed (0: the whole record).
    void settingChanged(int32_t settingsID);

  private:
    struct Row {
        ExtraControl control;  // as the snapshot had it when the row was built
        QLabel* title = nullptr;
        QSlider* slider = nullptr;
        QSpinBox* field = nullptr;
        QCheckBox* check = nullptr;
        QComboBox* choices = nullptr;
        QLabel* value = nullptr;
        QWidget* container = nullptr;
    };

    void clearRows();
    void addRow(const ExtraControl& control);
    QFormLayout* layoutOf(ExtraGroup group) const;
    QString titleOf(const ExtraControl& control) const;
    void nameWidgets(Row& row);
    void write(const Row& row, long value);
    static QString valueText(const ExtraControl& control);

    std::unique_ptr<Ui::AllControlsPage> ui_;
    CameraSession* camera_ = nullptr;
    std::vector<Row> rows_;
    bool showing_ = false;  // widgets are being set from the snapshot, not by the user
};

}  // namespace orvella::ui
