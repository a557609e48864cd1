// KsInt64: the signed 64-bit integer value, two 32-bit words (low unsigned,
// then high signed), two's complement. All arithmetic wraps modulo 2^64;
// division by zero is reported through VARN_assert and yields 0.
#ifndef KSINT64_H
#define KSINT64_H

#include <type_traits>

#include "ksdefs.h"

class KsString;

class KSTM_API KsInt64 {
public:
    constexpr KsInt64() : low_(0), high_(0) {}
    constexpr KsInt64(unsigned int low, int high) : low_(low), high_(high) {}
    constexpr KsInt64(int v) : low_(static_cast<unsigned int>(v)), high_(v < 0 ? -1 : 0) {}
    constexpr KsInt64(unsigned int v) : low_(v), high_(0) {}
    // The 64 bits as they are: an unsigned value above 2^63-1 becomes negative.
    constexpr KsInt64(KsI64 v) : KsInt64(static_cast<KsU64>(v)) {}
    constexpr KsInt64(KsU64 v)
        : low_(static_cast<unsigned int>(v)), high_(static_cast<int>(static_cast<unsigned int>(v >> 32))) {}
    // std::int64_t is `long` on LP64 hosts; without these it would be ambiguous.
    constexpr KsInt64(long v) : KsInt64(static_cast<KsI64>(v)) {}
    constexpr KsInt64(unsigned long v) : KsInt64(static_cast<KsU64>(v)) {}
    // Truncates toward zero, keeping only the seven significant digits that
    // "%E" prints (123456789.0 gives 123456800); saturates at +-(2^63-1);
    // NaN and |v| < 1 give 0.
    explicit KsInt64(double v);
    KsInt64(const KsInt64&) = default;
    KsInt64& operator=(const KsInt64&) = default;

    KsInt64& operator=(int v) { return *this = KsInt64(v); }
    KsInt64& operator=(unsigned int v) { return *this = KsInt64(v); }
    KsInt64& operator=(KsI64 v) { return *this = KsInt64(v); }
    KsInt64& operator=(KsU64 v) { return *this = KsInt64(v); }
    KsInt64& operator=(long v) { return *this = KsInt64(v); }
    KsInt64& operator=(unsigned long v) { return *this = KsInt64(v); }

    constexpr KsI64 Get8b() const { return static_cast<KsI64>(GetU8b()); }
    constexpr KsU64 GetU8b() const { return (static_cast<KsU64>(static_cast<unsigned int>(high_)) << 32) | low_; }
    constexpr unsigned int Low() const { return low_; }
    constexpr int High() const { return high_; }

    // Arithmetic, all modulo 2^64.
    KsInt64 operator+(const KsInt64& o) const { return KsInt64(GetU8b() + o.GetU8b()); }
    KsInt64 operator-(const KsInt64& o) const { return KsInt64(GetU8b() - o.GetU8b()); }
    KsInt64 operator*(const KsInt64& o) const { return KsInt64(GetU8b() * o.GetU8b()); }
    KsInt64 operator/(const KsInt64& o) const { return Division(o, 0); }
    KsInt64 operator%(const KsInt64& o) const { return Division(o, 1); }
    KsInt64 operator|(const KsInt64& o) const { return KsInt64(low_ | o.low_, high_ | o.high_); }
    KsInt64 operator&(const KsInt64& o) const { return KsInt64(low_ & o.low_, high_ & o.high_); }
    KsInt64 operator-() const { return KsInt64(KsU64(0) - GetU8b()); }
    KsInt64 operator~() const { return KsInt64(~low_, ~high_); }

    // The compound forms return a copy of the new value, not a reference.
    KsInt64 operator+=(const KsInt64& o) { return *this = *this + o; }
    KsInt64 operator-=(const KsInt64& o) { return *this = *this - o; }
    KsInt64 operator*=(const KsInt64& o) { return *this = *this * o; }
    KsInt64 operator/=(const KsInt64& o) { return *this = Division(o, 0); }
    KsInt64 operator%=(const KsInt64& o) { return *this = Division(o, 1); }
    // Prefix only.
    KsInt64 operator++() { return *this = *this + KsInt64(1); }
    KsInt64 operator--() { return *this = *this - KsInt64(1); }

    // The count is not masked: n >= 64 shifts everything out (0 to the left;
    // 0 or -1, by the sign, to the right). Right shifts are arithmetic.
    KsInt64 operator<<(unsigned int n) const;
    KsInt64 operator>>(unsigned int n) const;
    KsInt64 operator<<=(unsigned int n) { return *this = *this << n; }
    KsInt64 operator>>=(unsigned int n) { return *this = *this >> n; }

    // Magnitude; -2^63 stays -2^63.
    KsInt64 Abs() const;

    // Truncating division: the quotient (wantRemainder 0) or the remainder
    // (sign of the dividend). Total on every input:
    //   -2^63 / -1 = -2^63, -2^63 / -2^63 = 1, x / -2^63 = 0, x % -2^63 = x,
    //   x / 0 = x % 0 = 0 after a VARN_assert report, but -2^63 % 0 = -1.
    KsInt64 Division(const KsInt64& divisor, int wantRemainder) const;

    // Signed 64-bit order; each returns 1 or 0.
    int operator==(const KsInt64& o) const { return low_ == o.low_ && high_ == o.high_; }
    int operator!=(const KsInt64& o) const { return !(*this == o); }
    int operator<(const KsInt64& o) const { return high_ < o.high_ || (high_ == o.high_ && low_ < o.low_); }
    int operator>(const KsInt64& o) const { return o < *this; }
    int operator<=(const KsInt64& o) const { return !(o < *this); }
    int operator>=(const KsInt64& o) const { return !(*this < o); }

    // Appends the value to `out` and returns it. Directives: %S, %d, %i
    // (decimal), %o (prefix "0"), %x / %X (prefix "0x" / "0X", letters in the
    // directive's case); a sign precedes the prefix (-255 "%x" -> "-0xff").
    // -2^63 prints without a sign in octal and hex ("0x8000000000000000").
    // A "%" before any other character is copied with that character. Null
    // format = "%S".
    KsString& PrintToKsString(KsString& out, const char* format) const;
    // Reads the value from `text` under `format` (null = "%S"): other format
    // characters must match the text; a directive takes an optional sign,
    // then "0x"/"0X" (hex) or a leading "0" (octal) or neither (decimal);
    // %x/%X need hex, %d/%i decimal, %o octal, %S takes any. Digits run up to
    // the character that follows the directive in the format; a "%" before
    // any other character matches only itself ("%%d" reads "%12"). Any mismatch
    // sets the value to -1. Surplus text is ignored; with no directive met
    // the value is 0. Example: "12;" under "%S;" -> 12; "0x1F" under "%d" -> -1.
    void ScanFromKsString(const KsString& text, const char* format);

private:
    unsigned int low_;
    int high_;
};

// Copied bitwise; 4-byte aligned like its words (the null-capable twin
// relies on that for its 12-byte size).
static_assert(sizeof(KsInt64) == 8 && alignof(KsInt64) == 4, "KsInt64 is two 32-bit words");
static_assert(std::is_trivially_copyable_v<KsInt64>, "KsInt64 is copied bitwise");

// Comparator of the "KsInt64" row: signed 64-bit order. Format low nibble 8
// (in memory) or 1 (stored, native words) reads the elements as they are;
// any other code loads each word through LongStoreOne first. Stored
// elements are 8 bytes: low word, then high word.
KSTM_API int Int64Compare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                          uint count, int& status);

#endif
