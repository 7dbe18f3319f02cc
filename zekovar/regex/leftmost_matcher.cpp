#include "zekovar/regex/leftmost_matcher.h"

RE_LeftmostMatcher::RE_LeftmostMatcher(ZKPtr<RE_Matcher> body)
    : RE_Matcher(Kind::OTHER, body.get()->readsCaptures()), m_body(std::move(body)), m_plan(*m_body)
{
}

XCode RE_LeftmostMatcher::match(RE_MatchContext& context, RE_MatchParameters& parameters,
                                RE_Continuation const& next) const
{
    // a pattern that runs out of subject matches at places where it can't begin
    if (context.isBackward() || context.isPartial())
        return matchEverywhere(context, parameters, next);

    RE_MatchContext::Choice const choice = context.save();
    int position = m_plan.findStart(context.position, context, parameters);
    while (position >= 0)
    {
        XCode code = matchAt(position, context, parameters, next);
        if (code.isSuccess())
            return code;
        context.restore(choice);
        context.position = position;
        position = m_plan.findStart(m_plan.nextStart(context, parameters), context, parameters);
    }
    return XCODE_FAILURE;
}

XCode RE_LeftmostMatcher::matchAt(int position, RE_MatchContext& context, RE_MatchParameters& parameters,
                                  RE_Continuation const& next) const
{
    context.attempt = position;
    context.position = position;
    return m_body.get()->match(context, parameters, next);
}

XCode RE_LeftmostMatcher::matchEverywhere(RE_MatchContext& context, RE_MatchParameters& parameters,
                                          RE_Continuation const& next) const
{
    RE_MatchContext::Choice const choice = context.save();
    int const step = context.isBackward() ? -1 : 1;
    for (int position = choice.position; position >= 0 && position <= parameters.length; position += step)
    {
        context.restore(choice);
        XCode code = matchAt(position, context, parameters, next);
        if (code.isSuccess())
            return code;
    }
    return XCODE_FAILURE;
}
