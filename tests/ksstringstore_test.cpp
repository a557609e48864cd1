// String storage: golden images in both byte orders (rejected at every
// truncated prefix), legacy and old-table images, size options, and the
// string rows' translate, text conversion, print/scan and value stepping.
#include "ksstringstorerow.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "ksbase.h"
#include "ksi18n.h"
#include "ksstring.h"
#include "ksstringrow.h"
#include "kstypes.h"

namespace {

typedef std::vector<uchar> Bytes;

Bytes H(const char* hex)  // "07 00 61" -> bytes
{
    Bytes out;
    for (unsigned v; std::sscanf(hex, " %2x", &v) == 1; hex += std::strspn(hex, " ") + 2)
        out.push_back(uchar(v));
    return out;
}

std::string Hex(const void* data, std::size_t n)
{
    std::string s;
    char buf[4];
    for (std::size_t i = 0; i < n; s += buf, ++i)
        std::snprintf(buf, sizeof buf, i ? " %02X" : "%02X", static_cast<const uchar*>(data)[i]);
    return s;
}

KsString Make(uchar cs, const char* text, uchar language = 0)
{
    KsString s(cs, language);
    if (*text)
        s.EditText(text, cs, 0, 0, ushort(std::strlen(text)), 1, KsString::EditAssignAt);
    return s;
}

KsString Make16(std::vector<ushort> units, uchar cs = KS_CS_UNICODE, uchar language = 0)
{
    KsString s(cs, language);
    s.EditText(units.data(), cs, 0, 0, ushort(units.size()), 1, KsString::EditAssignAt);
    return s;
}

KsString Null()
{
    KsString s;
    return s.SetNullValue(), s;
}

// Code set, language and every buffer byte: what a store must preserve.
std::string Repr(const KsString& s)
{
    return std::to_string(s.CodeSet()) + "/" + std::to_string(s.Language()) + ":" +
           (s.Text() ? Hex(s.Text(), s.Size()) : "none");
}

class StringStoreTest : public ::testing::Test {
protected:
    void SetUp() override { KsLanguageContext::Reset(); }
    void TearDown() override { KsLanguageContext::Reset(); }
};

TEST_F(StringStoreTest, GoldenImagesRoundTripAndTruncationsFail)
{
    if (std::endian::native != std::endian::little)
        GTEST_SKIP() << "machine-order images are written for a little-endian host";
    struct Case { const char* label; std::vector<KsString> values; uchar flag; const char* image; } cases[] = {
        {"default, low first", {KsString()}, 1, "04 00 00 00 00 FF"},
        {"terminator only", {Make16({}, 253, 1)}, 1, "04 00 FD 01 00 FF"},
        {"null keeps 254", {Null()}, 2, "00 04 00 FE 00 FF"},
        {"8-bit", {Make(1, "abc", 2)}, 1, "07 00 01 02 61 62 63 00 FF"},
        {"16-bit, high first", {Make16({0x41}, 253, 3)}, 2, "00 06 FD 03 00 41 00 FF"},
        {"in-memory flag", {Make16({0x20AC, 0x41})}, 8, "08 00 FD 00 AC 20 41 00 00 FF"},
        {"size options ignored", {Make16({0x20AC})}, 0x62, "00 06 FD 00 20 AC 00 FF"},
        {"inner zero kept", {Make16({0x41, 0, 0x42})}, 2, "00 0A FD 00 00 41 00 00 00 42 00 FF"},
        {"array", {Make(1, "ab"), KsString(), Make16({0x20AC}, 240, 5), Null()}, 2,
         "00 06 01 00 61 62 00 FF 00 04 00 00 00 FF 00 06 F0 05 20 AC 00 FF 00 04 00 FE 00 FF"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        const Bytes expected = H(c.image);
        const uint n = uint(c.values.size());
        const uint len = uint(expected.size());
        EXPECT_EQ(StringSizeGet(c.values.data(), 8, c.flag, n), len);
        Bytes image(len + 1, 0xEE);
        ASSERT_EQ(StringStore(image.data(), c.values.data(), c.flag, n), len);
        EXPECT_EQ(Hex(image.data(), len + 1), Hex(expected.data(), len) + " EE");

        EXPECT_EQ(StringSizeGet(image.data(), 0, c.flag, n), len);
        MemFile file(image.data(), len);
        EXPECT_EQ(StringDiskLenFromMemFile(&file, c.flag, n), len);
        EXPECT_EQ(file.Tell(), 0);
        std::vector<KsString> loaded(n, Make(7, "old", 9));
        EXPECT_EQ(StringLoad(loaded.data(), image.data(), c.flag, n), len);
        for (uint i = 0; i < n; ++i) {  // without characters: no buffer
            const KsString& v = c.values[i];
            EXPECT_EQ(Repr(loaded[i]), Repr(v.Size() > v.Width() ? v : KsString(v.CodeSet(), v.Language())));
        }

        // Every prefix, as a heap block of exactly that size, is rejected.
        for (uint cut = 0; cut <= len; ++cut) {
            const Bytes prefix(expected.begin(), expected.begin() + cut);
            const uint want = cut == len ? len : 0;
            EXPECT_EQ(StringLoadBounded(loaded.data(), prefix.data(), cut, c.flag, n), want) << cut;
            EXPECT_EQ(StringSizeGetBounded(prefix.data(), cut, c.flag, n), want) << cut;
        }
    }
}

TEST_F(StringStoreTest, LegacyImagesAreRead)
{
    struct Case { const char* image; uchar flag; uint count, result; std::vector<std::string> texts; } cases[] = {
        {"06 00 61 62 00 63 64 00", 1, 2, 8, {"ab", "cd"}},
        {"06 00 61 62 00 63 64 00", 1, 1, 8, {"ab"}},  // fewer asked than held
        {"02 00 00 00", 1, 2, 4, {"", ""}},
        {"03 00 61 62 00", 1, 2, 0, {"ab"}},  // more asked than held
        {"09 00 61 62 00", 1, 1, 0, {}},  // total beyond the bytes given
    };
    KsString::SetDefaultLanguage(6);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.image);
        const Bytes image = H(c.image);
        KsString loaded[2] = {Make(200, "x", 1), Make(200, "x", 1)};
        EXPECT_EQ(StringLoadBounded(loaded, image.data(), uint(image.size()), c.flag, c.count),
                  c.result);
        for (std::size_t i = 0; i < c.texts.size(); ++i) {
            EXPECT_EQ(std::string(loaded[i].StrGet()), c.texts[i]);
            EXPECT_EQ(loaded[i].CodeSet(), KsString::GetDefault8CodeSet());
            EXPECT_EQ(loaded[i].Language(), 6);
        }
    }
    // The size walk stops at a legacy image, except under option 0x80, where
    // the first text byte (0x61) reads as an 8-bit code set.
    const Bytes legacy = H("06 00 61 62 00 63 64 00");
    EXPECT_EQ(StringSizeGet(legacy.data(), 0, 1, 5), 8u);
    EXPECT_EQ(StringSizeGetBounded(legacy.data(), 8, 0x81, 1), 4 * 6 + 2u);
}

