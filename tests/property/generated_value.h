#pragma once

#include "zekovar/property/value.h"

#include <random>

/// Makes values of every kind but "Invalid", the same ones in each run. They come back from every format: texts have no
/// zero bytes and numbers with a fraction no more than six digits.
class GeneratedValues
{
public:
    ZK::Property::Value next(unsigned int depth = 3)
    {
        switch (number(depth > 0 ? 9 : 7))
        {
        case 0:
            return nullptr;
        case 1:
            return number(2) == 0;
        case 2:
            return static_cast<long long>(m_engine() << 32 | m_engine()) >> number(64);
        case 3:
            return static_cast<int>(number(20000)) / 2 - 4999.5;
        case 4:
            return code();
        case 5:
            return TString<char>(text().c_str(), static_cast<int>(number(4)));
        case 6:
            return text();
        case 7:
            return array(depth);
        default:
            return object(depth);
        }
    }

    /// 0 to before `end`.
    unsigned int number(unsigned int end) { return static_cast<unsigned int>(m_engine() % end); }

private:
    String text()
    {
        String text;
        for (unsigned int i = number(20); i > 0; i--)
            text += static_cast<char>(1 + number(255));
        return text;
    }

    XCode code()
    {
        XCode code(XCODE_ERRNO + number(100));
        code.setString(text());
        return code;
    }

    ZK::Property::Value array(unsigned int depth)
    {
        ZK::Property::Value array = ZK::Property::array();
        for (unsigned int i = number(6); i > 0; i--)
            array.add(next(depth - 1));
        return array;
    }

    ZK::Property::Value object(unsigned int depth)
    {
        ZK::Property::Value object = ZK::Property::object();
        for (unsigned int i = number(6); i > 0; i--)
            object.setMember(text(), next(depth - 1));
        return object;
    }

    std::mt19937_64 m_engine{1};
};

/// Arrays in one another.
inline ZK::Property::Value nestedArrays(unsigned int depth)
{
    ZK::Property::Value value = ZK::Property::array();
    for (unsigned int i = 1; i < depth; i++)
    {
        ZK::Property::Value outer = ZK::Property::array();
        outer.add(std::move(value));
        value = std::move(outer);
    }
    return value;
}
