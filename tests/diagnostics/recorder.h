#pragma once

#include "zekovar/diagnostics/repository.h"

#include <functional>
#include <utility>

/// Writes down what it is told, and may do something meanwhile.
class Recorder : public RTD::Monitor::Observer
{
public:
    using Event = ObserverEvent<RTD::Monitor>;

    explicit Recorder(std::function<void()> reaction = [] {}) : m_reaction(std::move(reaction)) {}

    void onMonitorAdded(Event& event) override { record("+", event); }

    void onMonitorRemoved(Event& event) override { record("-", event); }

    void onSessionAdded(Event& event) override { record("session ", event); }

    void onSessionRemoved(Event& event) override { record("gone ", event); }

    void onDebugLevelChanged(Event& event) override
    {
        event.getMarshaller().marshal(String("level"));
        event.getMarshaller().marshal(event.getSource()->getEffectiveDebugLevel());
        record("", event);
    }

    /// What was told since the last call, like "+7|session 7 cli 6 2": the monitor's id and the payload.
    String heard() { return std::exchange(m_heard, String()); }

private:
    void record(char const* what, Event& event)
    {
        m_heard.concatf("%s%s%d", m_heard.length() != 0 ? "|" : "", what, event.getSource()->getID());
        if (String text; event.getMarshaller().unmarshal(text))
            m_heard.concatf(" %s", text.c_str());
        for (int number = 0; event.getMarshaller().unmarshal(number);)
            m_heard.concatf(" %d", number);
        m_reaction();
    }

    std::function<void()> m_reaction;
    String m_heard;
};
