// KsBlob: members, stored images in both byte orders, load failures, the
// comparator, array allocation, translation and text.
#include "ksblob.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "ksbase.h"
#include "ksblobrow.h"
#include "ksstring.h"
#include "kstest_util.h"
#include "kstypes.h"

namespace {

typedef std::vector<uchar> Bytes;

KsBlob B(const char* s) { return KsBlob(s, static_cast<int>(std::strlen(s))); }
KsBlob B(const std::string& s) { return KsBlob(s.data(), static_cast<int>(s.size())); }
KsBlob Null() {
    KsBlob b;
    b.SetNullValue();
    return b;
}

// The bytes as a string; "<null>" for a null blob.
std::string S(const KsBlob& b) {
    if (b.IsNullValue()) return "<null>";
    return std::string(reinterpret_cast<const char*>(b.Data()), static_cast<std::size_t>(b.Length()));
}

std::string Text(const KsString& s) { return s.StrGet(); }

// ---------------------------------------------------------------------------
// Members.
// ---------------------------------------------------------------------------
TEST(KsBlobTest, StatesAndConstruction) {
    KsBlob empty;
    EXPECT_FALSE(empty.IsNullValue());
    EXPECT_EQ(empty.Length(), 0);
    EXPECT_EQ(empty.SetNullValue(), 0);
    EXPECT_TRUE(empty.IsNullValue());
    EXPECT_EQ(empty.Length(), 0);

    EXPECT_EQ(S(KsBlob(3)), std::string(3, '\0'));
    EXPECT_EQ(S(KsBlob(-5)), "");
    EXPECT_EQ(S(KsBlob(nullptr, 4)), "");
    EXPECT_EQ(S(KsBlob("a\0b", 3)), std::string("a\0b", 3));

    const KsBlob null = Null();
    EXPECT_TRUE(KsBlob(null).IsNullValue());

    // Copies are deep.
    KsBlob original = B("abc");
    KsBlob copy(original);
    *copy.Seek(0, 1) = 'x';
    EXPECT_EQ(S(original), "abc");
    EXPECT_EQ(S(copy), "xbc");
}

TEST(KsBlobTest, Assignment) {
    struct Case {
        bool dstNull;
        const char* dst;
        bool srcNull;
        const char* src;
        const char* expected;
    } cases[] = {
        {true, "", true, "", "<null>"},      {true, "", false, "ab", "ab"},
        {false, "ab", true, "", "<null>"},   {false, "ab", false, "xyz", "xyz"},
        {false, "abc", false, "", ""},
    };
    for (const Case& c : cases) {
        KsBlob dst = c.dstNull ? Null() : B(c.dst);
        const KsBlob src = c.srcNull ? Null() : B(c.src);
        dst = src;
        EXPECT_EQ(S(dst), c.expected) << c.dst << " <- " << c.src;
    }
    KsBlob self = B("same");
    KsBlob& alias = self;
    self = alias;
    EXPECT_EQ(S(self), "same");
}

TEST(KsBlobTest, DestroyMoves) {
    KsBlob a = B("aa"), b = B("bbb");
    a.Destroy(b);
    EXPECT_EQ(S(a), "bbb");
    EXPECT_EQ(S(b), "");  // a fresh empty record, not null

    KsBlob n = Null();
    a.Destroy(n);
    EXPECT_TRUE(a.IsNullValue());
    EXPECT_TRUE(n.IsNullValue());

    KsBlob self = B("x");
    self.Destroy(self);
    EXPECT_EQ(S(self), "x");
}

TEST(KsBlobTest, EqualityAndThreeWayOrder) {
    struct Case {
        KsBlob a, b;
        int ne, eq;
    };
    const Case cases[] = {
        {Null(), Null(), 0, 1},         {B("a"), Null(), 2, 0},
        {Null(), B("a"), -2, 0},        {KsBlob(), Null(), 2, 0},
        {KsBlob(), KsBlob(), 0, 1},     {B("ab"), B("ab"), 0, 1},
        {B("ab"), B("ac"), -1, 0},      {B("\xff"), B("\x01"), 1, 0},  // bytes unsigned
        {B("ab"), B("abc"), -1, 0},     {B("abc"), B("ab"), 1, 0},
        {B("b"), B("abc"), 1, 0},       {KsBlob(), B("a"), -1, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.a != c.b, c.ne) << S(c.a) << " vs " << S(c.b);
        EXPECT_EQ(c.a == c.b, c.eq) << S(c.a) << " vs " << S(c.b);
    }
}

TEST(KsBlobTest, ExpandAndResize) {
    struct Case {
        bool isNull;
        const char* start;
        int size;
        std::string expected;
    } cases[] = {
        {false, "abcd", 2, "ab"},
        {false, "ab", 4, std::string("ab\0\0", 4)},
        {true, "", 3, std::string(3, '\0')},
        {false, "abc", 0, ""},
        {false, "abc", -1, ""},
    };
    for (const Case& c : cases) {
        KsBlob e = c.isNull ? Null() : B(c.start);
        e.Expand(c.size);
        EXPECT_EQ(S(e), c.expected) << "Expand " << c.start << " " << c.size;
        if (c.size < 0) continue;
        KsBlob r = c.isNull ? Null() : B(c.start);
        r.Resize(static_cast<unsigned>(c.size));
        EXPECT_EQ(S(r), c.expected) << "Resize " << c.start << " " << c.size;
    }
    // Growing after a shrink brings back zeros, not the old bytes.
    KsBlob r = B("abcd");
    r.Resize(1);
    r.Resize(3);
    EXPECT_EQ(S(r), std::string("a\0\0", 3));

    KsAssertHandler old = KsSetAssertHandler([](const char*, const char*, int) {});
    r.Resize(0x80000000u);
    KsSetAssertHandler(old);
    EXPECT_EQ(r.Length(), 3);
}

TEST(KsBlobTest, Append) {
    KsBlob b = B("ab");
    b.Append("cd", 0);
    b.Append(nullptr, 3);
    b.Append("cd", -1);
    b.Append(KsBlob());
    b.Append(Null());
    EXPECT_EQ(S(b), "ab");
    b.Append("cd", 2);
    b += B("e");
    EXPECT_EQ(S(b), "abcde");

    KsBlob n = Null();
    n.Append("xy", 2);
    EXPECT_EQ(S(n), "xy");

    // Sources inside the blob itself survive the reallocation.
    KsBlob self = B("abc");
    self.Append(self);
    EXPECT_EQ(S(self), "abcabc");
    KsBlob inner = B("abcd");
    inner.Append(inner.Seek(1, 2), 2);
    EXPECT_EQ(S(inner), "abcdbc");
}

TEST(KsBlobTest, Seek) {
    KsBlob b = B("abcd");
    struct Case {
        int offset, n;
        int expected;  // offset of the answer, -1 for null
    } cases[] = {{0, 4, 0}, {3, 1, 3}, {2, 3, -1}, {0, 0, -1}, {4, 1, -1},
                 {-1, 2, -1}, {3, -2, 3}, {0, -1, 0}, {4, -1, -1}, {9, -6, -1},
                 {1, 0x7FFFFFFF, -1}};
    for (const Case& c : cases) {
        unsigned char* p = b.Seek(c.offset, c.n);
        if (c.expected < 0)
            EXPECT_EQ(p, nullptr) << c.offset << "," << c.n;
        else
            EXPECT_EQ(p, b.Data() + c.expected) << c.offset << "," << c.n;
    }
    KsBlob n = Null();
    EXPECT_EQ(n.Seek(0, 1), nullptr);
}

TEST(KsBlobTest, CopyToClipsToThisBlob) {
    struct Case {
        const char* dst;
        const char* from;
        int offset, n;
        const char* expected;
    } cases[] = {
        {"......", "abc", 1, 3, ".abc.."}, {"......", "abc", 4, 3, "....ab"},
        {"......", "abc", 0, 9, "abc..."}, {"......", "abc", 1, 0, "......"},
        {"......", "abc", 6, 1, "......"}, {"......", "abc", -1, 2, "......"},
        {"", "abc", 0, 3, ""},
    };
    for (const Case& c : cases) {
        KsBlob dst = B(c.dst);
        dst.CopyTo(B(c.from), c.offset, c.n);
        EXPECT_EQ(S(dst), c.expected) << c.offset << "," << c.n;
    }
    KsBlob null = Null();
    null.CopyTo(B("abc"), 0, 3);
    EXPECT_TRUE(null.IsNullValue());
    KsBlob dst = B("abcd");
    dst.CopyTo(Null(), 0, 2);
    EXPECT_EQ(S(dst), "abcd");
    dst.CopyTo(dst, 1, 3);  // overlapping
    EXPECT_EQ(S(dst), "aabc");
}

TEST(KsBlobTest, SetTo) {
    KsBlob n = Null();
    n.SetTo("xyz", 3);
    EXPECT_EQ(S(n), "xyz");
    n.SetTo("xyz", 0);
    EXPECT_EQ(S(n), "");
    KsBlob b = B("abcdef");
    b.SetTo(b.Seek(2, 3), 3);  // from its own bytes
    EXPECT_EQ(S(b), "cde");
    b.SetTo(nullptr, 3);
    EXPECT_EQ(S(b), "");
}

TEST(KsBlobTest, CutAndCopyFrom) {
    struct Case {
        int offset, n;
        const char* cut;       // abcdef after Cut
        const char* copyFrom;  // CopyFrom on abcdef
    } cases[] = {
        {1, 2, "adef", "bc"},   {4, 9, "abcd", "ef"},   {0, 6, "", "abcdef"},
        {6, 1, "abcdef", ""},   {7, 1, "abcdef", ""},   {2, 0, "abcdef", ""},
        {2, -1, "abcdef", ""},  {-1, 2, "abcdef", ""},
    };
    for (const Case& c : cases) {
        KsBlob b = B("abcdef");
        EXPECT_EQ(S(b.CopyFrom(c.offset, c.n)), c.copyFrom) << c.offset << "," << c.n;
        b.Cut(c.offset, c.n);
        EXPECT_EQ(S(b), c.cut) << c.offset << "," << c.n;
    }
    KsBlob n = Null();
    n.Cut(0, 1);
    EXPECT_TRUE(n.IsNullValue());
    EXPECT_EQ(S(n.CopyFrom(0, 1)), "");  // empty, not null
}

TEST(KsBlobTest, Search) {
    struct Case {
        const char* text;
        const char* pattern;
        int expected;
    } cases[] = {
        {"abcd", "cd", 2}, {"abcd", "x", KsBlob::NotFound}, {"aaab", "aab", 1},
        {"ab", "abc", KsBlob::NotFound}, {"abcd", "", 0}, {"", "", 0},
        {"abab", "ab", 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(B(c.text).Search(B(c.pattern)), c.expected) << c.text << " / " << c.pattern;
    EXPECT_EQ(Null().Search(B("a")), 65535);
    EXPECT_EQ(B("a").Search(Null()), 65535);
    // Offsets past 65535 are answered as they are.
    const KsBlob big = B(std::string(70000, 'a') + "b");
    EXPECT_EQ(big.Search(B("b")), 70000);
    EXPECT_EQ(big.Search(B("c")), 65535);
}

TEST(KsBlobTest, NumericConversionsReadTheText) {
    EXPECT_EQ(KsBlobInternals::ToInt(B(std::string("42\0", 3))), 42);
    EXPECT_EQ(KsBlobInternals::ToInt(B("-17")), -17);  // no terminator in the bytes
    EXPECT_EQ(KsBlobInternals::ToInt(B(std::string("12\0" "34", 5))), 12);
    EXPECT_EQ(KsBlobInternals::ToShort(B("70000")), static_cast<short>(70000));
    EXPECT_DOUBLE_EQ(KsBlobInternals::ToDouble(B("2.5e1")), 25.0);
    EXPECT_EQ(KsBlobInternals::ToInt(Null()), 0);
    EXPECT_EQ(KsBlobInternals::ToDouble(KsBlob()), 0.0);

    KsBlob b = B("ab");
    KsBlobInternals::AllocData(b, 3);
    EXPECT_EQ(b.Length(), 4);
}

// ---------------------------------------------------------------------------
// Stored images.
// ---------------------------------------------------------------------------
struct Golden {
    const char* name;
    std::vector<KsBlob> blobs;
    Bytes little;  // format 1
    Bytes big;     // format 2
};

std::vector<Golden> Goldens() {
    std::vector<Golden> g;
    g.push_back({"none", {}, {0, 0, 0, 0}, {0, 0, 0, 0}});
    g.push_back({"null,ab",
                 {Null(), B("ab")},
                 {0x0a, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 2, 0, 0, 0, 'a', 'b'},
                 {0, 0, 0, 0x0a, 0xff, 0xff, 0xff, 0xff, 0, 0, 0, 2, 'a', 'b'}});
    g.push_back({"empty", {KsBlob()}, {4, 0, 0, 0, 0, 0, 0, 0}, {0, 0, 0, 4, 0, 0, 0, 0}});
    std::string big(0x102, 'z');
    Bytes little = {0x06, 0x01, 0, 0, 0x02, 0x01, 0, 0};
    Bytes bigEndian = {0, 0, 0x01, 0x06, 0, 0, 0x01, 0x02};
    little.insert(little.end(), big.begin(), big.end());
    bigEndian.insert(bigEndian.end(), big.begin(), big.end());
    g.push_back({"258 bytes", {B(big)}, little, bigEndian});
    return g;
}

TEST(KsBlobImageTest, StoresGoldenBytesAndLoadsThemBack) {
    for (const Golden& g : Goldens()) {
        const uint count = static_cast<uint>(g.blobs.size());
        for (uchar order : {uchar(1), uchar(2)}) {
            const Bytes& expected = order == 2 ? g.big : g.little;
            Bytes image(expected.size() + 8, 0xEE);
            const uint n = BlobStore(image.data(), g.blobs.data(), order, count);
            ASSERT_EQ(n, expected.size()) << g.name << " order " << int(order);
            EXPECT_EQ(Bytes(image.begin(), image.begin() + n), expected) << g.name;
            EXPECT_EQ(image[n], 0xEE) << g.name << ": wrote past its size";
            EXPECT_EQ(BlobDiskLen(g.blobs.data(), 8, order, count), n) << g.name;
            EXPECT_EQ(BlobDiskLen(expected.data(), 0, order, count), n) << g.name;

            std::vector<KsBlob> back(count, B("old"));
            EXPECT_EQ(BlobLoad(back.data(), expected.data(), order, count), n) << g.name;
            EXPECT_EQ(BlobLoadBounded(back.data(), expected.data(), n, order, count), n);
            for (uint i = 0; i < count; ++i) EXPECT_EQ(back[i] != g.blobs[i], 0) << g.name << i;
        }
    }
}

TEST(KsBlobImageTest, Sizes) {
    EXPECT_EQ(BlobCountSize(0), 4u);
    EXPECT_EQ(BlobCountSize(3), 16u);

    // The stored-length rule: FFFFFFFE and FFFFFFFF read as a total of 0.
    struct Case {
        Bytes word;
        uint size;
    } cases[] = {
        {{0, 0, 0, 0}, 4},          {{0x0a, 0, 0, 0}, 14},     {{0xfe, 0xff, 0xff, 0xff}, 4},
        {{0xff, 0xff, 0xff, 0xff}, 4}, {{0, 0, 0, 0x80}, 0},   {{0xfc, 0xff, 0xff, 0xff}, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(BlobDiskLen(c.word.data(), 0, 1, 1), c.size);
        const Bytes swapped(c.word.rbegin(), c.word.rend());
        EXPECT_EQ(BlobDiskLen(swapped.data(), 0, 2, 1), c.size);
    }
}

TEST(KsBlobImageTest, DiskLengthFromFileIsBoundedByTheFile) {
    const Bytes image = {0xAA, 6, 0, 0, 0, 2, 0, 0, 0, 'a', 'b'};  // one lead byte
    struct Case {
        uint fileSize;
        uint expected;
    } cases[] = {{11, 10}, {12, 10}, {10, 0}, {4, 0}, {1, 0}};
    Bytes padded = image;
    padded.push_back(0);
    for (const Case& c : cases) {
        MemFile file(padded.data(), c.fileSize);
        if (c.fileSize > 1) {
            ASSERT_EQ(file.Seek(1), 0);
        }
        EXPECT_EQ(BlobDiskLenFromMemFile(&file, 1, 1), c.expected) << c.fileSize;
        EXPECT_EQ(file.Tell(), c.fileSize > 1 ? 1 : 0) << "position moved";
    }
    EXPECT_EQ(BlobDiskLenFromMemFile(nullptr, 1, 1), 0u);
}

TEST(KsBlobImageTest, BadImagesFailAndLeaveTheArray) {
    struct Case {
        const char* why;
        Bytes image;
        uint count;
    } cases[] = {
        {"negative total", {0xff, 0xff, 0xff, 0xff}, 0},
        {"total FFFFFFFE", {0xfe, 0xff, 0xff, 0xff}, 0},
        {"negative length", {4, 0, 0, 0, 0, 0, 0, 0x80}, 1},
        {"length FFFFFFFE", {4, 0, 0, 0, 0xfe, 0xff, 0xff, 0xff}, 1},
        {"length past total", {6, 0, 0, 0, 3, 0, 0, 0, 'a', 'b', 'c'}, 1},
        {"fewer elements than count", {6, 0, 0, 0, 2, 0, 0, 0, 'a', 'b'}, 2},
        {"length word cut by total", {2, 0, 0, 0, 0, 0}, 1},
    };
    for (const Case& c : cases) {
        KsBlob mem[2] = {B("keep"), B("this")};
        EXPECT_EQ(BlobLoad(mem, c.image.data(), 1, c.count), 0u) << c.why;
        EXPECT_EQ(BlobLoadBounded(mem, c.image.data(), uint(c.image.size()), 1, c.count), 0u)
            << c.why;
        EXPECT_EQ(S(mem[0]), "keep") << c.why;
        EXPECT_EQ(S(mem[1]), "this") << c.why;
    }
}

TEST(KsBlobImageTest, BoundedLoadFailsOnEveryTruncation) {
    const KsBlob blobs[] = {B("xyz"), Null(), KsBlob(), B("q")};
    Bytes image(64);
    const uint n = BlobStore(image.data(), blobs, 2, 4);
    for (uint cut = 0; cut < n; ++cut) {
        // A heap copy of exactly `cut` bytes, so a sanitizer sees any overread.
        Bytes prefix(image.begin(), image.begin() + cut);
        KsBlob back[4];
        EXPECT_EQ(BlobLoadBounded(back, prefix.data(), cut, 2, 4), 0u) << cut;
    }
    KsBlob back[4];
    EXPECT_EQ(BlobLoadBounded(back, image.data(), n, 2, 4), n);
    EXPECT_TRUE(back[1].IsNullValue());
    EXPECT_EQ(S(back[2]), "");
}

TEST(KsBlobImageTest, LoadReadsOnlyCountElementsButConsumesTheTotal) {
    const KsBlob blobs[] = {B("a"), B("bc")};
    Bytes image(32);
    const uint n = BlobStore(image.data(), blobs, 1, 2);
    KsBlob one;
    EXPECT_EQ(BlobLoad(&one, image.data(), 1, 1), n);
    EXPECT_EQ(S(one), "a");
}

// ---------------------------------------------------------------------------
// Comparator.
// ---------------------------------------------------------------------------
struct CmpCase {
    std::vector<KsBlob> a, b;
    int expected;
};

std::vector<CmpCase> CmpCases() {
    return {
        {{B("a")}, {B("a")}, 0},
        {{B("a")}, {B("b")}, -1},
        {{B("b")}, {B("abc")}, 1},
        {{B("ab")}, {B("abc")}, -1},
        {{Null()}, {KsBlob()}, -1},
        {{Null()}, {Null()}, 0},
        {{KsBlob()}, {Null()}, 1},
        {{B("x"), B("a")}, {B("x"), B("b")}, -1},
        {{B("y"), B("a")}, {B("x"), B("b")}, 1},
        {{Null(), B("\x80")}, {Null(), B("\x7f")}, 1},
    };
}

TEST(BlobCompareTest, InMemoryAndStoredAgree) {
    for (const CmpCase& c : CmpCases()) {
        const uint count = static_cast<uint>(c.a.size());
        int status = -1;
        EXPECT_EQ(BlobCompare(8, 0, (void*)c.a.data(), 0, (void*)c.b.data(), 0, count, status),
                  c.expected);
        EXPECT_EQ(status, 0);
        for (uchar order : {uchar(1), uchar(2), uchar(0)}) {
            Bytes ia(64), ib(64);
            const uint la = BlobStore(ia.data(), c.a.data(), order, count);
            const uint lb = BlobStore(ib.data(), c.b.data(), order, count);
            status = -1;
            EXPECT_EQ(BlobCompare(order, 0, ia.data(), 0, ib.data(), 0, count, status),
                      c.expected);
            EXPECT_EQ(status, 0);
            status = -1;
            EXPECT_EQ(BlobCompare(order | 0x80, la, ia.data(), lb, ib.data(), 0, count, status),
                      c.expected) << "high bits of the format are ignored";
            EXPECT_EQ(status, 0);
        }
    }
}

TEST(BlobCompareTest, ShortOperandsReport2101) {
    const KsBlob a[] = {B("x"), B("a")};
    const KsBlob b[] = {B("y"), B("a")};
    int status = 0;
    // One element of room: the first element decides, the shortness is still reported.
    EXPECT_EQ(BlobCompare(8, sizeof(KsBlob), (void*)a, 0, (void*)b, 0, 2, status), -1);
    EXPECT_EQ(status, KS_SHORT_OPERAND);
    EXPECT_EQ(BlobCompare(8, 0, (void*)a, 3, (void*)b, 0, 1, status), 0);
    EXPECT_EQ(status, KS_SHORT_OPERAND);

    Bytes ia(32), ib(32);
    const uint la = BlobStore(ia.data(), a, 1, 2);
    BlobStore(ib.data(), b, 1, 2);
    struct Case {
        uint lenA;
        int expected, status;
    } cases[] = {
        {la, -1, 0},
        {9, -1, KS_SHORT_OPERAND},  // first element only
        {8, 0, KS_SHORT_OPERAND},   // first element's byte cut off
        {3, 0, KS_SHORT_OPERAND},   // not even the total
    };
    for (const Case& c : cases) {
        status = -1;
        EXPECT_EQ(BlobCompare(1, c.lenA, ia.data(), 0, ib.data(), 0, 2, status), c.expected)
            << c.lenA;
        EXPECT_EQ(status, c.status) << c.lenA;
    }
    // The image's own total also bounds the walk.
    const Bytes oneElement = {5, 0, 0, 0, 1, 0, 0, 0, 'x'};
    status = 0;
    EXPECT_EQ(BlobCompare(1, 0, (void*)oneElement.data(), 0, ib.data(), 0, 2, status), -1);
    EXPECT_EQ(status, KS_SHORT_OPERAND);
    // A bad stored length is an operand running short.
    const Bytes bad = {8, 0, 0, 0, 0, 0, 0, 0x80, 0, 0, 0, 0};
    status = 0;
    EXPECT_EQ(BlobCompare(1, 0, (void*)bad.data(), 0, ib.data(), 0, 1, status), 0);
    EXPECT_EQ(status, KS_SHORT_OPERAND);
    // Count 0 reads nothing.
    status = -1;
    EXPECT_EQ(BlobCompare(1, 0, nullptr, 0, nullptr, 0, 0, status), 0);
    EXPECT_EQ(status, 0);
}

// ---------------------------------------------------------------------------
// Arrays, life cycle, translation.
// ---------------------------------------------------------------------------
TEST(KsBlobRowTest, ArraysCarryTheirCount) {
    for (uint count : {0u, 1u, 2u, 5u}) {
        KsBlob* a = static_cast<KsBlob*>(BlobCreate(count));
        ASSERT_NE(a, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(a) % alignof(KsBlob), 0u);
        const uint n = count < 2 ? 1 : count;
        for (uint i = 0; i < n; ++i) {
            EXPECT_FALSE(a[i].IsNullValue());
            EXPECT_EQ(a[i].Length(), 0);
            a[i].SetTo("data", 4);  // the delete must free these
        }
        if (count >= 2) {
            uint stored;
            std::memcpy(&stored, reinterpret_cast<unsigned char*>(a) - sizeof(void*), 4);
            EXPECT_EQ(stored, count);
        }
        EXPECT_EQ(BlobDelete(a, count), nullptr);
    }
    KsBlob* d = static_cast<KsBlob*>(BlobDefaultValue(3, 0));
    EXPECT_EQ(d[2].Length(), 0);
    EXPECT_FALSE(d[2].IsNullValue());
    BlobDelete(d, 3);
}

TEST(KsBlobRowTest, LifeCycleSlots) {
    alignas(KsBlob) unsigned char raw[3 * sizeof(KsBlob)];
    BlobConstruct(raw, 3, 0);
    KsBlob* v = reinterpret_cast<KsBlob*>(raw);
    EXPECT_EQ(v[1].Length(), 0);
    KsBlob src[] = {B("a"), Null(), B("c")};
    BlobAssign(v, src, 3, 0);
    EXPECT_EQ(S(v[0]) + S(v[1]) + S(v[2]), "a<null>c");
    BlobAssign(v, src, 3, 1);
    EXPECT_EQ(S(v[0]) + S(v[1]) + S(v[2]), "aaa");
    EXPECT_EQ(BlobIsNull(&v[0]), 0);
    EXPECT_EQ(BlobSetNull(&v[0]), 0);
    EXPECT_EQ(BlobIsNull(&v[0]), 1);
    BlobDestruct(raw, 3, 0);

    BlobCopy(raw, src, 3, 0);
    EXPECT_EQ(S(v[0]) + S(v[1]) + S(v[2]), "a<null>c");
    BlobDestruct(raw, 3, 0);
    BlobCopy(raw, src + 1, 2, 1);
    EXPECT_TRUE(v[0].IsNullValue() && v[1].IsNullValue());
    BlobDestruct(raw, 2, 0);

    EXPECT_EQ(BlobGetValue(src, 0, 8, 'N'), KS_NOT_SUPPORTED);
}

TEST(KsBlobRowTest, Translate) {
    KsBlob mem[] = {B("ab"), Null()};
    const Bytes expected = {0, 0, 0, 0x0a, 0, 0, 0, 2, 'a', 'b', 0xff, 0xff, 0xff, 0xff};
    Bytes image(20, 0xEE);
    EXPECT_EQ(BlobTranslate(image.data(), 2, 13, mem, 8, 0, 2), 0u) << "destination too small";
    EXPECT_EQ(image[0], 0xEE);
    EXPECT_EQ(BlobTranslate(image.data(), 2, 14, mem, 8, 0, 2), 14u);
    EXPECT_EQ(Bytes(image.begin(), image.begin() + 14), expected);

    KsBlob back[2];
    EXPECT_EQ(BlobTranslate(back, 8, 0, image.data(), 2, 13, 2), 0u) << "source bound";
    EXPECT_EQ(BlobTranslate(back, 8, 0, image.data(), 2, 14, 2), 14u);
    EXPECT_EQ(S(back[0]) + S(back[1]), "ab<null>");

    // Stored to stored: bytes unchanged, truncated or zero-padded.
    Bytes out(6, 0xEE);
    EXPECT_EQ(BlobTranslate(out.data(), 1, 4, image.data(), 2, 14, 2), 4u);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 5), (Bytes{0, 0, 0, 0x0a, 0xEE}));
    EXPECT_EQ(BlobTranslate(out.data(), 1, 6, image.data(), 2, 3, 2), 3u);
    EXPECT_EQ(out, (Bytes{0, 0, 0, 0, 0, 0}));

    KsBlob copies[2];
    EXPECT_EQ(BlobTranslate(copies, 8, 0, mem, 8, 0, 2), 2 * sizeof(KsBlob));
    EXPECT_EQ(S(copies[0]) + S(copies[1]), "ab<null>");
}

// ---------------------------------------------------------------------------
// Text.
// ---------------------------------------------------------------------------
TEST(KsBlobTextTest, Print) {
    NullPrintGuard guard;
    KsBlob abc = B("abc");
    struct Case {
        const char* format;
        const char* expected;
    } cases[] = {
        {nullptr, "[BLOB,len=3]"}, {"[BLOB,len=%L]", "[BLOB,len=3]"}, {"%L%L", "33"},
        {"100%%", "100%"},         {"%x%L", "x3"},                    {"end%", "end"},
        {"", ""},
    };
    for (const Case& c : cases) {
        KsString out("old text");
        EXPECT_EQ(Text(BlobPrintToKsString(out, &abc, c.format, 1)), c.expected)
            << (c.format ? c.format : "(null)");
    }
    KsBlob null = Null();
    KsString out("old");
    EXPECT_EQ(Text(BlobPrintToKsString(out, &null, "[BLOB,len=%L]", 1)), "{NULL}");
    KsTypeMgr::SetNullPrintString(KsString("-"));
    EXPECT_EQ(Text(BlobPrintToKsString(out, &null, "%L", 1)), "-");

    KsBlob pair[] = {B("ab"), Null()};
    EXPECT_EQ(Text(BlobPrintToKsString(out, pair, "%L", 2)), "2,-");
    EXPECT_EQ(Text(BlobPrintToKsString(out, pair, "%L", 0)), "");
}

TEST(KsBlobTextTest, ScanReadsHexOrTheNullPrintString) {
    NullPrintGuard guard;
    struct Case {
        const char* text;
        std::string expected;
    } cases[] = {
        {"00ff10", std::string("\x00\xff\x10", 3)}, {"ABcd", "\xab\xcd"},
        {"", ""},                                   {"abc", "\xab"},
        {"0g12", ""},                               {"12 34", "\x12"},
        {"{NULL}", "<null>"},                       {"{NULL}00", "<null>"},
        {"{NULL", ""},
    };
    for (const Case& c : cases) {
        KsBlob b = B("old");
        KsString in(c.text);
        EXPECT_EQ(BlobScanFromKsString(&b, in, "[BLOB,len=%L]", 1), &b);
        EXPECT_EQ(S(b), c.expected) << c.text;
    }
    // A 16-bit text is read as single bytes.
    const unsigned short wide[] = {'6', '1', '6', '2', 0};
    KsString w(wide);
    ASSERT_EQ(w.Width(), 2u);
    KsBlob b;
    BlobScanFromKsString(&b, w, nullptr, 1);
    EXPECT_EQ(S(b), "ab");

    KsTypeMgr::SetNullPrintString(KsString("nil"));
    KsString nil("nil");
    BlobScanFromKsString(&b, nil, nullptr, 1);
    EXPECT_TRUE(b.IsNullValue());
    EXPECT_EQ(BlobScanFromKsString(nullptr, nil, nullptr, 1), nullptr);
}

TEST(KsBlobTextTest, ConversionRoundTrip) {
    KsBlob values[] = {B(std::string("\x00\x01\xfe", 3)), Null(), KsBlob()};
    KsTypeConvertData* text = BlobConvertToKsString(values, 3);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->type, KsSTRING_T);
    EXPECT_EQ(Text(*text->GetString(0)), "0001fe");
    EXPECT_EQ(Text(*text->GetString(1)), "{NULL}");
    EXPECT_EQ(Text(*text->GetString(2)), "");

    KsBlob* back = static_cast<KsBlob*>(BlobConvertFromKsString(text, 3));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(back[i] != values[i], 0) << i;
    BlobDelete(back, 3);

    // Missing strings give empty blobs.
    back = static_cast<KsBlob*>(BlobConvertFromKsString(text, 5));
    EXPECT_EQ(S(back[4]), "");
    BlobDelete(back, 5);
    KsTypeMgr mgr;
    text->owner = &mgr;  // frees the strings
    delete text;

    // Long blobs are cut at KsString's size limit.
    KsBlob huge(40000);
    text = BlobConvertToKsString(&huge, 1);
    EXPECT_EQ(text->GetString(0)->Len(), 2 * 32765);
    text->owner = &mgr;
    delete text;
}

}  // namespace
