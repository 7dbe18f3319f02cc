#include "zekovar/regex/match_context.h"

void RE_MatchContext::restoreCaptures(unsigned overwritten)
{
    while (m_overwrittenCount > overwritten)
    {
        Overwritten const& last = m_overwritten.begin()[--m_overwrittenCount];
        captures[last.index] = last.capture;
    }
}

void RE_MatchContext::setCapture(unsigned index, RE_Capture capture)
{
    if (m_overwrittenCount == m_overwritten.capacity() && !m_overwritten.enlarge(2 * m_overwrittenCount + 16))
    {
        m_isExhausted = true;
        return;
    }
    RE_Capture& target = captures[index];
    Overwritten& last = m_overwritten[m_overwrittenCount++];
    last.index = index;
    last.capture = target;
    target = capture;
}

void RE_MatchContext::unsetCaptures(unsigned first, unsigned last)
{
    unsigned const end = last < captures.size() ? last : captures.size();
    for (unsigned i = first; i < end; i++)
    {
        RE_Capture const& capture = captures.begin()[i];
        if (capture.start != -1 || capture.end != -1)
            setCapture(i, RE_Capture());
    }
}
