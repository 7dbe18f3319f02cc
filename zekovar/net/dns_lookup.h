#pragma once

#include "zekovar/events/function.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/net/ip_address.h"
#include "zekovar/threads/thread.h"

namespace ZK
{
/// Resolves one host name, once, on a thread of its own, hands the addresses to a callback and ends.
///
/// The result goes to the callback alone: nothing else is shared with the thread. A callback made with the context of
/// an event loop runs there; queued calls of an asynchronous one are lost if the look-up is destroyed before they are
/// served. A direct callback runs on the look-up's thread and may destroy the look-up.
///
/// `getaddrinfo` can't be broken off, so the destructor waits for it, for as long as the system's name servers are
/// given time to answer; the callback isn't called any more then, unless its call has begun.
///
///     auto const tell = ZK::bindArgs(IO::INSTANCE().getAsyncContext(), &Link::onAddresses, &link, _1, _2);
///     ZK::DnsLookupThread lookup("lookup", tell, "gateway.example", IpAddress::NetAddressType::IPV4, 0);
///     if (XCode code = lookup.start(""); code.isErr()) return code;
class DnsLookupThread : public ZKThread
{
public:
    /// Called once for each run: a success with the addresses as text, in the system's order and each once, or a
    /// failure with none. A failure has the text of `gai_strerror` and the value `XCODE_FAILURE`, or is the code of
    /// `errno`.
    using Callback = Function<void(XCode, ZKVector<String>)>;

    /// Asks for IPv4 or IPv6 addresses alone, or for both with any other `addressType`. `flags` is kept for classes
    /// that override `runThread`.
    DnsLookupThread(String const& threadName, Callback const& callback, String const& hostName,
                    IpAddress::NetAddressType addressType, unsigned int flags);

    ~DnsLookupThread() override;

    /// The thread's body: `resolveDefault`.
    XCode runThread() override;

    /// Looks the name up by `getaddrinfo`, on the calling thread, which it blocks, and calls the callback. Returns what
    /// the callback got. A thread that is cancelled meanwhile ends without calling it.
    XCode resolveDefault();

protected:
    Callback m_callback;
    String m_hostName;
    IpAddress::NetAddressType m_addressType;
    unsigned int m_flags;
    void* m_reserved;
};
}
