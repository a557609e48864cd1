// Loads blob arrays from arbitrary bytes in both byte orders. Input: one
// control byte (bit 0: byte order 1 or 2; bits 1..4: element count 0..15),
// then the image. The bounded load and the comparator get the input's size;
// the row's unbounded load gets a heap copy of exactly the bytes the image's
// total promises, so that any read beyond them trips the sanitizer. Whatever
// loads must store back to the same bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ksbase.h"
#include "ksblob.h"
#include "ksblobrow.h"

namespace {

void Check(bool ok) {
    if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1 || size > (1u << 20)) return 0;
    const uchar order = (data[0] & 1) ? 2 : 1;
    const uint count = (data[0] >> 1) & 15;
    const uint len = static_cast<uint>(size - 1);
    // A copy of exactly the image, so the sanitizer sees the real end.
    std::vector<uchar> image(data + 1, data + size);
    const uchar* img = image.empty() ? nullptr : image.data();

    KsBlob bounded[16];
    const uint got = BlobLoadBounded(bounded, img, len, order, count);
    Check(got == 0 || (got >= 4 && got <= len));

    MemFile file(img, len);
    const uint fileSize = BlobDiskLenFromMemFile(&file, order, count);
    Check(file.Tell() == 0 && fileSize <= len);

    // A length of 0 would mean "trust the image", so only bounded walks here.
    int status = 0;
    if (len > 0) BlobCompare(order, len, image.data(), len, image.data(), 0, count, status);

    if (got != 0) {
        Check(fileSize == got);
        // The row's load on exactly the promised bytes agrees with the bounded one.
        std::vector<uchar> exact(img, img + got);
        KsBlob unbounded[16];
        Check(BlobLoad(unbounded, exact.data(), order, count) == got);
        for (uint i = 0; i < count; ++i) Check((bounded[i] != unbounded[i]) == 0);

        // Storing the loaded elements gives a well-formed image that loads back equal.
        const uint need = BlobDiskLen(bounded, 8, order, count);
        std::vector<uchar> again(need);
        Check(BlobStore(again.data(), bounded, order, count) == need);
        KsBlob reloaded[16];
        Check(BlobLoadBounded(reloaded, again.data(), need, order, count) == need);
        for (uint i = 0; i < count; ++i) Check((reloaded[i] == bounded[i]) == 1);
        status = 0;
        Check(BlobCompare(order, 0, again.data(), need, again.data(), 0, count, status) == 0);
        Check(status == 0);
    }
    return 0;
}
