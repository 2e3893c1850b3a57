#pragma once
// The login item: whether the application is started when the user logs in. On Linux an XDG
// autostart entry (platform/linux/XdgAutostart.h).

namespace orvella::platform {

class LoginItem {
  public:
    virtual ~LoginItem() = default;
    // Registers or removes the login item. False (and logged) when that cannot be done.
    virtual bool setEnabled(bool enabled) = 0;
    virtual bool isEnabled() const = 0;
};

}  // namespace orvella::platform
