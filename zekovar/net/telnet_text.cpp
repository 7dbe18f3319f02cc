#include "zekovar/net/telnet_text.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

namespace ZK::Detail
{
namespace
{
constexpr std::string_view MASK = "***";

/// Hosts send zero bytes, too, which end the searches of `String`.
std::string_view viewOf(String const& text)
{
    return {text.c_str(), static_cast<std::size_t>(text.length())};
}

void replaceAll(std::string& text, std::string_view secret)
{
    for (std::size_t at = text.find(secret); at != std::string::npos; at = text.find(secret, at + MASK.size()))
        text.replace(at, secret.size(), MASK);
}

/// How many characters at the end of `text` begin `secret`.
std::size_t pieceAtEnd(std::string_view text, std::string_view secret)
{
    std::size_t count = std::min(text.size(), secret.size());
    while (!text.ends_with(secret.substr(0, count)))
        --count;
    return count;
}

/// How many characters at the start of `text` end `secret`.
std::size_t pieceAtStart(std::string_view text, std::string_view secret)
{
    std::size_t count = std::min(text.size(), secret.size());
    while (!text.starts_with(secret.substr(secret.size() - count)))
        --count;
    return count;
}
}

// "$" also matches in front of a line end, and more text may follow that.
ZKPtr<ZKRegEx::Pattern> compilePrompt(String const& expression)
{
    return ZKRegEx::COMPILE_EXPRESSION(String::stringOfFormat("(?:%s)(?![\\r\\n]*[^\\r\\n])", expression.c_str()));
}

bool endsInPrompt(ZKPtr<ZKRegEx::Pattern> const& prompt, String const& text)
{
    return prompt && prompt->match(text, RE_FLAG_MULTILINE).isSuccess();
}

void removePrompt(String& text, int position)
{
    text.deleteRegion(position).rightTrim(isspace);
}

int removeEcho(String& text)
{
    int const length = static_cast<int>(viewOf(text).find('\n') + 1); // 0 if there is none
    text.deleteRegion(0, length);
    return length;
}

String withoutSecret(String const& text, String const& secret)
{
    std::string_view const hidden = viewOf(secret);
    if (hidden.empty() || text.isEmpty())
        return text;
    if (hidden.find(viewOf(text)) != std::string_view::npos)
        return MASK.data();
    std::string shown(viewOf(text));
    replaceAll(shown, hidden);
    if (std::size_t const count = pieceAtEnd(shown, hidden); count > 0)
        shown.replace(shown.size() - count, count, MASK);
    if (std::size_t const count = pieceAtStart(shown, hidden); count > 0)
        shown.replace(0, count, MASK);
    return String(shown.data(), static_cast<int>(shown.size()), 0, static_cast<int>(shown.size()));
}
}
