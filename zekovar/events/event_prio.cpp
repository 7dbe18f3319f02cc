#include "zekovar/events/event_prio.h"

#include "zekovar/foundation/enum_info.h"

char const* EventPrio::NAME(Type priority)
{
    static constexpr char const* NAMES[] = {"high", "normal", "low"};
    return ZK::Detail::nameOfValue(NAMES, priority);
}
