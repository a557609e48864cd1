// KsBlob and the slot functions of the blob row.
#include "ksblob.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "ksbase.h"
#include "ksblobrow.h"
#include "ksimageutil.h"
#include "ksstring.h"
#include "ksstringrow.h"
#include "kstextutil.h"
#include "kstypes.h"

namespace {

// Heap exhaustion goes to the memory handler, which decides whether to retry.
void* MallocRetry(std::size_t n) {
    for (int attempt = 1;; ++attempt) {
        if (void* p = std::malloc(n)) return p;
        if (!KsCallMemoryHandler(n, attempt)) return nullptr;
    }
}

void* ReallocRetry(void* old, std::size_t n) {
    for (int attempt = 1;; ++attempt) {
        if (void* p = std::realloc(old, n)) return p;
        if (!KsCallMemoryHandler(n, attempt)) return nullptr;
    }
}

void* NewRetry(std::size_t n) {
    for (int attempt = 1;; ++attempt) {
        if (void* p = ::operator new(n, std::nothrow)) return p;
        if (!KsCallMemoryHandler(n, attempt)) return nullptr;
    }
}

KsBlobData* NewRecord() {
    void* p = NewRetry(sizeof(KsBlobData));
    return p ? new (p) KsBlobData{nullptr, 0} : nullptr;
}

void FreeRecord(KsBlobData* rec) {
    if (!rec) return;
    std::free(rec->data);
    ::operator delete(rec);
}

// Fills an existing record with n bytes (zeroed when `bytes` is null); on
// allocation failure the record is left empty.
void FillRecord(KsBlobData* rec, const void* bytes, int n) {
    unsigned char* data = nullptr;
    if (n > 0) {
        data = static_cast<unsigned char*>(MallocRetry(static_cast<std::size_t>(n)));
        if (data) {
            if (bytes)
                std::memcpy(data, bytes, static_cast<std::size_t>(n));
            else
                std::memset(data, 0, static_cast<std::size_t>(n));
        }
    }
    std::free(rec->data);
    rec->data = data;
    rec->length = data ? n : 0;
}

// Three-way order of two byte runs; a length of -1 marks null. Nulls come
// first (answering +-2 as KsBlob::operator!= does).
int CompareRuns(const unsigned char* a, int la, const unsigned char* b, int lb) {
    if (la < 0 || lb < 0) {
        if (la < 0 && lb < 0) return 0;
        return la < 0 ? -2 : 2;
    }
    const int common = la < lb ? la : lb;
    for (int i = 0; i < common; ++i)
        if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
    return la < lb ? -1 : (la > lb ? 1 : 0);
}

int Sign(int v) { return v < 0 ? -1 : (v > 0 ? 1 : 0); }

}  // namespace

// ---------------------------------------------------------------------------
// KsBlob.
// ---------------------------------------------------------------------------
KsBlob::KsBlob() : rec_(NewRecord()) {}

KsBlob::KsBlob(int size) : rec_(NewRecord()) {
    if (rec_) FillRecord(rec_, nullptr, size);
}

KsBlob::KsBlob(const void* bytes, int length) : rec_(NewRecord()) {
    if (rec_ && bytes) FillRecord(rec_, bytes, length);
}

KsBlob::KsBlob(const KsBlob& other) : rec_(nullptr) {
    if (!other.rec_) return;
    rec_ = NewRecord();
    if (rec_) FillRecord(rec_, other.rec_->data, other.rec_->length);
}

KsBlob::~KsBlob() { FreeRecord(rec_); }

KsBlob& KsBlob::operator=(const KsBlob& other) {
    if (this == &other) return *this;
    if (!other.rec_) {
        SetNullValue();
        return *this;
    }
    if (!rec_ && !(rec_ = NewRecord())) return *this;
    FillRecord(rec_, other.rec_->data, other.rec_->length);
    return *this;
}

void KsBlob::Destroy(KsBlob& other) {
    if (this == &other) return;
    FreeRecord(rec_);
    rec_ = other.rec_;
    other.rec_ = rec_ ? NewRecord() : nullptr;
}

int KsBlob::SetNullValue() {
    FreeRecord(rec_);
    rec_ = nullptr;
    return 0;
}

int KsBlob::operator==(const KsBlob& other) const { return *this != other ? 0 : 1; }

