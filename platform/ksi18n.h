// Internationalisation services: code sets, languages, the language context
// defaults, Unicode character properties, the character layer (KsChar,
// KsStringIterator, the case operations) and the collation orders that
// string comparison compares (KsCollation, docs/collation.md).
//
// Code-set ids: 0 = the native code set, 1..224 = 8-bit code sets (for ids
// 0..26 every byte below 0x80 is ASCII), 225..255 = 16-bit code sets with
// 253 = Unicode (UTF-16 units in machine order); 254 is the null mark.
// Text of a 16-bit id other than 253 is converted as Unicode; text of an
// unassigned 8-bit id as the native code set (docs/codesets.md).
// Language ids: below 20 alphabetic, 20 and above ideographic; 254 = null.
#ifndef KSI18N_H
#define KSI18N_H

#include "ksdefs.h"

enum : uchar {
    KS_CS_NATIVE = 0,
    KS_CS_ISO8859_1 = 1,
    KS_CS_UNICODE = 253,
    KS_CS_NULLMARK = 254,
    KS_LANG_NULLMARK = 254
};

// Width of one character of a code set: the only width test of the system.
constexpr bool KsCodeSetIsWide(uchar codeSet) { return codeSet > 224; }
constexpr uint KsCodeSetWidth(uchar codeSet) { return codeSet > 224 ? 2u : 1u; }

// Unicode properties of one character (from ICU, cached per code set).
// Every character field is a Unicode value, also for 8-bit code sets; map it
// back with FromUnicode. An undefined byte of an 8-bit code set has unicode,
// upper, lower and base U+FFFD, mark 0, category 0 (unassigned), flags 0.
struct KsUnicodeProps {
    ushort unicode;      // the character's Unicode value (U+FFFD when undefined)
    ushort upper;        // simple upper-case mapping (itself when none)
    ushort lower;        // simple lower-case mapping
    ushort base;         // first character of the full canonical decomposition (itself when none)
    ushort mark;         // first combining mark after the base in that decomposition, else 0
    signed char category;  // ICU general category (UCharCategory)
    uchar flags;         // KS_UP_* bits
};
static_assert(sizeof(KsUnicodeProps) == 12, "KsUnicodeProps was padded");
enum : uchar {
    KS_UP_DEFINED = 0x01,
    KS_UP_SPACE = 0x02,   // white space or control character (general category Cc)
    KS_UP_ALPHA = 0x04,
    KS_UP_DIGIT = 0x08,   // decimal digit
    KS_UP_UPPER = 0x10,
    KS_UP_LOWER = 0x20,
    KS_UP_PUNCT = 0x40,   // punctuation or symbol
    KS_UP_IDEO = 0x80     // ideographic
};

class KSTM_API KsCodeSet {
public:
    constexpr uchar Id() const { return id_; }
    constexpr const char* Name() const { return name_; }        // documentation name, e.g. "ISO-8859-1"
    constexpr const char* IcuName() const { return icuName_; }  // ICU converter name
    constexpr bool IsWide() const { return KsCodeSetIsWide(id_); }

    // 8-bit code sets: byte -> Unicode (U+FFFD for an undefined byte).
    // 16-bit code sets: the unit itself.
    ushort ToUnicode(ushort ch) const;
    // Unicode -> character of this code set; -1 when it has none.
    int FromUnicode(ushort u) const;
    // As FromUnicode, with the substitute character for unmappable input
    // (0x1A in 8-bit code sets, U+FFFD in 16-bit ones).
    ushort FromUnicodeOrSub(ushort u) const;
    constexpr ushort Substitute() const { return IsWide() ? 0xFFFD : 0x1A; }

    // Properties of character `ch` of this code set; 0 on success, -2002 for
    // a character outside the code set (above 0xFF in an 8-bit one).
    int GetUnicodeProps(ushort ch, KsUnicodeProps& props) const;

    // The code set whose tables convert text labelled `id`: the native one
    // for 0 and for unassigned 8-bit ids, Unicode for every 16-bit id (254
    // included). Never null; lives for the whole process.
    static const KsCodeSet& ForText(uchar id);

    // Internal: the objects are the registry's own; tables are built on
    // first use and found by id (an id the registry lacks converts as the
    // native code set).
    constexpr KsCodeSet(uchar id, const char* name, const char* icuName)
        : id_(id), name_(name), icuName_(icuName) {}
    const ushort* ToUnicodeTable() const;  // 256 entries for 8-bit code sets, else null

private:
    uchar id_;
    const char* name_;
    const char* icuName_;
    friend struct KsCodeSetTables;
};

