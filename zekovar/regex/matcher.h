#pragma once

#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/regex/continuation.h"
#include "zekovar/regex/match_context.h"
#include "zekovar/regex/referable.h"

/// A node of a compiled pattern.
///
/// Nodes don't change once they are made, and all state of a match is in its context, so one tree serves any number of
/// matches, one at a time. Matching is backtracking: a node calls `next` when its own part has matched, and tries its
/// next way if that fails. The native stack is the backtrack stack, so it deepens with the length of what repeated
/// groups and alternatives match; repeated single bytes take none. There is no limit of time.
class RE_Matcher : public RE_Referable
{
public:
    /// Matches from the context's position on, and then `next`. Success means that both have matched, or that the
    /// subject ended while `RE_FLAG_PARTIAL` is set. After a failure the context is in no particular state.
    virtual XCode match(RE_MatchContext& context, RE_MatchParameters& parameters,
                        RE_Continuation const& next) const = 0;

    /// What nodes know about each other, so that a simple one needs no call and a chain no depth.
    enum class Kind : unsigned char
    {
        NOTHING,
        LITERAL,
        REFERENCE,
        EXISTENCE,
        SET,
        ANY,
        ANCHOR,
        LAST_LEAF = ANCHOR, // those up to here match in one way only
        SEQUENCE,
        DISJUNCTION,
        CLOSURE,
        GROUP,
        ATOMIC,
        LOOKAROUND,
        FLAGS,
        OTHER
    };

    Kind kind() const { return m_kind; }

    bool isLeaf() const { return m_kind <= Kind::LAST_LEAF; }

    /// Whether anything in this tree asks what a group has matched.
    bool readsCaptures() const { return m_readsCaptures; }

protected:
    explicit RE_Matcher(Kind kind = Kind::OTHER, bool readsCaptures = true)
        : m_kind(kind), m_readsCaptures(readsCaptures)
    {
    }

private:
    Kind m_kind;
    bool m_readsCaptures;
};
