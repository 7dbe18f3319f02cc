#include "zekovar/property/value.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace ZK::Property;
using Type = Value::Type;

namespace
{
TString<char> bytesOf(std::string const& text)
{
    return TString<char>(text.data(), static_cast<int>(text.size()));
}

/// Two members, one of them nested.
Value makeSample()
{
    Value sample;
    sample.setMember("a", {1, 2});
    sample.setMember("o", {{"x", 1}});
    return sample;
}

Value makeNested(int depth)
{
    Value value = 1;
    for (int i = 0; i < depth; i++)
    {
        Value outer;
        i % 2 != 0 ? outer.add(std::move(value)) : outer.setMember("k", std::move(value));
        value = std::move(outer);
    }
    return value;
}
}

TEST(PropertyValue, ConvertsByTheTable)
{
    constexpr long long BIG = 5000000000;
    XCode coded(XCODE_ERRNO + 2);
    coded.setString("oops");

    struct Row
    {
        char const* type;
        Value value;
        bool boolean;
        long long integer;
        double floating;
        unsigned int code;
        char const* text;
    };

    unsigned int const FAILURE = XCODE_FAILURE;
    Row const ROWS[] = {
        {"Invalid", Value(), false, 7, 7.5, 9, "default"},
        {"Null", nullptr, true, 1, 1.0, 0, "true"},
        {"Boolean", true, true, 1, 1.0, 0, "true"},
        {"Boolean", false, false, 0, 0.0, FAILURE, "false"},
        {"Integer", 0, false, 0, 0.0, 0, "0"},
        {"Integer", BIG, true, BIG, 5e9, FAILURE, "5000000000"},
        {"Integer", -1, true, -1, -1.0, FAILURE, "-1"},
        {"Floating", 0.0, false, 0, 0.0, 0, "0"},
        {"Floating", 2.5, true, 2, 2.5, 2, "2.5"},
        {"Floating", 1e300, true, LLONG_MAX, 1e300, FAILURE, "1e+300"},
        {"Floating", -1e300, true, LLONG_MIN, -1e300, FAILURE, "-1e+300"},
        {"XCode", coded, false, XCODE_ERRNO + 2, 285212674.0, XCODE_ERRNO + 2, "oops"},
        {"XCode", XCODE_SUCCESS, true, 0, 0.0, 0, ""},
        {"String", "", false, 7, 0.0, 0, ""},
        {"String", "On", true, 7, 7.5, FAILURE, "On"},
        {"String", "0x1F", false, 31, 31.0, FAILURE, "0x1F"},
        {"String", "010", false, 8, 10.0, FAILURE, "010"},
        {"String", "12a", false, 7, 7.5, FAILURE, "12a"},
        {"String", "1.5", false, 7, 1.5, FAILURE, "1.5"},
        {"String", "99999999999999999999", false, LLONG_MAX, 1e20, FAILURE, "99999999999999999999"},
        {"Binary", bytesOf(std::string("12\0x", 4)), true, 12, 12.0, FAILURE, "12"},
        {"Binary", bytesOf(std::string("\0\0", 2)), false, 7, 0.0, 0, ""},
        {"Array", {1, {2, "b"}, nullptr}, true, 3, 3.0, 0, "[1,[2,b],true]"},
        {"Array", array(), false, 0, 0.0, FAILURE, "[]"},
        {"Object", {{"k", 1}, {"l", {{"m", 2}}}}, true, 2, 2.0, 0, "{k:1,l:{m:2}}"},
        {"Object", object(), false, 0, 0.0, FAILURE, "{}"},
    };
    for (Row const& row : ROWS)
    {
        SCOPED_TRACE(row.text);
        EXPECT_STREQ(ZKEnumInfo<Type>::VALUE_NAME(row.value.getType()), row.type);
        EXPECT_EQ(row.value.toBoolOr(false), row.boolean);
        EXPECT_EQ(row.value.toInt64Or(7), row.integer);
        EXPECT_EQ(row.value.toFloatOr(7.5), row.floating);
        XCode const code = row.value.toXCodeOr(XCode(9u));
        EXPECT_EQ(code.getRawValue(), row.code);
        if (row.value.getType() == Type::STRING)
        {
            EXPECT_EQ(code.toString(), row.text);
        }
        EXPECT_EQ(row.value.toStringOr("default"), row.text);
        bool const isBinary = row.value.getType() == Type::BINARY;
        TString<char> const bytes = row.value.toBinaryOr(bytesOf("default"));
        EXPECT_EQ(Value(bytes), isBinary ? row.value : Value(bytesOf(row.text)));

        Value inPlace = row.value;
        EXPECT_EQ(inPlace.convertToUIntOr(7), Value::INT64_TO_UINT_SATURATE(row.integer));
        EXPECT_EQ(inPlace.getType(), Type::INTEGER);
        inPlace = row.value;
        EXPECT_EQ(inPlace.convertToStringOr("default"), row.text);
        EXPECT_EQ(inPlace.getStringOr("none"), row.text);
    }
    EXPECT_EQ(Value(std::nan("")).toIntOr(5), 0);
    EXPECT_EQ(listed(Value(-1).getUIntOr(9), Value(BIG).getUIntOr(9), Value(-BIG).getIntOr(9), Value(1.5).getIntOr(9)),
              "0|4294967295|-2147483648|9");
    EXPECT_EQ(Value(ULLONG_MAX).getInt64Or(0), LLONG_MAX);
}

