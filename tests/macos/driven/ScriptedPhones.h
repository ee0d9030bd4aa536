// Phones without a radio, for the driven app: they answer what they are asked, later, as IOBluetooth does,
// and otherwise do what the driver says. Main thread only.
#pragma once

#include "platform/RunLoop.h"
#include "support/TestBluetooth.h"

#include <memory>
#include <string>

namespace orvane::test {

class ScriptedPhone : public TestBluetoothDevice {
  public:
    /// The run loop outlives this.
    explicit ScriptedPhone(RunLoop& runLoop) : runLoop_(runLoop) {}

    void performSdpQuery(const std::weak_ptr<BluetoothQueryTarget>& target) override;
    BluetoothStatus openRfcommChannelAsync(std::shared_ptr<RfcommChannel>& channel, std::uint8_t channelId,
                                           const std::weak_ptr<RfcommChannelDelegate>& delegate) override;

    /// The phone asks for its place at the server. False when there is no open channel to say it on.
    bool attach();
    /// The phone closes its channel. False when there is none.
    bool hangUp();

  private:
    std::shared_ptr<TestRfcommChannel> openChannel() const;

    RunLoop& runLoop_;
};

class ScriptedPhones : public TestBluetooth {
  public:
    explicit ScriptedPhones(RunLoop& runLoop) : runLoop_(runLoop) {}

    /// A paired phone that offers the app's service.
    void pair(const std::string& address, const std::string& name);
    /// Null when none is paired.
    std::shared_ptr<ScriptedPhone> phone() const { return phone_; }

  private:
    RunLoop& runLoop_;
    std::shared_ptr<ScriptedPhone> phone_;
};

}  // namespace orvane::test