int KsBlob::operator!=(const KsBlob& other) const {
    return CompareRuns(Data(), rec_ ? rec_->length : -1, other.Data(),
                       other.rec_ ? other.rec_->length : -1);
}

void KsBlob::Expand(int size) {
    if (size < 0) size = 0;
    if (!rec_) {
        if ((rec_ = NewRecord())) FillRecord(rec_, nullptr, size);
        return;
    }
    if (size == 0) {
        FillRecord(rec_, nullptr, 0);
        return;
    }
    void* data = ReallocRetry(rec_->data, static_cast<std::size_t>(size));
    if (!data) return;  // the old bytes stay
    rec_->data = static_cast<unsigned char*>(data);
    if (size > rec_->length)
        std::memset(rec_->data + rec_->length, 0, static_cast<std::size_t>(size - rec_->length));
    rec_->length = size;
}

void KsBlob::Resize(unsigned int size) {
    if (size > static_cast<unsigned int>(INT_MAX)) {
        VARN_assert("KsBlob::Resize size < 2^31", "src/ksblob", __LINE__);
        return;
    }
    const int n = static_cast<int>(size);
    // Shrinking only lowers the length: free() does not need it.
    if (rec_ && n <= rec_->length && n > 0) {
        rec_->length = n;
        return;
    }
    Expand(n);
}

void KsBlob::Append(const void* bytes, int n) {
    if (n < 1 || !bytes) return;
    if (!rec_) {
        if ((rec_ = NewRecord())) FillRecord(rec_, bytes, n);
        return;
    }
    const int old = rec_->length;
    if (n > INT_MAX - old) {
        VARN_assert("KsBlob::Append length < 2^31", "src/ksblob", __LINE__);
        return;
    }
    // The source may lie inside our own bytes, which realloc can move.
    const unsigned char* src = static_cast<const unsigned char*>(bytes);
    const bool inside = rec_->data && src >= rec_->data && src < rec_->data + old;
    const std::ptrdiff_t at = inside ? src - rec_->data : 0;
    void* data = ReallocRetry(rec_->data, static_cast<std::size_t>(old) + n);
    if (!data) return;
    rec_->data = static_cast<unsigned char*>(data);
    std::memmove(rec_->data + old, inside ? rec_->data + at : src, static_cast<std::size_t>(n));
    rec_->length = old + n;
}

void KsBlob::Append(const KsBlob& other) { Append(other.Data(), other.Length()); }

// A negative n passes as long as offset + n stays within the length; the
// offset itself must still name a byte of the blob.
unsigned char* KsBlob::Seek(int offset, int n) {
    if (!rec_ || n == 0 || offset < 0 || offset >= rec_->length) return nullptr;
    if (static_cast<long long>(offset) + n > rec_->length) return nullptr;
    return rec_->data + offset;
}

void KsBlob::CopyTo(const KsBlob& from, int offset, int n) {
    if (!rec_ || !from.rec_ || offset < 0 || offset >= rec_->length) return;
    if (n > from.rec_->length) n = from.rec_->length;
    if (n > rec_->length - offset) n = rec_->length - offset;
    if (n < 1) return;
    std::memmove(rec_->data + offset, from.rec_->data, static_cast<std::size_t>(n));
}

void KsBlob::SetTo(const void* bytes, int n) {
    if (!rec_ && !(rec_ = NewRecord())) return;
    // A fresh buffer first, so that bytes inside our own record stay valid.
    FillRecord(rec_, bytes, bytes ? n : 0);
}

void KsBlob::Cut(int offset, int n) {
    if (!rec_ || n <= 0 || offset < 0 || offset > rec_->length) return;
    if (n > rec_->length - offset) n = rec_->length - offset;
    if (n == 0) return;
    const int rest = rec_->length - offset - n;
    if (rest > 0)
        std::memmove(rec_->data + offset, rec_->data + offset + n, static_cast<std::size_t>(rest));
    rec_->length -= n;
    if (rec_->length == 0) FillRecord(rec_, nullptr, 0);
}

KsBlob KsBlob::CopyFrom(int offset, int n) const {
    if (!rec_ || offset < 0 || offset > rec_->length || n <= 0) return KsBlob();
    if (n > rec_->length - offset) n = rec_->length - offset;
    return KsBlob(rec_->data + offset, n);
}

