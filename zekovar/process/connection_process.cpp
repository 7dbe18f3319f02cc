#include "zekovar/process/connection_process.h"

#include "zekovar/events/standard_loops.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/process/fork_and_exec.h"
#include "zekovar/process/system_call.h"

#include <csignal>
#include <fcntl.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

using ZK::Detail::closeFd;
using ZK::Detail::codeOfResult;
using ZK::Detail::uninterrupted;
using ZK::Detail::withText;

namespace ZK::Shell
{
namespace
{
constexpr unsigned int BLOCK_SIZE = 1023;
constexpr int UNREAD_POLL_MILLISECONDS = 1;

/// Passes a block of standard error on to the client, which may have closed its end. `ended` tells that there is no more.
XCode relayBlock(int source, int relay, bool& ended)
{
    char block[BLOCK_SIZE];
    ssize_t const count = uninterrupted([&] { return ::read(source, block, sizeof block); });
    ended = count == 0;
    if (count > 0)
        uninterrupted([&] { return ::write(relay, block, static_cast<std::size_t>(count)); });
    return count < 0 ? withText(codeOfResult(-1), "CANNOT READ FROM STDERR") : XCode();
}
}

Server::ConnectionProcess::ConnectionProcess(int fd, sockaddr_un& address) : Socket(IO::PLACE(), fd), m_address(address)
{
}

XCode Server::ConnectionProcess::process()
{
    std::signal(SIGPIPE, SIG_IGN);
    MsgBuffer message;
    XCode code;
    while (code)
    {
        code = receive(message, MsgType::EXECUTE);
        if (code)
            code = processExecute(*reinterpret_cast<MsgExecute const*>(message.bytes));
    }
    return code;
}

XCode Server::ConnectionProcess::receive(MsgBuffer& message, MsgType wanted)
{
    unsigned int fdCount = 0;
    int fds[MAX_DESCRIPTORS];
    XCode code = recv(message.header(), sizeof message.bytes, fdCount, fds);
    CLOSE_ALL(fdCount, fds); // a client has none to give
    if (code && message.header()->type != wanted)
    {
        code = XCODE_FAILURE;
        code.setStringF("INVALID MESSAGE RECEIVED: %d", static_cast<int>(message.header()->type));
    }
    return code;
}

XCode Server::ConnectionProcess::processExecute(MsgExecute const& msg)
{
    ForkAndExec program;
    int relay = -1;
    XCode code = startProgram(msg, program, relay);
    if (code)
    {
        code = attendProgram(program, relay);
        sendTerminated(code);
    }
    else
        sendNak(code);
    program.closeAll();
    closeFd(relay);
    return code;
}

XCode Server::ConnectionProcess::startProgram(MsgExecute const& msg, ForkAndExec& program, int& relay)
{
    ZKVector<String> arguments, environment;
    XCode code = readExecute(msg.header, arguments, environment);
    if (code)
        code = program.forkAndExec(arguments, environment);
    if (code.isErr())
        return code;
    int ends[2];
    code = codeOfResult(::pipe2(ends, O_CLOEXEC));
    if (code.isErr())
        return withText(code, "COULD NOT CREATE STDERR PIPE");
    int fds[MAX_DESCRIPTORS] = {program.getMaster(), program.getMaster(), ends[0]};
    code = sendAck(MAX_DESCRIPTORS, fds);
    ::close(ends[0]); // the client has its own
    relay = ends[1];
    return code;
}

XCode Server::ConnectionProcess::attendProgram(ForkAndExec& program, int& relay)
{
    int const source = program.getStderrRead();
    for (;;)
    {
        pollfd sources[] = {{source, POLLIN, 0}, {file().getFd(), POLLIN, 0}};
        XCode code = codeOfResult(uninterrupted([&] { return ::poll(sources, 2, -1); }));
        if (code.isErr())
            return withText(code, "SELECT FAILED");
        bool ended = false;
        if (sources[0].revents != 0)
            code = relayBlock(source, relay, ended);
        else
            code = processSignal(program);
        if (ended)
        {
            closeFd(relay);
            return program.waitForTermination();
        }
        if (code.isErr())
            return code;
    }
}

XCode Server::ConnectionProcess::processSignal(ForkAndExec& program)
{
    MsgBuffer message;
    XCode code = receive(message, MsgType::SIGNAL);
    int signalNumber = 0;
    if (code)
        code = readSignal(*message.header(), signalNumber);
    if (code.isErr())
        return code;
    code = program.kill(signalNumber);
    // A client that is gone shows in the next message.
    if (code)
        sendAck(0, nullptr);
    else
        sendNak(code);
    return XCODE_SUCCESS;
}

XCode Server::ConnectionProcess::sendAck(unsigned int fdCount, int* fds)
{
    MsgHdr const message = makeAck();
    waitUntilTaken();
    m_isLastSeparate = fdCount > 0;
    return send(&message, fdCount, fds);
}

XCode Server::ConnectionProcess::sendMsgXCode(MsgType type, XCode const& code)
{
    MsgBuffer message;
    buildXCode(message, type, code);
    waitUntilTaken();
    m_isLastSeparate = false;
    return send(message.header(), 0, nullptr);
}

/// Waits until the client has taken the last answer or is gone: it couldn't tell two that come together apart. Only
/// descriptors keep what is sent behind them out of the same read.
void Server::ConnectionProcess::waitUntilTaken()
{
    int const fd = file().getFd();
    int unread = 0; // bytes, as the kernel counts them
    while (!m_isLastSeparate && ::ioctl(fd, SIOCOUTQ, &unread) == 0 && unread > 0)
    {
        pollfd client = {fd, 0, 0};
        if (::poll(&client, 1, UNREAD_POLL_MILLISECONDS) > 0)
            return;
    }
}
}
