#include "zekovar/net/dns_lookup.h"

#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/no_cancellation.h"

#include <arpa/inet.h>
#include <memory>
#include <netdb.h>
#include <pthread.h>

namespace ZK
{
namespace
{
struct FreeAddresses
{
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};

using AddressList = std::unique_ptr<addrinfo, FreeAddresses>;

int familyOf(IpAddress::NetAddressType type)
{
    if (type == IpAddress::NetAddressType::IPV4)
        return AF_INET;
    return type == IpAddress::NetAddressType::IPV6 ? AF_INET6 : AF_UNSPEC;
}

XCode codeOfLookup(int result)
{
    if (result == 0)
        return XCODE_SUCCESS;
    if (result == EAI_SYSTEM)
        return Detail::codeOfResult(-1);
    XCode code = XCODE_FAILURE;
    code.setString(gai_strerror(result));
    return code;
}

/// Empty for a family other than those of IP.
String textOf(sockaddr const* address)
{
    void const* binary = nullptr;
    if (address->sa_family == AF_INET)
        binary = &reinterpret_cast<sockaddr_in const*>(address)->sin_addr;
    else if (address->sa_family == AF_INET6)
        binary = &reinterpret_cast<sockaddr_in6 const*>(address)->sin6_addr;
    char text[INET6_ADDRSTRLEN];
    if (binary == nullptr || inet_ntop(address->sa_family, binary, text, sizeof(text)) == nullptr)
        return String();
    return text;
}

XCode lookUp(String const& hostName, int family, ZKVector<String>& addresses)
{
    // the system's resolver leaks what it holds if its thread is cancelled
    Detail::NoCancellation const noCancellation;
    addrinfo hints{};
    hints.ai_family = family;
    addrinfo* first = nullptr;
    XCode const code = codeOfLookup(getaddrinfo(hostName.c_str(), nullptr, &hints, &first));
    AddressList const list(first);
    for (addrinfo const* entry = first; entry != nullptr; entry = entry->ai_next)
    {
        // there is one entry for each type of socket
        if (String const text = textOf(entry->ai_addr); !text.isEmpty() && !addresses.contains(text))
            addresses.add(text);
    }
    return code;
}
}

DnsLookupThread::DnsLookupThread(String const& threadName, Callback const& callback, String const& hostName,
                                 IpAddress::NetAddressType addressType, unsigned int flags)
    : ZKThread(threadName),
      m_callback(callback),
      m_hostName(hostName),
      m_addressType(addressType),
      m_flags(flags),
      m_reserved(nullptr)
{
}

DnsLookupThread::~DnsLookupThread()
{
    if (CURRENT_HAS_ID(ZKThread::getId()))
        return; // by its own callback
    Detail::NoCancellation const noCancellation;
    ZKThread::stop();
    ZKThread::join();
    while (ZKThread::isAlive()) // detached: it forgets its id at its end
        SLEEP(1);
}

XCode DnsLookupThread::runThread()
{
    return resolveDefault();
}

XCode DnsLookupThread::resolveDefault()
{
    ZKVector<String> addresses;
    XCode code = lookUp(m_hostName, familyOf(m_addressType), addresses);
    pthread_testcancel();
    Detail::NoCancellation const noCancellation;
    Callback const callback = m_callback; // the call may destroy this object
    callback(code, addresses);
    return code;
}
}
