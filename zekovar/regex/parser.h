#pragma once

#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/regex/acceptance_set.h"
#include "zekovar/regex/formatter.h"
#include "zekovar/regex/matcher.h"

/// What a rule puts back when it fails.
struct RE_ParseContext
{
    unsigned position = 0;     ///< read offset in the text
    unsigned captureCount = 0; ///< groups opened so far, group 0 included
    bool reversed = false;     ///< inside a lookbehind, where terms are matched from the last to the first
    unsigned depth = 0;        ///< groups that are open here
};

/// What isn't put back. A branch that failed leaves entries for its groups behind; whatever opens one of these groups
/// later overwrites them.
struct RE_ParseParameters
{
    explicit RE_ParseParameters(String const& pattern) : text(pattern) {}

    String text;
    ZKVector<String> captureNames; ///< by index; a group without a name has its number in decimal
    ZKVector<bool> captureClosed;  ///< by index; set when the closing parenthesis has been read
};

/// Makes trees of matchers and formatters from text, by recursive descent: one function for each rule of the grammar,
/// named as in ECMAScript's. docs/regex.md describes the dialect.
///
/// Each rule starts at the context's position, and either succeeds, moves behind what it has read and sets its result,
/// or fails without a text and leaves the position as it was. A zero byte ends the text for all rules that look at a
/// single character. There is no state but the arguments, so threads may parse at the same time.
class RE_Parser
{
public:
    using Context = RE_ParseContext;
    using Parameters = RE_ParseParameters;
    using MatcherPtr = ZKPtr<RE_Matcher>;
    using FormatterPtr = ZKPtr<RE_Formatter>;

    /// Groups and lookarounds that may stand inside each other; more are a syntax error. Compiling, matching and
    /// freeing take native stack for each of them.
    static constexpr unsigned MAX_DEPTH = 250;

    /// The whole text: an `RE_LeftmostMatcher` around the group 0.
    static XCode parseExpression(Context& context, Parameters& parameters, MatcherPtr& matcher);

    /// Text up to the first thing that isn't valid; fails if that is the first character.
    static XCode parseFormatString(Context& context, Parameters& parameters, FormatterPtr& formatter);

    /// @name Structure
    /// @{
    static XCode parseDisjunction(Context& context, Parameters& parameters, MatcherPtr& matcher);
    static XCode parseSequence(Context& context, Parameters& parameters, MatcherPtr& matcher);
    static XCode parseTerm(Context& context, Parameters& parameters, MatcherPtr& matcher);
    static XCode parseAssertion(Context& context, Parameters& parameters, MatcherPtr& matcher);

    /// Wraps `matcher`, an atom with the groups from `firstCapture` on, if a quantifier follows.
    static XCode parseQuantifier(Context& context, Parameters& parameters, unsigned firstCapture, MatcherPtr& matcher);

    /// `*`, `+`, `?` or numbers in braces. A number above 32 bits wraps.
    static XCode parseQuantifierPrefix(Context& context, Parameters& parameters, unsigned& min, unsigned& max);
    /// @}

    /// @name Atoms
    /// @{
    static XCode parseAtom(Context& context, Parameters& parameters, MatcherPtr& matcher);
    static XCode parseAtomEscape(Context& context, Parameters& parameters, MatcherPtr& matcher);
    static XCode parsePatternString(Context& context, Parameters& parameters, String& literal);
    static XCode parsePatternStringCharacter(Context& context, Parameters& parameters, char& character);
    static XCode parsePatternCharacter(Context& context, Parameters& parameters, char& character);
    static XCode parseQuoteEscape(Context& context, Parameters& parameters, String& literal);
    static XCode parseQuoteCharacters(Context& context, Parameters& parameters, String& literal);

    /// The index of the group that is referred to by one digit, or by name.
    static XCode parseDecimalEscape(Context& context, Parameters& parameters, unsigned& index);
    static XCode parseNamedReference(Context& context, Parameters& parameters, unsigned& index);

    static XCode parseCharacterEscape(Context& context, Parameters& parameters, char& character);
    static XCode parseHexEscape(Context& context, Parameters& parameters, char& character);
    static XCode parseOctalEscape(Context& context, Parameters& parameters, char& character);
    static XCode parseControlLetter(Context& context, Parameters& parameters, char& character);
    static XCode parseControlEscape(Context& context, Parameters& parameters, char& character);
    static XCode parseIdentityEscape(Context& context, Parameters& parameters, char& character);
    /// @}

    /// @name Groups
    /// @{
    static XCode parseCaptureGroup(Context& context, Parameters& parameters, MatcherPtr& matcher);

