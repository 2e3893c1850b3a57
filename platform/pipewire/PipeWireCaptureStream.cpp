#include "platform/pipewire/PipeWireCaptureStream.h"

#include <pipewire/pipewire.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/pipewire/PipeWireConnection.h"

namespace orvella::pipewire {

namespace {

struct FormatPair {
    uint32_t seam;
    spa_video_format raw;  // SPA_VIDEO_FORMAT_ENCODED for MJPG
};

constexpr FormatPair kFormats[] = {
    {platform::kPixelFormatYUYV, SPA_VIDEO_FORMAT_YUY2},
    {platform::kPixelFormatUYVY, SPA_VIDEO_FORMAT_UYVY},
    {platform::kPixelFormatNV12, SPA_VIDEO_FORMAT_NV12},
    {platform::kPixelFormatMJPG, SPA_VIDEO_FORMAT_ENCODED},
};

uint32_t seamFormat(spa_video_format format) {
    for (const auto& pair : kFormats)
        if (pair.raw == format) return pair.seam;
    return 0;
}

// One EnumFormat: `format` at exactly width x height, or at any size (the node's choice, with
// width x height or 640 x 480 preferred) when `fixed` is false; `frameRate` (0: 30) is the rate
// preferred among those the node offers.
const spa_pod* enumFormat(spa_pod_builder* builder, const FormatPair& format, int32_t width,
                          int32_t height, double frameRate, bool fixed) {
    spa_rectangle preferred =
        SPA_RECTANGLE(uint32_t(width > 0 ? width : 640), uint32_t(height > 0 ? height : 480));
    spa_rectangle smallest = SPA_RECTANGLE(1, 1);
    spa_rectangle largest = SPA_RECTANGLE(16384, 16384);
    // Rates such as 29.97 are asked for in thousandths of a frame a second.
    spa_fraction rate = frameRate > 0 && frameRate <= 1000
                            ? SPA_FRACTION(uint32_t(frameRate * 1000 + 0.5), 1000)
                            : SPA_FRACTION(30, 1);
    spa_fraction slowest = SPA_FRACTION(0, 1);
    spa_fraction fastest = SPA_FRACTION(1000, 1);
    spa_pod_frame frame;
    spa_pod_builder_push_object(builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video), 0);
    if (format.raw == SPA_VIDEO_FORMAT_ENCODED) {
        spa_pod_builder_add(builder, SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_mjpg),
                            0);
    } else {
        spa_pod_builder_add(builder, SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
                            SPA_FORMAT_VIDEO_format, SPA_POD_Id(format.raw), 0);
    }
    if (fixed)
        spa_pod_builder_add(builder, SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&preferred), 0);
    else
        spa_pod_builder_add(builder, SPA_FORMAT_VIDEO_size,
                            SPA_POD_CHOICE_RANGE_Rectangle(&preferred, &smallest, &largest), 0);
    spa_pod_builder_add(builder, SPA_FORMAT_VIDEO_framerate,
                        SPA_POD_CHOICE_RANGE_Fraction(&rate, &slowest, &fastest), 0);
    return static_cast<const spa_pod*>(spa_pod_builder_pop(builder, &frame));
}

}  // namespace

// Everything the PipeWire callbacks touch; read and written with the loop locked only.
struct PipeWireCaptureStream::State {
    std::unique_ptr<PipeWireConnection> connection;
    pw_thread_loop* loop = nullptr;
    uint32_t nodeId = 0;
    std::string devicePath;
    platform::StreamFormat wanted;

    bool opened = false;
    pw_registry* registry = nullptr;
    spa_hook registryListener{};
    spa_hook coreListener{};
    bool nodeSeen = false;
    uint32_t outputPort = SPA_ID_INVALID;  // the node's output port, which every link shares

    platform::CaptureStreamClient* client = nullptr;
    pw_stream* stream = nullptr;
    spa_hook streamListener{};
    bool disconnecting = false;
    pw_proxy* link = nullptr;
    spa_hook linkListener{};

