#pragma once
// A V4L2 capture node as uvcvideo (kernel 6.1) presents a camera's controls: queries, menus,
// clamping, master/slave inactivity, extension-unit passthrough, and injected errno values.
// It records every ioctl so tests can check what the Linux backend asked the driver. Control
// events are queued by the test (raise) and, once signalEvents() made a descriptor, raise POLLPRI
// on it as the driver does (urgent data on a socket).

#include <linux/uvcvideo.h>
#include <linux/videodev2.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "platform/linux/VideoIo.h"

namespace orvella::testing {

class FakeV4l2Device final : public linuxplatform::VideoIo {
  public:
    struct Control {
        uint32_t type = V4L2_CTRL_TYPE_INTEGER;
        int64_t minimum = 0, maximum = 0, step = 1, defaultValue = 0, value = 0;
        uint32_t flags = 0;
        uint64_t menuMask = ~0ull;  // allowed menu indexes
    };
    struct Call {
        unsigned long request = 0;
        std::vector<uint32_t> ids;
        std::vector<int32_t> values;
        uvc_xu_control_query xu{};
        std::vector<uint8_t> xuData;
    };

    std::map<uint32_t, Control> controls;
    std::map<std::pair<uint8_t, uint8_t>, std::vector<uint8_t>>
        xuControls;  // (unit, selector) -> bytes
    std::vector<Call> calls;
    std::deque<int> failures;    // errno values for the next ioctls, in order (0: answer normally)
    int inactiveWriteErrno = 0;  // what writing an inactive control gives (0: accepted)
    int shortXuAnswer = 0;       // bytes of a short extension-unit answer (0: full)
    bool unplugged = false;
    uint32_t deviceCaps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    std::deque<v4l2_event> events;
    std::vector<v4l2_event_subscription> subscriptions;
    // The capture format (VIDIOC_G_FMT answers while pixelformat is set) and frame interval.
    v4l2_pix_format pix{};
    v4l2_fract timePerFrame{1, 30};
    // Whether the driver sends source changes (uvcvideo does not: subscribing gives EINVAL).
    bool sourceChangeEvents = false;

    FakeV4l2Device() = default;
    FakeV4l2Device(const FakeV4l2Device&) = delete;
    FakeV4l2Device& operator=(const FakeV4l2Device&) = delete;
    ~FakeV4l2Device() override {
        for (int fd : socket_)
            if (fd >= 0) ::close(fd);
    }

    // A descriptor that is readable for POLLPRI while events are pending (or after wake()).
    void signalEvents() {
        if (socket_[0] < 0 && ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, socket_) != 0)
            socket_[0] = socket_[1] = -1;
    }
    int descriptor() const override { return socket_[0]; }
    // A control event for `id` as the driver fills it from the control's state now.
    void raise(uint32_t id, uint32_t changes) {
        v4l2_event event{};
        event.type = V4L2_EVENT_CTRL;
        event.id = id;
        event.u.ctrl.changes = changes;
        if (const auto it = controls.find(id); it != controls.end()) {
            event.u.ctrl.type = it->second.type;
            event.u.ctrl.value = static_cast<int32_t>(it->second.value);
            event.u.ctrl.flags = it->second.flags | (inactive(id) ? V4L2_CTRL_FLAG_INACTIVE : 0);
        }
        events.push_back(event);
        wake();
    }
    void raiseSourceChange() {
        v4l2_event event{};
        event.type = V4L2_EVENT_SOURCE_CHANGE;
        event.u.src_change.changes = V4L2_EVENT_SRC_CH_RESOLUTION;
        events.push_back(event);
        wake();
    }
    void wake() {
        if (socket_[1] >= 0) (void)::send(socket_[1], "!", 1, MSG_OOB);
    }

    Control& add(uint32_t id, int64_t min, int64_t max, int64_t step, int64_t def,
                 uint32_t type = V4L2_CTRL_TYPE_INTEGER) {
        Control c;
        c.type = type;
        c.minimum = min;
        c.maximum = max;
        c.step = step;
        c.defaultValue = c.value = def;
        return controls[id] = c;
    }

