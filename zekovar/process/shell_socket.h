#pragma once

#include "zekovar/files/active_file.h"
#include "zekovar/process/shell_protocol.h"

#include <sys/un.h>

namespace ZK::Shell
{
/// One end of the connection between a client and the shell server: a socket that sends and receives whole messages,
/// together with descriptors.
///
/// It has no lock. Messages may be sent by one thread while another one receives, but the socket is opened and closed
/// while nobody does either.
class Socket
{
public:
    /// A closed socket on the loop `IO`.
    Socket();

    Socket(Socket const&) = delete;
    Socket& operator=(Socket const&) = delete;

    /// Closes the descriptor.
    virtual ~Socket() = default;

    /// Sends `message`, as long as its header says, with copies of `fdCount` descriptors; blocks as the descriptor does.
    /// The general failure, and nothing sent, if the socket is closed, `message` is null or shorter than its header, or
    /// there are more than `MAX_DESCRIPTORS`; otherwise the code of `errno`, with a text. A peer that is gone is EPIPE
    /// and raises no signal.
    virtual XCode send(MsgHdr const* message, unsigned int fdCount, int* fds);

    /// Receives a message of at most `size` bytes and the descriptors that came with it, at most `MAX_DESCRIPTORS`, which
    /// are close-on-exec and the caller's from then on; blocks as the descriptor does. On success the message is as long
    /// as its header says.
    ///
    /// The code of EPIPE, without a text, once the peer has closed, and of another `errno`, with a text, if the call
    /// fails; the general failure, with a text, for what is no message, was cut off or came together with other bytes,
    /// or if descriptors were lost. `fdCount` is 0 then, and descriptors that did come are closed.
    virtual XCode recv(MsgHdr* message, unsigned int size, unsigned int& fdCount, int* fds);

    /// The code of EBADFD if the socket is closed already.
    virtual XCode close();

protected:
    /// Takes `fd`, or is closed for -1. `loop` isn't looked at before a slot is connected to the file.
    Socket(ZKEventLoop& loop, int fd);

    ZK::ActiveFile& file() { return *m_file; }

    /// The address of `path`, of which 107 characters count, and its length in bytes.
    static socklen_t MAKE_ADDRESS(sockaddr_un& address, String const& path);

    /// Closes descriptors that nobody takes.
    static void CLOSE_ALL(unsigned int fdCount, int const* fds);

private:
    ZKLWPtr<ZK::ActiveFile> m_file; // on its own, so that a slot of it may destroy this object
};
}
