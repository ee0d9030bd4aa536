// Audio devices by PulseAudio's client API (https://www.freedesktop.org/software/pulseaudio/doxygen/), which
// PipeWire serves too. A device is a sink, its UID the sink's name; its input side is the sink's monitor, the
// source that carries what is played into it.
#pragma once

#include "platform/AudioHardware.h"
#include "posix/Deadline.h"

#include <functional>

struct pa_context;
struct pa_mainloop;
struct pa_operation;

namespace orvane {

/// A side's main volume is that of its loudest channel, as the mixers of the desktops show it on their one
/// slider: 1 is 100 %, and what is amplified beyond that is 1 too. Setting it sets every channel.
///
/// `devices` and `setVolume` ask the server, each in one round trip that is given up after a quarter of a
/// second; the other calls read what the last listing said. A server that does not answer is left alone for
/// some seconds. Nothing runs between the calls: no thread and no timer. No server is ever started.
class PulseAudioHardware : public AudioHardware {
  public:
    PulseAudioHardware();
    ~PulseAudioHardware() override;

    std::optional<std::vector<DeviceId>> devices() override;
    std::optional<std::string> uid(DeviceId device) override;
    bool hasVolume(DeviceId device, VolumeScope scope) override;
    std::optional<float> volume(DeviceId device, VolumeScope scope) override;
    bool setVolume(DeviceId device, VolumeScope scope, float scalar) override;

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

    pa_mainloop* loop_ = nullptr;
    pa_context* context_ = nullptr;
    std::vector<Sink> sinks_;
    Deadline rest_ = Deadline::after({});  ///< Before its end no attempt to connect.
};

}  // namespace orvane
