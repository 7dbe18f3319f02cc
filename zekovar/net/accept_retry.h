#pragma once

#include "zekovar/events/function.h"
#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/xcode.h"

class _ZKTimeoutEvent;
class ZKEventLoop;

namespace ZK
{
class Socket;
}

namespace ZK::Detail
{
/// Asks a listener again a second after an accept that failed for anything but a lack of connections.
///
/// Clients that wait meanwhile make no further edge, and once as many wait as the backlog allows, new ones make none
/// either: without this the listener would be lost to a passing lack of descriptors. The timer has its own descriptor
/// from the beginning, because there is none to be had when it is needed.
class AcceptRetry
{
public:
    /// `acceptAll` runs on the loop's thread and may destroy this object.
    AcceptRetry(ZKEventLoop& loop, Function<void()> const& acceptAll);

    /// On the loop's thread, or while the loop stands still.
    ~AcceptRetry();

    AcceptRetry(AcceptRetry const&) = delete;
    AcceptRetry& operator=(AcceptRetry const&) = delete;

    /// To be told how accepting ended, on the loop's thread.
    void onEnd(XCode const& code, ZK::Socket const& listener);

private:
    static void RUN(void* retry);

    Function<void()> m_acceptAll;
    _ZKTimeoutEvent* m_timer; // holds a reference
};

/// Accepts connections until `accept` fails, and raises `accepted` for each. Sockets are made by `make`, a new one for
/// each connection that was told of: its slots, and who kept it, are not to meet the next client there.
template <class Socket, class Signal, class Make, class Accept>
XCode acceptAll(Signal& accepted, Make const& make, Accept const& accept)
{
    ZKPPtr<Socket> client = make();
    for (;;)
    {
        if (XCode code = accept(client); code.isErr())
            return code;
        if (!accepted.hasSlots())
            continue;
        accepted(client);
        client = make();
    }
}
}
