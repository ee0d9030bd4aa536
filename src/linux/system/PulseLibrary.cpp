#include "linux/system/PulseLibrary.h"

#include <optional>

#include <dlfcn.h>

namespace orvane {

namespace {

class Symbols {
  public:
    explicit Symbols(const char* library) : handle_(::dlopen(library, RTLD_LAZY | RTLD_LOCAL)) {}

    bool areComplete() const { return complete_; }

    template <typename Function>
    void find(Function& function, const char* name) {
        function = handle_ ? reinterpret_cast<Function>(::dlsym(handle_, name)) : nullptr;
        complete_ = complete_ && function;
    }

  private:
    void* handle_;
    bool complete_ = true;
};

std::optional<PulseLibrary> load() {
    Symbols symbols("libpulse.so.0");
    PulseLibrary pulse{};
    symbols.find(pulse.mainloopNew, "pa_mainloop_new");
    symbols.find(pulse.mainloopFree, "pa_mainloop_free");
    symbols.find(pulse.mainloopGetApi, "pa_mainloop_get_api");
    symbols.find(pulse.mainloopPrepare, "pa_mainloop_prepare");
    symbols.find(pulse.mainloopPoll, "pa_mainloop_poll");
    symbols.find(pulse.mainloopDispatch, "pa_mainloop_dispatch");
    symbols.find(pulse.mainloopIterate, "pa_mainloop_iterate");
    symbols.find(pulse.contextNew, "pa_context_new");
    symbols.find(pulse.contextUnref, "pa_context_unref");
    symbols.find(pulse.contextConnect, "pa_context_connect");
    symbols.find(pulse.contextDisconnect, "pa_context_disconnect");
    symbols.find(pulse.contextGetState, "pa_context_get_state");
    symbols.find(pulse.contextGetServerInfo, "pa_context_get_server_info");
    symbols.find(pulse.contextGetSinkInfoList, "pa_context_get_sink_info_list");
    symbols.find(pulse.contextGetSourceInfoList, "pa_context_get_source_info_list");
    symbols.find(pulse.contextSetSinkVolumeByIndex, "pa_context_set_sink_volume_by_index");
    symbols.find(pulse.contextSetSourceVolumeByIndex, "pa_context_set_source_volume_by_index");
    symbols.find(pulse.operationUnref, "pa_operation_unref");
    symbols.find(pulse.cvolumeMax, "pa_cvolume_max");
    symbols.find(pulse.cvolumeSet, "pa_cvolume_set");
    symbols.find(pulse.cvolumeValid, "pa_cvolume_valid");
    symbols.find(pulse.proplistGets, "pa_proplist_gets");
    return symbols.areComplete() ? std::optional(pulse) : std::nullopt;
}

}  // namespace

const PulseLibrary* pulseLibrary() {
    static const auto library = load();
    return library ? &*library : nullptr;
}

}  // namespace orvane
