// Whatever the server says and the user does, in whatever order: the menu is the one that a new controller
// would build of the same state, and none is exchanged while it is open.
#include "unit/app/AppDelegateFixture.h"

#include <cstdlib>
#include <random>

namespace orvane::test {

namespace {

std::string mark(CheckState state) {
    switch (state) {
        case CheckState::none:
            return "";
        case CheckState::off:
            return "[ ]";
        case CheckState::on:
            return "[x]";
    }
    return {};
}

/// How many dropouts a phone's row tells of is left out: the row is not made anew for more of them.
std::string withoutDropouts(const std::string& title) {
    const std::string warning = "  ⚠ ";
    const auto at = title.find(warning);
    return at == std::string::npos ? title : title.substr(0, at + warning.size());
}

/// Every row that shows, with all that shows of it.
void describe(Menu& menu, const std::string& indent, std::string& text) {
    menu.needsUpdate();
    for (const auto& item : menu.items()) {
        if (item->isHidden()) continue;
        text += indent + mark(item->checkState()) + withoutDropouts(item->title()) + " " +
                std::to_string(static_cast<int>(item->action())) + item->keyEquivalent() +
                (item->isSeparator() ? " -" : "") + (item->isEnabled() ? "" : " disabled");
        const auto& object = item->representedObject();
        if (const auto* channel = std::get_if<ChannelChoice>(&object))
            text += " phone " + std::to_string(channel->deviceId) + " on " + std::to_string(channel->pair);
        if (const auto* device = std::get_if<DeviceChoice>(&object)) text += " device " + device->uid;
        if (const auto* address = std::get_if<std::string>(&object)) text += " address " + *address;
        text += "\n";
        if (item->submenu()) describe(*item->submenu(), indent + "    ", text);
    }
}

std::string described(Menu& menu) {
    std::string text;
    describe(menu, "", text);
    return text;
}

}  // namespace

class MenuTreeTest : public AppDelegateTest {
  protected:
    void SetUp() override {
        launch();
        system.audioHardware.all = {{"a", 1.0F, {}}, {"b", 0.5F, {}}, {"c", {}, 0.25F}};
    }

    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(generator_);
    }

    /// Anything that can happen to the program.
    void step() {
        switch (below(9)) {
            case 0:
            case 1:
                return serverLists(randomPhones());
            case 2:
            case 3:
                return serverListsDevices(randomDevices());
            case 4:
                return serverPrints(words_.at(below(words_.size())));
            case 5:
                return open_ ? close() : open();
            case 6:
                return serverExits(1), system.runLoop.advance(10);
            default:
                return chooseSomething(menu());
        }
    }

    std::vector<std::string> randomPhones() {
        std::vector<std::string> lines;
        for (std::size_t count = below(4); count > 0; --count) {
            const auto id = static_cast<std::uint32_t>(below(5));
            lines.push_back(session(id, static_cast<std::int64_t>(1 + 2 * below(3)),
                                    "Phone " + std::to_string(id), static_cast<int>(below(3))));
        }
        return lines;
    }
    /// At least one is active if there are any: the volume of an inactive one is not looked at again.
    std::vector<std::string> randomDevices() {
        std::vector<std::string> lines;
        const std::size_t count = below(4);
        const std::size_t active = count == 0 ? 0 : below(count);
        for (std::size_t i = 0; i < count; ++i) {
            const std::string uid(1, static_cast<char>('a' + below(3)));
            lines.push_back(
                device(i == active || below(3) == 0, static_cast<int>(2 << below(4)), uid, "Device " + uid));
        }
        return lines;
    }

    void open() {
        open_ = true;
        menu().willOpen();
        phonesWhenOpened_ = phonesRow().submenu();
        devicesWhenOpened_ = deviceRow().submenu();
    }
    void close() {
        open_ = false;
        menu().didClose();
    }

    /// Chooses a row that shows enabled, at any depth. A dialog is answered anyhow.
    void chooseSomething(Menu& from) {
        from.needsUpdate();
        std::vector<std::shared_ptr<MenuItem>> rows;
        for (const auto& item : from.items())
            if (item->isShownEnabled() && item->action() != MenuAction::quit) rows.push_back(item);
        if (rows.empty()) return;
        const auto row = rows.at(below(rows.size()));
        if (const auto submenu = row->submenu()) return chooseSomething(*submenu);
        system.application.answer = 1000 + static_cast<int>(below(3));
        from.choose(*row);
        system.runLoop.runPending();
    }

    /// The menu of a new controller that has been told the same state, and nothing else, by its server.
    std::string rebuilt() {
        TestPlatform other;
        other.audioHardware.all = system.audioHardware.all;
        const auto fresh = std::make_shared<AppDelegate>(other.platform);
        fresh->applicationDidFinishLaunching();
        other.runLoop.runPending();
        if (phonesSeen_) fresh->ingest("sessions: 1\n" + session(1, 1, "before"));
        fresh->ingest(reportOf(delegate->phones()));
        if (devicesSeen_) fresh->ingest(reportOf(delegate->devices()));
        fresh->ingest(delegate->alignStreams() ? "align=on\n" : "align=off\n");
        if (delegate->pairingCode()) fresh->ingest("pairing code: " + *delegate->pairingCode() + "\n");
        fresh->setStatus(statusRow().title(), false);
        return described(*other.application.statusItem->menu);
    }

    static std::string reportOf(const std::vector<PhoneSession>& phones) {
        std::string text = "sessions: " + std::to_string(phones.size()) + "\n";
        for (const auto& phone : phones)
            text += session(phone.deviceId, phone.firstChannel, phone.name, static_cast<int>(phone.xruns));
        return text;
    }
    static std::string reportOf(const std::vector<LoopbackDevice>& devices) {
        std::string text = "devices: " + std::to_string(devices.size()) + "\n";
        for (const auto& each : devices)
            text += device(each.isActive, static_cast<int>(each.outChannels), each.uid, each.name);
        return text;
    }

    bool open_ = false;
    bool phonesSeen_ = false;
    bool devicesSeen_ = false;
    std::shared_ptr<Menu> phonesWhenOpened_;
    std::shared_ptr<Menu> devicesWhenOpened_;
    std::mt19937 generator_{20'261'121};

  private:
    const std::vector<std::string> words_ = {
        "align=off\n",       "align=on\n",         "phone=yes\n",  "phone=waiting\n",
        "devices: 0\n",      "sessions: 0\n",      "devices: 2\n", "routing to default-output\n",
        "pairing code: 5\n", "pairing: REJECTED\n"};
};

TEST_F(MenuTreeTest, IsThatOfANewControllerAfterAnything) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    const int limit = std::getenv("ORVANE_FUZZ_SECONDS") ? 100'000 : 3000;
    for (int steps = 0; steps < limit; ++steps) {
        step();
        if (open_) {
            ASSERT_EQ(phonesRow().submenu(), phonesWhenOpened_) << "exchanged at step " << steps;
            ASSERT_EQ(deviceRow().submenu(), devicesWhenOpened_) << "exchanged at step " << steps;
            continue;
        }
        phonesSeen_ = phonesSeen_ || phonesRow().title() != "Phones: none";
        devicesSeen_ = devicesSeen_ || deviceRow().title() != "Audio device: …";
        ASSERT_EQ(described(menu()), rebuilt()) << "after step " << steps;
    }
}

}  // namespace orvane::test
