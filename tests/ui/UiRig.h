#pragma once
// Cameras for the widget tests: a virtual camera from a fixture, seen through the whole platform
// seam (USB host, media devices, capture devices) and built as the application builds it, with
// the requests it received at hand.

#include <gtest/gtest.h>

#include <QString>
#include <memory>
#include <vector>

#include "camera/CameraSession.h"
#include "support/OpenedCamera.h"

namespace orvella::testing {

// The camera as the application builds it (support/OpenedCamera.h), in a session of its own as
// the application runs it, with what it received listed by selector and unit. Everything that
// reads what the camera got waits for its session first.
struct UiCamera : FixtureCamera {
    template <typename... Args>
    explicit UiCamera(Args&&... args)
        : FixtureCamera(std::forward<Args>(args)...),
          session_(std::make_unique<CameraSession>(std::move(camera))) {}
    // The camera object goes on its session's thread, before the platform it talks to.
    ~UiCamera() {
        session_.reset();
        CameraSession::waitForSessionsToEnd(10000);
    }
    CameraSession* session() const { return session_.get(); }
    // The camera's record as its session last published it.
    const SupportedControl& record() const {
        CameraSession::settleAll();
        return session_->snapshot().controls;
    }
    // The SET_CUR requests that reached the camera, as (selector, unit, value) in order.
    struct Write {
        int selector, unit;
        int64_t value;
        bool operator==(const Write&) const = default;
    };
    std::vector<Write> setCurs() const {
        CameraSession::settleAll();
        std::vector<Write> out;
        for (const testing::SetCur& s : testing::setCurs(*device))
            out.push_back({s.selector, s.unit, s.value()});
        return out;
    }
    std::vector<Write> setCursOf(int selector, int unit) const {
        std::vector<Write> out;
        for (const Write& w : setCurs())
            if (w.selector == selector && w.unit == unit) out.push_back(w);
        return out;
    }
    int pu() const { return device->processingUnitID(); }
    int ct() const { return device->cameraTerminalID(); }

  private:
    std::unique_ptr<CameraSession> session_;
};

// UVC selectors the tests look for.
namespace sel {
constexpr int kAutoExposureMode = 0x02;
constexpr int kExposureTimeAbsolute = 0x04;
constexpr int kFocusAbsolute = 0x06;
constexpr int kIrisRelative = 0x0A;
constexpr int kZoomAbsolute = 0x0B;
constexpr int kFocusAuto = 0x08;
constexpr int kBrightness = 0x02;
constexpr int kGamma = 0x09;
constexpr int kWhiteBalanceTemperature = 0x0A;
constexpr int kBacklightCompensation = 0x01;
constexpr int kWhiteBalanceTemperatureAuto = 0x0B;
constexpr int kPowerLineFrequency = 0x05;
}  // namespace sel

}  // namespace orvella::testing
