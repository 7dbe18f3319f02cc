#include "zekovar/net/unix_socket.h"

#include "zekovar/events/loop_standstill.h"
#include "zekovar/net/accept_retry.h"

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

namespace ZK
{
namespace
{
constexpr int PATH_LIMIT = 107;

/// Calls `work` with the address of `path`, if that has one.
template <class Work>
XCode withAddress(String const& path, Work const& work)
{
    sockaddr_storage storage;
    unsigned int length = 0;
    XCode const code = UnixSocket::SOCK_ADDR(&storage, length, path);
    return code ? work(reinterpret_cast<sockaddr const*>(&storage), length) : code;
}
}

UnixSocket::UnixSocket(ZKEventLoop& loop, bool autoClose) : UnixSocket(loop, -1, autoClose)
{
}

UnixSocket::UnixSocket(ZKEventLoop& loop, int fd, bool autoClose) : Socket(loop, fd, autoClose), accepted(this)
{
}

UnixSocket::UnixSocket(UnixSocket const& other) : Socket(other), accepted(this)
{
}

UnixSocket::UnixSocket(UnixSocket&& other) : Socket(std::move(other)), accepted(this)
{
}

UnixSocket::~UnixSocket()
{
    dropHook();
    UnixSocket::destruct();
}

XCode UnixSocket::SOCK_ADDR(sockaddr_storage* storage, unsigned int& length, String const& path)
{
    if (storage == nullptr)
        return XCODE_FAILURE;
    if (path.length() >= PATH_LIMIT)
    {
        XCode code = XCODE_FAILURE;
        code.setStringF("PATH NAME TOO LONG: %s (MAX %d CHARS)", path.c_str(), PATH_LIMIT);
        return code;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), static_cast<std::size_t>(path.length()) + 1);
    *storage = sockaddr_storage{};
    std::memcpy(storage, &address, sizeof(address));
    length = sizeof(address);
    return XCODE_SUCCESS;
}

XCode UnixSocket::openSocketOnly(int type)
{
    return Socket::openSocketOnly(AF_UNIX, type, 0);
}

XCode UnixSocket::bindOnly(String const& path)
{
    return withAddress(path,
                       [&](sockaddr const* address, unsigned int length)
                       {
                           XCode const code = ZKFile::REMOVE(path);
                           return code ? Socket::bindOnly(address, length) : code;
                       });
}

XCode UnixSocket::connectOnly(String const& path)
{
    return withAddress(path, [&](sockaddr const* address, unsigned int length)
                       { return Socket::connectOnly(address, length); });
}

XCode UnixSocket::bind(int type, String const& path)
{
    return withAddress(path, [&](sockaddr const* address, unsigned int length)
                       { return Socket::bind(AF_UNIX, type, 0, address, length); });
}

XCode UnixSocket::listen(int type, String const& path, int backlog)
{
    return withAddress(path, [&](sockaddr const* address, unsigned int length)
                       { return Socket::listen(AF_UNIX, type, 0, address, length, backlog); });
}

XCode UnixSocket::connect(int type, String const& path)
{
    return withAddress(path, [&](sockaddr const* address, unsigned int length)
                       { return Socket::connect(AF_UNIX, type, 0, address, length); });
}

XCode UnixSocket::listenOnly(int backlog)
{
    // A client that comes before the hook is there makes no further edge, and a slot of the first one may close.
    Detail::LoopStandstill const standstill(getEventLoop());
    XCode code = Socket::listenOnly(backlog);
    if (code.isErr())
        return code;
    dropHook(); // of listening with another backlog
    Function<void()> const acceptAll = bindArgs(&UnixSocket::onReadyForReadingAfterListen, this);
    m_acceptRetry = std::make_unique<Detail::AcceptRetry>(getEventLoop(), acceptAll);
    m_listenHook = onReadReady.connect(acceptAll);
    return code;
}

XCode UnixSocket::accept(ZKPPtr<UnixSocket>& client, sockaddr* address, unsigned int* length)
{
    if (!client)
        return XCODE_FAILURE;
    ZKPPtr<Socket> socket(client);
    return Socket::accept(socket, address, length);
}

void UnixSocket::callDtor()
{
    // Not only in the destructor: the retry calls what derived classes destroy before.
    dropHook();
    Socket::callDtor();
}

XCode UnixSocket::close()
{
    dropHook();
    return Socket::close();
}

void UnixSocket::dropHook()
{
    if (m_listenHook.isDisconnected())
        return;
    Detail::LoopStandstill const standstill(getEventLoop());
    m_listenHook.disconnect();
    m_acceptRetry.reset();
}

void UnixSocket::onReadyForReadingAfterListen()
{
    ZKLWPtr<UnixSocket> const self(this); // a slot may drop the last reference
    XCode const code = Detail::acceptAll<UnixSocket>(
        accepted, [this] { return MovePtr<UnixSocket>(new UnixSocket(getEventLoop(), isAutoClose())); },
        [this](ZKPPtr<UnixSocket>& client) { return accept(client, nullptr, nullptr); });
    if (m_acceptRetry)
        m_acceptRetry->onEnd(code, *this);
}
}
