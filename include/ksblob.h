// KsBlob: an owned byte sequence behind one pointer, so that a blob is null
// (no record), empty (a record of length 0) or filled. Copies are deep. Every
// offset and count is in bytes and clipped to the blob; nothing reads or
// writes outside the record.
#ifndef KSBLOB_H
#define KSBLOB_H

#include "ksdefs.h"

// The record a blob owns. `data` comes from malloc and is null when the
// record has no bytes; `length` is never negative.
struct KsBlobData {
    unsigned char* data;
    int length;
};
static_assert(sizeof(KsBlobData) == (sizeof(void*) == 4 ? 8 : 16), "KsBlobData layout");

class KSTM_API KsBlob {
public:
    // What Search answers when the pattern is absent, even for blobs longer
    // than 65535 bytes (a match further in still answers its offset).
    static constexpr int NotFound = 65535;

    KsBlob();                               // empty, not null
    explicit KsBlob(int size);              // `size` bytes, zeroed
    KsBlob(const void* bytes, int length);  // a copy; null bytes give an empty blob
    KsBlob(const KsBlob& other);            // a null source gives a null blob
    ~KsBlob();

    KsBlob& operator=(const KsBlob& other);
    // A move: frees this blob's record and takes over other's; other keeps a
    // fresh empty record (or stays null). Nothing happens for `*this`.
    void Destroy(KsBlob& other);

    int IsNullValue() const { return rec_ == nullptr; }
    int SetNullValue();  // frees the record; returns 0
    int Length() const { return rec_ ? rec_->length : 0; }
    // The bytes, or null for a null or byte-less blob.
    const unsigned char* Data() const { return rec_ ? rec_->data : nullptr; }

    // 1 when both are null, or both hold the same bytes; else 0.
    int operator==(const KsBlob& other) const;
    // Three-way, not a truth value: 0 both null, 2 only other null, -2 only
    // this null; else the first differing byte (unsigned) decides -1 or 1,
    // then the shorter blob is -1.
    int operator!=(const KsBlob& other) const;

    // Exactly `size` bytes, keeping the first min(size, Length()); new bytes
    // are zero.
    void Expand(int size);
    // The length becomes `size` (shrinking keeps the allocation); new bytes
    // are zero. Sizes above 2^31 - 1 are refused.
    void Resize(unsigned int size);
    // Appends; n < 1, null bytes, or a null or empty blob change nothing. A
    // null blob becomes a copy. The bytes may lie inside this blob.
    void Append(const void* bytes, int n);
    void Append(const KsBlob& other);
    KsBlob& operator+=(const KsBlob& other) {
        Append(other);
        return *this;
    }

    // The byte at `offset` when n is not 0, offset + n does not exceed the
    // length and `offset` is a byte of the blob; else null.
    unsigned char* Seek(int offset, int n);
    // Copies the first n bytes of `from` (clipped to its length) to `offset`,
    // clipped to this blob's length; never grows this blob.
    void CopyTo(const KsBlob& from, int offset, int n);
    // Replaces the contents with n bytes (n < 1 or null bytes: empty).
    void SetTo(const void* bytes, int n);
    // Removes n bytes at `offset` (clipped to the end).
    void Cut(int offset, int n);
    // The bytes [offset, offset + n), clipped; an empty blob when nothing
    // is left.
    KsBlob CopyFrom(int offset, int n) const;
    // First offset of the pattern's bytes, scanning from 0; NotFound when
    // absent or when this blob or the pattern is null. An empty pattern is
    // found at 0.
    int Search(const KsBlob& pattern) const;

private:
    friend struct KsBlobInternals;

    // The bytes read as a zero-terminated decimal text (a null blob is 0).
    explicit operator short() const;
    explicit operator int() const;
    explicit operator double() const;
    // A fresh record of n + 1 zero bytes (length n + 1), replacing the old one.
    void AllocData(int n);

    KsBlobData* rec_;
};
static_assert(sizeof(KsBlob) == sizeof(void*), "a blob is one pointer");

// Comparator of the blob row: in memory (format 8) values order as
// operator!=; stored images (any other format) are walked element by element
// inside the lengths given (0: the image's own total) and ordered the same
// way. Status 2101 when an operand ran short or holds a bad length.
KSTM_API int BlobCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                         uint count, int& status);

#endif
