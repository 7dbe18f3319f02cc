#include "session.h"

#include "console.h"

Session::Session(Console& console)
    : m_console(console),
      m_outputMutex(false),
      m_pauseOver(new ZKEvent(console.loop(), EventPrio::NORMAL, &Session::ON_PAUSE_OVER, this)),
      m_pauseTimer(new _ZKTimeoutEvent(console.loop(), EventPrio::NORMAL, &Session::ON_PAUSE_OVER, this))
{
}

Session::~Session()
{
    close([] {});
}

void Session::close(std::function<void()> const& closeOutput)
{
    ZKEvent* pauseOver = nullptr;
    {
        ZKAutoLock<ZKMutex> guard(m_outputMutex);
        if (!m_isOpen)
        {
            return;
        }
        m_isOpen = false;
        m_isEnding = true;
        std::swap(pauseOver, m_pauseOver);
        closeOutput();
    }
    pauseOver->destroy();
    m_pauseTimer->destroy();
}

void Session::say(String const& text)
{
    ZKAutoLock<ZKMutex> guard(m_outputMutex);
    if (!m_isOpen)
    {
        return;
    }
    String line = text;
    line += "\n";
    if (m_isPromptShown)
    {
        line.insert(0, promptEraser());
        line += PROMPT;
    }
    transmit(line);
}

void Session::write(String const& text)
{
    withOutput([this, &text] { transmit(text); });
}

void Session::withOutput(std::function<void()> const& use)
{
    ZKAutoLock<ZKMutex> guard(m_outputMutex);
    if (m_isOpen)
    {
        use();
    }
}

void Session::pause(unsigned int milliseconds)
{
    m_isPaused = m_pauseTimer->start(milliseconds, false, false).isSuccess();
}

void Session::resume()
{
    withOutput([this] { m_pauseOver->set(); });
}

void Session::ON_PAUSE_OVER(void* session)
{
    auto* const self = static_cast<Session*>(session);
    // a command may end the session, and close it
    std::shared_ptr<Session> const held = self->shared_from_this();
    self->m_isPaused = false;
    self->showPrompt();
    self->serveLines();
    self->onResumed();
}

/// Nor while the console ends: the commands that a line would reach are ending, too.
bool Session::takesLines() const
{
    return !m_isPaused && !m_isEnding && !m_console.isEnding();
}

void Session::feed(char const* bytes, unsigned int count)
{
    m_lines.feed(bytes, static_cast<int>(count));
}

void Session::serveLines()
{
    String line;
    while (takesLines())
    {
        LineReader::Result const result = m_lines.next(line, m_isEndOfInput);
        if (result == LineReader::Result::NONE)
        {
            return;
        }
        takeLine(line);
        if (result == LineReader::Result::TOO_LONG)
        {
            say(String(String::Formatted(), "a line has at most %d characters", LineReader::MAX_LENGTH));
        }
        else
        {
            m_console.execute(shared_from_this(), line);
        }
        showPrompt();
    }
}

void Session::takeLine(String const& line)
{
    ZKAutoLock<ZKMutex> guard(m_outputMutex);
    m_isPromptShown = false;
    if (showsTypedLines())
    {
        transmit(String(String::Formatted(), "%s%.200s\n", PROMPT, line.c_str()));
    }
}

void Session::showPrompt()
{
    ZKAutoLock<ZKMutex> guard(m_outputMutex);
    if (hasPrompt() && !m_isPromptShown && takesLines())
    {
        m_isPromptShown = true;
        transmit(PROMPT);
    }
}

void Session::takePromptAway()
{
    ZKAutoLock<ZKMutex> guard(m_outputMutex);
    if (m_isPromptShown)
    {
        m_isPromptShown = false;
        transmit(promptEraser());
    }
}
