// Code sets: the registry, the per-code-set tables built once from ICU, the
// Unicode property cache and the bulk converter KsConvertText. After a table
// is built nothing here calls ICU again, so conversion is table lookups only.
#include "ksi18n.h"

#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/unorm2.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>

namespace {

// ---------------------------------------------------------------------------
// Registry. ICU names are the canonical converter names of ICU 72 (aliases
// such as "windows-1252" are ambiguous there). ISO-8859-16 (id 15) is left
// out: the ICU data of the platform lacks its converter.
// ---------------------------------------------------------------------------
constexpr KsCodeSet kCodeSets[] = {
    {1, "ISO-8859-1", "ISO-8859-1"},
    {2, "ISO-8859-2", "ibm-912_P100-1995"},
    {3, "ISO-8859-3", "ibm-913_P100-2000"},
    {4, "ISO-8859-4", "ibm-914_P100-1995"},
    {5, "ISO-8859-5", "ibm-915_P100-1995"},
    {6, "ISO-8859-6", "ibm-1089_P100-1995"},
    {7, "ISO-8859-7", "ibm-9005_X110-2007"},
    {8, "ISO-8859-8", "ibm-5012_P100-1999"},
    {9, "ISO-8859-9", "ibm-920_P100-1995"},
    {10, "ISO-8859-10", "iso-8859_10-1998"},
    {11, "ISO-8859-11", "iso-8859_11-2001"},
    {12, "ISO-8859-13", "ibm-921_P100-1995"},
    {13, "ISO-8859-14", "iso-8859_14-1998"},
    {14, "ISO-8859-15", "ibm-923_P100-1998"},
    {16, "Windows-1250", "ibm-5346_P100-1998"},
    {17, "Windows-1251", "ibm-5347_P100-1998"},
    {18, "Windows-1252", "ibm-5348_P100-1997"},
    {19, "Windows-1253", "ibm-5349_P100-1998"},
    {20, "Windows-1254", "ibm-5350_P100-1998"},
    {21, "Windows-1255", "ibm-9447_P100-2002"},
    {22, "Windows-1256", "ibm-9448_X100-2005"},
    {23, "Windows-1257", "ibm-9449_P100-2002"},
    {24, "Windows-1258", "ibm-5354_P100-1998"},
    {25, "IBM437", "ibm-437_P100-1995"},
    {26, "IBM850", "ibm-850_P100-1995"},
    {27, "KOI8-R", "ibm-878_P100-1996"},
    {28, "KOI8-U", "ibm-1168_P100-2002"},
    {29, "IBM037", "ibm-37_P100-1995"},
    {KS_CS_UNICODE, "Unicode", "UTF-16"},
};
constexpr int kCount = int(sizeof(kCodeSets) / sizeof(kCodeSets[0]));
constexpr int kCount8 = kCount - 1;  // the 8-bit ones come first
constexpr const KsCodeSet& kUnicode = kCodeSets[kCount - 1];
static_assert(kUnicode.Id() == KS_CS_UNICODE);

// Ids up to this one keep plain ASCII below 0x80 whatever ICU says.
constexpr uchar kLastAsciiId = 26;

// id -> index into kCodeSets, -1 when unassigned.
constexpr std::array<signed char, 256> kIndex = [] {
    std::array<signed char, 256> index{};
    for (auto& i : index)
        i = -1;
    for (int i = 0; i < kCount; ++i)
        index[kCodeSets[i].Id()] = static_cast<signed char>(i);
    return index;
}();

constexpr std::array<const KsCodeSet*, kCount + 1> kList = [] {
    std::array<const KsCodeSet*, kCount + 1> list{};
    for (int i = 0; i < kCount; ++i)
        list[i] = &kCodeSets[i];
    list[kCount] = nullptr;
    return list;
}();

constexpr ushort kNone = 0xFFFF;   // reverse-map entry: no byte for this character
constexpr ushort kUndefined = 0xFFFD;
constexpr uchar kSub8 = 0x1A;

constexpr std::array<ushort, 256> kNonePage = [] {
    std::array<ushort, 256> page{};
    for (auto& e : page)
        e = kNone;
    return page;
}();

// ---------------------------------------------------------------------------
// Unicode properties straight from ICU.
// ---------------------------------------------------------------------------
KsUnicodeProps UndefinedProps()
{
    return KsUnicodeProps{kUndefined, kUndefined, kUndefined, kUndefined, 0, 0, 0};
}

ushort Bmp(UChar32 c, ushort otherwise) { return c >= 0 && c <= 0xFFFF ? ushort(c) : otherwise; }

KsUnicodeProps ComputeProps(ushort u)
{
    KsUnicodeProps p{};
    p.unicode = u;
    p.upper = Bmp(u_toupper(u), u);
    p.lower = Bmp(u_tolower(u), u);
    const int8_t cat = u_charType(u);
    p.category = static_cast<signed char>(cat);
    const uint32_t mask = U_MASK(cat);
    uchar f = 0;
    if (u_isdefined(u))
        f |= KS_UP_DEFINED;
    if (u_isUWhiteSpace(u) || cat == U_CONTROL_CHAR)
        f |= KS_UP_SPACE;
    if (u_isalpha(u))
        f |= KS_UP_ALPHA;
    if (u_isdigit(u))
        f |= KS_UP_DIGIT;
    if (u_isupper(u))
        f |= KS_UP_UPPER;
    if (u_islower(u))
        f |= KS_UP_LOWER;
    if (mask & (U_GC_P_MASK | U_GC_S_MASK))
        f |= KS_UP_PUNCT;
    if (u_hasBinaryProperty(u, UCHAR_IDEOGRAPHIC))
        f |= KS_UP_IDEO;
    p.flags = f;

    p.base = u;
    p.mark = 0;
    UErrorCode err = U_ZERO_ERROR;
    const UNormalizer2* nfd = unorm2_getNFDInstance(&err);
    UChar buf[32];
    const int32_t len = U_SUCCESS(err) ? unorm2_getDecomposition(nfd, u, buf, 32, &err) : -1;
    if (U_SUCCESS(err) && len > 0) {
        int32_t i = 0;
        UChar32 c;
        U16_NEXT(buf, i, len, c);
        p.base = Bmp(c, u);
        if (i < len) {
            U16_NEXT(buf, i, len, c);
            if (u_getCombiningClass(c) != 0 || (U_GET_GC_MASK(c) & U_GC_M_MASK))
                p.mark = Bmp(c, 0);
        }
    }
    return p;
}

// 16-bit code sets share one lazily filled cache of 256 pages.
std::atomic<const KsUnicodeProps*> gUnicodePages[256];

const KsUnicodeProps& UnicodeProps(ushort u)
{
    std::atomic<const KsUnicodeProps*>& slot = gUnicodePages[u >> 8];
    const KsUnicodeProps* page = slot.load(std::memory_order_acquire);
    if (!page) {
        auto fresh = std::make_unique<KsUnicodeProps[]>(256);
        for (uint i = 0; i < 256; ++i)
            fresh[i] = ComputeProps(ushort((u & 0xFF00) | i));
        const KsUnicodeProps* expected = nullptr;
        if (slot.compare_exchange_strong(expected, fresh.get(), std::memory_order_acq_rel))
            page = fresh.release();  // owned by the cache for the process lifetime
        else
            page = expected;         // another thread won; ours is dropped
    }
    return page[u & 0xFF];
}

}  // namespace

