// The stand-in server: ties settings, pretended devices and phones and the real connections together, and
// reports them on standard output as the server does. One thread; every block of lines is one write, so that
// a pipe hands it over whole.
#pragma once

#include "Listener.h"
#include "Options.h"
#include "Phones.h"
#include "Settings.h"
#include "Timers.h"

#include <optional>
#include <string>

namespace orvaned {

class Simulator {
  public:
    explicit Simulator(Options options);

    /// Runs until the process ends. Returns an exit status only when it cannot start.
    int run();

  private:
    void introduce();
    void reportRouting();
    void reportDevices();
    void reportPhones();
    void rejectCode();
    void followChannels();
    void pretendPhone(int index);
    void movePretendedFigures();
    void rearrange();

    std::vector<Device> presentDevices() const;
    std::optional<Device> activeDevice() const;

    Options options_;
    Settings settings_;
    Settings::Output output_;
    Timers timers_;
    Phones phones_;
    Listener listener_;
    bool lateDeviceThere_ = false;
    int ticks_ = 0;
    int wrongCodes_ = 0;
    int reportsToSkip_ = 0;  ///< So that what a wrong code shows can be read.
};

}  // namespace orvaned
