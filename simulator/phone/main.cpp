// orvane-phone: a phone, simulated, for the Bluetooth bridge. As a real RFCOMM service, or on a socket of
// this machine, it does what the commands on its standard input say, and prints what it gets.
#include "Endpoint.h"
#include "Phone.h"
#include "Script.h"
#include "ServiceRecord.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <bluetooth/bluetooth.h>
#include <getopt.h>
#include <unistd.h>

namespace {

constexpr auto usage =
    "Usage: orvane-phone [OPTION]...\n"
    "  -l, --listen WHERE      rfcomm (the default), rfcomm:CHANNEL, tcp:PORT or unix:PATH\n"
    "  -a, --adapter ADDRESS   the Bluetooth adapter that plays the phone\n"
    "  -p, --patience SECONDS  for how long a command may wait (20)\n"
    "      --no-uuid           the service record has the name only\n"
    "      --not-browsable     the service record is found by search only\n"
    "  -h, --help\n"
    "\n"
    "Commands, one a line:\n";

struct Options {
    phone::Endpoint endpoint;
    std::string adapter;
    double patience = 20;
    phone::ServiceRecord::Contents record;
};

[[noreturn]] void explain(std::FILE* stream, int status) {
    std::fprintf(stream, "%s%s", usage, phone::Script::help());
    std::exit(status);
}

Options parseOptions(int argc, char** argv) {
    enum { noUuid = 256, notBrowsable };
    const option known[] = {{"listen", required_argument, nullptr, 'l'},
                            {"adapter", required_argument, nullptr, 'a'},
                            {"patience", required_argument, nullptr, 'p'},
                            {"no-uuid", no_argument, nullptr, noUuid},
                            {"not-browsable", no_argument, nullptr, notBrowsable},
                            {"help", no_argument, nullptr, 'h'},
                            {nullptr, 0, nullptr, 0}};
    Options options;
    for (int letter; (letter = getopt_long(argc, argv, "l:a:p:h", known, nullptr)) != -1;) {
        switch (letter) {
            case 'l': {
                const auto endpoint = phone::Endpoint::parse(optarg);
                if (!endpoint) explain(stderr, 2);
                options.endpoint = *endpoint;
                break;
            }
            case 'a':
                if (bachk(optarg) < 0) explain(stderr, 2);
                options.adapter = optarg;
                break;
            case 'p':
                options.patience = std::atof(optarg);
                break;
            case noUuid:
                options.record.withUuid = false;
                break;
            case notBrowsable:
                options.record.browsable = false;
                break;
            case 'h':
                explain(stdout, 0);
            default:
                explain(stderr, 2);
        }
    }
    if (optind < argc) explain(stderr, 2);
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    Options options = parseOptions(argc, argv);
    auto listening = phone::listenOn(options.endpoint, options.adapter);
    if (!listening) {
        std::fprintf(stderr, "orvane-phone: cannot listen: %s\n", std::strerror(errno));
        return 1;
    }
    std::printf("listening %d\n", listening->number);
    std::fflush(stdout);

    options.record.channel = listening->number;
    phone::Phone phone(std::move(listening->socket), options.patience);
    phone::Script script(phone,
                         [&] { return phone::ServiceRecord::publish(options.adapter, options.record); });
    if (options.endpoint.kind == phone::Endpoint::Kind::rfcomm && !script.carryOut("publish")) return 1;
    return script.run(STDIN_FILENO) ? 0 : 1;
}
