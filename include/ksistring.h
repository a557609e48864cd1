// KsIString and KsCaseIString: owned 8-bit text (a null pointer is the empty
// value) compared through a fixed byte-weight map instead of a collation.
// KsIString sorts letters alphabetically whatever their case, the lower-case
// form just before the upper-case one; KsCaseIString ignores case.
#ifndef KSISTRING_H
#define KSISTRING_H

#include "ksdefs.h"

// The byte-weight maps of the two classes (drawn in docs/images.md).
enum KsWeightMapId : uchar {
    KsDictionaryMap = 0,  // KsIString
    KsCaseBlindMap = 1    // KsCaseIString
};

// Representation and editing shared by both classes. Text buffers are sized
// exactly (characters + 1) and hold at most MaxLen characters: longer
// results are cut there, as KsString cuts its own (so every value converts
// to a KsString whole).
class KSTM_API KsWeightedText {
public:
    static constexpr ushort MaxLen = 65531;

    // Comparison options of one side.
    enum : uchar {
        FoldAccents = 0x20,  // on the first operand: accent numbers count
        IsWeights = 0x80     // the bytes are weights already; no mapping
    };

    ushort Len() const;  // bytes before the terminator; 0 without text
    int operator!() const { return text_ == nullptr; }
    // Byte i; an index outside the text is reported and gets a scratch byte.
    char& operator[](int i);
    char operator[](int i) const;

    const char* Text() const { return text_; }  // null when empty
    const char* StrGet() const { return text_ ? text_ : ""; }
    uchar Flags() const { return flags_; }
    void SetFlags(uchar flags) { flags_ = flags; }

    // The text's number as KsString reads it (0 without text). Explicit so
    // that `s == 0` is not ambiguous and strings stay out of arithmetic.
    explicit operator short() const;
    explicit operator int() const;
    explicit operator double() const;
    explicit operator KsI64() const;

protected:
    KsWeightedText() noexcept : text_(nullptr), flags_(0) {}
    KsWeightedText(const char* s, std::size_t n);  // the first n bytes up to a zero
    KsWeightedText(const KsWeightedText& other);   // flags included
    KsWeightedText& operator=(const KsWeightedText& other);
    ~KsWeightedText();

    // A number's decimal text ("%.17g" for a double).
    void AssignNumber(KsI64 v);
    void AssignNumber(KsU64 v);
    void AssignNumber(double v);

    void AssignText(const char* s, std::size_t n);  // keeps FoldAccents, clears IsWeights
    void Append(const KsWeightedText& s);
    void CutText(ushort pos, ushort count);
    void InsertText(const KsWeightedText& s, ushort pos);
    void ReplaceText(const KsWeightedText& s, ushort pos);
    void FillText(ushort count, char c);
    void ExpandText(ushort count, char c);
    void MapBytes(const uchar* table);  // every byte c becomes table[c]
    void CopyPart(KsWeightedText& out, ushort pos, ushort count) const;
    int Find(const KsWeightedText& part, KsWeightMapId map) const;
    int Compare(const KsWeightedText& other, ushort length, KsWeightMapId map) const;

    static const uchar* UpperTable();
    static const uchar* LowerTable();
    static const uchar* SpaceToZeroTable();
    static const uchar* ZeroToSpaceTable();

private:
    void Adopt(char* text);

    char* text_;
    uchar flags_;
};

// The public face of both classes; Self is the class, Map its weight map.
// Editing members return the object, Copy a new one.
template <class Self, KsWeightMapId Map>
class KsWeightedString : public KsWeightedText {
public:
    KsWeightedString() noexcept = default;
    KsWeightedString(const char* s) : KsWeightedText(s, s ? ~std::size_t(0) : 0) {}
    // The first n bytes (n = 65535: up to the terminator).
    KsWeightedString(const char* s, unsigned short n)
        : KsWeightedText(s, n == 65535 ? ~std::size_t(0) : n) {}
    explicit KsWeightedString(char c) : KsWeightedText(&c, 1) {}  // no text for 0
    explicit KsWeightedString(short v) { AssignNumber(KsI64(v)); }
    explicit KsWeightedString(int v) { AssignNumber(KsI64(v)); }
    explicit KsWeightedString(unsigned int v) { AssignNumber(KsU64(v)); }  // "4294967295"
    explicit KsWeightedString(KsI64 v) { AssignNumber(v); }
    explicit KsWeightedString(KsU64 v) { AssignNumber(v); }
    explicit KsWeightedString(double v) { AssignNumber(v); }

