#pragma once
// The Preferences tab: launch at login, the tray icon's look and presence, the two timer
// intervals with their explanations, and the settings guard. Its widgets only emit signals; the
// owner stores the choices and shows the stored ones back.

#include <QWidget>
#include <memory>

namespace Ui {
class PreferencesPage;
}
class QComboBox;

namespace orvella::ui {

class PreferencesPage : public QWidget {
    Q_OBJECT

  public:
    // Key of an interval item's title, kept so that a second localize still finds it.
    static constexpr int kItemKeyRole = Qt::UserRole + 10;

    explicit PreferencesPage(QWidget* parent = nullptr);
    ~PreferencesPage() override;

    Ui::PreferencesPage& outlets() { return *ui_; }
    void localize();

    void showLaunchAtLogin(bool on);
    void showMenuIcon(bool blackAndWhite);
    // Whether the tray icon is hidden; its black-and-white choice only applies while it is not.
    void showTrayIconHidden(bool hidden);
    // The stored intervals (counts of half-second ticks); one the pop-ups do not offer is shown
    // as an item of its own.
    void showIntervals(int updateSliderTicks, int reconfigureWebcamTicks);
    // The guard's state and settle time; while it is on, the re-send box says that its blind
    // re-send is not needed.
    void showGuardSettings(bool on, int settleMs);
    // Whether the panel shows the current camera's live picture.
    void showShowPreview(bool on);

    // The tag of each item of an interval pop-up (the stored preference values).
    static int intervalTag(const QComboBox* pop, int index);
    static bool selectIntervalTag(QComboBox* pop, int tag);

  signals:
    void clickLaunchAtLogin(bool on);
    void selectBWMenuIcon(bool on);
    void clickHideMenuBarIcon(bool on);
    void selectUpdateSlider(int tag);
    void selectReconfigureWebcam(int tag);
    void clickReadIntervalInfo();
    void clickWriteIntervalInfo();
    void clickGuardSettings(bool on);
    void selectGuardSettleTime(int milliseconds);
    void clickShowPreview(bool on);

  private:
    void wireActions();

    std::unique_ptr<Ui::PreferencesPage> ui_;
};

}  // namespace orvella::ui