TEST_F(StringStoreTest, SizeOptions)
{
    // The weight form (0x80) scales a string's S' = L - 2 in memory (then
    // adds 4) but an image's L (then adds 2): the two sizes differ.
    KsLanguageContext::SetNativeCodeSet(2);
    const std::string long8(20000, 'x');
    struct Case { const char* label; KsString value; uchar flag; uint memSize, imageSize; } cases[] = {
        {"8-bit weights", Make(1, "abc"), 0x81, 4 * 5 + 4, 4 * 7 + 2},
        {"native not scaled", Make(0, "abc"), 0x81, 9, 9},
        {"0x40: native is its code set", Make(0, "abc"), 0xC1, 24, 30},
        {"0x20: all count as 0", Make(1, "abc"), 0xA1, 9, 9},
        {"0x20 wins over 0x40", Make(0, "abc"), 0xE1, 9, 9},
        {"254 not scaled", Make16({'a', 'b', 'c'}, 254, 1), 0x81, 12, 12},
        {"kept to 16 bits", Make(1, long8.c_str()), 0x81, ushort(4 * 20002) + 4u, ushort(4 * 20004) + 2u},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(StringSizeGet(&c.value, 8, c.flag, 1), c.memSize);
        Bytes image(StringSizeGet(&c.value, 8, 1, 1));
        StringStore(image.data(), &c.value, c.flag, 1);
        EXPECT_EQ(StringSizeGet(image.data(), 0, c.flag, 1), c.imageSize);
    }
    EXPECT_EQ(StringCountSize(5), 30u);
}

