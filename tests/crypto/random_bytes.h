#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <vector>

/// Bytes are kept as text here, because test vectors are.
inline unsigned char* raw(std::string const& bytes)
{
    return reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data()));
}

inline unsigned int sizeOf(std::string const& bytes)
{
    return static_cast<unsigned int>(bytes.size());
}

/// The same bytes and numbers in every run.
class RandomBytes
{
public:
    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(m_engine() % limit); }

    std::string bytes(std::size_t count)
    {
        std::string made(count, '\0');
        std::generate(made.begin(), made.end(), [this] { return static_cast<char>(m_engine()); });
        return made;
    }

    /// The data in pieces, empty ones among them.
    std::vector<std::string> pieces(std::string const& data)
    {
        std::vector<std::string> made;
        for (std::size_t at = 0; at < data.size(); at += made.back().size())
            made.push_back(data.substr(at, below(below(2) != 0 ? 3000 : 130)));
        return made;
    }

private:
    std::mt19937 m_engine{20};
};
