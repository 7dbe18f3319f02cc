#include "zekovar/regex/closure_matcher.h"

#include "zekovar/regex/leaf_step.h"

#include <algorithm>

using namespace ZK::Detail;

namespace
{

// Required iterations that consume nothing only deepen the stack, and where they nest their number is the product of the
// counts. With this many on the stack, one more stands for all that its closure still requires.
constexpr unsigned MOST_EMPTY_ITERATIONS = 256;

bool isSingleByte(RE_Matcher const& node)
{
    return node.kind() == RE_Matcher::Kind::SET || node.kind() == RE_Matcher::Kind::ANY ||
           (node.kind() == RE_Matcher::Kind::LITERAL &&
            static_cast<RE_CharMatcher const&>(node).literal().length() == 1);
}

template <class Accepts>
int countWhile(RE_MatchContext const& context, RE_MatchParameters const& parameters, int limit, Accepts const& accepts)
{
    unsigned char const* const bytes = parameters.bytes + context.position;
    int count = 0;
    if (context.isBackward())
    {
        while (count < limit && accepts(bytes[-1 - count]))
            count++;
    }
    else
    {
        while (count < limit && accepts(bytes[count]))
            count++;
    }
    return count;
}

/// A look at the next byte, which spares most calls of a continuation that would fail there.
class NextByte
{
public:
    NextByte(RE_MatchContext const& context, RE_Continuation const& next)
    {
        constexpr unsigned BLURRING = RE_FLAG_IGNORE_CASE | RE_FLAG_BACKWARD | RE_FLAG_PARTIAL;
        RE_Matcher const* const leaf = next.nextLeaf();
        if (leaf == nullptr || (context.flags & BLURRING) != 0)
            return;
        if (leaf->kind() == RE_Matcher::Kind::SET)
            m_set = &static_cast<RE_CharSetMatcher const*>(leaf)->set();
        else
            m_byte = static_cast<unsigned char>(static_cast<RE_CharMatcher const*>(leaf)->literal()[0]);
    }

    bool fits(RE_MatchContext const& context, RE_MatchParameters const& parameters) const
    {
        if (m_set == nullptr && m_byte < 0)
            return true;
        if (context.position == parameters.length)
            return false;
        unsigned char const byte = parameters.bytes[context.position];
        return m_set != nullptr ? m_set->isCharAllowed(byte) : byte == m_byte;
    }

private:
    RE_AcceptanceSet const* m_set = nullptr;
    int m_byte = -1;
};
}

class RE_ClosureMatcher::Continuation final : public RE_Continuation
{
public:
    Continuation(RE_ClosureMatcher const& matcher, RE_Continuation const& next, int start, unsigned min, unsigned max)
        : m_matcher(matcher), m_next(next), m_start(start), m_min(min), m_max(max)
    {
    }

    XCode continueMatch(RE_MatchContext& context, RE_MatchParameters& parameters) const override
    {
        return context.position == m_start ? continueEmpty(context, parameters) : repeat(1, context, parameters);
    }

private:
    // Not inline: its variables would lie on the stack behind the iterations that consume something.
    [[gnu::noinline]] XCode continueEmpty(RE_MatchContext& context, RE_MatchParameters& parameters) const
    {
        if (m_min == 0)
            return XCODE_FAILURE;
        bool const standsForAll = context.emptyIterations >= MOST_EMPTY_ITERATIONS;
        context.emptyIterations++;
        XCode code = repeat(standsForAll ? m_min : 1, context, parameters);
        context.emptyIterations--;
        return code;
    }

    XCode repeat(unsigned done, RE_MatchContext& context, RE_MatchParameters& parameters) const
    {
        unsigned const min = m_min - std::min(done, m_min);
        unsigned const max = m_max == UNLIMITED ? m_max : m_max - std::min(done, m_max);
        return m_matcher.match(context, parameters, m_next, min, max);
    }

    RE_ClosureMatcher const& m_matcher;
    RE_Continuation const& m_next;
    int m_start;
    unsigned m_min;
    unsigned m_max;
};

RE_ClosureMatcher::RE_ClosureMatcher(ZKPtr<RE_Matcher> body, unsigned min, unsigned max, bool greedy,
                                     unsigned firstCapture, unsigned lastCapture)
    : RE_Matcher(Kind::CLOSURE, body.get()->readsCaptures()),
      m_body(std::move(body)),
      m_min(min),
      m_max(max),
      m_greedy(greedy),
      m_firstCapture(firstCapture),
      m_lastCapture(lastCapture),
      m_isRun(isSingleByte(*m_body) && firstCapture >= lastCapture)
{
}

XCode RE_ClosureMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                               RE_Continuation const& next) const
{
    return m_isRun ? matchRun(context, parameters, next) : match(context, parameters, next, m_min, m_max);
}

XCode RE_ClosureMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next,
                               unsigned min, unsigned max) const
{
    if (max == 0)
        return next.continueMatch(context, parameters);
    if (min != 0)
        return matchBody(context, parameters, next, min, max);

    RE_MatchContext::Choice const choice = context.save();
    XCode code = m_greedy ? matchBody(context, parameters, next, 0, max) : next.continueMatch(context, parameters);
    if (code.isSuccess())
        return code;
    context.restore(choice);
    return m_greedy ? next.continueMatch(context, parameters) : matchBody(context, parameters, next, 0, max);
}

