#include "zekovar/regex/regex.h"

#include "zekovar/regex/capture_names.h"
#include "zekovar/regex/parser.h"

#include <algorithm>
#include <cstring>

ZKRegEx::Pattern::Pattern(ZKPtr<RE_Matcher> root, String const& expression, unsigned captureCount,
                          ZKVector<String> captureNames)
    : m_root(std::move(root)),
      m_expression(expression),
      m_captureCount(captureCount),
      m_captureNames(std::move(captureNames))
{
}

ZKPtr<ZKRegEx::Matcher> ZKRegEx::Pattern::createMatcher(String const& subject, unsigned flags) const
{
    // a pattern that no pointer owns, on the stack perhaps, would be deleted by the matcher's
    Pattern* const kept = getRefCount() > 0 ? const_cast<Pattern*>(this) : new Pattern(*this);
    return ZKPtr<Matcher>(new Matcher(ZKPtr<Pattern>(kept), subject, flags));
}

XCode ZKRegEx::Pattern::match(String const& subject, unsigned flags) const
{
    return createMatcher(subject, flags).get()->match();
}

ZKRegEx::Matcher::Matcher(ZKPtr<Pattern> pattern, String const& subject, unsigned flags)
    : m_pattern(std::move(pattern)), m_subject(subject), m_flags(flags)
{
}

XCode ZKRegEx::Matcher::match()
{
    m_position = 0;
    return matchNext();
}

// Weights and captures lend their memory to the context, so that a search in the same subject allocates only once. The
// weights aren't set to 1 beforehand: the match itself overwrites the bytes that it consumes, and the ones in front of
// it follow when it is found.
XCode ZKRegEx::Matcher::matchNext()
{
    RE_MatchContext context;
    RE_MatchParameters parameters(m_subject);
    context.flags = m_flags;
    context.position = m_position;
    context.weights = std::move(m_weights);
    context.captures = std::move(m_captures);
    context.captures.clear();
    m_ones = std::min(m_ones, m_position);

    bool found = m_position <= m_subject.length() && context.reserveWeights(m_subject.length()) &&
                 context.captures.enlarge(m_pattern.get()->m_captureCount);
    if (found)
    {
        context.captures[m_pattern.get()->m_captureCount - 1] = RE_Capture();
        found = m_pattern.get()->m_root.get()->match(context, parameters, RE_NullContinuation()).isSuccess() &&
                !context.isExhausted();
    }
    if (found)
        acceptMatch(context);
    else
        rejectMatch(context);
    return m_result;
}

void ZKRegEx::Matcher::acceptMatch(RE_MatchContext& context)
{
    int const end = context.position;
    int const start = (m_flags & RE_FLAG_BACKWARD) != 0 ? end : std::min(context.attempt, end);
    if (m_ones < start)
        std::memset(context.weights.data() + m_ones, 1, static_cast<std::size_t>(start - m_ones));
    m_ones = start;
    context.weights.native_alloc(end);
    for (RE_Capture& capture : context.captures)
    {
        if (capture.start >= 0 && capture.end < 0)
            capture.end = m_subject.length();
        else if (capture.start < 0 && capture.end >= 0)
            capture.start = 0;
    }
    m_position = end > m_position ? end : end + 1;
    m_weights = std::move(context.weights);
    m_captures = std::move(context.captures);
    m_result = XCODE_SUCCESS;
}

void ZKRegEx::Matcher::rejectMatch(RE_MatchContext& context)
{
    m_weights = std::move(context.weights);
    m_weights.native_alloc(0);
    m_captures = std::move(context.captures);
    m_captures.clear();
    m_ones = 0;
    m_position = 0;
    m_result = XCODE_FAILURE;
}

XCode ZKRegEx::Matcher::getCapture(unsigned index, int& start, int& end) const
{
    RE_Capture const capture = m_captures[index];
    start = capture.start;
    end = capture.end;
    return testExpression(capture.isSet());
}

XCode ZKRegEx::Matcher::getCapture(unsigned index, String& text) const
{
    int start, end;
    XCode code = getCapture(index, start, end);
    if (code.isSuccess())
        text = m_subject.substring(start, end);
    return code;
}

XCode ZKRegEx::Matcher::getCapture(String const& name, int& start, int& end) const
{
    // -1 becomes an index that no group has
    return getCapture(static_cast<unsigned>(ZK::Detail::findCaptureName(m_pattern.get()->m_captureNames, name)), start,
                      end);
}

XCode ZKRegEx::Matcher::getCapture(String const& name, String& text) const
{
    return getCapture(static_cast<unsigned>(ZK::Detail::findCaptureName(m_pattern.get()->m_captureNames, name)), text);
}

ZKRegEx::Formatter::Formatter(ZKPtr<RE_Formatter> root, String const& format)
    : m_root(std::move(root)), m_format(format)
{
}

String& ZKRegEx::Formatter::format(ZKPtr<Matcher> matcher, RE_ResolveCallback const& resolver, String& out) const
{
    RE_FormatContext context;
    if (matcher)
    {
        RE_FormatParameters const parameters{&matcher.get()->m_subject, &matcher.get()->m_pattern.get()->m_captureNames,
                                             &matcher.get()->m_captures, &resolver};
        m_root.get()->format(context, parameters);
    }
    out = context.output;
    return out;
}

String& ZKRegEx::Formatter::format(ZKPtr<Matcher> matcher, String& out) const
{
    static constexpr ZKRegExFormatter_NoResolver NO_RESOLVER;
    return format(std::move(matcher), NO_RESOLVER, out);
}

ZKPtr<ZKRegEx::Pattern> ZKRegEx::COMPILE_EXPRESSION(String const& expression)
{
    RE_ParseContext context;
    RE_ParseParameters parameters(expression);
    ZKPtr<RE_Matcher> root;
    if (RE_Parser::parseExpression(context, parameters, root).isErr())
        return ZKPtr<Pattern>();
    return ZKPtr<Pattern>(
        new Pattern(std::move(root), expression, context.captureCount, std::move(parameters.captureNames)));
}

ZKPtr<ZKRegEx::Formatter> ZKRegEx::COMPILE_FORMATTER(String const& format)
{
    RE_ParseContext context;
    RE_ParseParameters parameters(format);
    ZKPtr<RE_Formatter> root;
    if (RE_Parser::parseFormatString(context, parameters, root).isErr())
        return ZKPtr<Formatter>();
    return ZKPtr<Formatter>(new Formatter(std::move(root), format));
}

ZKPtr<ZKRegEx::Formatter> ZKRegEx::COMPILE_SUBSTITUTION(String const& replacement)
{
    String format("$`");
    format.concat(replacement) += "$'";
    return COMPILE_FORMATTER(format);
}

ZKPtr<ZKRegEx::Matcher> ZKRegEx::CREATE_MATCHER(String const& expression, String const& subject, unsigned flags)
{
    ZKPtr<Pattern> const pattern = COMPILE_EXPRESSION(expression);
    return pattern ? pattern.get()->createMatcher(subject, flags) : ZKPtr<Matcher>();
}

XCode ZKRegEx::MATCHES(String const& expression, String const& subject, unsigned flags)
{
    ZKPtr<Pattern> const pattern = COMPILE_EXPRESSION(expression);
    return pattern ? pattern.get()->match(subject, flags) : XCode(XCODE_FAILURE);
}
