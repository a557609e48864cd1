// KsIString and KsCaseIString: the weight maps, the weighted comparison,
// text editing, the stored image and the slot functions of rows 20 and 21.
#include "ksistring.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "ksbase.h"
#include "ksimageutil.h"
#include "ksistringrow.h"
#include "ksstring.h"
#include "kstextutil.h"
#include "kstypes.h"

// ---------------------------------------------------------------------------
// Weight maps.
// ---------------------------------------------------------------------------
namespace {

// Bytes 64..127: capitals, [ \ ] ^ _, `, small letters, { | } ~ DEL.
constexpr uchar kTableA[64] = {
    0x40, 0x54, 0x5b, 0x5e, 0x61, 0x69, 0x6f, 0x71, 0x73, 0x79, 0x7f, 0x81, 0x83, 0x85, 0x87, 0x90,
    0x97, 0x99, 0x9b, 0x9d, 0x9f, 0xa5, 0xab, 0xad, 0xaf, 0xb3, 0xb7, 0x42, 0x43, 0x44, 0x45, 0x46,
    0x41, 0x4e, 0x5a, 0x5c, 0x60, 0x64, 0x6e, 0x70, 0x72, 0x74, 0x7e, 0x80, 0x82, 0x84, 0x86, 0x8a,
    0x96, 0x98, 0x9a, 0x9c, 0x9e, 0xa0, 0xaa, 0xac, 0xae, 0xb0, 0xb6, 0x47, 0x48, 0x49, 0x4a, 0x4b};

// Bytes 192..255: the base letter's weight and the accent number (the
// sharp s expands into a second s).
constexpr uchar kTableT1[64] = {
    0x54, 0x54, 0x54, 0x54, 0x54, 0xbd, 0xb9, 0x5e, 0x69, 0x69, 0x69, 0x69, 0x79, 0x79, 0x79, 0x79,
    0x63, 0x89, 0x90, 0x90, 0x90, 0x90, 0x90, 0x4c, 0xbb, 0xa5, 0xa5, 0xa5, 0xa5, 0xb3, 0xbf, 0x9c,
    0x4e, 0x4e, 0x4e, 0x4e, 0x4e, 0xbc, 0xb8, 0x5c, 0x64, 0x64, 0x64, 0x64, 0x74, 0x74, 0x74, 0x74,
    0x62, 0x88, 0x8a, 0x8a, 0x8a, 0x8a, 0x8a, 0x4d, 0xba, 0xa0, 0xa0, 0xa0, 0xa0, 0xb0, 0xbe, 0xb0};
constexpr uchar kTableT2[64] = {
    0x03, 0x02, 0x04, 0x05, 0x01, 0x00, 0x00, 0x01, 0x03, 0x02, 0x04, 0x01, 0x03, 0x02, 0x04, 0x01,
    0x00, 0x00, 0x03, 0x02, 0x04, 0x05, 0x01, 0x00, 0x00, 0x03, 0x02, 0x04, 0x01, 0x02, 0x00, 0x9c,
    0x03, 0x02, 0x04, 0x05, 0x01, 0x00, 0x00, 0x01, 0x03, 0x02, 0x04, 0x01, 0x03, 0x02, 0x04, 0x01,
    0x00, 0x00, 0x03, 0x02, 0x04, 0x05, 0x01, 0x00, 0x00, 0x03, 0x02, 0x04, 0x01, 0x02, 0x00, 0x01};

constexpr KsWeightPair DictionaryPair(uint c) {
    if (c < 64) return {uchar(c), 0};
    if (c < 128) return {kTableA[c - 64], 0};
    if (c < 160) {
        // The expansions are written as the letters whose codes equal the
        // weights meant: 'i' (0x69) is E's weight, 'd' (0x64) e's.
        if (c == 140) return {144, 'i'};  // OE ligature: O, E
        if (c == 156) return {138, 'd'};  // oe ligature: o, e
        if (c == 159) return {179, 1};    // Y diaeresis: Y, accent 1
        return {uchar(c + 96), 0};
    }
    if (c < 192) return {uchar(c + 16), 0};
    return {kTableT1[c - 192], kTableT2[c - 192]};
}

// ToUpper, kept exactly: 0x9F (Y diaeresis) goes to 0xFF, against the rest.
constexpr uchar UpperOf(uint c) {
    if ((c >= 'a' && c <= 'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7)) return uchar(c - 32);
    if (c == 0x9C) return 0x8C;
    if (c == 0x9F) return 0xFF;
    return uchar(c);
}

// ToLower undoes every change ToUpper makes, so 0xFF goes to 0x9F.
constexpr uchar LowerOf(uint c) {
    if ((c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7)) return uchar(c + 32);
    if (c == 0x8C) return 0x9C;
    if (c == 0xFF) return 0x9F;
    return uchar(c);
}

// The lower-case letter in the real sense: 0x9F is the capital of 0xFF.
constexpr uchar CaseFold(uint c) { return c == 0x9F || c == 0xFF ? 0xFF : LowerOf(c); }

// Every capital weighs as its small letter; all other bytes as in the
// dictionary map.
constexpr KsWeightPair CaseBlindPair(uint c) { return DictionaryPair(CaseFold(c)); }

template <class F>
constexpr std::array<KsWeightPair, 256> BuildMap(F pair) {
    std::array<KsWeightPair, 256> m{};
    for (uint c = 0; c < 256; ++c) m[c] = pair(c);
    return m;
}

template <class F>
constexpr std::array<uchar, 256> BuildBytes(F f) {
    std::array<uchar, 256> t{};
    for (uint c = 0; c < 256; ++c) t[c] = f(c);
    return t;
}

constexpr auto kDictionary = BuildMap(DictionaryPair);
constexpr auto kCaseBlind = BuildMap(CaseBlindPair);
constexpr auto kUpper = BuildBytes(UpperOf);
constexpr auto kLower = BuildBytes(LowerOf);
constexpr auto kSpaceToZero = BuildBytes([](uint c) { return uchar(c == ' ' ? '0' : c); });
constexpr auto kZeroToSpace = BuildBytes([](uint c) { return uchar(c == '0' ? ' ' : c); });

// Only the terminator may weigh 0 (a weight of 0 ends a text), and folding
// an accent or an expansion must stay within a byte.
constexpr bool WeightsAreSound(const std::array<KsWeightPair, 256>& m) {
    for (uint c = 1; c < 256; ++c) {
        const KsWeightPair p = m[c];
        if (p.weight == 0) return false;
        if (p.second != 0 && p.second < 9 && p.weight + p.second > 255) return false;
        if (p.second > 8 && p.weight < 2) return false;
    }
    return m[0].weight == 0;
}
static_assert(WeightsAreSound(kDictionary) && WeightsAreSound(kCaseBlind));

// ToLower is the inverse of ToUpper on every byte ToUpper changes, and the
// other way round; case mapping never makes a terminator.
constexpr bool CaseTablesAreInverse() {
    for (uint c = 1; c < 256; ++c) {
        if (kUpper[c] == 0 || kLower[c] == 0) return false;
        if (kUpper[c] != c && kLower[kUpper[c]] != c) return false;
        if (kLower[c] != c && kUpper[kLower[c]] != c) return false;
    }
    return true;
}
static_assert(CaseTablesAreInverse());

const KsWeightPair* MapOf(KsWeightMapId id) {
    return id == KsCaseBlindMap ? kCaseBlind.data() : kDictionary.data();
}

// ---------------------------------------------------------------------------
// The weighted walk: both texts turned into weight sequences and compared
// position by position.
// ---------------------------------------------------------------------------

// One operand. A text ends at its terminator, at `end` (when not null: the
// bytes present of a stored element) or after `left` characters.
struct Side {
    const uchar* p;
    const uchar* end;
    uint left;
    uchar flags;
    uchar pending = 0;  // an expansion weight still to deliver
    bool ended = false;
};

bool AtEnd(const Side& s) { return s.left == 0 || s.p == s.end || *s.p == 0; }

uchar NextWeight(Side& s, const KsWeightPair* map, bool fold) {
    if (s.pending) {
        const uchar w = s.pending;
        s.pending = 0;
        return w;
    }
    if (AtEnd(s)) {
        s.ended = true;
        return 0;
    }
    const uchar c = *s.p++;
    --s.left;
    if (s.flags & KsWeightedText::IsWeights) return c;
    const KsWeightPair pair = map[c];
    uchar w = pair.weight;
    if (fold && pair.second) w = pair.second < 9 ? uchar(w + pair.second) : uchar(w - 1);
    // The expansion is compared at the next position, against the other
    // side's next weight: one character weighs as two.
    if (pair.second > 8) s.pending = pair.second;
    return w;
}

// The difference of the deciding weights, and which sides had run out then.
struct WalkResult {
    int diff;
    bool endA;
    bool endB;
};

// The first operand's FoldAccents decides for both sides, so that both are
// mapped alike.
WalkResult Walk(Side a, Side b, const KsWeightPair* map) {
    const int a0 = AtEnd(a) ? 0 : *a.p;
    const int b0 = AtEnd(b) ? 0 : *b.p;
    if (a0 == 0 || b0 == 0) return {a0 - b0, a0 == 0, b0 == 0};
    const bool fold = (a.flags & KsWeightedText::FoldAccents) != 0;
    for (;;) {
        const int wa = NextWeight(a, map, fold);
        const int wb = NextWeight(b, map, fold);
        if (wa != wb) return {wa - wb, a.ended, b.ended};
        if (wa == 0) return {0, true, true};
    }
}

int Sign(int v) { return v < 0 ? -1 : (v > 0 ? 1 : 0); }

const uchar* Bytes(const void* p) { return static_cast<const uchar*>(p); }

// ---------------------------------------------------------------------------
// Text buffers.
// ---------------------------------------------------------------------------
char* NewText(std::size_t len) {
    for (int attempt = 1;; ++attempt) {
        if (void* p = ::operator new(len + 1, std::nothrow)) {
            static_cast<char*>(p)[len] = 0;
            return static_cast<char*>(p);
        }
        if (!KsCallMemoryHandler(len + 1, attempt)) throw std::bad_alloc();
    }
}

// A piece of a new text: `n` bytes from `p`, or `n` copies of `fill` when p
// is null.
struct Piece {
    const char* p;
    std::size_t n;
    char fill;
};

// Called whenever a result is cut down to MaxLen characters (the same
// switch as KsString's).
void ReportOverflow() {
    if (DefaultConfig().GetInt("debug", "stringOverflow", 0) != 0)
        VARN_assert("String overflow", "src/ksistring", __LINE__);
}

// The pieces joined in a new exact buffer (null when empty), cut at MaxLen.
// The pieces may point into the text being replaced.
char* Join(std::initializer_list<Piece> pieces) {
    std::size_t total = 0;
    for (const Piece& x : pieces) total += x.n;
    if (total > KsWeightedText::MaxLen) {
        ReportOverflow();
        total = KsWeightedText::MaxLen;
    }
    if (total == 0) return nullptr;
    char* out = NewText(total);
    std::size_t at = 0;
    for (const Piece& x : pieces) {
        const std::size_t n = x.n < total - at ? x.n : total - at;
        if (x.p)
            std::memcpy(out + at, x.p, n);
        else
            std::memset(out + at, x.fill, n);
        at += n;
    }
    return out;
}

// Bytes before a zero, looking at no more than n.
std::size_t BoundedLen(const char* s, std::size_t n) {
    if (!s) return 0;
    const void* z = std::memchr(s, 0, n);
    return z ? std::size_t(static_cast<const char*>(z) - s) : n;
}

}  // namespace

const KsWeightPair* KsWeightMapGet(KsWeightMapId map) { return MapOf(map); }

// ---------------------------------------------------------------------------
// KsWeightedText.
// ---------------------------------------------------------------------------
KsWeightedText::KsWeightedText(const char* s, std::size_t n) : text_(nullptr), flags_(0) {
    AssignText(s, n);
}

KsWeightedText::KsWeightedText(const KsWeightedText& other)
    : text_(Join({{other.text_, other.Len(), 0}})), flags_(other.flags_) {}

KsWeightedText& KsWeightedText::operator=(const KsWeightedText& other) {
    if (this != &other) {
        Adopt(Join({{other.text_, other.Len(), 0}}));
        flags_ = other.flags_;
    }
    return *this;
}

KsWeightedText::~KsWeightedText() { ::operator delete(text_); }

void KsWeightedText::Adopt(char* text) {
    ::operator delete(text_);
    text_ = text;
}

ushort KsWeightedText::Len() const { return text_ ? ushort(std::strlen(text_)) : 0; }

char& KsWeightedText::operator[](int i) {
    if (text_ && i >= 0 && std::memchr(text_, 0, std::size_t(i) + 1) == nullptr) return text_[i];
    VARN_assert("KsIString index within the text", "src/ksistring", __LINE__);
    thread_local char scratch;
    scratch = 0;
    return scratch;
}

char KsWeightedText::operator[](int i) const {
    if (text_ && i >= 0 && std::memchr(text_, 0, std::size_t(i) + 1) == nullptr) return text_[i];
    VARN_assert("KsIString index within the text", "src/ksistring", __LINE__);
    return 0;
}

KsWeightedText::operator short() const { return static_cast<short>(KsString(StrGet())); }
KsWeightedText::operator int() const { return static_cast<int>(KsString(StrGet())); }
KsWeightedText::operator double() const { return static_cast<double>(KsString(StrGet())); }
KsWeightedText::operator KsI64() const { return static_cast<KsI64>(KsString(StrGet())); }

void KsWeightedText::AssignNumber(KsI64 v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%lld", v);
    AssignText(buf, sizeof buf);
}

void KsWeightedText::AssignNumber(KsU64 v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%llu", v);
    AssignText(buf, sizeof buf);
}

void KsWeightedText::AssignNumber(double v) {
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.17g", v);
    AssignText(buf, sizeof buf);
}

void KsWeightedText::AssignText(const char* s, std::size_t n) {
    // Bounded by MaxLen + 1: Join reports and cuts anything longer.
    const std::size_t len =
        BoundedLen(s, n < std::size_t(MaxLen) + 1 ? n : std::size_t(MaxLen) + 1);
    Adopt(Join({{s, len, 0}}));
    flags_ &= uchar(~IsWeights);
}

void KsWeightedText::Append(const KsWeightedText& s) {
    if (!s.text_) return;
    Adopt(Join({{text_, Len(), 0}, {s.text_, s.Len(), 0}}));
}

void KsWeightedText::CutText(ushort pos, ushort count) {
    const std::size_t len = Len();
    if (count == 0 || pos >= len) return;
    const std::size_t n = std::min<std::size_t>(count, len - pos);
    Adopt(Join({{text_, pos, 0}, {text_ + pos + n, len - pos - n, 0}}));
}

void KsWeightedText::InsertText(const KsWeightedText& s, ushort pos) {
    const std::size_t len = Len();
    if (pos > len || !s.text_) return;
    Adopt(Join({{text_, pos, 0}, {s.text_, s.Len(), 0}, {text_ + pos, len - pos, 0}}));
}

void KsWeightedText::ReplaceText(const KsWeightedText& s, ushort pos) {
    const std::size_t len = Len();
    if (pos >= len || !s.text_) return;
    const std::size_t n = std::min<std::size_t>(s.Len(), len - pos);
    std::memmove(text_ + pos, s.text_, n);  // same length: no new buffer
}

void KsWeightedText::FillText(ushort count, char c) {
    Adopt(c ? Join({{nullptr, count, c}}) : nullptr);
}

void KsWeightedText::ExpandText(ushort count, char c) {
    const std::size_t len = Len();
    if (len >= count || c == 0) return;
    Adopt(Join({{text_, len, 0}, {nullptr, count - len, c}}));
}

void KsWeightedText::MapBytes(const uchar* table) {
    if (!text_) return;
    for (char* p = text_; *p; ++p) *p = char(table[uchar(*p)]);
}

void KsWeightedText::CopyPart(KsWeightedText& out, ushort pos, ushort count) const {
    const std::size_t len = Len();
    if (pos < len) {
        const std::size_t n = std::min<std::size_t>(count, len - pos);
        out.Adopt(Join({{text_ + pos, n, 0}}));
    }
    out.flags_ = flags_;
}

int KsWeightedText::Find(const KsWeightedText& part, KsWeightMapId map) const {
    if (!text_ || !part.text_ || !part.text_[0]) return -1;
    const KsWeightPair* m = MapOf(map);
    const bool fold = (flags_ & FoldAccents) != 0;
    const std::size_t len = Len();
    for (std::size_t pos = 0; pos < len; ++pos) {
        Side a{Bytes(text_ + pos), nullptr, 0xFFFFFFFFu, flags_};
        Side b{Bytes(part.text_), nullptr, 0xFFFFFFFFu, part.flags_};
        for (;;) {
            const uchar wb = NextWeight(b, m, fold);
            // A match must not end inside an expansion of the text.
            if (b.ended) {
                if (a.pending == 0) return int(pos);
                break;
            }
            if (NextWeight(a, m, fold) != wb) break;
        }
    }
    return -1;
}

int KsWeightedText::Compare(const KsWeightedText& other, ushort length, KsWeightMapId map) const {
    if (!text_) return other.text_ ? -1 : 0;
    if (!other.text_) return 1;
    const uint limit = length ? length : 65535;
    return Walk({Bytes(text_), nullptr, limit, flags_},
                {Bytes(other.text_), nullptr, limit, other.flags_}, MapOf(map))
        .diff;
}

const uchar* KsWeightedText::UpperTable() { return kUpper.data(); }
const uchar* KsWeightedText::LowerTable() { return kLower.data(); }
const uchar* KsWeightedText::SpaceToZeroTable() { return kSpaceToZero.data(); }
const uchar* KsWeightedText::ZeroToSpaceTable() { return kZeroToSpace.data(); }

// ---------------------------------------------------------------------------
// Comparators.
// ---------------------------------------------------------------------------
namespace {

// One element as the comparator sees it: `n` bytes present at p (end null:
// a text in memory, bounded by its terminator alone), `cut` when its
// terminator is not among them.
struct Element {
    const uchar* p;
    const uchar* end;
    uint n;
    bool cut;
};

// The rule of cut elements: a side that ran out at its cut decides nothing
// (result 0), and status 2101 is reported when a cut side is not the longer
// one, since then the missing rest could change the order.
int CompareElements(const Element& a, uchar flagsA, const Element& b, uchar flagsB,
                    const KsWeightPair* map, int& status) {
    const WalkResult r =
        Walk({a.p, a.end, 0xFFFFFFFFu, flagsA}, {b.p, b.end, 0xFFFFFFFFu, flagsB}, map);
    if ((a.cut && a.n <= b.n) || (b.cut && b.n <= a.n)) status = KS_SHORT_OPERAND;
    if ((a.cut && r.endA) || (b.cut && r.endB)) return 0;
    return Sign(r.diff);
}

template <class T>
int CompareInMemory(uint lenA, const T* a, uint lenB, const T* b, uint count, KsWeightMapId map,
                    int& status) {
    const uint haveA = lenA ? uint(lenA / sizeof(T)) : count;
    const uint haveB = lenB ? uint(lenB / sizeof(T)) : count;
    if (!a || !b || haveA == 0 || haveB == 0) {
        status = KS_SHORT_OPERAND;
        return 0;
    }
    const KsWeightPair* m = MapOf(map);
    for (uint i = 0; i < count; ++i) {
        const T& x = a[i];
        const T& y = b[i];
        int result;
        if (!x || !y) {
            result = !x ? (!y ? 0 : -1) : 1;
        } else {
            const Element ex{Bytes(x.Text()), nullptr, 0, false};
            const Element ey{Bytes(y.Text()), nullptr, 0, false};
            result = CompareElements(ex, x.Flags(), ey, y.Flags(), m, status);
        }
        if (result != 0) return result;
        if (i + 1 < count && (i + 1 >= haveA || i + 1 >= haveB)) {
            status = KS_SHORT_OPERAND;
            return 0;
        }
    }
    return 0;
}

uint GetP(const uchar* at, uchar order) {
    return (order & 15) == 2 ? uint(at[0]) << 8 | at[1] : uint(at[1]) << 8 | at[0];
}

void PutP(uchar* at, uint p, uchar order) {
    const uchar hi = uchar(p >> 8), lo = uchar(p);
    at[0] = (order & 15) == 2 ? hi : lo;
    at[1] = (order & 15) == 2 ? lo : hi;
}

bool IsWeightMark(uchar mark) { return mark >= KsIStringMarkWeights; }

uchar FlagsOfMark(uchar mark) {
    return IsWeightMark(mark)
               ? uchar(KsWeightedText::IsWeights | (mark & KsWeightedText::FoldAccents))
               : 0;
}

// The strings of a stored operand: from offset 3 up to P, or up to the
// bytes available when fewer.
struct StoredOperand {
    const uchar* p;
    const uchar* end;
    uchar mark;
};

bool OpenStored(const void* image, uint len, uchar format, StoredOperand& out) {
    if (!image || (len != 0 && len < 3)) return false;
    const uchar* in = Bytes(image);
    uint area = GetP(in + 1, format);
    if (len != 0 && area > len - 3) area = len - 3;
    out = {in + 3, in + 3 + area, in[0]};
    return true;
}

Element NextElement(StoredOperand& s) {
    const uint avail = uint(s.end - s.p);
    const void* z = std::memchr(s.p, 0, avail);
    const uint n = z ? uint(Bytes(z) - s.p) : avail;
    const Element e{s.p, s.p + n, n, z == nullptr};
    s.p = z ? Bytes(z) + 1 : s.end;
    return e;
}

int CompareStored(uchar format, uint lenA, const void* a, uint lenB, const void* b, uint count,
                  KsWeightMapId map, int& status) {
    StoredOperand sa, sb;
    if (!OpenStored(a, lenA, format, sa) || !OpenStored(b, lenB, format, sb)) {
        status = KS_SHORT_OPERAND;
        return 0;
    }
    // Weights of the other row's map cannot be compared with this one's.
    for (const StoredOperand* s : {&sa, &sb}) {
        if (IsWeightMark(s->mark) && (s->mark & 1) != map) {
            status = KS_NOT_SUPPORTED;
            return -1;
        }
    }
    const KsWeightPair* m = MapOf(map);
    for (uint i = 0; i < count; ++i) {
        const Element ea = NextElement(sa);
        const Element eb = NextElement(sb);
        // An element beyond the bytes present comes out empty and cut, so
        // a missing element ends the walk with status 2101.
        const int result =
            CompareElements(ea, FlagsOfMark(sa.mark), eb, FlagsOfMark(sb.mark), m, status);
        if (result != 0 || status != 0) return result;
    }
    return 0;
}

// Mode bits select collation options and patterns, which weighted texts
// do not have; they are ignored.
template <class T>
int CompareT(uchar format, uint lenA, void* a, uint lenB, void* b, uint count, KsWeightMapId map,
             int& status) {
    status = 0;
    if (count == 0) return 0;
    if ((format & 15) == 8)
        return CompareInMemory(lenA, static_cast<const T*>(a), lenB, static_cast<const T*>(b),
                               count, map, status);
    return CompareStored(format, lenA, a, lenB, b, count, map, status);
}

}  // namespace

int KsIStringCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                     int& status) {
    return CompareT<KsIString>(format, lenA, a, lenB, b, count, KsDictionaryMap, status);
}

int KsCaseIStringCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                         int& status) {
    return CompareT<KsCaseIString>(format, lenA, a, lenB, b, count, KsCaseBlindMap, status);
}

