#pragma once

#include "zekovar/regex/matcher.h"
#include "zekovar/regex/search_plan.h"

/// The root of a pattern: the first place from the position on where its body matches.
///
/// With `RE_FLAG_BACKWARD` places are tried from the position down. Places where the pattern can't begin are passed
/// over by what its plan tells; that changes no result.
class RE_LeftmostMatcher final : public RE_Matcher
{
public:
    explicit RE_LeftmostMatcher(ZKPtr<RE_Matcher> body);

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

private:
    XCode matchAt(int position, RE_MatchContext& context, RE_MatchParameters& parameters,
                  RE_Continuation const& next) const;
    XCode matchEverywhere(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const;

    ZKPtr<RE_Matcher> m_body;
    RE_SearchPlan m_plan;
};
