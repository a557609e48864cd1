// Null-capable scalar rows: golden stored images, the load rule (only 1 is
// null), round trips, nulls first in the order, stepping on stored strides,
// translation, array life cycle and value stepping.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cstring>
#include <random>
#include <tuple>

#include "ksnull.h"

namespace {

typedef std::uint64_t Bits;
typedef std::vector<uchar> Bytes;

struct Kind {
    int id, width, size;  // value bytes (in memory and stored), element bytes in memory
};
const Kind kKinds[] = {{28, 1, 2}, {29, 1, 2}, {30, 2, 4},  {31, 2, 4},  {32, 4, 8},
                       {33, 4, 8}, {34, 4, 8}, {35, 4, 8},  {36, 4, 8},  {37, 8, 16},
                       {38, 8, 12}, {44, 8, 16}, {45, 8, 16}};
const Kind& K(int id) { return *std::find_if(std::begin(kKinds), std::end(kKinds), [=](const Kind& k) { return k.id == id; }); }
const KsNullRowSlots& S(int id) { return *KsNullSlotsGet(id); }

// In-memory elements built byte-wise: value in native order, then the flag.
Bytes Pack(const Kind& k, std::initializer_list<std::pair<Bits, int>> elems) {
    Bytes out;
    for (const auto& [v, flag] : elems) {
        Bytes e(k.size, 0);
        std::memcpy(e.data(), &v, k.width);
        e[k.width] = uchar(flag);
        out.insert(out.end(), e.begin(), e.end());
    }
    return out;
}
Bits ValueAt(const Kind& k, const Bytes& a, int i = 0) { Bits v = 0; return std::memcpy(&v, &a[i * k.size], k.width), v; }
int FlagAt(const Kind& k, const Bytes& a, int i = 0) { return static_cast<signed char>(a[i * k.size + k.width]); }

class KsNull : public ::testing::Test {
    void SetUp() override {
        if (std::endian::native != std::endian::little) GTEST_SKIP() << "golden images are LE";
    }
};

TEST_F(KsNull, StoredImagesAndTheLoadRule) {
    const struct { int id; Bits value; int flag; uchar format; Bytes image; } cases[] = {
        {28, 0x41, 5, 2, {0x01, 0x41}}, {28, 0x41, 0, 8, {0x41, 0x00}},  // non-zero flag stores 1; bit 8: value first
        {30, 0x0102, -1, 1, {0x01, 0x02, 0x01}}, {36, 0x3F800000, 0, 2, {0x00, 0x3F, 0x80, 0x00, 0x00}},
        {34, 0x01020304, 0, 0x12, {0x00, 0x01, 0x02, 0x03, 0x04}},  // high bits ignored
        {35, 0x01020304, 0, 0, {0x00, 0x04, 0x03, 0x02, 0x01}},
        // KsInt64: low word first, each word in the format's order.
        {38, 0x0506070801020304, 0, 2, {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08}},
        {38, 0x0506070801020304, 0, 1, {0x00, 0x04, 0x03, 0x02, 0x01, 0x08, 0x07, 0x06, 0x05}},
        {44, 0x0102030405060708, 0, 2, {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08}},
    };
    for (const auto& c : cases) {
        const Kind& k = K(c.id);
        SCOPED_TRACE(testing::Message() << "id " << c.id << " format " << int(c.format));
        Bytes e = Pack(k, {{c.value, c.flag}}), out(12, 0xEE), back = Pack(k, {{0x5A5A, 7}}), want = c.image;
        want.resize(12, 0xEE);  // nothing past the image is touched
        EXPECT_EQ(c.image.size(), S(c.id).store(out.data(), e.data(), c.format, 1));
        EXPECT_EQ(want, out);
        EXPECT_EQ(c.image.size(), S(c.id).load(back.data(), out.data(), c.format, 1));
        EXPECT_EQ(c.flag ? 0 : c.value, ValueAt(k, back));  // a null holds 0
        EXPECT_EQ(c.flag ? 1 : 0, FlagAt(k, back));
    }
    // Only a stored flag of exactly 1 is null.
    const struct { int id; uchar format; Bytes image; Bits value; int flag; } loads[] = {{28, 2, {0xFF, 0x41}, 0x41, 0}, {32, 8, {4, 3, 2, 1, 0x01}, 0, 1},
                 {32, 8, {4, 3, 2, 1, 0x80}, 0x01020304, 0}};
    for (const auto& c : loads) {
        Bytes e = Pack(K(c.id), {{99, 3}});
        EXPECT_EQ(c.image.size(), S(c.id).load(e.data(), c.image.data(), c.format, 1));
        EXPECT_EQ(c.value, ValueAt(K(c.id), e));
        EXPECT_EQ(c.flag, FlagAt(K(c.id), e));
    }
}

TEST_F(KsNull, RoundTripsAndSizesForEveryKind) {
    std::mt19937_64 rng(28);
    for (const Kind& k : kKinds) {
        const uint stored = 5 * (k.width + 1);
        EXPECT_EQ(stored, S(k.id).countSize(5));
        EXPECT_EQ(stored, S(k.id).diskLenFile(nullptr, 1, 5));
        for (uchar format : {1, 2, 8}) {
            Bytes mem(5 * k.size), back(5 * k.size), disk(stored);
            for (uchar& b : mem) b = uchar(rng() % 3 ? rng() : 0);  // random values and flags
            ASSERT_EQ(stored, S(k.id).store(disk.data(), mem.data(), format, 5));
            ASSERT_EQ(stored, S(k.id).load(back.data(), disk.data(), format, 5));
            for (int i = 0; i < 5; ++i) {
                const bool null = FlagAt(k, mem, i) != 0;
                EXPECT_EQ(null ? 0 : ValueAt(k, mem, i), ValueAt(k, back, i)) << k.id;
                EXPECT_EQ(null ? 1 : 0, FlagAt(k, back, i)) << k.id;
            }
        }
    }
}

TEST_F(KsNull, NullsFirstThenThePlainOrder) {
    for (const Kind& k : kKinds) {
        auto fl = [&](double v) { return k.id == 36 ? std::bit_cast<std::uint32_t>(float(v)) : std::bit_cast<Bits>(v); };
        const Bits top = Bits(1) << (8 * k.width - 1);
        // (value, rank) ascending; the nulls rank below 0 whatever their value.
        std::vector<std::pair<Bits, int>> ranked;
        if (k.id == 36 || k.id == 37)
            ranked = {{fl(NAN), 1}, {fl(-INFINITY), 2}, {fl(-0.0), 3}, {fl(0.0), 3}, {fl(INFINITY), 4}};
        else if (k.id == 29 || k.id == 31 || k.id == 33 || k.id == 35 || k.id == 45)
            ranked = {{0, 1}, {1, 2}, {top, 3}, {top * 2 - 1, 4}};
        else if (k.width == 8)  // the low word of KsInt64 is unsigned
            ranked = {{top, 1}, {~Bits(0), 2}, {0, 3}, {0x80000000, 4}, {Bits(1) << 32, 5}};
        else
            ranked = {{top, 1}, {top * 2 - 1, 2}, {0, 3}, {top >> 1, 4}};
        std::vector<std::tuple<Bits, int, int>> e = {{0, 1, 0}, {0x42, 1, 0}};
        for (auto [v, r] : ranked) e.push_back({v, 0, r});
        for (uchar format : {8, 1, 2})
            for (const auto& [vx, fx, rx] : e)
                for (const auto& [vy, fy, ry] : e) {
                    Bytes x = Pack(k, {{vx, fx}}), y = Pack(k, {{vy, fy}}), sx(16), sy(16);
                    if (format != 8) {
                        S(k.id).store(sx.data(), x.data(), format, 1);
                        S(k.id).store(sy.data(), y.data(), format, 1);
                        x.swap(sx);
                        y.swap(sy);
                    }
                    int status = -1;
                    ASSERT_EQ((rx > ry) - (rx < ry), S(k.id).compare(format, 0, x.data(), 0, y.data(), 0, 1, status))
                        << k.id << " format " << int(format) << " ranks " << rx << "/" << ry;
                    ASSERT_EQ(0, status);
                }
    }
}

TEST_F(KsNull, ComparatorStepsByElementAndReportsShortOperands) {
    const Kind& k = K(30);  // 4 bytes in memory, 3 stored
    Bytes m = Pack(k, {{1, 0}, {2, 0}, {3, 0}}), n = Pack(k, {{1, 0}, {2, 0}, {4, 0}});
    Bytes nul = Pack(k, {{0, 1}, {0, 0}}), a(9), b(9);
    S(30).store(a.data(), m.data(), 2, 3);
    S(30).store(b.data(), n.data(), 2, 3);
    // Stored the third element is only partly present at 7; in memory the
    // stride is the element size; a null decides but the shortness is still reported.
    const struct { uchar format; Bytes *a, *b; uint lenA, count; int result, status; } cases[] = {
        {2, &a, &b, 0, 3, -1, 0}, {2, &a, &b, 7, 3, 0, KS_SHORT_OPERAND}, {2, &a, &b, 9, 3, -1, 0},
        {8, &m, &n, 8, 3, 0, KS_SHORT_OPERAND}, {8, &m, &n, 12, 3, -1, 0}, {8, &nul, &m, 4, 2, -1, KS_SHORT_OPERAND}};
    for (const auto& c : cases) {
        int status = -1;
        EXPECT_EQ(c.result, S(30).compare(c.format, c.lenA, c.a->data(), 0, c.b->data(), 0, c.count, status))
            << int(c.format) << " " << c.lenA;
        EXPECT_EQ(c.status, status) << int(c.format) << " " << c.lenA;
    }
    // The load rule holds in memory too: flag 5 is null to is-null, a value to the order.
    Bytes odd = Pack(k, {{0, 5}}), zero = Pack(k, {{0, 0}});
    int status;
    EXPECT_EQ(5, S(30).isNull(odd.data()));
    EXPECT_EQ(0, S(30).compare(8, 0, odd.data(), 0, zero.data(), 0, 1, status));
}

TEST_F(KsNull, Translate) {
    const KsNullRowSlots& s = S(34);
    Bytes e = Pack(K(34), {{0x01020304, 0}, {9, 1}}), disk(10), viaStore(10), back(16, 7);
    EXPECT_EQ(10u, s.translate(disk.data(), 2, 10, e.data(), 8, 0, 2));
    s.store(viaStore.data(), e.data(), 2, 2);
    EXPECT_EQ(viaStore, disk);
    EXPECT_EQ(16u, s.translate(back.data(), 8, 0, disk.data(), 2, 10, 2));
    EXPECT_EQ(Bytes({4, 3, 2, 1, 0}), Bytes(back.begin(), back.begin() + 5));
    EXPECT_EQ(0u, ValueAt(K(34), back, 1));
    Bytes dst(6, 0xEE);  // stored to stored: truncated or zero padded, never reordered
    EXPECT_EQ(3u, s.translate(dst.data(), 1, 5, disk.data(), 2, 3, 1));
    EXPECT_EQ(Bytes({disk[0], disk[1], disk[2], 0, 0, 0xEE}), dst);
    EXPECT_EQ(2u, s.translate(dst.data(), 1, 2, disk.data(), 2, 5, 1));
}

TEST_F(KsNull, LifeCycle) {
    for (const Kind& k : kKinds) {
        const KsNullRowSlots& s = S(k.id);
        for (uint count : {0u, 3u}) {  // 0 makes one element (ASan checks that delete matches create)
            auto* made = static_cast<uchar*>(s.create(count));
            auto* nulls = static_cast<uchar*>(s.defaultValue(count, 0));
            for (uint i = 0; i < (count ? count : 1) * k.size; i += k.size) {
                EXPECT_EQ(0, s.isNull(made + i));
                EXPECT_EQ(1, s.isNull(nulls + i));
                for (int j = 0; j < k.width; ++j) EXPECT_EQ(0, made[i + j] | nulls[i + j]);
            }
            EXPECT_EQ(nullptr, s.destroy(made, count));
            EXPECT_EQ(nullptr, s.destroy(nulls, count));
        }
        Bytes src = Pack(k, {{7, 0}, {8, 1}, {9, 0}}), dst(src.size(), 0x33);
        s.construct(dst.data(), 3, 0);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(0u, ValueAt(k, dst, i) | FlagAt(k, dst, i));
        for (KsAssignFunc f : {s.assign, s.copy}) {
            f(dst.data(), src.data(), 3, 0);
            EXPECT_EQ(src, dst);
            f(dst.data(), &src[k.size], 3, 1);  // fill: every element gets the first source
            for (int i = 0; i < 3; ++i) EXPECT_EQ(0, std::memcmp(&dst[i * k.size], &src[k.size], k.width + 1));
        }
        Bytes one = Pack(k, {{0x55, -1}});
        EXPECT_EQ(-1, s.isNull(one.data()));  // sign-extended
        EXPECT_EQ(0, s.setNull(one.data()));
        EXPECT_EQ(Pack(k, {{0, 1}}), one);
    }
}

TEST_F(KsNull, GetValue) {
    const Bits m = Bits(1) << 63;
    const struct { int id; Bits value; int flag; uchar format, mode; int result; Bits after; } cases[] = {
        {28, 0, 1, 8, 'N', 0, 0x80}, {28, 0, 1, 8, 'M', 0, 0x80},  // null -> -128, not null
        {28, 0, 1, 8, 'O', KS_NOT_SUPPORTED, 0}, {28, 0, 1, 2, 'N', KS_NOT_SUPPORTED, 0},
        {28, 0x7F, 0, 8, 'N', KS_STEP_OVERFLOW, 0x7F}, {31, 0xFFFF, 0, 8, 'N', KS_STEP_OVERFLOW, 0xFFFF},
        {29, 0, 1, 8, 'N', 0, 0},  // unsigned kinds start at 0
        {36, 0, 1, 8, 'N', 0, std::bit_cast<std::uint32_t>(-FLT_MAX)},
        {37, std::bit_cast<Bits>(1.5), 0, 8, 'N', 0, std::bit_cast<Bits>(2.5)},
        {38, 0, 1, 8, 'N', 0, m}, {38, m - 1, 0, 8, 'N', KS_STEP_OVERFLOW, m - 1},
        {38, 0xFFFFFFFF, 0, 8, 'N', 0, Bits(1) << 32},  // carry into the high word
        {45, ~Bits(0), 0, 8, 'N', KS_STEP_OVERFLOW, ~Bits(0)},
    };
    for (const auto& c : cases) {
        const Kind& k = K(c.id);
        Bytes e = Pack(k, {{c.value, c.flag}});
        EXPECT_EQ(c.result, S(c.id).getValue(e.data(), 0, c.format, c.mode)) << c.id;
        EXPECT_EQ(c.after, ValueAt(k, e)) << c.id << " mode " << int(c.mode);
        EXPECT_EQ(c.result == KS_NOT_SUPPORTED ? c.flag : 0, FlagAt(k, e)) << c.id;
    }
}

}  // namespace
