#include "linux/system/PulseAudioHardware.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/mainloop.h>
#include <pulse/operation.h>
#include <pulse/volume.h>

namespace orvane {

namespace {

constexpr auto soundServerPatience = std::chrono::milliseconds(250);
constexpr auto rest = std::chrono::seconds(3);  // After a server did not answer.

float scalar(const pa_cvolume& volume) {
    return std::min(static_cast<float>(pa_cvolume_max(&volume)) / static_cast<float>(PA_VOLUME_NORM), 1.0F);
}

std::uint8_t channels(const pa_cvolume& volume) {
    return pa_cvolume_valid(&volume) ? volume.channels : 0;
}

}  // namespace

/// What the answers to one listing fill. The server lists sinks and sources apart.
struct PulseAudioHardware::Listing {
    struct Monitor {
        std::uint32_t ofSink;
        Control control;
    };
    std::vector<Sink> sinks;
    std::vector<Monitor> monitors;
    int open = 2;
    bool isRefused = false;

    void end(int reason) {
        --open;
        isRefused = isRefused || reason < 0;
    }
    static void addSink(pa_context*, const pa_sink_info* sink, int end, void* self) {
        auto& listing = *static_cast<Listing*>(self);
        if (end != 0) return listing.end(end);
        listing.sinks.push_back(
            {sink->index, sink->name, {sink->index, channels(sink->volume), scalar(sink->volume)}, {}});
    }
    static void addSource(pa_context*, const pa_source_info* source, int end, void* self) {
        auto& listing = *static_cast<Listing*>(self);
        if (end != 0) return listing.end(end);
        if (source->monitor_of_sink == PA_INVALID_INDEX) return;
        listing.monitors.push_back(
            {source->monitor_of_sink, {source->index, channels(source->volume), scalar(source->volume)}});
    }
    std::vector<Sink> joined() && {
        for (const Monitor& monitor : monitors)
            for (Sink& sink : sinks)
                if (sink.id == monitor.ofSink) sink.input = monitor.control;
        return std::move(sinks);
    }
};

PulseAudioHardware::PulseAudioHardware() : loop_(pa_mainloop_new()) {}

PulseAudioHardware::~PulseAudioHardware() {
    disconnect();
    if (loop_) pa_mainloop_free(loop_);
}

std::optional<std::vector<AudioHardware::DeviceId>> PulseAudioHardware::devices() {
    sinks_.clear();
    const auto deadline = Deadline::after(soundServerPatience);
    // A connection whose server has gone meanwhile shows that only when it is used: then one new attempt.
    const bool wasConnected = isConnected();
    if (!list(deadline) && !(wasConnected && list(deadline))) return std::nullopt;

    std::vector<DeviceId> ids;
    for (const Sink& sink : sinks_)
        ids.push_back(sink.id);
    return ids;
}

std::optional<std::string> PulseAudioHardware::uid(DeviceId device) {
    const auto sink = std::ranges::find(sinks_, device, &Sink::id);
    if (sink == sinks_.end()) return std::nullopt;
    return sink->name;
}

bool PulseAudioHardware::hasVolume(DeviceId device, VolumeScope scope) {
    return control(device, scope) != nullptr;
}

std::optional<float> PulseAudioHardware::volume(DeviceId device, VolumeScope scope) {
    const Control* const found = control(device, scope);
    if (!found) return std::nullopt;
    return found->volume;
}

bool PulseAudioHardware::setVolume(DeviceId device, VolumeScope scope, float newVolume) {
    Control* const found = control(device, scope);
    if (!found || !isConnected()) return false;
    pa_cvolume volume;
    pa_cvolume_set(&volume, found->channels,
                   static_cast<pa_volume_t>(std::lround(std::clamp(newVolume, 0.0F, 1.0F) * PA_VOLUME_NORM)));

    int answer = -1;
    const auto answered = [](pa_context*, int success, void* result) {
        *static_cast<int*>(result) = success;
    };
    pa_operation* const operation =
        scope == VolumeScope::output
            ? pa_context_set_sink_volume_by_index(context_, found->index, &volume, answered, &answer)
            : pa_context_set_source_volume_by_index(context_, found->index, &volume, answered, &answer);
    if (!await(
            operation, [&] { return answer >= 0; }, Deadline::after(soundServerPatience)) ||
        answer == 0)
        return false;
    found->volume = scalar(volume);
    return true;
}

PulseAudioHardware::Control* PulseAudioHardware::control(DeviceId device, VolumeScope scope) {
    const auto sink = std::ranges::find(sinks_, device, &Sink::id);
    if (sink == sinks_.end()) return nullptr;
    if (scope == VolumeScope::input && !sink->input) return nullptr;
    Control& found = scope == VolumeScope::output ? sink->output : *sink->input;
    return found.channels > 0 ? &found : nullptr;
}

bool PulseAudioHardware::list(Deadline deadline) {
    if (!isConnected() && !connect(deadline)) return false;
    Listing listing;
    pa_operation* const sinks = pa_context_get_sink_info_list(context_, &Listing::addSink, &listing);
    pa_operation* const sources = pa_context_get_source_info_list(context_, &Listing::addSource, &listing);
    if (sinks) pa_operation_unref(sinks);
    if (!await(
            sources, [&] { return listing.open == 0; }, deadline) ||
        listing.isRefused)
        return false;
    sinks_ = std::move(listing).joined();
    return true;
}

bool PulseAudioHardware::isConnected() const {
    return context_ && pa_context_get_state(context_) == PA_CONTEXT_READY;
}

bool PulseAudioHardware::connect(Deadline deadline) {
    disconnect();
    if (!loop_ || !rest_.hasPassed()) return false;
    context_ = pa_context_new(pa_mainloop_get_api(loop_), "Orvane");
    if (!context_) return false;
    if (pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        disconnect();
        return false;
    }
    return await([this] { return isConnected(); }, deadline);
}

/// No answer comes any more after this: what was to be filled by one may go.
void PulseAudioHardware::disconnect() {
    if (!context_) return;
    pa_context_disconnect(context_);
    pa_context_unref(std::exchange(context_, nullptr));
}

bool PulseAudioHardware::await(pa_operation* operation, const std::function<bool()>& isDone,
                               Deadline deadline) {
    if (operation) pa_operation_unref(operation);
    if (operation && await(isDone, deadline)) return true;
    disconnect();
    return false;
}

bool PulseAudioHardware::await(const std::function<bool()>& isDone, Deadline deadline) {
    while (!isDone()) {
        const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline.left());
        const bool isLate = left.count() <= 0;
        if (isLate) rest_ = Deadline::after(rest);
        if (isLate || !PA_CONTEXT_IS_GOOD(pa_context_get_state(context_)) ||
            pa_mainloop_prepare(loop_, static_cast<int>(left.count())) < 0 || pa_mainloop_poll(loop_) < 0 ||
            pa_mainloop_dispatch(loop_) < 0) {
            disconnect();
            return false;
        }
    }
    return true;
}

}  // namespace orvane
