#pragma once

#include "zekovar/process/shell_server.h"

namespace ZK::Shell
{
class ForkAndExec;

/// Serves one client of the shell server: runs its programs, one after the other, relays what they write to standard
/// error, delivers signals and reports their ends. Standard input and output don't pass here.
///
/// It runs in a process of its own, which has one thread and ignores SIGPIPE. A message of the client's that makes no
/// sense ends the connection; a program that runs then is left running.
class Server::ConnectionProcess : public Socket
{
public:
    /// Takes `fd`, the connection to the client at `address`.
    ConnectionProcess(int fd, sockaddr_un& address);

    /// Blocks until the client has closed or a command or message fails, and returns that failure.
    XCode process();

    /// Runs the program that `msg` asks for until its end, and tells the client. A failure of the program's is one of
    /// this call, too.
    XCode processExecute(MsgExecute const& msg);

    /// @name Answers
    /// @{
    XCode sendAck(unsigned int fdCount, int* fds);
    XCode sendMsgXCode(MsgType type, XCode const& code);

    XCode sendNak(XCode const& code) { return sendMsgXCode(MsgType::NAK, code); }

    XCode sendTerminated(XCode const& code) { return sendMsgXCode(MsgType::TERMINATED, code); }

    /// @}

private:
    XCode receive(MsgBuffer& message, MsgType wanted);
    XCode startProgram(MsgExecute const& msg, ForkAndExec& program, int& relay);
    XCode attendProgram(ForkAndExec& program, int& relay);
    XCode processSignal(ForkAndExec& program);
    void waitUntilTaken();

    sockaddr_un m_address;        // the client's
    bool m_isLastSeparate = true; // whether the next answer can't come together with the last one
};
}
