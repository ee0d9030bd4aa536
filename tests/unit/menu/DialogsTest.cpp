// The pairing code's commands and the help dialogs.
#include "menu/Dialogs.h"
#include "text/HarmlessText.h"
#include "unit/app/AppDelegateFixture.h"

namespace orvane::test {

using testing::ElementsAre;
using testing::EndsWith;

class DialogCommandsTest : public AppDelegateTest {
  protected:
    const std::string pairingFile = "/home/tester/Library/Application Support/Orvane/pairing";

    void SetUp() override {
        launch();
        system.fileManager.files[pairingFile] = "42\n";
        serverPrints("pairing code: 42\n");
        system.application.journal.clear();
    }
};

TEST_F(DialogCommandsTest, TheCodeIsCopiedInPlaceOfWhatWasThere) {
    menu().choose(pairingRow());
    EXPECT_THAT(system.pasteboard.journal, ElementsAre("clear", "set 42"));
}

TEST_F(DialogCommandsTest, WhereTheClipboardIsOutOfReachAQuestionShowsTheCodeAndCopiesIt) {
    system.pasteboard.withinReach = false;
    system.application.answer = Dialogs::copyCodeButton;
    menu().choose(pairingRow());
    ASSERT_EQ(system.application.alerts.size(), 1U);
    const auto& alert = system.application.alerts.front();
    EXPECT_EQ(alert.messageText, "Pairing code: 42");
    EXPECT_EQ(alert.informativeText, "On this desktop Orvane can copy only from a window of its own.");
    EXPECT_THAT(alert.buttons, ElementsAre("Copy", "Cancel"));
    EXPECT_EQ(alert.closingAnswer, Dialogs::leaveCodeButton);
    EXPECT_THAT(system.application.journal, ElementsAre("activate", "modal"));
    EXPECT_THAT(system.pasteboard.journal, ElementsAre("clear", "set 42"));
}

TEST_F(DialogCommandsTest, EveryOtherAnswerToThatQuestionCopiesNothing) {
    system.pasteboard.withinReach = false;
    for (const int answer : {1001, 1002, 999, 0, Alert::aborted}) {
        system.application.answer = answer;
        menu().choose(pairingRow());
    }
    EXPECT_EQ(system.application.alerts.size(), 5U);
    EXPECT_TRUE(system.pasteboard.journal.empty());
}

TEST_F(DialogCommandsTest, WhatThatQuestionShowsIsCopiedAlsoWhenAnotherCodeHasComeMeanwhile) {
    system.pasteboard.withinReach = false;
    system.application.answer = Dialogs::copyCodeButton;
    system.application.whileModal = [this] { serverPrints("pairing code: 77\n"); };
    menu().choose(pairingRow());
    EXPECT_THAT(system.pasteboard.journal, ElementsAre("clear", "set 42"));
}

TEST_F(DialogCommandsTest, WithoutACodeThereIsNoQuestionEither) {
    system.application.answer = Dialogs::generateButton;
    menu().choose(row(4));
    system.pasteboard.withinReach = false;
    menu().choose(pairingRow());
    EXPECT_EQ(system.application.alerts.size(), 1U);
}

TEST(DialogsTest, ACodeIsShownOnOneLineOfBoundedLengthWithoutWhatHides) {
    EXPECT_EQ(Dialogs::pairingCode("4\u200b2").messageText, "Pairing code: 4\uFFFD2");
    EXPECT_EQ(Dialogs::pairingCode(std::string(100'000, '4')).messageText,
              "Pairing code: " + std::string(maxNameCharacters, '4'));
}

TEST_F(DialogCommandsTest, NewCodeAsksFirst) {
    menu().choose(row(4));
    ASSERT_EQ(system.application.alerts.size(), 1U);
    const auto& alert = system.application.alerts.front();
    EXPECT_EQ(alert.messageText, "Generate a new pairing code?");
    EXPECT_EQ(alert.informativeText,
              "The current code stops working. You will need to enter the new code on your phone.");
    EXPECT_THAT(alert.buttons, ElementsAre("Generate", "Cancel"));
    EXPECT_THAT(system.application.journal, ElementsAre("activate", "modal"));
}

TEST_F(DialogCommandsTest, EveryAnswerButTheFirstButtonLeavesEverythingAsItIs) {
    for (const int answer : {1001, 1002, 999, 0, Alert::aborted}) {
        system.application.answer = answer;
        menu().choose(row(4));
        EXPECT_TRUE(system.fileManager.files.contains(pairingFile));
        EXPECT_EQ(delegate->pairingCode(), "42");
        EXPECT_EQ(pairingRow().title(), "Pairing code: 42   (click to copy)");
        EXPECT_EQ(launches(), 1U);
    }
}

TEST_F(DialogCommandsTest, GenerateDeletesTheFileForgetsTheCodeAndRestarts) {
    system.application.answer = 1000;
    menu().choose(row(4));
    EXPECT_FALSE(system.fileManager.files.contains(pairingFile));
    EXPECT_EQ(delegate->pairingCode(), std::nullopt);
    EXPECT_EQ(pairingRow().title(), "Pairing code: …");
    EXPECT_THAT(log(), EndsWith("\n— generating a new pairing code —\n\n— restarting server —\n"));
    EXPECT_EQ(launches(), 2U);

    menu().choose(pairingRow());
    EXPECT_TRUE(system.pasteboard.journal.empty())
        << "there is no code to copy until the server tells the new one";
    serverPrints("pairing code: 77\n");
    menu().choose(pairingRow());
    EXPECT_THAT(system.pasteboard.journal, ElementsAre("clear", "set 77"));
}

TEST_F(DialogCommandsTest, AMissingPairingFileStillRestartsTheServer) {
    system.fileManager.files.clear();
    system.application.answer = 1000;
    menu().choose(row(4));
    EXPECT_EQ(launches(), 2U);
    EXPECT_EQ(system.fileManager.journal.back(), "remove " + pairingFile);
}

TEST_F(DialogCommandsTest, DriverDialogHasItsTextAndButtonsInOrder) {
    serverPrints("devices: 0\n");
    menu().choose(deviceRow());
    ASSERT_EQ(system.application.alerts.size(), 1U);
    const auto& alert = system.application.alerts.front();
    EXPECT_EQ(alert.messageText, "Orvane needs a virtual audio device");
    EXPECT_EQ(alert.informativeText,
              "Orvane delivers the phone's microphone through a loopback audio device, which lets any Mac "
              "app select it as an input. "
              "Orvane does not install one — BlackHole is free, open source, and the standard "
              "choice.\n\nInstall it with Homebrew:\n"
              "    brew install --cask blackhole-16ch\n\nOr download the installer from "
              "existential.audio/blackhole.\n\n"
              "Pick the 16-channel version: each phone occupies one stereo pair, so 16 channels means up to "
              "8 phones at once. Orvane finds it "
              "automatically once installed — no restart needed.");
    EXPECT_THAT(alert.buttons, ElementsAre("Open Download Page", "Copy Homebrew Command", "Cancel"));
    EXPECT_TRUE(system.workspace.opened.empty());
    EXPECT_TRUE(system.pasteboard.journal.empty());
    EXPECT_THAT(system.application.journal, ElementsAre("activate", "modal"));
}

TEST_F(DialogCommandsTest, DriverDialogOpensThePageOrCopiesTheCommand) {
    system.application.answer = 1000;
    delegate->installBlackHole();
    EXPECT_THAT(system.workspace.opened, ElementsAre("https://existential.audio/blackhole"));
    system.application.answer = 1001;
    delegate->installBlackHole();
    EXPECT_THAT(system.pasteboard.journal, ElementsAre("clear", "set brew install --cask blackhole-16ch"));
    system.application.answer = 1002;
    delegate->installBlackHole();
    EXPECT_EQ(system.workspace.opened.size(), 1U);
    EXPECT_EQ(system.pasteboard.journal.size(), 2U);
    EXPECT_EQ(launches(), 1U);
}

TEST_F(DialogCommandsTest, UsbHelpTellsHowToGetTheTools) {
    system.threads.runQueued();
    system.runLoop.runPending();
    ASSERT_TRUE(usbRow().isShownEnabled()) << "no adb here";
    menu().choose(usbRow());
    ASSERT_EQ(system.application.alerts.size(), 1U);
    const auto& alert = system.application.alerts.front();
    EXPECT_EQ(alert.messageText, "Android platform-tools not found");
    EXPECT_EQ(
        alert.informativeText,
        "USB streaming needs Google's adb tool to open a tunnel to your phone.\n\nInstall it with Homebrew:\n"
        "    brew install --cask android-platform-tools\n\nThen, on the phone, enable Developer Options and "
        "USB debugging, and "
        "accept the prompt when you plug it in. Orvane does the rest automatically.\n\nPrefer not to enable "
        "Developer Options? Use "
        "Wi-Fi instead — it needs no setup at all.");
    EXPECT_THAT(alert.buttons, ElementsAre("OK"));
}

TEST_F(DialogCommandsTest, WithoutABrowserTheAddressIsOfferedForCopying) {
    serverPrints("devices: 0\n");
    system.workspace.hasNoBrowser = true;
    system.application.answer = 1000;  // The first button of both dialogs.
    menu().choose(deviceRow());
    ASSERT_EQ(system.application.alerts.size(), 2U);
    EXPECT_THAT(system.application.alerts.back().informativeText, EndsWith(Dialogs::downloadPage));
    EXPECT_THAT(system.application.alerts.back().buttons, ElementsAre("Copy Address", "Cancel"));
    EXPECT_EQ(system.application.alerts.back().closingAnswer, 1001)
        << "closed without an answer, it copies nothing";
    EXPECT_THAT(system.pasteboard.journal, ElementsAre("clear", "set " + std::string(Dialogs::downloadPage)));
}

TEST_F(DialogCommandsTest, ABrowserThatFailsLateOffersNothingBesideAnotherQuestion) {
    serverPrints("devices: 0\n");
    system.application.answer = 1000;
    menu().choose(deviceRow());
    system.application.answer = Alert::aborted;
    system.application.whileModal = [this] { system.workspace.fail(); };
    menu().choose(row(4));
    EXPECT_EQ(system.application.alerts.size(), 2U);
}

TEST(DialogsTest, ASystemWithRemediesOfItsOwnAddsThemBelowTheUnchangedText) {
    Remedies remedies;
    remedies.system = "Debian";
    remedies.installAdb = "sudo apt install adb";
    remedies.allowPhones = "one\ntwo";
    remedies.makeLoopbackDevice = "pactl load-module x";
    remedies.keepLoopbackDevice = "y";
    EXPECT_EQ(Dialogs::usbHelp(remedies).informativeText, Dialogs::usbHelp().informativeText);
    EXPECT_EQ(Dialogs::usbHelp(remedies).furtherText,
              "On this computer, Debian, install it with:\n    sudo apt install adb\n\n"
              "If a phone on the cable then stays unnoticed because adb has “no permissions”:\n"
              "    one\n    two\nThen log in anew, and plug the phone in again.");
    EXPECT_EQ(Dialogs::installBlackHole(remedies).informativeText,
              Dialogs::installBlackHole().informativeText);
    EXPECT_EQ(Dialogs::installBlackHole(remedies).furtherText,
              "On this computer, Debian, make a device with 16 channels:\n    pactl load-module x\n"
              "It lasts until the sound server restarts. To have it always:\n\ny");
}

TEST(DialogsTest, ASystemWithoutRemediesAddsNothing) {
    EXPECT_EQ(Dialogs::usbHelp().furtherText, "");
    EXPECT_EQ(Dialogs::installBlackHole().furtherText, "");
}

TEST_F(DialogCommandsTest, WhileADialogWaitsOnlyQuittingIsPossible) {
    system.application.whileModal = [this] {
        system.application.whileModal = {};
        menu().choose(row(16));
        menu().choose(row(4));
        menu().choose(pairingRow());
        menu().choose(row(18));
    };
    menu().choose(row(4));
    EXPECT_EQ(system.application.alerts.size(), 1U);
    EXPECT_EQ(launches(), 1U);
    EXPECT_TRUE(system.pasteboard.journal.empty());
    EXPECT_THAT(system.application.journal, testing::Contains("terminate"));
    menu().choose(pairingRow());
    EXPECT_THAT(system.pasteboard.journal, ElementsAre("clear", "set 42"))
        << "afterwards everything is possible again";
}

TEST_F(DialogCommandsTest, TheServerIsFollowedWhileADialogWaits) {
    system.application.whileModal = [this] { serverPrints("phone=yes\n"); };
    menu().choose(row(4));
    EXPECT_EQ(statusRow().title(), "● 0 phones connected");
}

TEST_F(DialogCommandsTest, GenerateDeletesThenForgetsThenLogsThenRestarts) {
    system.application.answer = 1000;
    std::string whenDeleted;
    std::string whenEnded;
    std::string logWhenCleared = "not cleared";
    const std::string title = pairingRow().title();
    const MenuLook look(menu(), [&] {
        if (logWhenCleared == "not cleared" && pairingRow().title() != title) logWhenCleared = log();
    });
    const std::string logBefore = log();
    const auto state = [this] { return pairingRow().title() + (delegate->pairingCode() ? "" : ", none"); };
    const auto effects = effectsOf(
        [&] {
            system.fileManager.onChange = [&, note = system.fileManager.onChange](const std::string& change) {
                note(change);
                whenDeleted = state();
            };
            server().onTerminate = [&, note = server().onTerminate] {
                note();
                whenEnded = state();
            };
            delegate->newPairingCode();
        },
        "generating a new pairing code");
    EXPECT_THAT(effects, ElementsAre("remove", "end, logged", "launch, logged"));
    EXPECT_EQ(logWhenCleared, logBefore);
    EXPECT_EQ(whenDeleted, "Pairing code: 42   (click to copy)");
    EXPECT_EQ(whenEnded, "Pairing code: …, none");
}

TEST_F(DialogCommandsTest, ARowChosenWhileADialogWaitsBringsItToTheFront) {
    system.application.whileModal = [this] {
        system.application.journal.clear();
        menu().choose(row(16));
        EXPECT_THAT(system.application.journal, ElementsAre("activate"));
    };
    menu().choose(row(4));
}

TEST_F(DialogCommandsTest, ClosingADialogIsTheAnswerThatChangesNothing) {
    EXPECT_EQ(Dialogs::newPairingCode().closingAnswer, 1001);
    EXPECT_EQ(Dialogs::installBlackHole().closingAnswer, 1002);
    EXPECT_EQ(Dialogs::usbHelp().closingAnswer, 1000);
}

TEST_F(DialogCommandsTest, AQuestionThatCopiesSaysSo) {
    EXPECT_TRUE(Dialogs::pairingCode("1").copies);
    EXPECT_TRUE(Dialogs::installBlackHole().copies);
    EXPECT_TRUE(Dialogs::noBrowser("https://a.b").copies);
    EXPECT_FALSE(Dialogs::newPairingCode().copies);
}

}  // namespace orvane::test
