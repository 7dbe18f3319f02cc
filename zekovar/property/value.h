#pragma once

#include "zekovar/foundation/enum_info.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/tstring.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/property/iterator.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

class InfoContainer;

namespace ZK::Property
{
/// Depth of nesting that every decoder reads; what lies deeper is refused.
inline constexpr unsigned int MAX_DEPTH = 512;

/// How far behind its end an array can be written: the gap is filled with "Null" elements, which take memory.
inline constexpr unsigned int MAX_ARRAY_GAP = 1u << 20;

/// The dynamic value: nothing, a boolean, a number, an error code, a text, bytes, an array or an object.
///
/// A copy is independent of its original and costs the same for all sizes: both share a counted store, and the first
/// one to write duplicates it. The exception is a container whose elements were handed out for writing (by a subscript,
/// a path or an iterator that isn't const), or into which such a container was moved: as a reference may have been kept,
/// a copy duplicates these levels at once. `add`, `setMember`, `setByPath` and the decoders hand nothing out.
///
/// A subscript on a value that isn't const, with a key or an index that doesn't exist yet, hands out a *pending* child.
/// It joins its parent when it first gets a type: by an assignment, or as an empty container by a subscript of its own.
/// So reading `v["a"]` adds no member, but reading `v["a"]["b"]` adds an empty "a"; read through a const reference. Its
/// reference is good from then on like that of any element; before, until the parent goes or 16 further pending children
/// of it were handed out.
///
/// References to elements and members are good until these are removed or replaced, or until the value is assigned to or
/// changes its type. A value may be assigned to, or added to, a part of itself, but not moved there.
/// Nothing fails: what has the wrong type reads as the default or as `invalid()`. No lock: one value belongs to one
/// thread at a time; its copies may go to other threads. Values may be nested to any depth: all but `diff`, which
/// recurses as deep as both sides are nested, does without recursion.
///
///     Value config;
///     config["port"]["speed"] = 1000;
///     config["names"] = {"a", "b"};
///     int const speed = config.getByPath("port.speed").toIntOr(100);
class Value
{
public:
    enum class Type : uint8_t
    {
        INVALID = 0, ///< nothing, not even a null
        NULL_VALUE = 1,
        BOOLEAN = 2,
        INTEGER = 3,
        FLOATING = 4,
        XCODE = 5,
        STRING = 6,
        BINARY = 7,
        ARRAY = 8,
        OBJECT = 9
    };

    class Store;
    struct Member;
    using IteratorIf = Property::IteratorIf;
    using ConstIterator = Property::ConstIterator;
    using Iterator = Property::Iterator;
    using Item = Property::Item;
    using ConstItem = Property::ConstItem;

    /// "Invalid".
    constexpr Value() noexcept : m_payload{}, m_tag(0) {}

    Value(Value const& other) : Value() { copyFrom(other); }

    /// Takes the content and the pending children; `other` becomes "Invalid".
    Value(Value&& other) noexcept : Value()
    {
        takeContent(other);
        if (other.waiting() != nullptr)
            takeWaiting(other);
    }

    /// "Null".
    Value(std::nullptr_t) noexcept : m_payload{}, m_tag(tagOf(Type::NULL_VALUE)) {}

    Value(bool value) noexcept : m_payload{.boolean = value}, m_tag(tagOf(Type::BOOLEAN)) {}

    /// "Integer"; a number above the range of `long long` becomes the largest of it.
    template <std::integral T>
    Value(T value) noexcept : m_payload{.integer = fromIntegral(value)}, m_tag(tagOf(Type::INTEGER))
    {
    }

    Value(double value) noexcept : m_payload{.floating = value}, m_tag(tagOf(Type::FLOATING)) {}

    Value(XCode const& value);

    Value(XCodeValue value) : Value(XCode(value)) {}

    /// A null text is the empty one.
    Value(char const* value) : Value(String(value)) {}

    Value(String const& value) : Value(String(value)) {}

    Value(String&& value);

    Value(TString<char> const& value) : Value(TString<char>(value)) {}

