#include "ustring.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

typedef std::vector<unsigned short> Units;

std::string bytes(std::initializer_list<unsigned int> list)
{
    std::string s;
    for (unsigned int b : list)
        s += static_cast<char>(static_cast<unsigned char>(b));
    return s;
}

std::vector<unsigned int> byteValues(const std::string& s)
{
    std::vector<unsigned int> out;
    for (char c : s)
        out.push_back(static_cast<unsigned char>(c));
    return out;
}

UString fromUnits(const Units& u)
{
    UString s;
    s.storageRW() = u;
    return s;
}

std::string expectedLine(const char* verb, unsigned int i, const void* me)
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
        {"highest two-byte", bytes({0xDF, 0xBF}), {0x7FF}},
        {"highest unit", bytes({0xEF, 0xBF, 0xBF}), {0xFFFF}},
        {"four-byte vanishes", bytes({0x61, 0xF0, 0x9F, 0x98, 0x80, 0x62}), {0x61, 0x62}},
        {"lone continuation", bytes({0x80}), {}},
        {"continuations between letters", bytes({0x61, 0xBF, 0x80, 0x62}), {0x61, 0x62}},
        {"bytes 0xF8..0xFF skipped", bytes({0xF8, 0xFC, 0xFE, 0xFF, 0x7A}), {0x7A}},
        {"continuation not checked", bytes({0xC3, 0x41}), {0x00C1}},
        {"lead consumed as continuation", bytes({0xC3, 0xC3, 0xA9}), {0x00C3}},
        {"three-byte swallows ascii", bytes({0xE2, 0x41, 0x42, 0x43}), {0x2042, 0x43}},
        {"overlong two-byte nul", bytes({0xC0, 0x80}), {0x0000}},
        {"overlong two-byte slash", bytes({0xC0, 0xAF}), {0x002F}},
        {"overlong three-byte nul", bytes({0xE0, 0x80, 0x80}), {0x0000}},
        {"surrogate high", bytes({0xED, 0xA0, 0x80}), {0xD800}},
        {"surrogate low", bytes({0xED, 0xBF, 0xBF}), {0xDFFF}},
        {"truncated two-byte", bytes({0x61, 0xC3}), {0x61, 0x00C0}},
        {"truncated three-byte, one missing", bytes({0xE2, 0x82}), {0x2080}},
        {"truncated three-byte, two missing", bytes({0x61, 0xEF}), {0x61, 0xF000}},
        {"embedded nul kept", std::string("a\0b", 3), {0x61, 0x00, 0x62}},
        {"empty", std::string(), {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(UString::fromUTF8(c.in).storage(), c.out);
        EXPECT_EQ(UString(c.in).storage(), c.out);
        UString assigned("zzz");
        assigned = c.in;
        EXPECT_EQ(assigned.storage(), c.out);
    }
}

TEST(UStringDecode, CStringConstructorStopsAtNulAndRejectsNull)
{
    EXPECT_EQ(UString("\xC3\xA9x").storage(), (Units{0xE9, 0x78}));
    const char* nul = nullptr;
    EXPECT_THROW(UString s(nul), std::logic_error);
}

TEST(UStringEncode, UnitsToBytes)
{
    struct Case {
        unsigned short unit;
        std::vector<unsigned int> out;
    };
    const Case cases[] = {
        {0x0000, {0x00}},       {0x007F, {0x7F}},       {0x0080, {0xC2, 0x80}},
        {0x07FF, {0xDF, 0xBF}}, {0x0800, {0xE0, 0xA0, 0x80}}, {0xD800, {0xED, 0xA0, 0x80}},
        {0xFFFF, {0xEF, 0xBF, 0xBF}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.unit);
        EXPECT_EQ(byteValues(UString(c.unit).toUTF8()), c.out);
    }
    // A surrogate pair is not combined into one four-byte sequence.
    EXPECT_EQ(byteValues(fromUnits({0xD83D, 0xDE00}).toUTF8()),
              (std::vector<unsigned int>{0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80}));
}

TEST(UStringEncode, RoundTripOfEveryUnitAndSurrogatesOneByOne)
{
    Units all;
    for (unsigned int u = 0; u <= 0xFFFF; ++u)
        all.push_back(static_cast<unsigned short>(u));
    // Every unit, surrogates included, survives the trip when encoded
    // alone, since each is written as its own three-byte sequence.
    const UString s = fromUnits(all);
    EXPECT_EQ(UString::fromUTF8(s.toUTF8()).storage(), all);
}

