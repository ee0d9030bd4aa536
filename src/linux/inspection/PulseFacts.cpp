#include "linux/inspection/PulseFacts.h"

#include "posix/Deadline.h"

#include <string_view>

#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/mainloop.h>
#include <pulse/operation.h>
#include <pulse/proplist.h>

namespace orvane {

namespace {

struct Asked {
    SoundFacts facts;
    int open = 2;  ///< Answers that are still to come.
};

std::string_view property(const pa_proplist* properties, const char* key) {
    const char* value = pa_proplist_gets(properties, key);
    return value ? value : "";
}

/// PulseAudio names the module, PipeWire the factory that made the sink; ALSA's own loopback is a card.
bool isLoopback(const pa_sink_info& sink) {
    return std::string_view(sink.driver ? sink.driver : "").starts_with("module-null-sink") ||
           property(sink.proplist, "factory.name") == "support.null-audio-sink" ||
           property(sink.proplist, "alsa.driver_name") == "snd_aloop" ||
           property(sink.proplist, "alsa.card_name") == "Loopback";
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
    asked.facts.devices.push_back(
        {sink->description ? sink->description : sink->name, sink->sample_spec.channels, isLoopback(*sink)});
}

template <typename Done>
bool runUntil(pa_mainloop* loop, pa_context* context, Deadline deadline, Done done) {
    while (!done()) {
        const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline.left());
        if (left.count() <= 0 || !PA_CONTEXT_IS_GOOD(pa_context_get_state(context)) ||
            pa_mainloop_prepare(loop, static_cast<int>(left.count())) < 0 || pa_mainloop_poll(loop) < 0 ||
            pa_mainloop_dispatch(loop) < 0)
            return false;
    }
    return true;
}

void release(pa_operation* operation) {
    if (operation) pa_operation_unref(operation);
}

void ask(pa_mainloop* loop, pa_context* context, Deadline deadline, Asked& asked) {
    if (pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) return;
    const auto isReady = [&] { return pa_context_get_state(context) == PA_CONTEXT_READY; };
    if (!runUntil(loop, context, deadline, isReady)) return;
    release(pa_context_get_server_info(context, takeServer, &asked));
    release(pa_context_get_sink_info_list(context, takeSink, &asked));
    runUntil(loop, context, deadline, [&] { return asked.open == 0; });
}

}  // namespace

SoundFacts soundFacts(std::chrono::milliseconds patience) {
    Asked asked;
    pa_mainloop* const loop = pa_mainloop_new();
    pa_context* const context = pa_context_new(pa_mainloop_get_api(loop), "Orvane");
    ask(loop, context, Deadline::after(patience), asked);
    pa_context_disconnect(context);
    pa_context_unref(context);
    pa_mainloop_free(loop);
    return asked.facts;
}

}  // namespace orvane
