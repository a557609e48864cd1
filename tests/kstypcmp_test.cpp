// Scalar comparators: random arrays in every format byte against a literal
// transcription of the stepping rule, readings that agree with the base
// routines, exhaustive 16-bit values and the floating total order.
#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "ksbase.h"
#include "kstypcmp.h"

namespace {

typedef std::uint64_t Bits;

// Reference image: most significant byte first exactly when the low nibble is
// 2 (on a little-endian host every other code, native included, is LSB first).
void Put(uchar* p, Bits v, int width, uchar format) {
    for (int i = 0; i < width; ++i) p[(format & 15) == 2 ? width - 1 - i : i] = uchar(v >> (8 * i));
}
Bits F(float v) { return std::bit_cast<std::uint32_t>(v); }
Bits D(double v) { return std::bit_cast<Bits>(v); }

// Values in ascending groups; values within a group compare equal.
struct Kind {
    const char* name;
    KsTypeCmpFunc cmp;
    int width;
    std::vector<std::vector<Bits>> groups;
};

std::vector<Kind> Kinds() {
    const Bits m = Bits(1) << 63;
    const std::vector<std::vector<Bits>> s32 = {{0x80000000}, {0xFFFFFF00}, {0xFFFFFFFF}, {0}, {1},
                                                {0x1000000}, {0x7FFFFFFF}};
    const std::vector<std::vector<Bits>> u32 = {{0}, {1}, {0x1000000}, {0x7FFFFFFF}, {0x80000000},
                                                {0xFFFFFFFF}};
    return {
        {"Char", CharCompare, 1, {{0x80}, {0xFF}, {0}, {1}, {0x7F}}},
        {"Byte", ByteCompare, 1, {{0}, {1}, {0x7F}, {0x80}, {0xFF}}},
        {"Short", ShortCompare, 2, {{0x8000}, {0xFF00}, {0xFFFF}, {0}, {1}, {0x100}, {0x7FFF}}},
        {"Word", WordCompare, 2, {{0}, {1}, {0x100}, {0x7FFF}, {0x8000}, {0xFF00}, {0xFFFF}}},
        {"Int", IntCompare, 4, s32},
        {"Unsigned", UnsignedCompare, 4, u32},
        {"Long", LongCompare, 4, s32},
        {"Dword", DwordCompare, 4, u32},
        {"O_8B", O_8BCompare, 8, {{m}, {~Bits(0xFF)}, {~Bits(0)}, {0}, {1}, {Bits(1) << 56}, {m - 1}}},
        {"O_U8B", O_U8BCompare, 8, {{0}, {1}, {Bits(1) << 56}, {m - 1}, {m}, {~Bits(0)}}},
        {"Float", FloatCompare, 4,
         {{F(NAN), F(-NAN), F(std::numeric_limits<float>::signaling_NaN())}, {F(-INFINITY)},
          {F(-FLT_MAX)}, {F(-FLT_TRUE_MIN)}, {F(-0.0f), F(0.0f)}, {F(1.0f)}, {F(INFINITY)}}},
        {"Double", DoubleCompare, 8,
         {{D(NAN), D(-NAN), D(std::numeric_limits<double>::signaling_NaN())}, {D(-INFINITY)},
          {D(-DBL_MAX)}, {D(-DBL_TRUE_MIN)}, {D(-0.0), D(0.0)}, {D(1.0)}, {D(INFINITY)}}},
    };
}

// The protocol as written: pointers step one element at a time, and the end
// tests come before the result test.
int Reference(uint w, uint lenA, uint lenB, uint count, const std::vector<int>& ga,
              const std::vector<int>& gb, int& status) {
    status = 0;
    if (count == 0) return 0;
    const uint endA = lenA ? lenA : w * count, endB = lenB ? lenB : w * count;
    if (w > endA || w > endB) {  // not even the first element is wholly present
        status = KS_SHORT_OPERAND;
        return 0;
    }
    uint a = 0, b = 0;
    int result = 0;
    for (uint left = count;;) {
        --left;
        if (result != 0 || status != 0) break;
        result = (ga[a / w] > gb[b / w]) - (ga[a / w] < gb[b / w]);
        if (left == 0) break;
        // The next element must lie wholly inside both operands.
        if (a + 2 * w > endA) status = KS_SHORT_OPERAND;
        else if (a += w; b + 2 * w > endB) status = KS_SHORT_OPERAND;
        else b += w;
    }
    return result;
}

class KsTypCmp : public ::testing::Test {
    void SetUp() override {
        if (std::endian::native != std::endian::little) GTEST_SKIP() << "reference images are LE";
    }
};

TEST_F(KsTypCmp, RandomArraysInEveryFormatFollowTheSteppingRule) {
    std::mt19937 rng(20240611);
    for (const Kind& k : Kinds()) {
        std::vector<std::pair<Bits, int>> pool;  // (value, group)
        for (int g = 0; g < int(k.groups.size()); ++g)
            for (Bits v : k.groups[g]) pool.push_back({v, g});
        for (int iter = 0; iter < 6000; ++iter) {
            const uint count = rng() % 6, full = count * k.width;
            const uchar format = uchar(rng());
            auto len = [&] { return rng() % 3 == 0 ? 0u : uint(rng() % (full + k.width + 1)); };
            const uint lenA = len(), lenB = len();
            std::vector<uchar> a(full + 1), b(full + 1);
            std::vector<int> ga(count + 1), gb(count + 1);
            // Neighbouring pool entries only, so that equal prefixes are common.
            const uint first = rng() % pool.size(), spread = 1 + rng() % 3;
            for (uint i = 0; i < count; ++i) {
                const auto& ea = pool[(first + rng() % spread) % pool.size()];
                const auto& eb = pool[(first + rng() % spread) % pool.size()];
                Put(&a[i * k.width], ea.first, k.width, format);
                Put(&b[i * k.width], eb.first, k.width, format);
                ga[i] = ea.second;
                gb[i] = eb.second;
            }
            int want, status = -1;
            const int expected = Reference(k.width, lenA, lenB, count, ga, gb, want);
            ASSERT_EQ(expected, k.cmp(format, lenA, a.data(), lenB, b.data(), 0, count, status))
                << k.name << " format " << int(format) << " count " << count << " lengths "
                << lenA << "/" << lenB;
            ASSERT_EQ(want, status) << k.name << " format " << int(format) << " count " << count
                                    << " lengths " << lenA << "/" << lenB;
        }
        int status = -1;  // count 0 reads nothing
        EXPECT_EQ(0, k.cmp(2, 1, nullptr, 0, nullptr, 0xFFFF, 0, status));
        EXPECT_EQ(0, status);
    }
}

TEST_F(KsTypCmp, EdgeCases) {
    const struct {
        KsTypeCmpFunc cmp;
        uchar format;
        std::vector<uchar> a, b;
        uint lenA, count;
        int result, status;
    } cases[] = {
        {CharCompare, 8, {0x80}, {0x01}, 0, 1, -1, 0},
        {ByteCompare, 8, {0x80}, {0x01}, 0, 1, 1, 0},
        {ShortCompare, 2, {0x01, 0x00}, {0x00, 0x02}, 0, 1, 1, 0},   // 256 > 2
        {ShortCompare, 0, {0x01, 0x00}, {0x00, 0x02}, 0, 1, -1, 0},  // 1 < 512
        // Decided by the first element, yet a has no second one: reported.
        {ShortCompare, 8, {1, 0, 9, 9}, {2, 0, 9, 9}, 2, 2, -1, KS_SHORT_OPERAND},
        // An element only partly present is not read.
        {ShortCompare, 8, {1, 0, 9, 0}, {1, 0, 8, 0}, 3, 2, 0, KS_SHORT_OPERAND},
        {LongCompare, 8, {5, 0, 0, 0}, {6, 0, 0, 0}, 1, 1, 0, KS_SHORT_OPERAND},
    };
    for (const auto& c : cases) {
        std::vector<uchar> a = c.a, b = c.b;
        int status = -1;
        EXPECT_EQ(c.result, c.cmp(c.format, c.lenA, a.data(), 0, b.data(), 0, c.count, status));
        EXPECT_EQ(c.status, status);
    }
}

// Seeded random values stored by the base routines under every format byte
// order as plain integers do.
TEST_F(KsTypCmp, WideValuesReadLikeTheBaseRoutines) {
    const struct {
        KsTypeCmpFunc cmp;
        uint (*store)(void*, const void*, uchar, uint);
        int width;
        bool isSigned;
    } kinds[] = {{IntCompare, IntStore, 4, true},    {UnsignedCompare, IntStore, 4, false},
                 {LongCompare, LongStore, 4, true},  {DwordCompare, LongStore, 4, false},
                 {O_8BCompare, O_8BStore, 8, true},  {O_U8BCompare, O_8BStore, 8, false}};
    std::mt19937_64 rng(7);
    for (int i = 0; i < 100000; ++i) {
        const auto& k = kinds[i % 6];
        const uchar format = uchar(i / 6);
        // Mostly pairs that differ in one byte, so that every byte's weight shows.
        Bits x = rng(), y = i % 3 ? x ^ (Bits(1 + rng() % 255) << (8 * (rng() % k.width))) : rng();
        if (i % 97 == 0) y = x;
        uchar sx[8], sy[8];
        k.store(sx, &x, format, 1);
        k.store(sy, &y, format, 1);
        const int shift = 64 - 8 * k.width;  // compare the low `width` bytes
        const bool less = k.isSigned ? KsI64(x << shift) < KsI64(y << shift) : x << shift < y << shift;
        const bool same = x << shift == y << shift;
        int status;
        ASSERT_EQ(same ? 0 : less ? -1 : 1, k.cmp(format, 0, sx, 0, sy, 0, 1, status))
            << i % 6 << " format " << int(format) << " " << x << " " << y;
    }
    for (int format = 0; format < 256; ++format) {
        const double d[2] = {-2.5, 3.0};
        const float f[2] = {-2.5f, 3.0f};
        uchar sd[16], sf[8];
        DoubleStore(sd, d, uchar(format), 2);
        FloatStore(sf, f, uchar(format), 2);
        int status;
        EXPECT_EQ(-1, DoubleCompare(uchar(format), 0, sd, 0, sd + 8, 0, 1, status));
        EXPECT_EQ(1, FloatCompare(uchar(format), 0, sf + 4, 0, sf, 0, 1, status));
    }
}

TEST_F(KsTypCmp, ShortAndWordExhaustiveInThreeFormats) {
    std::mt19937 rng(16);
    for (uint x = 0; x < 65536; ++x) {
        for (uint y : {x, (x + 1) & 0xFFFF, x ^ 0x8000, uint(rng() & 0xFFFF)}) {
            const int sx = std::int16_t(x), sy = std::int16_t(y);
            for (uchar format : {8, 1, 2}) {
                uchar a[2], b[2];
                Put(a, x, 2, format);
                Put(b, y, 2, format);
                int status;
                ASSERT_EQ((sx > sy) - (sx < sy), ShortCompare(format, 2, a, 2, b, 0, 1, status));
                ASSERT_EQ((x > y) - (x < y), WordCompare(format, 2, a, 2, b, 0, 1, status));
            }
        }
    }
}

TEST(KsTypCmpFloat, Class) {
    for (double v : {double(NAN), -double(NAN), std::numeric_limits<double>::signaling_NaN()})
        EXPECT_EQ(-2, KsFloatClass(v));
    EXPECT_EQ(-1, KsFloatClass(-INFINITY));
    EXPECT_EQ(1, KsFloatClass(INFINITY));
    for (double v : {0.0, -0.0, DBL_TRUE_MIN, -DBL_MAX}) EXPECT_EQ(0, KsFloatClass(v)) << v;
}

TEST(KsTypCmpRows, ScalarRowsMapToTheirComparators) {
    const KsTypeCmpFunc want[] = {CharCompare, ShortCompare,    LongCompare, DoubleCompare,
                                  FloatCompare, WordCompare,    DwordCompare, IntCompare,
                                  UnsignedCompare, IntCompare,  ByteCompare};
    for (int id = -128; id < 128; ++id) {
        KsTypeCmpFunc f = id >= 0 && id <= 10 ? want[id] : nullptr;
        if (id == 14) f = DwordCompare;
        if (id == 42) f = O_8BCompare;
        if (id == 43) f = O_U8BCompare;
        EXPECT_EQ(f, KsScalarComparator(id)) << id;
    }
}

}  // namespace
