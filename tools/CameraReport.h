#pragma once
// What orvellactl prints about a camera: a one-line list entry, a readable summary, and the JSON
// document of `show --json` (identity fields, every SupportedControl field under its own name,
// and the stream formats).

#include <QJsonObject>
#include <QString>

#include "camera/QTCamera.h"

namespace orvella::tools {

// One line of `list`: number, the name the camera goes by (`name`; the display name when empty),
// uniqueID and modelUniqueID, tab-separated.
QString listLine(int number, const QTCamera& camera, const QString& name = QString());
QString textReport(QTCamera& camera);
QJsonObject jsonReport(QTCamera& camera);

}  // namespace orvella::tools
