#pragma once

#include "session.h"

/// The operator at standard input and standard output.
///
/// Terminals, pipes and sockets are watched by a file observer; regular files and devices, which epoll can't watch, are read in turns
/// of the loop.
class StandardSession : public Session
{
public:
    explicit StandardSession(Console& console);
    ~StandardSession() override;

    /// Begins to read; any thread, before anything else.
    void open();

    /// Reads no more, gives the terminal back as it was, and closes the session with a last line. The console's loop has stopped.
    void leave(String const& farewell);

    void end(String const& reason) override;

private:
    static void ON_INPUT(void* session);

    void transmit(String const& text) override;
    char const* promptEraser() const override;

    bool showsTypedLines() const override { return !m_isTerminal; }

    bool hasPrompt() const override { return m_isTerminal; }

    void onResumed() override { readInput(); }

    void readInput();

    ZKFile m_input;
    ZKFile m_output;
    bool const m_isTerminal;
    bool const m_canBeWatched;
    bool const m_wasBlocking;
    _ZKFileObserver m_inputObserver;
    ZKEvent* m_inputTurn; // reads what can't be watched
};
