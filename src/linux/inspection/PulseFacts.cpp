#include "linux/inspection/PulseFacts.h"

#include "linux/system/PulseLibrary.h"
#include "posix/Deadline.h"

#include <string_view>

namespace orvane {

namespace {

struct Asked {
    const PulseLibrary& pulse;
    SoundFacts facts{};
    int open = 2;  ///< Answers that are still to come.
};

std::string_view property(const PulseLibrary& pulse, const pa_proplist* properties, const char* key) {
    const char* value = pulse.proplistGets(properties, key);
    return value ? value : "";
}

/// PulseAudio names the module, PipeWire the factory that made the sink; ALSA's own loopback is a card.
bool isLoopback(const PulseLibrary& pulse, const pa_sink_info& sink) {
    return std::string_view(sink.driver ? sink.driver : "").starts_with("module-null-sink") ||
           property(pulse, sink.proplist, "factory.name") == "support.null-audio-sink" ||
           property(pulse, sink.proplist, "alsa.driver_name") == "snd_aloop" ||
           property(pulse, sink.proplist, "alsa.card_name") == "Loopback";
}

void takeServer(pa_context*, const pa_server_info* server, void* result) {
    auto& asked = *static_cast<Asked*>(result);
    --asked.open;
    if (server) asked.facts.server = std::string(server->server_name) + " " + server->server_version;
}

void takeSink(pa_context*, const pa_sink_info* sink, int end, void* result) {
    auto& asked = *static_cast<Asked*>(result);
    if (end != 0) {
        --asked.open;
        return;
    }
    asked.facts.devices.push_back({sink->description ? sink->description : sink->name,
                                   sink->sample_spec.channels, isLoopback(asked.pulse, *sink)});
}

template <typename Done>
bool runUntil(const PulseLibrary& pulse, pa_mainloop* loop, pa_context* context, Deadline deadline,
              Done done) {
    while (!done()) {
        const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline.left());
        if (left.count() <= 0 || !PA_CONTEXT_IS_GOOD(pulse.contextGetState(context)) ||
            pulse.mainloopPrepare(loop, static_cast<int>(left.count())) < 0 || pulse.mainloopPoll(loop) < 0 ||
            pulse.mainloopDispatch(loop) < 0)
            return false;
    }
    return true;
}

void release(const PulseLibrary& pulse, pa_operation* operation) {
    if (operation) pulse.operationUnref(operation);
}

void ask(pa_mainloop* loop, pa_context* context, Deadline deadline, Asked& asked) {
    const PulseLibrary& pulse = asked.pulse;
    if (pulse.contextConnect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) return;
    const auto isReady = [&] { return pulse.contextGetState(context) == PA_CONTEXT_READY; };
    if (!runUntil(pulse, loop, context, deadline, isReady)) return;
    release(pulse, pulse.contextGetServerInfo(context, takeServer, &asked));
    release(pulse, pulse.contextGetSinkInfoList(context, takeSink, &asked));
    runUntil(pulse, loop, context, deadline, [&] { return asked.open == 0; });
}

}  // namespace

SoundFacts soundFacts(std::chrono::milliseconds patience) {
    const PulseLibrary* const library = pulseLibrary();
    if (!library) return {};
    const PulseLibrary& pulse = *library;
    Asked asked{pulse};
    pa_mainloop* const loop = pulse.mainloopNew();
    pa_context* const context = pulse.contextNew(pulse.mainloopGetApi(loop), "Orvane");
    ask(loop, context, Deadline::after(patience), asked);
    pulse.contextDisconnect(context);
    pulse.contextUnref(context);
    pulse.mainloopFree(loop);
    return asked.facts;
}

}  // namespace orvane
