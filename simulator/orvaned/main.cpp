// orvaned, simulated: stands in for the audio server in development, demonstrations and tests.
#include "Simulator.h"

#include <csignal>
#include <cstdio>

#include <unistd.h>

namespace {

/// There is nothing to be put in order, so it ends wherever it is, also in the middle of a write.
extern "C" void endAtOnce(int) {
    _exit(0);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        std::fprintf(stderr, "orvaned: takes no arguments, but was given \"%s\"\n", argv[1]);
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGTERM, endAtOnce);
    std::signal(SIGINT, endAtOnce);
    return orvaned::Simulator(orvaned::optionsFromEnvironment()).run();
}