TEST(UStringEncode, ToASCIIKeepsLowByteAndMapsIconMarkers)
{
    Units u;
    for (unsigned int i = 0; i < 300; ++i)
        u.push_back(static_cast<unsigned short>(0x0100 + i));
    const Units head = {0xE000, 0xE001, 0xE002, 0xE003, 0x00E9, 0x0141, 0xDFFF};
    std::copy(head.begin(), head.end(), u.begin());
    const std::vector<unsigned int> v = byteValues(fromUnits(u).toASCII());
    ASSERT_EQ(v.size(), 300u);
    EXPECT_EQ(std::vector<unsigned int>(v.begin(), v.begin() + 7),
              (std::vector<unsigned int>{0x1F, 0x1F, 0x1F, 0x03, 0xE9, 0x41, 0xFF}));
    EXPECT_EQ(v[299], (0x0100u + 299u) & 0xFFu);
}

TEST(UStringConstruct, FromUnits)
{
    const unsigned short zero = 0;
    EXPECT_EQ(UString(zero).length(), 1u);
    EXPECT_EQ(UString(zero)[0], 0);

    const unsigned short* none = nullptr;
    EXPECT_TRUE(UString(none).empty());
    const unsigned short onlyNul[] = {0};
    EXPECT_TRUE(UString(onlyNul).isEmpty());
    const unsigned short text[] = {0x41, 0xFFFF, 0x42, 0, 0x43};
    EXPECT_EQ(UString(text).storage(), (Units{0x41, 0xFFFF, 0x42}));
}

TEST(UStringQuery, FindCountsFromOneAndEquality)
{
    const UString abc("abc");
    EXPECT_EQ(UString::npos, 65536u);
    EXPECT_EQ(abc.find('a'), 1u);
    EXPECT_EQ(abc.find('c'), 3u);
    EXPECT_EQ(abc.find('z'), UString::npos);
    EXPECT_EQ(UString().find('a'), UString::npos);
    // The first of several matches.
    EXPECT_EQ(UString("xyxy").find('y'), 2u);
    // A zero unit inside the text is found like any other.
    EXPECT_EQ(UString(std::string("ab\0", 3)).find(0), 3u);

    EXPECT_FALSE(UString("abc") == UString("ab"));
    EXPECT_TRUE(UString("ab") != UString(std::string("ab\0", 3)));
    EXPECT_TRUE(UString() == UString(""));
}

TEST(UStringQuery, FindFirstNotOf)
{
    const UString s("  \t x y");
    EXPECT_EQ(s.find_first_not_of(UString(" \t")), 5u);
    EXPECT_EQ(UString("   ").find_first_not_of(UString(" ")), UString::npos);
    EXPECT_EQ(UString().find_first_not_of(UString(" ")), UString::npos);
    EXPECT_EQ(UString("abc").find_first_not_of(UString()), 1u);
    EXPECT_EQ(UString().find_first_not_of(UString()), UString::npos);
    EXPECT_EQ(UString("ab\xC3\xA9").find_first_not_of(UString("ba")), 3u);
}

TEST(UStringOrder, ComparesUTF8BytesUnsigned)
{
    EXPECT_TRUE(UString("ab") < UString("b"));
    EXPECT_FALSE(UString("b") < UString("ab"));
    EXPECT_TRUE(UString("a") < UString("ab"));
    EXPECT_FALSE(UString("ab") < UString("a"));
    EXPECT_FALSE(UString("ab") < UString("ab"));
    EXPECT_TRUE(UString() < UString(std::string("\0", 1)));

    // Bytes >= 0x80 sort after ASCII whatever the signedness of char.
    const UString z("z");
    const UString eAcute("\xC3\xA9");
    EXPECT_TRUE(z < eAcute);
    EXPECT_FALSE(eAcute < z);

    // As map keys: the order is that of the code points for the BMP.
    std::map<UString, int> m;
    const unsigned short units[] = {0xFFFF, 0x0800, 0x07FF, 0x0041, 0xE000, 0xD800, 0x0080, 0x0000};
    for (unsigned short u : units)
        m[UString(u)] = u;
    std::vector<int> order;
    for (const auto& kv : m)
        order.push_back(kv.second);
    EXPECT_EQ(order, (std::vector<int>{0x0000, 0x0041, 0x0080, 0x07FF, 0x0800, 0xD800, 0xE000,
                                       0xFFFF}));
}

TEST(UStringModify, SubstrAndResize)
{
    const UString abc("abc");
    EXPECT_EQ(abc.substr(1, 100), UString("bc"));
    EXPECT_TRUE(abc.substr(3, 1).empty());
    EXPECT_TRUE(abc.substr(0, 0).empty());
    EXPECT_TRUE(abc.substr(UINT_MAX, 1).empty());
    // pos + n would wrap around in 32 bits.
    EXPECT_EQ(abc.substr(1, UINT_MAX), UString("bc"));
    EXPECT_EQ(abc.substr(2, UINT_MAX - 1), UString("c"));

    UString s("ab");
    s.resize(5);
    EXPECT_EQ(s.storage(), (Units{'a', 'b', 0, 0, 0}));
    s.resize(1);
    EXPECT_EQ(s, UString("a"));
}

