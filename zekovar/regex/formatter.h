#pragma once

#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/regex/match_context.h"
#include "zekovar/regex/referable.h"

/// Gives the variables of a format their values.
class RE_ResolveCallback
{
public:
    /// The text to use for `name`: `value`, which is empty at first, or any other string that lives long enough.
    virtual String& resolveRegExVariable(String& value, String const& name) const = 0;

protected:
    ~RE_ResolveCallback() = default;
};

/// Knows no variable: each is empty.
class ZKRegExFormatter_NoResolver final : public RE_ResolveCallback
{
public:
    String& resolveRegExVariable(String& value, String const& name) const override;
};

/// The text that a format has made so far.
struct RE_FormatContext
{
    String output;
};

/// What a format refers to; nothing is owned. The resolver may be null.
struct RE_FormatParameters
{
    String const* subject;
    ZKVector<String> const* captureNames;
    ZKVector<RE_Capture> const* captures;
    RE_ResolveCallback const* resolver;
};

/// A node of a compiled format. It doesn't change once it is made.
class RE_Formatter : public RE_Referable
{
public:
    /// Appends to the context's output.
    virtual void format(RE_FormatContext& context, RE_FormatParameters const& parameters) const = 0;
};

/// One node and then another one. A long format is a chain along the right nodes, which is walked and freed link by
/// link.
class RE_SequenceFormatter final : public RE_Formatter
{
public:
    RE_SequenceFormatter(ZKPtr<RE_Formatter> left, ZKPtr<RE_Formatter> right);
    ~RE_SequenceFormatter() override;

    void format(RE_FormatContext& context, RE_FormatParameters const& parameters) const override;

private:
    ZKPtr<RE_Formatter> m_left;
    ZKPtr<RE_Formatter> m_right;
};

/// Literal text.
class RE_StringFormatter final : public RE_Formatter
{
public:
    explicit RE_StringFormatter(String const& text) : m_text(text) {}

    void format(RE_FormatContext& context, RE_FormatParameters const& parameters) const override;

private:
    String m_text;
};

/// What a group has matched; nothing if it is unset or doesn't exist.
class RE_RefCaptureFormatter final : public RE_Formatter
{
public:
    explicit RE_RefCaptureFormatter(unsigned index) : m_index(index) {}

    void format(RE_FormatContext& context, RE_FormatParameters const& parameters) const override;

private:
    unsigned m_index;
};

/// What the first group of a name has matched.
class RE_RefNamedCaptureFormatter final : public RE_Formatter
{
public:
    explicit RE_RefNamedCaptureFormatter(String const& name) : m_name(name) {}

    void format(RE_FormatContext& context, RE_FormatParameters const& parameters) const override;

private:
    String m_name;
};

/// The subject in front of the match.
class RE_RefPrefixFormatter final : public RE_Formatter
{
public:
    void format(RE_FormatContext& context, RE_FormatParameters const& parameters) const override;
};

/// The subject behind the match, up to its first zero byte.
class RE_RefSuffixFormatter final : public RE_Formatter
{
public:
    void format(RE_FormatContext& context, RE_FormatParameters const& parameters) const override;
};

/// What the resolver returns for a name.
class RE_RefVariableFormatter final : public RE_Formatter
{
public:
    explicit RE_RefVariableFormatter(String const& name) : m_name(name) {}

    void format(RE_FormatContext& context, RE_FormatParameters const& parameters) const override;

private:
    String m_name;
};