TEST(PropertyValue, GuessesTextsAndTellsSizes)
{
    struct Row
    {
        char const* text;
        Type type;
        unsigned int size;
        bool isEmpty;
    };

    Row const ROWS[] = {{"", Type::INVALID, 0, true},      {"true", Type::BOOLEAN, 1, false},
                        {"-12", Type::INTEGER, 1, false},  {"0x10", Type::FLOATING, 1, false},
                        {"1e3", Type::FLOATING, 1, false}, {"12a", Type::STRING, 1, false}};
    for (Row const& row : ROWS)
        EXPECT_EQ(
            listed(static_cast<int>(parse(row.text).getType()), parse(row.text).size(), parse(row.text).isEmpty()),
            listed(static_cast<int>(row.type), row.size, row.isEmpty))
            << row.text;
    EXPECT_EQ(listed(Value("").isEmpty(), Value(nullptr).isEmpty(), array().isEmpty(), Value{1, 2}.size()),
              "false|true|true|2");
}

TEST(PropertyValue, BecomesTheContainerThatIsNeeded)
{
    Value value = 5;
    value.add(6);
    EXPECT_EQ(value.toString(), "[5,6]");
    value["k"] = std::as_const(value)[0];
    EXPECT_EQ(value.toString(), "{5:5,6:6,k:5}") << "the element is read after the array has become an object";
    value[4] = true;
    EXPECT_EQ(value.toString(), "[5,6,5,true,true]") << "the gap is null, which reads as true";
    EXPECT_TRUE(value[3].isNull());
    value.insert(1, "in");
    value.insert(7, "far");
    value.remove(0u);
    EXPECT_EQ(value.toString(), "[in,6,5,true,true,true,far]");
    EXPECT_EQ(value.pop(), Value(true));
    EXPECT_EQ(value.shift(), Value(true));
    EXPECT_EQ(value.toString(), "[6,5,true,true,true]");
    EXPECT_TRUE(Value(1).pop().isInvalid());
    EXPECT_TRUE(Value(array()).shift().isInvalid());
    value.clear();
    EXPECT_EQ(value.toString(), "[]");
    for (Value filled : {Value("x"), Value(5), Value(1.5), Value(true), Value(XCODE_FAILURE), Value(bytesOf("x"))})
    {
        Type const type = filled.getType();
        Value const copy = filled;
        filled.clear();
        EXPECT_EQ(listed(filled.toBoolOr(false), filled.toFloatOr(9)), type == Type::XCODE ? "true|0" : "false|0");
        EXPECT_EQ(filled.getType(), type);
        EXPECT_NE(copy, filled);
    }
    EXPECT_EQ(Value(std::initializer_list<Value>{{"a", 1}, {1, 2}}).toString(), "[[a,1],[1,2]]");
}