TEST(UStringModify, AppendForms)
{
    UString s("ab");
    s.append(0u, static_cast<unsigned short>('x'));
    EXPECT_EQ(s, UString("ab"));
    s.append(3u, static_cast<unsigned short>(0xE9));
    EXPECT_EQ(s, UString("ab\xC3\xA9\xC3\xA9\xC3\xA9"));
    s += static_cast<unsigned short>('?');
    s += UString("cd");
    EXPECT_EQ(s.toUTF8(), "ab\xC3\xA9\xC3\xA9\xC3\xA9?cd");

    const UString left("le");
    EXPECT_EQ(left + UString("ft"), UString("left"));
    EXPECT_EQ(left, UString("le"));
}

TEST(UStringModify, AppendingToItself)
{
    UString s("abc");
    s.append(s);
    EXPECT_EQ(s, UString("abcabc"));
    s += s;
    EXPECT_EQ(s, UString("abcabcabcabc"));

    // A unit of the string itself, appended while the vector may grow.
    UString t("a");
    for (int i = 0; i < 20; ++i)
        t += t[t.length() - 1];
    EXPECT_EQ(t.length(), 21u);
    EXPECT_EQ(t.find_first_not_of(UString("a")), UString::npos);
}

TEST(UStringCache, CStrKeepsOldTextUntilNextCall)
{
    const UString empty;
    const unsigned short* p = empty.c_str();
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p[0], 0);

    UString s("ab");
    const unsigned short* first = s.c_str();
    EXPECT_EQ(first[0], 'a');
    EXPECT_EQ(first[1], 'b');
    EXPECT_EQ(first[2], 0);
    // Unchanged string: the same copy, no rebuild.
    EXPECT_EQ(s.c_str(), first);
    // reserve does not change the text and keeps the copy.
    s.reserve(1000);
    EXPECT_EQ(s.c_str(), first);

    s.append(static_cast<unsigned short>('c'));
    // The old copy is still alive and still shows the old text.
    EXPECT_EQ(first[0], 'a');
    EXPECT_EQ(first[1], 'b');
    EXPECT_EQ(first[2], 0);
    const unsigned short* second = s.c_str();
    EXPECT_EQ(second[2], 'c');
    EXPECT_EQ(second[3], 0);
}

TEST(UStringCache, EveryWritableAccessRebuildsTheCopy)
{
    UString s("abc");
    s.c_str();
    s.storageRW()[0] = 'x';
    EXPECT_EQ(s.c_str()[0], 'x');
    s.iAmAwareOfWhatImDoingAndIWantStorage()[1] = 'y';
    EXPECT_EQ(s.c_str()[1], 'y');
    s[2] = 'z';
    EXPECT_EQ(s.c_str()[2], 'z');
    s.resize(2);
    EXPECT_EQ(s.c_str()[2], 0);
    s = UString("pq");
    EXPECT_EQ(s.c_str()[1], 'q');
    s.clean_c_str();
    EXPECT_EQ(s.c_str()[0], 'p');
    s.clear();
    EXPECT_EQ(s.c_str()[0], 0);
}

TEST(UStringCache, CopiesNeverShareTheCopy)
{
    UString a("ab");
    const unsigned short* pa = a.c_str();
    UString b(a);
    const unsigned short* pb = b.c_str();
    EXPECT_NE(pa, pb);
    b[0] = 'x';
    b.c_str();
    EXPECT_EQ(pa[0], 'a');
    EXPECT_EQ(a.c_str(), pa);

    UString c;
    c = a;
    EXPECT_NE(c.c_str(), a.c_str());
    const UString& alias = c;
    c = alias;
    EXPECT_EQ(c, UString("ab"));
    EXPECT_EQ(c.c_str()[1], 'b');
}

TEST(UStringIndex, OutOfRangeAccessPrintsAndIsAbsorbed)
{
    UString s("ab");

    testing::internal::CaptureStdout();
    s[2] = 'Q';
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, expectedLine("write", 2, &s));
    EXPECT_EQ(s, UString("ab"));

    // The absorbed write lands in the shared box, which another
    // out-of-range writable access hands out again.
    UString other("xyz");
    testing::internal::CaptureStdout();
    const unsigned short boxed = other[7];
    out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(boxed, 'Q');
    EXPECT_EQ(out, expectedLine("write", 7, &other));
    EXPECT_EQ(other, UString("xyz"));

    const UString& cs = s;
    testing::internal::CaptureStdout();
    EXPECT_EQ(cs[2], 0);
    EXPECT_EQ(cs[UINT_MAX], 0);
    out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, expectedLine("access", 2, &s) + expectedLine("access", UINT_MAX, &s));
    EXPECT_NE(out.find("at -1, me: "), std::string::npos);

    // In range: no line at all.
    testing::internal::CaptureStdout();
    EXPECT_EQ(cs[1], 'b');
    s[0] = 'c';
    out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "");
    EXPECT_EQ(s, UString("cb"));
}
