#include "zekovar/regex/parser.h"

#include <cstring>

// Replacement formats.

XCode RE_Parser::parseFormatString(Context& context, Parameters& parameters, FormatterPtr& formatter)
{
    return parseFormatSequence(context, parameters, formatter);
}

XCode RE_Parser::parseFormatSequence(Context& context, Parameters& parameters, FormatterPtr& formatter)
{
    ZKVector<FormatterPtr> atoms;
    FormatterPtr atom;
    while (parseFormatAtom(context, parameters, atom))
    {
        if (atoms.size() == atoms.capacity() && atoms.size() > 0)
            atoms.enlarge(2 * atoms.size()); // by doubling, since there may be many
        atoms.add(std::move(atom));
    }
    if (atoms.isEmpty())
        return XCODE_FAILURE;
    unsigned next = atoms.size() - 1;
    formatter = std::move(atoms[next]);
    while (next-- > 0)
        formatter = FormatterPtr(new RE_SequenceFormatter(std::move(atoms[next]), std::move(formatter)));
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseFormatAtom(Context& context, Parameters& parameters, FormatterPtr& formatter)
{
    Context const start = context;
    String text;
    if (parseFormatCharacters(context, parameters, text))
    {
        formatter = FormatterPtr(new RE_StringFormatter(text));
        return XCODE_SUCCESS;
    }
    if (parseConstChar(context, parameters, '\\').isErr() && parseConstChar(context, parameters, '$').isErr())
        return XCODE_FAILURE;
    return parseFormatEscape(context, parameters, formatter) ? XCode(XCODE_SUCCESS) : fail(context, start);
}

XCode RE_Parser::parseFormatCharacters(Context& context, Parameters& parameters, String& text)
{
    char const* const begin = parameters.text.c_str() + context.position;
    int const length = static_cast<int>(std::strcspn(begin, "\\$"));
    if (length == 0)
        return XCODE_FAILURE;
    text = String(begin, length, 0, length);
    context.position += static_cast<unsigned>(length);
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseFormatEscape(Context& context, Parameters& parameters, FormatterPtr& formatter)
{
    unsigned index;
    char character;
    if (parseConstChar(context, parameters, '&') || parseConstChar(context, parameters, '0'))
        formatter = FormatterPtr(new RE_RefCaptureFormatter(0));
    else if (parseConstChar(context, parameters, '`'))
        formatter = FormatterPtr(new RE_RefPrefixFormatter());
    else if (parseConstChar(context, parameters, '\''))
        formatter = FormatterPtr(new RE_RefSuffixFormatter());
    else if (parseNonZeroDigit(context, parameters, index))
        formatter = FormatterPtr(new RE_RefCaptureFormatter(index));
    else if (parseFormatName(context, parameters, formatter))
        return XCODE_SUCCESS;
    else if (parseCharacterEscape(context, parameters, character))
        formatter = FormatterPtr(new RE_StringFormatter(String(&character, 1, 0, 1)));
    else
        return XCODE_FAILURE;
    return XCODE_SUCCESS;
}

XCode RE_Parser::parseFormatName(Context& context, Parameters& parameters, FormatterPtr& formatter)
{
    Context const start = context;
    String name;
    if (parseConstString(context, parameters, "k<") && parseIdentifier(context, parameters, '>', name))
    {
        formatter = FormatterPtr(new RE_RefNamedCaptureFormatter(name));
        return XCODE_SUCCESS;
    }
    context = start;
    if (parseConstChar(context, parameters, '{') && parseIdentifier(context, parameters, '}', name))
    {
        formatter = FormatterPtr(new RE_RefVariableFormatter(name));
        return XCODE_SUCCESS;
    }
    return fail(context, start);
}
