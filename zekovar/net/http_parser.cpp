#include "zekovar/net/http_parser.h"

#include "zekovar/foundation/tstring.h"
#include "zekovar/net/text_view.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <strings.h>

namespace ZK
{
using Detail::textOf;
using Detail::viewOf;

namespace
{
constexpr std::string_view VERSION = "HTTP/1.1";
constexpr std::string_view LINE_END = "\r\n";
constexpr std::string_view HEAD_END = "\r\n\r\n";
constexpr std::string_view CONTENT_LENGTH = "Content-Length";
constexpr std::string_view BLANKS = " \t\n\v\f\r";

void append(String& text, std::string_view piece)
{
    text.concat(piece.data(), static_cast<int>(piece.size()));
}

XCode failure(char const* text)
{
    XCode code(XCODE_FAILURE);
    code.setString(text);
    return code;
}

/// Takes the next piece that isn't empty off the front of `rest`; empty if there is none.
std::string_view takePiece(std::string_view& rest, std::string_view separator)
{
    std::string_view piece;
    while (piece.empty() && !rest.empty())
    {
        std::size_t const end = std::min(rest.find(separator), rest.size());
        piece = rest.substr(0, end);
        rest.remove_prefix(std::min(end + separator.size(), rest.size()));
    }
    return piece;
}

std::string_view trimmed(std::string_view text)
{
    std::size_t const start = std::min(text.find_first_not_of(BLANKS), text.size());
    return text.substr(start, text.find_last_not_of(BLANKS) + 1 - start);
}

/// The position of the first empty line's start, the end of the line in front of it included, and the number of lines
/// before that; npos without an empty line.
std::size_t findHeadEnd(std::string_view data, unsigned int& lines)
{
    lines = 0;
    for (std::size_t at = 0; (at = data.find(LINE_END, at)) != std::string_view::npos; at += LINE_END.size())
    {
        lines++;
        if (data.compare(at, HEAD_END.size(), HEAD_END) == 0)
            return at;
    }
    return std::string_view::npos;
}

bool isNamed(HttpParser::Header const& header, std::string_view name)
{
    return viewOf(header.name).size() == name.size() &&
           ::strncasecmp(header.name.c_str(), name.data(), name.size()) == 0;
}
}

void HttpParser::reset()
{
    m_valid = false;
    m_request = false;
    m_headers.clear();
    for (String* text : {&m_body, &m_method, &m_uri, &m_reason})
        *text = String();
    m_status = 0;
}

void HttpParser::prepareRequest(String const& method, String const& uri)
{
    m_valid = true;
    m_request = true;
    m_method = method;
    m_uri = uri;
}

void HttpParser::prepareStatus(unsigned int status, String const& reason)
{
    m_valid = true;
    m_request = false;
    m_status = status;
    m_reason = reason;
}

void HttpParser::addHeader(String const& name, String const& value)
{
    m_headers.add(Header{name, value});
}

String const& HttpParser::getHeader(String const& name, unsigned int index) const
{
    return findHeader(viewOf(name), index);
}

String const& HttpParser::findHeader(std::string_view name, unsigned int index) const
{
    for (Header const& header : m_headers)
        if (isNamed(header, name) && index-- == 0)
            return header.value;
    return String::s_empty;
}

XCode HttpParser::parse(String& buffer)
{
    int consumed = 0;
    XCode code = readMessage(viewOf(buffer), consumed);
    buffer.deleteRegion(0, consumed);
    return code;
}

XCode HttpParser::parse(TString<char>& buffer)
{
    int consumed = 0;
    XCode code = readMessage({buffer.data(), static_cast<std::size_t>(buffer.length())}, consumed);
    buffer.deleteRegion(0, consumed, false); // a kept gap would grow with every message
    return code;
}

XCode HttpParser::readMessage(std::string_view data, int& consumed)
{
    reset();
    unsigned int lines = 0;
    std::size_t const end = findHeadEnd(data, lines);
    if (end == std::string_view::npos)
        return INCOMPLETE;
    // all at once: in the vector's own steps of two, many headers would take forever
    if (!m_headers.enlarge(lines))
        return XCode(XCODE_ERRNO + ENOMEM);
    XCode code = readLines(data.substr(0, end));
    consumed = static_cast<int>(end + HEAD_END.size());
    if (code.isSuccess())
        code = readBody(data, consumed);
    if (code.isSuccess())
    {
        m_valid = true;
        return code;
    }
    consumed = 0;
    reset();
    return code;
}

XCode HttpParser::readLines(std::string_view head)
{
    std::string_view line = takePiece(head, LINE_END);
    XCode code = line.starts_with(VERSION) ? readStatusLine(line) : readRequestLine(line);
    while (code.isSuccess() && !(line = takePiece(head, LINE_END)).empty())
        code = readHeaderLine(line);
    return code;
}

XCode HttpParser::readBody(std::string_view data, int& consumed)
{
    // read with 64 bits: a size that is too long for 32 mustn't turn into a small one
    unsigned long long size = 0;
    String const& header = findHeader(CONTENT_LENGTH, 0);
    if (header.isEmpty() || !header.toUInt64(size))
        return XCODE_SUCCESS;
    data.remove_prefix(static_cast<std::size_t>(consumed));
    if (size > data.size())
        return INCOMPLETE;
    if (!m_body.native_alloc(static_cast<int>(size)))
        return XCode(XCODE_ERRNO + ENOMEM);
    data.copy(m_body.data(), static_cast<std::size_t>(size));
    consumed += static_cast<int>(size);
    return XCODE_SUCCESS;
}

XCode HttpParser::parseRequestLine(String const& line)
{
    return readRequestLine(viewOf(line));
}

XCode HttpParser::readRequestLine(std::string_view line)
{
    std::string_view const method = takePiece(line, " ");
    std::string_view const uri = takePiece(line, " ");
    std::string_view const version = takePiece(line, " ");
    if (version.empty() || !takePiece(line, " ").empty())
        return failure("Invalid request line");
    m_method = textOf(method);
    m_uri = textOf(uri);
    if (version != VERSION)
        return failure("Invalid HTTP version");
    m_request = true;
    return XCODE_SUCCESS;
}

XCode HttpParser::parseStatusLine(String const& line)
{
    return readStatusLine(viewOf(line));
}

XCode HttpParser::readStatusLine(std::string_view line)
{
    std::string_view const version = takePiece(line, " ");
    std::string_view const status = takePiece(line, " ");
    std::string_view const reason = takePiece(line, " ");
    if (reason.empty())
        return failure("Invalid status line");
    if (version != VERSION)
        return failure("Invalid HTTP version");
    unsigned long long number = 0;
    if (!textOf(status).toUInt64(number) || number == 0)
        return failure("Invalid status code");
    m_status = static_cast<unsigned int>(std::min<unsigned long long>(number, UINT32_MAX));
    m_reason = textOf(reason);
    for (std::string_view word; !(word = takePiece(line, " ")).empty();)
    {
        m_reason += ' ';
        append(m_reason, word);
    }
    m_request = false;
    return XCODE_SUCCESS;
}

XCode HttpParser::parseHeaderLine(String const& line)
{
    return readHeaderLine(viewOf(line));
}

XCode HttpParser::readHeaderLine(std::string_view line)
{
    std::size_t const colon = line.find(':');
    if (colon == std::string_view::npos)
        return failure("Invalid header format");
    Header header{textOf(trimmed(line.substr(0, colon))), textOf(trimmed(line.substr(colon + 1)))};
    header.name.toLowerCase();
    m_headers.add(std::move(header));
    return XCODE_SUCCESS;
}

String HttpParser::generate() const
{
    String text;
    if (!m_valid)
        return text;
    text.reserve(roomForText());
    if (m_request)
        text.concat(m_method).concat(" ").concat(m_uri) += " HTTP/1.1\r\n";
    else
        text.concatf("HTTP/1.1 %u ", m_status).concat(m_reason) += "\r\n";
    for (Header const& header : m_headers)
    {
        if (isNamed(header, CONTENT_LENGTH))
            continue;
        text += header.name;
        text += header.value.isEmpty() ? ":" : ": ";
        text += header.value;
        text += "\r\n";
    }
    if (!m_body.isEmpty())
        text.concatf("Content-Length: %d\r\n", m_body.length());
    text += "\r\n";
    return text.concat(m_body);
}

int HttpParser::roomForText() const
{
    long long room = 64LL + m_method.length() + m_uri.length() + m_reason.length() + m_body.length();
    for (Header const& header : m_headers)
        room += header.name.length() + header.value.length() + 4;
    return static_cast<int>(std::min<long long>(room, INT_MAX));
}
}
