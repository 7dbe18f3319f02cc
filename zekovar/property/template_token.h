#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/property/value.h"

#include <cstdint>

namespace ZK::Property::Template
{
/// An argument of a tag.
struct ArgToken
{
    enum Kind : int
    {
        IDENTIFIER = 0,
        LITERAL = 1
    };

    Kind kind = IDENTIFIER;
    Value value; ///< the literal, or the name as a "String"
};

/// A piece of a template: the text between two tags, or a tag.
struct Token
{
    enum Kind : int
    {
        TEXT = 0,
        SIMPLE_TAG = 1,
        SECTION_START = 2,
        SECTION_END = 3,
        END = 4
    };

    static constexpr unsigned int NO_MATCH = UINT32_MAX;

    Kind kind = TEXT;
    bool inverted = false; ///< a section start: the section shows where its value is false
    String text;           ///< of a tag all that stands between the braces
    ZKVector<ArgToken> arguments = ZKVector<ArgToken>();
    unsigned int match = NO_MATCH; ///< a section start or end: index of its partner
};
}
