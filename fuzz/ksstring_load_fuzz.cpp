// Loads string arrays from arbitrary bytes. Input: one control byte (bit 0:
// byte order 1 or 2; bits 1..4: element count 0..15; bits 5..7: size option
// bits 0x20, 0x40, 0x80), then the image. The bounded readers get the
// input's size; the unbounded load gets a heap copy of exactly the bytes the
// bounded one consumed, so any read beyond them trips the sanitizer. What
// loads must store back (current and old image) and load again unchanged.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ksbase.h"
#include "ksstring.h"
#include "ksstringstorerow.h"

namespace {

void Check(bool ok)
{
    if (!ok)
        std::abort();
}

// Equal values: an empty text held as a bare terminator and no buffer at all
// have the same image, so they count as the same.
bool Same(const KsString& a, const KsString& b)
{
    if (a.CodeSet() != b.CodeSet() || a.Language() != b.Language())
        return false;
    const uint width = a.Width();
    const uint sa = a.Size() <= width ? 0 : a.Size();
    const uint sb = b.Size() <= width ? 0 : b.Size();
    return sa == sb && (sa == 0 || std::memcmp(a.Text(), b.Text(), sa) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > (1u << 20))
        return 0;
    const uchar order = (data[0] & 1) ? 2 : 1;
    const uint count = (data[0] >> 1) & 15;
    const uchar options = data[0] & 0xE0;
    const uint len = static_cast<uint>(size - 1);
    std::vector<uchar> image(data + 1, data + size);
    const uchar* img = image.empty() ? nullptr : image.data();

    KsString bounded[16];
    const uint got = StringLoadBounded(bounded, img, len, order, count);
    Check(got <= len);

    const uint sized = StringSizeGetBounded(img, len, order, count);
    Check(sized <= len);
    StringSizeGetBounded(img, len, order | options, count);  // any value, but no fault

    MemFile file(img, len);
    Check(StringDiskLenFromMemFile(&file, order, count) == sized && file.Tell() == 0);
    Check(StringDiskLenFromMemFileOld(&file, order, count) <= len && file.Tell() == 0);

    if (got == 0)
        return 0;
    Check(sized == got);

    // The unbounded load on exactly the consumed bytes agrees.
    std::vector<uchar> exact(img, img + got);
    KsString unbounded[16];
    Check(StringLoad(unbounded, exact.data(), order, count) == got);
    Check(StringSizeGet(exact.data(), 0, order, count) == got);
    for (uint i = 0; i < count; ++i)
        Check(Same(bounded[i], unbounded[i]));

    // Current image: stores and loads back the same values.
    const uint need = StringSizeGet(bounded, 8, order, count);
    std::vector<uchar> again(need);
    Check(StringStore(again.data(), bounded, order, count) == need);
    KsString reloaded[16];
    Check(StringLoadBounded(reloaded, again.data(), need, order, count) == need);
    for (uint i = 0; i < count; ++i)
        Check(Same(reloaded[i], bounded[i]));

    // Old image: as many texts come back (as zero-terminated 8-bit text).
    const uint oldNeed = StringDiskLenOld(bounded, 8, order, count);
    if (oldNeed != 0) {
        std::vector<uchar> old(oldNeed);
        Check(StringStoreOld(old.data(), bounded, order, count) == oldNeed);
        KsString texts[16];
        Check(StringLoadBounded(texts, old.data(), oldNeed, order, count) == oldNeed);
    }
    return 0;
}