int KsBlob::Search(const KsBlob& pattern) const {
    if (!rec_ || !pattern.rec_) return NotFound;
    const int n = pattern.rec_->length;
    if (n == 0) return 0;
    for (int at = 0; at <= rec_->length - n; ++at)
        if (std::memcmp(rec_->data + at, pattern.rec_->data, static_cast<std::size_t>(n)) == 0)
            return at;
    return NotFound;
}

namespace {

// The blob's bytes as a terminated text: they need not hold a terminator.
std::string TextOf(const KsBlobData* rec) {
    if (!rec || !rec->data) return std::string();
    const void* zero = std::memchr(rec->data, 0, static_cast<std::size_t>(rec->length));
    const std::size_t n = zero ? static_cast<const unsigned char*>(zero) - rec->data
                               : static_cast<std::size_t>(rec->length);
    return std::string(reinterpret_cast<const char*>(rec->data), n);
}

}  // namespace

KsBlob::operator short() const { return static_cast<short>(std::atoi(TextOf(rec_).c_str())); }

KsBlob::operator int() const { return static_cast<int>(std::atol(TextOf(rec_).c_str())); }

KsBlob::operator double() const { return std::atof(TextOf(rec_).c_str()); }

void KsBlob::AllocData(int n) {
    if (n < 0) n = 0;
    if (!rec_ && !(rec_ = NewRecord())) return;
    FillRecord(rec_, nullptr, n == INT_MAX ? n : n + 1);
}

// ---------------------------------------------------------------------------
// Arrays in memory.
// ---------------------------------------------------------------------------
namespace {

// The header keeps the elements aligned (8 bytes on 64-bit hosts); the count
// is its first 32-bit word.
constexpr std::size_t kHeader = alignof(KsBlob) > 4 ? alignof(KsBlob) : 4;

KsBlob* Blobs(void* p) { return static_cast<KsBlob*>(p); }

}  // namespace

void* BlobCreate(uint count) {
    if (count < 2) {
        void* p = NewRetry(sizeof(KsBlob));
        return p ? new (p) KsBlob() : nullptr;
    }
    const KsU64 bytes = kHeader + KsU64(count) * sizeof(KsBlob);
    if (bytes > KsU64(std::numeric_limits<std::size_t>::max())) return nullptr;  // 32-bit hosts
    unsigned char* block = static_cast<unsigned char*>(NewRetry(static_cast<std::size_t>(bytes)));
    if (!block) return nullptr;
    std::memcpy(block, &count, sizeof(count));
    KsBlob* values = Blobs(block + kHeader);
    for (uint i = 0; i < count; ++i) new (values + i) KsBlob();
    return values;
}

void* BlobDelete(void* values, uint count) {
    if (!values) return nullptr;
    if (count < 2) {
        Blobs(values)->~KsBlob();
        ::operator delete(values);
        return nullptr;
    }
    unsigned char* block = static_cast<unsigned char*>(values) - kHeader;
    uint stored;
    std::memcpy(&stored, block, sizeof(stored));
    if (stored != count) VARN_assert("BlobDelete count == created count", "src/ksblob", __LINE__);
    for (uint i = 0; i < stored; ++i) Blobs(values)[i].~KsBlob();
    ::operator delete(block);
    return nullptr;
}

void BlobConstruct(void* values, uint count, uint) {
    for (uint i = 0; i < count; ++i) new (Blobs(values) + i) KsBlob();
}

void BlobDestruct(void* values, uint count, uint) {
    for (uint i = 0; i < count; ++i) Blobs(values)[i].~KsBlob();
}

void BlobAssign(void* dst, void* src, uint count, int fill) {
    if (!dst || !src) return;
    for (uint i = 0; i < count; ++i) Blobs(dst)[i] = Blobs(src)[fill ? 0 : i];
}

void BlobCopy(void* dst, void* src, uint count, int fill) {
    if (!dst || !src) return;
    for (uint i = 0; i < count; ++i) new (Blobs(dst) + i) KsBlob(Blobs(src)[fill ? 0 : i]);
}

int BlobIsNull(void* value) { return Blobs(value)->IsNullValue(); }

int BlobSetNull(void* value) { return Blobs(value)->SetNullValue(); }

void* BlobDefaultValue(uint count, int) { return BlobCreate(count); }

int BlobGetValue(void*, uint, uchar, uchar) { return KS_NOT_SUPPORTED; }

