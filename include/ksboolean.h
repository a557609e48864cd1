// KsBoolean: a truth value with a null state in one byte: 0 false, 1 true,
// 255 null. Assignments from int store only 0 or 1; a null orders before
// every value. A foreign byte (2..254, from a stored image) compares as true
// but prints "FALSE": only 1 prints "TRUE".
#ifndef KSBOOLEAN_H
#define KSBOOLEAN_H

#include "ksdefs.h"

class KSTM_API KsBoolean {
public:
    static constexpr uchar False = 0;
    static constexpr uchar True = 1;
    static constexpr uchar Null = 255;

    KsBoolean() : value_(False) {}
    KsBoolean(int v) : value_(v ? True : False) {}
    KsBoolean(const KsBoolean& other) = default;
    KsBoolean& operator=(const KsBoolean& other) = default;
    KsBoolean& operator=(int v) {
        value_ = v ? True : False;
        return *this;
    }

    int IsNullValue() const { return value_ == Null; }
    int SetNullValue() {
        value_ = Null;
        return 0;
    }

    // Null equals null only; otherwise the truths agree.
    int operator==(const KsBoolean& other) const;
    // Null < false < true.
    int operator<(const KsBoolean& other) const;
    int operator>(const KsBoolean& other) const;
    // Against an int's truth; a null answers 0 to == and >, and < treats the
    // int as a KsBoolean (so a null is less than any int). > compares the
    // byte itself with 1 or 0, so a foreign byte is greater than any int.
    int operator==(int v) const;
    int operator<(int v) const;
    int operator>(int v) const;

private:
    uchar value_;
};
static_assert(sizeof(KsBoolean) == 1, "a boolean is one byte");

// Comparator of the boolean row, one byte per element in memory and stored:
// null < false < true. Status 2101 when an operand ran short.
KSTM_API int BooleanCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                            uint count, int& status);

#endif