// ---------------------------------------------------------------------------
// Stored image (drawn in ksistringrow.h).
// ---------------------------------------------------------------------------
namespace {

constexpr uint kMaxP = 0xFFFF;

template <class T>
const T* Values(const void* p) {
    return static_cast<const T*>(p);
}

template <class T>
T* Values(void* p) {
    return static_cast<T*>(p);
}

template <class T>
uint TextSize(const void* mem, uint count) {
    std::size_t total = 3;
    for (uint i = 0; i < count; ++i) total += Values<T>(mem)[i].Len() + 1u;
    return total > 0xFFFFFFFFu ? 0xFFFFFFFFu : uint(total);
}

template <class T>
uint StoreT(void* disk, const void* mem, uchar flag, uint count) {
    if (!disk || (!mem && count)) return 0;
    const uint size = TextSize<T>(mem, count);
    if (size - 3 > kMaxP) return 0;
    uchar* out = static_cast<uchar*>(disk);
    out[0] = (flag & 0x80) ? KsIStringMarkText80 : KsIStringMarkText;
    uchar* at = out + 3;
    for (uint i = 0; i < count; ++i) {
        const T& v = Values<T>(mem)[i];
        const std::size_t n = v.Len() + 1u;  // with the terminator; "" is one 0
        std::memcpy(at, v.StrGet(), n);
        at += n;
    }
    PutP(out + 1, size - 3, flag);
    return size;
}

// Bytes one value takes in the weight form, terminator included.
std::size_t WeightLen(const KsWeightedText& v, const KsWeightPair* map) {
    std::size_t n = v.Len() + 1u;
    if (v.Flags() & KsWeightedText::IsWeights) return n;
    for (const char* p = v.StrGet(); *p; ++p)
        if (map[uchar(*p)].second > 8) ++n;
    return n;
}

template <class T>
uint WeightSizeT(const void* mem, uint count, KsWeightMapId map) {
    std::size_t total = 3;
    for (uint i = 0; i < count; ++i) total += WeightLen(Values<T>(mem)[i], MapOf(map));
    return total > 0xFFFFFFFFu ? 0xFFFFFFFFu : uint(total);
}

template <class T>
uint StoreWeightsT(void* disk, const void* mem, uchar flag, uint count, KsWeightMapId map) {
    if (!disk || (!mem && count)) return 0;
    const uint size = WeightSizeT<T>(mem, count, map);
    if (size - 3 > kMaxP) return 0;
    const KsWeightPair* m = MapOf(map);
    const bool fold = (flag & KsWeightedText::FoldAccents) != 0;
    uchar* out = static_cast<uchar*>(disk);
    out[0] = uchar(KsIStringMarkWeights | (flag & KsWeightedText::FoldAccents) | map);
    uchar* at = out + 3;
    for (uint i = 0; i < count; ++i) {
        const T& v = Values<T>(mem)[i];
        if (v.Flags() & KsWeightedText::IsWeights) {
            const std::size_t n = v.Len() + 1u;
            std::memcpy(at, v.StrGet(), n);
            at += n;
            continue;
        }
        // The walk delivers exactly the bytes to write, expansions included.
        Side s{Bytes(v.StrGet()), nullptr, 0xFFFFFFFFu, 0};
        for (uchar w; (w = NextWeight(s, m, fold)) != 0;) *at++ = w;
        *at++ = 0;
    }
    PutP(out + 1, size - 3, flag);
    return size;
}

template <class T>
uint LoadBoundedT(void* mem, const void* disk, uint diskLen, uchar order, uint count,
                  KsWeightMapId map) {
    if (!disk || (!mem && count) || diskLen < 3) return 0;
    const uchar* in = Bytes(disk);
    const uchar mark = in[0];
    if (IsWeightMark(mark) && (mark & 1) != map) return 0;
    uint area = GetP(in + 1, order);
    if (area > diskLen - 3) area = diskLen - 3;
    // Every string must lie within the image before any value changes.
    uint used = 0;
    for (uint i = 0; i < count; ++i) {
        const void* z = std::memchr(in + 3 + used, 0, area - used);
        if (!z) return 0;
        used = uint(Bytes(z) - in) - 3 + 1;
    }
    const char* at = reinterpret_cast<const char*>(in + 3);
    for (uint i = 0; i < count; ++i) {
        T& v = Values<T>(mem)[i];
        v = at;
        if (IsWeightMark(mark)) v.SetFlags(FlagsOfMark(mark));
        at += std::strlen(at) + 1;
    }
    return 3 + used;
}

template <class T>
void AssignT(void* dst, void* src, uint count, int fill) {
    for (uint i = 0; i < count; ++i) Values<T>(dst)[i] = Values<T>(src)[fill ? 0 : i];
}

template <class T>
uint TranslateT(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat, uint srcLen,
                uint count, KsWeightMapId map) {
    const bool dstMem = dstFormat & 8, srcMem = srcFormat & 8;
    if (!dstMem && srcMem) {
        if (dstLen != 0 && TextSize<T>(src, count) > dstLen) return 0;
        return StoreT<T>(dst, src, dstFormat, count);
    }
    if (!dstMem) {
        return KsCopyStoredImage(dst, dstLen, src, srcLen);  // bytes unchanged
    }
    if (!srcMem)
        return LoadBoundedT<T>(dst, src, srcLen ? srcLen : 0xFFFFFFFFu, srcFormat, count, map);
    AssignT<T>(dst, src, count, 0);
    return uint(count * sizeof(T));
}

}  // namespace

