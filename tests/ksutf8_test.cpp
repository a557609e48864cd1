// UTF-8 exchange: sequences of every length (valid, overlong, truncated,
// malformed), the string decoder against the single-character decoder on
// seeded random input, the byte limit, and the encoders' buffer rules.
#include "ksutf8.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "ksi18n.h"
#include "ksstring.h"

namespace {

KsString Make(uchar cs, const std::string& text)
{
    KsString s(cs, 0);
    if (!text.empty())
        s.EditText(text.data(), cs, 0, 0, ushort(text.size()), 1, KsString::EditAssignAt);
    return s;
}

KsString Make16(std::vector<ushort> units)
{
    KsString s(KS_CS_UNICODE, 0);
    s.EditText(units.data(), KS_CS_UNICODE, 0, 0, ushort(units.size()), 1, KsString::EditAssignAt);
    return s;
}

std::vector<ushort> Units(const KsString& s)
{
    std::vector<ushort> out(s.Len());
    if (!out.empty())
        std::memcpy(out.data(), s.Text(), out.size() * 2);
    return out;
}

// ---------------------------------------------------------------------------
TEST(KsUtf8, DecodeOneCharacter)
{
    struct Case {
        std::string bytes;
        int result;
        ushort value;
    } cases[] = {
        {"A", 1, 0x41},
        {"\xC3\xA9", 2, 0xE9},
        {"\xDF\xBF", 2, 0x7FF},
        {"\xC0\x80", -1, 0},  // overlong zero
        {"\xE2\x82\xAC", 3, 0x20AC},
        {"\xED\xA0\x80", 3, 0xD800},  // a surrogate is just a unit
        {"\xE0\x9F\xBF", -1, 0},
        {"\xF0\x9F\x98\x80", 4, 0xF600},
        {"\xF0\x8F\xBF\xBF", -1, 0},
        {"\xF8\x88\x80\x80\x81", 5, 0x0001},
        {"\xFC\x84\x80\x80\x80\x82", 6, 0x0002},
        {"\xFC\x83\xBF\xBF\xBF\xBF", -1, 0},
        {"\xFE\x80\x80\x80\x80\x80\x80", -1, 0},
        {"\x80", -1, 0},  // lone continuation
        {"\xC3\x41", -1, 0},
        {"\xE2\x82\x41", -1, 0},
    };
    for (const Case& c : cases) {
        std::string bytes = c.bytes + "A";  // what follows is not looked at
        const uint n = uint(c.bytes.size());
        ushort out = 0xBEEF;
        EXPECT_EQ(KsMultiByte2WChar(&out, bytes.data(), n + 1), c.result) << n << " " << c.value;
        EXPECT_EQ(out, c.result > 0 ? c.value : 0xBEEF);
        for (uint cut = 0; c.result > 0 && cut < n; ++cut)  // every truncation fails
            EXPECT_EQ(KsMultiByte2WChar(&out, bytes.data(), cut), -1) << cut;
    }
    ushort out;
    EXPECT_EQ(KsMultiByte2WChar(&out, nullptr, 3), 0);
}

TEST(KsUtf8, EncodeOneCharacter)
{
    struct Case {
        std::uint32_t c;
        std::string bytes;
    } cases[] = {
        {0x80, "\xC2\x80"},
        {0x10000, "\xF0\x90\x80\x80"},
        {0x200000, "\xF8\x88\x80\x80\x80"},
        {0x4000000, "\xFC\x84\x80\x80\x80\x80"},
        {0x7FFFFFFF, "\xFD\xBF\xBF\xBF\xBF\xBF"},
    };
    for (const Case& c : cases) {
        char out[8] = {};
        EXPECT_EQ(KsWChar2MultiByte(out, wchar_t(c.c)), int(c.bytes.size())) << c.c;
        EXPECT_EQ(std::string(out), c.bytes);
    }
    char out[8];
    if (sizeof(wchar_t) == 4) {
        EXPECT_EQ(KsWChar2MultiByte(out, wchar_t(-1)), -1);  // above 0x7FFFFFFF
    }
    EXPECT_EQ(KsWChar2MultiByte(nullptr, 0x41), 0);
}

TEST(KsUtf8, DecodeIntoUnits)
{
    char text[] = "a\xC3\xA9\xE2\x82\xAC" "b";
    ushort dst[4] = {0, 0, 0, 0x5555};
    EXPECT_EQ(KsMultiByteStr2WCharStr(dst, 2, text, 7), 4);  // only two written
    EXPECT_EQ(std::vector<ushort>(dst, dst + 4), (std::vector<ushort>{'a', 0xE9, 0, 0x5555}));
    EXPECT_EQ(KsMultiByteStr2WCharStr(dst, 4, text, 5), -1);  // cut inside the euro sign
    EXPECT_EQ(KsMultiByteStr2WCharStr(dst, 4, text, 0), 0);
    char zeros[] = {'a', 0, 'b'};
    EXPECT_EQ(KsMultiByteStr2WCharStr(dst, 4, zeros, 3), 3);  // a zero is a character here
}

// ---------------------------------------------------------------------------
TEST(KsUtf8, DecodeIntoKsString)
{
    const std::string a32767(32767, 'a');
    struct Case {
        std::string bytes;
        int n;
        int result;
        std::vector<ushort> units;  // empty with chars != 0: only the count is checked
        std::size_t chars;
    } cases[] = {
        {"caf\xC3\xA9", 5, 5, {'c', 'a', 'f', 0xE9}, 4},
        {"abc", 2, 2, {'a', 'b'}, 2},
        {std::string("ab\0c", 4), 4, 2, {'a', 'b'}, 2},  // a zero byte ends the text
        {"a\xF0\x90\x80\x80" "b", 6, 1, {'a'}, 1},      // so does a longer zero
        {std::string("a\xC3\xA9\0x", 5), -1, 3, {'a', 0xE9}, 2},
        {"ab\x80" "c", 4, -1, {'a', 'b'}, 2},  // what came before stays
        {"a\xE2\x82\xAC", 3, -1, {'a'}, 1},
        // 32768 bytes stop the decode; the string itself keeps 32765 units.
        {a32767 + "a", 32768, -2, {}, 32765},
        {a32767.substr(1) + "\xE2\x82\xAC" + "zz", 32771, -2, {}, 32765},
        {a32767.substr(27767) + "\xC3\xC3", 5002, -1, {}, 5000},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bytes.substr(0, 8));
        KsString out(1, 7);
        out = "previous";
        out.SetLanguage(7);
        EXPECT_EQ(KsMBS2KsString(c.bytes.data(), out, c.n), c.result);
        EXPECT_EQ(out.CodeSet(), KS_CS_UNICODE);
        EXPECT_EQ(out.Language(), 7);
        EXPECT_EQ(out.Len(), c.chars);
        if (c.chars < 100) {
            EXPECT_EQ(Units(out), c.units);
        }
        EXPECT_EQ(c.chars == 0, out.Text() == nullptr);
    }

