// The reading of the server's output beside its rules written a second time, without any controller.
#include "app/ServerOutput.h"
#include "support/IngestionModel.h"
#include "text/Utf8.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <variant>

namespace {

using namespace orvane;

/// What somebody knows who hears the events.
struct Listener {
    void operator()(const DevicesListed& event) { devices = test::recordsOf(event.devices); }
    void operator()(const PhonesListed& event) { phones = test::recordsOf(event.phones); }
    void operator()(const AlignmentReported& event) { alignStreams = event.on; }
    void operator()(const PairingCodeAnnounced& event) { pairingCode = event.code; }
    void operator()(ConnectionReport event) { connected = event == ConnectionReport::connected; }
    void operator()(RoutingReport event) { driverMissing = event == RoutingReport::defaultOutput; }

    std::vector<test::Record> devices;
    std::vector<test::Record> phones;
    bool alignStreams = true;
    std::optional<std::string> pairingCode;
    bool driverMissing = false;
    bool connected = false;
};

bool agree(const Listener& listener, const test::IngestionModel& model) {
    return listener.devices == model.devices && listener.phones == model.phones &&
           listener.alignStreams == model.alignStreams && listener.pairingCode == model.pairingCode &&
           listener.driverMissing == model.driverMissing && listener.connected == model.connected;
}

}  // namespace

/// The first byte says how long the pieces are; the rest is what the server prints.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t piece = data[0] + std::size_t{1};

    ServerOutput output;
    Listener listener;
    test::IngestionModel model;
    for (std::size_t at = 0; at < text.size(); at += piece) {
        const std::string bytes = text.substr(at, piece);
        model.print(bytes);
        if (isValidUtf8(bytes))
            output.read(bytes, [&](const ServerEvent& event) { std::visit(listener, event); });
        if (!agree(listener, model)) std::abort();
    }
    return 0;
}