    Self& operator=(const char* s) {
        AssignText(s, s ? ~std::size_t(0) : 0);
        return self();
    }
    Self& operator+=(const Self& s) {
        Append(s);
        return self();
    }
    friend Self operator+(const Self& a, const Self& b) {
        Self r(a);
        r += b;
        return r;
    }

    // Cut: nothing for count 0 or pos at or past the end; cutting everything
    // leaves no text. Insert: nothing when pos is past the end. Replace:
    // overwrites from pos, never past the end.
    Self& Cut(ushort pos, ushort count) {
        CutText(pos, count);
        return self();
    }
    Self& Insert(const Self& s, ushort pos) {
        InsertText(s, pos);
        return self();
    }
    Self& Replace(const Self& s, ushort pos) {
        ReplaceText(s, pos);
        return self();
    }
    // count times c (no text for count 0 or c 0).
    Self& Fill(ushort count, char c) {
        FillText(count, c);
        return self();
    }
    // Appends c until the length is count (nothing for c 0).
    Self& Expand(ushort count, char c) {
        ExpandText(count, c);
        return self();
    }
    // a-z and 0xE0-0xFE except 0xF7 lose 32; 0x9C -> 0x8C; 0x9F -> 0xFF (sic:
    // stored keys depend on it). ToLower undoes each of these, 0xFF -> 0x9F
    // included.
    Self& ToUpper() { return Mapped(UpperTable()); }
    Self& ToLower() { return Mapped(LowerTable()); }
    Self& SpaceToZero() { return Mapped(SpaceToZeroTable()); }  // " " -> "0"
    Self& ZeroToSpace() { return Mapped(ZeroToSpaceTable()); }  // "0" -> " "
    // count characters from pos, clipped to the text; flags are kept.
    Self Copy(ushort pos, ushort count) const {
        Self r;
        CopyPart(r, pos, count);
        return r;
    }
    // Where `part` first compares equal under the weight map, or -1 (also
    // for an empty part).
    int SubStringPos(const Self& part) const { return Find(part, Map); }

    // Weighted comparison: < 0, 0 or > 0 as this text orders before, equal
    // to or after `other`, over at most `length` characters of each (0 =
    // all). The difference of the deciding weights is returned.
    int Compare(const Self& other, ushort length = 0) const {
        return KsWeightedText::Compare(other, length, Map);
    }
    // Truth values (1 or 0). Non-members, so that a text converts on
    // either side and the two classes never compare with each other.
    friend ushort operator==(const Self& a, const Self& b) { return a.Compare(b) == 0; }
    friend ushort operator!=(const Self& a, const Self& b) { return a.Compare(b) != 0; }
    friend ushort operator<(const Self& a, const Self& b) { return a.Compare(b) < 0; }
    friend ushort operator<=(const Self& a, const Self& b) { return a.Compare(b) <= 0; }
    friend ushort operator>(const Self& a, const Self& b) { return a.Compare(b) > 0; }
    friend ushort operator>=(const Self& a, const Self& b) { return a.Compare(b) >= 0; }

private:
    Self& self() { return static_cast<Self&>(*this); }
    Self& Mapped(const uchar* table) {
        MapBytes(table);
        return self();
    }
};

// Dictionary order: "apple" < "Banana", "abc" just before "ABC".
class KSTM_API KsIString : public KsWeightedString<KsIString, KsDictionaryMap> {
public:
    using KsWeightedString::KsWeightedString;
    using KsWeightedString::operator=;
};

// Case ignored: "ABC" == "abc".
class KSTM_API KsCaseIString : public KsWeightedString<KsCaseIString, KsCaseBlindMap> {
public:
    using KsWeightedString::KsWeightedString;
    using KsWeightedString::operator=;
};

// A text pointer and a flag byte: 8 bytes on 32-bit targets, 16 on 64-bit.
static_assert(sizeof(KsIString) == (sizeof(void*) == 4 ? 8 : 16), "KsIString layout");
static_assert(sizeof(KsCaseIString) == sizeof(KsIString), "KsCaseIString layout");

// Comparators of the two rows: arrays of values in memory (format 8) or
// their stored images; -1, 0 or 1 by the weighted comparison of the first
// unequal element. Status 2101 when an operand ran out of bytes.
KSTM_API int KsIStringCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                              uint count, int& status);
KSTM_API int KsCaseIStringCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                                  uint count, int& status);

#endif
