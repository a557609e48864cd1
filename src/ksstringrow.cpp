// Life-cycle slots of the string row: arrays of KsString built, copied,
// null-marked and freed for the type manager.
#include "ksstringrow.h"

#include <new>

#include "ksstring.h"

namespace {

KsString* AsStrings(void* p) { return static_cast<KsString*>(p); }

}  // namespace

void* StringCreate(uint count) { return new (std::nothrow) KsString[count == 0 ? 1 : count]; }

void* StringDelete(void* values, uint) {
    delete[] AsStrings(values);
    return nullptr;
}

void StringConstruct(void* values, uint count, uint) {
    for (uint i = 0; i < count; ++i) new (AsStrings(values) + i) KsString();
}

void StringDestruct(void* values, uint count, uint) {
    for (uint i = 0; i < count; ++i) AsStrings(values)[i].~KsString();
}

void StringAssign(void* dst, void* src, uint count, int fill) {
    KsString* d = AsStrings(dst);
    KsString* s = AsStrings(src);
    for (uint i = 0; i < count; ++i) d[i] = s[fill ? 0 : i];
}

// Copy constructs into raw memory.
void StringCopy(void* dst, void* src, uint count, int fill) {
    KsString* d = AsStrings(dst);
    KsString* s = AsStrings(src);
    for (uint i = 0; i < count; ++i) new (d + i) KsString(s[fill ? 0 : i]);
}

int StringIsNull(void* value) { return AsStrings(value)->IsNullValue(); }

int StringSetNull(void* value) { return AsStrings(value)->SetNullValue(); }

void* StringDefaultValue(uint count, int) { return StringCreate(count); }
