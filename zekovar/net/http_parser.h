#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/foundation/xcode.h"

#include <string_view>

template <class T>
class TString;

namespace ZK
{
/// One HTTP/1.1 message (RFC 9112): a request or a status, headers, and a body whose size is told by "Content-Length".
///
/// A plain value without input or output of its own, and without a lock. `parse` is called again with the whole buffer
/// when more has arrived; it keeps nothing of an incomplete message, and what it looks at again is the head only.
/// Bodies in chunks aren't understood. Neither head nor body has a limit: the caller limits its buffer.
///
///     buffer += received;
///     ZK::HttpParser message;
///     XCode code;
///     while ((code = message.parse(buffer)).isSuccess())
///         serve(message.getMethod(), message.getUri(), message.getBody());
///     if (code != ZK::HttpParser::INCOMPLETE)
///         close(code.toString());
class HttpParser
{
public:
    struct Header
    {
        String name;
        String value;
    };

    /// What `parse` returns, without a text, until the message is complete.
    static constexpr XCodeValue INCOMPLETE = static_cast<XCodeValue>(0x40020260);

    HttpParser() = default;

    /// Makes it empty, as just built.
    void reset();

    /// Makes it a request; headers and body stay.
    void prepareRequest(String const& method, String const& uri);

    /// Makes it a status; headers and body stay.
    void prepareStatus(unsigned int status, String const& reason);

    void addHeader(String const& name, String const& value);

    void setBody(String const& body) { m_body = body; }

    /// Whether there is a message.
    bool isValid() const { return m_valid; }

    /// False for a status.
    bool isRequest() const { return m_request; }

    /// In the order of arrival, a repeated name as often as it came. `parse` gives names in lower case.
    ZKVector<Header> const& getHeaders() const { return m_headers; }

    /// The value of the header with this name, in any case, that has `index` others of the name in front of it; an empty
    /// text if there is none. Good until the headers change.
    String const& getHeader(String const& name, unsigned int index) const;

    String const& getBody() const { return m_body; }

    String const& getMethod() const { return m_method; }

    String const& getUri() const { return m_uri; }

    unsigned int getStatus() const { return m_status; }

    String const& getReason() const { return m_reason; }

    /// Reads the message at the start of `buffer` and removes it there. Otherwise the buffer stays, and this object is
    /// reset: `INCOMPLETE` if there is more to come, else the general failure with a text. A size that isn't a number is
    /// none, so that the body is empty. The code of ENOMEM if memory is out for the headers.
    XCode parse(String& buffer);
    XCode parse(TString<char>& buffer);

    /// The text of the message, empty if there is none. "Content-Length" is written for a body and never else, whatever
    /// the headers are; the other headers are written as they were added.
    String generate() const;

    /// @name Single lines
    /// They read a line without its end into this object, and leave the rest of it alone. On failure, which is the
    /// general one with a text, some of the line may be stored.
    /// @{

    /// "GET /index HTTP/1.1"
    XCode parseRequestLine(String const& line);

    /// "HTTP/1.1 200 OK"; without a reason it is refused.
    XCode parseStatusLine(String const& line);

    /// "Name: value" adds a header, its name in lower case.
    XCode parseHeaderLine(String const& line);
    /// @}

private:
    XCode readMessage(std::string_view data, int& consumed);
    XCode readLines(std::string_view head);
    XCode readBody(std::string_view data, int& consumed);
    XCode readRequestLine(std::string_view line);
    XCode readStatusLine(std::string_view line);
    XCode readHeaderLine(std::string_view line);
    String const& findHeader(std::string_view name, unsigned int index) const;
    int roomForText() const;

    bool m_valid = false;
    bool m_request = false;
    ZKVector<Header> m_headers;
    String m_body;
    String m_method;
    String m_uri;
    unsigned int m_status = 0;
    String m_reason;
};
}
