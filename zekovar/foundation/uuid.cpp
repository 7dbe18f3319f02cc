#include "zekovar/foundation/uuid.h"

#include "zekovar/foundation/random.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ZK
{
namespace
{
constexpr int NAME_POSITION = 37; // behind the 36 characters of the value and the "-"
}

constinit UUIDData UUID::s_invalid = {0, 0, 0, {}, UUIDData::STATIC_RECORD, nullptr};

void UUIDData::addRef()
{
    if (useCount != STATIC_RECORD)
        useCount++;
}

void UUIDData::release()
{
    if (useCount == STATIC_RECORD || --useCount > 0)
        return;
    std::free(const_cast<char*>(name));
    delete this;
}

UUID::UUID(UUIDData& record) : m_record(&record)
{
    m_record->addRef();
}

UUID& UUID::operator=(UUID const& other)
{
    other.m_record->addRef();
    m_record->release();
    m_record = other.m_record;
    return *this;
}

UUID::~UUID()
{
    m_record->release();
}

UUID UUID::INVALID()
{
    return UUID(s_invalid);
}

UUID UUID::GENERATE()
{
    auto* const record = new UUIDData{0, 0, 0, {}, 0, ::strdup("random")};
    static_assert(offsetof(UUIDData, useCount) == 16, "the value is read in one piece");
    ZKRandom(false).readFixedSize(record, offsetof(UUIDData, useCount), true);
    return UUID(*record);
}

XCode UUID::parse(String const& text)
{
    UUIDData value{};
    uint8_t* const bytes = value.bytes;
    int const fields = std::sscanf(text.c_str(), "%08x-%04hx-%04hx-%02hhx%02hhx-%02hhx%02hhx%02hhx%02hhx%02hhx%02hhx",
                                   &value.word, &value.halfWord1, &value.halfWord2, &bytes[0], &bytes[1], &bytes[2],
                                   &bytes[3], &bytes[4], &bytes[5], &bytes[6], &bytes[7]);
    if (fields != 11)
        return XCODE_FAILURE;
    String const name = text.substring(NAME_POSITION);
    value.name = name.isEmpty() ? nullptr : ::strdup(name.c_str());
    *this = UUID(*new UUIDData(value));
    return XCODE_SUCCESS;
}

String UUID::text() const
{
    if (m_record->name != nullptr)
        return m_record->name;
    uint8_t const* const bytes = m_record->bytes;
    return String::stringOfFormat("%8.8x-%4.4hx-%4.4hx-%2.2hhx%2.2hhx%2.2hhx%2.2hhx%2.2hhx%2.2hhx%2.2hhx%2.2hhx",
                                  m_record->word, m_record->halfWord1, m_record->halfWord2, bytes[0], bytes[1],
                                  bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7]);
}

String UUID::toString(bool withName) const
{
    uint8_t const* const bytes = m_record->bytes;
    String text = String::stringOfFormat("%08x-%04hx-%04hx-%02hx%02hx-%02hhx%02hhx%02hhx%02hhx%02hhx%02hhx",
                                         m_record->word, m_record->halfWord1, m_record->halfWord2, bytes[0], bytes[1],
                                         bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7]);
    if (withName)
        text.concatf("-%s", m_record->name != nullptr ? m_record->name : "INVALID");
    return text;
}

bool operator==(UUID const& left, UUID const& right)
{
    return std::memcmp(left.m_record, right.m_record, offsetof(UUIDData, useCount)) == 0;
}
}
