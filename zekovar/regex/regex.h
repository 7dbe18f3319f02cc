#pragma once

#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/regex/formatter.h"
#include "zekovar/regex/match_context.h"
#include "zekovar/regex/matcher.h"
#include "zekovar/regex/referable.h"

/// Regular expressions on bytes: the face of the folder.
///
/// The dialect is ECMAScript's with much of Perl's (look-behind of any length, atomic groups, possessive quantifiers,
/// named groups) and POSIX bracket classes; docs/regex.md lists it. `flags` are those of `RE_MatchFlag`.
///
///     ZKPtr<ZKRegEx::Matcher> matcher = ZKRegEx::CREATE_MATCHER("(\\w+)=(\\w+)", line, RE_FLAG_IGNORE_CASE);
///     String value;
///     while (matcher && matcher->matchNext().isSuccess())
///         if (matcher->getCapture(2, value).isSuccess()) use(value);
///
/// Nothing throws or logs. Objects of this family belong to one thread at a time, as do all pointers to them. A match
/// has no limit of time, and nested repetition can take exponentially long; it takes native stack in proportion to the
/// bytes that repeated groups and alternatives match.
class ZKRegEx
{
public:
    class Matcher;

    /// A compiled expression. Copies share the tree.
    class Pattern : public RE_Referable
    {
    public:
        /// `captureCount` includes group 0, which `root` sets to the whole match.
        Pattern(ZKPtr<RE_Matcher> root, String const& expression, unsigned captureCount, ZKVector<String> captureNames);

        /// A matcher over a copy of `subject`, which keeps the pattern alive. Never null.
        ZKPtr<Matcher> createMatcher(String const& subject, unsigned flags) const;

        /// Success if the pattern matches anywhere in `subject`.
        XCode match(String const& subject, unsigned flags) const;

        String const& getExpression() const { return m_expression; }

        unsigned getCaptureCount() const { return m_captureCount; }

    private:
        friend class ZKRegEx;

        ZKPtr<RE_Matcher> m_root;
        String m_expression;
        unsigned m_captureCount;
        ZKVector<String> m_captureNames; // by index; a group without a name has its number in decimal
    };

    /// Walks through the matches of a pattern in one subject.
    class Matcher : public RE_Referable
    {
    public:
        Matcher(ZKPtr<Pattern> pattern, String const& subject, unsigned flags);

        /// Finds the first match.
        XCode match();

        /// Finds the next match from the end of the last one on, or from one byte further if the last search ended
        /// where it began. So the walk never stands still, but an empty match further on than its search began, one of
        /// "$" for instance, is found twice. After a failure the search begins afresh.
        XCode matchNext();

        /// The offsets of a group of the last match, -1 if it is unset, which fails. Group 0 is the whole match; with
        /// `RE_FLAG_PARTIAL` it is unset if the subject ended first.
        XCode getCapture(unsigned index, int& start, int& end) const;

        /// The text of a group of the last match; `text` is left alone on failure.
        XCode getCapture(unsigned index, String& text) const;

        /// As above for the first group of this name. A group without a name answers to its number.
        XCode getCapture(String const& name, int& start, int& end) const;
        XCode getCapture(String const& name, String& text) const;

        /// The result of the last search; success before the first one.
        XCode const& getResult() const { return m_result; }

        /// How narrow the pattern was at each byte of the subject up to the end of the last match: 255 for a literal,
        /// 256 minus its size for a set (0 for the set of all bytes), 1 for any byte and where nothing was matched.
        /// Empty after a failure.
        String const& getWeights() const { return m_weights; }

    private:
        friend class ZKRegEx;

        void acceptMatch(RE_MatchContext& context);
        void rejectMatch(RE_MatchContext& context);

        ZKPtr<Pattern> m_pattern;
        String m_subject;
        unsigned m_flags;
        int m_position = 0;
        XCode m_result;
        String m_weights;
        ZKVector<RE_Capture> m_captures;
        int m_ones = 0; // bytes at the front of the weights' buffer that are known to be 1
    };

    /// A compiled replacement: text with references to what was matched.
    ///
    /// Behind "$" or "\": "&" or "0" the match, "1" to "9" a group, "k<name>" a named one, "`" and "'" the subject in
    /// front of and behind the match, "{name}" a variable, or a character escape.
    class Formatter : public RE_Referable
    {
    public:
        Formatter(ZKPtr<RE_Formatter> root, String const& format);

        /// Sets `out` to the text for the last match of `matcher` and returns it. Without a matcher it is empty.
        String& format(ZKPtr<Matcher> matcher, RE_ResolveCallback const& resolver, String& out) const;

        /// As above; variables are empty.
        String& format(ZKPtr<Matcher> matcher, String& out) const;

        String const& getFormat() const { return m_format; }

    private:
        ZKPtr<RE_Formatter> m_root;
        String m_format;
    };

    /// Null on a syntax error, and for groups nested deeper than `RE_Parser::MAX_DEPTH`.
    static ZKPtr<Pattern> COMPILE_EXPRESSION(String const& expression);

    /// Null if the format doesn't begin with text or a valid reference. What follows the first error is ignored.
    static ZKPtr<Formatter> COMPILE_FORMATTER(String const& format);

    /// The format that gives the whole subject with the match replaced.
    static ZKPtr<Formatter> COMPILE_SUBSTITUTION(String const& replacement);

    /// Compiles and creates a matcher; null on a syntax error.
    static ZKPtr<Matcher> CREATE_MATCHER(String const& expression, String const& subject, unsigned flags);

    /// Compiles and matches; a failure also on a syntax error.
    static XCode MATCHES(String const& expression, String const& subject, unsigned flags);
};