TEST(PropertyValue, NoWriteThroughOneValueShowsInAnother)
{
    // each is prepared on the original, then a copy is made, then it writes
    using Write = std::function<void()>;
    std::function<Write(Value&)> const WRITERS[] = {
        [](Value& v) { return [&kept = v["a"][0]] { kept = 9; }; },
        [](Value& v) { return [&kept = v["o"]] { kept["y"] = 9; }; },
        [](Value& v) { return [&pending = v["n"]] { pending = 9; }; },
        [](Value& v) { return [&pending = v["o"]["n"]["m"]] { pending = 9; }; },
        [](Value& v) { return [&pending = v["a"][3]] { pending = 9; }; },
        [](Value& v)
        {
            Value inner, outer;
            Value& kept = inner["x"];
            kept = 1;
            outer.add(std::move(inner));
            v.setMember("a", std::move(outer));
            return [&kept] { kept = 9; };
        },
        [](Value& v)
        {
            Value inner = object();
            Value& pending = inner["x"];
            v.setMember("a", std::move(inner));
            return [&pending] { pending = 9; };
        },
        [](Value& v) { return [place = v.begin()] { (*place).value->add(9); }; },
        [](Value& v) { return [&kept = v.getByPath("o.x")] { kept = "9"; }; },
        [](Value& v) { return [&v] { v["a"].add(9); }; },
        [](Value& v) { return [&v] { v["a"].insert(0, 9); }; },
        [](Value& v) { return [&v] { v.setMember("a", 9); }; },
        [](Value& v) { return [&v] { v["a"].shift(); }; },
        [](Value& v) { return [&v] { v.remove("o"); }; },
        [](Value& v) { return [&v] { v["o"].clear(); }; },
        [](Value& v) { return [&v] {
                           v.merge({{"o", {{"x", 9}}}}, true);
                       }; },
        [](Value& v) { return [&v] { v.setByPath("o.x", 9); }; },
        [](Value& v) { return [&v] { v["a"].convertToBoolOr(false); }; },
    };
    for (auto const& prepare : WRITERS)
    {
        SCOPED_TRACE(&prepare - WRITERS);
        Value original = makeSample();
        Value const early = original;
        Write const write = prepare(original);
        Value const late = original;
        Value const part = std::as_const(original)["o"];
        String const before = late.toString();
        write();
        EXPECT_NE(original.toString(), before);
        EXPECT_EQ(late.toString(), before);
        EXPECT_EQ(early, makeSample());
        EXPECT_EQ(part, late["o"]);
    }
    Value walked = makeSample();
    Iterator const place = walked.begin();
    Value const other = {{"a", 1}};
    walked = other;
    *(*place).value = 2;
    EXPECT_EQ(listed(walked.toString(), other.toString()), "{a:2}|{a:1}") << "an iterator is a place in the value";
}

TEST(PropertyValue, PendingChildrenJoinOnceAndOutliveEverythingButTheirParent)
{
    Value v;
    v["a"];
    EXPECT_EQ(v.toString(), "{}");
    Value& first = v["a"];
    Value& second = v["b"];
    EXPECT_EQ(&v["a"], &first);
    v["d"] = v["c"];
    EXPECT_EQ(v.toString(), "{}") << "nothing was assigned to either";
    second = 2;
    first = 1;
    first = 3;
    EXPECT_EQ(v.toString(), "{b:2,a:3}");

    Value& late = v["late"];
    v.setMember("late", "early");
    Value copy = v;
    Value moved = std::move(v);
    late = "joined";
    EXPECT_EQ(listed(moved.toString(), copy.size(), v.isInvalid()), "{b:2,a:3,late:joined}|3|true");

    Value& stray = moved["stray"];
    moved = 5;
    stray["deep"] = 1;
    EXPECT_EQ(listed(moved.toString(), stray.toString()), "5|{deep:1}") << "a parent of another type takes nothing";

    std::vector<Value> several(1);
    Value& element = several[0][2];
    several.resize(50);
    Value target = {{"k", 1}};
    Value& own = target["own"];
    target = std::move(several[0]);
    element = 1;
    own = 2;
    EXPECT_TRUE(target.isArray());
    for (int i = 0; i < 100; i++)
        target[200 + i];
    target["x"] = std::move(target);
    EXPECT_TRUE(target.isInvalid()) << "moved into its own child, which has no parent to join then";
}

TEST(PropertyValue, TakesItselfAndItsParts)
{
    Value v = {makeSample()};
    v = *&v;
    v.add(v);
    EXPECT_EQ(v.toString(), "[{a:[1,2],o:{x:1}},[{a:[1,2],o:{x:1}}]]");
    v = v[0];
    v["self"] = v;
    v.setMember("o", v["o"]["x"]);
    EXPECT_EQ(v.toString(), "{a:[1,2],o:1,self:{a:[1,2],o:{x:1}}}");
    v.setByPath("self", v["self"]["a"]);
    v["self"].merge(v["self"], true);
    v.merge(v, true);
    EXPECT_EQ(v.toString(), "{a:[1,2,1,2],o:1,self:[1,2,1,2,1,2,1,2]}");
    v = std::move(v["a"]);
    EXPECT_EQ(v.toString(), "[1,2,1,2]");
    v.add(std::move(v));
    EXPECT_EQ(v.toString(), "[[1,2,1,2]]");
    Value difference = v;
    EXPECT_FALSE(v.diff(v, v));
    EXPECT_TRUE(v.diff(v[0], v));
    EXPECT_EQ(v, difference[0]);
}

