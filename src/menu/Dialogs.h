// The modal dialogs: their texts and buttons, and what their buttons lead to.
#pragma once

#include "platform/Remedies.h"
#include "platform/Surface.h"

#include <string>

namespace orvane::Dialogs {

constexpr const char* homebrewCommand = "brew install --cask blackhole-16ch";
constexpr const char* downloadPage = "https://existential.audio/blackhole";

Alert newPairingCode();
constexpr int generateButton = Alert::firstButtonReturn;
constexpr int keepCodeButton = Alert::firstButtonReturn + 1;

/// Where nothing can be copied unless a window of this program has the keyboard.
Alert pairingCode(const std::string& code);
constexpr int copyCodeButton = Alert::firstButtonReturn;
constexpr int leaveCodeButton = Alert::firstButtonReturn + 1;

/// The text of the macOS program, continued by what `remedies` know for another system.
Alert installBlackHole(const Remedies& remedies = {});
constexpr int openDownloadPageButton = Alert::firstButtonReturn;
constexpr int copyHomebrewCommandButton = Alert::firstButtonReturn + 1;
constexpr int installNothingButton = Alert::firstButtonReturn + 2;

Alert usbHelp(const Remedies& remedies = {});
constexpr int okButton = Alert::firstButtonReturn;

/// When no browser could be started for a page.
Alert noBrowser(const std::string& url);
constexpr int copyAddressButton = Alert::firstButtonReturn;
constexpr int leaveAddressButton = Alert::firstButtonReturn + 1;

}  // namespace orvane::Dialogs
