// The look at a Mac: files, the system's tools, CoreAudio, and IOBluetooth on the main queue.
#pragma once

#include "platform/Inspection.h"

namespace orvane {

/// The main thread serves the main queue meanwhile.
class MacInspection : public Inspection {
  public:
    ProgramPresence program(const std::string& path) const override;
    std::string obstacleToWriting(const std::string& folder,
                                  const std::vector<std::string>& names) const override;
    std::optional<PortFacts> port(std::uint16_t port) const override;
    std::optional<std::string> output(const std::string& path, const std::vector<std::string>& arguments,
                                      std::chrono::milliseconds patience) const override;
    std::optional<std::string> setting(const std::string& key) const override;
    bool adbDaemonRuns() const override;
    std::optional<BluetoothFacts> bluetooth() const override;
    std::optional<SoundFacts> sound() const override;
    std::optional<SurfaceFacts> surface() const override;
    /// Nothing: login items are the system's, and tell nobody.
    std::optional<AutostartFacts> autostart() const override { return std::nullopt; }
};

}  // namespace orvane