class KSTM_API KsLanguage {
public:
    constexpr uchar Id() const { return id_; }
    constexpr const char* Name() const { return name_; }      // English name, e.g. "German"
    constexpr const char* Locale() const { return locale_; }  // ICU/BCP-47 locale, e.g. "de"
    constexpr bool IsIdeographic() const { return (id_ & 0x7F) >= 20; }

    constexpr KsLanguage(uchar id, const char* name, const char* locale)
        : id_(id), name_(name), locale_(locale) {}

private:
    uchar id_;
    const char* name_;
    const char* locale_;
};

// Process-wide defaults. Not synchronised beyond single-value atomicity: set
// them up before concurrent use.
class KSTM_API KsLanguageContext {
public:
    static uchar GetDefaultCodeSet();
    static void SetDefaultCodeSet(uchar codeSet);
    static uchar GetDefault8CodeSet();
    static void SetDefault8CodeSet(uchar codeSet);
    static uchar GetDefault16CodeSet();
    static void SetDefault16CodeSet(uchar codeSet);
    static uchar GetDefaultLanguage();
    static void SetDefaultLanguage(uchar language);
    static ushort GetDefaultCmpOp();
    static void SetDefaultCmpOp(ushort op);
    static uchar GetNativeCodeSet();
    // The native code set must be an assigned 8-bit one: 0, 16-bit and
    // unassigned ids are refused (ignored).
    static void SetNativeCodeSet(uchar codeSet);

    // The code set or language of an id (0 = native code set); null for ids
    // that name none. The objects live for the whole process.
    static const KsCodeSet* QueryCodeSet(uchar id);
    static const KsLanguage* QueryLanguage(uchar id);

    // Every defined code set / language, in id order, ending with null.
    static const KsCodeSet* const* CodeSets();
    static const KsLanguage* const* Languages();

    // Back to the documented defaults.
    static void Reset();
};

// Starts (non-zero) or stops (0) the context: the defaults are reset on
// start. Returns 0.
KSTM_API int ___KsI18NContext(int start);

// Bulk code-set conversion, the fast path of every text conversion:
// converts n characters from `src` (code set srcCs) into `dst` (code set
// dstCs); 0 stands for the native code set on either side. Characters with
// no counterpart become the target's substitute. Stops early at a zero
// character (not copied). Returns the number of characters written; no
// terminator is written. 16-bit units are in machine order and may be
// unaligned; dst and src must not overlap.
KSTM_API uint KsConvertText(void* dst, uchar dstCs, const void* src, uchar srcCs, uint n);

// One character with its code set and language. A KsChar either holds its
// character or refers to a character slot inside a text; assignment maps the
// source character into this one's code set and, for a reference, writes it
// into the text.
class KSTM_API KsChar {
public:
    KsChar() : ref_(nullptr), code_(0), codeSet_(0), language_(0) {}
    KsChar(ushort code, uchar codeSet, uchar language)
        : ref_(nullptr), code_(code), codeSet_(codeSet), language_(language) {}
    // Refers to the character at `ref` in a text of `codeSet` (a 1- or
    // 2-byte slot by the code set's width; 16-bit slots in machine order).
    KsChar(void* ref, uchar codeSet, uchar language);
    // As above, with the byte order of a 16-bit slot given as a format byte:
    // low nibble 2 = high byte first, anything else machine order.
    KsChar(void* ref, uchar codeSet, uchar language, uchar format);
    KsChar(const KsChar& other) = default;

    // Maps other's character into this code set (through Unicode; 0 is the
    // native code set; no counterpart gives the substitute) and, for a
    // reference, writes it into the slot. Code set and language are kept.
    KsChar& operator=(const KsChar& other);

    ushort Code() const;  // the character (read through the reference when there is one)
    uchar CodeSet() const { return codeSet_; }
    uchar Language() const { return language_; }
    ushort ToUnicode() const;
    // First collation order of the character in its language (KsCollation).
    ushort Order() const;
    // A character of the space class: collation order below 80, which takes
    // in the zero character, white space, controls and characters without
    // an order (13). Ideographic languages have no classes, so their
    // characters are classed by the neutral language's orders.
    int IsSpace() const;

private:
    void* ref_;
    ushort code_;
    uchar codeSet_;
    uchar language_;
    bool highFirst_ = false;  // a 16-bit slot holds its high byte first
};

class KsCharOperation;

// Walks a zero-terminated text of a code set and language; a null text is
// empty. `format` gives the byte order of 16-bit characters as a format
// byte: low nibble 2 = high byte first; 8 (in memory) or any other value =
// machine order. 8-bit text ignores it. Characters are the text's own codes
// (not Unicode); the walk never passes the terminator.
class KSTM_API KsStringIterator {
public:
    KsStringIterator(const void* text, uchar codeSet, uchar language, uchar format = 8);

