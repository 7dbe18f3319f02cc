#include "zekovar/net/xfer.h"

#include "zekovar/foundation/error.h"
#include "zekovar/property/value.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

using ZK::Property::Value;

namespace
{
char const ACCEPT_JSON[] = "Accept: application/json";
char const CONTENT_JSON[] = "Content-Type: application/json";

XCode failure(char const* text)
{
    XCode code(XCODE_FAILURE);
    code.setString(text);
    return code;
}

String withHeader(String headers, char const* line)
{
    if (!headers.isEmpty())
        headers += "| ";
    return headers += line;
}

std::string_view viewOf(TString<char> const& bytes)
{
    return {bytes.data(), static_cast<std::size_t>(bytes.length())};
}

std::string_view viewOf(String const& text)
{
    return {text.c_str(), static_cast<std::size_t>(text.length())};
}

/// Text never holds zero bytes.
XCode checkText(std::string_view reply)
{
    if (reply.find('\0') != std::string_view::npos)
        return failure("BINARY CONTENT RECEIVED");
    return XCODE_SUCCESS;
}

/// Takes the reply of a call that ended with `code`.
XCode take(String& out, XCode code, TString<char> const& reply)
{
    if (code.isSuccess())
        code = checkText(viewOf(reply));
    if (code.isErr())
        return code;
    String text(reply.data(), reply.length(), 0, reply.length());
    if (text.length() != reply.length())
        return failure(ERROR::OUT_OF_MEMORY);
    out = std::move(text);
    return XCODE_SUCCESS;
}

XCode take(Value& out, XCode code, TString<char> const& reply)
{
    if (code.isSuccess())
        code = checkText(viewOf(reply));
    if (code.isErr())
        return code;
    code = out.fromJson(reply);
    if (code.isErr())
        code.extendString("NO JSON DATA RECEIVED", ": ");
    return code;
}
}

namespace ZK
{
XCode Xfer::getBinary(TString<char>& out, String const& path, String const& headers)
{
    return exchange(out, Method::GET, path, {}, headers);
}

XCode Xfer::getText(String& out, String const& path, String const& headers)
{
    TString<char> reply;
    return take(out, getBinary(reply, path, headers), reply);
}

XCode Xfer::getJson(String& out, String const& path, String const& headers)
{
    return getText(out, path, withHeader(headers, ACCEPT_JSON));
}

XCode Xfer::getJson(Value& out, String const& path, String const& headers)
{
    TString<char> reply;
    return take(out, getBinary(reply, path, withHeader(headers, ACCEPT_JSON)), reply);
}

XCode Xfer::postBinary(TString<char>& out, String const& path, TString<char> const& body, String const& headers)
{
    return exchange(out, Method::POST, path, viewOf(body), headers);
}

XCode Xfer::postBinary(String const& path, TString<char> const& body, String const& headers)
{
    return send(Method::POST, path, viewOf(body), headers);
}

XCode Xfer::postText(String& out, String const& path, String const& body, String const& headers)
{
    TString<char> reply;
    return take(out, exchange(reply, Method::POST, path, viewOf(body), headers), reply);
}

XCode Xfer::postText(String const& path, String const& body, String const& headers)
{
    return send(Method::POST, path, viewOf(body), headers);
}

XCode Xfer::postJson(String& out, String const& path, String const& body, String const& headers)
{
    return postText(out, path, body, withHeader(headers, CONTENT_JSON));
}

XCode Xfer::postJson(Value& out, String const& path, Value const& body, String const& headers)
{
    TString<char> json;
    if (XCode code = body.toJson(json); code.isErr())
        return code;
    TString<char> reply;
    return take(out, postBinary(reply, path, json, withHeader(headers, CONTENT_JSON)), reply);
}

XCode Xfer::postJson(String const& path, Value const& body, String const& headers)
{
    return sendJson(Method::POST, path, body, withHeader(headers, CONTENT_JSON));
}

XCode Xfer::postJson(String const& path, String const& body, String const& headers)
{
    return postText(path, body, withHeader(headers, CONTENT_JSON));
}

XCode Xfer::postNoContent(String const& path, String const& headers)
{
    return send(Method::POST_NO_CONTENT, path, {}, headers);
}

XCode Xfer::putBinary(String const& path, TString<char> const& body, String const& headers)
{
    return send(Method::PUT, path, viewOf(body), headers);
}

XCode Xfer::putText(String const& path, String const& body, String const& headers)
{
    return send(Method::PUT, path, viewOf(body), headers);
}

XCode Xfer::putJson(String const& path, String const& body, String const& headers)
{
    return putText(path, body, withHeader(headers, CONTENT_JSON));
}

XCode Xfer::putJson(String const& path, Value const& body, String const& headers)
{
    return sendJson(Method::PUT, path, body, headers);
}

XCode Xfer::deleteBinary(String const& path, TString<char> const& body, String const& headers)
{
    return send(Method::DELETE, path, viewOf(body), headers);
}

XCode Xfer::deleteText(String const& path, String const& body, String const& headers)
{
    return send(Method::DELETE, path, viewOf(body), headers);
}

XCode Xfer::deleteJson(String const& path, String const& body, String const& headers)
{
    return deleteText(path, body, withHeader(headers, CONTENT_JSON));
}

XCode Xfer::deleteJson(String const& path, Value const& body, String const& headers)
{
    return sendJson(Method::DELETE, path, body, withHeader(headers, CONTENT_JSON));
}

XCode Xfer::deleteNoContent(String const& path, String const& headers)
{
    return send(Method::DELETE_NO_CONTENT, path, {}, headers);
}

XCode Xfer::send(Method method, String const& path, std::string_view body, String const& headers)
{
    TString<char> dropped;
    return exchange(dropped, method, path, body, headers);
}

XCode Xfer::sendJson(Method method, String const& path, Value const& body, String const& headers)
{
    TString<char> json;
    XCode const code = body.toJson(json);
    return code ? send(method, path, viewOf(json), headers) : code;
}

XCode Xfer::exchange(TString<char>& out, Method method, String const& path, std::string_view body,
                     String const& headers)
{
    XCode code = request(method, path, body, headers);
    TString<char> reply(std::move(m_buffer)); // this object keeps no memory of a long reply
    if (code.isSuccess())
        out = std::move(reply);
    return code;
}

std::size_t Xfer::CURL_WRITE_CALLBACK(char* data, std::size_t size, std::size_t count, void* xfer)
{
    return static_cast<Xfer*>(xfer)->curlWriteCallback(data, static_cast<unsigned int>(size),
                                                       static_cast<unsigned int>(count));
}

/// libcurl calls it with some KiB at a time, and ends the transfer if it takes less than it is given. No exception may
/// pass through libcurl.
unsigned int Xfer::curlWriteCallback(void* data, unsigned int size, unsigned int count)
{
    constexpr std::int64_t LONGEST = std::numeric_limits<int>::max();
    unsigned int const bytes = size * count;
    std::int64_t const present = m_buffer.length();
    std::int64_t const needed = present + bytes;
    if (needed > LONGEST)
        return 0;
    try
    {
        if (needed > m_buffer.capacity())
            m_buffer.reserve(static_cast<int>(std::min(std::max(needed, 2 * present), LONGEST)));
        m_buffer.insert(m_buffer.length(), static_cast<char const*>(data), static_cast<int>(bytes));
    }
    catch (std::bad_alloc const&)
    {
        return 0;
    }
    return static_cast<unsigned int>(m_buffer.length() - present);
}
}
