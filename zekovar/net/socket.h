#pragma once

#include "zekovar/files/active_file.h"
#include "zekovar/foundation/ptr.h"

#include <sys/socket.h>
#include <sys/time.h>

namespace ZK
{
/// The calls of BSD sockets on an active file.
///
/// The calls go straight to the kernel. A socket blocks until its first signal gets a slot; from then on it is
/// non-blocking for good, calls fail with the code of EAGAIN instead of waiting, and the signals of `ZK::ActiveFile` tell
/// when to try again. Addresses are passed as the kernel takes them; `ZK::IpSocket` takes an `IpAddress`.
///
/// Failures are the codes of `errno`, with the text that is named below instead of the system's. They leave the
/// descriptor open: after a failed `bind`, `listen` or `connect` the socket is to be closed before the next attempt.
/// Descriptors are close-on-exec, and writing to a peer that is gone fails with EPIPE and raises no SIGPIPE.
///
/// Signals are raised on the loop's thread. The other operations may be called on any thread, one at a time.
///
///     ZKPPtr<ZK::Socket> socket(ZK::MovePtr<ZK::Socket>(new ZK::Socket(IO::INSTANCE(), true)));
///     socket->onBinaryData.connect(ZK::bindArgs(&Link::receive, this, std::placeholders::_1));
///     if (XCode code = socket->connect(AF_UNIX, SOCK_STREAM, 0, address, length); code.isErr()) return code;
class Socket : public ActiveFile
{
public:
    /// A closed socket. With `autoClose` the last handle closes its descriptor.
    Socket(ZKEventLoop& loop, bool autoClose);

    /// Takes `fd`, which may be -1.
    Socket(ZKEventLoop& loop, int fd, bool autoClose);

    /// `shutdown` and the descriptor are the other's too; signals begin without slots.
    Socket(Socket const& other) = default;
    Socket(Socket&& other) = default;
    Socket& operator=(Socket const& other) = default;
    Socket& operator=(Socket&& other) = default;

    /// @name Opening
    /// The steps and what puts them together. The first failing step ends the call.
    /// @{

    /// `XCODE_FAILURE` "CLOSE SOCKET BEFORE RE-OPENING" on an open socket, which stays as it is; "CANNOT CREATE SOCKET".
    virtual XCode openSocketOnly(int domain, int type, int protocol);

    /// `XCODE_FAILURE` "SOCKET IS CLOSED" on a closed socket, here and in the next two; "CANNOT BIND TO LOCAL ADDRESS".
    virtual XCode bindOnly(sockaddr const* address, unsigned int length);

    /// "CANNOT LISTEN"
    virtual XCode listenOnly(int backlog);

    /// "CANNOT CONNECT". On a non-blocking socket the code of EINPROGRESS tells that the attempt goes on.
    virtual XCode connectOnly(sockaddr const* address, unsigned int length);

    XCode close() override;

    virtual XCode bind(int domain, int type, int protocol, sockaddr const* address, unsigned int length);
    virtual bool isListening() const;
    virtual XCode listen(int domain, int type, int protocol, sockaddr const* address, unsigned int length, int backlog);

    /// Takes a connection into `socket`, which is made, on this loop and closing as this one does, if the pointer is null.
    /// A socket that is there is locked meanwhile and closes what it had open. `address` and `length`, which the kernel
    /// fills, may both be null. "CANNOT ACCEPT CONNECTION" stands for the system's text; the code is that of EAGAIN if
    /// nobody waits on a non-blocking socket.
    virtual XCode accept(ZKPPtr<Socket>& socket, sockaddr* address, unsigned int* length);
    virtual XCode connect(int domain, int type, int protocol, sockaddr const* address, unsigned int length);
    /// @}

    /// `how` is SHUT_RD, SHUT_WR or SHUT_RDWR.
    virtual XCode shutdown(int how);

    /// @name Transfer
    /// Sizes are bytes, `flags` are the kernel's MSG_... ones. With `retry` a call that a signal interrupts is made again.
    /// @{

    /// One `recvfrom`. `received` is 0 at the end of a stream, for an empty datagram, and on failure. `address` and
    /// `length` may both be null.
    virtual XCode recvFrom(sockaddr* address, unsigned int* length, void* buffer, unsigned int size,
                           unsigned int& received, int flags, bool retry);

    /// One `send`, of which the kernel may take less than `size`. `sent` is 0 on failure.
    virtual XCode sendOnce(void const* data, unsigned int size, unsigned int& sent, int flags, bool retry);

    /// Sends all, or fails with an unknown part sent: on a non-blocking socket also because the peer is slow. A pass that
    /// sends nothing is `XCODE_FAILURE`. A size of 0 makes no call.
    virtual XCode sendFixedSize(void const* data, unsigned int size, int flags, bool retry);
    virtual XCode send(String const& text, int flags, bool retry);
    virtual XCode send(TString<char> const& data, int flags, bool retry);

    /// As those above, to `address`.
    virtual XCode sendToOnce(sockaddr const* address, unsigned int length, void const* data, unsigned int size,
                             unsigned int& sent, int flags, bool retry);
    virtual XCode sendToFixedSize(sockaddr const* address, unsigned int length, void const* data, unsigned int size,
                                  int flags, bool retry);
    virtual XCode sendTo(sockaddr const* address, unsigned int length, String const& text, int flags, bool retry);
    virtual XCode sendTo(sockaddr const* address, unsigned int length, TString<char> const& data, int flags,
                         bool retry);
    /// @}

    /// When the last packet that was read had arrived, as the kernel keeps it from the first question on. The code of
    /// ENOENT before that.
    XCode getTimestampOfLastReceivedPacket(timeval& time) const;

    /// @name Options
    /// As `getsockopt` and `setsockopt`; what can't be read leaves the target as it is.
    /// @{

    /// `size` is the room in bytes, and then what the kernel wrote.
    XCode getOption(int level, int name, void* value, unsigned int* size) const;
    XCode setOption(int level, int name, void const* value, unsigned int size);
    XCode getOption(int level, int name, int& value) const;
    XCode setOption(int level, int name, int value);

    /// True for an integer above 0.
    XCode getOption(int level, int name, bool& value) const;
    XCode setOption(int level, int name, bool value);

    /// At most 16 characters, the name of an interface.
    XCode getOption(int level, int name, String& value) const;

    /// The text goes with its final zero.
    XCode setOption(int level, int name, String const& value);

    XCode setOption(int level, int name, char const* value) { return setOption(level, name, String(value)); }

    /// SO_LINGER.
    XCode getOptionLinger(int& onOff, int& seconds) const;
    XCode setOptionLinger(int onOff, int seconds);
    /// @}
};
}
