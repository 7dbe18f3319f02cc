#include "zekovar/process/shell_socket.h"

#include "zekovar/events/standard_loops.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/process/system_call.h"

#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

using ZK::Detail::codeOfErrno;
using ZK::Detail::codeOfResult;
using ZK::Detail::uninterrupted;
using ZK::Detail::withText;

namespace ZK::Shell
{
namespace
{
/// A control message for descriptors. `CMSG_SPACE` could have room for one more.
union Control
{
    cmsghdr header;
    unsigned char bytes[CMSG_SPACE(MAX_DESCRIPTORS * sizeof(int))];
};

constexpr std::size_t CONTROL_SIZE = CMSG_LEN(MAX_DESCRIPTORS * sizeof(int));

/// Whether what came is a whole message with all of its descriptors.
XCode check(MsgHdr const& message, std::size_t count, int flags)
{
    if (count == 0)
        return codeOfErrno(EPIPE);
    XCode code = XCODE_FAILURE;
    if (count < sizeof(MsgHdr))
        code.setStringF("RECEIVED MESSAGE SHORTER THAN HEADER (%d < %d)", static_cast<int>(count),
                        static_cast<int>(sizeof(MsgHdr)));
    else if (count != message.length)
        code.setStringF("RECEIVED MESSAGE OF INVALID SIZE (%d != %d)", static_cast<int>(count), message.length);
    else if ((flags & MSG_CTRUNC) != 0)
        code.setString("INSUFFICIENT SPACE FOR RECEIVING ANCILLARY ELEMENTS");
    else
        code = XCODE_SUCCESS;
    return code;
}

/// Copies the descriptors that came to `fds` and returns how many there are.
unsigned int takeDescriptors(msghdr& received, int* fds)
{
    cmsghdr* control = CMSG_FIRSTHDR(&received);
    while (control != nullptr && (control->cmsg_level != SOL_SOCKET || control->cmsg_type != SCM_RIGHTS))
        control = CMSG_NXTHDR(&received, control);
    if (control == nullptr)
        return 0;
    std::size_t const size = control->cmsg_len - CMSG_LEN(0);
    std::memcpy(fds, CMSG_DATA(control), size);
    return static_cast<unsigned int>(size / sizeof(int));
}
}

Socket::Socket() : Socket(IO::INSTANCE(), -1)
{
}

Socket::Socket(ZKEventLoop& loop, int fd) : m_file(MovePtr<ActiveFile>(new ActiveFile(loop, fd, true, false)))
{
}

XCode Socket::send(MsgHdr const* message, unsigned int fdCount, int* fds)
{
    if (!m_file->isOpen() || message == nullptr || message->length < sizeof(MsgHdr) || fdCount > MAX_DESCRIPTORS)
        return XCODE_FAILURE;
    iovec part = {const_cast<MsgHdr*>(message), message->length};
    msghdr sent = {};
    sent.msg_iov = &part;
    sent.msg_iovlen = 1;
    Control control = {};
    if (fdCount > 0)
    {
        control.header.cmsg_level = SOL_SOCKET;
        control.header.cmsg_type = SCM_RIGHTS;
        control.header.cmsg_len = CMSG_LEN(fdCount * sizeof(int));
        std::memcpy(CMSG_DATA(&control.header), fds, fdCount * sizeof(int));
        sent.msg_control = &control;
        sent.msg_controllen = CMSG_LEN(fdCount * sizeof(int));
    }

    ssize_t const count = uninterrupted([&] { return ::sendmsg(m_file->getFd(), &sent, MSG_NOSIGNAL); });
    XCode const code = count < 0 ? codeOfResult(-1) : testExpression(count == message->length);
    return withText(code, "CANNOT SEND MESSAGE TO PEER");
}

XCode Socket::recv(MsgHdr* message, unsigned int size, unsigned int& fdCount, int* fds)
{
    fdCount = 0;
    iovec part = {message, size};
    Control control = {};
    msghdr received = {};
    received.msg_iov = &part;
    received.msg_iovlen = 1;
    received.msg_control = &control;
    received.msg_controllen = CONTROL_SIZE;
    ssize_t const count = uninterrupted([&] { return ::recvmsg(m_file->getFd(), &received, MSG_CMSG_CLOEXEC); });
    if (count < 0)
        return withText(codeOfResult(-1), "CANNOT RECEIVE MESSAGE FROM PEER");

    int taken[MAX_DESCRIPTORS];
    unsigned int const takenCount = takeDescriptors(received, taken);
    XCode const code = check(*message, static_cast<std::size_t>(count), received.msg_flags);
    if (code.isErr())
    {
        CLOSE_ALL(takenCount, taken);
        return code;
    }
    std::memcpy(fds, taken, takenCount * sizeof(int));
    fdCount = takenCount;
    return code;
}

XCode Socket::close()
{
    return m_file->close();
}

socklen_t Socket::MAKE_ADDRESS(sockaddr_un& address, String const& path)
{
    address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + std::strlen(address.sun_path));
}

void Socket::CLOSE_ALL(unsigned int fdCount, int const* fds)
{
    for (unsigned int i = 0; i < fdCount; ++i)
        ::close(fds[i]);
}
}
