#pragma once

#include "line_reader.h"

#include "zekovar/zekovar.h"

#include <atomic>
#include <functional>
#include <memory>

class Console;

/// One operator at the console: takes command lines, and shows answers and what happens later.
///
/// Commands keep the session that they came from for their answers, and it is shared with them: `say`, `write` and `resume` are
/// safe from every thread, and do nothing once the session is closed. All else belongs to the console's loop.
class Session : public std::enable_shared_from_this<Session>
{
public:
    explicit Session(Console& console);

    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;

    virtual ~Session();

    /// Writes one line, in one piece, between the prompt and what is being typed.
    void say(String const& text);

    /// Writes `text` as it is, a report of many lines, say.
    void write(String const& text);

    /// Takes no further line for that time.
    void pause(unsigned int milliseconds);

    /// Takes no further line until `resume`.
    void pause() { m_isPaused = true; }

    void resume();

    /// What `quit` does: the session takes no further line.
    virtual void end(String const& reason) = 0;

protected:
    static constexpr char const* PROMPT = "gatewayd> ";

    /// Both as the operator's device needs them; called with the lock of the output held.
    virtual void transmit(String const& text) = 0;
    virtual char const* promptEraser() const = 0;

    /// What the operator hasn't seen as typed is shown, so that a transcript reads like a terminal's.
    virtual bool showsTypedLines() const = 0;
    virtual bool hasPrompt() const = 0;

    /// More input may be read: a pause is over.
    virtual void onResumed() = 0;

    void feed(char const* bytes, unsigned int count);

    /// No more input will come; a last line without a line end counts.
    void feedEnd() { m_isEndOfInput = true; }

    /// Runs the lines that have come, up to a pause or the end of the session.
    void serveLines();

    void showPrompt();
    void takePromptAway();

    /// Bytes that came and weren't served yet.
    int waitingInput() const { return m_lines.waiting(); }

    /// Calls `use` with the lock of the output held, unless the session is closed.
    void withOutput(std::function<void()> const& use);

    /// Takes no further line from here on. Safe from every thread.
    void stopTaking() { m_isEnding = true; }

    bool takesLines() const;

    bool isEndOfInput() const { return m_isEndOfInput; }

    /// Nothing is shown and nothing resumes from here on; on the console's loop, or while it stands, before the session is let go.
    /// `closeOutput` runs with the lock of the output held.
    void close(std::function<void()> const& closeOutput);

    Console& m_console;

private:
    static void ON_PAUSE_OVER(void* session);

    void takeLine(String const& line);

    ZKMutex m_outputMutex; // guards the output, m_isPromptShown, m_isOpen and m_pauseOver against close
    bool m_isPromptShown = false;
    bool m_isOpen = true;
    ZKEvent* m_pauseOver;
    _ZKTimeoutEvent* m_pauseTimer;
    LineReader m_lines;
    bool m_isEndOfInput = false;
    bool m_isPaused = false;
    std::atomic<bool> m_isEnding{false};
};
