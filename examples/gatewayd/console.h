#pragma once

#include "line_reader.h"

#include "zekovar/zekovar.h"

class Workbench;

/// The operator's console: command lines from standard input, answers on standard output.
///
/// It has an event loop of its own, so that it can look at the daemon's loops while they are blocked. Terminals, pipes and sockets
/// are watched by a file observer; regular files and devices, which epoll can't watch, are read in turns of the loop. `say` is
/// safe from every thread, all else runs on the console's loop.
class Console
{
public:
    explicit Console(ZKFile const& signals);
    ~Console();

    /// Hands each line to `workbench` until the console ends; blocks the calling thread meanwhile, which isn't the console's loop.
    void serve(Workbench& workbench);

    /// Ends the console; the first reason stays.
    void end(String const& reason);

    /// Writes one line, in one piece, between the prompt and what is being typed.
    void say(String const& text);

    /// Writes `text` as it is, a report of many lines, say.
    void write(String const& text);

    /// Takes no further line for that time.
    void pause(unsigned int milliseconds);

    /// Takes no further line until `resume`, which is safe from every thread. Signals are served meanwhile.
    void pause() { m_isPaused = true; }

    void resume() { m_pauseOver->set(); }

    ZKEventLoop& loop() { return m_loop; }

    String reasonOfEnd() const { return m_reason; }

private:
    static void ON_INPUT(void* console);
    static void ON_SIGNAL(void* console);
    static void ON_PAUSE_OVER(void* console);

    void readInput();
    void readSignals();
    void serveLines();
    void showPrompt();
    void takePromptAway();
    void writeLocked(String const& text);

    ZKEventLoop m_loop;
    ZKFile m_input;
    ZKFile m_output;
    bool const m_isTerminal;
    bool const m_canBeWatched;
    bool const m_wasBlocking;
    ZKFile m_signals;
    _ZKFileObserver m_inputObserver;
    _ZKFileObserver m_signalObserver;
    ZKEvent* m_inputTurn; // reads what can't be watched
    ZKEvent* m_pauseOver;
    _ZKTimeoutEvent* m_pauseTimer;
    LineReader m_lines;
    bool m_isEndOfInput = false;
    bool m_isPaused = false;
    bool m_isEnding = false;
    String m_reason;
    Workbench* m_workbench = nullptr;
    ZKSemaphore m_ended;
    ZKMutex m_outputMutex; // guards m_output and m_isPromptShown
    bool m_isPromptShown = false;
};
