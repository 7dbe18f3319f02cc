#pragma once

#include "zekovar/regex/leaf_matcher.h"

// One step of a leaf without its continuation, for the nodes that go through many leaves in a row.

namespace ZK::Detail
{
enum class RegexStep
{
    MATCHED,
    FAILED,
    RAN_OUT ///< of subject while `RE_FLAG_PARTIAL` is set: the match as a whole succeeds
};

constexpr bool isLetter(unsigned char byte)
{
    unsigned char const lower = byte | 0x20;
    return lower >= 'a' && lower <= 'z';
}

constexpr unsigned char otherCase(unsigned char letter)
{
    return letter ^ 0x20;
}

constexpr bool sameIgnoringCase(unsigned char byte, unsigned char wanted)
{
    return byte == wanted || (isLetter(byte) && otherCase(byte) == wanted);
}

inline bool allowsIgnoringCase(RE_AcceptanceSet const& set, unsigned char byte)
{
    return set.isCharAllowed(byte) || (isLetter(byte) && set.isCharAllowed(otherCase(byte)));
}

inline RegexStep ranOut(RE_MatchContext const& context)
{
    return context.isPartial() ? RegexStep::RAN_OUT : RegexStep::FAILED;
}

RegexStep stepTextBackward(unsigned char const* text, int count, RE_MatchContext& context,
                           RE_MatchParameters const& parameters);

inline RegexStep stepText(unsigned char const* text, int count, RE_MatchContext& context,
                          RE_MatchParameters const& parameters)
{
    if (context.isBackward())
        return stepTextBackward(text, count, context, parameters);
    bool const ignoreCase = (context.flags & RE_FLAG_IGNORE_CASE) != 0;
    unsigned char const* const bytes = parameters.bytes + context.position;
    int const left = parameters.length - context.position;
    int const room = count < left ? count : left;
    int i = 0;
    while (i < room && (bytes[i] == text[i] || (ignoreCase && sameIgnoringCase(bytes[i], text[i]))))
        i++;
    context.weigh(i, 255);
    context.position += i;
    if (i >= count)
        return RegexStep::MATCHED;
    return i == left ? ranOut(context) : RegexStep::FAILED;
}

/// One byte that `accepts` likes.
template <class Accepts>
RegexStep stepByte(unsigned char weight, RE_MatchContext& context, RE_MatchParameters const& parameters,
                   Accepts const& accepts)
{
    bool const backward = context.isBackward();
    if (context.position == (backward ? 0 : parameters.length))
        return ranOut(context);
    if (!accepts(parameters.bytes[context.position - (backward ? 1 : 0)]))
        return RegexStep::FAILED;
    if (!backward)
        context.weigh(weight);
    context.position += backward ? -1 : 1;
    return RegexStep::MATCHED;
}

inline RegexStep stepSet(RE_CharSetMatcher const& matcher, RE_MatchContext& context,
                         RE_MatchParameters const& parameters)
{
    bool const ignoreCase = (context.flags & RE_FLAG_IGNORE_CASE) != 0;
    return stepByte(matcher.weight(), context, parameters,
                    [&](unsigned char byte) {
                        return matcher.set().isCharAllowed(byte) ||
                               (ignoreCase && allowsIgnoringCase(matcher.set(), byte));
                    });
}

inline RegexStep stepAny(RE_MatchContext& context, RE_MatchParameters const& parameters)
{
    bool const inLine = (context.flags & RE_FLAG_DOT_NOT_NEWLINE) != 0;
    return stepByte(1, context, parameters,
                    [inLine](unsigned char byte) { return !inLine || (byte != '\n' && byte != '\r'); });
}

inline RegexStep stepReference(unsigned index, RE_MatchContext& context, RE_MatchParameters const& parameters)
{
    RE_Capture const capture = std::as_const(context.captures)[index];
    if (!capture.isSet())
        return RegexStep::MATCHED;
    return stepText(parameters.bytes + capture.start, capture.end - capture.start, context, parameters);
}

/// One step of any leaf. Not inline: its variables would lie on the stack for as long as the rest of the pattern takes.
RegexStep stepLeaf(RE_Matcher const& leaf, RE_MatchContext& context, RE_MatchParameters const& parameters);

/// Goes on behind a step.
inline XCode continueAfter(RegexStep step, RE_MatchContext& context, RE_MatchParameters& parameters,
                           RE_Continuation const& next)
{
    if (step == RegexStep::MATCHED)
        return next.continueMatch(context, parameters);
    return step == RegexStep::RAN_OUT ? XCODE_SUCCESS : XCODE_FAILURE;
}

/// Matches any node. A leaf's own frame is gone when the rest of the pattern is matched.
inline XCode matchNode(RE_Matcher const& node, RE_MatchContext& context, RE_MatchParameters& parameters,
                       RE_Continuation const& next)
{
    if (node.isLeaf())
        return continueAfter(stepLeaf(node, context, parameters), context, parameters, next);
    return node.match(context, parameters, next);
}
}
