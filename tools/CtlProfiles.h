#pragma once
// orvellactl's profile commands over the application's own profile store and settings record:
// `profile list|save|apply|delete|show` and `apply-last`, so a script or a user service can keep
// and restore a camera's settings without the tray application.

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <ostream>
#include <variant>
#include <vector>

#include "camera/QTCamera.h"
#include "tools/OrvellaCtl.h"

namespace orvella::tools {

// A failed command: one line for standard error and the exit status.
struct CtlFailure {
    QString message;
    int status = kExitFailure;
};

// The cameras of a run as the commands see them: all of them in list order, and how a CAMERA
// word (or none) resolves.
struct CtlCameras {
    std::vector<QTCamera*> all;
    std::function<std::variant<QTCamera*, CtlFailure>(const std::optional<QString>&)> find;
};

// `profile SUBCOMMAND [CAMERA] [NAME]` (the arguments after "profile"), on the preferences file
// of this user. A note about a preferences file that had to be set aside goes to `err`.
std::optional<CtlFailure> runProfileCommand(const CtlCameras& cameras, const QStringList& arguments,
                                            bool json, std::ostream& out, std::ostream& err);

// `apply-last [CAMERA]` and `apply-last --all`.
std::optional<CtlFailure> runApplyLastCommand(const CtlCameras& cameras,
                                              const QStringList& arguments, bool all,
                                              std::ostream& err);

// `lock [CAMERA]`: lock the look (settings/LockTheLook.h); what was locked goes to `out`, what
// did not stick to `err` and makes it fail. The result becomes the model's last state.
std::optional<CtlFailure> runLockCommand(const CtlCameras& cameras, const QStringList& arguments,
                                         std::ostream& out, std::ostream& err);

}  // namespace orvella::tools
