// Bulk text conversion of the null-capable rows, built on the plain rows'
// conversions so that values read and print exactly as their plain kinds.
#include "ksnullconv.h"

#include <cstring>
#include <new>

#include "ksstring.h"

namespace {

// The plain kind under each null-capable row.
int PlainOf(int id) {
    switch (id) {
    case KsNULL_1B_T: return Ks1B_T;
    case KsNULL_U1B_T: return KsU1B_T;
    case KsNULL_2B_T: return Ks2B_T;
    case KsNULL_U2B_T: return KsU2B_T;
    case KsNULL_INT_T: return KsINT_T;
    case KsNULL_UNSIGNED_T: return KsUNSIGNED_T;
    case KsNULL_4B_T: return Ks4B_T;
    case KsNULL_U4B_T: return KsU4B_T;
    case KsNULL_FLOAT_T: return KsFLOAT_T;
    case KsNULL_DOUBLE_T: return KsDOUBLE_T;
    case KsNULL_KSINT64_T: return KsINT64_T;
    case KsNULL_8B_T: return Ks8B_T;
    case KsNULL_U8B_T: return KsU8B_T;
    default: return -1;
    }
}

template <int Id>
KsTypeConvertData* ToText(void* values, uint count) {
    const KsTypeDescriptor& row = *KsCurrentTypeTable()[Id];
    const KsTypeDescriptor& plain = *KsCurrentTypeTable()[PlainOf(Id)];
    const std::size_t size = row.layout & 0xFFFF;
    KsString* strings = new (std::nothrow) KsString[count == 0 ? 1 : count];
    if (!strings) return nullptr;
    for (uint i = 0; values && i < count; ++i) {  // no values: empty texts
        void* element = static_cast<char*>(values) + i * size;
        if (row.isNull(element)) {
            strings[i].SetNullValue();
            continue;
        }
        // The value sits at the start of the element.
        if (KsTypeConvertData* one = plain.toText(element, 1)) {
            if (KsString* s = one->GetString(0)) strings[i].Destruct(*s);
            delete[] static_cast<KsString*>(one->data);
            one->data = nullptr;
            delete one;
        }
    }
    return KsTypeConvertData::Make(KsSTRING_T, count, strings, nullptr);
}

template <int Id>
void* FromText(KsTypeConvertData* text, uint count) {
    const KsTypeDescriptor& row = *KsCurrentTypeTable()[Id];
    const KsTypeDescriptor& plain = *KsCurrentTypeTable()[PlainOf(Id)];
    const std::size_t size = row.layout & 0xFFFF;
    const std::size_t valueSize = plain.layout & 0xFFFF;
    void* values = row.defaultValue(count, 0);  // every element null
    if (!values) return nullptr;
    for (uint i = 0; i < count; ++i) {
        KsString* s = text ? text->GetString(static_cast<int>(i)) : nullptr;
        if (!s || s->IsNullValue()) continue;
        KsString copy(*s);
        KsTypeConvertData* one = KsTypeConvertData::Make(KsSTRING_T, 1, &copy, nullptr);
        if (!one) continue;
        void* value = plain.fromText(one, 1);
        delete one;
        if (!value) continue;
        char* element = static_cast<char*>(values) + i * size;
        std::memcpy(element, value, valueSize);
        element[valueSize] = 0;  // the flag follows the value
        plain.destroy(value, 1);
    }
    return values;
}

struct Entry {
    int id;
    KsToTextFunc to;
    KsFromTextFunc from;
};

#define KS_NULL_CONV(id) {id, &ToText<id>, &FromText<id>}
const Entry kEntries[] = {KS_NULL_CONV(28), KS_NULL_CONV(29), KS_NULL_CONV(30), KS_NULL_CONV(31),
                          KS_NULL_CONV(32), KS_NULL_CONV(33), KS_NULL_CONV(34), KS_NULL_CONV(35),
                          KS_NULL_CONV(36), KS_NULL_CONV(37), KS_NULL_CONV(38), KS_NULL_CONV(44),
                          KS_NULL_CONV(45)};
#undef KS_NULL_CONV

}  // namespace

KsToTextFunc KsNullToTextFunc(int id) {
    for (const Entry& e : kEntries)
        if (e.id == id) return e.to;
    return nullptr;
}

KsFromTextFunc KsNullFromTextFunc(int id) {
    for (const Entry& e : kEntries)
        if (e.id == id) return e.from;
    return nullptr;
}
