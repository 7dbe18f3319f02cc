// ZKRegEx beside std::regex and, where found, Boost.Regex and PCRE2's interpreter. Each engine compiles once and then
// walks through all matches of a text and reads the first and the last capture of each. ZKRegEx keeps a matcher over
// the text, as its users do; making one costs a copy of the text.

#include "zekovar/regex/regex.h"

#include <benchmark/benchmark.h>

#include <regex>
#include <string>

#ifdef ZEKOVAR_BENCH_HAS_BOOST_REGEX
#include <boost/regex.hpp>
#endif
#ifdef ZEKOVAR_BENCH_HAS_PCRE2
#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>
#endif

namespace
{

struct Task
{
    char const* name;
    char const* pattern;
    unsigned last; // capture to read
    std::string (*text)(std::size_t size);
    std::size_t size; // of the text in bytes
};

class Zekovar
{
public:
    explicit Zekovar(Task const& task) : m_pattern(ZKRegEx::COMPILE_EXPRESSION(task.pattern)), m_last(task.last) {}

    void setText(std::string const& text)
    {
        int const length = static_cast<int>(text.size());
        m_matcher = m_pattern->createMatcher(String(text.data(), length, 0, length), RE_FLAG_MULTILINE);
    }

    int walk()
    {
        int sum = 0, start, end;
        while (m_matcher->matchNext().isSuccess())
        {
            m_matcher->getCapture(0, start, end);
            sum += start;
            m_matcher->getCapture(m_last, start, end);
            sum += end;
        }
        return sum;
    }

private:
    ZKPtr<ZKRegEx::Pattern> m_pattern;
    ZKPtr<ZKRegEx::Matcher> m_matcher;
    unsigned m_last;
};

template <class Regex, class Iterator>
class Standard
{
public:
    explicit Standard(Task const& task, typename Regex::flag_type flags = Regex::ECMAScript)
        : m_regex(task.pattern, flags), m_last(task.last)
    {
    }

    void setText(std::string const& text) { m_text = &text; }

    int walk()
    {
        int sum = 0;
        for (Iterator it(m_text->begin(), m_text->end(), m_regex); it != Iterator(); ++it)
        {
            sum += static_cast<int>((*it)[0].first - m_text->begin());
            sum += static_cast<int>((*it)[static_cast<int>(m_last)].second - m_text->begin());
        }
        return sum;
    }

private:
    Regex m_regex;
    std::string const* m_text = nullptr;
    unsigned m_last;
};

class Std : public Standard<std::regex, std::sregex_iterator>
{
public:
    explicit Std(Task const& task) : Standard(task, std::regex::ECMAScript | std::regex::multiline) {}
};

#ifdef ZEKOVAR_BENCH_HAS_BOOST_REGEX
using Boost = Standard<boost::regex, boost::sregex_iterator>;
#endif

#ifdef ZEKOVAR_BENCH_HAS_PCRE2
class Pcre2
{
public:
    explicit Pcre2(Task const& task) : m_last(task.last)
    {
        int error;
        size_t offset;
        m_code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(task.pattern), PCRE2_ZERO_TERMINATED,
                               PCRE2_MULTILINE | PCRE2_DOTALL, &error, &offset, nullptr);
        m_data = pcre2_match_data_create_from_pattern(m_code, nullptr);
    }

    Pcre2(Pcre2 const&) = delete;

    ~Pcre2()
    {
        pcre2_match_data_free(m_data);
        pcre2_code_free(m_code);
    }

    void setText(std::string const& text) { m_text = &text; }

    int walk()
    {
        int sum = 0;
        size_t const* const ends = pcre2_get_ovector_pointer(m_data);
        for (size_t at = 0; pcre2_match(m_code, reinterpret_cast<PCRE2_SPTR>(m_text->data()), m_text->size(), at, 0,
                                        m_data, nullptr) > 0;
             at = ends[1])
            sum += static_cast<int>(ends[0] + ends[2 * m_last + 1]);
        return sum;
    }

private:
    pcre2_code* m_code;
    pcre2_match_data* m_data;
    std::string const* m_text = nullptr;
    unsigned m_last;
};
#endif

std::string logLines(std::size_t size)
{
    std::string text;
    for (unsigned i = 0; text.size() < size; i++)
    {
        text += "Nov 21 17:" + std::to_string(10 + i % 50) + ":09 gw3 sshd[" + std::to_string(i * 37 % 30000) +
                "]: Accepted publickey for operator from 10." + std::to_string(i % 256) + ".0." +
                std::to_string(i * 7 % 256) + " port 5" + std::to_string(i % 9000) + " ssh2: session opened\n";
    }
    return text;
}

std::string settings(std::size_t size)
{
    std::string text;
    for (unsigned i = 0; text.size() < size; i++)
        text += "# unit of slot " + std::to_string(i) + "\nrefresh_period = 30\nhost" + std::to_string(i) +
                "=gateway port=" + std::to_string(8000 + i % 100) + "\n";
    return text;
}

std::string literalAtEnd(std::size_t size)
{
    return logLines(size) + "needle";
}

std::string promptAtEnd(std::size_t size)
{
    return logLines(size) + ">";
}

constexpr Task TASKS[] = {
    {"literal", "needle", 0, literalAtEnd, 64 << 10},
    {"prompt", "^>[\\r]?$", 0, promptAtEnd, 4 << 10},
    {"quads", "\\d{1,3}\\.\\d{1,3}\\.\\d{1,3}\\.\\d{1,3}", 0, logLines, 64 << 10},
    {"settings", "([a-z_0-9]+)=([a-z0-9]+)", 2, settings, 64 << 10},
    {"alternatives", "error|failure|refused|(denied by \\w+)", 1, logLines, 64 << 10},
    {"absent", "\\w+\\s+denied", 0, logLines, 64 << 10},
    {"absent", "\\w+\\s+denied", 0, logLines, 256 << 10},
    {"absent", "\\w+\\s+denied", 0, logLines, 1 << 20},
};

template <class Engine>
void compile(benchmark::State& state, Task const& task)
{
    for (auto _ : state)
    {
        Engine engine(task);
        benchmark::DoNotOptimize(engine);
    }
}

template <class Engine>
void search(benchmark::State& state, Task const& task)
{
    Engine engine(task);
    std::string const text = task.text(task.size);
    engine.setText(text);
    for (auto _ : state)
        benchmark::DoNotOptimize(engine.walk());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

template <class Engine>
bool registerTasks(std::string const& engine)
{
    for (Task const& task : TASKS)
    {
        std::string const name = engine + "/" + task.name + "/" + std::to_string(task.size);
        benchmark::RegisterBenchmark(("regex_compile/" + name).c_str(), compile<Engine>, task);
        benchmark::RegisterBenchmark(("regex_search/" + name).c_str(), search<Engine>, task);
    }
    return true;
}

bool const zekovarRegistered = registerTasks<Zekovar>("zekovar");
bool const stdRegistered = registerTasks<Std>("std");
#ifdef ZEKOVAR_BENCH_HAS_BOOST_REGEX
bool const boostRegistered = registerTasks<Boost>("boost");
#endif
#ifdef ZEKOVAR_BENCH_HAS_PCRE2
bool const pcre2Registered = registerTasks<Pcre2>("pcre2");
#endif
}
