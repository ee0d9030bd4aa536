// The shared application object.
#pragma once

#include "platform/Surface.h"

#import <AppKit/AppKit.h>

namespace orvane {

class MacApplication : public Application {
   public:
    void becomeAccessory() override;
    void activateIgnoringOtherApps() override;
    void terminate() override;
    std::unique_ptr<StatusItem> makeStatusItem() override;
    int runModal(const Alert& alert) override;
    void setLinked(bool linked) override;

    /// Once the run loop is back: opening it takes until it closes.
    void openStatusMenu();

   private:
    __weak NSStatusItem* statusItem_;
    id<NSObject> activity_;  ///< Held while a phone is linked: neither App Nap nor idle sleep meanwhile.
};

}  // namespace orvane
