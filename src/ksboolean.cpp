// KsBoolean and the slot functions of the boolean row.
#include "ksboolean.h"

#include <cstring>
#include <limits>
#include <new>

#include "ksbase.h"
#include "ksbooleanrow.h"
#include "ksimageutil.h"
#include "ksstring.h"
#include "ksstringrow.h"
#include "kstextutil.h"
#include "kstypes.h"

namespace {

// Non-null order: 0 false, anything else true (foreign bytes included).
int Truth(uchar v) { return v != 0 ? 1 : 0; }

// Three-way: null < false < true.
int Order(uchar a, uchar b) {
    const bool nullA = a == KsBoolean::Null, nullB = b == KsBoolean::Null;
    if (nullA || nullB) return nullA == nullB ? 0 : (nullA ? -1 : 1);
    return Truth(a) - Truth(b);
}

}  // namespace

// ---------------------------------------------------------------------------
// KsBoolean.
// ---------------------------------------------------------------------------
int KsBoolean::operator==(const KsBoolean& other) const {
    return Order(value_, other.value_) == 0 ? 1 : 0;
}

int KsBoolean::operator<(const KsBoolean& other) const {
    return Order(value_, other.value_) < 0 ? 1 : 0;
}

int KsBoolean::operator>(const KsBoolean& other) const {
    return Order(value_, other.value_) > 0 ? 1 : 0;
}

int KsBoolean::operator==(int v) const {
    if (IsNullValue()) return 0;
    return Truth(value_) == (v ? 1 : 0) ? 1 : 0;
}

int KsBoolean::operator<(int v) const { return *this < KsBoolean(v); }

// The byte itself against 1 or 0: a foreign byte (2..254) is greater than
// true here, unlike everywhere else.
int KsBoolean::operator>(int v) const {
    if (IsNullValue()) return 0;
    return value_ > (v ? 1 : 0) ? 1 : 0;
}

// ---------------------------------------------------------------------------
// Arrays in memory.
// ---------------------------------------------------------------------------
namespace {

constexpr std::size_t kHeader = 4;  // the count word; bytes need no alignment

void* NewRetry(std::size_t n) {
    for (int attempt = 1;; ++attempt) {
        if (void* p = ::operator new(n, std::nothrow)) return p;
        if (!KsCallMemoryHandler(n, attempt)) return nullptr;
    }
}

uchar* Bytes(void* p) { return static_cast<uchar*>(p); }

}  // namespace

void* BooleanCreate(uint count) {
    if (count < 2) {
        void* p = NewRetry(1);
        if (p) *Bytes(p) = KsBoolean::False;
        return p;
    }
    const KsU64 bytes = kHeader + KsU64(count);
    if (bytes > KsU64(std::numeric_limits<std::size_t>::max())) return nullptr;  // 32-bit hosts
    uchar* block = Bytes(NewRetry(static_cast<std::size_t>(bytes)));
    if (!block) return nullptr;
    std::memcpy(block, &count, sizeof(count));
    std::memset(block + kHeader, KsBoolean::False, count);
    return block + kHeader;
}

void* BooleanDelete(void* values, uint count) {
    if (!values) return nullptr;
    if (count < 2) {
        ::operator delete(values);
        return nullptr;
    }
    uchar* block = Bytes(values) - kHeader;
    uint stored;
    std::memcpy(&stored, block, sizeof(stored));
    if (stored != count)
        VARN_assert("BooleanDelete count == created count", "src/ksboolean", __LINE__);
    ::operator delete(block);
    return nullptr;
}

void BooleanConstruct(void* values, uint count, uint) {
    if (values && count) std::memset(values, KsBoolean::False, count);
}

void BooleanDestruct(void*, uint, uint) {}

void BooleanAssign(void* dst, void* src, uint count, int fill) {
    if (!dst || !src || count == 0) return;
    if (fill)
        std::memset(dst, *Bytes(src), count);
    else
        std::memmove(dst, src, count);
}

void BooleanCopy(void* dst, void* src, uint count, int fill) { BooleanAssign(dst, src, count, fill); }

int BooleanIsNull(void* value) { return static_cast<KsBoolean*>(value)->IsNullValue(); }

int BooleanSetNull(void* value) { return static_cast<KsBoolean*>(value)->SetNullValue(); }

void* BooleanDefaultValue(uint count, int) { return BooleanCreate(count); }

