// Any bytes give the same messages whether they come at once or in pieces, and a message that was read reads back from
// its own text.

#include "zekovar/net/http_parser.h"

#include "zekovar/foundation/tstring.h"

#include <algorithm>
#include <vector>

namespace
{
void require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

bool same(ZK::HttpParser const& left, ZK::HttpParser const& right)
{
    return left.isValid() == right.isValid() && left.isRequest() == right.isRequest() &&
           left.getMethod() == right.getMethod() && left.getUri() == right.getUri() &&
           left.getStatus() == right.getStatus() && left.getReason() == right.getReason() &&
           left.getBody() == right.getBody();
}

bool sameHeaders(ZK::HttpParser const& left, ZK::HttpParser const& right)
{
    bool equal = left.getHeaders().size() == right.getHeaders().size();
    for (unsigned int i = 0; equal && i < left.getHeaders().size(); i++)
        equal = left.getHeaders()[i].name == right.getHeaders()[i].name &&
                left.getHeaders()[i].value == right.getHeaders()[i].value;
    return equal;
}

/// Everything but the size, which is told for a body only, comes back.
void checkTextOf(ZK::HttpParser const& message)
{
    // behind a blank, a method may begin as the line of a status does; in its own text it stands in front
    if (message.getMethod().startsWith("HTTP/1.1"))
        return;
    String text = message.generate();
    ZK::HttpParser back;
    require(back.parse(text).isSuccess() && text.isEmpty() && same(message, back));
    unsigned int others = 0;
    for (ZK::HttpParser::Header const& header : message.getHeaders())
        if (header.name != String("content-length")) // all of a name with a zero byte counts
            require(others < back.getHeaders().size() && back.getHeaders()[others++].value == header.value);
    require(back.getHeaders().size() == others + (message.getBody().isEmpty() ? 0 : 1));
}
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size)
{
    unsigned int const step = size > 0 ? data[0] % 61 + 1 : 1;
    std::vector<ZK::HttpParser> messages;
    String whole(reinterpret_cast<char const*>(data), static_cast<int>(size), 0, static_cast<int>(size));
    ZK::HttpParser message;
    XCode end;
    while ((end = message.parse(whole)).isSuccess())
    {
        checkTextOf(message);
        messages.push_back(message);
    }
    require(same(message, ZK::HttpParser()) && message.getHeaders().isEmpty());

    TString<char> pieces;
    std::size_t received = 0;
    XCode code;
    for (std::size_t at = 0; at < size && (code.isSuccess() || code == ZK::HttpParser::INCOMPLETE); at += step)
    {
        pieces.insert(pieces.length(), reinterpret_cast<char const*>(data) + at,
                      static_cast<int>(std::min<std::size_t>(step, size - at)));
        while ((code = message.parse(pieces)).isSuccess())
        {
            require(received < messages.size() && same(message, messages[received]) &&
                    sameHeaders(message, messages[received]));
            received++;
        }
    }
    require(received == messages.size() && (size == 0 || code == end));
    return 0;
}
