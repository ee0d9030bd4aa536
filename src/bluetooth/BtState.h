// The state of the Bluetooth bridge, as one value: what the link is doing, and how the menu says it.
#pragma once

#include "text/Canonical.h"

#include <string>
#include <utility>

namespace orvane {

struct BtState {
    enum class Kind {
        searching,  ///< A phone is chosen, or a link was lost: waiting for the phone to attach.
        testing,    ///< The phone has started a link test.
        live,       ///< The phone's audio engine is bridged into the server.
        failed,     ///< The protocol or the relay has failed; shown until something else happens.
        off,        ///< The bridge is stopped.
        noDevice,   ///< Running, but no phone is chosen.
    };

    static BtState searching(std::string name) { return {Kind::searching, std::move(name)}; }
    static BtState testing(std::string name) { return {Kind::testing, std::move(name)}; }
    static BtState live(std::string name) { return {Kind::live, std::move(name)}; }
    static BtState failed(std::string message) { return {Kind::failed, std::move(message)}; }
    static const BtState off;
    static const BtState noDevice;

    /// The text of the menu's Bluetooth row.
    std::string menuTitle() const;
    /// Texts are compared as Unicode text: canonically equivalent spellings are the same name.
    bool operator==(const BtState&) const = default;

    Kind kind;
    CanonicalText text;  ///< The phone's name, or the message of `failed`; empty for `off` and `noDevice`.
};

inline const BtState BtState::off{Kind::off, {}};
inline const BtState BtState::noDevice{Kind::noDevice, {}};

}  // namespace orvane