    Value(TString<char>&& value);

    /// An "Object", if each element is an "Array" of two whose first is a "String", the key; else an "Array".
    Value(std::initializer_list<Value> elements);

    /// A pointer is no truth value.
    Value(void const*) = delete;

    ~Value()
    {
        if (m_tag >= tagOf(Type::XCODE))
            destroy();
    }

    Value& operator=(Value const& other);

    /// Takes the content of `other`, which may be an element of this value and becomes "Invalid".
    Value& operator=(Value&& other);

    Value& operator=(std::initializer_list<Value> elements) { return *this = Value(elements); }

    /// All that a value can be made from.
    template <class T>
    Value& operator=(T&& value) requires(!std::is_same_v<std::remove_cvref_t<T>, Value> &&
                                         std::is_constructible_v<Value, T>)
    {
        return *this = Value(std::forward<T>(value));
    }

    Type getType() const { return static_cast<Type>(m_tag & TYPE_MASK); }

    bool isInvalid() const { return getType() == Type::INVALID; }

    bool isNull() const { return getType() == Type::NULL_VALUE; }

    bool isArray() const { return getType() == Type::ARRAY; }

    bool isObject() const { return getType() == Type::OBJECT; }

    /// Whether both have the same type and the same content, at all depths. Codes are compared without their texts,
    /// objects without regard to order.
    bool isEqual(Value const& other) const;

    friend bool operator==(Value const& left, Value const& right) { return left.isEqual(right); }

    /// @name Read without conversion
    /// The content if the value has exactly that type, else the default. `getIntOr` and `getUIntOr` clamp an "Integer".
    /// @{
    bool getBoolOr(bool fallback) const { return getType() == Type::BOOLEAN ? m_payload.boolean : fallback; }

    long long getInt64Or(long long fallback) const { return getType() == Type::INTEGER ? m_payload.integer : fallback; }

    int getIntOr(int fallback) const
    {
        return getType() == Type::INTEGER ? INT64_TO_INT_SATURATE(m_payload.integer) : fallback;
    }

    unsigned int getUIntOr(unsigned int fallback) const
    {
        return getType() == Type::INTEGER ? INT64_TO_UINT_SATURATE(m_payload.integer) : fallback;
    }

    double getFloatOr(double fallback) const { return getType() == Type::FLOATING ? m_payload.floating : fallback; }

    XCode getXCodeOr(XCode const& fallback) const;
    String getStringOr(String const& fallback) const;
    TString<char> getBinaryOr(TString<char> const& fallback) const;
    /// @}

    /// @name Read without copying
    /// The content, or null if the value hasn't exactly that type; good until the value changes.
    /// @{
    XCode const* asXCode() const;
    String const* asString() const;
    TString<char> const* asBinary() const;
    /// @}

    /// @name Read with conversion
    /// The default is for "Invalid", and for a text that isn't a number. "Null" counts as true, 1, success and "true".
    /// A text is true if it is "true", "enabled", "enable", "yes" or "on"; containers count as their size. A "Floating"
    /// is rounded; outside the range of `long long` it becomes the nearest number in it, and no number becomes 0.
    /// @{
    bool toBoolOr(bool fallback) const;
    long long toInt64Or(long long fallback) const;

    int toIntOr(int fallback) const { return INT64_TO_INT_SATURATE(toInt64Or(fallback)); }

    unsigned int toUIntOr(unsigned int fallback) const { return INT64_TO_UINT_SATURATE(toInt64Or(fallback)); }

    double toFloatOr(double fallback) const;

    /// A text that isn't empty gives the general failure with the text as its message, a number that no code has the
    /// general failure alone.
    XCode toXCodeOr(XCode const& fallback) const;

    /// Containers as "[a,b]" and "{k:v,l:w}", without any quotes.
    String toStringOr(String const& fallback) const;

    /// The bytes of `toStringOr` for all types but "Binary".
    TString<char> toBinaryOr(TString<char> const& fallback) const;

    String toString() const { return toStringOr(String::s_empty); }

    /// @}