    uint32_t pixelFormat = 0;
    int32_t width = 0;
    int32_t height = 0;
    uint64_t sequence = 0;
    bool failed = false;
    bool loggedEmpty = false;

    QString device() const { return QString::fromStdString(devicePath); }

    // Ends the stream once: no frames after this, the client hears it once.
    void fail(IOReturn status, const QString& reason) {
        if (failed) return;
        failed = true;
        NSLog("PipeWire stream of %s: %s", devicePath.c_str(), qPrintable(reason));
        if (client) client->streamDidFail(status, reason);
    }

    void destroyLink() {
        if (!link) return;
        spa_hook_remove(&linkListener);
        pw_proxy_destroy(link);
        link = nullptr;
    }

    void createLink() {
        const uint32_t own = pw_stream_get_node_id(stream);
        if (link || own == SPA_ID_INVALID) return;
        pw_properties* props = pw_properties_new(nullptr, nullptr);
        pw_properties_setf(props, PW_KEY_LINK_OUTPUT_NODE, "%u", nodeId);
        // Named, the node's one output port takes this link beside the others; left to the
        // daemon, it would look for a free port and find none while another program streams.
        if (outputPort != SPA_ID_INVALID)
            pw_properties_setf(props, PW_KEY_LINK_OUTPUT_PORT, "%u", outputPort);
        pw_properties_setf(props, PW_KEY_LINK_INPUT_NODE, "%u", own);
        pw_properties_set(props, PW_KEY_OBJECT_LINGER, "false");
        link = static_cast<pw_proxy*>(pw_core_create_object(connection->core(), "link-factory",
                                                            PW_TYPE_INTERFACE_Link, PW_VERSION_LINK,
                                                            &props->dict, 0));
        pw_properties_free(props);
        if (!link) {
            fail(kIOReturnError, QStringLiteral("PipeWire could not link to the camera's node (%1)")
                                     .arg(QString::fromLocal8Bit(std::strerror(errno))));
            return;
        }
        static const pw_proxy_events events = [] {
            pw_proxy_events e{};
            e.version = PW_VERSION_PROXY_EVENTS;
            e.error = [](void* data, int, int res, const char* message) {
                static_cast<State*>(data)->fail(
                    kIOReturnError,
                    QStringLiteral("PipeWire refused the link to the camera's node: %1 (%2)")
                        .arg(QString::fromUtf8(message ? message : ""),
                             QString::fromLocal8Bit(std::strerror(-res))));
            };
            e.removed = [](void* data) {
                auto* state = static_cast<State*>(data);
                if (!state->disconnecting)
                    state->fail(kIOReturnNoDevice,
                                QStringLiteral("the link to the camera's PipeWire node went away"));
            };
            return e;
        }();
        pw_proxy_add_listener(link, &linkListener, &events, this);
    }

    bool connectStream() {
        uint8_t buffer[4096];
        spa_pod_builder builder = SPA_POD_BUILDER_INIT(buffer, sizeof buffer);
        const spa_pod* params[5];
        uint32_t count = 0;
        const FormatPair* first = &kFormats[0];
        for (const auto& pair : kFormats)
            if (pair.seam == wanted.pixelFormat) first = &pair;
        if (wanted.width > 0 && wanted.height > 0)
            params[count++] =
                enumFormat(&builder, *first, wanted.width, wanted.height, wanted.frameRate, true);
        params[count++] =
            enumFormat(&builder, *first, wanted.width, wanted.height, wanted.frameRate, false);
        for (const auto& pair : kFormats)
            if (&pair != first)
                params[count++] = enumFormat(&builder, pair, wanted.width, wanted.height,
                                             wanted.frameRate, false);
        pixelFormat = 0;
        disconnecting = false;
        const int result = pw_stream_connect(stream, PW_DIRECTION_INPUT, PW_ID_ANY,
                                             PW_STREAM_FLAG_MAP_BUFFERS, params, count);
        if (result < 0) {
            fail(kIOReturnError, QStringLiteral("the PipeWire stream did not connect (%1)")
                                     .arg(QString::fromLocal8Bit(std::strerror(-result))));
            return false;
        }
        return true;
    }

