#include "standard_session.h"

#include "console.h"

#include <cerrno>
#include <unistd.h>

namespace
{
bool canBeWatched(ZKFile const& file)
{
    return file.isFifo() || file.isSocket() || isatty(file.getFd());
}
}

StandardSession::StandardSession(Console& console)
    : Session(console),
      m_input(STDIN_FILENO, false, false),
      m_output(STDOUT_FILENO, false, false),
      m_isTerminal(isatty(STDIN_FILENO)),
      m_canBeWatched(canBeWatched(m_input)),
      m_wasBlocking(m_input.isBlocking()),
      m_inputObserver(console.loop(), &StandardSession::ON_INPUT, this, &StandardSession::ON_INPUT),
      m_inputTurn(new ZKEvent(console.loop(), EventPrio::NORMAL, &StandardSession::ON_INPUT, this))
{
}

StandardSession::~StandardSession()
{
    m_inputTurn->destroy();
}

void StandardSession::open()
{
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
}

void StandardSession::leave(String const& farewell)
{
    m_inputObserver.disable();
    if (m_wasBlocking)
    {
        // the terminal is shared with the shell, which expects it as it was
        m_input.setBlocking(true);
    }
    takePromptAway();
    say(farewell);
    close([] {});
}

void StandardSession::end(String const& reason)
{
    stopTaking();
    m_console.end(reason);
}

void StandardSession::ON_INPUT(void* session)
{
    static_cast<StandardSession*>(session)->readInput();
}

void StandardSession::readInput()
{
    while (takesLines() && !isEndOfInput())
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
        feed(buffer, count);
        if (count == 0)
        {
            feedEnd();
        }
        serveLines();
        // input that never pauses must not keep a signal waiting
        m_console.readSignals();
    }
    if (isEndOfInput() && takesLines())
    {
        stopTaking();
        m_console.onEndOfInput();
    }
}

void StandardSession::transmit(String const& text)
{
    // nobody can be told that standard output is gone
    m_output.write(text, true);
}

char const* StandardSession::promptEraser() const
{
    return "\r\x1b[K";
}
