// The modal dialogs: their texts and buttons, and what their buttons lead to.
#pragma once

#include "platform/Surface.h"

namespace orvane::Dialogs {

constexpr const char* homebrewCommand = "brew install --cask blackhole-16ch";
constexpr const char* downloadPage = "https://existential.audio/blackhole";

Alert newPairingCode();
constexpr int generateButton = Alert::firstButtonReturn;

Alert installBlackHole();
constexpr int openDownloadPageButton = Alert::firstButtonReturn;
constexpr int copyHomebrewCommandButton = Alert::firstButtonReturn + 1;

Alert usbHelp();

}  // namespace orvane::Dialogs
