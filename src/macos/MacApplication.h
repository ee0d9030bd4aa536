// The shared application object.
#pragma once

#include "platform/Surface.h"

namespace orvane {

class MacApplication : public Application {
  public:
    void becomeAccessory() override;
    void activateIgnoringOtherApps() override;
    void terminate() override;
    std::unique_ptr<StatusItem> makeStatusItem() override;
    int runModal(const Alert& alert) override;
};

}  // namespace orvane
