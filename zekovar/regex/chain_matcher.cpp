#include "zekovar/regex/chain_matcher.h"

#include "zekovar/regex/closure_matcher.h"
#include "zekovar/regex/group_matcher.h"
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

/// The node itself if it is a greedy run, or the run that it doesn't let back into; else null.
RE_ClosureMatcher const* greedyRun(RE_Matcher const& node)
{
    bool const atomic = node.kind() == RE_Matcher::Kind::ATOMIC;
    RE_Matcher const& inner = atomic ? static_cast<RE_AtomicGroupMatcher const&>(node).body() : node;
    if (inner.kind() != RE_Matcher::Kind::CLOSURE)
        return nullptr;
    auto const& closure = static_cast<RE_ClosureMatcher const&>(inner);
    return closure.isRun() && closure.isGreedy() ? &closure : nullptr;
}

RE_Matcher const* leadingLeaf(RE_Matcher const* node)
{
    for (;;)
    {
        switch (node->kind())
        {
        case RE_Matcher::Kind::SEQUENCE:
            node = &static_cast<RE_SequenceMatcher const*>(node)->first();
            break;
        case RE_Matcher::Kind::GROUP:
            node = &static_cast<RE_CaptureGroupMatcher const*>(node)->body();
            break;
        case RE_Matcher::Kind::ATOMIC:
            node = &static_cast<RE_AtomicGroupMatcher const*>(node)->body();
            break;
        case RE_Matcher::Kind::CLOSURE:
            if (static_cast<RE_ClosureMatcher const*>(node)->min() == 0)
                return nullptr;
            node = &static_cast<RE_ClosureMatcher const*>(node)->body();
            break;
        case RE_Matcher::Kind::LITERAL:
            return static_cast<RE_CharMatcher const*>(node)->literal().isEmpty() ? nullptr : node;
        case RE_Matcher::Kind::SET:
            return node;
        default:
            return nullptr;
        }
    }
}
}

class RE_SequenceMatcher::Continuation final : public RE_Continuation
{
public:
    Continuation(RE_SequenceMatcher const& matcher, RE_Continuation const& next)
        : RE_Continuation(matcher.m_nextLeaf), m_matcher(matcher), m_next(next)
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
      m_nextLeaf(leadingLeaf(m_second.get()))
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

// What has just one way to match needs no continuation, because no later failure leads back to it. So a chain takes
// stack only for the terms that have several.
XCode RE_SequenceMatcher::matchChain(RE_Matcher const* node, RE_MatchContext& context, RE_MatchParameters& parameters,
                                     RE_Continuation const& next)
{
    while (node->kind() == KIND)
    {
        auto const& pair = static_cast<RE_SequenceMatcher const&>(*node);
        RE_Matcher const& first = pair.first();
        RegexStep step;
        if (first.isLeaf())
        {
            step = stepLeaf(first, context, parameters);
        }
        else if (RE_ClosureMatcher const* const run = greedyRun(first))
        {
            unsigned spare = 0;
            step = run->takeRun(context, parameters, spare);
            if (run != &first && step == RegexStep::RAN_OUT)
            {
                step = RegexStep::MATCHED; // an atomic group goes on even so
            }
            else if (run == &first && step == RegexStep::MATCHED && spare > 0)
            {
                Continuation const rest(pair, next);
                return run->shortenRun(spare, context, parameters, rest);
            }
        }
        else
        {
            Continuation const rest(pair, next);
            return first.match(context, parameters, rest);
        }
        if (step != RegexStep::MATCHED)
            return step == RegexStep::RAN_OUT ? XCODE_SUCCESS : XCODE_FAILURE;
        node = pair.m_second.get();
    }
    return matchNode(*node, context, parameters, next);
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
        XCode code = matchNode(pair.left(), context, parameters, next);
        if (code.isSuccess())
            return code;
        context.restore(choice);
        node = pair.m_right.get();
    }
    return matchNode(*node, context, parameters, next);
}