uint KsIStringImageSize(const void* image, uint imageLen, uchar byteOrder, uint count) {
    if (!image || imageLen < 3) return 0;
    const uchar* in = Bytes(image);
    const uint p = GetP(in + 1, byteOrder);
    if (!IsWeightMark(in[0])) return p + 3 <= imageLen ? p + 3 : 0;
    // The weight form is measured string by string: a weight string holds
    // one byte per character plus one per expansion, and its terminator.
    const uint area = p < imageLen - 3 ? p : imageLen - 3;
    uint used = 0;
    for (uint i = 0; i < count; ++i) {
        const void* z = std::memchr(in + 3 + used, 0, area - used);
        if (!z) return 0;
        used = uint(Bytes(z) - in) - 3 + 1;
    }
    return 3 + used;
}

// ---------------------------------------------------------------------------
// Slot functions, one template per slot, named per row below.
// ---------------------------------------------------------------------------
namespace {

template <class T>
void* CreateT(uint count) {
    return new (std::nothrow) T[count ? count : 1];
}

template <class T>
void* DeleteT(void* values) {
    delete[] Values<T>(values);
    return nullptr;
}

template <class T>
uint DiskLenT(const void* mem, uchar kind, uchar flag, uint count) {
    if (((kind | flag) & 0x88) == 0x88) return 0;
    if (kind & 8) return (mem || !count) ? TextSize<T>(mem, count) : 0;
    return KsIStringImageSize(mem, 0xFFFFFFFFu, flag, count);
}

uint DiskLenFromFile(MemFile* file, uchar byteOrder, uint count) {
    if (!file) return 0;
    return KsIStringImageSize(file->Current(), file->Remaining(), byteOrder, count);
}

template <class T>
KsTypeConvertData* ToTextT(void* values, uint count) {
    KsString* strings = new (std::nothrow) KsString[count ? count : 1];
    if (!strings) return nullptr;
    for (uint i = 0; values && i < count; ++i) strings[i] = Values<T>(values)[i].StrGet();
    KsTypeConvertData* carrier = KsTypeConvertData::Make(KsSTRING_T, count, strings, nullptr);
    if (!carrier) delete[] strings;
    return carrier;
}

template <class T>
void* FromTextT(KsTypeConvertData* text, uint count) {
    T* values = static_cast<T*>(CreateT<T>(count));
    if (!values) return nullptr;
    for (uint i = 0; i < count; ++i) {
        const KsString* s = text ? text->GetString(int(i)) : nullptr;
        if (s && !s->IsNullValue()) values[i] = KsSingleByte(*s).Chars();
    }
    return values;
}

template <class T>
void ConstructT(void* values, uint count) {
    for (uint i = 0; i < count; ++i) new (Values<T>(values) + i) T();
}

template <class T>
void DestructT(void* values, uint count) {
    for (uint i = 0; i < count; ++i) Values<T>(values)[i].~T();
}

template <class T>
void CopyT(void* dst, void* src, uint count, int fill) {
    for (uint i = 0; i < count; ++i) new (Values<T>(dst) + i) T(Values<T>(src)[fill ? 0 : i]);
}

void PrintOne(KsString& out, const char* text, const char* format) {
    const int n = std::snprintf(nullptr, 0, format, text);
    if (n <= 0) {
        out = "";
        return;
    }
    std::string buf(std::size_t(n) + 1, '\0');
    std::snprintf(buf.data(), buf.size(), format, text);
    out = buf.c_str();
}

template <class T>
KsString& PrintT(KsString& out, void* value, const char* format, uint count) {
    if (!value || count == 0) {
        out = "";
        return out;
    }
    const char* f = format ? format : "%s";
    PrintOne(out, Values<T>(value)[0].StrGet(), f);
    for (uint i = 1; i < count; ++i) {
        KsString piece;
        PrintOne(piece, Values<T>(value)[i].StrGet(), f);
        out << ",";
        out += piece;
    }
    return out;
}

template <class T>
void* ScanT(void* value, KsString& in, const char* format) {
    if (!value) return nullptr;
    const KsSingleByte text(in);
    T& v = *Values<T>(value);
    if (!format || std::strcmp(format, "%s") == 0) {
        v = text.Chars();
        return value;
    }
    std::string buf(std::strlen(text.Chars()) + 1, '\0');
    v = std::sscanf(text.Chars(), format, buf.data()) == 1 ? buf.c_str() : "";
    return value;
}

}  // namespace