TEST_F(StringStoreTest, StoreAndSizes)
{
    const std::string big(40000, 'x');
    struct Case { const char* label; std::vector<KsString> values; uchar flag; const char* image; } cases[] = {
        {"one", {Make(1, "abc")}, 1, "04 00 61 62 63 00"},
        {"array", {Make(1, "ab"), KsString(), Make(1, "c")}, 1, "06 00 61 62 00 00 63 00"},
        {"null is the empty text", {Null()}, 1, "01 00 00"},
        {"16-bit in the native code set", {Make16({0xE9, 0x41})}, 2, "00 03 E9 41 00"},
        {"total beyond 65535", {Make(1, big.c_str()), Make(1, big.c_str())}, 1, nullptr},  // no fit
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        const uint n = uint(c.values.size());
        const Bytes expected = H(c.image ? c.image : "");
        const uint len = uint(expected.size());
        Bytes image(c.image ? len + 1 : 100000, 0xEE);
        EXPECT_EQ(StringDiskLenOld(c.values.data(), 8, c.flag, n), len);
        ASSERT_EQ(StringStoreOld(image.data(), c.values.data(), c.flag, n), len);
        if (!c.image)
            continue;
        EXPECT_EQ(Hex(image.data(), len + 1), Hex(expected.data(), len) + " EE");
        EXPECT_EQ(StringDiskLenOld(image.data(), 0, c.flag, n), len);
        // The shared load reads it as a legacy image.
        std::vector<KsString> loaded(n);
        EXPECT_EQ(StringLoadBounded(loaded.data(), image.data(), len, c.flag, n), len);
        EXPECT_EQ(loaded[n - 1].Len(), c.values[n - 1].Len());
    }
}

TEST_F(StringStoreTest, DiskLengthFromFileWalksOneLengthPerElement)
{
    const Bytes image = H("03 00 61 62 00 02 00 63 00");
    const struct { long at; uchar flag; uint count, size; } cases[] = {{0, 1, 0, 0}, {0, 1, 1, 5}, {0, 1, 2, 9}, {0, 1, 3, 0}, {0, 2, 1, 0}, {5, 1, 1, 4}};
    for (const auto& c : cases) {
        MemFile file(image.data(), uint(image.size()));
        ASSERT_EQ(file.Seek(c.at, MemFile::SeekSet), 0);
        EXPECT_EQ(StringDiskLenFromMemFileOld(&file, c.flag, c.count), c.size) << c.count;
        EXPECT_EQ(file.Tell(), c.at);
    }
}

TEST_F(StringStoreTest, Translate)
{
    KsString values[] = {Make(1, "ab"), Null()};
    const Bytes image = H("00 06 01 00 61 62 00 FF 00 04 00 FE 00 FF");
    const uint len = uint(image.size());
    Bytes out(len + 3, 0xEE);
    EXPECT_EQ(StringTranslate(out.data(), 2, len - 1, values, 8, 0, 2), 0u);  // no room
    EXPECT_EQ(out[0], 0xEE);
    EXPECT_EQ(StringTranslate(out.data(), 0x82, 0, values, 8, 0, 2), len);
    EXPECT_EQ(Hex(out.data(), len), Hex(image.data(), len));

    KsString loaded[2];
    EXPECT_EQ(StringTranslate(loaded, 8, 0, out.data(), 2, len, 2), len);
    EXPECT_EQ(Repr(loaded[0]), Repr(values[0]));
    EXPECT_TRUE(loaded[1].IsNullValue());

    // Stored to stored: the bytes as they are, zero-padded or truncated.
    EXPECT_EQ(StringTranslate(out.data(), 1, len + 3, const_cast<uchar*>(image.data()), 2, len, 2),
              len);
    EXPECT_EQ(Hex(out.data(), len + 3), Hex(image.data(), len) + " 00 00 00");

    // The old row stores the old image.
    EXPECT_EQ(StringTranslateOld(out.data(), 1, 6, values, 8, 0, 2), 6u);
    EXPECT_EQ(Hex(out.data(), 6), "04 00 61 62 00 00");
}

