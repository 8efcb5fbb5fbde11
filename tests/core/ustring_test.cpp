#include "ustring.h"

#include <climits>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

typedef std::vector<unsigned short> Units;
typedef std::vector<unsigned int> Bytes;

std::string bytes(std::initializer_list<unsigned int> list)
{
    std::string s;
    for (unsigned int b : list)
        s += static_cast<char>(static_cast<unsigned char>(b));
    return s;
}

Bytes byteValues(const std::string& s)
{
    return Bytes(reinterpret_cast<const unsigned char*>(s.data()),
                 reinterpret_cast<const unsigned char*>(s.data()) + s.size());
}

UString fromUnits(const Units& u)
{
    UString s;
    s.storageRW() = u;
    return s;
}

std::string outOfRangeLine(const char* verb, unsigned int i, const void* me)
{
    char buf[200];
    std::snprintf(buf, sizeof buf,
                  "____________ PString::operator[], somebody wants to %s to unallocated space at "
                  "%d, me: %p\n",
                  verb, static_cast<int>(i), me);
    return buf;
}

} // namespace

// Every case runs through std::string, so bytes >= 0x80 are negative chars on
// amd64 and positive ones on ARM; the results must not differ.
TEST(UStringDecode, FollowsTheDecodingRules)
{
    struct Case {
        const char* what;
        std::string in;
        Units out;
    };
    const Case cases[] = {
        {"ascii and two-byte", bytes({0x68, 0xC3, 0xA9}), {0x68, 0xE9}},
        {"three-byte", bytes({0xE4, 0xB8, 0xAD, 0x21}), {0x4E2D, 0x21}},
        {"highest two-byte and unit", bytes({0xDF, 0xBF, 0xEF, 0xBF, 0xBF}), {0x7FF, 0xFFFF}},
        {"four-byte vanishes", bytes({0x61, 0xF0, 0x9F, 0x98, 0x80, 0x62}), {0x61, 0x62}},
        {"continuations between letters", bytes({0x61, 0xBF, 0x80, 0x62}), {0x61, 0x62}},
        {"bytes 0xF8..0xFF skipped", bytes({0xF8, 0xFC, 0xFE, 0xFF, 0x7A}), {0x7A}},
        {"continuation not checked", bytes({0xC3, 0x41}), {0x00C1}},
        {"lead consumed as continuation", bytes({0xC3, 0xC3, 0xA9}), {0x00C3}},
        {"three-byte swallows ascii", bytes({0xE2, 0x41, 0x42, 0x43}), {0x2042, 0x43}},
        {"overlong two-byte", bytes({0xC0, 0x80, 0xC0, 0xAF}), {0x0000, 0x002F}},
        {"overlong three-byte nul", bytes({0xE0, 0x80, 0x80}), {0x0000}},
        {"surrogates", bytes({0xED, 0xA0, 0x80, 0xED, 0xBF, 0xBF}), {0xD800, 0xDFFF}},
        {"truncated two-byte", bytes({0x61, 0xC3}), {0x61, 0x00C0}},
        {"truncated three-byte, one missing", bytes({0xE2, 0x82}), {0x2080}},
        {"truncated three-byte, two missing", bytes({0x61, 0xEF}), {0x61, 0xF000}},
        {"embedded nul kept", std::string("a\0b", 3), {0x61, 0x00, 0x62}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(UString::fromUTF8(c.in).storage(), c.out);
        EXPECT_EQ(UString(c.in).storage(), c.out);
        UString assigned("zzz");
        assigned = c.in;
        EXPECT_EQ(assigned.storage(), c.out);
    }
    // From C strings up to the nul; from units up to the zero unit.
    EXPECT_EQ(UString("\xC3\xA9x").storage(), (Units{0xE9, 0x78}));
    EXPECT_THROW(UString(static_cast<const char*>(nullptr)), std::logic_error);
    const unsigned short text[] = {0x41, 0xFFFF, 0x42, 0, 0x43};
    EXPECT_EQ(UString(text).storage(), (Units{0x41, 0xFFFF, 0x42}));
    EXPECT_TRUE(UString(static_cast<const unsigned short*>(nullptr)).empty());
    EXPECT_EQ(UString(static_cast<unsigned short>(0)).storage(), (Units{0}));
}

TEST(UStringEncode, UnitsToBytesOneByOne)
{
    const std::pair<unsigned short, Bytes> cases[] = {
        {0x0000, {0x00}},       {0x007F, {0x7F}},             {0x0080, {0xC2, 0x80}},
        {0x07FF, {0xDF, 0xBF}}, {0x0800, {0xE0, 0xA0, 0x80}}, {0xFFFF, {0xEF, 0xBF, 0xBF}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(byteValues(UString(c.first).toUTF8()), c.second) << c.first;
    // A surrogate pair is not combined into one four-byte sequence.
    EXPECT_EQ(byteValues(fromUnits({0xD83D, 0xDE00}).toUTF8()),
              (Bytes{0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80}));
    // So every unit, surrogates included, survives the round trip.
    Units all;
    for (unsigned int u = 0; u <= 0xFFFF; ++u)
        all.push_back(static_cast<unsigned short>(u));
    EXPECT_EQ(UString::fromUTF8(fromUnits(all).toUTF8()).storage(), all);

    // toASCII keeps the low byte and maps the icon markers.
    EXPECT_EQ(byteValues(fromUnits({0xE000, 0xE001, 0xE002, 0xE003, 0x00E9, 0x0141, 0xDFFF, 0x022B}).toASCII()),
              (Bytes{0x1F, 0x1F, 0x1F, 0x03, 0xE9, 0x41, 0xFF, 0x2B}));
}

TEST(UStringQuery, FindCountsFromOne)
{
    const UString abc("abc");
    EXPECT_EQ(UString::npos, 65536u);
    EXPECT_EQ(abc.find('a'), 1u);
    EXPECT_EQ(abc.find('c'), 3u);
    EXPECT_EQ(abc.find('z'), UString::npos);
    EXPECT_EQ(UString().find('a'), UString::npos);
    EXPECT_EQ(UString("xyxy").find('y'), 2u); // the first of several
    EXPECT_EQ(UString(std::string("ab\0", 3)).find(0), 3u);

    EXPECT_EQ(UString("  \t x y").find_first_not_of(UString(" \t")), 5u);
    EXPECT_EQ(UString("ab\xC3\xA9").find_first_not_of(UString("ba")), 3u);
    EXPECT_EQ(UString("abc").find_first_not_of(UString()), 1u);
    EXPECT_EQ(UString("   ").find_first_not_of(UString(" ")), UString::npos);
    EXPECT_EQ(UString().find_first_not_of(UString()), UString::npos);
}

TEST(UStringOrder, EqualityAndUnsignedUTF8ByteOrder)
{
    EXPECT_FALSE(UString("abc") == UString("ab"));
    EXPECT_TRUE(UString("ab") != UString(std::string("ab\0", 3)));
    EXPECT_TRUE(UString() == UString(""));

    EXPECT_TRUE(UString("ab") < UString("b"));
    EXPECT_FALSE(UString("b") < UString("ab"));
    EXPECT_TRUE(UString("a") < UString("ab"));
    EXPECT_FALSE(UString("ab") < UString("ab"));
    EXPECT_TRUE(UString() < UString(std::string("\0", 1)));
    // Bytes >= 0x80 sort after ASCII whatever the signedness of char, so map
    // keys follow the code points in the BMP.
    EXPECT_FALSE(UString("\xC3\xA9") < UString("z"));
    std::map<UString, int> m;
    for (unsigned short u : {0xFFFF, 0x0800, 0x07FF, 0x0041, 0xE000, 0xD800, 0x0080, 0x0000})
        m[UString(u)] = u;
    std::vector<int> order;
    for (const auto& kv : m)
        order.push_back(kv.second);
    EXPECT_EQ(order, (std::vector<int>{0x0000, 0x0041, 0x0080, 0x07FF, 0x0800, 0xD800, 0xE000, 0xFFFF}));
}

TEST(UStringModify, SubstrResizeAndAppend)
{
    const UString abc("abc");
    EXPECT_EQ(abc.substr(1, 100), UString("bc"));
    EXPECT_TRUE(abc.substr(3, 1).empty());
    EXPECT_TRUE(abc.substr(UINT_MAX, 1).empty());
    // pos + n would wrap around in 32 bits.
    EXPECT_EQ(abc.substr(1, UINT_MAX), UString("bc"));
    EXPECT_EQ(abc.substr(2, UINT_MAX - 1), UString("c"));

    UString s("ab");
    s.resize(5);
    EXPECT_EQ(s.storage(), (Units{'a', 'b', 0, 0, 0}));
    s.resize(2);
    s.append(0u, static_cast<unsigned short>('x'));
    s.append(2u, static_cast<unsigned short>(0xE9));
    s += static_cast<unsigned short>('?');
    EXPECT_EQ((s + UString("cd")).toUTF8(), "ab\xC3\xA9\xC3\xA9?cd");
    EXPECT_EQ(s.length(), 5u);

    // Appending the string to itself, or one of its own units while the
    // vector may grow.
    UString t("abc");
    t.append(t);
    t += t;
    EXPECT_EQ(t, UString("abcabcabcabc"));
    UString a("a");
    for (int i = 0; i < 20; ++i)
        a += a[a.length() - 1];
    EXPECT_EQ(a, UString(std::string(21, 'a')));
}

TEST(UStringCache, CStrKeepsItsCopyUntilTheTextChanges)
{
    EXPECT_EQ(UString().c_str()[0], 0);
    UString s("ab");
    const unsigned short* first = s.c_str();
    EXPECT_EQ(Units(first, first + 3), (Units{'a', 'b', 0}));
    s.reserve(1000); // does not change the text: the same copy
    EXPECT_EQ(s.c_str(), first);
    s.append(static_cast<unsigned short>('c'));
    // The old copy is still alive and still shows the old text.
    EXPECT_EQ(Units(first, first + 3), (Units{'a', 'b', 0}));
    const unsigned short* second = s.c_str();
    EXPECT_EQ(Units(second, second + 4), (Units{'a', 'b', 'c', 0}));

    // Every writable access rebuilds the copy.
    s.storageRW()[0] = 'x';
    EXPECT_EQ(s.c_str()[0], 'x');
    s.iAmAwareOfWhatImDoingAndIWantStorage()[1] = 'y';
    EXPECT_EQ(s.c_str()[1], 'y');
    s[2] = 'z';
    EXPECT_EQ(s.c_str()[2], 'z');
    s.resize(2);
    EXPECT_EQ(s.c_str()[2], 0);
    s.clean_c_str();
    EXPECT_EQ(s.c_str()[0], 'x');
    s.clear();
    EXPECT_EQ(s.c_str()[0], 0);

    // Copies never share the copy.
    UString a("ab");
    const unsigned short* pa = a.c_str();
    UString b(a);
    EXPECT_NE(b.c_str(), pa);
    b[0] = 'x';
    b.c_str();
    EXPECT_EQ(pa[0], 'a');
    EXPECT_EQ(a.c_str(), pa);
    UString c;
    c = a;
    EXPECT_NE(c.c_str(), a.c_str());
    const UString& alias = c;
    c = alias;
    EXPECT_EQ(c.c_str()[1], 'b');
}

TEST(UStringIndex, OutOfRangeAccessPrintsAndIsAbsorbed)
{
    UString s("ab");
    testing::internal::CaptureStdout();
    s[2] = 'Q';
    EXPECT_EQ(testing::internal::GetCapturedStdout(), outOfRangeLine("write", 2, &s));
    EXPECT_EQ(s, UString("ab"));

    // The absorbed write lands in the shared box, which another
    // out-of-range writable access hands out again.
    UString other("xyz");
    testing::internal::CaptureStdout();
    EXPECT_EQ(other[7], 'Q');
    EXPECT_EQ(testing::internal::GetCapturedStdout(), outOfRangeLine("write", 7, &other));

    const UString& cs = s;
    testing::internal::CaptureStdout();
    EXPECT_EQ(cs[2], 0);
    EXPECT_EQ(cs[UINT_MAX], 0);
    EXPECT_EQ(cs[1], 'b'); // in range: no line
    s[0] = 'c';
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, outOfRangeLine("access", 2, &s) + outOfRangeLine("access", UINT_MAX, &s));
    EXPECT_NE(out.find("at -1, me: "), std::string::npos);
    EXPECT_EQ(s, UString("cb"));
}
