#pragma once
// A segmented control: a row of checkable tool buttons in one exclusive button group, each segment
// with a label and an integer tag. The interface file gives the segments through the properties
// "labels" (placeholder texts, replaced by the localization) and "tags"; code selects and reads
// segments by index or by tag. Any number of segments may be deselected at once. For the keyboard
// it is one tab stop, as a radio group is: Tab reaches the selected segment and the arrow keys
// choose the next or previous one.

#include <QButtonGroup>
#include <QStringList>
#include <QWidget>

class QToolButton;

namespace orvella::ui {

class SegmentedControl : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QStringList labels READ labels WRITE setLabels)
    Q_PROPERTY(QStringList tags READ tagTexts WRITE setTagTexts)

  public:
    explicit SegmentedControl(QWidget* parent = nullptr);

    int segmentCount() const;
    // Sets the number of segments; new segments have an empty label and the tag 0.
    void setSegmentCount(int count);

    QString label(int segment) const;
    void setLabel(int segment, const QString& label);
    int tag(int segment) const;
    void setTag(int segment, int tag);

    // The selected segment, -1 when none.
    int selectedSegment() const;
    void setSelectedSegment(int segment);  // -1 deselects all
    // Selects the segment carrying `tag`; false (selection unchanged) when no segment carries it.
    bool selectSegmentWithTag(int tag);
    // The tag of the selected segment, -1 when none is selected.
    int selectedTag() const;
    void deselectAll() { setSelectedSegment(-1); }

    bool isSegmentEnabled(int segment) const;
    void setSegmentEnabled(int segment, bool enabled);

    // The button of a segment, for tests and style.
    QToolButton* segmentButton(int segment) const;

    QStringList labels() const;
    void setLabels(const QStringList& labels);
    QStringList tagTexts() const;
    void setTagTexts(const QStringList& tags);

  protected:
    void changeEvent(QEvent* event) override;
    // The arrow keys on a segment choose the next or previous one.
    bool eventFilter(QObject* watched, QEvent* event) override;

  signals:
    // The user clicked a segment (it is now selected).
    void segmentClicked(int segment);

  private:
    // The selected segment takes the palette's highlight, as a selected item does in a list.
    void updateSegmentColours();
    // One tab stop for the whole control (see the .cpp).
    void updateTabStop();

    QList<QToolButton*> buttons_;
    QList<int> tags_;
    QButtonGroup group_;
};

}  // namespace orvella::ui