XCode RE_ClosureMatcher::matchBody(RE_MatchContext& context, RE_MatchParameters& parameters,
                                   RE_Continuation const& next, unsigned min, unsigned max) const
{
    context.unsetCaptures(m_firstCapture, m_lastCapture);
    Continuation const again(*this, next, context.position, min, max);
    return matchNode(*m_body, context, parameters, again);
}

unsigned char RE_ClosureMatcher::runWeight() const
{
    switch (m_body.get()->kind())
    {
    case Kind::SET:
        return static_cast<RE_CharSetMatcher const*>(m_body.get())->weight();
    case Kind::ANY:
        return 1;
    default:
        return 255;
    }
}

int RE_ClosureMatcher::runLength(RE_MatchContext const& context, RE_MatchParameters const& parameters, int limit) const
{
    bool const ignoreCase = (context.flags & RE_FLAG_IGNORE_CASE) != 0;
    switch (m_body.get()->kind())
    {
    case Kind::ANY:
        if ((context.flags & RE_FLAG_DOT_NOT_NEWLINE) == 0)
            return limit;
        return countWhile(context, parameters, limit, [](unsigned char byte) { return byte != '\n' && byte != '\r'; });
    case Kind::SET:
    {
        RE_AcceptanceSet const& set = static_cast<RE_CharSetMatcher const*>(m_body.get())->set();
        if (ignoreCase)
            return countWhile(context, parameters, limit,
                              [&set](unsigned char byte) { return allowsIgnoringCase(set, byte); });
        return countWhile(context, parameters, limit, [&set](unsigned char byte) { return set.isCharAllowed(byte); });
    }
    default:
    {
        auto const wanted = static_cast<unsigned char>(static_cast<RE_CharMatcher const*>(m_body.get())->literal()[0]);
        if (ignoreCase)
            return countWhile(context, parameters, limit,
                              [wanted](unsigned char byte) { return sameIgnoringCase(byte, wanted); });
        return countWhile(context, parameters, limit, [wanted](unsigned char byte) { return byte == wanted; });
    }
    }
}

RegexStep RE_ClosureMatcher::takeRun(RE_MatchContext& context, RE_MatchParameters const& parameters,
                                     unsigned& spare) const
{
    int const left = context.isBackward() ? context.position : parameters.length - context.position;
    unsigned const required = min();
    unsigned const wanted = std::min(m_greedy ? m_max : required, static_cast<unsigned>(left));
    auto const length = static_cast<unsigned>(runLength(context, parameters, static_cast<int>(wanted)));
    if (!context.isBackward())
        context.weigh(static_cast<int>(length), runWeight());
    context.position += context.isBackward() ? -static_cast<int>(length) : static_cast<int>(length);

    bool const triesOneMore = length < (m_greedy ? m_max : required);
    if (triesOneMore && length == static_cast<unsigned>(left) && context.isPartial())
        return RegexStep::RAN_OUT;
    if (length < required)
        return RegexStep::FAILED;
    spare = length - required;
    return RegexStep::MATCHED;
}

XCode RE_ClosureMatcher::matchRun(RE_MatchContext& context, RE_MatchParameters& parameters,
                                  RE_Continuation const& next) const
{
    unsigned spare;
    RegexStep const step = takeRun(context, parameters, spare);
    if (step != RegexStep::MATCHED)
        return step == RegexStep::RAN_OUT ? XCODE_SUCCESS : XCODE_FAILURE;
    return m_greedy ? shortenRun(spare, context, parameters, next)
                    : extendRun(m_max - min(), context, parameters, next);
}

// Every length is a choice of its own; returning to it takes no more than its position.
XCode RE_ClosureMatcher::shortenRun(unsigned spare, RE_MatchContext& context, RE_MatchParameters& parameters,
                                    RE_Continuation const& next) const
{
    int const step = context.isBackward() ? -1 : 1;
    NextByte const nextByte(context, next);
    RE_MatchContext::Choice choice = context.save();
    for (;; spare--, choice.position -= step)
    {
        context.restore(choice);
        if (nextByte.fits(context, parameters))
        {
            XCode code = next.continueMatch(context, parameters);
            if (code.isSuccess())
                return code;
        }
        if (spare == 0)
            return XCODE_FAILURE;
    }
}

XCode RE_ClosureMatcher::extendRun(unsigned most, RE_MatchContext& context, RE_MatchParameters& parameters,
                                   RE_Continuation const& next) const
{
    NextByte const nextByte(context, next);
    for (;; most--)
    {
        if (nextByte.fits(context, parameters))
        {
            RE_MatchContext::Choice const choice = context.save();
            XCode code = next.continueMatch(context, parameters);
            if (code.isSuccess() || most == 0)
                return code;
            context.restore(choice);
        }
        if (most == 0)
            return XCODE_FAILURE;
        RegexStep const step = stepLeaf(*m_body, context, parameters);
        if (step != RegexStep::MATCHED)
            return step == RegexStep::RAN_OUT ? XCODE_SUCCESS : XCODE_FAILURE;
    }
}
