#include "zekovar/regex/search_plan.h"

#include "zekovar/regex/chain_matcher.h"
#include "zekovar/regex/closure_matcher.h"
#include "zekovar/regex/group_matcher.h"
#include "zekovar/regex/leaf_step.h"

#include <algorithm>
#include <cstring>

using Kind = RE_Matcher::Kind;

namespace
{

/// Adds the bytes that a node may consume first, or more. Returns whether it may match without consuming any.
bool addFirstBytes(RE_Matcher const& node, RE_AcceptanceSet& bytes);

bool addFirstBytesOfSequence(RE_Matcher const* node, RE_AcceptanceSet& bytes)
{
    for (; node->kind() == Kind::SEQUENCE; node = &static_cast<RE_SequenceMatcher const*>(node)->second())
    {
        if (!addFirstBytes(static_cast<RE_SequenceMatcher const*>(node)->first(), bytes))
            return false;
    }
    return addFirstBytes(*node, bytes);
}

bool addFirstBytesOfDisjunction(RE_Matcher const* node, RE_AcceptanceSet& bytes)
{
    bool mayBeEmpty = false;
    for (; node->kind() == Kind::DISJUNCTION; node = &static_cast<RE_DisjunctionMatcher const*>(node)->right())
        mayBeEmpty |= addFirstBytes(static_cast<RE_DisjunctionMatcher const*>(node)->left(), bytes);
    return addFirstBytes(*node, bytes) || mayBeEmpty;
}

bool addFirstBytesOfModified(RE_FlagModifierMatcher const& node, RE_AcceptanceSet& bytes)
{
    RE_AcceptanceSet body;
    bool const mayBeEmpty = addFirstBytes(node.body(), body);
    if ((node.enabled() & RE_FLAG_IGNORE_CASE) != 0)
        body.allowOtherCases();
    bytes.allowChars(body);
    if ((node.enabled() & RE_FLAG_BACKWARD) == 0 || node.body().kind() == Kind::LOOKAROUND)
        return mayBeEmpty;
    bytes.allowAllChars(); // what stands behind bytes that were read backward may be anything
    return true;
}

bool addFirstBytes(RE_Matcher const& node, RE_AcceptanceSet& bytes)
{
    switch (node.kind())
    {
    case Kind::NOTHING:
    case Kind::EXISTENCE:
    case Kind::ANCHOR:
    case Kind::LOOKAROUND:
        return true;
    case Kind::LITERAL:
    {
        String const& literal = static_cast<RE_CharMatcher const&>(node).literal();
        if (literal.isEmpty())
            return true;
        bytes.allowChar(static_cast<unsigned char>(literal[0]));
        return false;
    }
    case Kind::SET:
        bytes.allowChars(static_cast<RE_CharSetMatcher const&>(node).set());
        return false;
    case Kind::ANY:
        bytes.allowAllChars();
        return false;
    case Kind::SEQUENCE:
        return addFirstBytesOfSequence(&node, bytes);
    case Kind::DISJUNCTION:
        return addFirstBytesOfDisjunction(&node, bytes);
    case Kind::CLOSURE:
    {
        auto const& closure = static_cast<RE_ClosureMatcher const&>(node);
        bool const mayBeEmpty = addFirstBytes(closure.body(), bytes);
        return mayBeEmpty || closure.min() == 0;
    }
    case Kind::GROUP:
        return addFirstBytes(static_cast<RE_CaptureGroupMatcher const&>(node).body(), bytes);
    case Kind::ATOMIC:
        return addFirstBytes(static_cast<RE_AtomicGroupMatcher const&>(node).body(), bytes);
    case Kind::FLAGS:
        return addFirstBytesOfModified(static_cast<RE_FlagModifierMatcher const&>(node), bytes);
    default: // a back-reference may begin with any byte; so may what isn't known
        bytes.allowAllChars();
        return true;
    }
}

/// The node that each match goes through first, with the flags of the whole pattern.
struct Lead
{
    RE_Matcher const* node;
    RE_Matcher const* next = nullptr; // the literal or set behind it, if there is one
    bool isCaptured = false;          // by a group that can be referred to
    bool isAtomic = false;
};

Lead leadOf(RE_Matcher const& pattern)
{
    Lead lead{&pattern};
    for (;;)
    {
        switch (lead.node->kind())
        {
        case Kind::SEQUENCE:
            lead.next = static_cast<RE_SequenceMatcher const*>(lead.node)->nextLeaf();
            lead.node = &static_cast<RE_SequenceMatcher const*>(lead.node)->first();
            break;
        case Kind::GROUP:
            // nothing can refer to the outermost group, which is around everything
            lead.isCaptured = lead.isCaptured || lead.node != &pattern;
            lead.node = &static_cast<RE_CaptureGroupMatcher const*>(lead.node)->body();
            break;
        case Kind::ATOMIC:
            lead.isAtomic = true;
            lead.node = &static_cast<RE_AtomicGroupMatcher const*>(lead.node)->body();
            break;
        default:
            return lead;
        }
    }
}

/// The first place of a byte from `from` on, -1 if there is none.
int findByte(int byte, int from, RE_MatchParameters const& parameters)
{
    void const* const found =
        std::memchr(parameters.bytes + from, byte, static_cast<std::size_t>(parameters.length - from));
    return found != nullptr ? static_cast<int>(static_cast<unsigned char const*>(found) - parameters.bytes) : -1;
}
}

RE_SearchPlan::RE_SearchPlan(RE_Matcher const& pattern)
    : m_needsByte(!addFirstBytes(pattern, m_firstBytes)), m_firstBytesIgnoringCase(m_firstBytes)
{
    m_firstBytesIgnoringCase.allowOtherCases();
    if (m_firstBytes.getCharCount() == 1)
        m_onlyByte = m_firstBytes.getAllowed(0);
    takeLead(pattern);
}

