#include "zekovar/regex/parser.h"

#include "zekovar/regex/capture_names.h"
#include "zekovar/regex/chain_matcher.h"
#include "zekovar/regex/closure_matcher.h"
#include "zekovar/regex/group_matcher.h"
#include "zekovar/regex/leaf_matcher.h"
#include "zekovar/regex/leftmost_matcher.h"

#include <cstring>

// The structure of an expression: disjunctions, sequences, terms, quantifiers and groups.

namespace
{

/// Collects the nodes of a chain. It grows by doubling, since there may be millions.
class Links
{
public:
    void add(ZKPtr<RE_Matcher>& node)
    {
        if (m_nodes.size() == m_nodes.capacity())
            m_nodes.enlarge(2 * m_nodes.size() + 7);
        m_nodes.add(std::move(node));
    }

    /// Pairs of the nodes in their order, or from the last to the first. Each second node is the rest of the chain.
    template <class Pair>
    ZKPtr<RE_Matcher> join(bool reversed)
    {
        unsigned const last = m_nodes.size() - 1;
        ZKPtr<RE_Matcher> chain(std::move(m_nodes[reversed ? 0 : last]));
        for (unsigned i = 1; i <= last; i++)
            chain = ZKPtr<RE_Matcher>(new Pair(std::move(m_nodes[reversed ? i : last - i]), std::move(chain)));
        return chain;
    }

private:
    ZKVector<ZKPtr<RE_Matcher>> m_nodes;
};
}

XCode RE_Parser::fail(Context& context, Context const& start)
{
    context = start;
    return XCODE_FAILURE;
}

