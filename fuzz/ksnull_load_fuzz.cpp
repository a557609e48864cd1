// Loads null-capable scalar arrays from arbitrary bytes. Input: one control
// byte (bits 0..3 pick the row among the thirteen null-capable ones, bit 4
// the byte order 1 or 2), then the image. The element count is what the
// image holds wholly; the row's load gets a heap copy of exactly those
// bytes. Loading, comparing and storing back must agree: the stored image
// equals the input with every flag byte other than 1 read as 0.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ksbase.h"
#include "ksnull.h"

namespace {

void Check(bool ok) {
    if (!ok) std::abort();
}

const int kRows[] = {28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 44, 45};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1 || size > (1u << 16)) return 0;
    const int id = kRows[(data[0] & 15) % 13];
    const uchar order = (data[0] & 16) ? 2 : 1;
    const KsNullRowSlots* s = KsNullSlotsGet(id);
    Check(s != nullptr);

    MemFile none(nullptr, 0);
    const uint width = s->diskLenFile(&none, order, 1);
    Check(width >= 2 && width <= 9);
    const uint count = static_cast<uint>((size - 1) / width);
    if (count == 0) return 0;
    const uint len = count * width;
    Check(s->countSize(count) == len);
    std::vector<uchar> image(data + 1, data + 1 + len);

    void* values = s->create(count);
    Check(values != nullptr);
    Check(s->load(values, image.data(), order, count) == len);

    int status = -1;
    Check(s->compare(order, len, image.data(), len, image.data(), 0, count, status) == 0);
    Check(status == 0);

    std::vector<uchar> back(len);
    Check(s->store(back.data(), values, order, count) == len);
    for (uint i = 0; i < count; ++i) {
        const uchar* in = &image[i * width];
        const uchar* out = &back[i * width];
        Check(out[0] == (in[0] == 1 ? 1 : 0));
        if (in[0] == 1) {
            for (uint k = 1; k < width; ++k) Check(out[k] == 0);  // a null holds 0
        } else {
            Check(std::memcmp(in + 1, out + 1, width - 1) == 0);
        }
    }
    s->destroy(values, count);
    return 0;
}