    int AtEnd() const;                 // at the terminator
    ushort Current() const;            // character at the position (0 at the end)
    KsChar Ref();                      // a KsChar referring to the position
    void Next();                       // steps one character (not past the end)
    ushort GetNextChar();              // Current(), then Next(); 0 at the end
    uint Position() const { return pos_; }  // characters walked
    const void* Pointer() const;

    // Collation order of the next character, then steps past it. A
    // character that sorts as several letters (an expansion such as the
    // sharp s) delivers its further orders on the following calls before
    // the walk moves on. 0 at the end (the position stays).
    ushort GetNextOrder();
    // First order of the character at the position (0 at the end); does
    // not move and ignores an expansion under way.
    ushort CurrentOrder() const;

    // Passes every character from the position to the end through `op` and
    // writes the results, in this text's code set, width and byte order,
    // plus one zero character, into `dst`. Returns the bytes written, the
    // terminator included (0 when dst is null or has no room for a
    // terminator). An operation may turn one character into two (upper-
    // case sharp s is "SS"), so callers pass a buffer of twice the text's
    // byte size; output that would leave no room for the terminator is
    // dropped. The position ends at the terminator.
    uint Transform(KsCharOperation& op, void* dst, uint dstSize);

private:
    const uchar* text_;
    uint pos_;
    uchar codeSet_;
    uchar language_;
    uchar format_;
    uchar pendingCount_ = 0;  // further orders of an expansion still to deliver
    ushort pending_[2] = {0, 0};
};

// ---------------------------------------------------------------------------
// Character operations applied by KsStringIterator::Transform.
// ---------------------------------------------------------------------------
class KSTM_API KsCharOperation {
public:
    virtual ~KsCharOperation();
    // Maps character `ch` of a text of `codeSet` and `language` to at most
    // two characters of the same code set in out[]; returns how many (0
    // drops the character).
    virtual uint Apply(ushort ch, uchar codeSet, uchar language, ushort out[2]) = 0;
};

// Simple Unicode case mappings, kept inside the code set: a mapping the code
// set cannot hold leaves the character as it is. Upper case turns the sharp
// s into "SS"; Turkish (language 16) pairs i with dotted capital I and
// dotless i with I.
class KSTM_API KsCharToUpper : public KsCharOperation {
public:
    uint Apply(ushort ch, uchar codeSet, uchar language, ushort out[2]) override;
};
class KSTM_API KsCharToLower : public KsCharOperation {
public:
    uint Apply(ushort ch, uchar codeSet, uchar language, ushort out[2]) override;
};

// ---------------------------------------------------------------------------
// Collation orders (docs/collation.md). Alphabetic languages (id & 0x7F
// below 20) give each character a 16-bit order:
//   0..79          space class (13 = no order known for the character)
//   80..0x3EFF     symbol, 80 + symbol number
//   0x3F00..0x3FFF digit, 0x3F00 + 10 * digit, bit 0 = expanded form
//   0x4000..0x7FFF letter: bit 14 | case << 12 | accent << 7 | letter << 2 | extension
//   0x8000..       character code | 0x8000 (other scripts, private use)
// Ideographic languages order every character by its Unicode value.
// A character that sorts as several letters has up to three orders.
// ---------------------------------------------------------------------------
// Entry of one character: first order in bits 0..15, further orders of an
// expansion in bits 16..31 and 32..47 (0 = none).
typedef KsU64 KsOrderEntry;

class KSTM_API KsCollation {
public:
    static constexpr bool IsIdeographic(uchar language) { return (language & 0x7F) >= 20; }
    // Languages of one group order every character alike (groups differ in
    // the letters their alphabets add after a base letter).
    static int Group(uchar language);

    // The 256 entries for text of an 8-bit code set (0 and unassigned ids:
    // the native code set) in a language; null for a 16-bit code set.
    // Built once per code set and language group, safe on first use from
    // several threads; the table lives for the whole process.
    static const KsOrderEntry* Table8(uchar codeSet, uchar language);
    // Entry of a Unicode character (the text of every 16-bit code set).
    static KsOrderEntry Entry16(ushort ch, uchar language);
    // Entry / first order of character `ch` of a code set.
    static KsOrderEntry Entry(ushort ch, uchar codeSet, uchar language);
    static ushort Order(ushort ch, uchar codeSet, uchar language)
    {
        return ushort(Entry(ch, codeSet, language));
    }
};

#endif