TEST(PropertyValue, DiffTellsWhatMakesOneTheOther)
{
    struct Row
    {
        Value from, to;
        char const* difference; // nothing if there is none
    };

    Row const ROWS[] = {
        {{{"a", 1}, {"b", 2}}, {{"a", 1}, {"c", 3}}, "{c:3,b:true}"},
        {{{"o", {{"x", 1}, {"y", 2}}}}, {{"o", {{"y", 3}, {"x", 1}}}}, "{o:{y:3}}"},
        {{{"o", {{"x", 1}}}, {"p", 1}}, {{"p", 1}, {"o", {{"x", 1}}}}, nullptr},
        {{{"a", {1, 2}}}, {{"a", {1, 3}}}, "{a:[1,3]}"},
        {5, "5", "5"},
        {{1, 2}, object(), "{}"},
        {XCode(XCODE_FAILURE), XCode(XCODE_FAILURE), nullptr},
        {bytesOf("x"), bytesOf("x"), nullptr},
    };
    std::function<void(Value&, Value const&)> const apply = [&](Value& target, Value const& difference)
    {
        if (!target.isObject() || !difference.isObject())
            target = difference;
        else
            for (auto const item : difference)
                item.value->isNull() ? target.remove(*item.key) : apply(target[*item.key], *item.value);
    };
    for (Row const& row : ROWS)
    {
        Value result = "untouched", applied = row.from;
        EXPECT_EQ(row.from.diff(row.to, result), row.difference != nullptr);
        EXPECT_EQ(result.toString(), row.difference != nullptr ? row.difference : "untouched");
        if (row.difference != nullptr)
            apply(applied, result);
        EXPECT_EQ(applied, row.to);
    }
}

TEST(PropertyValue, MergesMembersAndAppendsElements)
{
    Value const base = {{"a", {1}}, {"o", {{"x", 1}}}, {"s", "s"}};
    Value const other = {{"a", {2}}, {"o", {{"x", 2}, {"y", 3}}}, {"s", 5}, {"n", 1}};
    Value kept = base, overwritten = base;
    kept.merge(other, false);
    overwritten.merge(other, true);
    EXPECT_EQ(kept.toString(), "{a:[1,2],o:{x:1,y:3},s:s,n:1}");
    EXPECT_EQ(overwritten.toString(), "{a:[1,2],o:{x:2,y:3},s:5,n:1}");
}

TEST(PropertyValue, PathsCreateWhatIsAssignedAndBoundTheGap)
{
    Value v;
    v.setByPath("a.b[2].c", 1);
    v.setByPathTokens("a", "b", "d", 2);
    EXPECT_EQ(v.toString(), "{a:{b:{true:true,true:true,{c:1}:{c:1},d:2}}}") << "an array turned into an object";
    Value const& constant = v;
    EXPECT_EQ(constant.getByPath("a.b.d").getIntOr(0), 2);
    EXPECT_EQ(listed(&constant.getByPath("") == &v, constant.getByPath("a.x.d").isInvalid(),
                     constant.getByPath("a[1]").isInvalid(), constant.getByPathTokens("a", "b", "d").getIntOr(0)),
              "true|true|true|2");
    v.setByPath("list[4000000000]", 1);
    v.setByPath("list[1]", 1);
    v["list"].insert(4000000000u, 1);
    EXPECT_EQ(v["list"].toString(), "[true,1]");
    v["list"][-1] = 5;
    EXPECT_EQ(v["list"].size(), 2u);
    v.setByPath("", 3);
    EXPECT_EQ(v.toString(), "3");
}

TEST(PropertyValue, WalksElementsMembersAndTheValueItself)
{
    auto const walk = [](Value const& value)
    {
        String text;
        for (auto const item : value)
            text.concatf("%u %s=%s;", item.index, item.key->c_str(), item.value->toString().c_str());
        return text;
    };
    EXPECT_EQ(walk({5, 6}), "0 =5;1 =6;");
    EXPECT_EQ(walk({{"b", 1}, {"a", 2}}), "0 b=1;1 a=2;");
    EXPECT_EQ(walk("x"), "0 =x;");
    EXPECT_EQ(walk(object()), "");

    Value list = {1, 2, 3};
    Iterator it = list.end();
    EXPECT_EQ((*--it).value->getIntOr(0), 3);
    it++;
    EXPECT_EQ(it, list.end());
    EXPECT_EQ(ConstIterator(), ConstIterator());
    EXPECT_EQ((*ConstIterator()).value, &invalid());
    unsigned int rounds = 0;
    for (auto const item : list)
    {
        *item.value = 7;
        list.pop();
        rounds++;
    }
    EXPECT_EQ(listed(rounds, list.toString()), "2|[7]") << "the end comes nearer";
}

