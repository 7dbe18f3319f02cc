#include "zekovar/regex/leaf_matcher.h"

#include "zekovar/regex/leaf_step.h"

using namespace ZK::Detail;

namespace
{

bool isWordByte(unsigned char byte)
{
    return isLetter(byte) || (byte >= '0' && byte <= '9') || byte == '_';
}
}

RegexStep ZK::Detail::stepTextBackward(unsigned char const* text, int count, RE_MatchContext& context,
                                       RE_MatchParameters const& parameters)
{
    bool const ignoreCase = (context.flags & RE_FLAG_IGNORE_CASE) != 0;
    for (int i = count - 1; i >= 0; i--)
    {
        if (context.position == 0)
            return ranOut(context);
        unsigned char const byte = parameters.bytes[context.position - 1];
        if (byte != text[i] && !(ignoreCase && sameIgnoringCase(byte, text[i])))
            return RegexStep::FAILED;
        context.position--;
    }
    return RegexStep::MATCHED;
}

RegexStep ZK::Detail::stepLeaf(RE_Matcher const& leaf, RE_MatchContext& context, RE_MatchParameters const& parameters)
{
    switch (leaf.kind())
    {
    case RE_Matcher::Kind::LITERAL:
    {
        String const& literal = static_cast<RE_CharMatcher const&>(leaf).literal();
        return stepText(reinterpret_cast<unsigned char const*>(literal.c_str()), literal.length(), context, parameters);
    }
    case RE_Matcher::Kind::SET:
        return stepSet(static_cast<RE_CharSetMatcher const&>(leaf), context, parameters);
    case RE_Matcher::Kind::ANY:
        return stepAny(context, parameters);
    case RE_Matcher::Kind::ANCHOR:
        return static_cast<RE_AnchorMatcher const&>(leaf).holds(context, parameters) ? RegexStep::MATCHED
                                                                                     : RegexStep::FAILED;
    case RE_Matcher::Kind::REFERENCE:
        return stepReference(static_cast<RE_RefCaptureMatcher const&>(leaf).index(), context, parameters);
    case RE_Matcher::Kind::EXISTENCE:
        return std::as_const(context.captures)[static_cast<RE_ExistenceCaptureMatcher const&>(leaf).index()].isSet()
                   ? RegexStep::MATCHED
                   : RegexStep::FAILED;
    default:
        return RegexStep::MATCHED;
    }
}

XCode RE_NullMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const
{
    return next.continueMatch(context, parameters);
}

XCode RE_StringMatcher::matchString(String const& text, int start, int end, RE_MatchContext& context,
                                    RE_MatchParameters& parameters, RE_Continuation const& next) const
{
    auto const* const bytes = reinterpret_cast<unsigned char const*>(text.c_str());
    return continueAfter(stepText(bytes + start, end - start, context, parameters), context, parameters, next);
}

XCode RE_CharMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const
{
    return matchString(m_literal, 0, m_literal.length(), context, parameters, next);
}

XCode RE_RefCaptureMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                                  RE_Continuation const& next) const
{
    RE_Capture const capture = std::as_const(context.captures)[m_index];
    if (!capture.isSet())
        return next.continueMatch(context, parameters);
    return matchString(parameters.subject, capture.start, capture.end, context, parameters, next);
}

XCode RE_ExistenceCaptureMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                                        RE_Continuation const& next) const
{
    return continueAfter(stepLeaf(*this, context, parameters), context, parameters, next);
}

XCode RE_CharSetMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                               RE_Continuation const& next) const
{
    return continueAfter(stepSet(*this, context, parameters), context, parameters, next);
}

XCode RE_AnyCharMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                               RE_Continuation const& next) const
{
    return continueAfter(stepAny(context, parameters), context, parameters, next);
}

XCode RE_AnchorMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                              RE_Continuation const& next) const
{
    return holds(context, parameters) ? next.continueMatch(context, parameters) : XCODE_FAILURE;
}

bool RE_AnchorMatcher::holds(RE_MatchContext const& context, RE_MatchParameters const& parameters) const
{
    int const position = context.position;
    bool const atStart = position == 0;
    bool const atEnd = position == parameters.length;
    unsigned char const before = atStart ? 0 : parameters.bytes[position - 1];
    unsigned char const here = atEnd ? 0 : parameters.bytes[position];
    bool const multiline = (context.flags & RE_FLAG_MULTILINE) != 0;
    switch (m_anchor)
    {
    case '^':
        return atStart || (multiline && before == '\n');
    case '$':
        return atEnd || (multiline && (here == '\n' || here == '\r'));
    case 'A':
    case '`':
        return atStart;
    case 'Z':
    case '\'':
        return atEnd;
    case 'b':
        return isWordByte(before) != isWordByte(here);
    case 'B':
        return isWordByte(before) == isWordByte(here);
    case '<':
        return isWordByte(here) && !isWordByte(before);
    case '>':
        return isWordByte(before) && !isWordByte(here);
    default:
        return false;
    }
}
