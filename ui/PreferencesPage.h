#pragma once
// The Preferences tab: launch at login, the tray icon's look and presence, the two timer
// intervals with their explanations, and the settings guard. Its widgets only emit signals; the
// owner stores the choices and shows the stored ones back.

#include <QMap>
#include <QPair>
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

    // The rules for programs: a program is picked from `programs` (seen so far, or with a rule)
    // or typed; the first item is every other program. A rule is (kind, profile): kind 0 keep my
    // settings, 1 apply the profile, 2 leave the camera alone. `profiles` are the profile names
    // of the current camera's model.
    using ShownRule = QPair<int, QString>;
    void showProgramRules(const QStringList& programs, const QMap<QString, ShownRule>& rules,
                          const ShownRule& otherPrograms, const QStringList& profiles);
    // The program the rule pop-ups show (empty: every other program).
    QString ruleProgram() const;

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
    // A rule chosen for a program (empty: every other program); kind as in showProgramRules.
    void setProgramRule(const QString& program, int kind, const QString& profile);
    void clickShowPreview(bool on);

  private:
    void wireActions();
    void showRuleOfProgram();
    void ruleChosen();

    QMap<QString, ShownRule> rules_;
    ShownRule otherPrograms_{0, QString()};

    std::unique_ptr<Ui::PreferencesPage> ui_;
};

}  // namespace orvella::ui