// ---------------------------------------------------------------------------
// Stored image (drawn in ksblobrow.h):
//
//   | total T | len0 | bytes0 ... | len1 | bytes1 ... |     T = sum(4 + len)
//     4 bytes   4      len0         4      len1              null: len FFFFFFFF
// ---------------------------------------------------------------------------
namespace {

constexpr uint kNullLength = 0xFFFFFFFFu;

uint ReadWord(const unsigned char* p, uchar order) {
    uint v;
    LongStoreOne(&v, p, order);
    return v;
}

void WriteWord(unsigned char* p, uint v, uchar order) { LongStoreOne(p, &v, order); }

// One element of a stored image; length -1 is a null blob.
struct StoredBlob {
    const unsigned char* data;
    int length;
};

// Reads the element at image[pos], which must end by image[end]; false when
// its length is negative (other than null) or it runs past `end`. Offsets,
// not pointers, so that nothing points outside the image.
bool ReadElement(const unsigned char* image, KsU64& pos, KsU64 end, uchar order, StoredBlob& e) {
    if (end < pos + 4) return false;
    const uint len = ReadWord(image + pos, order);
    pos += 4;
    if (len == kNullLength) {
        e = StoredBlob{nullptr, -1};
        return true;
    }
    if (len > 0x7FFFFFFFu || len > end - pos) return false;
    e = StoredBlob{image + pos, static_cast<int>(len)};
    pos += len;
    return true;
}

// Sum of 4 + length over the blobs (4 for a null one).
KsU64 TotalOf(const KsBlob* blobs, uint count) {
    KsU64 total = 0;
    for (uint i = 0; i < count; ++i) total += 4u + static_cast<uint>(blobs[i].Length());
    return total;
}

// Loads when `bound` (bytes readable at disk) allows; the image's own total
// bounds every read after the first word.
uint LoadImage(KsBlob* mem, const unsigned char* disk, KsU64 bound, uchar order, uint count) {
    if (!disk || bound < 4 || (count && !mem)) return 0;
    order &= 15;
    const uint total = ReadWord(disk, order);
    if (total > 0x7FFFFFFFu || total > bound - 4) return 0;
    const KsU64 end = 4 + KsU64(total);
    // Validate first, so that a bad image leaves the array as it was.
    KsU64 pos = 4;
    StoredBlob e;
    for (uint i = 0; i < count; ++i)
        if (!ReadElement(disk, pos, end, order, e)) return 0;
    pos = 4;
    for (uint i = 0; i < count; ++i) {
        ReadElement(disk, pos, end, order, e);
        if (e.length < 0) {
            mem[i].SetNullValue();
            continue;
        }
        mem[i].SetTo(e.data, e.length);
        if (mem[i].Length() != e.length) return 0;  // out of memory
    }
    return 4 + total;
}

// Stored-length rule: 4 + total, where 0xFFFFFFFE and 0xFFFFFFFF read as 0;
// 0 for any other negative total.
uint StoredSize(uint total) {
    if (total >= 0xFFFFFFFEu) return 4;
    if (total > 0x7FFFFFFFu) return 0;
    return 4 + total;
}

}  // namespace

uint BlobStore(void* disk, const void* mem, uchar byteOrder, uint count) {
    if (!disk || (count && !mem)) return 0;
    const KsBlob* blobs = static_cast<const KsBlob*>(mem);
    const KsU64 total = TotalOf(blobs, count);
    if (total > 0x7FFFFFFBu) return 0;  // 4 + total must stay a positive 32-bit size
    const uchar order = byteOrder & 15;
    unsigned char* p = static_cast<unsigned char*>(disk);
    WriteWord(p, static_cast<uint>(total), order);
    p += 4;
    for (uint i = 0; i < count; ++i) {
        if (blobs[i].IsNullValue()) {
            WriteWord(p, kNullLength, order);
            p += 4;
            continue;
        }
        const uint len = static_cast<uint>(blobs[i].Length());
        WriteWord(p, len, order);
        p += 4;
        if (len) std::memcpy(p, blobs[i].Data(), len);
        p += len;
    }
    return 4 + static_cast<uint>(total);
}

uint BlobLoad(void* mem, const void* disk, uchar byteOrder, uint count) {
    // No bound from the caller: the image's total is trusted.
    return LoadImage(Blobs(mem), static_cast<const unsigned char*>(disk), ~KsU64(0), byteOrder,
                     count);
}

