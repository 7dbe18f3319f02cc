#pragma once

#include "zekovar/zekovar.h"

class MonitorList;

/// The daemon's state as a value, and its layouts as a text.
///
/// Nothing here waits for a loop. Each part is an "Array" of "Object"s whose first member is a name.
class StateReport
{
public:
    explicit StateReport(MonitorList const& monitors) : m_monitors(monitors) {}

    /// "monitors", "loops", "jobs", or "all" for an "Object" with all of them; "Invalid" for anything else.
    ZK::Property::Value state(String const& part) const;

    /// `state` as "tree", "list", "folder", "json", "yaml" or "html"; false for anything else, with `text` unchanged.
    static bool layOut(ZK::Property::Value const& state, String const& layout, String& text);

private:
    MonitorList const& m_monitors;
};