// ---------------------------------------------------------------------------
// Tables of one 8-bit code set. Forward: byte -> Unicode (U+FFFD undefined).
// Reverse: two levels, page per high byte of the Unicode value, each entry a
// byte or kNone; pages no character uses share kNonePage.
// ---------------------------------------------------------------------------
struct KsCodeSetTables {
    std::once_flag convOnce;
    std::once_flag propsOnce;
    ushort toU[256];
    const ushort* revPage[256];
    ushort* revStore;  // never freed: conversions may run during static destruction
    KsUnicodeProps props[256];

    int Rev(ushort u) const
    {
        const ushort b = revPage[u >> 8][u & 0xFF];
        return b == kNone ? -1 : b;
    }
    uchar RevOrSub(ushort u) const
    {
        const ushort b = revPage[u >> 8][u & 0xFF];
        return b == kNone ? kSub8 : uchar(b);
    }

    void BuildConv(const KsCodeSet& cs);
    void BuildProps();
};

namespace {

KsCodeSetTables gTables[kCount8];

// Composed 8->8 tables, made on first use of a pair.
std::atomic<const uchar*> gComposed[kCount8][kCount8];

}  // namespace

void KsCodeSetTables::BuildConv(const KsCodeSet& cs)
{
    UErrorCode err = U_ZERO_ERROR;
    UConverter* cnv = ucnv_open(cs.IcuName(), &err);
    if (U_FAILURE(err)) {
        cnv = nullptr;
    } else {
        // Undefined bytes must be seen, not replaced by ICU's substitute.
        ucnv_setToUCallBack(cnv, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &err);
        ucnv_setFromUCallBack(cnv, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &err);
    }
    for (uint b = 0; b < 256; ++b) {
        toU[b] = kUndefined;
        if (cnv) {
            const char in = static_cast<char>(b);
            UChar out[4];
            err = U_ZERO_ERROR;
            const int32_t n = ucnv_toUChars(cnv, out, 4, &in, 1, &err);
            if (U_SUCCESS(err) && n == 1 && !U16_IS_SURROGATE(out[0]))
                toU[b] = out[0];
        }
        // ICU's PC code pages swap the controls 0x1A, 0x1C and 0x7F; the
        // ASCII promise for low ids wins (and keeps 0x1A the substitute).
        if (b < 0x80 && (cs.Id() <= kLastAsciiId || !cnv))
            toU[b] = ushort(b);
    }

    // Reverse map: invert the forward table. Should two bytes give the same
    // character, the one ICU itself encodes it to is kept.
    int pageOf[256];
    int pages = 0;
    for (auto& p : pageOf)
        p = -1;
    for (uint b = 0; b < 256; ++b)
        if (toU[b] != kUndefined && pageOf[toU[b] >> 8] < 0)
            pageOf[toU[b] >> 8] = pages++;
    revStore = new ushort[std::size_t(pages) * 256];
    std::fill_n(revStore, std::size_t(pages) * 256, kNone);
    for (uint hi = 0; hi < 256; ++hi)
        revPage[hi] = pageOf[hi] < 0 ? kNonePage.data() : revStore + std::size_t(pageOf[hi]) * 256;
    for (uint b = 0; b < 256; ++b) {
        const ushort u = toU[b];
        if (u == kUndefined)
            continue;
        ushort& slot = revStore[std::size_t(pageOf[u >> 8]) * 256 + (u & 0xFF)];
        if (slot == kNone) {
            slot = ushort(b);
            continue;
        }
        if (cnv) {
            char out[4];
            err = U_ZERO_ERROR;
            const UChar in = u;
            if (ucnv_fromUChars(cnv, out, 4, &in, 1, &err) == 1 && U_SUCCESS(err) &&
                static_cast<uchar>(out[0]) == b)
                slot = ushort(b);
        }
    }
    if (cnv)
        ucnv_close(cnv);
}

