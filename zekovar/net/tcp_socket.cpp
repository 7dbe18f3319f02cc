#include "zekovar/net/tcp_socket.h"

#include "zekovar/events/loop_standstill.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/net/accept_retry.h"

#include <linux/sockios.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace ZK
{
TcpSocket::TcpSocket(ZKEventLoop& loop, bool autoClose) : TcpSocket(loop, -1, autoClose)
{
}

TcpSocket::TcpSocket(ZKEventLoop& loop, int fd, bool autoClose)
    : IpSocket(loop, fd, autoClose), accepted(this), connected(this)
{
}

TcpSocket::TcpSocket(TcpSocket const& other) : IpSocket(other), accepted(this), connected(this)
{
}

TcpSocket::TcpSocket(TcpSocket&& other) : IpSocket(std::move(other)), accepted(this), connected(this)
{
}

TcpSocket::~TcpSocket()
{
    dropHooks();
    TcpSocket::destruct();
}

XCode TcpSocket::openSocketOnly(int domain)
{
    return Socket::openSocketOnly(domain, SOCK_STREAM, IPPROTO_TCP);
}

XCode TcpSocket::listen(IpAddress const& address, unsigned short port, int backlog)
{
    sockaddr_storage storage;
    unsigned int length = 0;
    if (XCode code = SOCK_ADDR(&storage, length, address, port); code.isErr())
        return code;
    return Socket::listen(storage.ss_family, SOCK_STREAM, IPPROTO_TCP, reinterpret_cast<sockaddr const*>(&storage),
                          length, backlog);
}

XCode TcpSocket::listen(int domain, unsigned short port, int backlog)
{
    return IpSocket::listen(domain, SOCK_STREAM, IPPROTO_TCP, port, backlog);
}

XCode TcpSocket::listenOnly(int backlog)
{
    // A client that comes before the hook is there makes no further edge, and a slot of the first one may close.
    Detail::LoopStandstill const standstill(getEventLoop());
    XCode code = IpSocket::listenOnly(backlog);
    if (code.isErr())
        return code;
    dropHooks(); // of listening with another backlog
    Function<void()> const acceptAll = bindArgs(&TcpSocket::onReadyForReadingAfterListen, this);
    m_acceptRetry = std::make_unique<Detail::AcceptRetry>(getEventLoop(), acceptAll);
    m_listenHook = onReadReady.connect(acceptAll);
    return code;
}

XCode TcpSocket::accept(ZKPPtr<TcpSocket>& client, IpAddress& address, unsigned short& port)
{
    if (!client)
        client = MovePtr<TcpSocket>(new TcpSocket(getEventLoop(), isAutoClose()));
    ZKPPtr<IpSocket> socket(client);
    return IpSocket::accept(socket, address, port);
}

XCode TcpSocket::connect(IpAddress const& address, unsigned short port)
{
    sockaddr_storage storage;
    unsigned int length = 0;
    if (XCode code = SOCK_ADDR(&storage, length, address, port); code.isErr())
        return code;
    XCode code = Socket::connect(storage.ss_family, SOCK_STREAM, IPPROTO_TCP,
                                 reinterpret_cast<sockaddr const*>(&storage), length);
    if (code != Detail::codeOfErrno(EAGAIN))
        return code;
    m_connectHook = onWriteReady.connect(bindArgs(&TcpSocket::onReadyForWritingAfterConnect, this));
    return XCODE_SUCCESS;
}

void TcpSocket::callDtor()
{
    // Not only in the destructor: the retry calls what derived classes destroy before.
    dropHooks();
    IpSocket::callDtor();
}

XCode TcpSocket::close()
{
    dropHooks();
    return IpSocket::close();
}

void TcpSocket::dropHooks()
{
    if (m_listenHook.isDisconnected() && m_connectHook.isDisconnected())
        return;
    Detail::LoopStandstill const standstill(getEventLoop());
    m_listenHook.disconnect();
    m_connectHook.disconnect();
    m_acceptRetry.reset();
}

XCode TcpSocket::getReceiveQueueSize(int& bytes) const
{
    return Detail::codeOfResult(::ioctl(getFd(), FIONREAD, &bytes));
}

XCode TcpSocket::getTransmitQueueSize(int& bytes) const
{
    return Detail::codeOfResult(::ioctl(getFd(), TIOCOUTQ, &bytes));
}

XCode TcpSocket::isAtUrgentMark(bool& atMark) const
{
    int mark = 0;
    XCode code = Detail::codeOfResult(::ioctl(getFd(), SIOCATMARK, &mark));
    if (code.isSuccess())
        atMark = mark > 0;
    return code;
}

void TcpSocket::onReadyForReadingAfterListen()
{
    ZKLWPtr<TcpSocket> const self(this); // a slot may drop the last reference
    IpAddress address;
    unsigned short port = 0;
    XCode const code = Detail::acceptAll<TcpSocket>(
        accepted, [this] { return MovePtr<TcpSocket>(new TcpSocket(getEventLoop(), isAutoClose())); },
        [&](ZKPPtr<TcpSocket>& client) { return accept(client, address, port); });
    if (m_acceptRetry)
        m_acceptRetry->onEnd(code, *this);
}

void TcpSocket::onReadyForWritingAfterConnect()
{
    connected();
}
}