    /// What follows "(?", without the closing parenthesis.
    static XCode parseExtension(Context& context, Parameters& parameters, MatcherPtr& matcher);
    static XCode parseCommentCharacter(Context& context, Parameters& parameters);
    static XCode parseAtomicGroup(Context& context, Parameters& parameters, MatcherPtr& matcher);
    static XCode parseNamedGroup(Context& context, Parameters& parameters, MatcherPtr& matcher);
    static XCode parseFlagModifier(Context& context, Parameters& parameters, MatcherPtr& matcher);

    /// Adds the flags of one or more letters.
    static XCode parseFlagModifierCharacters(Context& context, Parameters& parameters, unsigned& flags);
    static XCode parseLookaround(Context& context, Parameters& parameters, MatcherPtr& matcher);

    /// "(condition)yes" or "(condition)yes|no". No other rule uses conditions; they serve callers of the parser.
    static XCode parseCondition(Context& context, Parameters& parameters, MatcherPtr& matcher);
    static XCode parseConditionIf(Context& context, Parameters& parameters, MatcherPtr& matcher);
    /// @}

    /// @name Character classes
    /// Sets are added to, but for the set of a whole class.
    /// @{
    static XCode parseCharacterClass(Context& context, Parameters& parameters, RE_AcceptanceSet& set);
    static XCode parseClassRanges(Context& context, Parameters& parameters, RE_AcceptanceSet& set);

    /// In one loop, since a class may be long.
    static XCode parseNonEmptyClassRanges(Context& context, Parameters& parameters, bool allowDash,
                                          RE_AcceptanceSet& set);
    static XCode parseClassRange(Context& context, Parameters& parameters, bool allowDash, RE_AcceptanceSet& set);
    static XCode parseClassAtom(Context& context, Parameters& parameters, bool allowDash, RE_AcceptanceSet& set);
    /// A name in brackets of its own: "[:class:]", "[.character.]", "[=character=]".
    static XCode parseClassBracket(Context& context, Parameters& parameters, RE_AcceptanceSet& set);
    static XCode parseClassEscape(Context& context, Parameters& parameters, RE_AcceptanceSet& set);
    static XCode parseCharacterClassEscape(Context& context, Parameters& parameters, RE_AcceptanceSet& set);
    static XCode parseClassCharacter(Context& context, Parameters& parameters, bool allowDash, char& character);
    static XCode parseCharacterClassName(Context& context, Parameters& parameters, RE_AcceptanceSet& set);
    static XCode parseCharacterName(Context& context, Parameters& parameters, char& character);
    /// @}

    /// @name Formats
    /// @{
    static XCode parseFormatSequence(Context& context, Parameters& parameters, FormatterPtr& formatter);
    static XCode parseFormatAtom(Context& context, Parameters& parameters, FormatterPtr& formatter);
    static XCode parseFormatCharacters(Context& context, Parameters& parameters, String& text);
    static XCode parseFormatEscape(Context& context, Parameters& parameters, FormatterPtr& formatter);

    /// "k<name>" or "{name}".
    static XCode parseFormatName(Context& context, Parameters& parameters, FormatterPtr& formatter);
    /// @}

    /// @name Words and characters
    /// @{
    /// A letter or "_", then letters, digits, "_" and "-".
    static XCode parseIdentifier(Context& context, Parameters& parameters, String& name);

    /// An identifier in front of `end`, with the `end`.
    static XCode parseIdentifier(Context& context, Parameters& parameters, char end, String& name);

    /// "0", or digits that don't begin with it.
    static XCode parseNumber(Context& context, Parameters& parameters, unsigned& number);
    static XCode parseDecimalDigit(Context& context, Parameters& parameters, unsigned& digit);
    static XCode parseNonZeroDigit(Context& context, Parameters& parameters, unsigned& digit);
    static XCode parseOctalDigit(Context& context, Parameters& parameters, unsigned& digit);
    static XCode parseHexDigit(Context& context, Parameters& parameters, unsigned& digit);

    /// Skips tab, line feed, vertical tab, carriage return and space; never fails.
    static XCode parseWhitespaces(Context& context, Parameters& parameters);

    /// Any byte, also a zero; fails only at the end.
    static XCode parseChar(Context& context, Parameters& parameters, char& character);
    static XCode parseConstChar(Context& context, Parameters& parameters, char character);
    static XCode parseConstString(Context& context, Parameters& parameters, char const* text);

    /// The byte at the position without reading it, 0 at the end.
    static char peekChar(Context const& context, Parameters const& parameters);

    /// Moves behind the byte at the position.
    static void eatChar(Context& context, Parameters const& parameters);
    /// @}

private:
    static XCode fail(Context& context, Context const& start);
    static void closeGroup(Parameters& parameters, unsigned index, String const& name);

    // The first group of the name, which must be closed.
    static XCode findClosedGroup(Parameters const& parameters, String const& name, unsigned& index);
};
