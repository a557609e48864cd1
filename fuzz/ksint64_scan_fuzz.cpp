// Arbitrary bytes as the text of KsInt64::ScanFromKsString under every
// directive, with literal text around it, in both character widths. The scan
// must stay inside the text and leave a value; a successful scan under a
// plain directive must survive printing and scanning again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "ksint64.h"
#include "ksstring.h"

namespace {

const char* const kFormats[] = {nullptr, "%S", "%d", "%i", "%o", "%x", "%X",
                                "%S;", "v=%d,%x", "%q%S", "%", "%%S", "[%X]"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Exactly `size` bytes of text: the string stops at the first zero byte.
    const KsString text(reinterpret_cast<const char*>(data),
                        static_cast<unsigned short>(size > 60000 ? 60000 : size));

    // The same bytes widened, to go through the narrowing copy.
    std::vector<unsigned short> wide(size + 1, 0);
    for (std::size_t i = 0; i < size; ++i) wide[i] = data[i] ? data[i] : 1;
    const KsString wideText(wide.data());

    for (const char* f : kFormats) {
        KsInt64 v(7);
        v.ScanFromKsString(text, f);
        KsInt64 w(7);
        w.ScanFromKsString(wideText, f);

        // Printing under a single directive and scanning back is exact for
        // every value except 0 under %d/%i (printed "0", read as octal).
        if (f && f[0] == '%' && f[1] && !f[2] && f[1] != '%') {
            KsString printed;
            v.PrintToKsString(printed, f);
            KsInt64 back;
            back.ScanFromKsString(printed, f);
            const bool zeroDecimal = v == KsInt64(0) && (f[1] == 'd' || f[1] == 'i');
            if (!zeroDecimal && back != v) std::abort();
        }
    }
    return 0;
}
