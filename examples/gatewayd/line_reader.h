#pragma once

#include "zekovar/zekovar.h"

/// Cuts bytes into command lines, however they arrive. A line that is longer than `MAX_LENGTH` is dropped up to its end and
/// reported once. Belongs to one thread.
class LineReader
{
public:
    static constexpr int MAX_LENGTH = 4096;

    enum class Result
    {
        NONE,
        LINE,
        TOO_LONG
    };

    void feed(char const* data, int count);

    /// The next whole line without its line end, if there is one. At the end of the input (`isEnd`) a last line without a line end
    /// counts, too.
    Result next(String& line, bool isEnd);

    /// Bytes that wait for `next`.
    int waiting() const { return m_bytes.length() - m_start; }

private:
    String m_bytes;
    int m_start = 0; // what stands before was returned: removed with the next `feed`, many lines at a time
    bool m_dropping = false;
};
