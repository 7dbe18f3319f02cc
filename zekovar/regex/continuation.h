#pragma once

#include "zekovar/foundation/xcode.h"

class RE_MatchContext;
struct RE_MatchParameters;

/// All the rest of a pattern behind one node. It lives on the stack of the `match` call that makes it.
class RE_Continuation
{
public:
    virtual ~RE_Continuation() = default;

    /// Matches the rest from the context's position on. After a failure the context is in no particular state: the
    /// caller that has another choice restores it.
    virtual XCode continueMatch(RE_MatchContext& context, RE_MatchParameters& parameters) const = 0;

    /// The byte that must stand at the position for the rest to match, forward and without a flag that blurs it; -1 if
    /// there is no such byte.
    int nextByte() const { return m_nextByte; }

protected:
    explicit RE_Continuation(int nextByte = -1) : m_nextByte(nextByte) {}

    RE_Continuation(RE_Continuation const&) = default;

private:
    int m_nextByte;
};

/// The rest of nothing: succeeds and leaves the context as it is.
class RE_NullContinuation : public RE_Continuation
{
public:
    XCode continueMatch(RE_MatchContext&, RE_MatchParameters&) const override { return XCODE_SUCCESS; }
};
