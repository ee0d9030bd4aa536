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

constexpr auto lookInterval = std::chrono::milliseconds(250);

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

PulseAudioHardware::PulseAudioHardware() : loop_(pa_mainloop_new()) {
    late_.setInterval(lookInterval);
    QObject::connect(&late_, &QTimer::timeout, [this] { lookForAnswer(); });
}

PulseAudioHardware::~PulseAudioHardware() {
    disconnect();
    if (loop_) pa_mainloop_free(loop_);
}

std::optional<std::vector<AudioHardware::DeviceId>> PulseAudioHardware::devices() {
    sinks_.clear();
    if (isLate()) return std::nullopt;
    const auto deadline = Deadline::after(patience);
    // A connection whose server has gone meanwhile shows that only when it is used: then one new attempt.
    const bool wasConnected = isConnected();
    if (!list(deadline) && !(wasConnected && !isLate() && list(deadline))) return std::nullopt;

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
    if (!found || isLate() || !isConnected()) return false;
    pa_cvolume volume;
    pa_cvolume_set(&volume, found->channels,
                   static_cast<pa_volume_t>(std::lround(std::clamp(newVolume, 0.0F, 1.0F) * PA_VOLUME_NORM)));

    setting_ = -1;
    const auto answered = [](pa_context*, int success, void* result) {
        *static_cast<int*>(result) = success;
    };
    pa_operation* const operation =
        scope == VolumeScope::output
            ? pa_context_set_sink_volume_by_index(context_, found->index, &volume, answered, &setting_)
            : pa_context_set_source_volume_by_index(context_, found->index, &volume, answered, &setting_);
    if (!await(
            operation, [this] { return setting_ >= 0; }, Deadline::after(patience)) ||
        setting_ == 0)
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
    listing_ = std::make_unique<Listing>();
    pa_operation* const sinks = pa_context_get_sink_info_list(context_, &Listing::addSink, listing_.get());
    pa_operation* const sources =
        pa_context_get_source_info_list(context_, &Listing::addSource, listing_.get());
    if (sinks) pa_operation_unref(sinks);
    if (!await(
            sources, [this] { return listing_->open == 0; }, deadline) ||
        listing_->isRefused)
        return false;
    sinks_ = std::move(*listing_).joined();
    return true;
}

bool PulseAudioHardware::isConnected() const {
    return context_ && pa_context_get_state(context_) == PA_CONTEXT_READY;
}

bool PulseAudioHardware::connect(Deadline deadline) {
    disconnect();
    if (!loop_) return false;
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
    if (operation) return await(isDone, deadline);
    disconnect();
    return false;
}

bool PulseAudioHardware::await(const std::function<bool()>& isDone, Deadline deadline) {
    while (!isDone()) {
        const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline.left());
        if (left.count() <= 0 && !isLost()) {
            isAnswered_ = isDone;
            late_.start();
            return false;
        }
        if (isLost() || pa_mainloop_prepare(loop_, static_cast<int>(left.count())) < 0 ||
            pa_mainloop_poll(loop_) < 0 || pa_mainloop_dispatch(loop_) < 0) {
            disconnect();
            return false;
        }
    }
    return true;
}

bool PulseAudioHardware::isLost() const {
    return !PA_CONTEXT_IS_GOOD(pa_context_get_state(context_));
}

/// What the late answer says is too old by now: whoever asked may ask again.
void PulseAudioHardware::lookForAnswer() {
    while (!isAnswered_() && !isLost() && pa_mainloop_iterate(loop_, 0, nullptr) > 0) {
    }
    if (!isAnswered_() && !isLost()) return;
    late_.stop();
    if (isLost()) disconnect();
    if (recovered_) recovered_();
}

}  // namespace orvane
