#include "ui/PreviewArea.h"

#include <QComboBox>
#include <QLabel>
#include <QStackedWidget>
#include <cmath>

#include "ui/CapturePreview.h"
#include "ui/Localization.h"
#include "ui_ControlPanel.h"

namespace orvella::ui {

PreviewArea::PreviewArea(Ui::ControlPanel& ui) : ui_(ui) {
    connect(ui_.mPopPreviewFormat, &QComboBox::activated, this, &PreviewArea::selectFormat);
    // A frame that cannot be read says so beside the pop-up, for as long as frames cannot be.
    connect(ui_.mVwPreview, &CapturePreview::readableChanged, this,
            [this](bool readable) { ui_.mTxtPreviewUnreadable->setVisible(!readable); });
    showArea(false);
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
    ui_.mBoxPreview->setVisible(visible);
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
