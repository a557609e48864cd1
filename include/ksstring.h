// KsString: owned text with a code set and a language.
//
// The buffer is always sized exactly: size = (characters + 1) * width bytes,
// width 1 for code sets 0..224 and 2 above. No spare capacity; every edit
// allocates the new exact size. Strings never exceed 65532 bytes: longer
// results are truncated (see the "stringOverflow" key in section "debug").
// Language 254 marks the null value (as does code set 254 with language 0).
#ifndef KSSTRING_H
#define KSSTRING_H

#include "ksdefs.h"
#include "ksi18n.h"

class KSTM_API KsString {
public:
    // Largest buffer in bytes, terminator included.
    static constexpr uint MaxSize = 65532;

    // Modes of EditText.
    enum EditMode { EditOverwrite = 1, EditInsert = 2, EditAssignAt = 3 };

    KsString();
    KsString(uchar codeSet, uchar language);
    KsString(const KsString& other);
    explicit KsString(char c);
    explicit KsString(unsigned short c);
    KsString(const char* s);
    KsString(const unsigned short* s);
    KsString(const char* s, unsigned short n);
    KsString(const unsigned short* s, unsigned short n);
    explicit KsString(unsigned char v);
    explicit KsString(short v);
    explicit KsString(int v);
    explicit KsString(unsigned int v);
    explicit KsString(KsI64 v);
    explicit KsString(KsU64 v);
    explicit KsString(double v);
    ~KsString();

    // Same as the default constructor on an existing object; the buffer is
    // not freed (callers use it on raw memory).
    void Init();

    KsString& operator=(const KsString& other);
    KsString& operator=(const char* s);
    KsString& operator=(const unsigned short* s);

    // Move: takes over other's buffer, code set and language; other keeps
    // its code set and language but loses its buffer.
    void Destruct(KsString& other);
    // Frees the buffer and clears every field.
    void Destroy();
    void d_deactivate() { Destroy(); }

    // Null and empty states.
    int IsNullValue() const;
    int SetNullValue();
    int IsEmpty() const;
    int operator!() const { return IsEmpty(); }

    // Representation.
    const char* StrGet() const;  // the buffer, or "" when there is none
    char* Text() { return text_; }
    const char* Text() const { return text_; }
    ushort Size() const { return size_; }
    uchar CodeSet() const { return codeSet_; }
    uchar Language() const { return language_; }
    void SetLanguage(uchar language) { language_ = language; }
    uint Width() const { return codeSet_ > 224 ? 2u : 1u; }
    ushort Len() const;  // characters before the first zero character

    // Code-set changes.
    int SetCodeSetCode(uchar codeSet);  // relabel; -2002 when the width differs
    void SetCodeSet(uchar codeSet);     // converts only across widths
    int MapToCodeSet(uchar codeSet);    // always converts; -2002 for 0
    int CopyMapped(const KsString& src, uchar codeSet, short n = -1);

    // The resize primitive under every edit. Copies `count` characters of
    // `src` (code set srcCodeSet, converted into this string's code set when
    // needed) from character `srcStart` on, or, with repeat != 1, the first
    // source character `repeat` times, to character position `pos`:
    // overwriting (EditOverwrite), inserting (EditInsert) or keeping only the
    // first pos characters (EditAssignAt). byteOrder is 8 for text in
    // memory; a low nibble of 2 reads 16-bit source units high byte first.
    void EditText(const void* src, uchar srcCodeSet, ushort pos, ushort srcStart, ushort count,
                  ushort repeat, int mode, uchar byteOrder = 8);

    // Appending (the whole repertoire of editing builds on EditText).
    KsString& operator+=(const KsString& s);
    KsString& operator<<(const KsString& s) { return *this += s; }
    KsString& operator<<(const char* s);
    KsString& operator<<(char c);
    // A 16-bit string appends the character; an 8-bit one its decimal text.
    KsString& operator<<(unsigned short c);
    KsString& operator<<(const unsigned short* s);
    KsString& operator<<(short v);
    KsString& operator<<(int v);
    KsString& operator<<(unsigned int v);  // "%d": 2^31 and up print negative
    KsString& operator<<(KsI64 v);
    KsString& operator<<(KsU64 v);
    KsString& operator<<(float v);
    KsString& operator<<(double v);

    // Editing. Positions and counts are characters; a count of 65535 (-1 as
    // a short) means "to the end". Out-of-range positions leave the string
    // unchanged rather than failing.
    KsString& Insert(const KsString& s, ushort pos);     // pos == Len() appends
    KsString& Replace(const KsString& s, ushort pos);    // never writes past the end
    KsString& Cut(ushort pos, short n);
    KsString Copy(ushort pos, short n) const;            // code set and language kept
    KsString Left(ushort n) const;
    KsString Right(ushort n) const;
    KsString& Fill(ushort n, char c);                    // becomes n copies of c
    KsString& Fill(ushort n, unsigned short c);
    KsString& Expand(ushort n, char c);                  // pads with c up to n characters
    KsString& Expand(ushort n, unsigned short c);
    // Trimming removes characters of the space class (KsChar::IsSpace).
    KsString& LeftTrim();
    KsString& RightTrim();
    KsString& Trim();
    KsString& ToUpper();
    KsString& ToLower();
    KsString& Transform(KsCharOperation& op);
    // Replaces every match of from at or after start; the search goes on
    // after the inserted text, so `to` may contain `from`.
    KsString& ReplaceAll(const KsString& from, const KsString& to, ushort start = 0);
    KsString& ReplaceAll(char from, char to, ushort start = 0);
    KsString& ReplaceAll(unsigned short from, unsigned short to, ushort start = 0);