    /// @name Convert in place
    /// If the type differs, the value is assigned what the conversion above gives; returns the content.
    /// @{
    bool convertToBoolOr(bool fallback);
    long long convertToInt64Or(long long fallback);
    int convertToIntOr(int fallback);
    unsigned int convertToUIntOr(unsigned int fallback);
    double convertToFloatOr(double fallback);
    XCode convertToXCodeOr(XCode const& fallback);
    String convertToStringOr(String const& fallback);
    TString<char> convertToBinaryOr(TString<char> const& fallback);

    /// @}

    /// @name Helpers of the conversions
    /// @{
    static constexpr int INT64_TO_INT_SATURATE(long long value) { return saturate<int>(value); }

    static constexpr unsigned int INT64_TO_UINT_SATURATE(long long value) { return saturate<unsigned int>(value); }

    /// Rounds by the current rounding mode; clamps, and gives 0 for what is no number.
    static long long FLOAT_TO_INT64_SATURATE(double value);

    static bool STRING_TO_BOOL(String const& text);

    /// Decimal, octal with a leading 0, or hexadecimal with a leading "0x"; the nearest number in range if it has none.
    static long long STRING_TO_INT(String const& text, long long fallback);

    /// 0 for the empty text.
    static double STRING_TO_FLOAT(String const& text, double fallback);

    /// The bytes in front of the first zero.
    static String BINARY_TO_STRING(TString<char> const& bytes);

    /// Whether any byte isn't zero.
    static bool BINARY_TO_BOOL(TString<char> const& bytes);

    /// @}

    /// True for "Invalid", "Null" and an empty container; an empty text isn't empty.
    bool isEmpty() const { return size() == 0; }

    /// Elements or members; 0 for "Invalid" and "Null", 1 for all else.
    unsigned int size() const;

    /// Whether this is an "Object" that has a member of this key.
    bool contains(String const& key) const { return find(key) != nullptr; }

    /// The member, or null if there is none or this is no "Object".
    Value const* find(String const& key) const;

    /// The member at a place in the order of insertion, or null if there is none or this is no "Object".
    Member const* memberAt(unsigned int index) const;

    /// Resets the content to false, 0, success or empty and keeps the type.
    void clear();

    /// Makes this value the only user of its store; false if it was that already.
    bool copyOnWrite();

    /// As above with a change of type. An array becomes an object whose keys are the texts of its elements, an object
    /// an array of its values; another value becomes the only element, or the only member with its text as the key.
    /// All other changes drop the content, and so does one to "Array" or "Object" from "Invalid". True unless the
    /// type stays and the store was this value's alone.
    bool copyOnWrite(Type target);

    /// @name Subscripts
    /// The const forms give `invalid()` for what isn't there. The others make this value an "Array" or an "Object"
    /// first, and give a pending child for what isn't there. An index more than `MAX_ARRAY_GAP` behind the end gives a
    /// child that never joins.
    /// @{
    Value const& operator[](unsigned int index) const;
    Value const& operator[](String const& key) const;
    Value& operator[](unsigned int index);
    Value& operator[](String const& key);

    template <std::integral T>
    Value const& operator[](T index) const
    {
        return (*this)[indexOf(index)];
    }

    template <std::integral T>
    Value& operator[](T index)
    {
        return (*this)[indexOf(index)];
    }

    Value const& operator[](char const* key) const { return (*this)[String(key)]; }

    Value& operator[](char const* key) { return (*this)[String(key)]; }

    /// @}

    /// @name Change containers
    /// Arguments may be this value or part of it. Those that add make this value a container first.
    /// @{

    /// Appends an element.
    void add(Value const& value) { add(Value(value)); }

    void add(Value&& value);

    /// Inserts in front of the element at `index`; a gap is filled with "Null". An index more than `MAX_ARRAY_GAP`
    /// behind the end inserts nothing.
    void insert(unsigned int index, Value const& value);

    /// Replaces the value of a member where it stands, or adds one at the end; the direct way of building an object.
    void setMember(String const& key, Value const& value) { setMember(String(key), Value(value)); }

