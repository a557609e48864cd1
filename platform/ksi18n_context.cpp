// The language context: process-wide defaults, the language registry and the
// start/stop entry point. The defaults are relaxed atomics: the callers set
// them up before concurrent use, the atomics only keep racing readers defined.
#include "ksi18n.h"

#include <array>
#include <atomic>

namespace {

constexpr uchar kDefaultCodeSet = KS_CS_NATIVE;
constexpr uchar kDefault8CodeSet = KS_CS_NATIVE;
constexpr uchar kDefault16CodeSet = KS_CS_UNICODE;
constexpr uchar kDefaultLanguage = 0;
// Order comparison with exact tie-breaks: plain equality is exact and free
// of wildcards unless a caller asks for more.
constexpr ushort kDefaultCmpOp = 0x110;
// ISO-8859-1: every byte survives a trip through Unicode.
constexpr uchar kDefaultNative = KS_CS_ISO8859_1;

std::atomic<uchar> gCodeSet{kDefaultCodeSet};
std::atomic<uchar> g8CodeSet{kDefault8CodeSet};
std::atomic<uchar> g16CodeSet{kDefault16CodeSet};
std::atomic<uchar> gLanguage{kDefaultLanguage};
std::atomic<ushort> gCmpOp{kDefaultCmpOp};
std::atomic<uchar> gNative{kDefaultNative};

constexpr auto kRelaxed = std::memory_order_relaxed;

// Locales are those of ICU's collation data ("no" is its Norwegian).
constexpr KsLanguage kLanguages[] = {
    {0, "Neutral", "root"},    {1, "English", "en"},     {2, "German", "de"},
    {3, "French", "fr"},       {4, "Spanish", "es"},     {5, "Italian", "it"},
    {6, "Dutch", "nl"},        {7, "Danish", "da"},      {8, "Norwegian", "no"},
    {9, "Swedish", "sv"},      {10, "Finnish", "fi"},    {11, "Portuguese", "pt"},
    {12, "Icelandic", "is"},   {13, "Polish", "pl"},     {14, "Czech", "cs"},
    {15, "Hungarian", "hu"},   {16, "Turkish", "tr"},    {17, "Greek", "el"},
    {18, "Russian", "ru"},     {20, "Chinese", "zh"},    {21, "Japanese", "ja"},
    {22, "Korean", "ko"},      {KS_LANG_NULLMARK, "Null", "root"},
};
constexpr int kLanguageCount = int(sizeof(kLanguages) / sizeof(kLanguages[0]));

constexpr std::array<signed char, 256> kLanguageIndex = [] {
    std::array<signed char, 256> index{};
    for (auto& i : index)
        i = -1;
    for (int i = 0; i < kLanguageCount; ++i)
        index[kLanguages[i].Id()] = static_cast<signed char>(i);
    return index;
}();

constexpr std::array<const KsLanguage*, kLanguageCount + 1> kLanguageList = [] {
    std::array<const KsLanguage*, kLanguageCount + 1> list{};
    for (int i = 0; i < kLanguageCount; ++i)
        list[i] = &kLanguages[i];
    list[kLanguageCount] = nullptr;
    return list;
}();

}  // namespace

uchar KsLanguageContext::GetDefaultCodeSet() { return gCodeSet.load(kRelaxed); }
void KsLanguageContext::SetDefaultCodeSet(uchar codeSet) { gCodeSet.store(codeSet, kRelaxed); }
uchar KsLanguageContext::GetDefault8CodeSet() { return g8CodeSet.load(kRelaxed); }
void KsLanguageContext::SetDefault8CodeSet(uchar codeSet) { g8CodeSet.store(codeSet, kRelaxed); }
uchar KsLanguageContext::GetDefault16CodeSet() { return g16CodeSet.load(kRelaxed); }
void KsLanguageContext::SetDefault16CodeSet(uchar codeSet) { g16CodeSet.store(codeSet, kRelaxed); }
uchar KsLanguageContext::GetDefaultLanguage() { return gLanguage.load(kRelaxed); }
void KsLanguageContext::SetDefaultLanguage(uchar language) { gLanguage.store(language, kRelaxed); }
ushort KsLanguageContext::GetDefaultCmpOp() { return gCmpOp.load(kRelaxed); }
void KsLanguageContext::SetDefaultCmpOp(ushort op) { gCmpOp.store(op, kRelaxed); }
uchar KsLanguageContext::GetNativeCodeSet() { return gNative.load(kRelaxed); }

void KsLanguageContext::SetNativeCodeSet(uchar codeSet)
{
    // Text of code set 0 is 8-bit, so only an assigned 8-bit set can stand for it.
    if (codeSet == KS_CS_NATIVE || KsCodeSetIsWide(codeSet) || !QueryCodeSet(codeSet))
        return;
    gNative.store(codeSet, kRelaxed);
}

const KsLanguage* KsLanguageContext::QueryLanguage(uchar id)
{
    const int i = kLanguageIndex[id];
    return i < 0 ? nullptr : &kLanguages[i];
}

const KsLanguage* const* KsLanguageContext::Languages() { return kLanguageList.data(); }

void KsLanguageContext::Reset()
{
    gCodeSet.store(kDefaultCodeSet, kRelaxed);
    g8CodeSet.store(kDefault8CodeSet, kRelaxed);
    g16CodeSet.store(kDefault16CodeSet, kRelaxed);
    gLanguage.store(kDefaultLanguage, kRelaxed);
    gCmpOp.store(kDefaultCmpOp, kRelaxed);
    gNative.store(kDefaultNative, kRelaxed);
}

int ___KsI18NContext(int start)
{
    if (start)
        KsLanguageContext::Reset();
    return 0;
}
