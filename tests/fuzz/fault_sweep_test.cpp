// Fault sweeps: a camera that vanishes at each control request in turn, and one that stops
// answering at each request in turn, while it is opened and probed and while every control is
// read and written (each to its current value, then all to their defaults). Every step must end
// with the camera reported gone (or the request failed), without a sanitizer report or a leak, and
// without the core hammering a dead device.

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <functional>
#include <string>

#include "fuzz/NewCamera.h"
#include "settings/CameraProfiles.h"
#include "settings/DefaultsStore.h"
#include "settings/ProfileStore.h"
#include "support/VirtualRig.h"
#include "tools/CtlControls.h"

namespace orvella::fuzz {
namespace {

using virtualcam::RecordedRequest;

// What one step of a sweep leaves behind, for the checks below.
struct SweepStep {
    int faultAt = 0;  // the control request at which the fault strikes (1 = the first)
    // Control requests of the same sequence when the request at the fault merely fails with a
    // general error, which the core neither retries nor treats as the end of the camera.
    int failedCount = 0;
    NewCamera* run = nullptr;
    std::vector<RecordedRequest> controlRequests;  // in order, with their statuses
    IOReturn lastRead = kIOReturnSuccess;          // a read made after everything else
};

// Checks every step must pass.
using StepCheck = std::function<void(const SweepStep&)>;

// Runs the application's sequence on a fresh copy of `fixture` with `inject` applied.
struct Sweep {
    std::string fixture;

    std::unique_ptr<NewCamera> run(const std::function<void(virtualcam::VirtualCamera&)>& inject) {
        auto run = std::make_unique<NewCamera>(testing::loadFixture(fixture));
        if (inject) inject(run->device());
        run->bringUp();
        run->readEveryControl();
        run->writeEveryControl();
        run->writeDefaults();
        return run;
    }

    static std::vector<RecordedRequest> controlRequests(const virtualcam::VirtualCamera& device) {
        std::vector<RecordedRequest> out;
        for (const RecordedRequest& r : device.requests())
            if (r.kind == RecordedRequest::Kind::Control) out.push_back(r);
        return out;
    }

    // Control requests of a run with no fault.
    int cleanRequestCount() { return static_cast<int>(controlRequests(run({})->device()).size()); }

    void sweep(const std::function<void(virtualcam::VirtualCamera&, int)>& inject,
               const std::vector<StepCheck>& checks) {
        const int total = cleanRequestCount();
        ASSERT_GT(total, 20) << fixture << " makes too few requests to sweep";
        for (int at = 1; at <= total; ++at) {
            SCOPED_TRACE(fixture + ", fault at control request " + std::to_string(at));
            auto r = run([&](virtualcam::VirtualCamera& device) { inject(device, at); });
            auto failed = run([&](virtualcam::VirtualCamera& device) {
                device.failOnRequest(at, kIOReturnError);
            });
            SweepStep step{at, static_cast<int>(controlRequests(failed->device()).size()), r.get(),
                           controlRequests(r->device()), kIOReturnSuccess};
            ASSERT_TRUE(r->camera());
            long value = 0;
            step.lastRead = r->camera()->queryBrightness(&value);
            for (const StepCheck& check : checks)
                check(step);
            if (::testing::Test::HasFailure()) return;  // one failing step says enough
        }
    }
};

// Requests before the fault are untouched by it.
void requestsBeforeTheFaultAnswered(const SweepStep& step) {
    const int before =
        std::min<int>(step.faultAt - 1, static_cast<int>(step.controlRequests.size()));
    ASSERT_GE(static_cast<int>(step.controlRequests.size()), step.faultAt)
        << "the sequence stopped before the fault";
    for (int i = 0; i < before; ++i)
        EXPECT_NE(step.controlRequests[i].status, kIOReturnNoDevice);
}

// A camera that failed half-way through being read leaves nothing in the preferences store when
// the application then does what it does with a camera that appeared (apply the model's last
// state, which creates it when there is none) and with a change (refresh the last state).
void nothingStoredFromHalfReadCamera(const SweepStep& step) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("preferences.plist"));
    QTCamera& camera = *step.run->camera();
    {
        settings::DefaultsStore store(path);
        settings::ProfileStore profiles(store);
        const auto outcome =
            settings::loadAppDefault(profiles, camera, &camera, &step.run->clock());
        EXPECT_FALSE(outcome.created);
        EXPECT_FALSE(settings::updateSettings(profiles, settings::kAllSettings, &camera));
        EXPECT_FALSE(
            settings::saveSettings(profiles, QStringLiteral("Evening"), false, camera, &camera));
    }
    settings::DefaultsStore reread(path);
    EXPECT_TRUE(reread.persistentDomain().isEmpty())
        << "written: " << reread.persistentDomain().keys().join(u',').toStdString();
}

class FaultSweep : public ::testing::TestWithParam<const char*> {};

TEST_P(FaultSweep, CameraVanishingAtEachRequestIsReportedGone) {
    Sweep sweep{GetParam()};
    sweep.sweep([](virtualcam::VirtualCamera& device, int at) { device.vanishOnRequest(at); },
                {requestsBeforeTheFaultAnswered, nothingStoredFromHalfReadCamera,
                 [](const SweepStep& step) {
                     // Gone for good: the camera says so, every later request failed, and the
                     // core asked a vanished device no more than one that merely refuses (no
                     // retries on "no device").
                     EXPECT_EQ(step.lastRead, kIOReturnNoDevice);
                     EXPECT_FALSE(step.run->device().present());
                     const auto& requests = step.controlRequests;
                     for (size_t i = static_cast<size_t>(step.faultAt - 1); i < requests.size();
                          ++i)
                         EXPECT_EQ(requests[i].status, kIOReturnNoDevice);
                     EXPECT_EQ(requests.size(), static_cast<size_t>(step.failedCount));
                 }});
}

TEST_P(FaultSweep, CameraFallingSilentAtEachRequestFailsItsRequests) {
    Sweep sweep{GetParam()};
    sweep.sweep([](virtualcam::VirtualCamera& device,
                   int at) { device.failOnRequest(at, kIOReturnNotResponding); },
                {requestsBeforeTheFaultAnswered, nothingStoredFromHalfReadCamera,
                 [](const SweepStep& step) {
                     EXPECT_EQ(step.lastRead, kIOReturnNotResponding);
                     // A silent camera is woken and asked exactly once more, then the request
                     // fails: from the fault on, requests come in identical pairs.
                     const auto& requests = step.controlRequests;
                     const size_t from = static_cast<size_t>(step.faultAt - 1);
                     ASSERT_EQ(requests.size() - from, 2 * (step.failedCount - from));
                     for (size_t i = from; i < requests.size(); i += 2) {
                         EXPECT_EQ(requests[i].status, kIOReturnNotResponding);
                         EXPECT_EQ(requests[i].bRequest, requests[i + 1].bRequest);
                         EXPECT_EQ(requests[i].wValue, requests[i + 1].wValue);
                         EXPECT_EQ(requests[i].wIndex, requests[i + 1].wIndex);
                     }
                 }});
}

INSTANTIATE_TEST_SUITE_P(Fixtures, FaultSweep,
                         ::testing::Values("generic.json", "logitech-c270.json", "motor-ptz.json",
                                           "exposure-knob.json"),
                         [](const auto& info) {
                             std::string name = info.param;
                             name = name.substr(0, name.find('.'));
                             for (char& c : name)
                                 if (c == '-') c = '_';
                             return name;
                         });

}  // namespace
}  // namespace orvella::fuzz