    void disconnectStream() {
        disconnecting = true;
        destroyLink();
        if (stream) pw_stream_disconnect(stream);
    }

    void onStateChanged(pw_stream_state state, const char* error) {
        if (disconnecting) return;
        if (state == PW_STREAM_STATE_ERROR)
            fail(kIOReturnDeviceError,
                 QStringLiteral("the PipeWire stream failed: %1")
                     .arg(QString::fromUtf8(error ? error : "no reason given")));
        else if (state == PW_STREAM_STATE_UNCONNECTED)
            fail(kIOReturnNoDevice, QStringLiteral("the PipeWire stream was disconnected"));
        else if (state == PW_STREAM_STATE_PAUSED)
            createLink();
    }

    void onParamChanged(uint32_t id, const spa_pod* param) {
        if (id != SPA_PARAM_Format || !param) return;
        uint32_t mediaType = 0, mediaSubtype = 0;
        if (spa_format_parse(param, &mediaType, &mediaSubtype) < 0 ||
            mediaType != SPA_MEDIA_TYPE_video)
            return;
        spa_video_info info{};
        if (mediaSubtype == SPA_MEDIA_SUBTYPE_raw &&
            spa_format_video_raw_parse(param, &info.info.raw) >= 0) {
            pixelFormat = seamFormat(info.info.raw.format);
            width = int32_t(info.info.raw.size.width);
            height = int32_t(info.info.raw.size.height);
        } else if (mediaSubtype == SPA_MEDIA_SUBTYPE_mjpg &&
                   spa_format_video_mjpg_parse(param, &info.info.mjpg) >= 0) {
            pixelFormat = platform::kPixelFormatMJPG;
            width = int32_t(info.info.mjpg.size.width);
            height = int32_t(info.info.mjpg.size.height);
        } else {
            pixelFormat = 0;
        }
    }

    void onProcess() {
        pw_buffer* buffer = pw_stream_dequeue_buffer(stream);
        if (!buffer) return;
        auto frame = std::make_shared<platform::VideoFrame>();
        bool usable = false;
        spa_buffer* spa = buffer->buffer;
        if (spa && spa->n_datas > 0 && pixelFormat != 0) {
            const spa_data& data = spa->datas[0];
            if (data.data && data.chunk && data.chunk->offset < data.maxsize) {
                const uint32_t size = std::min(data.chunk->size, data.maxsize - data.chunk->offset);
                if (size > 0) {
                    frame->data = QByteArray(
                        static_cast<const char*>(data.data) + data.chunk->offset, qsizetype(size));
                    usable = true;
                }
                frame->bytesPerLine =
                    pixelFormat == platform::kPixelFormatMJPG ? 0 : data.chunk->stride;
            }
        }
        pw_stream_queue_buffer(stream, buffer);
        if (!usable) {
            if (!loggedEmpty)
                NSLog("PipeWire stream of %s: a buffer without a frame was left out",
                      devicePath.c_str());
            loggedEmpty = true;
            return;
        }
        if (failed || !client) return;
        frame->pixelFormat = pixelFormat;
        frame->width = width;
        frame->height = height;
        if (frame->bytesPerLine <= 0 && pixelFormat != platform::kPixelFormatMJPG)
            frame->bytesPerLine = pixelFormat == platform::kPixelFormatNV12 ? width : width * 2;
        frame->timestampUs = platform::monotonicMicroseconds();
        frame->sequence = sequence++;
        client->streamDidOutputFrame(frame);
    }
};

