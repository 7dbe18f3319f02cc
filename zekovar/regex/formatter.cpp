#include "zekovar/regex/formatter.h"

#include "zekovar/regex/capture_names.h"

namespace
{

void appendCapture(RE_FormatContext& context, RE_FormatParameters const& parameters, unsigned index)
{
    RE_Capture const& capture = (*parameters.captures)[index];
    if (capture.isSet())
        context.output.concat(parameters.subject->substring(capture.start, capture.end));
}
}

String& ZKRegExFormatter_NoResolver::resolveRegExVariable(String& value, String const&) const
{
    value = "";
    return value;
}

RE_SequenceFormatter::RE_SequenceFormatter(ZKPtr<RE_Formatter> left, ZKPtr<RE_Formatter> right)
    : m_left(std::move(left)), m_right(std::move(right))
{
}

RE_SequenceFormatter::~RE_SequenceFormatter()
{
    for (;;)
    {
        auto* const link = dynamic_cast<RE_SequenceFormatter*>(m_right.get());
        if (link == nullptr || link->getRefCount() != 1)
            return;
        ZKPtr<RE_Formatter> rest(std::move(link->m_right));
        m_right = std::move(rest);
    }
}

void RE_SequenceFormatter::format(RE_FormatContext& context, RE_FormatParameters const& parameters) const
{
    RE_SequenceFormatter const* pair = this;
    RE_Formatter const* last;
    do
    {
        pair->m_left.get()->format(context, parameters);
        last = pair->m_right.get();
        pair = dynamic_cast<RE_SequenceFormatter const*>(last);
    } while (pair != nullptr);
    last->format(context, parameters);
}

void RE_StringFormatter::format(RE_FormatContext& context, RE_FormatParameters const&) const
{
    context.output.concat(m_text);
}

void RE_RefCaptureFormatter::format(RE_FormatContext& context, RE_FormatParameters const& parameters) const
{
    appendCapture(context, parameters, m_index);
}

void RE_RefNamedCaptureFormatter::format(RE_FormatContext& context, RE_FormatParameters const& parameters) const
{
    int const index = ZK::Detail::findCaptureName(*parameters.captureNames, m_name);
    if (index >= 0)
        appendCapture(context, parameters, static_cast<unsigned>(index));
}

void RE_RefPrefixFormatter::format(RE_FormatContext& context, RE_FormatParameters const& parameters) const
{
    if (!parameters.captures->isEmpty())
        context.output.concat(parameters.subject->substring(0, (*parameters.captures)[0].start));
}

void RE_RefSuffixFormatter::format(RE_FormatContext& context, RE_FormatParameters const& parameters) const
{
    if (parameters.captures->isEmpty())
        return;
    int const end = (*parameters.captures)[0].end;
    if (end >= 0 && end < parameters.subject->length())
        context.output += parameters.subject->c_str() + end;
}

void RE_RefVariableFormatter::format(RE_FormatContext& context, RE_FormatParameters const& parameters) const
{
    if (parameters.resolver == nullptr)
        return;
    String value;
    context.output.concat(parameters.resolver->resolveRegExVariable(value, m_name));
}
