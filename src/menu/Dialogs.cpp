#include "menu/Dialogs.h"

#include "text/HarmlessText.h"

#include <string>
#include <string_view>

namespace orvane::Dialogs {

namespace {

std::string_view withoutScheme(std::string_view url) {
    return url.substr(url.find("://") + 3);
}

/// Commands stand on lines of their own, as in the other texts.
std::string indented(const std::string& commands) {
    std::string lines = "    " + commands;
    for (auto at = lines.find('\n'); at != lines.npos; at = lines.find('\n', at + 1))
        lines.insert(at + 1, "    ");
    return lines;
}

std::string adbRemedy(const Remedies& remedies) {
    if (remedies.installAdb.empty()) return {};
    return "On this computer, " + remedies.system + ", install it with:\n" + indented(remedies.installAdb) +
           "\n\nIf a phone on the cable then stays unnoticed because adb has “no permissions”:\n" +
           indented(remedies.allowPhones) + "\nThen log in anew, and plug the phone in again.";
}

std::string deviceRemedy(const Remedies& remedies) {
    if (remedies.makeLoopbackDevice.empty()) return {};
    return "On this computer, " + remedies.system + ", make a device with 16 channels:\n" +
           indented(remedies.makeLoopbackDevice) +
           "\nIt lasts until the sound server restarts. To have it always:\n\n" + remedies.keepLoopbackDevice;
}

}  // namespace

Alert newPairingCode() {
    return {.messageText = "Generate a new pairing code?",
            .informativeText =
                "The current code stops working. You will need to enter the new code on your phone.",
            .buttons = {"Generate", "Cancel"},
            .closingAnswer = keepCodeButton};
}

Alert pairingCode(const std::string& code) {
    return {.messageText = "Pairing code: " + harmless(nameFromOutside(code)),
            .informativeText = "On this desktop Orvane can copy only from a window of its own.",
            .buttons = {"Copy", "Cancel"},
            .closingAnswer = leaveCodeButton,
            .copies = true};
}

Alert installBlackHole(const Remedies& remedies) {
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
    return {.messageText = "Orvane needs a virtual audio device",
            .informativeText = text,
            .buttons = {"Open Download Page", "Copy Homebrew Command", "Cancel"},
            .furtherText = deviceRemedy(remedies),
            .closingAnswer = installNothingButton,
            .copies = true};
}

Alert usbHelp(const Remedies& remedies) {
    return {
        .messageText = "Android platform-tools not found",
        .informativeText =
            "USB streaming needs Google's adb tool to open a tunnel to your phone.\n\n"
            "Install it with Homebrew:\n    brew install --cask android-platform-tools\n\n"
            "Then, on the phone, enable Developer Options and USB debugging, and accept the prompt when you "
            "plug it "
            "in. Orvane does the rest automatically.\n\n"
            "Prefer not to enable Developer Options? Use Wi-Fi instead — it needs no setup at all.",
        .buttons = {"OK"},
        .furtherText = adbRemedy(remedies),
        .closingAnswer = okButton};
}

Alert noBrowser(const std::string& url) {
    return {.messageText = "No browser could be opened",
            .informativeText = "The page is at this address:\n    " + url,
            .buttons = {"Copy Address", "Cancel"},
            .closingAnswer = leaveAddressButton,
            .copies = true};
}

}  // namespace orvane::Dialogs
