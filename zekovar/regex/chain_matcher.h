#pragma once

#include "zekovar/regex/matcher.h"

// The nodes that pairs are made of. A pattern of a million terms or alternatives is a chain along the second nodes; it
// is walked and freed link by link, without depth.

/// Matches one node and then another one.
class RE_SequenceMatcher final : public RE_Matcher
{
public:
    RE_SequenceMatcher(ZKPtr<RE_Matcher> first, ZKPtr<RE_Matcher> second);
    ~RE_SequenceMatcher() override;

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

    RE_Matcher const& first() const { return *m_first; }

    RE_Matcher const& second() const { return *m_second; }

    /// The literal or the set that the second node begins with, null if it begins with something else.
    RE_Matcher const* nextLeaf() const { return m_nextLeaf; }

    static constexpr Kind KIND = Kind::SEQUENCE;

    /// The link to the next pair of a chain.
    ZKPtr<RE_Matcher>& link() { return m_second; }

private:
    class Continuation;

    static XCode matchChain(RE_Matcher const* node, RE_MatchContext& context, RE_MatchParameters& parameters,
                            RE_Continuation const& next);

    ZKPtr<RE_Matcher> m_first;
    ZKPtr<RE_Matcher> m_second;
    RE_Matcher const* m_nextLeaf;
};

/// Matches one node or, where that leads nowhere, another one.
class RE_DisjunctionMatcher final : public RE_Matcher
{
public:
    RE_DisjunctionMatcher(ZKPtr<RE_Matcher> left, ZKPtr<RE_Matcher> right);
    ~RE_DisjunctionMatcher() override;

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

    RE_Matcher const& left() const { return *m_left; }

    RE_Matcher const& right() const { return *m_right; }

    static constexpr Kind KIND = Kind::DISJUNCTION;

    /// The link to the next pair of a chain.
    ZKPtr<RE_Matcher>& link() { return m_right; }

private:
    ZKPtr<RE_Matcher> m_left;
    ZKPtr<RE_Matcher> m_right;
};
