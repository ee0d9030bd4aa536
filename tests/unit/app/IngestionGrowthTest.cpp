// What it costs to follow a server that prints one endless line, lines without end, or endless lists.
#include "menu/MenuMirror.h"
#include "support/Growth.h"
#include "unit/app/AppDelegateFixture.h"

namespace orvane::test {

struct IngestionGrowthTest : AppDelegateTest {
    /// The program reads what `make` makes for a size, and a surface that shows the menu follows.
    void expectLinearFor(std::size_t size, const std::function<std::string(std::size_t)>& make) {
        launch();
        MenuMirror surface(system.application.statusItem->menu, [] {});
        expectLinear(size, [&](std::size_t grown) {
            return [this, &surface, text = make(grown)] {
                delegate->ingest(text);
                surface.update();
                delegate->ingest("sessions: 0\ndevices: 0\n");
                surface.update();
            };
        });
    }

    static std::string phones(std::size_t count) {
        std::string block = "sessions: " + std::to_string(count) + "\n";
        for (std::size_t id = 1; id <= count; ++id)
            block += session(static_cast<std::uint32_t>(id), 1, "Phone");
        return block;
    }
    static std::string devices(std::size_t count) {
        std::string block = "devices: " + std::to_string(count) + "\n";
        for (std::size_t id = 1; id <= count; ++id)
            block += device(false, 16, "uid" + std::to_string(id), "Device");
        return block;
    }
};

TEST_F(IngestionGrowthTest, OneLine) {
    for (const std::string piece : {"x", "\t", ":", "=", "session:\t", "\u0301\u0323", "pairing code: "}) {
        SCOPED_TRACE(testing::PrintToString(piece));
        expectLinearFor(64 * 1024,
                        [&](std::size_t size) { return "session:\t" + repeatedUpTo(piece, size); });
        expectLinearFor(64 * 1024, [&](std::size_t size) { return repeatedUpTo(piece, size); });
    }
}

TEST_F(IngestionGrowthTest, OneRecordWithANameWithoutEnd) {
    for (const std::string piece : {"x", "\t", "\u0301\u0323"}) {
        SCOPED_TRACE(testing::PrintToString(piece));
        expectLinearFor(64 * 1024, [&](std::size_t size) {
            return "sessions: 1\n" + session(7, 1, repeatedUpTo(piece, size)) + "devices: 1\n" +
                   device(true, 2, repeatedUpTo(piece, size), repeatedUpTo(piece, size));
        });
    }
}

TEST_F(IngestionGrowthTest, ManyLines) {
    for (const std::string line :
         {"talk\n", "a: b = c\n", "phone=yes\n", "devices: 2\n", "pairing code: 1\n", "align=off\n"}) {
        SCOPED_TRACE(line);
        expectLinearFor(16 * 1024, [&](std::size_t size) { return repeatedUpTo(line, size); });
    }
}

TEST_F(IngestionGrowthTest, ManyPhones) {
    expectLinearFor(4000, [](std::size_t count) { return phones(count); });
}

TEST_F(IngestionGrowthTest, ManyDevices) {
    expectLinearFor(4000, [](std::size_t count) { return devices(count); });
}

}  // namespace orvane::test
