// Text helpers shared by the print and scan slots: a string's characters as
// single bytes, and the check for the null print string at the start of a
// scanned text.
#ifndef KSTEXTUTIL_H
#define KSTEXTUTIL_H

#include <cstddef>
#include <string>

#include "ksdefs.h"
#include "ksstring.h"

// A text's characters as single bytes: a string held in a 16-bit code set is
// converted to `codeSet` first; an 8-bit one is read as it stands. Holds a
// pointer to the string it was made from, so it must not outlive it.
class KsSingleByte {
public:
    explicit KsSingleByte(const KsString& s) : KsSingleByte(s, KsString::GetDefault8CodeSet()) {}
    KsSingleByte(const KsString& s, uchar codeSet);
    KsSingleByte(const KsSingleByte&) = delete;
    KsSingleByte& operator=(const KsSingleByte&) = delete;

    const char* Chars() const { return text_->StrGet(); }
    std::size_t Len() const { return text_->Len(); }
    std::string Str() const { return std::string(Chars(), Len()); }

    // True when the text begins with the whole null print string, taken to
    // single bytes through the same code set and compared byte for byte.
    bool BeginsWithNullPrint() const;

private:
    const KsString* text_;
    KsString converted_;
    uchar codeSet_;
};

// The characters of `s` as single-byte text, bounded by the string's length.
inline std::string KsSingleByteText(const KsString& s, uchar codeSet) {
    return KsSingleByte(s, codeSet).Str();
}

#endif
