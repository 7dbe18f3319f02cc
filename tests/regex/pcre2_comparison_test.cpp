// Generated patterns and subjects, matched by PCRE2 as well. What the two dialects read differently isn't generated:
// groups that may match nothing under a quantifier, captures under one that repeats, complements of letters where case
// is ignored, lookbehinds of varying length, looking ahead in a lookbehind, carriage returns.
//
// ZEKOVAR_REGEX_SEED and ZEKOVAR_REGEX_PATTERNS in the environment replace the seed and the number of patterns.

#include "zekovar/regex/regex.h"

#include <gtest/gtest.h>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

class Generator
{
public:
    explicit Generator(unsigned seed) : m_random(seed) {}

    std::string pattern(bool ignoreCase)
    {
        m_groups = 0;
        m_closed.clear();
        m_mayIgnoreCase = ignoreCase || chance(4);
        return disjunction(3, Place()).text;
    }

    std::string subject()
    {
        std::string text;
        for (unsigned length = below(14); length > 0; length--)
            text += "aaaabbbcccABC1_ \n"[below(17)];
        return text;
    }

    unsigned below(unsigned end) { return m_random() % end; }

    bool chance(unsigned of) { return below(of) == 0; }

private:
    struct Piece
    {
        std::string text;
        bool mayBeEmpty;
    };

    struct Place
    {
        bool repeated = false;
        bool behind = false;
    };

    Piece disjunction(unsigned depth, Place place)
    {
        Piece piece = sequence(depth, place, 1 + below(4));
        for (unsigned more = place.behind ? 0 : below(3) / 2 * (1 + below(2)); more > 0; more--)
        {
            Piece const other = sequence(depth, place, 1 + below(3));
            piece = {piece.text + "|" + other.text, piece.mayBeEmpty || other.mayBeEmpty};
        }
        return piece;
    }

    Piece sequence(unsigned depth, Place place, unsigned terms)
    {
        Piece piece{"", true};
        for (; terms > 0; terms--)
        {
            Piece const next = term(depth, place);
            piece = {piece.text + next.text, piece.mayBeEmpty && next.mayBeEmpty};
        }
        return piece;
    }

    Piece term(unsigned depth, Place place)
    {
        if (chance(10))
            return {std::vector<std::string>{"^", "$", "\\A", "\\b", "\\B", "(?#x)"}[below(6)], true};
        bool const quantified = !place.behind && chance(3);
        char const* const quantifiers[] = {"*", "+", "?", "{2}", "{1,}", "{0,2}", "{1,3}", "{ 2 , 3 }"};
        std::string quantifier = quantifiers[below(7)];
        Place inner = place;
        inner.repeated |= quantified && quantifier != "?";
        Piece piece = atom(depth, inner);
        if (!quantified || piece.mayBeEmpty)
            return piece;
        bool const mayBeEmpty = quantifier == "*" || quantifier == "?" || quantifier == "{0,2}";
        quantifier += std::vector<std::string>{"", "", "?", "+"}[below(4)];
        return {piece.text + quantifier, mayBeEmpty};
    }

    Piece atom(unsigned depth, Place place)
    {
        if (depth == 0 || chance(2))
            return single();
        switch (below(place.behind ? 4 : 9))
        {
        case 0:
            return single();
        case 1:
            return around("(?:", disjunction(depth - 1, place));
        case 2:
            return around("(?>", disjunction(depth - 1, place));
        case 3:
            return place.repeated ? single() : group(depth, place);
        case 4:
            return m_mayIgnoreCase ? around(chance(3) ? "(?-i:" : "(?i:", disjunction(depth - 1, place)) : single();
        case 5:
            return reference();
        case 6:
            return {around(chance(2) ? "(?=" : "(?!", disjunction(depth - 1, place)).text, true};
        case 7:
            place.behind = true;
            return {around(chance(2) ? "(?<=" : "(?<!", sequence(1, place, 1 + below(2))).text, true};
        default:
            return place.repeated ? single() : group(depth, place);
        }
    }

    static Piece around(std::string const& open, Piece const& body)
    {
        return {open + body.text + ")", body.mayBeEmpty};
    }

    Piece group(unsigned depth, Place place)
    {
        unsigned const index = ++m_groups;
        bool const named = chance(3);
        std::string const number = std::to_string(index);
        std::string const open = named ? std::string("(?<n").append(number).append(">") : "(";
        Piece const piece =
            chance(12) && !place.behind ? Piece{open + ")", true} : around(open, disjunction(depth - 1, place));
        if (index < 10)
            m_closed.push_back(named ? std::string("\\k<n").append(number).append(">")
                                     : std::string("(?:\\").append(number).append(")"));
        return piece;
    }

    Piece reference() { return m_closed.empty() ? single() : Piece{m_closed[below(m_closed.size())], true}; }