    void setMember(String&& key, Value&& value);

    /// Makes room for so many elements or members in all; another type is left alone.
    void reserve(unsigned int count);

    /// Deletes an element; without one, or with another type, it does nothing.
    void remove(unsigned int index);
    void remove(String const& key);

    /// @name Remove with an answer
    /// The result isn't the element but tells whether there was one: true, or `invalid()`. A caller that needs the
    /// element reads it first.
    /// @{
    Value removeAndReturn(unsigned int index);

    /// Removes the last element.
    Value pop();

    /// Removes the first element.
    Value shift();
    /// @}

    /// Brings `other` in. Members that both objects have are merged in turn, the others are added; of two arrays the
    /// elements of `other` are appended. All else, and what differs in type, is replaced if `overwrite` is set.
    void merge(Value const& other, bool overwrite);

    /// Whether the two differ. If so, `result` becomes what must be applied to this value to obtain `other`: of two
    /// objects the members that are new or changed, and a "Null" for each that `other` lacks; else `other` itself.
    bool diff(Value const& other, Value& result) const;
    /// @}

    /// @name Paths
    /// Keys with "." between them; the empty path is this value itself. The const form gives `invalid()` for what isn't
    /// there and takes brackets as part of a key. The others understand "key[5]", and create what is missing when it
    /// is assigned to.
    /// @{
    Value const& getByPath(String const& path) const;
    Value& getByPath(String const& path);
    void setByPath(String const& path, Value const& value);

    Value const& getByPathTokens(String const& first) const { return (*this)[first]; }

    Value const& getByPathTokens(String const& first, String const& second) const { return (*this)[first][second]; }

    Value const& getByPathTokens(String const& first, String const& second, String const& third) const
    {
        return (*this)[first][second][third];
    }

    Value& getByPathTokens(String const& first) { return (*this)[first]; }

    Value& getByPathTokens(String const& first, String const& second) { return (*this)[first][second]; }

    Value& getByPathTokens(String const& first, String const& second, String const& third)
    {
        return (*this)[first][second][third];
    }

    void setByPathTokens(String const& first, Value const& value);
    void setByPathTokens(String const& first, String const& second, Value const& value);
    void setByPathTokens(String const& first, String const& second, String const& third, Value const& value);
    /// @}

    /// @name Iteration
    /// Over elements, or over members in the order of insertion; a value of another type, "Invalid" too, is walked once
    /// as its own single element. The value may change meanwhile: an iterator is a place, not an element.
    /// @{
    ConstIterator begin() const;
    ConstIterator end() const;
    Iterator begin();
    Iterator end();
    /// @}

    /// @name Text and binary forms
    /// See `ZK::Property::JSON`, `UBJSON` and `YAML`; a reader that fails leaves what its class tells.
    /// @{
    String toJson() const;
    XCode toJson(TString<char>& out) const;
    XCode fromJson(String const& text);
    XCode fromJson(TString<char> const& text);

    /// JSON with line breaks, each depth indented by `step` further blanks.
    String dump(unsigned int level, unsigned int step) const;

    TString<char> toUbjson() const;
    XCode fromUbjson(TString<char> const& bytes);
    String toYaml(unsigned int level, unsigned int step) const;
    /// @}

    /// Adds this value to a report as lines: a primitive as `key` and text, an array as its elements with the keys
    /// "key[0]" and on, an object as a line with `key` and its members at `level` + 1. Lines past `maxLevel` or
    /// `maxDetail`, and what is nested deeper than `MAX_DEPTH`, are left out.
    void getInfo(InfoContainer& container, unsigned int maxLevel, unsigned int level, unsigned int maxDetail,
                 unsigned int detail, String const& key) const;

private:
    class Waiting;

    friend class Property::Iterator;
    friend class Store;

    union Payload
    {
        Waiting* waiting; // of "Invalid": where this value is a pending child, null elsewhere
        bool boolean;
        long long integer;
        double floating;
        Store* store; // of the types from "XCode" on
    };

    static constexpr uintptr_t TYPE_MASK = 15;

