// What bringing up a camera costs us: interface lookup, capability probing, the status walk and
// format discovery over the largest virtual camera, whose device answers at once. Reports the
// requests one walk issues and our own time per request.

#include <benchmark/benchmark.h>

#include <QString>

#include "camera/QTCamera.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/virtual/VirtualCamera.h"
#include "platform/virtual/VirtualUsbHost.h"

namespace {

using namespace orvella;

void FullWalk(benchmark::State& state) {
    log::NullSink quiet;
    log::Sink* previous = log::setSink(&quiet);

    QString error;
    auto device = virtualcam::VirtualCamera::fromFile(
        QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras/full-pu.json"), &error);
    if (!device) {
        state.SkipWithError(error.toStdString().c_str());
        log::setSink(previous);
        return;
    }
    virtualcam::VirtualUsbHost usb;
    usb.addCamera(device);
    platform::RecordingClock clock;
    const platform::Platform services{&usb, nullptr, &clock};

    size_t requests = 0;
    for (auto _ : state) {
        QTCamera camera(services);
        camera.setVendorID(device->vendorID());
        camera.setProductID(device->productID());
        camera.getControlInferace(&camera.controlInterface, &camera.streamInterface,
                                  device->locationID());
        camera.querySupportedCameraControl(camera.controlInterface.get());
        camera.queryControlStatus();
        std::vector<FormatEntry> formats =
            camera.querySupportedImageFormat(camera.streamInterface.get());
        benchmark::DoNotOptimize(formats.data());

        // The device's request log would otherwise grow without end.
        state.PauseTiming();
        requests += device->requestCount();
        device->clearRequests();
        state.ResumeTiming();
    }

    state.counters["requests_per_walk"] =
        benchmark::Counter(static_cast<double>(requests), benchmark::Counter::kAvgIterations);
    state.counters["time_per_request"] = benchmark::Counter(
        static_cast<double>(requests), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    log::setSink(previous);
}

BENCHMARK(FullWalk)->Unit(benchmark::kMicrosecond);

}  // namespace