    // From a KsString's bytes, also into itself.
    KsString s = Make(1, "caf\xC3\xA9");
    EXPECT_EQ(KsMultiByteString2KsString(s, s), 5);
    EXPECT_EQ(Units(s), (std::vector<ushort>{'c', 'a', 'f', 0xE9}));
    EXPECT_EQ(KsMultiByteString2KsString("x\xC3\xA9", s, 3), 3);
}

// The string decoder written plainly on top of the single-character one.
int ReferenceDecode(std::string in, int n, std::vector<ushort>& units)
{
    int used = 0;
    do {
        ushort u = 0;
        const int k = KsMultiByte2WChar(&u, in.data() + used, uint(n - used));
        if (k < 1)
            return -1;
        if (u == 0)
            break;
        units.push_back(u);
        if ((used += k) >= 32768)
            return -2;
    } while (used < n);
    return used;
}

TEST(KsUtf8, DecoderMatchesTheCharacterDecoderOnRandomInput)
{
    // Biased towards what the fast paths single out: ASCII runs, two- and
    // three-byte forms, chunk boundaries, stray bytes and zeros.
    const char* const pieces[] = {"a", "\xC3\xA9", "\xE2\x82\xAC", "\x80", "\xC1\x81",
                                  "\xE0\x80\x80", "\xF0", "\xC3", "\x7F", ""};
    std::mt19937 rng(2024);
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        const std::size_t len = rng() % (round % 10 == 0 ? 1200 : 300);
        while (text.size() < len) {
            const uint pick = rng() % 100;
            const uint i = pick < 60 ? 0 : pick < 75 ? 1 : pick < 90 ? 2 : 3 + pick % 7;
            text += i == 9 ? std::string(1, '\0') : std::string(pieces[i]);
        }
        const int n = text.empty() ? 0 : int(rng() % (text.size() + 1));
        std::vector<ushort> want;
        const int result = n == 0 ? 0 : ReferenceDecode(text, n, want);
        KsString out;
        ASSERT_EQ(KsMBS2KsString(text.data(), out, n), result) << round;
        ASSERT_EQ(Units(out), want) << round;
    }
}