namespace {

const pw_stream_events kStreamEvents = [] {
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = [](void* data, pw_stream_state, pw_stream_state state,
                              const char* error) {
        static_cast<PipeWireCaptureStream::State*>(data)->onStateChanged(state, error);
    };
    events.param_changed = [](void* data, uint32_t id, const spa_pod* param) {
        static_cast<PipeWireCaptureStream::State*>(data)->onParamChanged(id, param);
    };
    events.process = [](void* data) {
        static_cast<PipeWireCaptureStream::State*>(data)->onProcess();
    };
    return events;
}();

const pw_registry_events kRegistryEvents = [] {
    pw_registry_events events{};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = [](void* data, uint32_t id, uint32_t, const char* type, uint32_t,
                       const spa_dict* props) {
        auto* state = static_cast<PipeWireCaptureStream::State*>(data);
        if (id == state->nodeId) state->nodeSeen = true;
        if (type && props && std::strcmp(type, PW_TYPE_INTERFACE_Port) == 0 &&
            state->outputPort == SPA_ID_INVALID) {
            const char* node = spa_dict_lookup(props, PW_KEY_NODE_ID);
            const char* direction = spa_dict_lookup(props, PW_KEY_PORT_DIRECTION);
            if (node && direction && std::strcmp(direction, "out") == 0 &&
                std::to_string(state->nodeId) == node)
                state->outputPort = id;
        }
    };
    events.global_remove = [](void* data, uint32_t id) {
        auto* state = static_cast<PipeWireCaptureStream::State*>(data);
        if (id == state->outputPort) state->outputPort = SPA_ID_INVALID;
        if (id == state->nodeId)
            state->fail(kIOReturnNoDevice,
                        QStringLiteral("the PipeWire node of %1 went away").arg(state->device()));
    };
    return events;
}();

const pw_core_events kCoreEvents = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.error = [](void* data, uint32_t id, int, int res, const char* message) {
        if (id != PW_ID_CORE || res != -EPIPE) return;
        static_cast<PipeWireCaptureStream::State*>(data)->fail(
            kIOReturnNoDevice, QStringLiteral("the PipeWire daemon went away (%1)")
                                   .arg(QString::fromUtf8(message ? message : "connection lost")));
    };
    return events;
}();

platform::StreamError streamError(const QString& description, const QString& reason) {
    platform::StreamError error;
    error.domain = QStringLiteral("PipeWire");
    error.code = ENODEV;
    error.localizedDescription = description;
    error.localizedFailureReason = reason;
    return error;
}

}  // namespace

PipeWireCaptureStream::PipeWireCaptureStream(std::unique_ptr<PipeWireConnection> connection,
                                             uint32_t nodeId, std::string devicePath)
    : nodeId_(nodeId), state_(std::make_unique<State>()) {
    state_->connection = std::move(connection);
    state_->loop = state_->connection ? state_->connection->loop() : nullptr;
    state_->nodeId = nodeId;
    state_->devicePath = std::move(devicePath);
    state_->wanted.pixelFormat = 0;  // the node's own choice until a format is asked for
}

PipeWireCaptureStream::~PipeWireCaptureStream() {
    close();
}

IOReturn PipeWireCaptureStream::open(platform::StreamError* error) {
    State& s = *state_;
    if (!s.loop) {
        if (error)
            *error = streamError(QStringLiteral("no PipeWire connection for %1").arg(s.device()),
                                 QStringLiteral("the connection was closed"));
        return kIOReturnNotOpen;
    }
    pw_thread_loop_lock(s.loop);
    if (!s.opened) {
        s.failed = false;
        s.nodeSeen = false;
        s.outputPort = SPA_ID_INVALID;
        pw_core_add_listener(s.connection->core(), &s.coreListener, &kCoreEvents, &s);
        s.registry = pw_core_get_registry(s.connection->core(), PW_VERSION_REGISTRY, 0);
        if (s.registry)
            pw_registry_add_listener(s.registry, &s.registryListener, &kRegistryEvents, &s);
        s.opened = true;
    }
    const bool answered = s.connection->syncLocked();
    const bool usable = answered && s.nodeSeen && !s.failed;
    pw_thread_loop_unlock(s.loop);
    if (usable) return kIOReturnSuccess;
    if (error)
        *error = streamError(QStringLiteral("no PipeWire node serves %1").arg(s.device()),
                             answered ? QStringLiteral("the node went away")
                                      : QStringLiteral("the PipeWire daemon does not answer"));
    return answered ? kIOReturnNoDevice : kIOReturnNotResponding;
}

