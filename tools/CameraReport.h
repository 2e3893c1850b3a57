#pragma once
// What orvellactl prints about a camera: a one-line list entry, a readable summary, and the JSON
// document of `show --json` (identity fields, every SupportedControl field under its own name,
// and the stream formats).

#include <QJsonObject>
#include <QString>

#include "camera/QTCamera.h"

namespace orvella::tools {

QString listLine(int number, const QTCamera& camera);
QString textReport(QTCamera& camera);
QJsonObject jsonReport(QTCamera& camera);

}  // namespace orvella::tools
