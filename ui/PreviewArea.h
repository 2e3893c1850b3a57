#pragma once
// The preview area of the control panel, above the camera's controls: the live picture of the
// current camera (CapturePreview), or in its place a note ("In use by another program", no
// picture), and the pop-up of the formats the preview can stream. It only shows what its owner
// tells it and reports the user's choice of format; the owner (the application's preview part)
// decides when the picture runs.

#include <QObject>
#include <QString>
#include <QStringList>

namespace Ui {
class ControlPanel;
}

namespace orvella::ui {

class CapturePreview;

class PreviewArea : public QObject {
    Q_OBJECT

  public:
    // The picture's height, and the least it is given on a short screen.
    static constexpr int kHeight = 270;
    static constexpr int kSmallestHeight = 90;
    // On a short screen, the height the controls' tabs keep beyond their smallest.
    static constexpr int kControlsRoom = 200;

    // The panel's widgets (borrowed; they belong to the panel's window).
    explicit PreviewArea(Ui::ControlPanel& ui);

    void localize();
    // The widget the frames are painted in.
    CapturePreview* view() const;

    // The whole area, or nothing of it (the preference is off, no camera can stream). Shown, the
    // window grows by it where the screen has room; otherwise the area takes its room from the
    // controls' tabs (which scroll), down to kSmallestHeight.
    void showArea(bool visible);
    bool isAreaShown() const;
    // The picture in the area (black until frames come).
    void showPicture();
    // A note in the picture's place (the key of a string-table text).
    void showNote(const char* key);
    // The note on show; empty while the picture is.
    QString note() const;
    // The formats the preview can stream (titles in the camera's order) and the one it streams.
    void showFormats(const QStringList& titles, int current);
    int selectedFormat() const;

    // A title for one of the camera's formats: "MJPG 1280 x 720, 30 fps".
    static QString formatTitle(const QString& fourCC, int width, int height, double fps);

  signals:
    // The user chose the format at `index` of the list shown.
    void selectFormat(int index);

  private:
    Ui::ControlPanel& ui_;
    const char* noteKey_ = nullptr;
    int grewBy_ = 0;  // what the window grew by when the area was shown
};

}  // namespace orvella::ui
