// Interrupt: the signal flag of the command.
#include "driver/Interrupt.h"

#include <csignal>

namespace driver {

namespace {

volatile std::sig_atomic_t pending = 0;

extern "C" void Remember(int sig) { pending = sig; }

}  // namespace

void CatchInterrupts() {
    struct sigaction sa = {};
    sa.sa_handler = Remember;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = 0;   // no restart: a read waiting on a pipe gives up
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

int Pending() { return pending; }

const char* SignalName(int sig) { return sig == SIGINT ? "SIGINT" : sig == SIGTERM ? "SIGTERM" : "a signal"; }

}  // namespace driver
