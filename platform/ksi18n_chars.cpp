// The character layer: KsChar (a character held or referred to inside a
// text) and KsStringIterator (a walk over a zero-terminated text). Mapping
// between code sets goes through Unicode with the code sets' tables.
#include "ksi18n.h"

#include <cstring>

namespace {

// A 16-bit slot, in machine order or high byte first, at any alignment.
inline ushort Load16(const uchar* p, bool highFirst)
{
    if (highFirst)
        return ushort((p[0] << 8) | p[1]);
    ushort u;
    std::memcpy(&u, p, 2);
    return u;
}

inline void Store16(uchar* p, ushort u, bool highFirst)
{
    if (highFirst) {
        p[0] = uchar(u >> 8);
        p[1] = uchar(u);
    } else {
        std::memcpy(p, &u, 2);
    }
}

inline bool FormatIsHighFirst(uchar format) { return (format & 0x0F) == 2; }

}  // namespace

// ---------------------------------------------------------------------------
// KsChar
// ---------------------------------------------------------------------------
KsChar::KsChar(void* ref, uchar codeSet, uchar language)
    : ref_(ref), code_(0), codeSet_(codeSet), language_(language)
{
}

KsChar::KsChar(void* ref, uchar codeSet, uchar language, uchar format)
    : ref_(ref), code_(0), codeSet_(codeSet), language_(language),
      highFirst_(FormatIsHighFirst(format))
{
}

ushort KsChar::Code() const
{
    if (!ref_)
        return code_;
    const uchar* p = static_cast<const uchar*>(ref_);
    return KsCodeSetIsWide(codeSet_) ? Load16(p, highFirst_) : *p;
}

KsChar& KsChar::operator=(const KsChar& other)
{
    if (this == &other)
        return *this;
    const ushort from = other.Code();
    const KsCodeSet& src = KsCodeSet::ForText(other.codeSet_);
    const KsCodeSet& dst = KsCodeSet::ForText(codeSet_);
    ushort to;
    if (&src == &dst && (dst.IsWide() || from <= 0xFF))
        to = from;
    else
        to = dst.FromUnicodeOrSub(src.ToUnicode(from));

    if (!ref_) {
        code_ = to;
    } else if (KsCodeSetIsWide(codeSet_)) {
        Store16(static_cast<uchar*>(ref_), to, highFirst_);
    } else {
        *static_cast<uchar*>(ref_) = uchar(to);
    }
    return *this;
}

ushort KsChar::ToUnicode() const { return KsCodeSet::ForText(codeSet_).ToUnicode(Code()); }

int KsChar::IsSpace() const
{
    // Orders below 80 are the space class. The ideographic layout has no
    // classes (every order is the character code), so those characters are
    // classed by the neutral language.
    const uchar language = KsCollation::IsIdeographic(language_) ? 0 : language_;
    return KsCollation::Order(Code(), codeSet_, language) < 80 ? 1 : 0;
}

// ---------------------------------------------------------------------------
// KsStringIterator
// ---------------------------------------------------------------------------
KsStringIterator::KsStringIterator(const void* text, uchar codeSet, uchar language, uchar format)
    : text_(static_cast<const uchar*>(text)), pos_(0), codeSet_(codeSet), language_(language),
      format_(format)
{
}

const void* KsStringIterator::Pointer() const
{
    return text_ ? text_ + std::size_t(pos_) * KsCodeSetWidth(codeSet_) : nullptr;
}

ushort KsStringIterator::Current() const
{
    if (!text_)
        return 0;
    const uchar* p = static_cast<const uchar*>(Pointer());
    return KsCodeSetIsWide(codeSet_) ? Load16(p, FormatIsHighFirst(format_)) : *p;
}

int KsStringIterator::AtEnd() const { return Current() == 0 ? 1 : 0; }

KsChar KsStringIterator::Ref()
{
    // A null text has no slot to write into: hand out a detached zero.
    if (!text_)
        return KsChar(ushort(0), codeSet_, language_);
    return KsChar(const_cast<void*>(Pointer()), codeSet_, language_, format_);
}

// Stepping by characters abandons an expansion that GetNextOrder began.
void KsStringIterator::Next()
{
    pendingCount_ = 0;
    if (!AtEnd())
        ++pos_;
}

ushort KsStringIterator::GetNextChar()
{
    pendingCount_ = 0;
    const ushort c = Current();
    if (c)
        ++pos_;
    return c;
}
