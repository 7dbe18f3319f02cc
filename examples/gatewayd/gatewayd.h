#pragma once

#include "zekovar/zekovar.h"

class Console;

/// The daemon: takes the command line and the signals, builds the console and the workbench, and ends both in order.
class Gatewayd : public ZKExecutable
{
public:
    Gatewayd();

    /// Serves the console until its input ends, `quit` is typed or a quit signal comes. Returns the exit status: 0, or 2 for a
    /// command line that it can't take.
    int run();

    XCode parseArgument(char option, String const& value) override;

    /// The signals that end the daemon come to the console through a descriptor. SIGALRM comes when that end takes too long, and ends
    /// the process with status 1; at the others nothing happens.
    void onQuitSignal(int signal) override;

    void subclassHookA() override {}

    void subclassHookB() override {}

private:
    enum class Mode
    {
        SERVE,
        SHOW_HELP,
        REFUSE
    };

    void usePreferences();
    int serve();
    bool listen(Console& console) const;
    ZKEventLoop& chosenLoop() const;

    Mode m_mode = Mode::SERVE;
    bool m_logToStandardError = false;
    String m_identity;
    String m_loop;                     // its name
    String m_consolePort;              // or empty
    String m_preferences;              // a file, or empty
    String m_loginKey;                 // a file, or empty
    ZKFile m_signals{-1, true, false}; // from which the console reads the signals that end the daemon
};
