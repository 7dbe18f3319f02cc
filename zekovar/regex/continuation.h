#pragma once

#include "zekovar/foundation/xcode.h"

class RE_MatchContext;
class RE_Matcher;
struct RE_MatchParameters;

/// All the rest of a pattern behind one node. It lives on the stack of the `match` call that makes it.
class RE_Continuation
{
public:
    virtual ~RE_Continuation() = default;

    /// Matches the rest from the context's position on. After a failure the context is in no particular state: the
    /// caller that has another choice restores it.
    virtual XCode continueMatch(RE_MatchContext& context, RE_MatchParameters& parameters) const = 0;

    /// The literal or the set that must match at the position for the rest to match, null if there is none such. Its
    /// flags are those in force where the rest begins.
    RE_Matcher const* nextLeaf() const { return m_nextLeaf; }

protected:
    explicit RE_Continuation(RE_Matcher const* nextLeaf = nullptr) : m_nextLeaf(nextLeaf) {}

    RE_Continuation(RE_Continuation const&) = default;

private:
    RE_Matcher const* m_nextLeaf;
};

/// The rest of nothing: succeeds and leaves the context as it is.
class RE_NullContinuation : public RE_Continuation
{
public:
    XCode continueMatch(RE_MatchContext&, RE_MatchParameters&) const override { return XCODE_SUCCESS; }
};