void PipeWireCaptureStream::setFormat(const platform::StreamFormat& format) {
    State& s = *state_;
    if (!s.loop) return;
    pw_thread_loop_lock(s.loop);
    s.wanted = format;
    if (s.stream && s.client && !s.failed) {
        s.disconnectStream();
        s.connectStream();
    }
    pw_thread_loop_unlock(s.loop);
}

IOReturn PipeWireCaptureStream::start(platform::CaptureStreamClient* client) {
    State& s = *state_;
    if (!s.loop || !s.opened) return kIOReturnNotOpen;
    pw_thread_loop_lock(s.loop);
    if (s.failed || s.stream) {
        const IOReturn status = s.failed ? kIOReturnNoDevice : kIOReturnSuccess;
        pw_thread_loop_unlock(s.loop);
        return status;
    }
    pw_properties* props = pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY,
                                             "Capture", PW_KEY_MEDIA_ROLE, "Camera",
                                             PW_KEY_NODE_DESCRIPTION, "Orvella preview", nullptr);
    // Linked to the camera's node by this stream itself (link-factory), with or without a
    // session manager; without autoconnect a session manager leaves the stream alone.
    pw_properties_setf(props, PW_KEY_TARGET_OBJECT, "%u", s.nodeId);
    s.stream = pw_stream_new(s.connection->core(), "orvella-preview", props);
    if (!s.stream) {
        pw_thread_loop_unlock(s.loop);
        return kIOReturnNoMemory;
    }
    s.client = client;
    s.sequence = 0;
    pw_stream_add_listener(s.stream, &s.streamListener, &kStreamEvents, &s);
    const bool connected = s.connectStream();
    pw_thread_loop_unlock(s.loop);
    return connected ? kIOReturnSuccess : kIOReturnError;
}

void PipeWireCaptureStream::stop() {
    State& s = *state_;
    if (!s.loop) return;
    pw_thread_loop_lock(s.loop);
    s.client = nullptr;
    if (s.stream) {
        s.disconnectStream();
        spa_hook_remove(&s.streamListener);
        pw_stream_destroy(s.stream);
        s.stream = nullptr;
    }
    pw_thread_loop_unlock(s.loop);
}

void PipeWireCaptureStream::close() {
    State& s = *state_;
    if (!s.loop) return;
    stop();
    pw_thread_loop_lock(s.loop);
    if (s.opened) {
        if (s.registry) {
            spa_hook_remove(&s.registryListener);
            pw_proxy_destroy(reinterpret_cast<pw_proxy*>(s.registry));
            s.registry = nullptr;
        }
        spa_hook_remove(&s.coreListener);
        s.opened = false;
    }
    pw_thread_loop_unlock(s.loop);
    s.connection.reset();  // stops the PipeWire thread
    s.loop = nullptr;
}

std::unique_ptr<platform::CaptureStream> makeSharedStream(const std::string& devicePath,
                                                          const char* applicationName) {
    auto connection = PipeWireConnection::open(applicationName);
    if (!connection) return nullptr;
    const auto objects = connection->objects();
    if (!objects) return nullptr;
    const uint32_t node = findVideoSourceNode(*objects, devicePath);
    if (node == 0) return nullptr;
    return std::make_unique<PipeWireCaptureStream>(std::move(connection), node, devicePath);
}

}  // namespace orvella::pipewire