// Row 20.
void* KsIStringCreate(uint count) { return CreateT<KsIString>(count); }
void* KsIStringDelete(void* values, uint) { return DeleteT<KsIString>(values); }
uint KsIStringStore(void* disk, const void* mem, uchar byteOrder, uint count) {
    return StoreT<KsIString>(disk, mem, byteOrder, count);
}
uint KsIStringStoreWeights(void* disk, const void* mem, uchar byteOrder, uint count) {
    return StoreWeightsT<KsIString>(disk, mem, byteOrder, count, KsDictionaryMap);
}
uint KsIStringWeightFormSize(const void* mem, uint count) {
    return WeightSizeT<KsIString>(mem, count, KsDictionaryMap);
}
uint KsIStringLoad(void* mem, const void* disk, uchar byteOrder, uint count) {
    return LoadBoundedT<KsIString>(mem, disk, 0xFFFFFFFFu, byteOrder, count, KsDictionaryMap);
}
uint KsIStringLoadBounded(void* mem, const void* disk, uint diskLen, uchar byteOrder, uint count) {
    return LoadBoundedT<KsIString>(mem, disk, diskLen, byteOrder, count, KsDictionaryMap);
}
uint KsIStringCountSize(uint count) { return 3 + count; }
uint KsIStringDiskLen(const void* mem, uchar kind, uchar flag, uint count) {
    return DiskLenT<KsIString>(mem, kind, flag, count);
}
uint KsIStringDiskLenFromMemFile(MemFile* file, uchar byteOrder, uint count) {
    return DiskLenFromFile(file, byteOrder, count);
}
KsTypeConvertData* KsIStringConvertToKsString(void* values, uint count) {
    return ToTextT<KsIString>(values, count);
}
void* KsIStringConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromTextT<KsIString>(text, count);
}
void KsIStringConstruct(void* values, uint count, uint) { ConstructT<KsIString>(values, count); }
void KsIStringDestruct(void* values, uint count, uint) { DestructT<KsIString>(values, count); }
void KsIStringAssign(void* dst, void* src, uint count, int fill) {
    AssignT<KsIString>(dst, src, count, fill);
}
void KsIStringCopy(void* dst, void* src, uint count, int fill) {
    CopyT<KsIString>(dst, src, count, fill);
}
uint KsIStringTranslate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                        uint srcLen, uint count) {
    return TranslateT<KsIString>(dst, dstFormat, dstLen, src, srcFormat, srcLen, count,
                                 KsDictionaryMap);
}
int KsIStringIsNull(void* value) { return !*Values<KsIString>(value); }
KsString& KsIStringPrintToKsString(KsString& out, void* value, const char* format, uint count) {
    return PrintT<KsIString>(out, value, format, count);
}
void* KsIStringScanFromKsString(void* value, KsString& in, const char* format, uint) {
    return ScanT<KsIString>(value, in, format);
}
void* KsIStringDefaultValue(uint count, int) { return CreateT<KsIString>(count); }
int KsIStringGetValue(void*, uint, uchar, uchar) { return KS_NOT_SUPPORTED; }

