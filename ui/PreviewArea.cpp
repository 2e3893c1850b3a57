#include "ui/PreviewArea.h"

#include <QComboBox>
#include <QLabel>
#include <QLayout>
#include <QScreen>
#include <QStackedWidget>
#include <algorithm>
#include <cmath>

#include "ui/CapturePreview.h"
#include "ui/ControlPanel.h"
#include "ui/Localization.h"
#include "ui_ControlPanel.h"

namespace orvella::ui {

PreviewArea::PreviewArea(Ui::ControlPanel& ui) : ui_(ui) {
    connect(ui_.mPopPreviewFormat, &QComboBox::activated, this, &PreviewArea::selectFormat);
    // A frame that cannot be read says so beside the pop-up, for as long as frames cannot be.
    connect(ui_.mVwPreview, &CapturePreview::readableChanged, this,
            [this](bool readable) { ui_.mTxtPreviewUnreadable->setVisible(!readable); });
    ui_.mBoxPreview->hide();  // until its owner shows it
}

void PreviewArea::localize() {
    ui_.mTxtPreviewFormatLabel->setText(localized("PreviewFormat"));
    ui_.mTxtPreviewUnreadable->setText(localized("PreviewUnreadable"));
    if (noteKey_) ui_.mTxtPreviewNote->setText(localized(noteKey_));
}

CapturePreview* PreviewArea::view() const {
    return ui_.mVwPreview;
}

void PreviewArea::showArea(bool visible) {
    QWidget* box = ui_.mBoxPreview;
    if (visible == !box->isHidden()) return;
    QWidget* window = box->window();
    if (!visible) {
        box->hide();
        // What the window grew by for the area, it gives back.
        window->resize(window->width(),
                       std::max(window->minimumSizeHint().height(), window->height() - grewBy_));
        grewBy_ = 0;
        return;
    }
    // Full height (a 16:9 picture of 480 x 270: a 1080p or 720p MJPEG frame decodes at exactly
    // that size, at a quarter or three eighths scale) where the screen lets the window grow by the
    // whole area; otherwise the window keeps its height and the area takes what the rest of the
    // panel at its smallest leaves of it, less kControlsRoom for the controls' tabs, down to
    // kSmallestHeight.
    const int before = window->height();
    const int row = ui_.mPopPreviewFormat->sizeHint().height() + ui_.previewLayout->spacing() +
                    window->layout()->spacing();
    int room = QWIDGETSIZE_MAX;
    if (const QScreen* screen = window->screen())
        room = screen->availableGeometry().height() - ControlPanel::kWindowFrameAllowance;
    int height = kHeight;
    int windowHeight = before + kHeight + row;
    if (windowHeight > room) {
        windowHeight = before;
        height = std::clamp(before - window->minimumSizeHint().height() - row - kControlsRoom,
                            kSmallestHeight, kHeight);
    }
    ui_.mStkPreview->setFixedHeight(height);
    box->show();
    window->resize(window->width(), std::max(window->minimumSizeHint().height(), windowHeight));
    grewBy_ = window->height() - before;
}

bool PreviewArea::isAreaShown() const {
    return !ui_.mBoxPreview->isHidden();
}

void PreviewArea::showPicture() {
    noteKey_ = nullptr;
    ui_.mTxtPreviewNote->clear();
    ui_.mStkPreview->setCurrentWidget(ui_.mVwPreview);
}

void PreviewArea::showNote(const char* key) {
    noteKey_ = key;
    ui_.mTxtPreviewNote->setText(localized(key));
    ui_.mTxtPreviewUnreadable->hide();
    ui_.mStkPreview->setCurrentWidget(ui_.mTxtPreviewNote);
}

QString PreviewArea::note() const {
    return ui_.mStkPreview->currentWidget() == ui_.mTxtPreviewNote ? ui_.mTxtPreviewNote->text()
                                                                   : QString();
}

void PreviewArea::showFormats(const QStringList& titles, int current) {
    QComboBox* pop = ui_.mPopPreviewFormat;
    const QSignalBlocker blocker(pop);
    pop->clear();
    pop->addItems(titles);
    pop->setCurrentIndex(current);
    pop->setEnabled(!titles.isEmpty());
}

int PreviewArea::selectedFormat() const {
    return ui_.mPopPreviewFormat->currentIndex();
}

QString PreviewArea::formatTitle(const QString& fourCC, int width, int height, double fps) {
    QString title = QStringLiteral("%1 %2 x %3").arg(fourCC).arg(width).arg(height);
    if (fps > 0 && std::isfinite(fps))
        title += QStringLiteral(", %1 fps").arg(QString::number(fps, 'g', 4));
    return title;
}

}  // namespace orvella::ui