    Piece single()
    {
        char const* const plain[] = {"a",    "b",    "c",   "ab",     "1",     ".",           "\\w",
                                     "\\d",  "\\s",  "\\W", "[ab]",   "[a-c]", "[[:alpha:]]", "\\x61",
                                     "[-a]", "[b-]", "\\n", "[\\d_]", "[^1_]", "[[:upper:]1]"};
        char const* const complements[] = {"[^a]", "[^b-c]", "[^\\sa]"};
        if (!m_mayIgnoreCase && chance(8))
            return {complements[below(3)], false};
        return {plain[below(20)], false};
    }

    std::mt19937 m_random;
    unsigned m_groups = 0;
    std::vector<std::string> m_closed; // references to the groups that are closed
    bool m_mayIgnoreCase = false;
};

struct Free
{
    void operator()(pcre2_code* code) const { pcre2_code_free(code); }

    void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
};

std::unique_ptr<pcre2_code, Free> compile(std::string const& pattern, unsigned flags)
{
    // 10.42's short cuts are wrong at times: in front of optional groups, and where alternatives differ in their case
    uint32_t options = PCRE2_NO_AUTO_POSSESS | PCRE2_NO_START_OPTIMIZE;
    options |= PCRE2_DOLLAR_ENDONLY | PCRE2_ALT_CIRCUMFLEX | PCRE2_MATCH_UNSET_BACKREF;
    options |= (flags & RE_FLAG_IGNORE_CASE) != 0 ? PCRE2_CASELESS : 0;
    options |= (flags & RE_FLAG_DOT_NOT_NEWLINE) != 0 ? 0 : PCRE2_DOTALL;
    options |= (flags & RE_FLAG_MULTILINE) != 0 ? PCRE2_MULTILINE : 0;
    int error;
    size_t offset;
    auto const* const text = reinterpret_cast<PCRE2_SPTR>(pattern.data());
    return std::unique_ptr<pcre2_code, Free>(pcre2_compile(text, pattern.size(), options, &error, &offset, nullptr));
}

std::string span(int start, int end)
{
    return start < 0 ? " *" : std::string(" ").append(std::to_string(start)).append("-").append(std::to_string(end));
}

std::string matchesOfPeer(pcre2_code const* code, std::string const& subject, unsigned groups)
{
    std::unique_ptr<pcre2_match_data, Free> const data(pcre2_match_data_create(groups, nullptr));
    std::string text;
    size_t position = 0;
    while (position <= subject.size())
    {
        int const count = pcre2_match(code, reinterpret_cast<PCRE2_SPTR>(subject.data()), subject.size(), position, 0,
                                      data.get(), nullptr);
        if (count < 0)
            return count == PCRE2_ERROR_NOMATCH ? text : std::string("error ").append(std::to_string(count));
        size_t const* const ends = pcre2_get_ovector_pointer(data.get());
        for (unsigned i = 0; i < groups; i++)
            text += i < static_cast<unsigned>(count)
                        ? span(static_cast<int>(ends[2 * i]), static_cast<int>(ends[2 * i + 1]))
                        : span(-1, -1);
        text += ";";
        position = ends[1] > position ? ends[1] : ends[1] + 1;
    }
    return text;
}

std::string matches(ZKRegEx::Pattern const& pattern, std::string const& subject, unsigned flags)
{
    int const length = static_cast<int>(subject.size());
    ZKPtr<ZKRegEx::Matcher> const matcher = pattern.createMatcher(String(subject.data(), length, 0, length), flags);
    std::string text;
    while (matcher->matchNext().isSuccess())
    {
        for (unsigned i = 0; i < pattern.getCaptureCount(); i++)
        {
            int start, end;
            matcher->getCapture(i, start, end);
            text += span(start, end);
        }
        text += ";";
    }
    return text;
}

unsigned fromEnvironment(char const* name, unsigned otherwise)
{
    char const* const text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}
}

TEST(RegEx, FindsWhatPcre2Finds)
{
    unsigned const seed = fromEnvironment("ZEKOVAR_REGEX_SEED", 1);
    Generator generator(seed);
    unsigned matched = 0;
    unsigned const patterns = fromEnvironment("ZEKOVAR_REGEX_PATTERNS", 3000);
    for (unsigned i = 0; i < patterns && !HasFailure(); i++)
    {
        unsigned const flags = generator.below(8);
        std::string const text = generator.pattern((flags & RE_FLAG_IGNORE_CASE) != 0);
        auto const peer = compile(text, flags);
        ZKPtr<ZKRegEx::Pattern> const pattern = ZKRegEx::COMPILE_EXPRESSION(text.c_str());
        ASSERT_TRUE(peer && pattern) << text;
        for (int j = 0; j < 5; j++)
        {
            std::string const subject = generator.subject();
            std::string const expected = matchesOfPeer(peer.get(), subject, pattern->getCaptureCount());
            EXPECT_EQ(matches(*pattern, subject, flags), expected)
                << text << " on \"" << subject << "\" with " << flags << ", seed " << seed;
            matched += expected.empty() ? 0 : 1;
        }
    }
    EXPECT_GT(matched, patterns) << "the patterns don't suit the subjects";
}