uint BlobLoadBounded(void* mem, const void* disk, uint diskLen, uchar byteOrder, uint count) {
    return LoadImage(Blobs(mem), static_cast<const unsigned char*>(disk), diskLen, byteOrder,
                     count);
}

uint BlobCountSize(uint count) { return 4 + 4 * count; }

uint BlobDiskLen(const void* mem, uchar flag, uchar byteOrder, uint count) {
    if (!mem) return (flag & 8) && count == 0 ? 4 : 0;
    if (flag & 8) {
        const KsU64 total = TotalOf(static_cast<const KsBlob*>(mem), count);
        return total > 0x7FFFFFFBu ? 0 : 4 + static_cast<uint>(total);
    }
    return StoredSize(ReadWord(static_cast<const unsigned char*>(mem), byteOrder & 15));
}

uint BlobDiskLenFromMemFile(MemFile* file, uchar byteOrder, uint) {
    if (!file || file->Remaining() < 4) return 0;
    const uint size = StoredSize(ReadWord(file->Current(), byteOrder & 15));
    return size <= file->Remaining() ? size : 0;
}

// ---------------------------------------------------------------------------
// Comparator.
// ---------------------------------------------------------------------------
namespace {

// A walk over one stored operand, bounded by the bytes given and by the
// image's own total.
struct StoredWalk {
    const unsigned char* image;
    KsU64 pos;
    KsU64 end;
    uchar order;

    // False when not even the total word fits.
    bool Start(const void* p, uint len, uchar fmt) {
        image = static_cast<const unsigned char*>(p);
        order = fmt;
        if (!image || (len != 0 && len < 4)) return false;
        const uint size = StoredSize(ReadWord(image, order));
        end = len == 0 || size < len ? size : len;
        pos = 4;
        return true;
    }
    bool Next(StoredBlob& e) { return ReadElement(image, pos, end, order, e); }
    bool More() const { return pos < end; }
};

int CompareStored(uchar order, uint lenA, void* a, uint lenB, void* b, uint count, int& status) {
    StoredWalk wa, wb;
    if (!wa.Start(a, lenA, order) || !wb.Start(b, lenB, order)) {
        status = KS_SHORT_OPERAND;
        return 0;
    }
    int result = 0;
    for (uint left = count; left > 0;) {
        --left;
        StoredBlob ea, eb;
        if (!wa.Next(ea) || !wb.Next(eb)) {
            status = KS_SHORT_OPERAND;
            break;
        }
        result = Sign(CompareRuns(ea.data, ea.length, eb.data, eb.length));
        if (left == 0) break;
        // Bounds before the result: a short operand is reported even when
        // this element already decided.
        if (!wa.More() || !wb.More()) status = KS_SHORT_OPERAND;
        if (result != 0 || status != 0) break;
    }
    return result;
}

int CompareInMemory(uint lenA, void* a, uint lenB, void* b, uint count, int& status) {
    const KsU64 stride = sizeof(KsBlob);
    const KsU64 haveA = lenA ? lenA : count * stride;
    const KsU64 haveB = lenB ? lenB : count * stride;
    if (!a || !b || haveA < stride || haveB < stride) {
        status = KS_SHORT_OPERAND;
        return 0;
    }
    int result = 0;
    for (uint i = 0; i < count; ++i) {
        result = Sign(Blobs(a)[i] != Blobs(b)[i]);
        if (i + 1 == count) break;
        const KsU64 next = (i + KsU64(2)) * stride;
        if (next > haveA || next > haveB) status = KS_SHORT_OPERAND;
        if (result != 0 || status != 0) break;
    }
    return result;
}

}  // namespace

int BlobCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                int& status) {
    status = 0;
    if (count == 0) return 0;
    const uchar fmt = format & 15;
    if (fmt == 8) return CompareInMemory(lenA, a, lenB, b, count, status);
    return CompareStored(fmt, lenA, a, lenB, b, count, status);
}