TEST_F(StringStoreTest, ConvertThroughCarriers)
{
    KsString values[] = {Make(1, "ab", 3), Null(), Make16({0x263A})};
    KsTypeConvertData* text = StringConvertToKsString(values, 3);
    ASSERT_TRUE(text && text->count == 3u);
    // Back, with one more element than the carrier holds: that one is empty.
    KsString* back = static_cast<KsString*>(StringConvertFromKsString(text, 4));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Repr(*text->GetString(i)), Repr(values[i]));
        EXPECT_EQ(Repr(back[i]), Repr(values[i]));
    }
    EXPECT_TRUE(!back[3].IsNullValue() && back[3].Text() == nullptr);
    StringDelete(back, 4);
    StringDelete(text->data, text->count);  // what an owning manager would do
    delete text;
}

TEST_F(StringStoreTest, GetValueSteps)
{
    const std::string full(KsString::MaxSize - 1, 'z');
    struct Case { const char* label; KsString value; uchar format, mode; int result; KsString expected; } cases[] = {
        {"next of ab", Make(1, "ab", 4), 8, 'N', 0, Make(1, "ab\x01", 4)},
        {"2: the empty string", Make(1, "ab", 4), 8, 2, 0, KsString(1, 4)},
        {"null steps to empty", Null(), 8, 'N', 0, KsString()},
        {"full", Make(1, full.c_str()), 8, 'N', KS_STEP_OVERFLOW, Make(1, full.c_str())},
        {"stored image", Make(1, "ab"), 2, 'N', KS_NOT_SUPPORTED, Make(1, "ab")},
        {"other mode", Make(1, "ab"), 8, 'X', KS_NOT_SUPPORTED, Make(1, "ab")},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(StringGetValue(&c.value, 0, c.format, c.mode), c.result);
        EXPECT_EQ(Repr(c.value), Repr(c.expected));
    }
}

TEST_F(StringStoreTest, PrintAndScan)
{
    // Each value prints with the format to the text, and the text scans back
    // to `back` (null: to a null string).
    struct Case { const char* label; KsString value; const char* format; KsString text, back; } cases[] = {
        {"literals keep code set and language", Make(2, "abc", 3), "[%s]", Make(2, "[abc]", 3), Make(2, "abc", 3)},
        {"literals, 16-bit", Make16({0x263A}), "<%s>", Make16({'<', 0x263A, '>'}), Make16({0x263A})},
        {"left", Make(1, "ab "), "%-5s|", Make(1, "ab   |"), Make(1, "ab")},
        {"precision", Make(1, "abcdef"), "%4.2s", Make(1, "  ab"), Make(1, "ab")},
        {"only the first %s", Make(1, "abc"), "%s%s", Make(1, "abc%s"), Make(1, "abc")},
        {"no %s: the text alone", Make(1, "abc"), "x%dy", Make(1, "x%dy"), Make(1, "x%dy")},
        {"null", Null(), "[%s]", KsString("[{NULL}]"), Null()},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        KsString out = Make(1, "previous");
        EXPECT_EQ(&StringPrintToKsString(out, const_cast<KsString*>(&c.value), c.format, 1), &out);
        EXPECT_EQ(Repr(out), Repr(c.text));
        KsString back = Make(9, "junk", 9);
        EXPECT_EQ(StringScanFromKsString(&back, out, c.format, 1), &back);
        EXPECT_EQ(back.IsNullValue() ? "null" : Repr(back),
                  c.back.IsNullValue() ? "null" : Repr(c.back));
    }
}

TEST_F(StringStoreTest, ScanEdgeCases)
{
    KsString value = Make(9, "keep", 9);
    for (const char* text : {"(abc)", "[abc"}) {  // literal text missing: value unchanged
        KsString in(text);
        StringScanFromKsString(&value, in, "[%s]", 1);
        EXPECT_EQ(Repr(value), Repr(Make(9, "keep", 9)));
    }
    KsString wideNull = Make16({'{', 'N', 'U', 'L', 'L', '}'});
    StringScanFromKsString(&value, wideNull, "%s", 1);
    EXPECT_TRUE(value.IsNullValue());

    // Several values split at commas, the last taking the rest; arrays print
    // joined by commas.
    KsString values[3];
    KsString in("a,,b,c");
    StringScanFromKsString(values, in, "%s", 3);
    KsString joined;
    StringPrintToKsString(joined, values, "%s", 3);
    EXPECT_STREQ(values[2].StrGet(), "b,c");
    EXPECT_STREQ(joined.StrGet(), "a,,b,c");
}

}  // namespace