    static constexpr uintptr_t tagOf(Type type) { return static_cast<uintptr_t>(type); }

    template <std::integral T>
    static constexpr long long fromIntegral(T value)
    {
        constexpr long long LARGEST = std::numeric_limits<long long>::max();
        if constexpr (std::is_unsigned_v<T> && sizeof(T) == sizeof(long long))
            return value > static_cast<T>(LARGEST) ? LARGEST : static_cast<long long>(value);
        else
            return value;
    }

    // a negative index names nothing
    template <std::integral T>
    static constexpr unsigned int indexOf(T index)
    {
        long long const wide = fromIntegral(index);
        return wide < 0 ? UINT32_MAX : saturate<unsigned int>(wide);
    }

    template <class T>
    static constexpr T saturate(long long value)
    {
        if (value < std::numeric_limits<T>::min())
            return std::numeric_limits<T>::min();
        return value > std::numeric_limits<T>::max() ? std::numeric_limits<T>::max() : static_cast<T>(value);
    }

    /// A part of a merge that isn't done yet.
    struct Merging
    {
        Value* target;
        Value const* source;
    };

    explicit Value(Store* store) noexcept;

    bool hasStore() const { return getType() >= Type::XCODE; }

    /// Where this value is a pending child, or null.
    Waiting* whereWaiting() const { return isInvalid() ? m_payload.waiting : nullptr; }

    /// The pending children of this value, or null.
    Waiting* waiting() const { return reinterpret_cast<Waiting*>(m_tag & ~TYPE_MASK); }

    void setType(Type type) { m_tag = (m_tag & ~TYPE_MASK) | tagOf(type); }

    void setWaiting(Waiting* waiting);
    Waiting& makeWaiting();
    void destroy() noexcept;
    bool share(Value const& other);
    void copyFrom(Value const& other);

    // For a value that is "Invalid". A pending child that is "Invalid" itself stays what it is.
    void takeContent(Value& other) noexcept
    {
        if (other.isInvalid())
            return;
        m_payload = std::exchange(other.m_payload, Payload{});
        setType(other.getType());
        other.setType(Type::INVALID);
    }

    void takeWaiting(Value& other) noexcept;
    void assign(Value& taken);
    void notifyValueInitialized(Waiting* waiting);
    bool onArrayValueInitialized(unsigned int index, Value* child);
    bool onObjectValueInitialized(Member* node);
    bool fillArrayWithNullValues(unsigned int size);
    Value changeType(Type target);
    static Value EMPTY(Type type);
    Value toArray() const;
    Value toObject() const;
    Store& writableStore(Type type);
    Store& subscriptStore(Type type);
    void handOutChildren();
    void mergeSoFar(Value const& other, bool overwrite, std::vector<Merging>& pending);
    Value& memberFor(String const& key);
    Value* elementFor(unsigned int index);

    Payload m_payload;
    uintptr_t m_tag; // the type in the low 4 bits; above them a `Waiting`, aligned so, or null
};

static_assert(sizeof(Value) == 16, "documents are held in memory as values");

/// A member of an object.
struct Value::Member
{
    String key;
    Value value;
};

/// The shared constants that stand for "nothing there". Safe from all threads, at any time of the process.
Value const& invalid();

/// An empty "Array".
Value const& array();

/// An empty "Object".
Value const& object();

/// No bytes; a default for `toBinaryOr`.
extern TString<char> const emptyBlob;

/// Guesses a value from its text: nothing is "Invalid", "false" and "true" are "Boolean", a decimal number is an
/// "Integer", what else `strtod` reads is a "Floating", and the rest is a "String".
Value parse(String const& text);
}

template <>
inline char const* ZKEnumInfo<ZK::Property::Value::Type>::VALUE_NAME(ZK::Property::Value::Type value)
{
    static constexpr char const* NAMES[] = {"Invalid", "Null",   "Boolean", "Integer", "Floating",
                                            "XCode",   "String", "Binary",  "Array",   "Object"};
    return ZK::Detail::nameOfValue(NAMES, value);
}
