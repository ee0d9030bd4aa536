// What is used of libpulse, loaded when somebody first asks after sound: it brings a dozen libraries of
// codecs, which nobody should wait for at the start, nor keep in memory while no device is looked at.
#pragma once

#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/mainloop.h>
#include <pulse/operation.h>
#include <pulse/proplist.h>
#include <pulse/volume.h>

namespace orvane {

/// The functions that libpulse calls pa_mainloop_new and so on.
struct PulseLibrary {
    decltype(&pa_mainloop_new) mainloopNew;
    decltype(&pa_mainloop_free) mainloopFree;
    decltype(&pa_mainloop_get_api) mainloopGetApi;
    decltype(&pa_mainloop_prepare) mainloopPrepare;
    decltype(&pa_mainloop_poll) mainloopPoll;
    decltype(&pa_mainloop_dispatch) mainloopDispatch;
    decltype(&pa_mainloop_iterate) mainloopIterate;
    decltype(&pa_context_new) contextNew;
    decltype(&pa_context_unref) contextUnref;
    decltype(&pa_context_connect) contextConnect;
    decltype(&pa_context_disconnect) contextDisconnect;
    decltype(&pa_context_get_state) contextGetState;
    decltype(&pa_context_get_server_info) contextGetServerInfo;
    decltype(&pa_context_get_sink_info_list) contextGetSinkInfoList;
    decltype(&pa_context_get_source_info_list) contextGetSourceInfoList;
    decltype(&pa_context_set_sink_volume_by_index) contextSetSinkVolumeByIndex;
    decltype(&pa_context_set_source_volume_by_index) contextSetSourceVolumeByIndex;
    decltype(&pa_operation_unref) operationUnref;
    decltype(&pa_cvolume_max) cvolumeMax;
    decltype(&pa_cvolume_set) cvolumeSet;
    decltype(&pa_cvolume_valid) cvolumeValid;
    decltype(&pa_proplist_gets) proplistGets;
};

/// Null where it is not installed. Once loaded it stays. Any thread.
const PulseLibrary* pulseLibrary();

}  // namespace orvane