XCode RE_Parser::parseExpression(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    Context const start = context;
    MatcherPtr body;
    context.captureCount++;
    if (parseDisjunction(context, parameters, body).isErr() ||
        context.position != static_cast<unsigned>(parameters.text.length()))
        return fail(context, start);
    MatcherPtr group(new RE_CaptureGroupMatcher(std::move(body), 0));
    matcher = MatcherPtr(new RE_LeftmostMatcher(std::move(group)));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseDisjunction(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    if (context.depth > MAX_DEPTH)
        return XCODE_FAILURE;
    context.depth++;
    MatcherPtr alternative;
    if (parseSequence(context, parameters, alternative).isErr())
    {
        matcher = MatcherPtr(new RE_NullMatcher());
    }
    else if (peekChar(context, parameters) != '|')
    {
        matcher = std::move(alternative);
    }
    else
    {
        Links alternatives;
        Context bar;
        do
        {
            alternatives.add(alternative);
            bar = context;
        } while (parseConstChar(context, parameters, '|') && parseSequence(context, parameters, alternative));
        context = bar;
        matcher = alternatives.join<RE_DisjunctionMatcher>(false);
    }
    context.depth--;
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseSequence(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    MatcherPtr term;
    if (parseTerm(context, parameters, matcher).isErr())
        return XCODE_FAILURE;
    if (parseTerm(context, parameters, term).isErr())
        return XCODE_SUCCESS;
    Links terms;
    terms.add(matcher);
    do
    {
        terms.add(term);
    } while (parseTerm(context, parameters, term));
    matcher = terms.join<RE_SequenceMatcher>(context.reversed);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseTerm(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    if (parseAssertion(context, parameters, matcher))
        return XCODE_SUCCESS;
    unsigned const firstCapture = context.captureCount;
    if (parseAtom(context, parameters, matcher).isErr())
        return XCODE_FAILURE;
    parseQuantifier(context, parameters, firstCapture, matcher);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseAssertion(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    Context const start = context;
    char anchor = peekChar(context, parameters);
    if (anchor == '\\')
    {
        eatChar(context, parameters);
        anchor = peekChar(context, parameters);
        if (anchor == '\0' || std::strchr("AZ`'bB<>", anchor) == nullptr)
            return fail(context, start);
    }
    else if (anchor != '^' && anchor != '$')
    {
        return XCODE_FAILURE;
    }
    eatChar(context, parameters);
    matcher = MatcherPtr(new RE_AnchorMatcher(anchor));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseQuantifier(Context& context, Parameters& parameters, unsigned firstCapture, MatcherPtr& matcher)
{
    unsigned min, max;
    if (parseQuantifierPrefix(context, parameters, min, max).isErr())
        return XCODE_FAILURE;
    bool const greedy = parseConstChar(context, parameters, '?').isErr();
    bool const possessive = parseConstChar(context, parameters, '+').isSuccess();
    MatcherPtr closure(new RE_ClosureMatcher(std::move(matcher), min, max, greedy, firstCapture, context.captureCount));
    matcher = possessive ? MatcherPtr(new RE_AtomicGroupMatcher(std::move(closure))) : std::move(closure);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseQuantifierPrefix(Context& context, Parameters& parameters, unsigned& min, unsigned& max)
{
    Context const start = context;
    char const first = peekChar(context, parameters);
    if (first == '*' || first == '+' || first == '?')
    {
        eatChar(context, parameters);
        min = first == '+' ? 1 : 0;
        max = first == '?' ? 1 : RE_ClosureMatcher::UNLIMITED;
        return XCODE_SUCCESS;
    }
    if (parseConstChar(context, parameters, '{').isErr())
        return XCODE_FAILURE;
    parseWhitespaces(context, parameters);
    if (parseNumber(context, parameters, min).isErr())
        return fail(context, start);
    parseWhitespaces(context, parameters);
    max = min;
    if (parseConstChar(context, parameters, ','))
    {
        parseWhitespaces(context, parameters);
        if (parseNumber(context, parameters, max).isErr())
            max = RE_ClosureMatcher::UNLIMITED;
        parseWhitespaces(context, parameters);
    }
    return parseConstChar(context, parameters, '}') ? XCode(XCODE_SUCCESS) : fail(context, start);
}

XCode RE_Parser::parseNumber(Context& context, Parameters& parameters, unsigned& number)
{
    if (parseConstChar(context, parameters, '0'))
    {
        number = 0;
        return XCODE_SUCCESS;
    }
    if (parseNonZeroDigit(context, parameters, number).isErr())
        return XCODE_FAILURE;
    unsigned digit;
    while (parseDecimalDigit(context, parameters, digit))
        number = number * 10 + digit;
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseCaptureGroup(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    Context const start = context;
    MatcherPtr body;
    if (parseConstChar(context, parameters, '(').isErr())
        return XCODE_FAILURE;
    unsigned const index = context.captureCount++;
    if (parseDisjunction(context, parameters, body).isErr() || parseConstChar(context, parameters, ')').isErr())
        return fail(context, start);
    closeGroup(parameters, index, String::stringOf(index));
    matcher = MatcherPtr(new RE_CaptureGroupMatcher(std::move(body), index));
    return XCODE_SUCCESS;
}

void RE_Parser::closeGroup(Parameters& parameters, unsigned index, String const& name)
{
    // by doubling, since there may be many
    if (index >= parameters.captureNames.capacity())
        parameters.captureNames.enlarge(2 * index);
    if (index >= parameters.captureClosed.capacity())
        parameters.captureClosed.enlarge(2 * index);
    parameters.captureNames[index] = name;
    parameters.captureClosed[index] = true;
}

XCode RE_Parser::findClosedGroup(Parameters const& parameters, String const& name, unsigned& index)
{
    index = static_cast<unsigned>(ZK::Detail::findCaptureName(parameters.captureNames, name));
    return testExpression(parameters.captureClosed[index]);
}

XCode RE_Parser::parseExtension(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    Context const start = context;
    if (parseConstChar(context, parameters, '#'))
    {
        while (parseCommentCharacter(context, parameters))
            continue;
        matcher = MatcherPtr(new RE_NullMatcher());
        return XCODE_SUCCESS;
    }
    if (parseConstChar(context, parameters, ':'))
        return parseDisjunction(context, parameters, matcher) ? XCode(XCODE_SUCCESS) : fail(context, start);
    if (parseLookaround(context, parameters, matcher) || parseAtomicGroup(context, parameters, matcher) ||
        parseNamedGroup(context, parameters, matcher))
        return XCODE_SUCCESS;
    String name;
    if (parseConstString(context, parameters, "P=") && parseIdentifier(context, parameters, name))
    {
        unsigned index;
        if (findClosedGroup(parameters, name, index).isErr())
            return fail(context, start);
        matcher = MatcherPtr(new RE_RefCaptureMatcher(index));
        return XCODE_SUCCESS;
    }
    context = start;
    return parseFlagModifier(context, parameters, matcher);
}

XCode RE_Parser::parseCommentCharacter(Context& context, Parameters& parameters)
{
    char character;
    return peekChar(context, parameters) != ')' ? parseChar(context, parameters, character) : XCode(XCODE_FAILURE);
}

XCode RE_Parser::parseAtomicGroup(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    Context const start = context;
    MatcherPtr body;
    if (parseConstChar(context, parameters, '>').isErr() || parseDisjunction(context, parameters, body).isErr())
        return fail(context, start);
    matcher = MatcherPtr(new RE_AtomicGroupMatcher(std::move(body)));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseNamedGroup(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    Context const start = context;
    unsigned const index = context.captureCount++;
    char end = '>';
    if (parseConstChar(context, parameters, '\''))
        end = '\'';
    else if (parseConstChar(context, parameters, '<').isErr() && parseConstString(context, parameters, "P<").isErr())
        return fail(context, start);
    String name;
    MatcherPtr body;
    if (parseIdentifier(context, parameters, end, name).isErr() ||
        parseDisjunction(context, parameters, body).isErr() || peekChar(context, parameters) != ')')
        return fail(context, start);
    closeGroup(parameters, index, name);
    matcher = MatcherPtr(new RE_CaptureGroupMatcher(std::move(body), index));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseFlagModifier(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    Context const start = context;
    unsigned enable = 0;
    unsigned disable = 0;
    parseFlagModifierCharacters(context, parameters, enable);
    bool const takesAway = parseConstChar(context, parameters, '-').isSuccess();
    if (takesAway)
        parseFlagModifierCharacters(context, parameters, disable);
    bool const isComplete = takesAway ? disable != 0 : enable != 0;
    MatcherPtr body;
    if (!isComplete || parseConstChar(context, parameters, ':').isErr() ||
        parseDisjunction(context, parameters, body).isErr())
        return fail(context, start);
    matcher = MatcherPtr(new RE_FlagModifierMatcher(std::move(body), enable, disable));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseFlagModifierCharacters(Context& context, Parameters& parameters, unsigned& flags)
{
    if (parseConstChar(context, parameters, 'i').isErr())
        return XCODE_FAILURE;
    while (parseConstChar(context, parameters, 'i'))
        continue;
    flags |= RE_FLAG_IGNORE_CASE;
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseLookaround(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    Context const start = context;
    bool const behind = parseConstChar(context, parameters, '<').isSuccess();
    bool const positive = parseConstChar(context, parameters, '=').isSuccess();
    if (!positive && parseConstChar(context, parameters, '!').isErr())
        return fail(context, start);
    MatcherPtr body;
    context.reversed ^= behind;
    if (parseDisjunction(context, parameters, body).isErr())
        return fail(context, start);
    context.reversed ^= behind;
    MatcherPtr look(positive ? static_cast<RE_Matcher*>(new RE_PositiveLookaheadMatcher(std::move(body)))
                             : new RE_NegativeLookaheadMatcher(std::move(body)));
    matcher = behind ? MatcherPtr(new RE_FlagModifierMatcher(std::move(look), RE_FLAG_BACKWARD, 0)) : std::move(look);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseCondition(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    Context const start = context;
    MatcherPtr condition, yes, no;
    if (parseConstChar(context, parameters, '(').isErr() || parseConditionIf(context, parameters, condition).isErr() ||
        parseConstChar(context, parameters, ')').isErr() || parseDisjunction(context, parameters, yes).isErr())
        return fail(context, start);
    if (parseConstChar(context, parameters, '|') && parseDisjunction(context, parameters, no).isErr())
        return fail(context, start);
    matcher = MatcherPtr(new RE_ConditionMatcher(std::move(condition), std::move(yes), std::move(no)));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseConditionIf(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    Context const start = context;
    if (parseConstChar(context, parameters, '?'))
        return parseLookaround(context, parameters, matcher) ? XCode(XCODE_SUCCESS) : fail(context, start);
    unsigned index;
    String name;
    if (parseNonZeroDigit(context, parameters, index).isErr() &&
        (parseIdentifier(context, parameters, name).isErr() || findClosedGroup(parameters, name, index).isErr()))
        return fail(context, start);
    matcher = MatcherPtr(new RE_ExistenceCaptureMatcher(index));
    return XCODE_SUCCESS;
}
