#include "zekovar/regex/group_matcher.h"
#include "zekovar/regex/leaf_matcher.h"
#include "zekovar/regex/parser.h"

#include <cstring>

// Atoms and escapes of an expression.

namespace
{

bool isOneOf(char character, char const* characters)
{
    return character != '\0' && std::strchr(characters, character) != nullptr;
}

bool isAsciiLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isAsciiDigit(char character)
{
    return character >= '0' && character <= '9';
}

/// `String(character)` would make nothing of a zero byte.
String textOf(char character)
{
    return String(&character, 1, 0, 1);
}
}

XCode RE_Parser::parseAtom(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    Context const start = context;
    String literal;
    char character;
    RE_AcceptanceSet set;
    if (parsePatternString(context, parameters, literal))
    {
        matcher = MatcherPtr(new RE_CharMatcher(literal));
        return XCODE_SUCCESS;
    }
    if (parsePatternCharacter(context, parameters, character))
    {
        matcher = MatcherPtr(new RE_CharMatcher(textOf(character)));
        return XCODE_SUCCESS;
    }
    if (parseConstChar(context, parameters, '.'))
    {
        matcher = MatcherPtr(new RE_AnyCharMatcher());
        return XCODE_SUCCESS;
    }
    if (parseConstChar(context, parameters, '\\'))
        return parseAtomEscape(context, parameters, matcher) ? XCode(XCODE_SUCCESS) : fail(context, start);
    if (parseCharacterClass(context, parameters, set))
    {
        matcher = MatcherPtr(new RE_CharSetMatcher(set));
        return XCODE_SUCCESS;
    }
    if (parseConstString(context, parameters, "(?"))
    {
        bool const isComplete =
            parseExtension(context, parameters, matcher) && parseConstChar(context, parameters, ')');
        return isComplete ? XCode(XCODE_SUCCESS) : fail(context, start);
    }
    return parseCaptureGroup(context, parameters, matcher);
}

XCode RE_Parser::parsePatternString(Context& context, Parameters& parameters, String& literal)
{
    unsigned const start = context.position;
    char character;
    while (parsePatternStringCharacter(context, parameters, character))
        continue;
    if (context.position == start)
        return XCODE_FAILURE;
    literal = String(parameters.text.c_str() + start, static_cast<int>(context.position - start), 0,
                     static_cast<int>(context.position - start));
    return XCODE_SUCCESS;
}

// A character in front of a quantifier is an atom of its own.
XCode RE_Parser::parsePatternStringCharacter(Context& context, Parameters& parameters, char& character)
{
    Context const start = context;
    if (parsePatternCharacter(context, parameters, character).isErr())
        return XCODE_FAILURE;
    return isOneOf(peekChar(context, parameters), "*+?{") ? fail(context, start) : XCode(XCODE_SUCCESS);
}