void KsCodeSetTables::BuildProps()
{
    for (uint b = 0; b < 256; ++b)
        props[b] = toU[b] == kUndefined ? UndefinedProps() : UnicodeProps(toU[b]);
}

namespace {

// Tables of an assigned 8-bit code set, built on first use.
const KsCodeSetTables& Tables(int index)
{
    KsCodeSetTables& t = gTables[index];
    std::call_once(t.convOnce, [&] { t.BuildConv(kCodeSets[index]); });
    return t;
}

// Index of the 8-bit code set whose tables convert text labelled `id`, or
// -1 for 16-bit (Unicode) text.
int TextIndex(uchar id)
{
    if (KsCodeSetIsWide(id))
        return -1;
    int i = kIndex[id];
    if (i < 0)
        i = kIndex[KsLanguageContext::GetNativeCodeSet()];
    return i;
}

const uchar* Composed(int from, int to)
{
    std::atomic<const uchar*>& slot = gComposed[from][to];
    const uchar* table = slot.load(std::memory_order_acquire);
    if (table)
        return table;
    const KsCodeSetTables& s = Tables(from);
    const KsCodeSetTables& d = Tables(to);
    auto fresh = std::make_unique<uchar[]>(256);
    for (uint b = 0; b < 256; ++b)
        fresh[b] = d.RevOrSub(s.toU[b]);
    const uchar* expected = nullptr;
    if (slot.compare_exchange_strong(expected, fresh.get(), std::memory_order_acq_rel))
        return fresh.release();  // kept for the process lifetime
    return expected;
}

// 16-bit units in machine order, at any alignment.
inline ushort Load16(const uchar* p)
{
    ushort u;
    std::memcpy(&u, p, 2);
    return u;
}
inline void Store16(uchar* p, ushort u) { std::memcpy(p, &u, 2); }

}  // namespace