    int ioctl(unsigned long request, void* argument) override {
        Call call;
        call.request = request;
        if (request == VIDIOC_S_EXT_CTRLS || request == VIDIOC_G_EXT_CTRLS ||
            request == VIDIOC_TRY_EXT_CTRLS) {
            auto* list = static_cast<v4l2_ext_controls*>(argument);
            for (uint32_t i = 0; i < list->count; ++i) {
                call.ids.push_back(list->controls[i].id);
                call.values.push_back(list->controls[i].value);
            }
        } else if (request == VIDIOC_SUBSCRIBE_EVENT) {
            call.ids.push_back(static_cast<v4l2_event_subscription*>(argument)->id);
        } else if (request == VIDIOC_QUERY_EXT_CTRL) {
            call.ids.push_back(static_cast<v4l2_query_ext_ctrl*>(argument)->id);
        } else if (request == VIDIOC_QUERYMENU) {
            call.ids.push_back(static_cast<v4l2_querymenu*>(argument)->id);
        } else if (request == UVCIOC_CTRL_QUERY) {
            call.xu = *static_cast<uvc_xu_control_query*>(argument);
            if (call.xu.query == 0x01 && call.xu.data)
                call.xuData.assign(call.xu.data, call.xu.data + call.xu.size);
        }
        calls.push_back(call);
        if (unplugged) return -ENODEV;
        if (!failures.empty()) {
            const int error = failures.front();
            failures.pop_front();
            if (error) return -error;
        }
        switch (request) {
            case VIDIOC_QUERYCAP: {
                auto* caps = static_cast<v4l2_capability*>(argument);
                std::memset(caps, 0, sizeof *caps);
                std::strcpy(reinterpret_cast<char*>(caps->driver), "uvcvideo");
                caps->capabilities = V4L2_CAP_DEVICE_CAPS | V4L2_CAP_STREAMING |
                                     V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_META_CAPTURE;
                caps->device_caps = deviceCaps;
                return 0;
            }
            case VIDIOC_QUERY_EXT_CTRL:
                return query(*static_cast<v4l2_query_ext_ctrl*>(argument));
            case VIDIOC_QUERYMENU:
                return menu(*static_cast<v4l2_querymenu*>(argument));
            case VIDIOC_G_EXT_CTRLS:
                return get(*static_cast<v4l2_ext_controls*>(argument));
            case VIDIOC_S_EXT_CTRLS:
                return set(*static_cast<v4l2_ext_controls*>(argument));
            case VIDIOC_TRY_EXT_CTRLS:
                return set(*static_cast<v4l2_ext_controls*>(argument), false);
            case UVCIOC_CTRL_QUERY:
                return xu(*static_cast<uvc_xu_control_query*>(argument));
            case VIDIOC_G_FMT: {
                auto& format = *static_cast<v4l2_format*>(argument);
                if (!pix.pixelformat || format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE) return -EINVAL;
                format.fmt.pix = pix;
                return 0;
            }
            case VIDIOC_G_PARM: {
                auto& parm = *static_cast<v4l2_streamparm*>(argument);
                if (!pix.pixelformat) return -EINVAL;
                parm.parm.capture.timeperframe = timePerFrame;
                return 0;
            }
            case VIDIOC_SUBSCRIBE_EVENT: {
                const auto& s = *static_cast<v4l2_event_subscription*>(argument);
                if (s.type == V4L2_EVENT_CTRL && !controls.count(s.id)) return -EINVAL;
                if (s.type == V4L2_EVENT_SOURCE_CHANGE && !sourceChangeEvents) return -EINVAL;
                subscriptions.push_back(s);
                return 0;
            }
            case VIDIOC_UNSUBSCRIBE_EVENT:
                subscriptions.clear();
                return 0;
            case VIDIOC_DQEVENT:
                return dequeue(*static_cast<v4l2_event*>(argument));
            default:
                return -ENOTTY;
        }
    }

    int64_t value(uint32_t id) const { return controls.at(id).value; }

  private:
    int dequeue(v4l2_event& event) {
        if (events.empty()) return -ENOENT;
        event = events.front();
        events.pop_front();
        event.pending = static_cast<uint32_t>(events.size());
        char urgent;
        if (events.empty() && socket_[0] >= 0)
            (void)::recv(socket_[0], &urgent, 1, MSG_OOB | MSG_DONTWAIT);
        return 0;
    }

    // Slave -> (master, the master's manual value).
    bool inactive(uint32_t id) const {
        static const std::map<uint32_t, std::pair<uint32_t, int64_t>> masters{
            {V4L2_CID_EXPOSURE_ABSOLUTE, {V4L2_CID_EXPOSURE_AUTO, V4L2_EXPOSURE_MANUAL}},
            {V4L2_CID_FOCUS_ABSOLUTE, {V4L2_CID_FOCUS_AUTO, 0}},
            {V4L2_CID_WHITE_BALANCE_TEMPERATURE, {V4L2_CID_AUTO_WHITE_BALANCE, 0}},
            {V4L2_CID_BLUE_BALANCE, {V4L2_CID_AUTO_WHITE_BALANCE, 0}},
            {V4L2_CID_RED_BALANCE, {V4L2_CID_AUTO_WHITE_BALANCE, 0}},
            {V4L2_CID_HUE, {V4L2_CID_HUE_AUTO, 0}},
        };
        const auto it = masters.find(id);
        if (it == masters.end()) return false;
        const auto master = controls.find(it->second.first);
        return master != controls.end() && master->second.value != it->second.second;
    }

