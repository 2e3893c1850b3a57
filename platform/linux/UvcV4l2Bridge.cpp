#include "platform/linux/UvcV4l2Bridge.h"

#include <linux/uvcvideo.h>
#include <linux/videodev2.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

#include "platform/Log.h"
#include "platform/UvcDescriptors.h"
#include "platform/linux/UvcV4l2Mapping.h"

namespace orvella::linuxplatform {

using namespace uvcmap;

namespace {

int sign(int64_t v) {
    return (v > 0) - (v < 0);
}

// Copies at most the control's length of the payload into the request's buffer.
IOReturn answer(platform::ControlRequest& request, const uint8_t* bytes, size_t length) {
    const size_t count = std::min<size_t>(length, request.wLength);
    if (count && !request.pData) return kIOReturnBadArgument;
    if (count) std::memcpy(request.pData, bytes, count);
    request.wLenDone = static_cast<uint32_t>(count);
    return kIOReturnSuccess;
}

class Translator {
  public:
    Translator(const Mapping& m, VideoIo& io) : m_(m), io_(io) {}

    // What the request showed of the control's state, for telling later events from it.
    std::optional<uint64_t> seenValue;
    std::optional<bool> seenInactive;

    IOReturn get(platform::ControlRequest& request) {
        switch (request.bRequest) {
            case uvc::GET_CUR:
                return current(request);
            case uvc::GET_MIN:
            case uvc::GET_MAX:
            case uvc::GET_RES:
            case uvc::GET_DEF:
                return range(request);
            case uvc::GET_INFO:
                return info(request);
            case uvc::GET_LEN: {
                const uint8_t length[2] = {m_.length, 0};
                return answer(request, length, 2);
            }
            default:
                return kIOUSBPipeStalled;
        }
    }

    IOReturn set(platform::ControlRequest& request) {
        if (request.bRequest != uvc::SET_CUR || request.wLength < m_.length || !request.pData)
            return kIOUSBPipeStalled;
        Payload p{};
        std::memcpy(p.data(), request.pData, m_.length);
        const auto values = decode(m_, p);
        if (!values) return kIOUSBPipeStalled;
        // Every control of the selector in one call, so the driver sends one SET_CUR.
        v4l2_ext_control controls[2] = {};
        for (size_t i = 0; i < controlCount(m_); ++i) {
            controls[i].id = m_.ids[i];
            controls[i].value64 = 0;
            controls[i].value = static_cast<int32_t>((*values)[i]);
        }
        v4l2_ext_controls list{};
        list.which = V4L2_CTRL_WHICH_CUR_VAL;
        list.count = static_cast<uint32_t>(controlCount(m_));
        list.controls = controls;
        if (isRelative(m_)) {
            // Learn how the driver would clamp the move before anything reaches the camera: a
            // move it would stop or reverse is refused instead (a slower speed is fine).
            v4l2_ext_control tried[2] = {controls[0], controls[1]};
            list.controls = tried;
            const int result = io_.ioctl(VIDIOC_TRY_EXT_CTRLS, &list);
            if (result < 0) return ioReturnForErrno(-result);
            for (size_t i = 0; i < controlCount(m_); ++i) {
                if (sign(tried[i].value) != sign(controls[i].value)) {
                    NSLog(
                        "CameraControl Error: uvcvideo would turn a move of %d on selector 0x%02x "
                        "into "
                        "%d; not sent",
                        controls[i].value, m_.selector, tried[i].value);
                    return kIOUSBPipeStalled;
                }
            }
            list.controls = controls;
        }
        const int result = io_.ioctl(VIDIOC_S_EXT_CTRLS, &list);
        if (result < 0) return ioReturnForErrno(-result);
        // The driver wrote back the values it kept (clamped); a move is no state to remember.
        if (!isRelative(m_))
            seenValue = payloadValue(m_, encode(m_, {controls[0].value, controls[1].value}));
        request.wLenDone = m_.length;
        return kIOReturnSuccess;
    }

