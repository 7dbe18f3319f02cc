#pragma once

#include "zekovar/zekovar.h"

/// The daemon: takes the command line and the signals, builds the console and the workbench, and ends both in order.
class Gatewayd : public ZKExecutable
{
public:
    Gatewayd();

    /// Serves the console until its input ends, `quit` is typed or a quit signal comes. Returns the exit status: 0, or 2 for a
    /// command line that it can't take.
    int run();

    XCode parseArgument(char option, String const& value) override;

    /// For the signals that don't end the daemon: nothing happens. Those that do come to the console through a descriptor.
    void onQuitSignal(int) override {}

    void subclassHookA() override {}

    void subclassHookB() override {}

private:
    enum class Mode
    {
        SERVE,
        SHOW_HELP,
        REFUSE
    };

    int serve();
    ZKEventLoop& chosenLoop() const;

    Mode m_mode = Mode::SERVE;
    bool m_logToStandardError = false;
    String m_identity;
    String m_loop = "io";
    String m_loginKey;                 // a file, or empty
    ZKFile m_signals{-1, true, false}; // from which the console reads the signals that end the daemon
};
