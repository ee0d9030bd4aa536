#include "linux/system/PulseLibrary.h"

#include "posix/SharedLibrary.h"

#include <optional>

namespace orvane {

namespace {

std::optional<PulseLibrary> load() {
    SharedLibrary library{"libpulse.so.0"};
    PulseLibrary pulse{};
    library.find(pulse.mainloopNew, "pa_mainloop_new");
    library.find(pulse.mainloopFree, "pa_mainloop_free");
    library.find(pulse.mainloopGetApi, "pa_mainloop_get_api");
    library.find(pulse.mainloopPrepare, "pa_mainloop_prepare");
    library.find(pulse.mainloopPoll, "pa_mainloop_poll");
    library.find(pulse.mainloopDispatch, "pa_mainloop_dispatch");
    library.find(pulse.mainloopIterate, "pa_mainloop_iterate");
    library.find(pulse.contextNew, "pa_context_new");
    library.find(pulse.contextUnref, "pa_context_unref");
    library.find(pulse.contextConnect, "pa_context_connect");
    library.find(pulse.contextDisconnect, "pa_context_disconnect");
    library.find(pulse.contextGetState, "pa_context_get_state");
    library.find(pulse.contextGetServerInfo, "pa_context_get_server_info");
    library.find(pulse.contextGetSinkInfoList, "pa_context_get_sink_info_list");
    library.find(pulse.contextGetSourceInfoList, "pa_context_get_source_info_list");
    library.find(pulse.contextSetSinkVolumeByIndex, "pa_context_set_sink_volume_by_index");
    library.find(pulse.contextSetSourceVolumeByIndex, "pa_context_set_source_volume_by_index");
    library.find(pulse.operationUnref, "pa_operation_unref");
    library.find(pulse.cvolumeMax, "pa_cvolume_max");
    library.find(pulse.cvolumeSet, "pa_cvolume_set");
    library.find(pulse.cvolumeValid, "pa_cvolume_valid");
    library.find(pulse.proplistGets, "pa_proplist_gets");
    return library.isComplete() ? std::optional(pulse) : std::nullopt;
}

}  // namespace

const PulseLibrary* pulseLibrary() {
    static const auto library = load();
    return library ? &*library : nullptr;
}

}  // namespace orvane
