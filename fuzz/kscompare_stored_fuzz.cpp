// Compares arbitrary stored images with the variable-length comparators
// (strings in the current and old image, case-insensitive strings, blobs).
// Input: a control byte (bits 0..1 pick the comparator, bit 2 the byte
// order, bits 3..6 the element count), a mode word, then the two operands
// split at a length byte. Each operand is a heap copy of exactly its bytes
// and is passed with that length, so any read past it trips the sanitizer.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ksblob.h"
#include "ksistring.h"
#include "ksstrcmp.h"
#include "kstypes.h"

namespace {

void Check(bool ok) {
    if (!ok) std::abort();
}

const KsTypeCmpFunc kCompare[] = {&StringCompare, &StringCompareOld, &KsIStringCompare,
                                  &BlobCompare};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4 || size > 4096) return 0;
    const KsTypeCmpFunc cmp = kCompare[data[0] & 3];
    const uchar format = (data[0] & 4) ? 2 : 1;
    const uint count = 1 + ((data[0] >> 3) & 15);
    const ushort mode = static_cast<ushort>(data[1] | (data[2] << 8));
    const size_t rest = size - 4;
    const size_t split = rest ? data[3] % (rest + 1) : 0;
    std::vector<uchar> a(data + 4, data + 4 + split);
    std::vector<uchar> b(data + 4 + split, data + size);
    // Empty operands still need a valid address; a length of 0 would mean
    // "unbounded", so they are not compared.
    if (a.empty() || b.empty()) return 0;
    int status = -1;
    const int r = cmp(format, static_cast<uint>(a.size()), a.data(), static_cast<uint>(b.size()),
                      b.data(), mode, count, status);
    if (!(mode & 0x80)) Check(r >= -1 && r <= 1);
    // An operand equals itself unless it ran short or was refused.
    int again = -1;
    const int self = cmp(format, static_cast<uint>(a.size()), a.data(), static_cast<uint>(a.size()),
                         a.data(), static_cast<ushort>(mode & ~0x80), count, again);
    Check(self == 0 || again != 0);
    return 0;
}
