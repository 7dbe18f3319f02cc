#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"

#include <cstdint>
#include <cstring>

/// How a subject is matched; a bit set of these is what callers pass as `flags`.
enum RE_MatchFlag : unsigned
{
    RE_FLAG_IGNORE_CASE = 1,     ///< ASCII letters match either case: in literals, back-references and sets
    RE_FLAG_DOT_NOT_NEWLINE = 2, ///< "." matches neither line feed nor carriage return; without it every byte
    RE_FLAG_MULTILINE = 4,       ///< "^" also behind a line feed, "$" also in front of line feed and carriage return
    RE_FLAG_BACKWARD = 8,        ///< what consumes bytes reads to the left; the inside of a lookbehind
    RE_FLAG_PARTIAL = 16         ///< a subject that ends within a possible match is a match
};

/// The piece of the subject that a group has matched: offsets of its first byte and behind its last one, -1 if unset.
struct RE_Capture
{
    int start = -1;
    int end = -1;

    bool isSet() const { return start >= 0 && end >= 0; }
};

/// What stays the same during a match: the subject, which isn't copied and must outlive this object.
struct RE_MatchParameters
{
    explicit RE_MatchParameters(String const& text)
        : subject(text), bytes(reinterpret_cast<unsigned char const*>(text.c_str())), length(text.length())
    {
    }

    String const& subject;
    unsigned char const* bytes;
    int length;
};

/// What changes during a match, with the means to go back to an earlier state.
///
/// A choice point notes where it stands (`save`) and returns there (`restore`). Flags and position are noted by value,
/// captures by what was overwritten since. Weights need no note: the bytes between the start of an attempt and its
/// position are the ones it has consumed, so each of them carries the weight of its last consumer, what lies further
/// on isn't looked at, and reading backward leaves no weights, because a lookbehind gives them back at its end.
class RE_MatchContext
{
public:
    /// A state to return to.
    struct Choice
    {
        unsigned flags;
        int position;
        unsigned overwritten;
    };

    /// Makes room for the weights of a subject of `length` bytes, without touching them; no match may begin before. False
    /// if memory is out.
    bool reserveWeights(int length)
    {
        int const room = length + static_cast<int>(sizeof(uint64_t));
        m_marks = weights.reserve(room).data();
        return weights.capacity() >= room;
    }

    Choice save() const { return {flags, position, m_overwrittenCount}; }

    void restore(Choice const& choice)
    {
        flags = choice.flags;
        position = choice.position;
        if (m_overwrittenCount != choice.overwritten)
            restoreCaptures(choice.overwritten);
    }

    /// Returns to the captures of `choice` alone.
    void restoreCaptures(unsigned overwritten);

    /// Sets a capture in a way that `restore` takes back.
    void setCapture(unsigned index, RE_Capture capture);

    /// Unsets the captures from `first` to before `last`, in a way that `restore` takes back.
    void unsetCaptures(unsigned first, unsigned last);

    /// Whether the record of captures ran out of memory: the match can't be trusted.
    bool isExhausted() const { return m_isExhausted; }

    /// Marks `count` bytes from the position on as consumed with `weight`.
    void weigh(int count, unsigned char weight)
    {
        if (count > static_cast<int>(sizeof(uint64_t)))
        {
            std::memset(m_marks + position, weight, static_cast<std::size_t>(count));
            return;
        }
        // most runs are short, and what lies behind them may be overwritten
        uint64_t const marks = weight * UINT64_C(0x0101010101010101);
        std::memcpy(m_marks + position, &marks, sizeof marks);
    }

    void weigh(unsigned char weight) { m_marks[position] = static_cast<char>(weight); }

    bool isBackward() const { return (flags & RE_FLAG_BACKWARD) != 0; }

    bool isPartial() const { return (flags & RE_FLAG_PARTIAL) != 0; }

    unsigned flags = 0;
    int position = 0; ///< offset in the subject
    String weights;   ///< room for one byte for each byte of the subject
    ZKVector<RE_Capture> captures;
    int attempt = 0;              ///< where the attempt under way began; the weights in front of it aren't valid
    unsigned emptyIterations = 0; ///< required iterations on the stack that consumed nothing

private:
    struct Overwritten
    {
        unsigned index = 0;
        RE_Capture capture;
    };

    char* m_marks = nullptr; // the weights' bytes
    ZKVector<Overwritten> m_overwritten;
    unsigned m_overwrittenCount = 0;
    bool m_isExhausted = false;
};