int BooleanGetValue(void*, uint, uchar, uchar) { return KS_NOT_SUPPORTED; }

// ---------------------------------------------------------------------------
// Stored image: the bytes as they are (drawn in ksbooleanrow.h).
// ---------------------------------------------------------------------------
uint BooleanStore(void* disk, const void* mem, uchar, uint count) {
    if (!disk || !mem || count == 0) return 0;
    std::memmove(disk, mem, count);
    return count;
}

uint BooleanLoad(void* mem, const void* disk, uchar, uint count) {
    return BooleanStore(mem, disk, 0, count);
}

uint BooleanCountSize(uint count) { return count; }

uint BooleanDiskLen(const void*, uchar, uchar, uint count) { return count; }

uint BooleanDiskLenFromMemFile(MemFile*, uchar, uint count) { return count; }

uint BooleanTranslate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                      uint srcLen, uint count) {
    if (!(dstFormat & 8) && !(srcFormat & 8))
        return KsCopyStoredImage(dst, dstLen, src, srcLen);  // bytes unchanged
    return BooleanStore(dst, src, 0, count);
}

// ---------------------------------------------------------------------------
// Comparator.
// ---------------------------------------------------------------------------
int BooleanCompare(uchar, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                   int& status) {
    status = 0;
    if (count == 0) return 0;
    const KsU64 haveA = lenA ? lenA : count, haveB = lenB ? lenB : count;
    const uchar* pa = Bytes(a);
    const uchar* pb = Bytes(b);
    if (!pa || !pb) {
        status = KS_SHORT_OPERAND;
        return 0;
    }
    // Stored and in-memory elements are the same single byte.
    int result = 0;
    for (uint i = 0; i < count; ++i) {
        const int order = Order(pa[i], pb[i]);
        result = order < 0 ? -1 : (order > 0 ? 1 : 0);
        if (i + 1 == count) break;
        // Bounds before the result: a short operand is reported even when
        // this element already decided.
        if (i + 1 >= haveA || i + 1 >= haveB) status = KS_SHORT_OPERAND;
        if (result != 0 || status != 0) break;
    }
    return result;
}

// ---------------------------------------------------------------------------
// Text.
// ---------------------------------------------------------------------------
namespace {

void PrintOne(KsString& out, uchar v) {
    if (v == KsBoolean::Null)
        out = KsTypeMgr::GetNullPrintString();
    else
        out = v == KsBoolean::True ? "TRUE" : "FALSE";
}

uchar ScanOne(const KsString& in) {
    const KsSingleByte text(in);
    if (text.BeginsWithNullPrint()) return KsBoolean::Null;
    static const char* const kTrue[] = {"T", "t", "TRUE", "true", "1"};
    for (const char* t : kTrue)
        if (text.Len() == std::strlen(t) && std::memcmp(text.Chars(), t, text.Len()) == 0)
            return KsBoolean::True;
    return KsBoolean::False;
}

}  // namespace

KsString& BooleanPrintToKsString(KsString& out, void* value, const char*, uint count) {
    if (!value || count == 0) {
        out = "";
        return out;
    }
    PrintOne(out, Bytes(value)[0]);
    for (uint i = 1; i < count; ++i) {
        KsString piece;
        PrintOne(piece, Bytes(value)[i]);
        out << ",";
        out += piece;
    }
    return out;
}

void* BooleanScanFromKsString(void* value, KsString& in, const char*, uint) {
    if (value) *Bytes(value) = ScanOne(in);
    return value;
}

KsTypeConvertData* BooleanConvertToKsString(void* values, uint count) {
    KsString* strings = static_cast<KsString*>(StringCreate(count));
    if (!strings) return nullptr;
    for (uint i = 0; values && i < count; ++i) PrintOne(strings[i], Bytes(values)[i]);
    KsTypeConvertData* carrier = KsTypeConvertData::Make(KsSTRING_T, count, strings, nullptr);
    if (!carrier) StringDelete(strings, count);
    return carrier;
}

void* BooleanConvertFromKsString(KsTypeConvertData* text, uint count) {
    uchar* values = Bytes(BooleanCreate(count));
    if (!values) return nullptr;
    for (uint i = 0; i < count; ++i) {
        const KsString* s = text ? text->GetString(static_cast<int>(i)) : nullptr;
        values[i] = s && !s->IsNullValue() ? ScanOne(*s) : ScanOne(KsString::EmptyString());
    }
    return values;
}