    // Searching: the first position at or after start where pat matches, or
    // -1. cmpOp is a comparison mode word; without the exact (0x10) and
    // order (0x100) bits every position is tried as a wildcard prefix match
    // (pat followed by the "any run" wildcard, see SetAsterisk); 65535 means
    // the default mode, matched over pat's length.
    int Find(const KsString& pat, ushort start = 0, ushort cmpOp = 0xFFFF) const;
    int Find(char c, ushort start = 0, ushort cmpOp = 0xFFFF) const;
    int Find(unsigned short c, ushort start = 0, ushort cmpOp = 0xFFFF) const;
    int SubStringPos(const KsString& pat, ushort cmpOp = 0xFFFF) const;

    // Comparison under the default comparison mode (KsStrCmp), whole texts.
    bool operator==(const KsString& s) const;
    bool operator!=(const KsString& s) const;
    bool operator<(const KsString& s) const;
    bool operator>(const KsString& s) const;
    bool operator<=(const KsString& s) const;
    bool operator>=(const KsString& s) const;
    // KsStrCmp's three-way result; len -1 = whole texts, cmpOp 65535 = default.
    int Compare(const KsString& s, short len = -1, ushort cmpOp = 0xFFFF) const;
    // 1 when equal in collation order, using the common language (or 0 when
    // the languages differ) for both sides.
    int EqualsIgnoreLanguage(const KsString& s) const;

    // Character i, referring into the buffer (assignment writes through).
    // Past the last character: a detached 0 with code set and language 255.
    KsChar operator[](int i);
    KsChar operator[](int i) const;  // a detached copy of the character

    // Numeric conversions (0 without a buffer). Explicit: implicit ones
    // would make `s == 0` ambiguous and let strings slip into arithmetic.
    // Integers: base detection (0x.., 0..) as strtol, or plain decimal as
    // atoi when bit 0 of ___KsTypeMgrOptions() is set; out-of-range values
    // clamp to the type's range (short: the int value cut to 16 bits).
    explicit operator int() const;
    explicit operator short() const;
    explicit operator KsI64() const;
    explicit operator double() const;
    // out is set to 0 first; -1 unless the text starts with a digit or '-'.
    // Atol/Atoll: decimal; Strtol/Strtoll: base detection.
    int Atol(int& out) const;
    int Strtol(int& out) const;
    int Atoll(KsI64& out) const;
    int Strtoll(KsI64& out) const;

    // The process-wide wildcard characters of comparisons: any run, any one
    // character, escape.
    static void SetAsterisk(const KsChar& c);
    static void SetQuestion(const KsChar& c);
    static void SetEscape(const KsChar& c);

    // Process-wide defaults, forwarded to the language context.
    static uchar GetDefaultCodeSet();
    static void SetDefaultCodeSet(uchar codeSet);
    static uchar GetDefault8CodeSet();
    static uchar GetDefault16CodeSet();
    static uchar GetDefaultLanguage();
    static void SetDefaultLanguage(uchar language);
    static ushort GetDefaultCmpOp();
    static void SetDefaultCmpOp(ushort op);

    static const KsString& EmptyString();

private:
    void CopyText(const KsString& other);           // other's buffer, unconverted
    void AssignText8(const char* s, ushort n);      // n = 65535: to the terminator
    void AssignText16(const unsigned short* s, ushort n);
    void SetBuffer(char* text, ushort size);        // frees the old buffer

    char* text_;
    ushort size_;
    uchar codeSet_;
    uchar language_;
};

// On 32-bit targets the predecessor's 8-byte layout; elsewhere the natural one.
static_assert(sizeof(void*) != 4 || sizeof(KsString) == 8, "KsString layout");
static_assert(sizeof(KsString) == sizeof(void*) + 4 + (sizeof(void*) == 8 ? 4 : 0),
              "KsString holds a pointer, a 16-bit size and two bytes");

// New string with a's code set and language holding a then b.
KSTM_API KsString operator+(const KsString& a, const KsString& b);

// Next item of a separated list: the text from pos to the next sep (or the
// end), trimmed; pos moves past the separator. A separator at position 0
// is skipped. Returns 0, or -2005 when the list is exhausted.
KSTM_API int KsSplitList(KsString& list, KsString& item, const KsString& sep, ushort& pos);

// Converts n characters (n < 0: to the terminator) of a text of code set
// srcCs into a new exactly sized buffer of code set dstCs, applying the
// overflow rule. Returns the buffer (owned by the caller, freed with ::operator delete)
// and sets size to its byte size.
KSTM_API char* KsConvertCodeSet(const void* src, uchar srcCs, int n, uchar dstCs, ushort& size);

#endif
