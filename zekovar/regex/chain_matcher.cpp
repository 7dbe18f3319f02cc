#include "zekovar/regex/chain_matcher.h"

#include "zekovar/regex/leaf_step.h"

using namespace ZK::Detail;

namespace
{

/// Frees the links behind one pair from the front on. A link that something else holds keeps the rest.
template <class Pair>
void freeChain(ZKPtr<RE_Matcher>& link)
{
    while (link && link.get()->kind() == Pair::KIND && link.get()->getRefCount() == 1)
    {
        ZKPtr<RE_Matcher> rest(std::move(static_cast<Pair*>(link.get())->link()));
        link = std::move(rest);
    }
}

int leadingByte(RE_Matcher const& node)
{
    RE_Matcher const& lead =
        node.kind() == RE_Matcher::Kind::SEQUENCE ? static_cast<RE_SequenceMatcher const&>(node).first() : node;
    if (lead.kind() != RE_Matcher::Kind::LITERAL)
        return -1;
    String const& literal = static_cast<RE_CharMatcher const&>(lead).literal();
    return literal.isEmpty() ? -1 : static_cast<unsigned char>(literal[0]);
}
}

class RE_SequenceMatcher::Continuation final : public RE_Continuation
{
public:
    Continuation(RE_SequenceMatcher const& matcher, RE_Continuation const& next)
        : RE_Continuation(matcher.m_nextByte), m_matcher(matcher), m_next(next)
    {
    }

    XCode continueMatch(RE_MatchContext& context, RE_MatchParameters& parameters) const override
    {
        return matchChain(m_matcher.m_second.get(), context, parameters, m_next);
    }

private:
    RE_SequenceMatcher const& m_matcher;
    RE_Continuation const& m_next;
};

RE_SequenceMatcher::RE_SequenceMatcher(ZKPtr<RE_Matcher> first, ZKPtr<RE_Matcher> second)
    : RE_Matcher(KIND, first.get()->readsCaptures() || second.get()->readsCaptures()),
      m_first(std::move(first)),
      m_second(std::move(second)),
      m_nextByte(leadingByte(*m_second))
{
}

RE_SequenceMatcher::~RE_SequenceMatcher()
{
    freeChain<RE_SequenceMatcher>(m_second);
}

XCode RE_SequenceMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                                RE_Continuation const& next) const
{
    return matchChain(this, context, parameters, next);
}

// Leaves need no continuation, because they have no second way that a later failure could lead back to.
XCode RE_SequenceMatcher::matchChain(RE_Matcher const* node, RE_MatchContext& context, RE_MatchParameters& parameters,
                                     RE_Continuation const& next)
{
    while (node->kind() == KIND)
    {
        auto const& pair = static_cast<RE_SequenceMatcher const&>(*node);
        RE_Matcher const* const first = pair.m_first.get();
        if (!first->isLeaf())
        {
            Continuation const rest(pair, next);
            return first->match(context, parameters, rest);
        }
        RegexStep const step = stepLeaf(*first, context, parameters);
        if (step != RegexStep::MATCHED)
            return step == RegexStep::RAN_OUT ? XCODE_SUCCESS : XCODE_FAILURE;
        node = pair.m_second.get();
    }
    if (node->isLeaf())
        return continueAfter(stepLeaf(*node, context, parameters), context, parameters, next);
    return node->match(context, parameters, next);
}

RE_DisjunctionMatcher::RE_DisjunctionMatcher(ZKPtr<RE_Matcher> left, ZKPtr<RE_Matcher> right)
    : RE_Matcher(KIND, left.get()->readsCaptures() || right.get()->readsCaptures()),
      m_left(std::move(left)),
      m_right(std::move(right))
{
}

RE_DisjunctionMatcher::~RE_DisjunctionMatcher()
{
    freeChain<RE_DisjunctionMatcher>(m_right);
}

XCode RE_DisjunctionMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                                   RE_Continuation const& next) const
{
    RE_MatchContext::Choice const choice = context.save();
    RE_Matcher const* node = this;
    while (node->kind() == KIND)
    {
        auto const& pair = static_cast<RE_DisjunctionMatcher const&>(*node);
        XCode code = pair.m_left.get()->match(context, parameters, next);
        if (code.isSuccess())
            return code;
        context.restore(choice);
        node = pair.m_right.get();
    }
    return node->match(context, parameters, next);
}