// Row 21.
void* KsCaseIStringCreate(uint count) { return CreateT<KsCaseIString>(count); }
void* KsCaseIStringDelete(void* values, uint) { return DeleteT<KsCaseIString>(values); }
uint KsCaseIStringStore(void* disk, const void* mem, uchar byteOrder, uint count) {
    return StoreT<KsCaseIString>(disk, mem, byteOrder, count);
}
uint KsCaseIStringStoreWeights(void* disk, const void* mem, uchar byteOrder, uint count) {
    return StoreWeightsT<KsCaseIString>(disk, mem, byteOrder, count, KsCaseBlindMap);
}
uint KsCaseIStringWeightFormSize(const void* mem, uint count) {
    return WeightSizeT<KsCaseIString>(mem, count, KsCaseBlindMap);
}
uint KsCaseIStringLoad(void* mem, const void* disk, uchar byteOrder, uint count) {
    return LoadBoundedT<KsCaseIString>(mem, disk, 0xFFFFFFFFu, byteOrder, count, KsCaseBlindMap);
}
uint KsCaseIStringLoadBounded(void* mem, const void* disk, uint diskLen, uchar byteOrder,
                              uint count) {
    return LoadBoundedT<KsCaseIString>(mem, disk, diskLen, byteOrder, count, KsCaseBlindMap);
}
uint KsCaseIStringCountSize(uint count) { return 3 + count; }
uint KsCaseIStringDiskLen(const void* mem, uchar kind, uchar flag, uint count) {
    return DiskLenT<KsCaseIString>(mem, kind, flag, count);
}
uint KsCaseIStringDiskLenFromMemFile(MemFile* file, uchar byteOrder, uint count) {
    return DiskLenFromFile(file, byteOrder, count);
}
KsTypeConvertData* KsCaseIStringConvertToKsString(void* values, uint count) {
    return ToTextT<KsCaseIString>(values, count);
}
void* KsCaseIStringConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromTextT<KsCaseIString>(text, count);
}
void KsCaseIStringConstruct(void* values, uint count, uint) {
    ConstructT<KsCaseIString>(values, count);
}
void KsCaseIStringDestruct(void* values, uint count, uint) {
    DestructT<KsCaseIString>(values, count);
}
void KsCaseIStringAssign(void* dst, void* src, uint count, int fill) {
    AssignT<KsCaseIString>(dst, src, count, fill);
}
void KsCaseIStringCopy(void* dst, void* src, uint count, int fill) {
    CopyT<KsCaseIString>(dst, src, count, fill);
}
uint KsCaseIStringTranslate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                            uint srcLen, uint count) {
    return TranslateT<KsCaseIString>(dst, dstFormat, dstLen, src, srcFormat, srcLen, count,
                                     KsCaseBlindMap);
}
int KsCaseIStringIsNull(void* value) { return !*Values<KsCaseIString>(value); }
KsString& KsCaseIStringPrintToKsString(KsString& out, void* value, const char* format, uint count) {
    return PrintT<KsCaseIString>(out, value, format, count);
}
void* KsCaseIStringScanFromKsString(void* value, KsString& in, const char* format, uint) {
    return ScanT<KsCaseIString>(value, in, format);
}
void* KsCaseIStringDefaultValue(uint count, int) { return CreateT<KsCaseIString>(count); }
int KsCaseIStringGetValue(void*, uint, uchar, uchar) { return KS_NOT_SUPPORTED; }