  private:
    IOReturn current(platform::ControlRequest& request) {
        v4l2_ext_control controls[2] = {};
        for (size_t i = 0; i < controlCount(m_); ++i)
            controls[i].id = m_.ids[i];
        v4l2_ext_controls list{};
        list.which = V4L2_CTRL_WHICH_CUR_VAL;
        list.count = static_cast<uint32_t>(controlCount(m_));
        list.controls = controls;
        const int result = io_.ioctl(VIDIOC_G_EXT_CTRLS, &list);
        if (result < 0) return ioReturnForErrno(-result);
        const Payload p = encode(m_, {controls[0].value, controls[1].value});
        seenValue = payloadValue(m_, p);
        return answer(request, p.data(), m_.length);
    }

    IOReturn query(uint32_t id, v4l2_query_ext_ctrl& out) {
        out = {};
        out.id = id;
        const int result = io_.ioctl(VIDIOC_QUERY_EXT_CTRL, &out);
        return result < 0 ? ioReturnForErrno(-result) : kIOReturnSuccess;
    }

    IOReturn range(platform::ControlRequest& request) {
        std::array<int64_t, 2> values{};
        if (m_.codec == Codec::AeMode) {
            // The device answers only RES (the offered modes) and DEF for this control.
            if (request.bRequest == uvc::GET_RES) return offeredAeModes(request);
            if (request.bRequest != uvc::GET_DEF) return kIOUSBPipeStalled;
        }
        for (size_t i = 0; i < controlCount(m_); ++i) {
            v4l2_query_ext_ctrl q;
            if (const IOReturn status = query(m_.ids[i], q); status != kIOReturnSuccess)
                return status;
            switch (request.bRequest) {
                case uvc::GET_MIN:
                    values[i] = q.minimum;
                    break;
                case uvc::GET_MAX:
                    values[i] = q.maximum;
                    break;
                case uvc::GET_RES:
                    values[i] = static_cast<int64_t>(q.step);
                    break;
                default:
                    values[i] = q.default_value;
                    break;
            }
        }
        Payload p = encode(m_, values);
        // A relative move's range is a speed range: the driver's negative minimum stands for
        // the slowest speed, not a direction.
        if (m_.codec == Codec::Speed) {
            p[0] = p[2] = 0;
        } else if (m_.codec == Codec::ZoomRelative) {
            p[0] = 0;
        }
        return answer(request, p.data(), m_.length);
    }

    IOReturn offeredAeModes(platform::ControlRequest& request) {
        uint8_t modes = 0;
        for (uint32_t index = 0; index < kAeModeForIndex.size(); ++index) {
            v4l2_querymenu menu{};
            menu.id = m_.ids[0];
            menu.index = index;
            const int result = io_.ioctl(VIDIOC_QUERYMENU, &menu);
            if (result == 0)
                modes |= kAeModeForIndex[index];
            else if (result != -EINVAL)
                return ioReturnForErrno(-result);
        }
        return answer(request, &modes, 1);
    }

    IOReturn info(platform::ControlRequest& request) {
        uint8_t bits = 0x03;  // GET and SET
        for (size_t i = 0; i < controlCount(m_); ++i) {
            v4l2_query_ext_ctrl q;
            if (const IOReturn status = query(m_.ids[i], q); status != kIOReturnSuccess)
                return status;
            if (q.flags & V4L2_CTRL_FLAG_WRITE_ONLY) bits &= static_cast<uint8_t>(~0x01);
            if (q.flags & V4L2_CTRL_FLAG_READ_ONLY) bits &= static_cast<uint8_t>(~0x02);
            if (q.flags & V4L2_CTRL_FLAG_INACTIVE) bits |= 0x04;  // governed by an automatic mode
        }
        seenInactive = (bits & 0x04) != 0;
        return answer(request, &bits, 1);
    }