    int query(v4l2_query_ext_ctrl& q) {
        const auto it = controls.find(q.id);
        if (it == controls.end()) return -EINVAL;
        const Control& c = it->second;
        q.type = c.type;
        q.minimum = c.minimum;
        q.maximum = c.maximum;
        q.step = static_cast<uint64_t>(c.step);
        q.default_value = c.defaultValue;
        q.flags = c.flags | (inactive(q.id) ? V4L2_CTRL_FLAG_INACTIVE : 0);
        return 0;
    }

    int menu(v4l2_querymenu& m) {
        const auto it = controls.find(m.id);
        if (it == controls.end() || it->second.type != V4L2_CTRL_TYPE_MENU) return -EINVAL;
        if (static_cast<int64_t>(m.index) > it->second.maximum ||
            !(it->second.menuMask & (1ull << m.index)))
            return -EINVAL;
        return 0;
    }

    int get(v4l2_ext_controls& list) {
        for (uint32_t i = 0; i < list.count; ++i) {
            const auto it = controls.find(list.controls[i].id);
            if (it == controls.end() || (it->second.flags & V4L2_CTRL_FLAG_WRITE_ONLY)) {
                list.error_idx = i;
                return it == controls.end() ? -EINVAL : -EACCES;
            }
            list.controls[i].value = static_cast<int32_t>(it->second.value);
        }
        return 0;
    }

    // S_EXT_CTRLS, or TRY_EXT_CTRLS when `commit` is false: clamps and reports, stores nothing and
    // never refuses an inactive control.
    int set(v4l2_ext_controls& list, bool commit = true) {
        std::vector<int64_t> accepted;
        for (uint32_t i = 0; i < list.count; ++i) {
            const auto it = controls.find(list.controls[i].id);
            if (it == controls.end()) return list.error_idx = list.count, -EINVAL;
            const Control& c = it->second;
            if (c.flags & V4L2_CTRL_FLAG_READ_ONLY) return list.error_idx = list.count, -EACCES;
            int64_t v = list.controls[i].value;
            if (c.type == V4L2_CTRL_TYPE_MENU) {
                if (v < c.minimum || v > c.maximum) return -ERANGE;
                if (!(c.menuMask & (1ull << v))) return -EINVAL;
            } else if (c.type == V4L2_CTRL_TYPE_BOOLEAN) {
                v = v ? 1 : 0;
            } else {
                const int64_t step = c.step ? c.step : 1;
                v = c.minimum + ((v - c.minimum + step / 2) / step) * step;
                v = std::max(c.minimum, std::min(c.maximum, v));
            }
            accepted.push_back(v);
            list.controls[i].value = static_cast<int32_t>(v);
        }
        if (!commit) return 0;
        for (uint32_t i = 0; i < list.count; ++i)
            if (inactiveWriteErrno && inactive(list.controls[i].id)) return -inactiveWriteErrno;
        for (uint32_t i = 0; i < list.count; ++i)
            controls[list.controls[i].id].value = accepted[i];
        return 0;
    }

    int xu(uvc_xu_control_query& q) {
        const auto it = xuControls.find({q.unit, q.selector});
        if (it == xuControls.end()) return -ENOENT;
        if (q.query == 0x85) {
            if (q.size != 2) return -ENOBUFS;
            q.data[0] = static_cast<uint8_t>(it->second.size());
            q.data[1] = 0;
            return 0;
        }
        if (q.query == 0x86) {
            if (q.size != 1) return -ENOBUFS;
            q.data[0] = 0x03;
            return 0;
        }
        if (q.size != it->second.size()) return -ENOBUFS;
        if (q.query == 0x01) {
            std::memcpy(it->second.data(), q.data, q.size);
            return 0;
        }
        std::memcpy(q.data, it->second.data(), q.size);
        return shortXuAnswer ? shortXuAnswer : 0;
    }

    int socket_[2] = {-1, -1};
};

// Opens FakeV4l2Devices by path; each open gets a handle on the same device.
class FakeVideoOpener final : public linuxplatform::VideoIoOpener {
  public:
    std::map<std::string, FakeV4l2Device*> devices;
    std::map<std::string, int> openErrors;  // path -> errno
    int opens = 0;

    std::unique_ptr<linuxplatform::VideoIo> open(const std::string& path, int* error) override {
        ++opens;
        if (const auto e = openErrors.find(path); e != openErrors.end()) {
            if (error) *error = e->second;
            return nullptr;
        }
        const auto it = devices.find(path);
        if (it == devices.end()) {
            if (error) *error = ENOENT;
            return nullptr;
        }
        return std::make_unique<Handle>(*it->second);
    }

  private:
    struct Handle final : linuxplatform::VideoIo {
        explicit Handle(FakeV4l2Device& device) : device(device) {}
        int ioctl(unsigned long request, void* argument) override {
            return device.ioctl(request, argument);
        }
        int descriptor() const override { return device.descriptor(); }
        FakeV4l2Device& device;
    };
};

}  // namespace orvella::testing
