#include "simulator/simulation.h"

#include "base/printable_text.h"

#include <csignal>
#include <iostream>

namespace {

constexpr int FAILURE_STATUS = 1;

bool IsIgnored(int signal)
{
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/// Keeps the signals that end the program for WaitForEnd, in this thread and all that it starts.
sigset_t BlockEndSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    if (!IsIgnored(SIGHUP)) { // as it is under nohup, which is to outlive its terminal
        sigaddset(&signals, SIGHUP);
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // a client that hangs up shows as a failed write
    std::signal(SIGCHLD, SIG_DFL); // ignored from the start, it would take away how tgtadm ended
    return signals;
}

void WaitForEnd(const sigset_t& signals)
{
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) {
    }
}

} // namespace

int main(int argc, char** argv)
{
    int status = 0;
    const auto options = ZavSim::ParseOptions(argc, argv, status);
    if (!options) {
        return status;
    }
    const sigset_t signals = BlockEndSignals();
    try {
        ZavSim::Simulation simulation(*options);
        simulation.Start();
        for (const auto& listener : simulation.Listeners().All()) {
            const std::string url = listener->Url();
            const bool tls = url.rfind("https", 0) == 0;
            std::cout << "zavsim: listening on " << url
                      << (tls ? " (certificate authority " + simulation.AuthorityPath() + ")" : "") << std::endl;
        }
        WaitForEnd(signals);
    } catch (const std::exception& error) {
        std::cerr << "zavsim: " << Base::Printable(error.what()) << std::endl;
        return FAILURE_STATUS;
    }
    return 0;
}