// ---------------------------------------------------------------------------
TEST(KsUtf8, EncodeIntoCallerBuffer)
{
    struct Case {
        KsString s;
        int n;
        int result;
        std::string bytes;  // the buffer's first bytes; the rest from n on stays untouched
    } cases[] = {
        {Make(0, "abc"), 6, 3, std::string("abc\0\0\0", 6)},  // plain: zero-filled
        {Make(0, "abc"), 3, -3, "abc"},                       // plain needs the zero
        {Make(26, "abc"), 2, -3, "ab"},
        {Make(27, "abc"), 2, -2, "ab"},  // beyond 26: the encoding path
        {Make(1, "caf\xE9"), 7, 5, std::string("caf\xC3\xA9\0", 6)},
        {Make(1, "caf\xE9"), 5, 5, "caf\xC3\xA9"},  // encoded text may fill it
        {Make16({0x20AC, 0x7F}), 5, 4, std::string("\xE2\x82\xAC\x7F\0", 5)},
        {Make(0, "\xE9"), 3, 2, std::string("\xC3\xA9\0", 3)},  // native is ISO-8859-1
        {KsString(), 0, 0, ""},
    };
    for (const Case& c : cases) {
        std::string buf(16, '\x55');
        EXPECT_EQ(KsString2KsMBS(c.s, buf.data(), c.n), c.result) << c.bytes;
        EXPECT_EQ(buf.substr(0, c.bytes.size()), c.bytes);
        EXPECT_EQ(buf.substr(std::size_t(c.n)), std::string(16 - std::size_t(c.n), '\x55'));
    }
}

TEST(KsUtf8, EncodedLength)
{
    EXPECT_EQ(KsMBSLength(Make(5, "abc"), 1), 3);  // plain up to code set 5: all of it
    EXPECT_EQ(KsMBSLength(Make(6, "abc"), 1), 1);
    EXPECT_EQ(KsMBSLength(Make(1, "caf\xE9"), 4), 5);
    EXPECT_EQ(KsMBSLength(Make(1, "caf\xE9"), 3), 3);
    EXPECT_EQ(KsMBSLength(Make16({0x20AC, 'a', 0x100}), 3), 6);
}

TEST(KsUtf8, EncodeIntoAllocatedOrCallerBuffer)
{
    std::string long8(3000, '\xE9'), longUtf8;
    for (int i = 0; i < 3000; ++i)
        longUtf8 += "\xC3\xA9";
    // A refusal reports the text's bytes without the terminator. A buffer of
    // that size takes encoded text (unterminated) but still refuses plain
    // text, whose copy needs room for the terminator.
    const struct {
        KsString s;
        std::string utf8;
        int atReportedSize;
    } cases[] = {{KsString(), "", 0},
                 {Make(0, "abc"), "abc", -1},
                 {Make(1, "caf\xE9"), "caf\xC3\xA9", 5},
                 {Make(1, long8), longUtf8, 6000}};  // beyond the internal buffer
    for (const auto& c : cases) {
        SCOPED_TRACE(c.utf8.size());
        const int len = int(c.utf8.size());
        char* out = nullptr;
        int size = 0;
        EXPECT_EQ(KsString2MultiByteString(c.s, out, size), len);
        ASSERT_EQ(size, len + 1);
        EXPECT_EQ(std::string(out, std::size_t(size)), c.utf8 + '\0');
        ::operator delete(out);

        std::string mine(std::size_t(len) + 1, '\x55');
        out = mine.data();
        if (len > 1) {  // too small: the text's byte count comes back
            size = 1;
            EXPECT_EQ(KsString2MultiByteString(c.s, out, size), -1);
            EXPECT_EQ(size, len);
            EXPECT_EQ(KsString2MultiByteString(c.s, out, size), c.atReportedSize);
        }
        size = len + 1;
        EXPECT_EQ(KsString2MultiByteString(c.s, out, size), len);
        EXPECT_EQ(out, mine.data());
        EXPECT_EQ(mine, c.utf8 + '\0');
    }
}

}  // namespace
