#include "console.h"

#include "workbench.h"

#include <cerrno>
#include <cstring>
#include <sys/signalfd.h>
#include <unistd.h>

namespace
{
constexpr char const* PROMPT = "gatewayd> ";
constexpr char const* ERASE_LINE = "\r\x1b[K";
constexpr unsigned int SECONDS_TO_END = 20;

bool canBeWatched(ZKFile const& file)
{
    return file.isFifo() || file.isSocket() || isatty(file.getFd());
}
}

Console::Console(ZKFile const& signals)
    : m_loop("Console", 64, 100, 1000, 10000, 64),
      m_input(STDIN_FILENO, false, false),
      m_output(STDOUT_FILENO, false, false),
      m_isTerminal(isatty(STDIN_FILENO)),
      m_canBeWatched(canBeWatched(m_input)),
      m_wasBlocking(m_input.isBlocking()),
      m_signals(signals),
      m_inputObserver(m_loop, &Console::ON_INPUT, this, &Console::ON_INPUT),
      m_signalObserver(m_loop, &Console::ON_SIGNAL, this, nullptr),
      m_inputTurn(new ZKEvent(m_loop, EventPrio::NORMAL, &Console::ON_INPUT, this)),
      m_pauseOver(new ZKEvent(m_loop, EventPrio::NORMAL, &Console::ON_PAUSE_OVER, this)),
      m_pauseTimer(new _ZKTimeoutEvent(m_loop, EventPrio::NORMAL, &Console::ON_PAUSE_OVER, this)),
      m_ended(0, 1, ZK::Time::Source::MONOTONIC),
      m_outputMutex(false)
{
}

Console::~Console()
{
    m_pauseTimer->destroy();
    m_pauseOver->destroy();
    m_inputTurn->destroy();
}

void Console::serve(Workbench& workbench)
{
    m_workbench = &workbench;
    m_loop.start();
    m_signalObserver.enable(m_signals, _ZKFileObserver::Type::READ);
    if (m_isTerminal)
    {
        say("'help' lists the commands.");
        showPrompt();
    }
    if (m_canBeWatched)
    {
        m_inputObserver.enable(m_input, _ZKFileObserver::Type::READ);
    }
    else
    {
        m_inputTurn->set();
    }

    m_ended.wait();
    // a match may take longer than anyone waits, and an output that nobody reads takes no farewell: see Gatewayd::onQuitSignal
    alarm(SECONDS_TO_END);
    // the console's loop still takes signals here, so that a second one does no harm
    workbench.end();
    m_loop.stop();
    m_inputObserver.disable();
    m_signalObserver.disable();
    if (m_wasBlocking)
    {
        // the terminal is shared with the shell, which expects it as it was
        m_input.setBlocking(true);
    }
    takePromptAway();
    say(String(String::Formatted(), "gatewayd ends: %s", m_reason.c_str()));
}

void Console::end(String const& reason)
{
    if (!m_isEnding)
    {
        m_isEnding = true;
        m_reason = reason;
        m_ended.signal();
    }
}

void Console::say(String const& text)
{
    ZKAutoLock<ZKMutex> guard(m_outputMutex);
    String line = text;
    line += "\n";
    if (m_isPromptShown)
    {
        line.insert(0, ERASE_LINE);
        line += PROMPT;
    }
    writeLocked(line);
}

void Console::write(String const& text)
{
    ZKAutoLock<ZKMutex> guard(m_outputMutex);
    writeLocked(text);
}

void Console::pause(unsigned int milliseconds)
{
    m_isPaused = m_pauseTimer->start(milliseconds, false, false).isSuccess();
}

void Console::ON_INPUT(void* console)
{
    static_cast<Console*>(console)->readInput();
}

void Console::ON_SIGNAL(void* console)
{
    static_cast<Console*>(console)->readSignals();
}

void Console::ON_PAUSE_OVER(void* console)
{
    auto* self = static_cast<Console*>(console);
    self->m_isPaused = false;
    self->readInput();
}

void Console::readInput()
{
    serveLines();
    while (!m_isPaused && !m_isEnding && !m_isEndOfInput)
    {
        char buffer[1024];
        unsigned int count = 0;
        XCode const code = m_input.readOnce(buffer, sizeof(buffer), count, true);
        if (code.getValue() == XCODE_ERRNO + EAGAIN)
        {
            return;
        }
        if (code.isErr())
        {
            end(String(String::Formatted(), "the input can't be read: %s", code.toString().c_str()));
            return;
        }
        m_lines.feed(buffer, static_cast<int>(count));
        m_isEndOfInput = count == 0;
        serveLines();
        // input that never pauses must not keep a signal waiting
        readSignals();
    }
    if (m_isEndOfInput && !m_isPaused)
    {
        end("end of input");
    }
}

void Console::readSignals()
{
    signalfd_siginfo signal{};
    while (m_signals.readFixedSize(&signal, sizeof(signal), true).isSuccess())
    {
        char const* const name = strsignal(static_cast<int>(signal.ssi_signo));
        if (m_isEnding)
        {
            say(String(String::Formatted(), "\"%s\" changes nothing, gatewayd is ending and takes at most %u s", name,
                       SECONDS_TO_END));
        }
        else
        {
            end(name);
        }
    }
}

void Console::serveLines()
{
    String line;
    while (!m_isPaused && !m_isEnding)
    {
        LineReader::Result const result = m_lines.next(line, m_isEndOfInput);
        if (result == LineReader::Result::NONE)
        {
            return;
        }
        {
            ZKAutoLock<ZKMutex> guard(m_outputMutex);
            m_isPromptShown = false;
            if (!m_isTerminal)
            {
                // a script's transcript reads like a terminal's
                writeLocked(String(String::Formatted(), "%s%.200s\n", PROMPT, line.c_str()));
            }
        }
        if (result == LineReader::Result::TOO_LONG)
        {
            say(String(String::Formatted(), "a line has at most %d characters", LineReader::MAX_LENGTH));
        }
        else
        {
            m_workbench->execute(line);
        }
        showPrompt();
    }
}

void Console::showPrompt()
{
    ZKAutoLock<ZKMutex> guard(m_outputMutex);
    if (m_isTerminal && !m_isPromptShown && !m_isEnding)
    {
        m_isPromptShown = true;
        writeLocked(PROMPT);
    }
}

void Console::takePromptAway()
{
    ZKAutoLock<ZKMutex> guard(m_outputMutex);
    if (m_isPromptShown)
    {
        m_isPromptShown = false;
        writeLocked(ERASE_LINE);
    }
}

void Console::writeLocked(String const& text)
{
    // nobody can be told that standard output is gone
    m_output.write(text, true);
}
