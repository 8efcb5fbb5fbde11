// UString: UTF-8 in and out whatever the signedness of char, 1-based find,
// byte order, 32-bit wrap in substr, the cached copy's lifetime and the
// out-of-range lines.
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

} // namespace

// Every case runs through std::string, so bytes >= 0x80 are negative chars on
// amd64 and positive ones on ARM; the results must not differ.
TEST(UString, DecodesWithoutValidation)
{
    const std::pair<std::string, Units> cases[] = {
        {bytes({0x68, 0xC3, 0xA9, 0xE4, 0xB8, 0xAD}), {0x68, 0xE9, 0x4E2D}},
        {bytes({0xDF, 0xBF, 0xEF, 0xBF, 0xBF}), {0x7FF, 0xFFFF}},
        {bytes({0x61, 0xF0, 0x9F, 0x98, 0x80, 0x62}), {0x61, 0x62}}, // four-byte: skipped
        {bytes({0x61, 0xBF, 0xF8, 0xFF, 0x62}), {0x61, 0x62}},       // stray bytes skipped
        {bytes({0xC3, 0xC3, 0xA9}), {0x00C3}},            // continuations not checked
        {bytes({0xE2, 0x41, 0x42, 0x43}), {0x2042, 0x43}},
        {bytes({0xC0, 0xAF, 0xE0, 0x80, 0x80}), {0x002F, 0x0000}}, // overlong
        {bytes({0x61, 0xC3}), {0x61, 0x00C0}}, // cut short: missing bytes read as 0
        {std::string("a\0b", 3), {0x61, 0x00, 0x62}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(UString::fromUTF8(c.first).storage(), c.second)
            << ::testing::PrintToString(byteValues(c.first));
    // From C strings up to the nul; from units up to the zero unit.
    EXPECT_EQ(UString("\xC3\xA9x").storage(), (Units{0xE9, 0x78}));
    EXPECT_THROW(UString(static_cast<const char*>(nullptr)), std::logic_error);
    const unsigned short text[] = {0x41, 0xFFFF, 0, 0x43};
    EXPECT_EQ(UString(text).storage(), (Units{0x41, 0xFFFF}));
    EXPECT_TRUE(UString(static_cast<const unsigned short*>(nullptr)).empty());
}

TEST(UString, EncodesUnitByUnit)
{
    const std::pair<unsigned short, Bytes> cases[] = {
        {0x007F, {0x7F}}, {0x0080, {0xC2, 0x80}}, {0x07FF, {0xDF, 0xBF}}, {0x0800, {0xE0, 0xA0, 0x80}}};
    for (const auto& c : cases)
        EXPECT_EQ(byteValues(UString(c.first).toUTF8()), c.second) << c.first;
    // Surrogates are not combined, so every unit survives the round trip.
    Units all;
    for (unsigned int u = 0; u <= 0xFFFF; ++u)
        all.push_back(static_cast<unsigned short>(u));
    EXPECT_EQ(UString::fromUTF8(fromUnits(all).toUTF8()).storage(), all);
    // toASCII keeps the low byte and maps the icon markers.
    EXPECT_EQ(byteValues(fromUnits({0xE000, 0xE002, 0xE003, 0x00E9, 0x0141}).toASCII()),
              (Bytes{0x1F, 0x1F, 0x03, 0xE9, 0x41}));
}

TEST(UString, FindCountsFromOneAndOrderIsUnsignedUTF8)
{
    EXPECT_EQ(UString::npos, 65536u);
    EXPECT_EQ(UString("xyxy").find('x'), 1u);
    EXPECT_EQ(UString("abc").find('z'), UString::npos);
    EXPECT_EQ(UString("  \t x").find_first_not_of(UString(" \t")), 5u);
    EXPECT_EQ(UString("   ").find_first_not_of(UString(" ")), UString::npos);

    EXPECT_TRUE(UString("ab") != UString(std::string("ab\0", 3)));
    EXPECT_TRUE(UString("a") < UString("ab"));
    EXPECT_FALSE(UString("ab") < UString("ab"));
    // Bytes >= 0x80 sort after ASCII whatever the signedness of char, so map
    // keys follow the code points in the BMP.
    std::map<UString, int> m;
    for (unsigned short u : {0xFFFF, 0x0800, 0x07FF, 0x0041, 0xE000, 0xD800, 0x0080, 0x0000})
        m[UString(u)] = u;
    std::vector<int> order;
    for (const auto& kv : m)
        order.push_back(kv.second);
    EXPECT_EQ(order, (std::vector<int>{0x0000, 0x0041, 0x0080, 0x07FF, 0x0800, 0xD800, 0xE000, 0xFFFF}));
}

TEST(UString, SubstrAndSelfAppend)
{
    const UString abc("abc");
    EXPECT_EQ(abc.substr(1, 100), UString("bc"));
    EXPECT_TRUE(abc.substr(3, 1).empty());
    EXPECT_EQ(abc.substr(2, UINT_MAX - 1), UString("c")); // pos + n wraps in 32 bits

    // Appending the string to itself, or one of its own units while the
    // vector may grow.
    UString t("abc");
    t += t;
    EXPECT_EQ(t, UString("abcabc"));
    UString a("a");
    for (int i = 0; i < 20; ++i)
        a += a[a.length() - 1];
    EXPECT_EQ(a, UString(std::string(21, 'a')));
}

TEST(UString, CStrCopyLivesUntilTheNextCallAfterAChange)
{
    UString s("ab");
    const unsigned short* first = s.c_str();
    s.append(static_cast<unsigned short>('c'));
    EXPECT_EQ(Units(first, first + 3), (Units{'a', 'b', 0})); // still alive, old text
    EXPECT_EQ(Units(s.c_str(), s.c_str() + 4), (Units{'a', 'b', 'c', 0}));
    s[2] = 'z'; // a writable access rebuilds the copy
    EXPECT_EQ(s.c_str()[2], 'z');
    // Copies never share the copy (a double free under AddressSanitizer).
    UString a("ab");
    const unsigned short* pa = a.c_str();
    UString b(a), c;
    c = a;
    EXPECT_NE(b.c_str(), pa);
    EXPECT_NE(c.c_str(), pa);
    const UString& alias = c;
    c = alias;
    EXPECT_EQ(c.c_str()[1], 'b');
}

TEST(UString, OutOfRangeAccessPrintsAndIsAbsorbed)
{
    const auto line = [](const char* verb, unsigned int i, const void* me) {
        char buf[200];
        std::snprintf(buf, sizeof buf,
                      "____________ PString::operator[], somebody wants to %s to unallocated "
                      "space at %d, me: %p\n",
                      verb, static_cast<int>(i), me);
        return std::string(buf);
    };
    UString s("ab"), other("xyz");
    testing::internal::CaptureStdout();
    s[2] = 'Q';
    EXPECT_EQ(other[7], 'Q'); // the absorbed write lands in the shared box
    EXPECT_EQ(testing::internal::GetCapturedStdout(), line("write", 2, &s) + line("write", 7, &other));
    EXPECT_EQ(s, UString("ab"));

    const UString& cs = s;
    testing::internal::CaptureStdout();
    EXPECT_EQ(cs[2], 0);
    EXPECT_EQ(cs[UINT_MAX], 0);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, line("access", 2, &s) + line("access", UINT_MAX, &s));
    EXPECT_NE(out.find("at -1, me: "), std::string::npos);
}
