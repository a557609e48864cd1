// KsBlob: members, stored images in both byte orders, load failures, the
// comparator, array allocation, translation and text.
#include "ksblob.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "ksbase.h"
#include "ksblobrow.h"
#include "ksstring.h"
#include "kstest_util.h"
#include "kstypes.h"

namespace {

typedef std::vector<uchar> Bytes;

KsBlob B(const std::string& s) { return KsBlob(s.data(), static_cast<int>(s.size())); }
KsBlob Null() { KsBlob b; b.SetNullValue(); return b; }

// The bytes as a string; "<null>" for a null blob.
std::string S(const KsBlob& b) {
    return b.IsNullValue() ? "<null>" : std::string(reinterpret_cast<const char*>(b.Data()), std::size_t(b.Length()));
}
std::string Text(const KsString& s) { return s.StrGet(); }

TEST(KsBlobTest, ConstructionCopyAndMove) {
    KsBlob empty;
    EXPECT_EQ(empty.SetNullValue(), 0);
    EXPECT_EQ(S(empty) + std::to_string(empty.Length()), "<null>0");
    EXPECT_EQ(S(KsBlob(3)) + S(KsBlob(-5)) + S(KsBlob(nullptr, 4)), std::string(3, '\0'));
    KsBlob original = B("abc"), copy(original);  // copies are deep
    *copy.Seek(0, 1) = 'x';
    EXPECT_EQ(S(original) + S(copy), "abcxbc");

    struct Case { KsBlob dst, src; const char* expected; } cases[] = {
        {Null(), B("ab"), "ab"}, {B("ab"), Null(), "<null>"}, {B("ab"), B("xyz"), "xyz"}, {B("abc"), KsBlob(), ""}};
    for (Case& c : cases) {
        KsBlob moved = c.dst, from = c.src;
        c.dst = c.src;
        moved.Destroy(from);  // moves, leaving the source a fresh empty record unless null
        EXPECT_EQ(S(c.dst) + "|" + S(moved), std::string(c.expected) + "|" + c.expected) << S(c.src);
        EXPECT_EQ(S(from), c.src.IsNullValue() ? "<null>" : "");
    }
    KsBlob self = B("same");
    KsBlob& alias = self;
    self = alias;  // self-assignment and self-move keep the bytes
    self.Destroy(alias);
    EXPECT_EQ(S(self), "same");
}

TEST(KsBlobTest, EqualityAndThreeWayOrder) {
    struct Case { KsBlob a, b; int ne, eq; } cases[] = {
        {Null(), Null(), 0, 1},  {B("a"), Null(), 2, 0},      {Null(), B("a"), -2, 0},  {KsBlob(), Null(), 2, 0},
        {B("ab"), B("ab"), 0, 1}, {B("\xff"), B("\x01"), 1, 0},  /* unsigned */ {B("ab"), B("abc"), -1, 0},
        {B("b"), B("abc"), 1, 0}};  // bytes before length
    for (const Case& c : cases) {
        EXPECT_EQ(c.a != c.b, c.ne) << S(c.a) << " vs " << S(c.b);
        EXPECT_EQ(c.a == c.b, c.eq) << S(c.a) << " vs " << S(c.b);
    }
}

TEST(KsBlobTest, ExpandAndResize) {
    struct Case { KsBlob start; int size; std::string expected; } cases[] = {
        {B("abcd"), 2, "ab"}, {B("ab"), 4, std::string("ab\0\0", 4)}, {Null(), 3, std::string(3, '\0')},
        {B("abc"), -1, ""}};
    for (const Case& c : cases) {
        KsBlob e = c.start, r = c.start;
        e.Expand(c.size), r.Resize(c.size < 0 ? 0u : unsigned(c.size));
        EXPECT_EQ(S(e) + "|" + S(r), c.expected + "|" + c.expected) << c.size;
    }
    // Growing after a shrink brings back zeros, not the old bytes; a huge size is refused.
    KsBlob r = B("abcd");
    r.Resize(1), r.Resize(3);
    KsAssertHandler old = KsSetAssertHandler([](const char*, const char*, int) {});
    r.Resize(0x80000000u);
    KsSetAssertHandler(old);
    EXPECT_EQ(S(r), std::string("a\0\0", 3));
}

TEST(KsBlobTest, AppendAndSetTo) {
    KsBlob b = B("ab"), n = Null();
    b.Append("cd", 0), b.Append(nullptr, 3), b.Append("cd", -1), b.Append(Null());  // no-ops
    b.Append("cd", 2), b += B("e"), n.Append("xy", 2);
    EXPECT_EQ(S(b) + S(n), "abcdexy");
    // Sources inside the blob itself survive the reallocation.
    KsBlob self = B("abcd");
    self.Append(self), self.Append(self.Seek(1, 2), 2);
    EXPECT_EQ(S(self), "abcdabcdbc");
    self.SetTo(self.Seek(2, 3), 3);
    EXPECT_EQ(S(self), "cda");
}

TEST(KsBlobTest, Seek) {
    KsBlob b = B("abcd");
    struct Case { int offset, n, expected; } cases[] = {  // expected -1: null
        {0, 4, 0}, {3, 1, 3}, {2, 3, -1}, {0, 0, -1}, {-1, 2, -1}, {3, -2, 3}, {4, -1, -1}, {1, 0x7FFFFFFF, -1}};
    for (const Case& c : cases)
        EXPECT_EQ(b.Seek(c.offset, c.n), c.expected < 0 ? nullptr : b.Data() + c.expected)
            << c.offset << "," << c.n;
    EXPECT_EQ(Null().Seek(0, 1), nullptr);
}

TEST(KsBlobTest, CopyToClipsToThisBlob) {
    struct Case { KsBlob dst, from; int offset, n; const char* expected; } cases[] = {
        {B("......"), B("abc"), 1, 3, ".abc.."}, {B("......"), B("abc"), 4, 3, "....ab"},
        {B("......"), B("abc"), 6, 1, "......"}, {B("......"), B("abc"), -1, 2, "......"},
        {Null(), B("abc"), 0, 3, "<null>"},       {B("abcd"), Null(), 0, 2, "abcd"}};
    for (Case& c : cases) {
        c.dst.CopyTo(c.from, c.offset, c.n);
        EXPECT_EQ(S(c.dst), c.expected) << c.offset << "," << c.n;
    }
    KsBlob dst = B("abcd");
    dst.CopyTo(dst, 1, 3);  // overlapping
    EXPECT_EQ(S(dst), "aabc");
}

TEST(KsBlobTest, CutAndCopyFrom) {
    struct Case { int offset, n; const char* cut, *copyFrom; } cases[] = {  // on abcdef
        {1, 2, "adef", "bc"}, {4, 9, "abcd", "ef"}, {6, 1, "abcdef", ""}, {2, -1, "abcdef", ""},
        {-1, 2, "abcdef", ""}};
    for (const Case& c : cases) {
        KsBlob b = B("abcdef");
        EXPECT_EQ(S(b.CopyFrom(c.offset, c.n)), c.copyFrom) << c.offset << "," << c.n;
        b.Cut(c.offset, c.n);
        EXPECT_EQ(S(b), c.cut) << c.offset << "," << c.n;
    }
    KsBlob n = Null();
    n.Cut(0, 1);
    EXPECT_EQ(S(n) + "/" + S(n.CopyFrom(0, 1)), "<null>/");  // the copy is empty, not null
}

TEST(KsBlobTest, SearchAndNumbers) {
    struct Case { KsBlob text, pattern; int expected; } cases[] = {
        {B("aaab"), B("aab"), 1}, {B("ab"), B("abc"), KsBlob::NotFound}, {B(""), B(""), 0},
        {Null(), B("a"), 65535},  {B("a"), Null(), 65535},
        {B(std::string(70000, 'a') + "b"), B("b"), 70000}};  // offsets past 65535 as they are
    for (const Case& c : cases) EXPECT_EQ(c.text.Search(c.pattern), c.expected) << S(c.pattern);

    EXPECT_EQ(KsBlobInternals::ToInt(B(std::string("12\0" "34", 5))), 12);
    EXPECT_EQ(KsBlobInternals::ToShort(B("70000")), static_cast<short>(70000));
    EXPECT_DOUBLE_EQ(KsBlobInternals::ToDouble(B("2.5e1")), 25.0);
}

TEST(KsBlobImageTest, StoresGoldenBytesAndLoadsThemBack) {
    struct Golden { const char* name; std::vector<KsBlob> blobs; Bytes little, big; };
    const std::string big(0x102, 'z');
    std::vector<Golden> goldens = {
        {"none", {}, {0, 0, 0, 0}, {0, 0, 0, 0}}, {"null,ab", {Null(), B("ab")},
         {0x0a, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 2, 0, 0, 0, 'a', 'b'},
         {0, 0, 0, 0x0a, 0xff, 0xff, 0xff, 0xff, 0, 0, 0, 2, 'a', 'b'}},
        {"empty", {KsBlob()}, {4, 0, 0, 0, 0, 0, 0, 0}, {0, 0, 0, 4, 0, 0, 0, 0}},
        {"258 bytes", {B(big)}, {0x06, 0x01, 0, 0, 0x02, 0x01, 0, 0}, {0, 0, 0x01, 0x06, 0, 0, 0x01, 0x02}}};
    goldens[3].little.insert(goldens[3].little.end(), big.begin(), big.end());
    goldens[3].big.insert(goldens[3].big.end(), big.begin(), big.end());
    for (const Golden& g : goldens) {
        const uint count = static_cast<uint>(g.blobs.size());
        for (uchar order : {uchar(1), uchar(2)}) {
            const Bytes& expected = order == 2 ? g.big : g.little;
            Bytes image(expected.size() + 8, 0xEE);
            const uint n = BlobStore(image.data(), g.blobs.data(), order, count);
            ASSERT_EQ(n, expected.size()) << g.name << " order " << int(order);
            EXPECT_EQ(Bytes(image.begin(), image.begin() + n), expected) << g.name;
            EXPECT_EQ(image[n], 0xEE) << g.name << ": wrote past its size";
            EXPECT_TRUE(BlobDiskLen(g.blobs.data(), 8, order, count) == n &&
                        BlobDiskLen(expected.data(), 0, order, count) == n) << g.name;
            std::vector<KsBlob> back(count, B("old"));
            EXPECT_EQ(BlobLoad(back.data(), expected.data(), order, count), n) << g.name;
            EXPECT_EQ(BlobLoadBounded(back.data(), expected.data(), n, order, count), n);
            for (uint i = 0; i < count; ++i) EXPECT_EQ(back[i] != g.blobs[i], 0) << g.name << i;
        }
    }
}

TEST(KsBlobImageTest, SizesFromTheStoredTotal) {
    EXPECT_EQ(BlobCountSize(3), 16u);
    // The stored-length rule: FFFFFFFE and FFFFFFFF read as a total of 0.
    struct Case { Bytes word; uint size; } cases[] = {
        {{0x0a, 0, 0, 0}, 14}, {{0xfe, 0xff, 0xff, 0xff}, 4}, {{0xff, 0xff, 0xff, 0xff}, 4}, {{0, 0, 0, 0x80}, 0}};
    for (const Case& c : cases) {
        const Bytes swapped(c.word.rbegin(), c.word.rend());
        EXPECT_TRUE(BlobDiskLen(c.word.data(), 0, 1, 1) == c.size && BlobDiskLen(swapped.data(), 0, 2, 1) == c.size);
    }
    // From a file: bounded by the file, and the position is left where it was.
    Bytes padded = {0xAA, 6, 0, 0, 0, 2, 0, 0, 0, 'a', 'b', 0};  // one lead byte
    struct FileCase { uint fileSize, expected; } files[] = {{11, 10}, {10, 0}, {1, 0}};
    for (const FileCase& c : files) {
        MemFile file(padded.data(), c.fileSize);
        if (c.fileSize > 1) file.Seek(1);
        EXPECT_EQ(BlobDiskLenFromMemFile(&file, 1, 1), c.expected) << c.fileSize;
        EXPECT_EQ(file.Tell(), c.fileSize > 1 ? 1 : 0) << "position moved";
    }
    EXPECT_EQ(BlobDiskLenFromMemFile(nullptr, 1, 1), 0u);
}

TEST(KsBlobImageTest, BadImagesFailAndLeaveTheArray) {
    struct Case { const char* why; Bytes image; uint count; } cases[] = {
        {"negative total", {0xff, 0xff, 0xff, 0xff}, 0}, {"total FFFFFFFE", {0xfe, 0xff, 0xff, 0xff}, 0},
        {"negative length", {4, 0, 0, 0, 0, 0, 0, 0x80}, 1},
        {"length FFFFFFFE", {4, 0, 0, 0, 0xfe, 0xff, 0xff, 0xff}, 1},
        {"length past total", {6, 0, 0, 0, 3, 0, 0, 0, 'a', 'b', 'c'}, 1},
        {"fewer elements than count", {6, 0, 0, 0, 2, 0, 0, 0, 'a', 'b'}, 2},
        {"length word cut by total", {2, 0, 0, 0, 0, 0}, 1}};
    for (const Case& c : cases) {
        KsBlob mem[2] = {B("keep"), B("this")};
        EXPECT_EQ(BlobLoad(mem, c.image.data(), 1, c.count), 0u) << c.why;
        EXPECT_EQ(BlobLoadBounded(mem, c.image.data(), uint(c.image.size()), 1, c.count), 0u) << c.why;
        EXPECT_EQ(S(mem[0]) + S(mem[1]), "keepthis") << c.why;
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
    // Reading fewer elements than stored still consumes the whole total.
    KsBlob back[1];
    EXPECT_EQ(BlobLoad(back, image.data(), 2, 1), n);
    EXPECT_EQ(S(back[0]), "xyz");
}

TEST(BlobCompareTest, InMemoryAndStoredAgree) {
    struct Case { std::vector<KsBlob> a, b; int expected; } cases[] = {
        {{B("a")}, {B("a")}, 0}, {{B("b")}, {B("abc")}, 1}, {{B("ab")}, {B("abc")}, -1}, {{Null()}, {KsBlob()}, -1},
        {{B("y"), B("a")}, {B("x"), B("b")}, 1}, {{Null(), B("\x80")}, {Null(), B("\x7f")}, 1}};
    for (const Case& c : cases) {
        const uint count = static_cast<uint>(c.a.size());
        int status = -1;
        EXPECT_EQ(BlobCompare(8, 0, (void*)c.a.data(), 0, (void*)c.b.data(), 0, count, status), c.expected);
        for (uchar order : {uchar(1), uchar(2), uchar(0)}) {
            Bytes ia(64), ib(64);
            const uint la = BlobStore(ia.data(), c.a.data(), order, count);
            const uint lb = BlobStore(ib.data(), c.b.data(), order, count);
            // High bits of the format are ignored.
            EXPECT_EQ(BlobCompare(order | 0x80, la, ia.data(), lb, ib.data(), 0, count, status), c.expected);
            EXPECT_EQ(status, 0);
        }
    }
}

TEST(BlobCompareTest, ShortOperandsReport2101) {
    const KsBlob a[] = {B("x"), B("a")}, b[] = {B("y"), B("a")};
    Bytes ia(32), ib(32);
    BlobStore(ia.data(), a, 1, 2), BlobStore(ib.data(), b, 1, 2);
    const Bytes oneElement = {5, 0, 0, 0, 1, 0, 0, 0, 'x'}, bad = {8, 0, 0, 0, 0, 0, 0, 0x80, 0, 0, 0, 0};
    struct Case { uchar format; uint lenA, lenB; const void* a; const void* b; uint count; int expected, status; };
    const Case cases[] = {
        // One element of room: the first element decides, the shortness is still reported.
        {8, sizeof(KsBlob), 0, a, b, 2, -1, KS_SHORT_OPERAND}, {8, 0, 3, a, b, 1, 0, KS_SHORT_OPERAND},
        {1, 9, 0, ia.data(), ib.data(), 2, -1, KS_SHORT_OPERAND},  // first element only
        {1, 8, 0, ia.data(), ib.data(), 2, 0, KS_SHORT_OPERAND},   // first element's byte cut off
        {1, 0, 0, oneElement.data(), ib.data(), 2, -1, KS_SHORT_OPERAND},  // the image's own total
        {1, 0, 0, bad.data(), ib.data(), 1, 0, KS_SHORT_OPERAND},  // a bad stored length
        {1, 0, 0, nullptr, nullptr, 0, 0, 0}};                     // count 0 reads nothing
    for (const Case& c : cases) {
        int status = -1;
        EXPECT_EQ(BlobCompare(c.format, c.lenA, const_cast<void*>(c.a), c.lenB, const_cast<void*>(c.b), 0,
                              c.count, status), c.expected) << c.lenA;
        EXPECT_EQ(status, c.status) << c.lenA;
    }
}

TEST(KsBlobRowTest, ArraysCarryTheirCount) {
    for (uint count : {0u, 5u}) {
        KsBlob* a = static_cast<KsBlob*>(BlobCreate(count));
        ASSERT_NE(a, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(a) % alignof(KsBlob), 0u);
        for (uint i = 0; i < std::max(count, 1u); ++i) {
            EXPECT_EQ(S(a[i]), "");
            a[i].SetTo("data", 4);  // the delete must free these
        }
        EXPECT_EQ(BlobDelete(a, count), nullptr);
    }
}

TEST(KsBlobRowTest, LifeCycleSlots) {
    alignas(KsBlob) unsigned char raw[3 * sizeof(KsBlob)];
    BlobConstruct(raw, 3, 0);
    KsBlob* v = reinterpret_cast<KsBlob*>(raw);
    KsBlob src[] = {B("a"), Null(), B("c")};
    BlobAssign(v, src, 3, 0);
    EXPECT_EQ(S(v[0]) + S(v[1]) + S(v[2]), "a<null>c");
    BlobAssign(v, src, 3, 1);
    EXPECT_EQ(S(v[0]) + S(v[1]) + S(v[2]), "aaa");
    EXPECT_TRUE(BlobIsNull(&v[0]) == 0 && BlobSetNull(&v[0]) == 0 && BlobIsNull(&v[0]) == 1);
    BlobDestruct(raw, 3, 0);
    BlobCopy(raw, src + 1, 2, 1);
    EXPECT_EQ(S(v[0]) + S(v[1]), "<null><null>");
    BlobDestruct(raw, 2, 0);
    EXPECT_EQ(BlobGetValue(src, 0, 8, 'N'), KS_NOT_SUPPORTED);
}

TEST(KsBlobRowTest, Translate) {
    KsBlob mem[] = {B("ab"), Null()}, back[2], copies[2];
    const Bytes expected = {0, 0, 0, 0x0a, 0, 0, 0, 2, 'a', 'b', 0xff, 0xff, 0xff, 0xff};
    Bytes image(20, 0xEE);
    EXPECT_TRUE(BlobTranslate(image.data(), 2, 13, mem, 8, 0, 2) == 0 && image[0] == 0xEE) << "destination too small";
    EXPECT_EQ(BlobTranslate(image.data(), 2, 14, mem, 8, 0, 2), 14u);
    EXPECT_EQ(Bytes(image.begin(), image.begin() + 14), expected);
    EXPECT_EQ(BlobTranslate(back, 8, 0, image.data(), 2, 13, 2), 0u) << "source bound";
    EXPECT_EQ(BlobTranslate(back, 8, 0, image.data(), 2, 14, 2), 14u);
    EXPECT_EQ(BlobTranslate(copies, 8, 0, mem, 8, 0, 2), 2 * sizeof(KsBlob));
    EXPECT_EQ(S(back[0]) + S(back[1]) + S(copies[0]) + S(copies[1]), "ab<null>ab<null>");
    // Stored to stored: bytes unchanged, truncated or zero-padded.
    Bytes out(6, 0xEE);
    EXPECT_TRUE(BlobTranslate(out.data(), 1, 4, image.data(), 2, 14, 2) == 4 && out[4] == 0xEE);
    EXPECT_EQ(BlobTranslate(out.data(), 1, 6, image.data(), 2, 3, 2), 3u);
    EXPECT_EQ(out, (Bytes{0, 0, 0, 0, 0, 0}));
}

TEST(KsBlobTextTest, Print) {
    NullPrintGuard guard;
    KsBlob abc = B("abc"), pair[] = {B("ab"), Null()};
    struct Case { KsBlob* value; const char* format; const char* expected; } cases[] = {
        {&abc, nullptr, "[BLOB,len=3]"}, {&abc, "%L%L", "33"}, {&abc, "100%%", "100%"}, {&abc, "%x%L", "x3"},
        {&abc, "end%", "end"}, {pair + 1, "[BLOB,len=%L]", "{NULL}"}};
    for (const Case& c : cases) {
        KsString out("old text");
        EXPECT_EQ(Text(BlobPrintToKsString(out, c.value, c.format, 1)), c.expected) << (c.format ? c.format : "-");
    }
    KsString out;
    KsTypeMgr::SetNullPrintString(KsString("-"));
    EXPECT_EQ(Text(BlobPrintToKsString(out, pair, "%L", 2)), "2,-");
    EXPECT_EQ(Text(BlobPrintToKsString(out, pair, "%L", 0)), "");
}

TEST(KsBlobTextTest, ScanReadsHexOrTheNullPrintString) {
    NullPrintGuard guard;
    struct Case { const char* text; std::string expected; } cases[] = {
        {"00ff10", std::string("\x00\xff\x10", 3)}, {"ABcd", "\xab\xcd"}, {"abc", "\xab"}, {"0g12", ""},
        {"{NULL}00", "<null>"}, {"{NULL", ""}};
    for (const Case& c : cases) {
        KsBlob b = B("old");
        KsString in(c.text);
        EXPECT_EQ(BlobScanFromKsString(&b, in, "[BLOB,len=%L]", 1), &b);
        EXPECT_EQ(S(b), c.expected) << c.text;
    }
    // A 16-bit text is read as single bytes.
    const unsigned short wide[] = {'6', '1', '6', '2', 0};
    KsString w(wide), nil("nil");
    KsBlob b;
    EXPECT_EQ(S(*static_cast<KsBlob*>(BlobScanFromKsString(&b, w, nullptr, 1))), "ab");
    KsTypeMgr::SetNullPrintString(KsString("nil"));
    EXPECT_EQ(S(*static_cast<KsBlob*>(BlobScanFromKsString(&b, nil, nullptr, 1))), "<null>");
    EXPECT_EQ(BlobScanFromKsString(nullptr, nil, nullptr, 1), nullptr);
}

TEST(KsBlobTextTest, ConversionRoundTrip) {
    KsBlob values[] = {B(std::string("\x00\x01\xfe", 3)), Null(), KsBlob()};
    KsTypeConvertData* text = BlobConvertToKsString(values, 3);
    ASSERT_TRUE(text && text->type == KsSTRING_T);
    EXPECT_EQ(Text(*text->GetString(0)) + Text(*text->GetString(1)) + Text(*text->GetString(2)), "0001fe{NULL}");
    KsBlob* back = static_cast<KsBlob*>(BlobConvertFromKsString(text, 4));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(back[i] != values[i], 0) << i;
    EXPECT_EQ(S(back[3]), "");  // missing strings give empty blobs
    BlobDelete(back, 4);
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