TEST(PropertyValue, LargeObjectsKeepTheirOrderThroughChanges)
{
    Value object = ZK::Property::object();
    std::map<int, int> model;
    unsigned int random = 12345;
    for (int i = 0; i < 20000; i++)
    {
        random = random * 1103515245 + 12345;
        int const key = static_cast<int>((random >> 16) % 600);
        String const name = String::stringOf(key);
        if ((random >> 8) % 3 != 0)
        {
            object.setMember(name, i);
            model[key] = i;
        }
        else
        {
            object.remove(name);
            model.erase(key);
        }
        Value const copy = i % 700 == 0 ? object : Value(); // what is written to then is a copy, too
        // what was read lies in one piece until it changes
        ASSERT_TRUE(i % 1000 != 0 || object.fromJson(object.toJson()).isSuccess());
        ASSERT_EQ(object.size(), model.size());
    }
    Value again;
    for (auto const item : std::as_const(object))
    {
        EXPECT_EQ(object.find(*item.key), item.value);
        again.setMember(*item.key, *item.value);
    }
    for (auto const& [key, number] : model)
        EXPECT_EQ(std::as_const(object)[String::stringOf(key)].getIntOr(-1), number);
    EXPECT_EQ(again.toString(), object.toString());
    EXPECT_EQ(again, object);
}

TEST(PropertyValue, ArraysThatCameInOnePieceChangeLikeOthers)
{
    std::mt19937 random(1);
    Value array = ZK::Property::array();
    std::vector<int> model;
    for (int i = 0; i < 1000; i++)
    {
        auto const place = static_cast<unsigned int>(random() % (model.size() + 1));
        bool const isElement = place < model.size();
        Value const copy = array;
        switch (random() % 7)
        {
        case 0:
            ASSERT_TRUE(array.fromJson(array.toJson()).isSuccess());
            break;
        case 1:
            array.copyOnWrite();
            break;
        case 2:
        case 3:
            array.add(i);
            model.push_back(i);
            break;
        case 4:
            array.insert(place, i);
            model.insert(model.begin() + place, i);
            break;
        case 5:
            array[place] = i;
            model.resize(std::max<std::size_t>(model.size(), place + 1));
            model[place] = i;
            break;
        default:
            array.remove(isElement && place % 2 != 0 ? place : array.size() - 1);
            if (!model.empty())
                model.erase(isElement && place % 2 != 0 ? model.begin() + place : model.end() - 1);
        }
        ASSERT_EQ(array.size(), model.size());
        for (unsigned int j = 0; j < model.size(); j++)
            ASSERT_EQ(std::as_const(array)[j].getIntOr(-1), model[j]);
    }
    ASSERT_TRUE(array.fromJson("[1,2,3]").isSuccess());
    Value& kept = array[1];
    for (int i = 0; i < 100; i++)
        array.insert(0, i);
    kept = "there";
    EXPECT_EQ(array[101].toString(), "there") << "elements stay where they are";
}

TEST(PropertyValue, DepthDoesNotExhaustTheStack)
{
    Value deep = makeNested(100000);
    Value const same = makeNested(100000);
    EXPECT_TRUE(deep == same);
    EXPECT_GT(deep.toString().length(), 100000);
    deep.merge(same, false);
    Value* inner = &deep;
    while (inner->isArray() || inner->isObject())
        inner = inner->isArray() ? &(*inner)[0] : &(*inner)["k"];
    Value const copy = deep;
    *inner = 2;
    EXPECT_FALSE(copy == deep) << "every level was handed out";
    deep.clear();
}

TEST(PropertyValue, CopiesMayGoToOtherThreads)
{
    Value const shared = makeSample();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; i++)
        threads.emplace_back(
            [copy = shared, i]() mutable
            {
                for (int round = 0; round < 500; round++)
                {
                    Value mine = copy;
                    mine["o"]["x"] = i;
                    mine["a"].add(array());
                    EXPECT_EQ(std::as_const(mine)["o"]["x"].getIntOr(-1), i);
                    Value empty = object();
                    empty["k"] = invalid();
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(shared, makeSample());
}
