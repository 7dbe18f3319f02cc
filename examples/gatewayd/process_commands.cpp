#include "process_commands.h"

#include <climits>
#include <csignal>
#include <cstring>

using CommandLine::parseNumber;
using CommandLine::takeWord;

/// A program and the operator who sees what it writes.
class ProcessCommands::Run
{
public:
    Run(unsigned int ownNumber, Call const& by, String const& line) : number(ownNumber), call(by), command(line) {}

    /// Shows the lines that are whole, and what has come of one that doesn't end. On the loop IO.
    void show(String const& text)
    {
        for (int i = 0; i < text.length(); ++i)
        {
            if (text[i] == '\n' || m_line.length() == MAX_LINE)
            {
                showLine(m_line);
                m_line = String();
            }
            if (text[i] != '\n')
            {
                // a zero byte would cut the line short
                m_line += text[i] == '\0' ? '.' : text[i];
            }
        }
    }

    void showRest()
    {
        if (!m_line.isEmpty())
        {
            showLine(m_line);
        }
    }

    void setFuture(ZK::Future<String> const& future)
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        m_future = future;
    }

    /// Sends a signal to the program; waits for the server.
    XCode signal(int signal)
    {
        ZK::Future<String> future;
        {
            ZKAutoLock<ZKMutex> guard(m_mutex);
            future = m_future;
        }
        return future ? future->signal(signal) : XCode(XCODE_FAILURE);
    }

    unsigned int const number;
    Call const call;
    String const command;

private:
    static constexpr int MAX_LINE = 4096; // bytes

    void showLine(String const& line) const { call.say(String(String::Formatted(), "[%u] %s", number, line.c_str())); }

    ZKMutex m_mutex{false};      // guards m_future
    ZK::Future<String> m_future; // none until the server has taken the command
    String m_line;               // as far as it has come; belongs to the loop IO
};

namespace
{
String describeEnd(XCode const& code)
{
    unsigned int const kind = code.getValue() & 0xFF000000;
    unsigned int const detail = code.getValue() & 0x00FFFFFF;
    if (kind == XCODE_SIGNAL)
    {
        return String(String::Formatted(), "was ended by signal %u", detail);
    }
    if (kind == XCODE_EXIT)
    {
        return String(String::Formatted(), "has ended with status %u", detail);
    }
    return code.isErr() ? String(String::Formatted(), "has failed: %s", code.toString().c_str()) : String("has ended");
}

/// The number of a signal given as "15", "TERM" or "SIGTERM"; 0 if there is none.
int signalOf(String const& text)
{
    unsigned int number = 0;
    if (parseNumber(text, 1, NSIG - 1, number))
    {
        return static_cast<int>(number);
    }
    String const name = text.startsWith("SIG") ? text.substring(3) : text;
    for (int signal = 1; signal < NSIG; ++signal)
    {
        char const* const known = sigabbrev_np(signal);
        if (known != nullptr && name == known)
        {
            return signal;
        }
    }
    return 0;
}
}

ProcessCommands::ProcessCommands() : m_mutex(false), m_allGone(0, 1, ZK::Time::Source::MONOTONIC), m_starters("Starter")
{
    add("run", "COMMAND", "runs a program and shows what it writes as it comes", &ProcessCommands::run);
    add("runs", "", "lists the programs that run", &ProcessCommands::runs);
    add("kill", "N SIGNAL", "sends a signal to program N, as in: kill 1 TERM", &ProcessCommands::kill);
}

ProcessCommands::~ProcessCommands() = default;

void ProcessCommands::end()
{
    m_starters.join();
    std::map<unsigned int, std::shared_ptr<Run>> runs;
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        m_isEnding = true;
        runs = m_runs;
    }
    for (auto const& [number, run] : runs)
    {
        run->signal(SIGKILL);
    }
    if (!runs.empty())
    {
        m_allGone.wait();
    }
}

void ProcessCommands::run(Call const& call, String const& arguments)
{
    if (arguments.isEmpty())
    {
        refuse(call, "it takes a program and its arguments");
        return;
    }
    auto const run = std::make_shared<Run>(++m_lastNumber, call, arguments);
    if (m_starters.run([this, run] { start(run); }).isErr())
    {
        call.say("too many programs are being started");
    }
}

void ProcessCommands::start(std::shared_ptr<Run> const& run)
{
    using std::placeholders::_1;
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        m_runs[run->number] = run;
    }
    ZK::Future<String> future;
    XCode const code = ZK::Shell::invoke(
        run->command, ZK::bindArgs(ZK::directCall(), &ProcessCommands::onResult, this, run->number, _1),
        ZK::bindArgs(ZK::directCall(), &ProcessCommands::onOutput, this, run->number, _1),
        ZK::bindArgs(ZK::directCall(), &ProcessCommands::onOutput, this, run->number, _1), future);
    if (code.isErr())
    {
        onResult(run->number, code);
        return;
    }
    run->setFuture(future);
}

/// On the loop IO.
void ProcessCommands::onOutput(unsigned int number, String const& text)
{
    if (auto const run = runOf(number))
    {
        run->show(text);
    }
}

/// On the loop IO, behind all output; where the command can't be started, on the starter's thread.
void ProcessCommands::onResult(unsigned int number, XCode const& code)
{
    auto const run = runOf(number);
    run->showRest();
    run->call.say(String(String::Formatted(), "[%u] %s", number, describeEnd(code).c_str()));
    bool isLast = false;
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        m_runs.erase(number);
        isLast = m_isEnding && m_runs.empty();
    }
    if (isLast)
    {
        // the owner may be gone behind this
        m_allGone.signal();
    }
}

void ProcessCommands::runs(Call const& call, String const& arguments)
{
    if (!takesNone(call, arguments))
    {
        return;
    }
    ZKAutoLock<ZKMutex> guard(m_mutex);
    for (auto const& [number, run] : m_runs)
    {
        call.say(String(String::Formatted(), "[%u] %s", number, run->command.c_str()));
    }
    if (m_runs.empty())
    {
        call.say("no programs");
    }
}

void ProcessCommands::kill(Call const& call, String const& arguments)
{
    String text = arguments;
    unsigned int number = 0;
    bool const isNumber = parseNumber(takeWord(text), 1, UINT_MAX, number);
    int const signal = signalOf(text);
    if (!isNumber || signal == 0)
    {
        refuse(call, "it takes the number of a program and a signal");
        return;
    }
    auto const run = runOf(number);
    if (!run)
    {
        call.say(String(String::Formatted(), "no program %u, 'runs' lists them", number));
        return;
    }
    auto const send = [call, run, signal]
    {
        XCode const code = run->signal(signal);
        if (code.isErr())
        {
            call.say(String(String::Formatted(), "program %u: %s", run->number, code.toString().c_str()));
        }
    };
    if (m_starters.run(send).isErr())
    {
        call.say("too many programs are being started or signalled");
    }
}

std::shared_ptr<ProcessCommands::Run> ProcessCommands::runOf(unsigned int number) const
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    auto const position = m_runs.find(number);
    return position != m_runs.end() ? position->second : nullptr;
}
