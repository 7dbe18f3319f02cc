#include "zekovar/regex/parser.h"

#include <cstring>

// Character classes, and the names in them.

namespace
{

struct Range
{
    unsigned char from;
    unsigned char to;
};

struct ClassName
{
    char const* name;
    unsigned count;
    Range ranges[4];
};

// The first name that the text begins with counts; a one-letter form is reached because no name in front of it does.
constexpr ClassName CLASS_NAMES[] = {
    {"alnum", 3, {{'0', '9'}, {'A', 'Z'}, {'a', 'z'}}},
    {"alpha", 2, {{'A', 'Z'}, {'a', 'z'}}},
    {"blank", 2, {{9, 9}, {32, 32}}},
    {"cntrl", 1, {{0, 31}}},
    {"digit", 1, {{'0', '9'}}},
    {"d", 1, {{'0', '9'}}},
    {"graph", 1, {{33, 126}}},
    {"lower", 1, {{'a', 'z'}}},
    {"l", 1, {{'a', 'z'}}},
    {"print", 1, {{32, 126}}},
    {"punct", 4, {{33, 47}, {58, 64}, {91, 96}, {123, 126}}},
    {"space", 2, {{9, 13}, {32, 32}}},
    {"s", 2, {{9, 13}, {32, 32}}},
    {"upper", 1, {{'A', 'Z'}}},
    {"u", 1, {{'A', 'Z'}}},
    {"word", 4, {{'0', '9'}, {'A', 'Z'}, {'_', '_'}, {'a', 'z'}}},
    {"w", 4, {{'0', '9'}, {'A', 'Z'}, {'_', '_'}, {'a', 'z'}}},
    {"xdigit", 3, {{'0', '9'}, {'A', 'F'}, {'a', 'f'}}},
};

struct CharacterName
{
    char const* name;
    char character;
};

// The first name that the text begins with counts, so "hyphen-minus" and "circumflex-accent" are never reached.
constexpr CharacterName CHARACTER_NAMES[] = {{"SOH", 1},
                                             {"STX", 2},
                                             {"ETX", 3},
                                             {"EOT", 4},
                                             {"ENQ", 5},
                                             {"ACK", 6},
                                             {"BEL", 7},
                                             {"alert", 7},
                                             {"BS", 8},
                                             {"backspace", 8},
                                             {"HT", 9},
                                             {"tab", 9},
                                             {"LF", 10},
                                             {"newline", 10},
                                             {"VT", 11},
                                             {"vertical-tab", 11},
                                             {"FF", 12},
                                             {"form-feed", 12},
                                             {"CR", 13},
                                             {"carriage-return", 13},
                                             {"SO", 14},
                                             {"SI", 15},
                                             {"DLE", 16},
                                             {"DC1", 17},
                                             {"DC2", 18},
                                             {"DC3", 19},
                                             {"DC4", 20},
                                             {"NAK", 21},
                                             {"SYN", 22},
                                             {"ETB", 23},
                                             {"CAN", 24},
                                             {"EM", 25},
                                             {"SUB", 26},
                                             {"ESC", 27},
                                             {"IS4", 28},
                                             {"FS", 28},
                                             {"IS3", 29},
                                             {"GS", 29},
                                             {"IS2", 30},
                                             {"RS", 30},
                                             {"IS1", 31},
                                             {"US", 31},
                                             {"space", 32},
                                             {"exclamation-mark", 33},
                                             {"quotation-mark", 34},
                                             {"number-sign", 35},
                                             {"dollar-sign", 36},
                                             {"percent-sign", 37},
                                             {"ampersand", 38},
                                             {"apostrophe", 39},
                                             {"left-parenthesis", 40},
                                             {"right-parenthesis", 41},
                                             {"asterisk", 42},
                                             {"plus-sign", 43},
                                             {"comma", 44},
                                             {"hyphen", 45},
                                             {"hyphen-minus", 45},
                                             {"period", 46},
                                             {"full-stop", 46},
                                             {"slash", 47},
                                             {"solidus", 47},
                                             {"zero", 48},
                                             {"one", 49},
                                             {"two", 50},
                                             {"three", 51},
                                             {"four", 52},
                                             {"five", 53},
                                             {"six", 54},
                                             {"seven", 55},
                                             {"eight", 56},
                                             {"nine", 57},
                                             {"colon", 58},
                                             {"semicolon", 59},
                                             {"less-than-sign", 60},
                                             {"equals-sign", 61},
                                             {"greater-than-sign", 62},
                                             {"question-mark", 63},
                                             {"commercial-at", 64},
                                             {"left-square-bracket", 91},
                                             {"backslash", 92},
                                             {"reverse-solidus", 92},
                                             {"right-square-bracket", 93},
                                             {"circumflex", 94},
                                             {"circumflex-accent", 94},
                                             {"underscore", 95},
                                             {"low-line", 95},
                                             {"grave-accent", 96},
                                             {"left-brace", 123},
                                             {"left-curly-bracket", 123},
                                             {"vertical-line", 124},
                                             {"right-brace", 125},
                                             {"right-curly-bracket", 125},
                                             {"tilde", 126},
                                             {"DEL", 127}};

void allowClass(ClassName const& entry, RE_AcceptanceSet& set)
{
    for (unsigned i = 0; i < entry.count; i++)
        set.allowCharRange(entry.ranges[i].from, entry.ranges[i].to);
}
}

