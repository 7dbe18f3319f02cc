#include "zekovar/net/socket.h"

#include "zekovar/foundation/system_code.h"

#include <cstdint>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <unistd.h>

using ZK::Detail::codeOfErrno;
using ZK::Detail::codeOfResult;

namespace ZK
{
namespace
{
constexpr socklen_t LONGEST_TEXT_OPTION = 16;

/// A failure with `message`, in front of the text that it may have.
XCode extended(XCode code, char const* message)
{
    if (code.isErr())
        code.extendString(message, ": ");
    return code;
}

XCode failure(char const* message)
{
    XCode code(XCODE_FAILURE);
    code.setString(message);
    return code;
}

/// One transfer by `transfer`, which returns what `send` and `recv` do.
template <class Transfer>
XCode transferOnce(Transfer transfer, unsigned int& count, bool retry)
{
    ssize_t result = 0;
    do
        result = transfer();
    while (result < 0 && errno == EINTR && retry);
    XCode code = result < 0 ? codeOfResult(-1) : XCode();
    count = result > 0 ? static_cast<unsigned int>(result) : 0;
    return code;
}

/// Passes by `once` until all is sent.
template <class Once>
XCode sendAll(void const* data, unsigned int size, Once once)
{
    char const* source = static_cast<char const*>(data);
    while (size > 0)
    {
        unsigned int sent = 0;
        XCode code = once(source, size, sent);
        if (code.isSuccess())
            code = testExpression(sent > 0);
        if (code.isErr())
            return code;
        source += sent;
        size -= sent;
    }
    return XCODE_SUCCESS;
}

unsigned int bytesOf(int length)
{
    return static_cast<unsigned int>(length);
}
}

Socket::Socket(ZKEventLoop& loop, bool autoClose) : Socket(loop, -1, autoClose)
{
}

Socket::Socket(ZKEventLoop& loop, int fd, bool autoClose) : ActiveFile(loop, fd, autoClose, false)
{
}

XCode Socket::openSocketOnly(int domain, int type, int protocol)
{
    if (isOpen())
        return failure("CLOSE SOCKET BEFORE RE-OPENING");
    int const fd = ::socket(domain, type | SOCK_CLOEXEC, protocol);
    if (fd < 0)
        return extended(codeOfResult(fd), "CANNOT CREATE SOCKET");
    XCode code = setFd(fd);
    if (code.isErr())
        ::close(fd);
    return code;
}

XCode Socket::bindOnly(sockaddr const* address, unsigned int length)
{
    if (!isOpen())
        return failure("SOCKET IS CLOSED");
    return extended(codeOfResult(::bind(getFd(), address, length)), "CANNOT BIND TO LOCAL ADDRESS");
}

XCode Socket::listenOnly(int backlog)
{
    if (!isOpen())
        return failure("SOCKET IS CLOSED");
    return extended(codeOfResult(::listen(getFd(), backlog)), "CANNOT LISTEN");
}

XCode Socket::connectOnly(sockaddr const* address, unsigned int length)
{
    if (!isOpen())
        return failure("SOCKET IS CLOSED");
    return extended(codeOfResult(::connect(getFd(), address, length)), "CANNOT CONNECT");
}

XCode Socket::close()
{
    return ActiveFile::close();
}

XCode Socket::bind(int domain, int type, int protocol, sockaddr const* address, unsigned int length)
{
    XCode code = openSocketOnly(domain, type, protocol);
    return code.isErr() ? code : bindOnly(address, length);
}

bool Socket::isListening() const
{
    bool isAccepting = false;
    return getOption(SOL_SOCKET, SO_ACCEPTCONN, isAccepting).isSuccess() && isAccepting;
}

XCode Socket::listen(int domain, int type, int protocol, sockaddr const* address, unsigned int length, int backlog)
{
    XCode code = openSocketOnly(domain, type, protocol);
    if (code.isSuccess())
        code = bindOnly(address, length);
    return code.isErr() ? code : listenOnly(backlog);
}

XCode Socket::accept(ZKPPtr<Socket>& socket, sockaddr* address, unsigned int* length)
{
    if (!socket)
        socket = MovePtr<Socket>(new Socket(getEventLoop(), -1, isAutoClose()));
    int const fd = ::accept4(getFd(), address, length, SOCK_CLOEXEC);
    if (fd < 0)
    {
        XCode code = codeOfResult(fd);
        code.setString("CANNOT ACCEPT CONNECTION");
        return code;
    }
    XCode code = socket->setFd(fd);
    if (code.isErr())
        ::close(fd);
    return code;
}

XCode Socket::connect(int domain, int type, int protocol, sockaddr const* address, unsigned int length)
{
    XCode code = openSocketOnly(domain, type, protocol);
    return code.isErr() ? code : connectOnly(address, length);
}

XCode Socket::shutdown(int how)
{
    return codeOfResult(::shutdown(getFd(), how));
}

XCode Socket::recvFrom(sockaddr* address, unsigned int* length, void* buffer, unsigned int size, unsigned int& received,
                       int flags, bool retry)
{
    return transferOnce([&] { return ::recvfrom(getFd(), buffer, size, flags, address, length); }, received, retry);
}

XCode Socket::sendOnce(void const* data, unsigned int size, unsigned int& sent, int flags, bool retry)
{
    return transferOnce([&] { return ::send(getFd(), data, size, flags | MSG_NOSIGNAL); }, sent, retry);
}

XCode Socket::sendFixedSize(void const* data, unsigned int size, int flags, bool retry)
{
    return sendAll(data, size,
                   [&](char const* source, unsigned int left, unsigned int& sent)
                   { return sendOnce(source, left, sent, flags, retry); });
}

XCode Socket::send(String const& text, int flags, bool retry)
{
    return sendFixedSize(text.c_str(), bytesOf(text.length()), flags, retry);
}

XCode Socket::send(TString<char> const& data, int flags, bool retry)
{
    return sendFixedSize(data.data(), bytesOf(data.length()), flags, retry);
}

XCode Socket::sendToOnce(sockaddr const* address, unsigned int length, void const* data, unsigned int size,
                         unsigned int& sent, int flags, bool retry)
{
    return transferOnce([&] { return ::sendto(getFd(), data, size, flags | MSG_NOSIGNAL, address, length); }, sent,
                        retry);
}

XCode Socket::sendToFixedSize(sockaddr const* address, unsigned int length, void const* data, unsigned int size,
                              int flags, bool retry)
{
    return sendAll(data, size,
                   [&](char const* source, unsigned int left, unsigned int& sent)
                   { return sendToOnce(address, length, source, left, sent, flags, retry); });
}

XCode Socket::sendTo(sockaddr const* address, unsigned int length, String const& text, int flags, bool retry)
{
    return sendToFixedSize(address, length, text.c_str(), bytesOf(text.length()), flags, retry);
}

XCode Socket::sendTo(sockaddr const* address, unsigned int length, TString<char> const& data, int flags, bool retry)
{
    return sendToFixedSize(address, length, data.data(), bytesOf(data.length()), flags, retry);
}

XCode Socket::getTimestampOfLastReceivedPacket(timeval& time) const
{
    return codeOfResult(::ioctl(getFd(), SIOCGSTAMP, &time));
}

XCode Socket::getOption(int level, int name, void* value, unsigned int* size) const
{
    return codeOfResult(::getsockopt(getFd(), level, name, value, size));
}

XCode Socket::setOption(int level, int name, void const* value, unsigned int size)
{
    return codeOfResult(::setsockopt(getFd(), level, name, value, size));
}

XCode Socket::getOption(int level, int name, int& value) const
{
    int32_t number = 0;
    unsigned int size = sizeof(number);
    XCode code = getOption(level, name, &number, &size);
    if (code.isSuccess())
        value = number;
    return code;
}

XCode Socket::setOption(int level, int name, int value)
{
    int32_t const number = value;
    return setOption(level, name, &number, sizeof(number));
}

XCode Socket::getOption(int level, int name, bool& value) const
{
    int number = 0;
    XCode code = getOption(level, name, number);
    if (code.isSuccess())
        value = number > 0;
    return code;
}

XCode Socket::setOption(int level, int name, bool value)
{
    return setOption(level, name, value ? 1 : 0);
}

XCode Socket::getOption(int level, int name, String& value) const
{
    char text[LONGEST_TEXT_OPTION + 1] = {};
    unsigned int size = LONGEST_TEXT_OPTION;
    XCode code = getOption(level, name, text, &size);
    if (code.isSuccess())
        value = text;
    return code;
}

XCode Socket::setOption(int level, int name, String const& value)
{
    return setOption(level, name, value.c_str(), bytesOf(value.length()) + 1);
}

XCode Socket::getOptionLinger(int& onOff, int& seconds) const
{
    linger value{};
    unsigned int size = sizeof(value);
    XCode code = getOption(SOL_SOCKET, SO_LINGER, &value, &size);
    if (code.isSuccess())
    {
        onOff = value.l_onoff;
        seconds = value.l_linger;
    }
    return code;
}

XCode Socket::setOptionLinger(int onOff, int seconds)
{
    linger const value{onOff, seconds};
    return setOption(SOL_SOCKET, SO_LINGER, &value, sizeof(value));
}
}
