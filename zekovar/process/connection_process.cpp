#include "zekovar/process/connection_process.h"

#include "zekovar/events/standard_loops.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/process/fork_and_exec.h"

#include <csignal>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>

using ZK::Detail::codeOfResult;

namespace ZK::Shell
{
namespace
{
constexpr unsigned int BLOCK_SIZE = 1023;
constexpr int UNREAD_POLL_MILLISECONDS = 1;

/// Passes a block of standard error on to the client, which may have closed its end. `ended` tells that there is no more.
XCode relayBlock(ZKFile const& source, ZKFile const& relay, bool& ended)
{
    char block[BLOCK_SIZE];
    unsigned int count = 0;
    XCode code = source.readOnce(block, sizeof block, count, true);
    if (code.isErr())
        code.setString("CANNOT READ FROM STDERR");
    ended = code.isSuccess() && count == 0;
    if (count > 0)
        relay.writeOnce(block, count, count, true);
    return code;
}
}

Server::ConnectionProcess::ConnectionProcess(int fd, sockaddr_un& address) : Socket(IO::PLACE()), m_address(address)
{
    file().setFd(fd);
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
    ZKFile relay;
    XCode code = startProgram(msg, program, relay);
    if (code)
    {
        code = attendProgram(program, relay);
        sendTerminated(code);
    }
    else
        sendNak(code);
    program.closeAll();
    return code;
}

XCode Server::ConnectionProcess::startProgram(MsgExecute const& msg, ForkAndExec& program, ZKFile& relay)
{
    ZKVector<String> arguments, environment;
    XCode code = readExecute(msg.header, arguments, environment);
    if (code)
        code = program.forkAndExec(arguments, environment);
    if (code.isErr())
        return code;
    ZKFile clientEnd;
    code = ZKFile::CREATE_PIPE(clientEnd, relay, true);
    if (code.isErr())
    {
        code.setString("COULD NOT CREATE STDERR PIPE");
        return code;
    }
    int fds[MAX_DESCRIPTORS] = {program.getMaster(), program.getMaster(), clientEnd.getFd()};
    return sendAck(MAX_DESCRIPTORS, fds);
}

XCode Server::ConnectionProcess::attendProgram(ForkAndExec& program, ZKFile& relay)
{
    ZKFile const source(program.getStderrRead(), false, false);
    for (;;)
    {
        pollfd sources[] = {{source.getFd(), POLLIN, 0}, {file().getFd(), POLLIN, 0}};
        XCode code = codeOfResult(::poll(sources, 2, -1));
        if (code == ZK::Detail::codeOfErrno(EINTR))
            continue;
        if (code.isErr())
        {
            code.setString("SELECT FAILED");
            return code;
        }
        bool ended = false;
        if (sources[0].revents != 0)
            code = relayBlock(source, relay, ended);
        else
            code = processSignal(program);
        if (ended)
        {
            relay.close();
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
    return send(&message, fdCount, fds);
}

XCode Server::ConnectionProcess::sendMsgXCode(MsgType type, XCode const& code)
{
    MsgBuffer message;
    buildXCode(message, type, code);
    waitUntilTaken();
    return send(message.header(), 0, nullptr);
}

/// Waits until the client has taken the last answer or is gone: it couldn't tell two that come together apart.
void Server::ConnectionProcess::waitUntilTaken()
{
    int const fd = file().getFd();
    int unread = 0; // bytes, as the kernel counts them
    while (::ioctl(fd, SIOCOUTQ, &unread) == 0 && unread > 0)
    {
        pollfd client = {fd, 0, 0};
        if (::poll(&client, 1, UNREAD_POLL_MILLISECONDS) > 0)
            return;
    }
}
}
