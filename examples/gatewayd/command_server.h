#pragma once

#include "zekovar/zekovar.h"

/// The shell server as a child of the daemon, with which it ends. Where another daemon's server answers already, that one is used,
/// and no program can be run once that daemon is gone.
class CommandServer : public ZK::Shell::Server
{
public:
    /// Ends the server process and waits for that.
    ~CommandServer() override;

    /// To be called while the process has one thread. Returns when the server answers; a failure leaves none behind.
    XCode start() override;

    XCode runChild() override;

private:
    void end();
    bool hasEnded();

    pid_t m_daemon = 0;
    bool m_isRunning = false; // and not reaped yet
};
