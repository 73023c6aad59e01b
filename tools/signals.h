// SIGINT, SIGTERM and SIGHUP end a run as an exception does, so that unfinished files go away.
#pragma once

#include <csignal>
#include <exception>

// The signal that asked for the end, or 0.
inline volatile std::sig_atomic_t ending_signal = 0;

struct interruption : std::exception {};

inline void throwIfInterrupted() {
    if (ending_signal != 0) {
        throw interruption();
    }
}

// A second signal of a kind ends the program at once. SIGPIPE and SIGXFSZ become ordinary write
// errors.
inline void installSignalHandlers() {
    struct sigaction action {};
    action.sa_handler = [](int signal_number) { ending_signal = signal_number; };
    action.sa_flags = static_cast<int>(SA_RESETHAND); // and no SA_RESTART: a read comes back
    for (const int signal_number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        sigaction(signal_number, nullptr, &before);
        if (before.sa_handler != SIG_IGN) {
            sigaction(signal_number, &action, nullptr);
        }
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}