XCode RE_Parser::parseCharacterClass(Context& context, Parameters& parameters, RE_AcceptanceSet& set)
{
    Context const start = context;
    if (parseConstChar(context, parameters, '[').isErr())
        return XCODE_FAILURE;
    bool const inverted = parseConstChar(context, parameters, '^').isSuccess();
    RE_AcceptanceSet ranges;
    parseClassRanges(context, parameters, ranges);
    if (parseConstChar(context, parameters, ']').isErr())
        return fail(context, start);
    if (inverted)
        ranges.invertChars();
    set = ranges;
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseClassRanges(Context& context, Parameters& parameters, RE_AcceptanceSet& set)
{
    if (parseNonEmptyClassRanges(context, parameters, true, set).isErr())
        set.denyAllChars();
    return XCODE_SUCCESS;
}

// A dash is literal in front, behind a range, and as the last character of the class.
XCode RE_Parser::parseNonEmptyClassRanges(Context& context, Parameters& parameters, bool allowDash,
                                          RE_AcceptanceSet& set)
{
    bool isEmpty = true;
    for (;;)
    {
        if (parseClassRange(context, parameters, allowDash, set))
        {
            allowDash = true;
        }
        else if (parseClassAtom(context, parameters, allowDash, set))
        {
            allowDash = false;
        }
        else
        {
            // only a dash that wasn't allowed is left to be taken
            bool const isLast = parseClassAtom(context, parameters, true, set).isSuccess();
            return testExpression(!isEmpty || isLast);
        }
        isEmpty = false;
    }
}

XCode RE_Parser::parseClassRange(Context& context, Parameters& parameters, bool allowDash, RE_AcceptanceSet& set)
{
    Context const start = context;
    RE_AcceptanceSet from, to;
    if (parseClassAtom(context, parameters, allowDash, from).isErr() ||
        parseConstChar(context, parameters, '-').isErr() || parseClassAtom(context, parameters, true, to).isErr() ||
        from.getCharCount() != 1 || to.getCharCount() != 1 || from.getAllowed(0) > to.getAllowed(0))
        return fail(context, start);
    set.allowCharRange(from.getAllowed(0), to.getAllowed(0));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseClassAtom(Context& context, Parameters& parameters, bool allowDash, RE_AcceptanceSet& set)
{
    Context const start = context;
    if (parseConstChar(context, parameters, '\\'))
        return parseClassEscape(context, parameters, set) ? XCode(XCODE_SUCCESS) : fail(context, start);
    if (peekChar(context, parameters) == '[')
        return parseClassBracket(context, parameters, set);
    char character;
    if (parseClassCharacter(context, parameters, allowDash, character).isErr())
        return XCODE_FAILURE;
    set.allowChar(static_cast<unsigned char>(character));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseClassBracket(Context& context, Parameters& parameters, RE_AcceptanceSet& set)
{
    Context const start = context;
    RE_AcceptanceSet members;
    if (parseConstString(context, parameters, "[:"))
    {
        if (parseCharacterClassName(context, parameters, members).isErr() ||
            parseConstString(context, parameters, ":]").isErr())
            return fail(context, start);
        set.allowChars(members);
        return XCODE_SUCCESS;
    }
    bool const isDotted = parseConstString(context, parameters, "[.").isSuccess();
    char character;
    if ((!isDotted && parseConstString(context, parameters, "[=").isErr()) ||
        parseCharacterName(context, parameters, character).isErr() ||
        parseConstString(context, parameters, isDotted ? ".]" : "=]").isErr())
        return fail(context, start);
    set.allowChar(static_cast<unsigned char>(character));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseClassEscape(Context& context, Parameters& parameters, RE_AcceptanceSet& set)
{
    if (parseCharacterClassEscape(context, parameters, set))
        return XCODE_SUCCESS;
    char character = '\b';
    if (parseConstChar(context, parameters, 'b').isErr() &&
        parseCharacterEscape(context, parameters, character).isErr())
        return XCODE_FAILURE;
    set.allowChar(static_cast<unsigned char>(character));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseCharacterClassEscape(Context& context, Parameters& parameters, RE_AcceptanceSet& set)
{
    char const letter = peekChar(context, parameters);
    char const lower[] = {static_cast<char>(letter | 0x20), '\0'};
    if (letter == '\0' || std::strchr("dDlLuUsSwW", letter) == nullptr)
        return XCODE_FAILURE;
    eatChar(context, parameters);
    RE_AcceptanceSet members;
    for (ClassName const& entry : CLASS_NAMES)
    {
        if (std::strcmp(entry.name, lower) == 0)
            allowClass(entry, members);
    }
    if (letter != lower[0])
        members.invertChars();
    set.allowChars(members);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseClassCharacter(Context& context, Parameters& parameters, bool allowDash, char& character)
{
    character = peekChar(context, parameters);
    if (character == '\0' || std::strchr("[\\]", character) != nullptr || (character == '-' && !allowDash))
        return XCODE_FAILURE;
    eatChar(context, parameters);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseCharacterClassName(Context& context, Parameters& parameters, RE_AcceptanceSet& set)
{
    for (ClassName const& entry : CLASS_NAMES)
    {
        if (parseConstString(context, parameters, entry.name))
        {
            allowClass(entry, set);
            return XCODE_SUCCESS;
        }
    }
    return XCODE_FAILURE;
}

XCode RE_Parser::parseCharacterName(Context& context, Parameters& parameters, char& character)
{
    for (CharacterName const& entry : CHARACTER_NAMES)
    {
        if (parseConstString(context, parameters, entry.name))
        {
            character = entry.character;
            return XCODE_SUCCESS;
        }
    }
    return parseChar(context, parameters, character);
}
