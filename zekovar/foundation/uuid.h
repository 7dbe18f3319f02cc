#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"

#include <cstdint>

namespace ZK
{
/// The record behind an identifier. A static one is an aggregate of constants:
///
///     constinit ZK::UUIDData record = {0x1e7be6bc, 0x6ebb, 0x4e16, {0x8c, 0xc1, 0xc1, 0x07, 0x05, 0x5e, 0x1f, 0x94},
///                                      ZK::UUIDData::STATIC_RECORD, "IID_Unknown"};
struct UUIDData
{
    /// The use count of a record that is neither counted nor freed. All others come from `new`, their names from
    /// `malloc`.
    static constexpr uint32_t STATIC_RECORD = 0xFFFFFFFF;

    uint32_t word; // this and the half-words in the machine's order
    uint16_t halfWord1;
    uint16_t halfWord2;
    uint8_t bytes[8];
    uint32_t useCount; // not atomic
    char const* name;  // may be null

    void addRef();

    /// The last release frees record and name.
    void release();
};

/// An identifier of 16 bytes with an optional name; copies share one record.
///
/// Use counts aren't atomic, so the copies of an identifier stay on one thread; those of static records may go
/// anywhere.
///
///     ZK::UUID id = ZK::UUID::GENERATE();
///     ZK::UUID same = ZK::UUID::INVALID();
///     if (same.parse(id.toString(true))) assert(same == id);
class UUID
{
public:
    /// The invalid identifier.
    UUID() : UUID(s_invalid) {}

    /// Counts itself in the record.
    explicit UUID(UUIDData& record);

    UUID(UUID const& other) : UUID(*other.m_record) {}

    UUID& operator=(UUID const& other);
    ~UUID();

    /// The shared identifier of all zeros.
    static UUID INVALID();

    /// 16 bytes of `ZKRandom::U_DEV_RANDOM` under the name "random", without version and variant bits. All zeros if the
    /// device can't be read.
    static UUID GENERATE();

    /// Reads what `toString` writes, with or without a name. `XCODE_FAILURE`, with the identifier unchanged, on any
    /// other text.
    XCode parse(String const& text);

    /// The name, or without one the value, whose last eight bytes stand in one group.
    String text() const;

    /// The value in the usual five groups; `withName` adds "-" and the name, or "INVALID" if there is none.
    String toString(bool withName) const;

    /// Compares the values; names play no part.
    friend bool operator==(UUID const& left, UUID const& right);

private:
    static UUIDData s_invalid;

    UUIDData* m_record;
};
}
