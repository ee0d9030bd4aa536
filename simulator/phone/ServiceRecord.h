// The phone's entry in the service discovery database of its adapter. The local bluetoothd must offer its
// registration socket (option -C), which takes root.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <bluetooth/sdp.h>
#include <bluetooth/sdp_lib.h>

namespace phone {

/// Published for as long as it lives.
class ServiceRecord {
  public:
    struct Contents {
        int channel = 0;
        bool withUuid = true;   ///< Carries the service's UUID.
        bool browsable = true;  ///< Shown to computers that browse; else found by search only.
        std::string name = "Orvane";
    };

    /// Nothing when there is no bluetoothd to publish it, with errno set.
    static std::optional<ServiceRecord> publish(const std::string& adapter, const Contents& contents);

  private:
    struct SessionCloser {
        void operator()(sdp_session_t* session) const { sdp_close(session); }
    };

    std::unique_ptr<sdp_session_t, SessionCloser> session_;  // the record goes with it
};

}  // namespace phone
