#include "linux/system/PulseAudioHardware.h"

#include "linux/system/PulseLibrary.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orvane {

namespace {

constexpr auto lookInterval = std::chrono::milliseconds(250);

float scalar(const PulseLibrary& pulse, const pa_cvolume& volume) {
    return std::min(static_cast<float>(pulse.cvolumeMax(&volume)) / static_cast<float>(PA_VOLUME_NORM), 1.0F);
}

}  // namespace

/// What the answers to one listing fill. The server lists sinks and sources apart.
struct PulseAudioHardware::Listing {
    struct Monitor {
        std::uint32_t ofSink;
        Control control;
    };
    explicit Listing(const PulseLibrary& library) : pulse(library) {}

    const PulseLibrary& pulse;
    std::vector<Sink> sinks;
    std::vector<Monitor> monitors;
    int open = 2;
    bool isRefused = false;

    Control control(std::uint32_t index, const pa_cvolume& volume) const {
        const bool isValid = pulse.cvolumeValid(&volume) != 0;
        return {index, isValid ? volume.channels : std::uint8_t{0}, scalar(pulse, volume)};
    }
    void end(int reason) {
        --open;
        isRefused = isRefused || reason < 0;
    }
    static void addSink(pa_context*, const pa_sink_info* sink, int end, void* self) {
        auto& listing = *static_cast<Listing*>(self);
        if (end != 0) return listing.end(end);
        listing.sinks.push_back({sink->index, sink->name, listing.control(sink->index, sink->volume), {}});
    }
    static void addSource(pa_context*, const pa_source_info* source, int end, void* self) {
        auto& listing = *static_cast<Listing*>(self);
        if (end != 0) return listing.end(end);
        if (source->monitor_of_sink == PA_INVALID_INDEX) return;
        listing.monitors.push_back({source->monitor_of_sink, listing.control(source->index, source->volume)});
    }
    std::vector<Sink> joined() && {
        for (const Monitor& monitor : monitors)
            for (Sink& sink : sinks)
                if (sink.id == monitor.ofSink) sink.input = monitor.control;
        return std::move(sinks);
    }
};

PulseAudioHardware::PulseAudioHardware() {
    late_.setInterval(lookInterval);
    QObject::connect(&late_, &QTimer::timeout, [this] { lookForAnswer(); });
    rest_.setInterval(rest);
    rest_.setSingleShot(true);
    QObject::connect(&rest_, &QTimer::timeout, [this] { restIsOver(); });
}

PulseAudioHardware::~PulseAudioHardware() {
    disconnect();
    if (loop_) pulse_->mainloopFree(loop_);
}

std::optional<std::vector<AudioHardware::DeviceId>> PulseAudioHardware::devices() {
    sinks_.clear();
    if (isLate()) return std::nullopt;
    if (rest_.isActive()) {
        isAskedWhileResting_ = true;
        return std::nullopt;
    }
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
    pulse_->cvolumeSet(
        &volume, found->channels,
        static_cast<pa_volume_t>(std::lround(std::clamp(newVolume, 0.0F, 1.0F) * PA_VOLUME_NORM)));

    setting_ = -1;
    const auto answered = [](pa_context*, int success, void* result) {
        *static_cast<int*>(result) = success;
    };
    pa_operation* const operation =
        scope == VolumeScope::output
            ? pulse_->contextSetSinkVolumeByIndex(context_, found->index, &volume, answered, &setting_)
            : pulse_->contextSetSourceVolumeByIndex(context_, found->index, &volume, answered, &setting_);
    if (!await(
            operation, [this] { return setting_ >= 0; }, Deadline::after(patience)) ||
        setting_ == 0)
        return false;
    found->volume = scalar(*pulse_, volume);
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
    listing_ = std::make_unique<Listing>(*pulse_);
    pa_operation* const sinks = pulse_->contextGetSinkInfoList(context_, &Listing::addSink, listing_.get());
    pa_operation* const sources =
        pulse_->contextGetSourceInfoList(context_, &Listing::addSource, listing_.get());
    if (sinks) pulse_->operationUnref(sinks);
    if (!await(
            sources, [this] { return listing_->open == 0; }, deadline) ||
        listing_->isRefused)
        return false;
    sinks_ = std::move(*listing_).joined();
    return true;
}

bool PulseAudioHardware::isConnected() const {
    return context_ && pulse_->contextGetState(context_) == PA_CONTEXT_READY;
}

bool PulseAudioHardware::connect(Deadline deadline) {
    disconnect();
    if (!pulse_) pulse_ = pulseLibrary();
    if (pulse_ && !loop_) loop_ = pulse_->mainloopNew();
    if (!loop_) return false;
    context_ = pulse_->contextNew(pulse_->mainloopGetApi(loop_), "Orvane");
    if (!context_) return false;
    const bool isTried = pulse_->contextConnect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0;
    if (!isTried) disconnect();
    if (isTried && await([this] { return isConnected(); }, deadline)) return true;
    if (!isLate()) rest_.start();
    return false;
}

/// No answer comes any more after this: what was to be filled by one may go.
void PulseAudioHardware::disconnect() {
    if (!context_) return;
    pulse_->contextDisconnect(context_);
    pulse_->contextUnref(std::exchange(context_, nullptr));
}

bool PulseAudioHardware::await(pa_operation* operation, const std::function<bool()>& isDone,
                               Deadline deadline) {
    if (operation) pulse_->operationUnref(operation);
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
        if (isLost() || pulse_->mainloopPrepare(loop_, static_cast<int>(left.count())) < 0 ||
            pulse_->mainloopPoll(loop_) < 0 || pulse_->mainloopDispatch(loop_) < 0) {
            disconnect();
            return false;
        }
    }
    return true;
}

bool PulseAudioHardware::isLost() const {
    return !PA_CONTEXT_IS_GOOD(pulse_->contextGetState(context_));
}

/// What the late answer says is too old by now: whoever asked may ask again.
void PulseAudioHardware::lookForAnswer() {
    while (!isAnswered_() && !isLost() && pulse_->mainloopIterate(loop_, 0, nullptr) > 0) {
    }
    if (!isAnswered_() && !isLost()) return;
    late_.stop();
    if (isLost()) disconnect();
    if (recovered_) recovered_();
}

void PulseAudioHardware::restIsOver() {
    if (std::exchange(isAskedWhileResting_, false) && recovered_) recovered_();
}

}  // namespace orvane
