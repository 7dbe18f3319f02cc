#include "zekovar/regex/group_matcher.h"

#include "zekovar/regex/leaf_step.h"

class RE_CaptureGroupMatcher::Continuation final : public RE_Continuation
{
public:
    Continuation(RE_CaptureGroupMatcher const& matcher, RE_Continuation const& next, int start)
        : RE_Continuation(next), m_matcher(matcher), m_next(next), m_start(start)
    {
    }

    XCode continueMatch(RE_MatchContext& context, RE_MatchParameters& parameters) const override
    {
        RE_Capture const capture =
            context.isBackward() ? RE_Capture{context.position, m_start} : RE_Capture{m_start, context.position};
        context.setCapture(m_matcher.m_index, capture);
        return m_next.continueMatch(context, parameters);
    }

private:
    RE_CaptureGroupMatcher const& m_matcher;
    RE_Continuation const& m_next;
    int m_start;
};

RE_CaptureGroupMatcher::RE_CaptureGroupMatcher(ZKPtr<RE_Matcher> body, unsigned index)
    : RE_Matcher(Kind::GROUP, body.get()->readsCaptures()), m_body(std::move(body)), m_index(index)
{
}

XCode RE_CaptureGroupMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                                    RE_Continuation const& next) const
{
    Continuation const close(*this, next, context.position);
    return ZK::Detail::matchNode(*m_body, context, parameters, close);
}

RE_PositiveLookaheadMatcher::RE_PositiveLookaheadMatcher(ZKPtr<RE_Matcher> body)
    : RE_Matcher(Kind::LOOKAROUND, body.get()->readsCaptures()), m_body(std::move(body))
{
}

XCode RE_PositiveLookaheadMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                                         RE_Continuation const& next) const
{
    unsigned const flags = context.flags;
    int const position = context.position;
    XCode code = m_body.get()->match(context, parameters, RE_NullContinuation());
    if (code.isErr())
        return code;
    context.flags = flags;
    context.position = position;
    return next.continueMatch(context, parameters);
}

RE_NegativeLookaheadMatcher::RE_NegativeLookaheadMatcher(ZKPtr<RE_Matcher> body)
    : RE_Matcher(Kind::LOOKAROUND, body.get()->readsCaptures()), m_body(std::move(body))
{
}

XCode RE_NegativeLookaheadMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                                         RE_Continuation const& next) const
{
    RE_MatchContext::Choice const choice = context.save();
    if (m_body.get()->match(context, parameters, RE_NullContinuation()).isSuccess())
        return XCODE_FAILURE;
    context.restore(choice);
    return next.continueMatch(context, parameters);
}

RE_AtomicGroupMatcher::RE_AtomicGroupMatcher(ZKPtr<RE_Matcher> body)
    : RE_Matcher(Kind::ATOMIC, body.get()->readsCaptures()), m_body(std::move(body))
{
}

XCode RE_AtomicGroupMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                                   RE_Continuation const& next) const
{
    XCode code = m_body.get()->match(context, parameters, RE_NullContinuation());
    if (code.isErr())
        return code;
    return next.continueMatch(context, parameters);
}

RE_ConditionMatcher::RE_ConditionMatcher(ZKPtr<RE_Matcher> condition, ZKPtr<RE_Matcher> yes, ZKPtr<RE_Matcher> no)
    : m_condition(std::move(condition)), m_yes(std::move(yes)), m_no(std::move(no))
{
}

XCode RE_ConditionMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                                 RE_Continuation const& next) const
{
    if (m_condition.get()->match(context, parameters, RE_NullContinuation()).isSuccess())
        return m_yes.get()->match(context, parameters, next);
    if (m_no)
        return m_no.get()->match(context, parameters, next);
    return next.continueMatch(context, parameters);
}

class RE_FlagModifierMatcher::Continuation final : public RE_Continuation
{
public:
    Continuation(RE_Continuation const& next, unsigned flags) : m_next(next), m_flags(flags) {}

    XCode continueMatch(RE_MatchContext& context, RE_MatchParameters& parameters) const override
    {
        context.flags = m_flags;
        return m_next.continueMatch(context, parameters);
    }

private:
    RE_Continuation const& m_next;
    unsigned m_flags;
};

RE_FlagModifierMatcher::RE_FlagModifierMatcher(ZKPtr<RE_Matcher> body, unsigned enable, unsigned disable)
    : RE_Matcher(Kind::FLAGS, body.get()->readsCaptures()),
      m_body(std::move(body)),
      m_enable(enable),
      m_disable(disable)
{
}

XCode RE_FlagModifierMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                                    RE_Continuation const& next) const
{
    Continuation const behind(next, context.flags);
    context.flags = (context.flags | m_enable) & ~m_disable;
    return m_body.get()->match(context, parameters, behind);
}