// ---------------------------------------------------------------------------
// Translation between images.
// ---------------------------------------------------------------------------
uint BlobTranslate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                   uint srcLen, uint count) {
    const bool dstMem = dstFormat & 8;
    const bool srcMem = srcFormat & 8;
    if (!dstMem && srcMem) {
        if (dstLen != 0 && BlobDiskLen(src, 8, dstFormat, count) > dstLen) return 0;
        return BlobStore(dst, src, dstFormat & 15, count);
    }
    if (!dstMem) {
        return KsCopyStoredImage(dst, dstLen, src, srcLen);  // bytes unchanged
    }
    if (!srcMem) {
        return srcLen ? BlobLoadBounded(dst, src, srcLen, srcFormat & 15, count)
                      : BlobLoad(dst, src, srcFormat & 15, count);
    }
    BlobAssign(dst, src, count, 0);
    return static_cast<uint>(count * sizeof(KsBlob));
}

// ---------------------------------------------------------------------------
// Text.
// ---------------------------------------------------------------------------
namespace {

// KsString's size limit: 65532 bytes with the terminator, two digits a byte.
constexpr int kMaxHexBytes = (65532 - 1) / 2;

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

void HexText(KsString& out, const KsBlob& blob) {
    if (blob.IsNullValue()) {
        out = KsTypeMgr::GetNullPrintString();
        return;
    }
    static const char kDigits[] = "0123456789abcdef";
    const int n = blob.Length() < kMaxHexBytes ? blob.Length() : kMaxHexBytes;
    std::string text(static_cast<std::size_t>(n) * 2, '0');
    for (int i = 0; i < n; ++i) {
        text[2 * i] = kDigits[blob.Data()[i] >> 4];
        text[2 * i + 1] = kDigits[blob.Data()[i] & 15];
    }
    out = text.c_str();
}

void ScanText(KsBlob& blob, const KsString& in) {
    const KsSingleByte text(in);
    if (text.BeginsWithNullPrint()) {
        blob.SetNullValue();
        return;
    }
    std::string bytes;
    for (std::size_t i = 0; i + 1 < text.Len(); i += 2) {
        const int hi = HexDigit(text.Chars()[i]);
        const int lo = HexDigit(text.Chars()[i + 1]);
        if (hi < 0 || lo < 0) break;
        bytes.push_back(static_cast<char>(hi * 16 + lo));
    }
    blob.SetTo(bytes.data(), static_cast<int>(bytes.size()));
}

void PrintOne(KsString& out, const KsBlob& blob, const char* format) {
    if (blob.IsNullValue()) {
        out = KsTypeMgr::GetNullPrintString();
        return;
    }
    std::string text;
    for (const char* f = format; *f; ++f) {
        if (*f != '%') {
            text.push_back(*f);
            continue;
        }
        if (!*++f) break;  // a lone '%' at the end prints nothing
        if (*f == 'L') {
            char digits[16];
            std::snprintf(digits, sizeof(digits), "%d", blob.Length());
            text += digits;
        } else {
            text.push_back(*f);  // "%%" and "%x" alike: the character alone
        }
    }
    out = text.c_str();
}

}  // namespace

KsTypeConvertData* BlobConvertToKsString(void* values, uint count) {
    KsString* strings = static_cast<KsString*>(StringCreate(count));
    if (!strings) return nullptr;
    for (uint i = 0; values && i < count; ++i) HexText(strings[i], Blobs(values)[i]);
    KsTypeConvertData* carrier = KsTypeConvertData::Make(KsSTRING_T, count, strings, nullptr);
    if (!carrier) StringDelete(strings, count);
    return carrier;
}

void* BlobConvertFromKsString(KsTypeConvertData* text, uint count) {
    KsBlob* blobs = Blobs(BlobCreate(count));
    if (!blobs) return nullptr;
    for (uint i = 0; i < count; ++i) {
        const KsString* s = text ? text->GetString(static_cast<int>(i)) : nullptr;
        if (s && !s->IsNullValue()) ScanText(blobs[i], *s);
    }
    return blobs;
}

KsString& BlobPrintToKsString(KsString& out, void* value, const char* format, uint count) {
    if (!format) format = "[BLOB,len=%L]";
    if (!value || count < 2) {
        if (value && count == 1) PrintOne(out, *Blobs(value), format);
        else out = "";
        return out;
    }
    out = "";
    for (uint i = 0; i < count; ++i) {
        KsString piece;
        PrintOne(piece, Blobs(value)[i], format);
        out += piece;
        if (i + 1 < count) out << ",";
    }
    return out;
}

void* BlobScanFromKsString(void* value, KsString& in, const char*, uint) {
    if (value) ScanText(*Blobs(value), in);
    return value;
}
