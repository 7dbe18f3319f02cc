#pragma once

#include "zekovar/zekovar.h"

/// Takes the commands of the telnet protocol (RFC 854) out of what a client sends, and makes CR NUL a line end. Clients that don't
/// speak it, like `nc`, send none. Belongs to one thread.
class TelnetFilter
{
public:
    /// Text without commands, also where one is cut between two calls.
    String filter(char const* bytes, int count);

private:
    enum class State
    {
        TEXT,
        RETURN,     // behind CR
        COMMAND,    // behind IAC
        OPTION,     // behind WILL, WONT, DO or DONT
        PARAMETERS, // between SB and SE
        PARAMETERS_COMMAND
    };

    State next(unsigned char byte, String& text);

    State m_state = State::TEXT;
};