XCode RE_Parser::parsePatternCharacter(Context& context, Parameters& parameters, char& character)
{
    character = peekChar(context, parameters);
    if (character == '\0' || isOneOf(character, "^$\\.*+?()[]{}|"))
        return XCODE_FAILURE;
    eatChar(context, parameters);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseAtomEscape(Context& context, Parameters& parameters, MatcherPtr& matcher)
{
    String literal;
    RE_AcceptanceSet set;
    unsigned index;
    char character;
    if (parseQuoteEscape(context, parameters, literal))
        matcher = MatcherPtr(new RE_CharMatcher(literal));
    else if (parseCharacterClassEscape(context, parameters, set))
        matcher = MatcherPtr(new RE_CharSetMatcher(set));
    else if (parseDecimalEscape(context, parameters, index) || parseNamedReference(context, parameters, index))
        matcher = MatcherPtr(new RE_RefCaptureMatcher(index));
    else if (parseCharacterEscape(context, parameters, character))
        matcher = MatcherPtr(new RE_CharMatcher(textOf(character)));
    else
        return XCODE_FAILURE;
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseQuoteEscape(Context& context, Parameters& parameters, String& literal)
{
    Context const start = context;
    if (parseConstChar(context, parameters, 'Q').isErr())
        return XCODE_FAILURE;
    parseQuoteCharacters(context, parameters, literal);
    return parseConstString(context, parameters, "\\E") ? XCode(XCODE_SUCCESS) : fail(context, start);
}

XCode RE_Parser::parseQuoteCharacters(Context& context, Parameters& parameters, String& literal)
{
    unsigned const start = context.position;
    auto const isEnd = [&] { return std::strncmp(parameters.text.c_str() + context.position, "\\E", 2) == 0; };
    char character;
    while (!isEnd() && parseChar(context, parameters, character))
        continue;
    literal = parameters.text.substring(static_cast<int>(start), static_cast<int>(context.position));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseDecimalEscape(Context& context, Parameters& parameters, unsigned& index)
{
    Context const start = context;
    if (parseNonZeroDigit(context, parameters, index).isErr())
        return XCODE_FAILURE;
    bool const isClosed = std::as_const(parameters.captureClosed)[index];
    return isClosed ? XCode(XCODE_SUCCESS) : fail(context, start);
}

XCode RE_Parser::parseNamedReference(Context& context, Parameters& parameters, unsigned& index)
{
    Context const start = context;
    char end = '>';
    if (parseConstString(context, parameters, "k'"))
        end = '\'';
    else if (parseConstString(context, parameters, "k<").isErr())
        return XCODE_FAILURE;
    String name;
    if (parseIdentifier(context, parameters, end, name).isErr() || findClosedGroup(parameters, name, index).isErr())
        return fail(context, start);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseCharacterEscape(Context& context, Parameters& parameters, char& character)
{
    if (parseHexEscape(context, parameters, character) || parseOctalEscape(context, parameters, character) ||
        parseControlLetter(context, parameters, character) || parseControlEscape(context, parameters, character))
        return XCODE_SUCCESS;
    return parseIdentityEscape(context, parameters, character);
}

XCode RE_Parser::parseHexEscape(Context& context, Parameters& parameters, char& character)
{
    Context const start = context;
    unsigned high, low;
    if (parseConstChar(context, parameters, 'x').isErr() || parseHexDigit(context, parameters, high).isErr() ||
        parseHexDigit(context, parameters, low).isErr())
        return fail(context, start);
    character = static_cast<char>(high * 16 + low);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseOctalEscape(Context& context, Parameters& parameters, char& character)
{
    if (parseConstChar(context, parameters, '0').isErr())
        return XCODE_FAILURE;
    unsigned value = 0;
    unsigned digit;
    for (int i = 0; i < 3 && parseOctalDigit(context, parameters, digit); i++)
        value = value * 8 + digit;
    character = static_cast<char>(value);
    return XCODE_SUCCESS;
}

// The case of the letter counts: \ca is a capital less than \cA in no other dialect.
XCode RE_Parser::parseControlLetter(Context& context, Parameters& parameters, char& character)
{
    Context const start = context;
    if (parseConstChar(context, parameters, 'c').isErr())
        return XCODE_FAILURE;
    char const letter = peekChar(context, parameters);
    if (!isAsciiLetter(letter))
        return fail(context, start);
    eatChar(context, parameters);
    character = static_cast<char>(letter - 64);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseControlEscape(Context& context, Parameters& parameters, char& character)
{
    switch (peekChar(context, parameters))
    {
    case 'a':
        character = '\a';
        break;
    case 'e':
        character = '\x1B';
        break;
    case 'f':
        character = '\f';
        break;
    case 'n':
        character = '\n';
        break;
    case 'r':
        character = '\r';
        break;
    case 't':
        character = '\t';
        break;
    case 'v':
        character = '\v';
        break;
    default:
        return XCODE_FAILURE;
    }
    eatChar(context, parameters);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseIdentityEscape(Context& context, Parameters& parameters, char& character)
{
    character = peekChar(context, parameters);
    if (character == '\0' || character == '_' || isAsciiLetter(character) || isAsciiDigit(character))
        return XCODE_FAILURE;
    eatChar(context, parameters);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseIdentifier(Context& context, Parameters& parameters, String& name)
{
    unsigned const start = context.position;
    char character = peekChar(context, parameters);
    if (!isAsciiLetter(character) && character != '_')
        return XCODE_FAILURE;
    do
    {
        eatChar(context, parameters);
        character = peekChar(context, parameters);
    } while (isAsciiLetter(character) || isAsciiDigit(character) || character == '_' || character == '-');
    name = parameters.text.substring(static_cast<int>(start), static_cast<int>(context.position));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseIdentifier(Context& context, Parameters& parameters, char end, String& name)
{
    Context const start = context;
    if (parseIdentifier(context, parameters, name).isErr() || parseConstChar(context, parameters, end).isErr())
        return fail(context, start);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseDecimalDigit(Context& context, Parameters& parameters, unsigned& digit)
{
    char const character = peekChar(context, parameters);
    if (!isAsciiDigit(character))
        return XCODE_FAILURE;
    eatChar(context, parameters);
    digit = static_cast<unsigned>(character - '0');
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseNonZeroDigit(Context& context, Parameters& parameters, unsigned& digit)
{
    return peekChar(context, parameters) != '0' ? parseDecimalDigit(context, parameters, digit) : XCode(XCODE_FAILURE);
}

XCode RE_Parser::parseOctalDigit(Context& context, Parameters& parameters, unsigned& digit)
{
    return peekChar(context, parameters) < '8' ? parseDecimalDigit(context, parameters, digit) : XCode(XCODE_FAILURE);
}

XCode RE_Parser::parseHexDigit(Context& context, Parameters& parameters, unsigned& digit)
{
    char const lower = static_cast<char>(peekChar(context, parameters) | 0x20);
    if (lower < 'a' || lower > 'f')
        return parseDecimalDigit(context, parameters, digit);
    eatChar(context, parameters);
    digit = static_cast<unsigned>(lower - 'a' + 10);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseWhitespaces(Context& context, Parameters& parameters)
{
    while (isOneOf(peekChar(context, parameters), "\t\n\v\r "))
        eatChar(context, parameters);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseChar(Context& context, Parameters& parameters, char& character)
{
    if (context.position >= static_cast<unsigned>(parameters.text.length()))
        return XCODE_FAILURE;
    character = parameters.text.c_str()[context.position++];
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseConstChar(Context& context, Parameters& parameters, char character)
{
    if (character == '\0' || peekChar(context, parameters) != character)
        return XCODE_FAILURE;
    eatChar(context, parameters);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseConstString(Context& context, Parameters& parameters, char const* text)
{
    // a zero byte, the one behind the text too, differs from all of `text`
    size_t const length = std::strlen(text);
    if (std::strncmp(parameters.text.c_str() + context.position, text, length) != 0)
        return XCODE_FAILURE;
    context.position += static_cast<unsigned>(length);
    return XCODE_SUCCESS;
}

char RE_Parser::peekChar(Context const& context, Parameters const& parameters)
{
    return parameters.text[static_cast<int>(context.position)];
}

void RE_Parser::eatChar(Context& context, Parameters const& parameters)
{
    if (context.position < static_cast<unsigned>(parameters.text.length()))
        context.position++;
}