// ---------------------------------------------------------------------------
// KsCodeSet
// ---------------------------------------------------------------------------
const KsCodeSet& KsCodeSet::ForText(uchar id)
{
    const int i = TextIndex(id);
    return i < 0 ? kUnicode : kCodeSets[i];
}

const ushort* KsCodeSet::ToUnicodeTable() const
{
    const int i = kIndex[id_];
    return i >= 0 && i < kCount8 ? Tables(i).toU : nullptr;
}

ushort KsCodeSet::ToUnicode(ushort ch) const
{
    if (IsWide())
        return ch;
    return ch > 0xFF ? kUndefined : Tables(TextIndex(id_)).toU[ch];
}

int KsCodeSet::FromUnicode(ushort u) const
{
    if (IsWide())
        return u;
    return Tables(TextIndex(id_)).Rev(u);
}

ushort KsCodeSet::FromUnicodeOrSub(ushort u) const
{
    if (IsWide())
        return u;
    return Tables(TextIndex(id_)).RevOrSub(u);
}

int KsCodeSet::GetUnicodeProps(ushort ch, KsUnicodeProps& props) const
{
    if (IsWide()) {
        props = UnicodeProps(ch);
        return KS_OK;
    }
    if (ch > 0xFF)
        return KS_INVALID_ARGUMENT;
    const int i = TextIndex(id_);
    KsCodeSetTables& t = gTables[i];
    Tables(i);
    std::call_once(t.propsOnce, [&] { t.BuildProps(); });
    props = t.props[ch];
    return KS_OK;
}

// ---------------------------------------------------------------------------
// Registry queries of the context.
// ---------------------------------------------------------------------------
const KsCodeSet* KsLanguageContext::QueryCodeSet(uchar id)
{
    if (id == KS_CS_NATIVE)
        id = GetNativeCodeSet();
    const int i = kIndex[id];
    return i < 0 ? nullptr : &kCodeSets[i];
}

const KsCodeSet* const* KsLanguageContext::CodeSets() { return kList.data(); }

// ---------------------------------------------------------------------------
// Bulk conversion.
// ---------------------------------------------------------------------------
uint KsConvertText(void* dst, uchar dstCs, const void* src, uchar srcCs, uint n)
{
    if (!dst || !src || n == 0)
        return 0;
    uchar* d = static_cast<uchar*>(dst);
    const uchar* s = static_cast<const uchar*>(src);
    const int si = TextIndex(srcCs);
    const int di = TextIndex(dstCs);
    uint i = 0;

    if (si >= 0 && di >= 0) {
        if (si == di) {
            const void* zero = std::memchr(s, 0, n);
            i = zero ? uint(static_cast<const uchar*>(zero) - s) : n;
            std::memcpy(d, s, i);
            return i;
        }
        const uchar* map = Composed(si, di);
        for (; i < n && s[i]; ++i)
            d[i] = map[s[i]];
        return i;
    }
    if (si >= 0) {  // 8 -> 16
        const ushort* toU = Tables(si).toU;
        for (; i < n && s[i]; ++i)
            Store16(d + 2 * i, toU[s[i]]);
        return i;
    }
    if (di >= 0) {  // 16 -> 8
        const KsCodeSetTables& t = Tables(di);
        for (; i < n; ++i) {
            const ushort u = Load16(s + 2 * i);
            if (!u)
                break;
            d[i] = t.RevOrSub(u);
        }
        return i;
    }
    for (; i < n; ++i) {  // 16 -> 16: every 16-bit code set holds Unicode
        const ushort u = Load16(s + 2 * i);
        if (!u)
            break;
        Store16(d + 2 * i, u);
    }
    return i;
}
