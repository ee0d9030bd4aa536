// The state of the USB tunnel, as one value: what the last look at adb found, and how the menu says it.
#pragma once

#include "text/Canonical.h"

#include <string>
#include <utility>

namespace orvane {

struct AdbState {
    enum class Kind {
        ready,         ///< A phone is attached and authorised, and the tunnel has been requested.
        yielded,       ///< A phone is attached and authorised; the tunnel is kept down for Bluetooth.
        noAdb,         ///< No adb executable was found.
        noDevice,      ///< No usable phone is listed, or the listing failed.
        unauthorized,  ///< A phone is attached that has not accepted this computer yet.
    };

    static AdbState ready(std::string model) { return {Kind::ready, std::move(model)}; }
    static AdbState yielded(std::string model) { return {Kind::yielded, std::move(model)}; }
    static const AdbState noAdb;
    static const AdbState noDevice;
    static const AdbState unauthorized;

    /// The text of the menu's USB row.
    std::string menuTitle() const;
    /// True when choosing the USB row leads somewhere: to the help on installing the tools.
    bool isActionable() const { return kind == Kind::noAdb; }
    /// Models are compared as Unicode text: canonically equivalent spellings are the same model.
    bool operator==(const AdbState&) const = default;

    Kind kind;
    CanonicalText model;  ///< The phone's model; empty but for `ready` and `yielded`.
};

inline const AdbState AdbState::noAdb{Kind::noAdb, {}};
inline const AdbState AdbState::noDevice{Kind::noDevice, {}};
inline const AdbState AdbState::unauthorized{Kind::unauthorized, {}};

}  // namespace orvane
