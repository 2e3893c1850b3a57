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
        const int height = box->height() + window->layout()->spacing();
        box->hide();
        window->resize(window->width(),
                       std::max(window->minimumSizeHint().height(), window->height() - height));
        return;
    }
    // As tall as the screen leaves room for beside the rest of the panel at its smallest, from
    // kSmallestHeight up to kHeight (a 16:9 picture of 480 x 270: a 1080p or 720p MJPEG frame
    // decodes at exactly that size, at a quarter or three eighths scale).
    int height = kHeight;
    int room = QWIDGETSIZE_MAX;
    if (const QScreen* screen = window->screen()) {
        room = screen->availableGeometry().height() - ControlPanel::kWindowFrameAllowance;
        const int rest = window->minimumSizeHint().height() +
                         ui_.mPopPreviewFormat->sizeHint().height() +
                         2 * window->layout()->spacing() + ui_.previewLayout->spacing();
        height = std::clamp(room - rest, kSmallestHeight, kHeight);
    }
    ui_.mStkPreview->setFixedHeight(height);
    const int before = window->height();
    box->show();
    // The window grows by the area where the screen has room, so the controls keep theirs.
    const int grown = before + box->sizeHint().height() + window->layout()->spacing();
    window->resize(window->width(),
                   std::max(window->minimumSizeHint().height(), std::min(room, grown)));
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
