#pragma once

#include "zekovar/regex/matcher.h"

namespace ZK::Detail
{
enum class RegexStep;
}

/// Repeats a node.
///
/// An iteration beyond the minimum must consume something, and groups in the body are unset when one begins. A body of
/// one byte is counted and takes no stack; any other takes some frames for each iteration.
class RE_ClosureMatcher final : public RE_Matcher
{
public:
    /// The maximum that is none.
    static constexpr unsigned UNLIMITED = 0xFFFFFFFF;

    /// The groups in the body are those from `firstCapture` to before `lastCapture`. A `max` below `min` ends the
    /// repetition first.
    RE_ClosureMatcher(ZKPtr<RE_Matcher> body, unsigned min, unsigned max, bool greedy, unsigned firstCapture,
                      unsigned lastCapture);

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

    RE_Matcher const& body() const { return *m_body; }

    /// Iterations that a match has at least.
    unsigned min() const { return m_min < m_max ? m_min : m_max; }

    unsigned max() const { return m_max; }

    bool isGreedy() const { return m_greedy; }

    /// Whether the body is a single byte of some set, so that the iterations are just a count.
    bool isRun() const { return m_isRun; }

    /// Bytes in a row that the body of a run accepts at the position, up to `limit`, in the direction of the match.
    int runLength(RE_MatchContext const& context, RE_MatchParameters const& parameters, int limit) const;

    /// Takes all the iterations of a run that come first: as many as there are if it is greedy, else the required ones.
    /// A greedy run may give `spare` of them back.
    ZK::Detail::RegexStep takeRun(RE_MatchContext& context, RE_MatchParameters const& parameters,
                                  unsigned& spare) const;

    /// Matches what is behind a run that was taken, at its present end or further back.
    XCode shortenRun(unsigned spare, RE_MatchContext& context, RE_MatchParameters& parameters,
                     RE_Continuation const& next) const;

private:
    class Continuation;

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next, unsigned min,
                unsigned max) const;
    XCode matchBody(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next, unsigned min,
                    unsigned max) const;
    XCode matchRun(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const;
    XCode extendRun(unsigned most, RE_MatchContext& context, RE_MatchParameters& parameters,
                    RE_Continuation const& next) const;
    unsigned char runWeight() const;

    ZKPtr<RE_Matcher> m_body;
    unsigned m_min;
    unsigned m_max;
    bool m_greedy;
    unsigned m_firstCapture;
    unsigned m_lastCapture;
    bool m_isRun;
};
