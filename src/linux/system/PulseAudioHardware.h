// Audio devices by PulseAudio's client API (https://www.freedesktop.org/software/pulseaudio/doxygen/), which
// PipeWire serves too. A device is a sink, its UID the sink's name; its input side is the sink's monitor, the
// source that carries what is played into it.
#pragma once

#include "platform/AudioHardware.h"
#include "posix/Deadline.h"

#include <QTimer>
#include <functional>
#include <memory>

struct pa_context;
struct pa_mainloop;
struct pa_operation;

namespace orvane {

struct PulseLibrary;

/// A side's main volume is that of its loudest channel, as the mixers of the desktops show it on their one
/// slider: 1 is 100 %, and what is amplified beyond that is 1 too. Setting it sets every channel.
///
/// `devices` and `setVolume` ask the server, each in one round trip; the other calls read what the last
/// listing said. A server that has not answered after `patience` is waited for no more: until it answers, or
/// goes, every call fails at once, and a timer looks for the answer four times a second. One that is not
/// there is looked for again after `rest` only, since a server of sound that is busy lists its devices often;
/// whoever has asked meanwhile is told then. Nothing else runs between the calls, and no server is ever
/// started.
class PulseAudioHardware : public AudioHardware {
  public:
    /// Less than anybody notices when the menu stands still for it.
    static constexpr std::chrono::milliseconds patience{100};
    static constexpr std::chrono::milliseconds rest{1000};

    PulseAudioHardware();
    ~PulseAudioHardware() override;

    std::optional<std::vector<DeviceId>> devices() override;
    std::optional<std::string> uid(DeviceId device) override;
    bool hasVolume(DeviceId device, VolumeScope scope) override;
    std::optional<float> volume(DeviceId device, VolumeScope scope) override;
    bool setVolume(DeviceId device, VolumeScope scope, float scalar) override;
    void setRecoveryHandler(const Block& handler) override { recovered_ = handler; }

  private:
    struct Control {
        std::uint32_t index;
        std::uint8_t channels;  ///< 0: no volume.
        float volume;
    };
    struct Sink {
        DeviceId id;
        std::string name;
        Control output;
        std::optional<Control> input;
    };
    struct Listing;

    bool list(Deadline deadline);
    Control* control(DeviceId device, VolumeScope scope);

    bool isConnected() const;
    bool connect(Deadline deadline);
    void disconnect();
    bool await(pa_operation* operation, const std::function<bool()>& isDone, Deadline deadline);
    bool await(const std::function<bool()>& isDone, Deadline deadline);
    bool isLost() const;
    bool isLate() const { return late_.isActive(); }
    void lookForAnswer();
    void restIsOver();

    const PulseLibrary* pulse_ = nullptr;  ///< Null until the first look at devices.
    pa_mainloop* loop_ = nullptr;
    pa_context* context_ = nullptr;
    std::vector<Sink> sinks_;
    std::unique_ptr<Listing> listing_;  ///< What the answers fill that are still to come.
    int setting_ = -1;                  ///< The same for a new volume: not negative when it is there.
    std::function<bool()> isAnswered_;  ///< Of what is late.
    QTimer late_;                       ///< Runs while an answer is.
    QTimer rest_;                       ///< Runs after no server has been there.
    bool isAskedWhileResting_ = false;
    Block recovered_;
};

}  // namespace orvane