    const Mapping& m_;
    VideoIo& io_;
};

// The unit ID a mapping addresses on this camera; 0 when the camera has no such unit.
uint8_t unitIdOf(const UvcUnits& units, const Mapping& m) {
    return m.unit == Unit::Terminal ? units.cameraTerminal : units.processingUnit;
}

// The mapping a V4L2 control event concerns on this camera, if any. Temperature auto and
// component auto share one V4L2 control, which the driver binds to the first of the two the
// processing unit declares.
const Mapping* mappingForId(const UvcUnits& units, uint32_t id) {
    const bool componentAuto =
        !(units.processingUnitControls & (1u << 12)) && (units.processingUnitControls & (1u << 13));
    for (const Mapping& m : kMappings) {
        if (!unitIdOf(units, m) || (m.ids[0] != id && m.ids[1] != id)) continue;
        if (id == V4L2_CID_AUTO_WHITE_BALANCE && (m.selector == 0x0D) != componentAuto) continue;
        return &m;
    }
    return nullptr;
}

bool isGoneErrno(int error) {
    return ioReturnForErrno(error) == kIOReturnNoDevice;
}

// Events read at most per call; more stay pending and wake the reader again.
constexpr int kMaxEventsAtOnce = 64;

}  // namespace

UvcUnits UvcUnits::fromDescriptors(const std::vector<platform::Descriptor>& descriptors) {
    UvcUnits units;
    auto bitmap = [](const platform::Descriptor& d, size_t sizeAt) {
        uint32_t bits = 0;
        const size_t size = d[sizeAt];
        for (size_t i = 0; i < size && i < 4 && sizeAt + 1 + i < d.size(); ++i)
            bits |= static_cast<uint32_t>(d[sizeAt + 1 + i]) << (8 * i);
        return bits;
    };
    uvc::walkClassDescriptors(
        descriptors, uvc::Extent::Received, 4, [&](const uvc::DescriptorBytes& w) {
            const platform::Descriptor& d = w.bytes();
            switch (w.subtype()) {
                case uvc::VC_INPUT_TERMINAL:  // only the camera sensor type has controls
                    if (d.size() >= 15 && w.u16(4) == uvc::ITT_CAMERA) {
                        units.cameraTerminal = d[3];
                        units.cameraTerminalControls = bitmap(d, 14);
                    }
                    break;
                case uvc::VC_PROCESSING_UNIT:
                    if (d.size() >= 8) {
                        units.processingUnit = d[3];
                        units.processingUnitControls = bitmap(d, 7);
                    }
                    break;
                case uvc::VC_EXTENSION_UNIT:
                    units.extensionUnits.push_back(d[3]);
                    break;
                default:
                    break;
            }
        });
    return units;
}

IOReturn UvcV4l2Bridge::controlRequest(platform::ControlRequest& request) {
    request.wLenDone = 0;
    const uint8_t unit = static_cast<uint8_t>(request.wIndex >> 8);
    const uint8_t selector = static_cast<uint8_t>(request.wValue >> 8);
    const bool isGet = request.bmRequestType == uvc::kRequestTypeGet;
    if ((!isGet && request.bmRequestType != uvc::kRequestTypeSet) || (request.wValue & 0xFF) != 0)
        return kIOUSBPipeStalled;

    std::optional<Unit> kind;
    if (unit != 0 && unit == units_.cameraTerminal) kind = Unit::Terminal;
    if (unit != 0 && unit == units_.processingUnit) kind = Unit::Processing;
    if (kind) {
        const Mapping* m = findMapping(*kind, selector);
        // Controls the driver does not map, or that another selector shadows, are out of reach.
        if (!m) return kIOUSBPipeStalled;
        if (*kind == Unit::Processing && selector == 0x0D &&
            (units_.processingUnitControls & (1u << 12)))
            return kIOUSBPipeStalled;
        Translator translator(*m, io_);
        const IOReturn status = isGet ? translator.get(request) : translator.set(request);
        Known& known = known_[{unit, selector}];
        if (translator.seenValue) known.value = translator.seenValue;
        if (translator.seenInactive) known.inactive = translator.seenInactive;
        return status;
    }

    // Extension units (and anything else) go to the driver unchanged.
    uvc_xu_control_query query{};
    query.unit = unit;
    query.selector = selector;
    query.query = request.bRequest;
    query.size = request.wLength;
    query.data = static_cast<uint8_t*>(request.pData);
    const int result = io_.ioctl(UVCIOC_CTRL_QUERY, &query);
    if (result < 0) return ioReturnForErrno(-result);
    // A positive result is the byte count of a short answer.
    request.wLenDone = result > 0
                           ? std::min<uint32_t>(static_cast<uint32_t>(result), request.wLength)
                           : request.wLength;
    return kIOReturnSuccess;
}

int UvcV4l2Bridge::subscribeControlEvents() {
    std::vector<uint32_t> ids;
    for (const Mapping& m : kMappings) {
        if (!unitIdOf(units_, m)) continue;
        for (size_t i = 0; i < controlCount(m); ++i)
            if (std::find(ids.begin(), ids.end(), m.ids[i]) == ids.end()) ids.push_back(m.ids[i]);
    }
    for (uint32_t id : ids) {
        v4l2_query_ext_ctrl query{};
        query.id = id;
        if (const int result = io_.ioctl(VIDIOC_QUERY_EXT_CTRL, &query); result < 0) {
            if (isGoneErrno(-result)) return result;
            continue;  // not a control of this camera
        }
        // No feedback: the driver then keeps this node's own value changes to itself.
        v4l2_event_subscription subscription{};
        subscription.type = V4L2_EVENT_CTRL;
        subscription.id = id;
        if (const int result = io_.ioctl(VIDIOC_SUBSCRIBE_EVENT, &subscription); result < 0) {
            unsubscribeControlEvents();
            return result;
        }
    }
    return 0;
}

void UvcV4l2Bridge::unsubscribeControlEvents() {
    v4l2_event_subscription subscription{};
    subscription.type = V4L2_EVENT_ALL;
    io_.ioctl(VIDIOC_UNSUBSCRIBE_EVENT, &subscription);
}

std::vector<platform::ControlChange> UvcV4l2Bridge::takeControlChanges(int* error) {
    *error = 0;
    std::vector<platform::ControlChange> changes;
    for (int count = 0; count < kMaxEventsAtOnce && !*error; ++count) {
        v4l2_event event{};
        const int result = io_.ioctl(VIDIOC_DQEVENT, &event);
        if (result == -ENOENT) break;
        if (result < 0) {
            *error = -result;
            break;
        }
        if (event.type != V4L2_EVENT_CTRL) continue;
        const auto change = translate(event, error);
        if (!change) continue;
        // Both halves of a pair raise an event for one change; one report tells it.
        const auto same = std::find_if(changes.begin(), changes.end(), [&](const auto& c) {
            return c.unit == change->unit && c.selector == change->selector;
        });
        if (same == changes.end()) {
            changes.push_back(*change);
            continue;
        }
        if (change->valueChanged) {
            same->valueChanged = true;
            same->value = change->value;
        }
        if (change->flagsChanged) {
            same->flagsChanged = true;
            same->inactive = change->inactive;
        }
    }
    return changes;
}

std::optional<platform::ControlChange> UvcV4l2Bridge::translate(const v4l2_event& event,
                                                                int* error) {
    const Mapping* m = mappingForId(units_, event.id);
    if (!m) {
        if (unmappedReported_.insert(event.id).second)
            NSLog(
                "CameraControl: ignoring events of V4L2 control 0x%08x, which no UVC control here "
                "maps to",
                event.id);
        return std::nullopt;
    }
    const v4l2_event_ctrl& ctrl = event.u.ctrl;
    platform::ControlChange change;
    change.unit = unitIdOf(units_, *m);
    change.selector = m->selector;
    Known& known = known_[{change.unit, change.selector}];
    if (ctrl.changes & V4L2_EVENT_CTRL_CH_FLAGS) {
        const bool inactive = (ctrl.flags & V4L2_CTRL_FLAG_INACTIVE) != 0;
        change.flagsChanged = known.inactive != inactive;
        change.inactive = inactive;
        known.inactive = inactive;
    }
    if ((ctrl.changes & V4L2_EVENT_CTRL_CH_VALUE) && !isRelative(*m)) {
        std::array<int64_t, 2> values{ctrl.value, 0};
        bool read = true;
        if (controlCount(*m) == 2) {
            // The event carries one half; the payload needs both as they are now.
            v4l2_ext_control controls[2] = {};
            controls[0].id = m->ids[0];
            controls[1].id = m->ids[1];
            v4l2_ext_controls list{};
            list.which = V4L2_CTRL_WHICH_CUR_VAL;
            list.count = 2;
            list.controls = controls;
            if (const int result = io_.ioctl(VIDIOC_G_EXT_CTRLS, &list); result < 0) {
                if (isGoneErrno(-result)) *error = -result;
                read = false;
            }
            values = {controls[0].value, controls[1].value};
        }
        if (read) {
            const uint64_t value = payloadValue(*m, encode(*m, values));
            change.valueChanged = known.value != value;
            change.value = value;
            known.value = value;
        }
    }
    if (!change.valueChanged && !change.flagsChanged) return std::nullopt;
    return change;
}

}  // namespace orvella::linuxplatform