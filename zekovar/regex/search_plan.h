#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/regex/acceptance_set.h"

class RE_ClosureMatcher;
class RE_MatchContext;
class RE_Matcher;
struct RE_MatchParameters;

/// What a search forward may pass over: made once for a pattern, from its tree, which must outlive the plan.
///
/// - An anchor in front: only the start of the subject or of its lines is tried.
/// - A literal in front, or else the set of bytes that a match may begin with: other places are skipped.
/// - A delimiter behind a leading repetition, as in "\w+=": it is looked for first, and from there the start to the
///   left.
/// - An unlimited repetition in front: after a failure the places inside it aren't tried again.
///
/// Not for `RE_FLAG_BACKWARD` and `RE_FLAG_PARTIAL`.
class RE_SearchPlan
{
public:
    explicit RE_SearchPlan(RE_Matcher const& pattern);

    /// The first place from `from` on where the pattern may match, -1 if there is none.
    int findStart(int from, RE_MatchContext const& context, RE_MatchParameters const& parameters) const;

    /// The place from which to look on after the pattern has failed at the context's position.
    int nextStart(RE_MatchContext const& context, RE_MatchParameters const& parameters) const;

private:
    void takeLead(RE_Matcher const& pattern);
    void takeDelimiter(RE_ClosureMatcher const& run, RE_Matcher const* next);
    int findLine(int from, RE_MatchContext const& context, RE_MatchParameters const& parameters) const;
    int findDelimitedRun(int from, RE_MatchParameters const& parameters) const;
    int findFirstByte(int from, RE_MatchContext const& context, RE_MatchParameters const& parameters) const;
    bool canStartAt(int position, RE_MatchContext const& context, RE_MatchParameters const& parameters) const;

    enum class Place : unsigned char
    {
        ANYWHERE,
        LINE,
        SUBJECT
    };

    RE_AcceptanceSet m_firstBytes; // with which a match may begin
    bool m_needsByte;              // an empty match is impossible
    int m_onlyByte = -1;           // the first byte, if there is only one
    RE_AcceptanceSet m_firstBytesIgnoringCase;
    Place m_place = Place::ANYWHERE;
    String m_prefix;                                   // with which each match begins unless case is ignored
    RE_ClosureMatcher const* m_leadingRun = nullptr;   // that begins the pattern and takes all it can
    RE_ClosureMatcher const* m_delimitedRun = nullptr; // that begins the pattern, in front of the delimiter
    RE_AcceptanceSet m_members;                        // of the delimited run
    unsigned char m_delimiter = 0;                     // isn't a member
};
