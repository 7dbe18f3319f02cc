#pragma once

#include "zekovar/regex/acceptance_set.h"
#include "zekovar/regex/matcher.h"

// The nodes that match in one way only. Those that consume bytes leave a weight at each of them: 255 for a literal and
// a back-reference, 256 minus the size for a set, in 8 bits, and 1 for any byte. With `RE_FLAG_PARTIAL` each succeeds
// at once, without the rest of the pattern, when it runs out of subject.

/// Matches nothing, everywhere.
class RE_NullMatcher final : public RE_Matcher
{
public:
    RE_NullMatcher() : RE_Matcher(Kind::NOTHING, false) {}

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;
};

/// Base of the nodes that match a given text.
class RE_StringMatcher : public RE_Matcher
{
public:
    /// Matches the bytes of `text` from `start` to before `end`.
    virtual XCode matchString(String const& text, int start, int end, RE_MatchContext& context,
                              RE_MatchParameters& parameters, RE_Continuation const& next) const;

protected:
    using RE_Matcher::RE_Matcher;
};

/// Matches a literal, which may be empty and may hold zero bytes.
class RE_CharMatcher final : public RE_StringMatcher
{
public:
    explicit RE_CharMatcher(String const& literal) : RE_StringMatcher(Kind::LITERAL, false), m_literal(literal) {}

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

    String const& literal() const { return m_literal; }

private:
    String m_literal;
};

/// Matches again what a group has matched; nothing if the group is unset.
class RE_RefCaptureMatcher final : public RE_StringMatcher
{
public:
    explicit RE_RefCaptureMatcher(unsigned index) : RE_StringMatcher(Kind::REFERENCE, true), m_index(index) {}

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

    unsigned index() const { return m_index; }

private:
    unsigned m_index;
};

/// Holds if a group is set; consumes nothing.
class RE_ExistenceCaptureMatcher final : public RE_StringMatcher
{
public:
    explicit RE_ExistenceCaptureMatcher(unsigned index) : RE_StringMatcher(Kind::EXISTENCE, true), m_index(index) {}

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

    unsigned index() const { return m_index; }

private:
    unsigned m_index;
};

/// Matches one byte of a set.
class RE_CharSetMatcher final : public RE_Matcher
{
public:
    explicit RE_CharSetMatcher(RE_AcceptanceSet const& set)
        : RE_Matcher(Kind::SET, false), m_set(set), m_weight(static_cast<unsigned char>(0 - set.getCharCount()))
    {
    }

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

    RE_AcceptanceSet const& set() const { return m_set; }

    unsigned char weight() const { return m_weight; }

private:
    RE_AcceptanceSet m_set;
    unsigned char m_weight;
};

/// Matches one byte, whichever it is but for `RE_FLAG_DOT_NOT_NEWLINE`.
class RE_AnyCharMatcher final : public RE_Matcher
{
public:
    RE_AnyCharMatcher() : RE_Matcher(Kind::ANY, false) {}

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;
};

/// Holds at certain places of the subject; consumes nothing.
///
/// | Kind | Holds |
/// | --- | --- |
/// | `^` | at the start; with `RE_FLAG_MULTILINE` also behind a line feed |
/// | `$` | at the end; with `RE_FLAG_MULTILINE` also in front of a line feed or carriage return |
/// | `A`, `` ` `` | at the start |
/// | `Z`, `'` | at the end |
/// | `b`, `B` | where a word begins or ends; everywhere else |
/// | `<`, `>` | where a word begins; where a word ends |
class RE_AnchorMatcher final : public RE_Matcher
{
public:
    explicit RE_AnchorMatcher(char anchor) : RE_Matcher(Kind::ANCHOR, false), m_anchor(anchor) {}

    XCode match(RE_MatchContext& context, RE_MatchParameters& parameters, RE_Continuation const& next) const override;

    char anchor() const { return m_anchor; }

    bool holds(RE_MatchContext const& context, RE_MatchParameters const& parameters) const;

private:
    char m_anchor;
};
