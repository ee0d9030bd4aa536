// The look at a Linux computer: /proc, /sys, the buses, the sound server, the display.
#pragma once

#include "platform/Inspection.h"

namespace orvane {

/// An application object must exist.
class LinuxInspection : public Inspection {
  public:
    ProgramPresence program(const std::string& path) const override;
    std::string obstacleToWriting(const std::string& folder,
                                  const std::vector<std::string>& names) const override;
    std::vector<std::string> writableByAll(const std::string& folder) const override;
    std::optional<PortFacts> port(std::uint16_t port) const override;
    std::optional<std::string> output(const std::string& path, const std::vector<std::string>& arguments,
                                      std::chrono::milliseconds patience) const override;
    std::optional<std::string> setting(const std::string& key) const override;
    std::string settingsPath() const override;
    bool adbDaemonRuns() const override;
    std::optional<BluetoothFacts> bluetooth() const override;
    std::optional<SoundFacts> sound() const override;
    std::optional<SurfaceFacts> surface() const override;
    std::optional<AutostartFacts> autostart() const override;
};

}  // namespace orvane