void RE_SearchPlan::takeLead(RE_Matcher const& pattern)
{
    Lead const lead = leadOf(pattern);
    if (lead.node->kind() == Kind::LITERAL)
    {
        m_prefix = static_cast<RE_CharMatcher const*>(lead.node)->literal();
    }
    else if (lead.node->kind() == Kind::ANCHOR)
    {
        char const anchor = static_cast<RE_AnchorMatcher const*>(lead.node)->anchor();
        if (anchor == '^')
            m_place = Place::LINE;
        else if (anchor == 'A' || anchor == '`')
            m_place = Place::SUBJECT;
    }
    else if (lead.node->kind() == Kind::CLOSURE && static_cast<RE_ClosureMatcher const*>(lead.node)->isRun())
    {
        auto const& run = static_cast<RE_ClosureMatcher const&>(*lead.node);
        // a lazy run that can't be re-entered stops at another place for each start
        bool const reachesTheSame = run.isGreedy() || !lead.isAtomic;
        bool const isForgotten = !lead.isCaptured || !pattern.readsCaptures();
        if (run.max() == RE_ClosureMatcher::UNLIMITED && reachesTheSame && isForgotten)
            m_leadingRun = &run;
        takeDelimiter(run, lead.next);
    }
}

void RE_SearchPlan::takeDelimiter(RE_ClosureMatcher const& run, RE_Matcher const* next)
{
    if (next == nullptr || next->kind() != Kind::LITERAL)
        return;
    addFirstBytes(run.body(), m_members);
    m_delimiter = static_cast<unsigned char>(static_cast<RE_CharMatcher const*>(next)->literal()[0]);
    if (!m_members.isCharAllowed(m_delimiter))
        m_delimitedRun = &run;
}

int RE_SearchPlan::findStart(int from, RE_MatchContext const& context, RE_MatchParameters const& parameters) const
{
    if (from > parameters.length)
        return -1;
    bool const ignoreCase = (context.flags & RE_FLAG_IGNORE_CASE) != 0;
    if (m_place == Place::LINE && (context.flags & RE_FLAG_MULTILINE) != 0)
        return findLine(from, context, parameters);
    if (m_place != Place::ANYWHERE)
        return from == 0 && canStartAt(from, context, parameters) ? from : -1;
    if (m_delimitedRun != nullptr && !ignoreCase)
        return findDelimitedRun(from, parameters);
    if (ignoreCase || m_prefix.length() < 2)
        return findFirstByte(from, context, parameters);
    auto const* const found = static_cast<unsigned char const*>(
        memmem(parameters.bytes + from, static_cast<std::size_t>(parameters.length - from), m_prefix.c_str(),
               static_cast<std::size_t>(m_prefix.length())));
    return found != nullptr ? static_cast<int>(found - parameters.bytes) : -1;
}

// The delimiter isn't a member of the run, so the run ends where the delimiter is and begins as far in front of it as
// there are members.
int RE_SearchPlan::findDelimitedRun(int from, RE_MatchParameters const& parameters) const
{
    unsigned char const* const bytes = parameters.bytes;
    int delimiter = from - 1;
    while ((delimiter = findByte(m_delimiter, delimiter + 1, parameters)) >= 0)
    {
        unsigned const reach = static_cast<unsigned>(delimiter - from);
        int const lowest = delimiter - static_cast<int>(std::min(reach, m_delimitedRun->max()));
        int start = delimiter;
        while (start > lowest && m_members.isCharAllowed(bytes[start - 1]))
            start--;
        if (static_cast<unsigned>(delimiter - start) >= m_delimitedRun->min())
            return start;
    }
    return -1;
}

// A run that begins the pattern has tried what follows at each place that it reached. A start further on in the run
// reaches no others, so all of them fail as well, and so does the end of the run, where what follows was tried too.
int RE_SearchPlan::nextStart(RE_MatchContext const& context, RE_MatchParameters const& parameters) const
{
    if (m_leadingRun == nullptr)
        return context.position + 1;
    return context.position + m_leadingRun->runLength(context, parameters, parameters.length - context.position) + 1;
}

bool RE_SearchPlan::canStartAt(int position, RE_MatchContext const& context, RE_MatchParameters const& parameters) const
{
    if (!m_needsByte)
        return true;
    if (position == parameters.length)
        return false;
    bool const ignoreCase = (context.flags & RE_FLAG_IGNORE_CASE) != 0;
    return (ignoreCase ? m_firstBytesIgnoringCase : m_firstBytes).isCharAllowed(parameters.bytes[position]);
}

int RE_SearchPlan::findLine(int from, RE_MatchContext const& context, RE_MatchParameters const& parameters) const
{
    bool isLine = from == 0 || parameters.bytes[from - 1] == '\n';
    while (!isLine || !canStartAt(from, context, parameters))
    {
        int const end = findByte('\n', from, parameters);
        if (end < 0)
            return -1;
        from = end + 1;
        isLine = true;
    }
    return from;
}

int RE_SearchPlan::findFirstByte(int from, RE_MatchContext const& context, RE_MatchParameters const& parameters) const
{
    if (!m_needsByte)
        return from;
    bool const ignoreCase = (context.flags & RE_FLAG_IGNORE_CASE) != 0;
    if (!ignoreCase && m_onlyByte >= 0)
        return findByte(m_onlyByte, from, parameters);
    RE_AcceptanceSet const& bytes = ignoreCase ? m_firstBytesIgnoringCase : m_firstBytes;
    for (int position = from; position < parameters.length; position++)
    {
        if (bytes.isCharAllowed(parameters.bytes[position]))
            return position;
    }
    return -1;
}
