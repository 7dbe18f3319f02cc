#pragma once

#include "zekovar/foundation/vector.h"
#include "zekovar/process/shell_socket.h"

#include <sys/un.h>

namespace ZK::Shell
{
/// The process that runs the commands of all daemons, so that none of them forks: it listens at `SERVER_PATH` and forks
/// a `ConnectionProcess` for each client, which starts the client's programs.
///
/// The caller of `start` is the parent of the server process: it ends and reaps it by `getPid()`. The server process and
/// its children have one thread each and leave by `_exit`, so nothing of the caller's is destroyed or flushed there. Only
/// the user whom the server runs as, and a privileged one, can connect.
///
///     ZK::Shell::Server server;
///     XCode code = server.start(); // while the process is small and has no threads
class Server : public Socket
{
public:
    class ConnectionProcess;

    /// No process and no thread yet.
    Server();

    /// Forks the server process, which runs `runChild` and ends with the exit status 255. The code of `errno`, with a
    /// text, if there is none. In the server process the standard streams lead to /dev/null, signals have their default
    /// actions, and other descriptors that are open here stay so, but aren't handed on to programs.
    virtual XCode start();

    /// The server process's part: listens at `SERVER_PATH` and serves clients until that fails.
    virtual XCode runChild();

    /// Replaces `path`, of at most 107 characters, by a socket that is the own user's, and listens there. On failure, the
    /// code of `errno`, the server is closed.
    virtual XCode listen(String const& path);

    /// Waits for a client, forks its `ConnectionProcess` and reaps those that have ended.
    virtual XCode accept();

    /// Stops listening. The code of EBADFD if it wasn't.
    XCode close() override;

    /// The server process as `fork` returned it: -1 after a failure, 0 before the start and in the process itself.
    int getPid() const { return m_pid; }

private:
    XCode bindAndListen(String const& path);
    [[noreturn]] void serve(int fd, sockaddr_un& client);
    void reapChildren();

    int m_pid = 0;
    ZKVector<int> m_children{2}; // connection processes that weren't reaped yet
    sockaddr_un m_address = {};  // zero while not listening
    XCode m_exitStatus;          // of `runChild`
};
}
