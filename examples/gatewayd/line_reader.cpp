#include "line_reader.h"

void LineReader::feed(char const* data, int count)
{
    m_bytes.deleteRegion(0, m_start);
    m_start = 0;
    for (int i = 0; i < count; ++i)
    {
        // a zero byte would cut the text short for whoever prints it
        m_bytes += data[i] == '\0' ? '?' : data[i];
    }
}

LineReader::Result LineReader::next(String& line, bool isEnd)
{
    int const end = m_bytes.indexOf('\n', m_start);
    if (end < 0 && waiting() > MAX_LENGTH)
    {
        m_start = m_bytes.length();
        m_dropping = true;
    }
    if (end < 0 && !(isEnd && (waiting() > 0 || m_dropping)))
    {
        return Result::NONE;
    }
    line = m_bytes.substring(m_start, end < 0 ? m_bytes.length() : end);
    m_start = end < 0 ? m_bytes.length() : end + 1;
    bool const isTooLong = m_dropping || line.length() > MAX_LENGTH;
    m_dropping = false;
    if (line[line.length() - 1] == '\r')
    {
        line.deleteRegion(line.length() - 1);
    }
    return isTooLong ? Result::TOO_LONG : Result::LINE;
}
