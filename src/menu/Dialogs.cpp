#include "menu/Dialogs.h"

#include <string>
#include <string_view>

namespace orvane::Dialogs {

namespace {

std::string_view withoutScheme(std::string_view url) {
    return url.substr(url.find("://") + 3);
}

}  // namespace

Alert newPairingCode() {
    return {"Generate a new pairing code?",
            "The current code stops working. You will need to enter the new code on your phone.",
            {"Generate", "Cancel"}};
}

Alert installBlackHole() {
    std::string text =
        "Orvane delivers the phone's microphone through a loopback audio device, which lets any Mac app "
        "select it as "
        "an input. Orvane does not install one — BlackHole is free, open source, and the standard choice.\n\n"
        "Install it with Homebrew:\n    ";
    text += homebrewCommand;
    text += "\n\nOr download the installer from ";
    text += withoutScheme(downloadPage);
    text +=
        ".\n\nPick the 16-channel version: each phone occupies one stereo pair, so 16 channels means up to 8 "
        "phones "
        "at once. Orvane finds it automatically once installed — no restart needed.";
    return {"Orvane needs a virtual audio device",
            text,
            {"Open Download Page", "Copy Homebrew Command", "Cancel"}};
}

Alert usbHelp() {
    return {"Android platform-tools not found",
            "USB streaming needs Google's adb tool to open a tunnel to your phone.\n\n"
            "Install it with Homebrew:\n    brew install --cask android-platform-tools\n\n"
            "Then, on the phone, enable Developer Options and USB debugging, and accept the prompt when you "
            "plug it "
            "in. Orvane does the rest automatically.\n\n"
            "Prefer not to enable Developer Options? Use Wi-Fi instead — it needs no setup at all.",
            {"OK"}};
}

}  // namespace orvane::Dialogs
