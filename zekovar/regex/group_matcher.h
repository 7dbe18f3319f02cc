#pragma once

#include "zekovar/regex/matcher.h"

// The nodes around one other node, their body.

/// Sets a capture to what its body has matched, at the moment when it has.
class RE_CaptureGroupMatcher final : public RE_Matcher
{
public:
    RE_CaptureGroupMatcher(ZKPtr<RE_Matcher> body, unsigned index);

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

    RE_Matcher const& body() const { return *m_body; }

private:
    class Continuation;

    ZKPtr<RE_Matcher> m_body;
    unsigned m_index;
};

/// Holds where its body matches. Position and weights stay, captures of the body are kept, and its first way to match
/// is the only one that is looked for.
class RE_PositiveLookaheadMatcher final : public RE_Matcher
{
public:
    explicit RE_PositiveLookaheadMatcher(ZKPtr<RE_Matcher> body);

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

private:
    ZKPtr<RE_Matcher> m_body;
};

/// Holds where its body doesn't match. Nothing of the body is kept.
class RE_NegativeLookaheadMatcher final : public RE_Matcher
{
public:
    explicit RE_NegativeLookaheadMatcher(ZKPtr<RE_Matcher> body);

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

private:
    ZKPtr<RE_Matcher> m_body;
};

/// Matches its body in the first way that it finds, and in no other one.
class RE_AtomicGroupMatcher final : public RE_Matcher
{
public:
    explicit RE_AtomicGroupMatcher(ZKPtr<RE_Matcher> body);

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

    RE_Matcher const& body() const { return *m_body; }

private:
    ZKPtr<RE_Matcher> m_body;
};

/// Goes one way or the other after a condition, of which it looks for one way to match. The context isn't restored
/// behind the condition: one that fails leaves the position where it failed.
class RE_ConditionMatcher final : public RE_Matcher
{
public:
    /// `no` may be null, which is the same as a node that matches nothing.
    RE_ConditionMatcher(ZKPtr<RE_Matcher> condition, ZKPtr<RE_Matcher> yes, ZKPtr<RE_Matcher> no);

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

private:
    ZKPtr<RE_Matcher> m_condition;
    ZKPtr<RE_Matcher> m_yes;
    ZKPtr<RE_Matcher> m_no;
};

/// Sets and clears match flags for its body; the rest of the pattern has the former ones again.
class RE_FlagModifierMatcher final : public RE_Matcher
{
public:
    /// A flag in both is cleared.
    RE_FlagModifierMatcher(ZKPtr<RE_Matcher> body, unsigned enable, unsigned disable);

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

    RE_Matcher const& body() const { return *m_body; }

    unsigned enabled() const { return m_enable & ~m_disable; }

private:
    class Continuation;

    ZKPtr<RE_Matcher> m_body;
    unsigned m_enable;
    unsigned m_disable;
};
