#include "telnet_filter.h"

namespace
{
constexpr unsigned char IAC = 255;
constexpr unsigned char WILL = 251; // then WONT, DO and DONT
constexpr unsigned char SB = 250;
constexpr unsigned char SE = 240;
}

String TelnetFilter::filter(char const* bytes, int count)
{
    String text;
    for (int i = 0; i < count; ++i)
    {
        m_state = next(static_cast<unsigned char>(bytes[i]), text);
    }
    return text;
}

TelnetFilter::State TelnetFilter::next(unsigned char byte, String& text)
{
    switch (m_state)
    {
    case State::COMMAND:
        if (byte == IAC)
        {
            text += static_cast<char>(byte);
        }
        return byte == SB ? State::PARAMETERS : byte >= WILL && byte < IAC ? State::OPTION : State::TEXT;
    case State::OPTION:
        return State::TEXT;
    case State::PARAMETERS:
        return byte == IAC ? State::PARAMETERS_COMMAND : State::PARAMETERS;
    case State::PARAMETERS_COMMAND:
        return byte == SE ? State::TEXT : State::PARAMETERS;
    case State::RETURN:
        if (byte == '\0')
        {
            text += '\n';
            return State::TEXT;
        }
        break;
    case State::TEXT:
        break;
    }
    if (byte == IAC)
    {
        return State::COMMAND;
    }
    text += static_cast<char>(byte);
    return byte == '\r' ? State::RETURN : State::TEXT;
}
