// The two type tables and the dispatcher KsTypeMgr.
//
// Rows are built once, on first use, into process-wide mutable storage (the
// exchange operations write into them). Each table is padded on both sides
// with the reserved row so that ids 47..99 and negative ids, which callers
// must not pass, land on inert functions instead of outside the table.
#include "kstypes.h"

#include <cstring>
#include <initializer_list>
#include <new>

#include "ksbase.h"
#include "ksblobrow.h"
#include "ksbooleanrow.h"
#include "ksint64.h"
#include "ksint64row.h"
#include "ksistring.h"
#include "ksistringrow.h"
#include "ksnull.h"
#include "ksnullconv.h"
#include "ksnulltext.h"
#include "ksscalartext.h"
#include "ksscalar.h"
#include "ksstrcmp.h"
#include "ksstring.h"
#include "ksstringrow.h"
#include "ksstringstorerow.h"
#include "kstypcmp.h"
#include "kstypes_internal.h"

namespace {

// ---------------------------------------------------------------------------
// The reserved row's inert functions: a call through an id of 100 and up
// (or through a slot still pending) is harmless.
// ---------------------------------------------------------------------------
void* ResCreate(uint) { return nullptr; }
void* ResDelete(void*, uint) { return nullptr; }
uint ResStore(void*, const void*, uchar, uint) { return 0; }
uint ResLoad(void*, const void*, uchar, uint) { return 0; }
uint ResCountSize(uint) { return 0; }
uint ResDiskLen(const void*, uchar, uchar, uint) { return 0; }
uint ResDiskLenFile(MemFile*, uchar, uint) { return 0; }
int ResCompare(uchar, uint, void*, uint, void*, ushort, uint, int& status) {
    status = 0;
    return 0;
}
float ResBound(KsIdxBounds*, ushort&, void*, uchar, uint, KsIdxBounds*) { return 1.0f; }
uint ResHash(uchar, uint, void*, uint, int& status) {
    status = KS_NOT_SUPPORTED;
    return 0;
}
KsTypeConvertData* ResToText(void*, uint) { return nullptr; }
void* ResFromText(KsTypeConvertData*, uint) { return nullptr; }
void ResConstruct(void*, uint, uint) {}
void ResDestruct(void*, uint, uint) {}
void ResAssign(void*, void*, uint, int) {}
void ResCopy(void*, void*, uint, int) {}
uint ResTranslate(void*, uchar, uint, void*, uchar, uint, uint) { return 0; }
KsString& ResPrint(KsString& out, void*, const char*, uint) { return out; }
void* ResScan(void* value, KsString&, const char*, uint) { return value; }
void* ResDefaultValue(uint, int) { return nullptr; }
int ResGetValue(void*, uint, uchar, uchar) { return KS_NOT_SUPPORTED; }
// Stand-in for a set-null still pending: -2999 makes SetNullValue fall back.
int PendingSetNull(void*) { return KS_NOT_SUPPORTED; }

constexpr KsTypeDescriptor kReserved = {
    "illegal", "KsRES_T", &ResCreate, &ResDelete, &ResStore, &ResLoad, &ResCountSize,
    &ResDiskLen, &ResDiskLenFile, &ResCompare, &ResBound, &ResHash, &ResToText, &ResFromText,
    &ResConstruct, &ResDestruct, &ResAssign, &ResCopy, &ResTranslate, &ScalarIsNull, nullptr,
    "illegal", &ResPrint, &ResScan, KsLayoutWord(0, true), &ResDefaultValue, &ResGetValue,
    nullptr};

// ---------------------------------------------------------------------------
// Row catalogue: name, id name, default format, in-memory size, fixed flag
// and the slots left empty by design.
// ---------------------------------------------------------------------------
enum EmptySet { kNone, kScalar /* 4-7, 20 */, kNoSetNull /* 20 */, kInterval /* 6, 7, 20 */ };

struct RowInfo {
    const char* name;
    const char* idName;
    const char* format;
    uint size;
    bool fixed;
    EmptySet empty;
};

constexpr RowInfo kRows[KsTypeRowCount] = {
    {"o_char", "Ks1B_T", "%c", 1, true, kScalar},
    {"o_2b", "Ks2B_T", "%hd", 2, true, kScalar},
    {"o_4b", "Ks4B_T", "%ld", 4, true, kScalar},
    {"o_double", "KsDOUBLE_T", "%.17g", 8, true, kScalar},
    {"o_float", "KsFLOAT_T", "%.17g", 4, true, kScalar},
    {"o_u2b", "KsU2B_T", "%hu", 2, true, kScalar},
    {"o_u4b", "KsU4B_T", "%lu", 4, true, kScalar},
    {"int", "KsINT_T", "%d", 4, true, kScalar},
    {"unsigned", "KsUNSIGNED_T", "%u", 4, true, kScalar},
    {"enum", "KsENUM_T", "%d", 4, true, kScalar},
    {"o_u1b", "KsU1B_T", "%c", 1, true, kScalar},
    {"KsString", "KsSTRING_T", "%s", sizeof(KsString), false, kNone},
    {"KsDate", "KsDATE_T", "%a %e.%b %Y", 4, true, kNone},
    {"KsTime", "KsTIME_T", "%I:%M:%S %p", 3, true, kNone},
    {"BlockId", "KsBLOCKID_T", "#%lu", 4, true, kScalar},
    {"KsObjId", "KsOBJID_T", "(%H-%L#%B)", 12, true, kNone},
    {"KsClassId", "KsCLID_T", "(%Cv%V)", 4, true, kNone},
    {"KsRef", "KsREF_T", "(%D:%H-%L#%B, %C)", 16, true, kNone},
    {"KsBlob", "KsBLOB_T", "[BLOB,len=%L]", sizeof(void*), false, kNone},
    {"KsDateTime", "KsDATIME_T", "%a %e.%b %Y %I:%M:%S %p", 8, true, kNone},
    {"KsIString", "KsISTRING_T", "%s", sizeof(KsIString), false, kNoSetNull},
    {"KsCaseIString", "KsCASEISTRING_T", "%s", sizeof(KsCaseIString), false, kNoSetNull},
    {"d_Date", "D_DATE_T", "%a %b %e", 4, true, kNoSetNull},
    {"d_Time", "D_TIME_T", "%I:%M:%S %p", 6, true, kNoSetNull},
    {"d_Timestamp", "D_TIMESTAMP_T", "%a %b %e %I:%M:%S %p", 10, true, kNoSetNull},
    {"d_Interval", "D_INTERVAL_T", "%e days, %I hours, %M minutes, %S seconds", 4, true, kInterval},
    {"KsInt64", "KsINT64_T", "%S", 8, true, kNoSetNull},
    {"KsBoolean", "KsBOOLEAN_T", "noop", 1, true, kNone},
    {"KsNull_char", "KsNULL_1B_T", "%c", 2, true, kNone},
    {"KsNull_uchar", "KsNULL_U1B_T", "%c", 2, true, kNone},
    {"KsNull_short", "KsNULL_2B_T", "%hd", 4, true, kNone},
    {"KsNull_ushort", "KsNULL_U2B_T", "%hu", 4, true, kNone},
    {"KsNull_int", "KsNULL_INT_T", "%d", 8, true, kNone},
    {"KsNull_unsigned", "KsNULL_UNSIGNED_T", "%u", 8, true, kNone},
    {"KsNull_long", "KsNULL_4B_T", "%ld", 8, true, kNone},
    {"KsNull_ulong", "KsNULL_U4B_T", "%lu", 8, true, kNone},
    {"KsNull_float", "KsNULL_FLOAT_T", "%.17g", 8, true, kNone},
    {"KsNull_double", "KsNULL_DOUBLE_T", "%.17g", 16, true, kNone},
    {"KsNull_KsInt64", "KsNULL_KSINT64_T", "%S", 12, true, kNone},
    {"KsSeal", "KsSEAL_T", "noop", 6, true, kNoSetNull},
    {"KsDateTimeN", "KsDATIME_N_T", "%X", 12, true, kNone},
    {"KsTimeSpan", "KsTIMESPAN_T", "%V", 12, true, kNone},
    {"o_8b", "Ks8B_T", "%I64d", 8, true, kScalar},
    {"o_u8b", "KsU8B_T", "%I64u", 8, true, kScalar},
    {"KsNull_8b", "KsNULL_8B_T", "%I64d", 16, true, kNone},
    {"KsNull_u8b", "KsNULL_U8B_T", "%I64u", 16, true, kNone},
    {"illegal", "KsRES_T", "illegal", 0, true, kNoSetNull},
};

bool EmptyByDesign(EmptySet set, int slot) {
    if (slot == 27) return true;
    switch (set) {
    case kScalar: return (slot >= 4 && slot <= 7) || slot == 20;
    case kNoSetNull: return slot == 20;
    case kInterval: return slot == 6 || slot == 7 || slot == 20;
    case kNone: return false;
    }
    return false;
}

// ---------------------------------------------------------------------------
// Slots not built yet. Every entry holds the reserved row's inert function
// (or PendingSetNull for slot 20) until its kind is completed. Keep this list
// the single place where the gaps are visible.
// ---------------------------------------------------------------------------
#define KS_SCALAR_PENDING(id) {id, 10}, {id, 11}
#define KS_NULL_PENDING(id) {id, 10}, {id, 11}
#define KS_ALL_PENDING(id)                                                                      \
    {id, 2}, {id, 3}, {id, 4}, {id, 5}, {id, 6}, {id, 7}, {id, 8}, {id, 9}, {id, 10}, {id, 11}, \
        {id, 12}, {id, 13}, {id, 14}, {id, 15}, {id, 16}, {id, 17}, {id, 18}, {id, 19},        \
        {id, 20}, {id, 22}, {id, 23}, {id, 25}, {id, 26}

constexpr KsPendingSlots kPending[] = {
    // Scalars: bounds and hashing.
    KS_SCALAR_PENDING(0), KS_SCALAR_PENDING(1), KS_SCALAR_PENDING(2), KS_SCALAR_PENDING(3),
    KS_SCALAR_PENDING(4), KS_SCALAR_PENDING(5), KS_SCALAR_PENDING(6), KS_SCALAR_PENDING(7),
    KS_SCALAR_PENDING(8), KS_SCALAR_PENDING(9), KS_SCALAR_PENDING(10), KS_SCALAR_PENDING(14),
    KS_SCALAR_PENDING(42), KS_SCALAR_PENDING(43),
    // Strings: bounds and hashing.
    {11, 10}, {11, 11},
    // Dates and times, identity, blobs, case-insensitive strings, ODMG types,
    // 64-bit integers, booleans, null-capable scalars, seals.
    KS_ALL_PENDING(12), KS_ALL_PENDING(13), KS_ALL_PENDING(15), KS_ALL_PENDING(16),
    KS_ALL_PENDING(17), KS_ALL_PENDING(19), KS_ALL_PENDING(22), KS_ALL_PENDING(23),
    KS_ALL_PENDING(24), KS_ALL_PENDING(25), KS_ALL_PENDING(39), KS_ALL_PENDING(40),
    KS_ALL_PENDING(41),
    // Null-capable scalars: bounds and hashing.
    KS_NULL_PENDING(28), KS_NULL_PENDING(29), KS_NULL_PENDING(30), KS_NULL_PENDING(31),
    KS_NULL_PENDING(32), KS_NULL_PENDING(33), KS_NULL_PENDING(34), KS_NULL_PENDING(35),
    KS_NULL_PENDING(36), KS_NULL_PENDING(37), KS_NULL_PENDING(38), KS_NULL_PENDING(44),
    KS_NULL_PENDING(45),
    // Blobs, booleans and 64-bit integers: hashing and bounds.
    {18, 10}, {18, 11}, {27, 10}, {27, 11}, {26, 10}, {26, 11},
    {20, 10}, {20, 11}, {21, 10}, {21, 11},
};
#undef KS_SCALAR_PENDING
#undef KS_NULL_PENDING
#undef KS_ALL_PENDING

// Old string row: its own storage, comparison, bounds, hashing, translate.
constexpr KsPendingSlots kOldStringPending[] = {{11, 10}, {11, 11}};

void** SlotAddress(KsTypeDescriptor& row, int slot) {
    return reinterpret_cast<void**>(&row) + slot;
}

void PutInert(KsTypeDescriptor& row, int slot) {
    if (slot == 20) {
        row.setNull = &PendingSetNull;
        return;
    }
    std::memcpy(SlotAddress(row, slot), reinterpret_cast<const void* const*>(&kReserved) + slot,
                sizeof(void*));
}

void ClearSlot(KsTypeDescriptor& row, int slot) { *SlotAddress(row, slot) = nullptr; }

void ApplyScalar(KsTypeDescriptor& row, KsScalarKind kind) {
    const KsScalarSlots& s = KsScalarSlotsGet(kind);
    row.create = s.create;
    row.destroy = s.destroy;
    row.diskLenFile = s.diskLenFile;
    row.construct = s.construct;
    row.destruct = s.destruct;
    row.assign = s.assign;
    row.copy = s.copy;
    row.translate = s.translate;
    row.isNull = &ScalarIsNull;
    row.defaultValue = s.defaultValue;
    row.getValue = s.getValue;
}

// Rows whose kinds bring a complete set of slot functions.
#define KS_WIRE_ROW(row, Kind)                           \
    do {                                                 \
        (row).create = &Kind##Create;                    \
        (row).destroy = &Kind##Delete;                   \
        (row).store = &Kind##Store;                      \
        (row).load = &Kind##Load;                        \
        (row).countSize = &Kind##CountSize;              \
        (row).diskLen = &Kind##DiskLen;                  \
        (row).diskLenFile = &Kind##DiskLenFromMemFile;   \
        (row).compare = &Kind##Compare;                  \
        (row).toText = &Kind##ConvertToKsString;         \
        (row).fromText = &Kind##ConvertFromKsString;     \
        (row).construct = &Kind##Construct;              \
        (row).destruct = &Kind##Destruct;                \
        (row).assign = &Kind##Assign;                    \
        (row).copy = &Kind##Copy;                        \
        (row).translate = &Kind##Translate;              \
        (row).isNull = &Kind##IsNull;                    \
        (row).print = &Kind##PrintToKsString;            \
        (row).scan = &Kind##ScanFromKsString;            \
        (row).defaultValue = &Kind##DefaultValue;        \
        (row).getValue = &Kind##GetValue;                \
    } while (0)

struct Tables {
    // 256 entries each; the table pointer addresses entry 128, so every
    // signed 8-bit row index lands inside.
    KsTypeDescriptor* current[256];
    KsTypeDescriptor* old[256];
    KsTypeDescriptor rows[KsTypeRowCount];
    KsTypeDescriptor oldString;
    KsTypeDescriptor reserved;

    Tables() {
        reserved = kReserved;
        for (int id = 0; id < KsTypeRowCount; ++id) {
            KsTypeDescriptor& row = rows[id];
            const RowInfo& info = kRows[id];
            row = KsTypeDescriptor{};
            row.name = info.name;
            row.idName = info.idName;
            row.format = info.format;
            row.layout = KsLayoutWord(info.size, info.fixed);
        }
        static const struct {
            int id;
            KsScalarKind kind;
        } scalars[] = {{0, KsScalarKind::Char},   {1, KsScalarKind::Short},
                       {2, KsScalarKind::Long},   {3, KsScalarKind::Double},
                       {4, KsScalarKind::Float},  {5, KsScalarKind::UShort},
                       {6, KsScalarKind::ULong},  {7, KsScalarKind::Int},
                       {8, KsScalarKind::Unsigned}, {9, KsScalarKind::Enum},
                       {10, KsScalarKind::UChar}, {14, KsScalarKind::ULong},
                       {42, KsScalarKind::I64},   {43, KsScalarKind::U64}};
        for (const auto& s : scalars) {
            ApplyScalar(rows[s.id], s.kind);
            rows[s.id].compare = KsScalarComparator(s.id);
        }
        // Text: rows of equal representation share print and scan.
        static const struct {
            int id;
            KsToTextFunc to;
            KsFromTextFunc from;
            KsPrintFunc print;
            KsScanFunc scan;
        } texts[] = {
            {0, &CharConvertToKsString, &CharConvertFromKsString, &CharPrintToKsString, &CharScanFromKsString},
            {10, &O_U1BConvertToKsString, &O_U1BConvertFromKsString, &CharPrintToKsString, &CharScanFromKsString},
            {1, &ShortConvertToKsString, &ShortConvertFromKsString, &ShortPrintToKsString, &ShortScanFromKsString},
            {5, &WordConvertToKsString, &WordConvertFromKsString, &ShortPrintToKsString, &ShortScanFromKsString},
            {2, &LongConvertToKsString, &LongConvertFromKsString, &LongPrintToKsString, &LongScanFromKsString},
            {6, &ULongConvertToKsString, &ULongConvertFromKsString, &LongPrintToKsString, &LongScanFromKsString},
            {14, &BlockIdConvertToKsString, &BlockIdConvertFromKsString, &LongPrintToKsString, &LongScanFromKsString},
            {7, &IntConvertToKsString, &IntConvertFromKsString, &IntPrintToKsString, &IntScanFromKsString},
            {8, &UnsignedConvertToKsString, &UnsignedConvertFromKsString, &IntPrintToKsString, &IntScanFromKsString},
            {9, &EnumConvertToKsString, &EnumConvertFromKsString, &IntPrintToKsString, &IntScanFromKsString},
            {3, &DoubleConvertToKsString, &DoubleConvertFromKsString, &DoublePrintToKsString, &DoubleScanFromKsString},
            {4, &FloatConvertToKsString, &FloatConvertFromKsString, &FloatPrintToKsString, &FloatScanFromKsString},
            {42, &O_8BConvertToKsString, &O_8BConvertFromKsString, &O_8BPrintToKsString, &O_8BScanFromKsString},
            {43, &O_U8BConvertToKsString, &O_U8BConvertFromKsString, &O_U8BPrintToKsString, &O_U8BScanFromKsString},
        };
        for (const auto& t : texts) {
            rows[t.id].toText = t.to;
            rows[t.id].fromText = t.from;
            rows[t.id].print = t.print;
            rows[t.id].scan = t.scan;
        }
        for (int id : {28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 44, 45}) {
            const KsNullRowSlots* n = KsNullSlotsGet(id);
            KsTypeDescriptor& row = rows[id];
            row.create = n->create;
            row.destroy = n->destroy;
            row.store = n->store;
            row.load = n->load;
            row.countSize = n->countSize;
            row.diskLen = n->diskLen;
            row.diskLenFile = n->diskLenFile;
            row.compare = n->compare;
            row.construct = n->construct;
            row.destruct = n->destruct;
            row.assign = n->assign;
            row.copy = n->copy;
            row.translate = n->translate;
            row.isNull = n->isNull;
            row.setNull = n->setNull;
            row.defaultValue = n->defaultValue;
            row.getValue = n->getValue;
            row.toText = KsNullToTextFunc(id);
            row.fromText = KsNullFromTextFunc(id);
        }
        static const struct {
            int id;
            KsPrintFunc print;
            KsScanFunc scan;
        } nullTexts[] = {
            {28, &KsNullCharPrintToKsString, &KsNullCharScanFromKsString},
            {29, &KsNullUCharPrintToKsString, &KsNullUCharScanFromKsString},
            {30, &KsNullShortPrintToKsString, &KsNullShortScanFromKsString},
            {31, &KsNullUShortPrintToKsString, &KsNullUShortScanFromKsString},
            {32, &KsNullIntPrintToKsString, &KsNullIntScanFromKsString},
            {33, &KsNullUnsignedPrintToKsString, &KsNullUnsignedScanFromKsString},
            {34, &KsNullLongPrintToKsString, &KsNullLongScanFromKsString},
            {35, &KsNullULongPrintToKsString, &KsNullULongScanFromKsString},
            {36, &KsNullFloatPrintToKsString, &KsNullFloatScanFromKsString},
            {37, &KsNullDoublePrintToKsString, &KsNullDoubleScanFromKsString},
            {38, &KsNullKsInt64PrintToKsString, &KsNullKsInt64ScanFromKsString},
            {44, &KsNull8BPrintToKsString, &KsNull8BScanFromKsString},
            {45, &KsNullU8BPrintToKsString, &KsNullU8BScanFromKsString},
        };
        for (const auto& t : nullTexts) {
            rows[t.id].print = t.print;
            rows[t.id].scan = t.scan;
        }

        KsTypeDescriptor& str = rows[KsSTRING_T];
        str.create = &StringCreate;
        str.destroy = &StringDelete;
        str.construct = &StringConstruct;
        str.destruct = &StringDestruct;
        str.assign = &StringAssign;
        str.copy = &StringCopy;
        str.isNull = &StringIsNull;
        str.setNull = &StringSetNull;
        str.defaultValue = &StringDefaultValue;
        str.compare = &StringCompare;
        str.store = &StringStore;
        str.load = &StringLoad;
        str.countSize = &StringCountSize;
        str.diskLen = &StringSizeGet;
        str.diskLenFile = &StringDiskLenFromMemFile;
        str.toText = &StringConvertToKsString;
        str.fromText = &StringConvertFromKsString;
        str.translate = &StringTranslate;
        str.print = &StringPrintToKsString;
        str.scan = &StringScanFromKsString;
        str.getValue = &StringGetValue;

        KS_WIRE_ROW(rows[KsBLOB_T], Blob);
        rows[KsBLOB_T].setNull = &BlobSetNull;
        KS_WIRE_ROW(rows[KsBOOLEAN_T], Boolean);
        rows[KsBOOLEAN_T].setNull = &BooleanSetNull;
        KS_WIRE_ROW(rows[KsISTRING_T], KsIString);
        KS_WIRE_ROW(rows[KsCASEISTRING_T], KsCaseIString);

        KsTypeDescriptor& i64 = rows[KsINT64_T];
        i64.create = &Int64Create;
        i64.destroy = &Int64Delete;
        i64.store = &Int64Store;
        i64.load = &Int64Load;
        i64.countSize = &Int64CountSize;
        i64.diskLen = &Int64DiskLen;
        i64.diskLenFile = &Int64DiskLenFile;
        i64.compare = &Int64Compare;
        i64.toText = &Int64ConvertToKsString;
        i64.fromText = &Int64ConvertFromKsString;
        i64.construct = &Int64Construct;
        i64.destruct = &Int64Destruct;
        i64.assign = &Int64Assign;
        i64.copy = &Int64Copy;
        i64.translate = &Int64Translate;
        i64.isNull = &ScalarIsNull;
        i64.print = &Int64Print;
        i64.scan = &Int64Scan;
        i64.defaultValue = &Int64DefaultValue;
        i64.getValue = &Int64GetValue;

        for (const KsPendingSlots& p : kPending) PutInert(rows[p.id], p.slot);
        for (int id = 0; id < KsTypeRowCount - 1; ++id)
            for (int slot = 2; slot < 28; ++slot)
                if (EmptyByDesign(kRows[id].empty, slot)) ClearSlot(rows[id], slot);
        rows[KsRES_T] = reserved;

        // The old string row shares everything but its storage, comparison,
        // bounds, hashing, translation and null handling.
        oldString = rows[KsSTRING_T];
        for (const KsPendingSlots& p : kOldStringPending) PutInert(oldString, p.slot);
        oldString.isNull = &ScalarIsNull;
        oldString.setNull = nullptr;
        oldString.getValue = &ResGetValue;
        oldString.compare = &StringCompareOld;
        oldString.store = &StringStoreOld;
        oldString.diskLen = &StringDiskLenOld;
        oldString.diskLenFile = &StringDiskLenFromMemFileOld;
        oldString.translate = &StringTranslateOld;

        for (int i = 0; i < 256; ++i) {
            const int row = i - 128;
            current[i] = (row >= 0 && row < KsTypeRowCount) ? &rows[row] : &rows[KsRES_T];
            old[i] = (row >= 0 && row < KsOldTypeRowCount) ? &rows[row] : &rows[KsRES_T];
        }
        old[128 + KsSTRING_T] = &oldString;
    }
};

Tables& TheTables() {
    static Tables tables;
    return tables;
}

KsString& NullPrintString() {
    static KsString text("{NULL}");
    return text;
}

KsString& ZeroScanText() {
    static KsString text("0");
    return text;
}

KsTypeMgr* g_defaultMgr = nullptr;

void PickTable(uint version, KsTypeDescriptor**& table, ushort& level) {
    if (version >= 12) {
        table = KsCurrentTypeTable();
        level = 4;
    } else if (version == 11) {
        table = KsOldTypeTable();
        level = 3;
    } else if (version >= 4) {
        table = KsCurrentTypeTable();
        level = static_cast<ushort>(version);
    } else {
        table = KsOldTypeTable();
        level = static_cast<ushort>(version);
    }
}

// Characters of a string (either width), for the older text forms.
uint CharAt(const KsString& s, uint i) {
    if (s.Width() == 2) {
        ushort u;
        std::memcpy(&u, s.StrGet() + 2 * i, 2);
        return u;
    }
    return static_cast<uchar>(s.StrGet()[i]);
}

bool Contains(const KsString& s, uint c) {
    const uint n = s.Len();
    for (uint i = 0; i < n; ++i)
        if (CharAt(s, i) == c) return true;
    return false;
}

}  // namespace

// ---------------------------------------------------------------------------
// Tables and introspection.
// ---------------------------------------------------------------------------
KsTypeDescriptor** KsCurrentTypeTable() { return TheTables().current + 128; }
KsTypeDescriptor** KsOldTypeTable() { return TheTables().old + 128; }

const KsTypeDescriptor& KsReservedRow() { return TheTables().rows[KsRES_T]; }

const KsPendingSlots* KsPendingSlotList(uint* count) {
    if (count) *count = sizeof(kPending) / sizeof(kPending[0]);
    return kPending;
}

bool KsSlotIsEmptyByDesign(int id, int slot, bool oldTable) {
    if (id < 0 || id >= KsTypeRowCount || slot < 2 || slot > 27) return false;
    if (oldTable && id == KsSTRING_T && (slot == 20 || slot == 27)) return true;
    return EmptyByDesign(kRows[id].empty, slot);
}

const void* KsTypeSlotGet(const KsTypeDescriptor* row, int slot) {
    if (!row || slot < 0 || slot > 27) return nullptr;
    const void* p;
    std::memcpy(&p, reinterpret_cast<const void* const*>(row) + slot, sizeof(p));
    return p;
}

int KsTypeSlotPending(int row, int slot) {
    for (const KsPendingSlots& p : kPending)
        if (p.id == row && p.slot == slot) return 1;
    return 0;
}

// ---------------------------------------------------------------------------
// KsTypeConvertData.
// ---------------------------------------------------------------------------
KsTypeConvertData* KsTypeConvertData::Make(char type, uint count, void* data, KsTypeMgr* owner) {
    KsTypeConvertData* d = new (std::nothrow) KsTypeConvertData;
    if (!d) return nullptr;
    d->owner = owner;
    d->data = data;
    d->count = count;
    d->type = static_cast<signed char>(type);
    return d;
}

KsString* KsTypeConvertData::GetString(int index) {
    if (index < 0 || static_cast<uint>(index) >= count || type != KsSTRING_T || !data) return nullptr;
    return static_cast<KsString*>(data) + index;
}

KsTypeConvertData::~KsTypeConvertData() {
    if (owner && data) owner->Delete(type, data, count);
    data = nullptr;
    count = 0;
    type = KsRES_ID;
}

// ---------------------------------------------------------------------------
// KsTypeMgr.
// ---------------------------------------------------------------------------
KsTypeMgr::KsTypeMgr(uint version) { PickTable(version, table_, level_); }

void KsTypeMgr::SetFactory(uint version) { PickTable(version, table_, level_); }

int KsTypeMgr::IsValidType(char id) const {
    const int i = static_cast<signed char>(id);
    return (i >= 47 && i <= 99) ? 0 : 1;
}

char* KsTypeMgr::NameGet(char id, char* buf) const {
    const char* name = RowGet(id)->name;
    if (!buf) return const_cast<char*>(name);
    std::strcpy(buf, name);
    return buf;
}

char* KsTypeMgr::TypeIdNameGet(char id, char* buf) const {
    const char* name = RowGet(id)->idName;
    if (!buf) return const_cast<char*>(name);
    std::strcpy(buf, name);
    return buf;
}

int KsTypeMgr::Name2KsTypeId(const char* name, char& id) const {
    // The old table has no rows 28 to 46; they never match.
    const int rows = table_ == KsOldTypeTable() ? KsOldTypeRowCount : KsTypeRowCount;
    for (id = 0; id < KsTypeRowCount; ++id)
        if (name && id < rows && std::strcmp(name, table_[static_cast<int>(id)]->name) == 0) return 0;
    return 1;
}

void* KsTypeMgr::Create(char id, uint count) {
    KsTypeDescriptor* row = RowGet(id);
    return row->create ? row->create(count) : nullptr;
}

void* KsTypeMgr::Delete(char id, void* values, uint count) {
    KsTypeDescriptor* row = RowGet(id);
    return row->destroy ? row->destroy(values, count) : nullptr;
}

void* KsTypeMgr::DefaultValue(char id, uint count, int arg) {
    KsTypeDescriptor* row = RowGet(id);
    return row->defaultValue ? row->defaultValue(count, arg) : nullptr;
}

KsConstructFunc KsTypeMgr::ConstructorPtrGet(char id) const { return RowGet(id)->construct; }
KsDestructFunc KsTypeMgr::DestructorPtrGet(char id) const { return RowGet(id)->destruct; }
KsAssignFunc KsTypeMgr::AssignmentPtrGet(char id) const { return RowGet(id)->assign; }
KsAssignFunc KsTypeMgr::CopyPtrGet(char id) const { return RowGet(id)->copy; }
KsLoadFunc KsTypeMgr::LoadPtrGet(char id) const { return RowGet(id)->load; }
KsStoreFunc KsTypeMgr::StorePtrGet(char id) const { return RowGet(id)->store; }
KsIsNullFunc KsTypeMgr::IsNullPtrGet(char id) const { return RowGet(id)->isNull; }
KsSetNullFunc KsTypeMgr::SetNullPtrGet(char id) const { return RowGet(id)->setNull; }
KsTypeCmpFunc KsTypeMgr::CmpFuncPtrGet(char id) const { return RowGet(id)->compare; }
KsTypeCmpFunc KsTypeMgr::ComparePtrGet(char) const { return nullptr; }

void* KsTypeMgr::GetArrayElement(char id, void* base, uint index, uint count) const {
    KsTypeDescriptor* row = RowGet(id);
    if (!row || (count != 0 && index >= count)) return nullptr;
    return static_cast<char*>(base) + static_cast<std::size_t>(index) * (row->layout & 0xFFFF);
}

// Empty slots answer with a failure instead of a call through null.
uint KsTypeMgr::Store(char id, void* disk, void* mem, uchar byteOrder, uint count) {
    KsTypeDescriptor* row = RowGet(id);
    return row->store ? row->store(disk, mem, byteOrder, count) : 0;
}

uint KsTypeMgr::Load(char id, void* mem, void* disk, uchar byteOrder, uint count) {
    KsTypeDescriptor* row = RowGet(id);
    return row->load ? row->load(mem, disk, byteOrder, count) : 0;
}

uint KsTypeMgr::DiskLenGet(char id, void* mem, uchar byteOrder, uint count, uchar flag) {
    KsTypeDescriptor* row = RowGet(id);
    return row->diskLen ? row->diskLen(mem, flag, byteOrder, count) : 0;
}

uint KsTypeMgr::DiskLenGetFromMemFile(char id, MemFile* file, uchar byteOrder, uint count) {
    KsTypeDescriptor* row = RowGet(id);
    return row->diskLenFile ? row->diskLenFile(file, byteOrder, count) : 0;
}

ushort KsTypeMgr::MemLenGet(char id, uint count) const {
    return static_cast<ushort>((RowGet(id)->layout & 0xFFFF) * count);
}

ushort KsTypeMgr::IsFixed(char id) const {
    return static_cast<ushort>((RowGet(id)->layout >> 16) & 0xFFFF);
}

uint KsTypeMgr::Translate(char id, void* dst, uchar dstFormat, uint dstLen, void* src,
                          uchar srcFormat, uint srcLen, uint count) {
    KsTypeDescriptor* row = RowGet(id);
    return row->translate ? row->translate(dst, dstFormat, dstLen, src, srcFormat, srcLen, count)
                          : 0;
}

int KsTypeMgr::StoreTimeStamp(char id, void* disk, uchar byteOrder, void* stamp) {
    if (!stamp) return KS_NOT_SUPPORTED;
    KsTimeStampRecord* rec = static_cast<KsTimeStampRecord*>(stamp);
    void* value = nullptr;
    switch (static_cast<signed char>(id)) {
    case KsDATE_T:
    case KsDATIME_T:
    case KsDATIME_N_T:
        value = rec;  // these kinds share the record's leading layout
        break;
    case KsTIME_T:
        value = &rec->hour;
        break;
    case D_DATE_T:
    case D_TIME_T:
    case D_TIMESTAMP_T:
        // The ODMG values are built from the record once their classes exist.
        return KS_NOT_SUPPORTED;
    default:
        break;
    }
    KsTypeDescriptor* row = RowGet(id);
    if (!row->store) return KS_NOT_SUPPORTED;
    return static_cast<int>(row->store(disk, value, byteOrder, 1));
}

int KsTypeMgr::Cmp(char id, uint lenA, void* a, uint lenB, void* b, ushort op, uint opt,
                   uchar flags, int& status) {
    KsTypeDescriptor* row = RowGet(id);
    if (!row->compare) {
        status = KS_NOT_SUPPORTED;
        return 0;
    }
    return row->compare(flags, lenA, a, lenB, b, op, opt, status);
}

int KsTypeMgr::Cmp(char id, void* a, void* b, ushort op, uint opt, uchar flags) {
    int status = 0;
    return Cmp(id, 0, a, 0, b, op, opt, flags, status);
}

float KsTypeMgr::EvalAndBound(char id, KsIdxBounds* bounds, ushort& out, void* value, uchar flags,
                              uint n, KsIdxBounds* bounds2, KsEvalData*) {
    KsTypeDescriptor* row = RowGet(id);
    return row->bound ? row->bound(bounds, out, value, flags, n, bounds2) : 1.0f;
}

uint KsTypeMgr::Hash(char id, uint a, void* value, uint b, uchar flags, int& status) {
    KsTypeDescriptor* row = RowGet(id);
    if (!row->hash) {
        status = KS_NOT_SUPPORTED;
        return 0;
    }
    return row->hash(flags, a, value, b, status);
}

int KsTypeMgr::GetValue(char id, void* value, uint arg, uchar storage, uchar mode) {
    if (mode != 'M' && mode != 'N' && mode != 'O') return KS_NOT_SUPPORTED;
    KsTypeDescriptor* row = RowGet(id);
    if (!row->getValue) return KS_NOT_SUPPORTED;
    if (static_cast<signed char>(id) == KsSTRING_T || storage == 8)
        return row->getValue(value, arg, storage, mode);

    // A stored image: step a loaded copy and store it back.
    void* temp = Create(id, 1);
    if (!temp) return KS_NOT_SUPPORTED;
    const uchar order = storage & 0x81;
    int result;
    if (Load(id, temp, value, order, 1) == 0) {
        result = KS_NOT_SUPPORTED;
    } else {
        result = row->getValue(temp, 0, 8, mode);
        if (result == 0 && Store(id, value, temp, order, 1) == 0) result = KS_NOT_SUPPORTED;
    }
    Delete(id, temp, 1);
    return result;
}

ushort KsTypeMgr::SupportsCapability(char id, ushort capability) const {
    const int raw = static_cast<signed char>(id);
    switch (capability) {
    case 1:
        return RowGet(id)->setNull ? 1 : 0;
    case 2:
        switch (raw) {
        case 0: case 1: case 2: case 5: case 6: case 7: case 8: case 9: case 10:
        case 15: case 26: case 42: case 43:
            return 1;
        default:
            return 0;
        }
    case 3:
        switch (raw) {
        case 12: case 13: case 19: case 22: case 23: case 24: case 40:
            return 1;
        default:
            return 0;
        }
    default:
        return 0;
    }
}

int KsTypeMgr::IsNullValue(char id, void* value) {
    KsTypeDescriptor* row = RowGet(id);
    return row->isNull ? row->isNull(value) : 0;
}

int KsTypeMgr::DiskIsNullValue(char, void*) { return KS_NOT_SUPPORTED; }

int KsTypeMgr::SetNullValue(char id, void* value) {
    KsTypeDescriptor* row = RowGet(id);
    if (row->setNull) {
        const int r = row->setNull(value);
        if (r != KS_NOT_SUPPORTED) return r;
    }
    // No null value of its own: the kind's null is what the empty text
    // converts to.
    if (row->assign) {
        void* converted = nullptr;
        if (void* text = table_[KsSTRING_T]->create(1)) {
            KsTypeConvertData* carrier = KsTypeConvertData::Make(KsSTRING_T, 1, text, this);
            if (!carrier) {
                Delete(KsSTRING_T, text, 1);
                return KS_NOT_SUPPORTED;
            }
            if (row->fromText) converted = row->fromText(carrier, 1);
            delete carrier;
        }
        if (converted) {
            row->assign(value, converted, 1, 1);
            if (row->destroy) row->destroy(converted, 1);
            return KS_OK;
        }
    }
    if (row->scan) {
        row->scan(value, ZeroScanText(), row->format, 1);
        return KS_OK;
    }
    return KS_NOT_SUPPORTED;
}

KsTypeConvertData* KsTypeMgr::ConvertTo(char id, void* values, uint count) {
    KsTypeDescriptor* row = RowGet(id);
    if (!row->toText) return nullptr;
    KsTypeConvertData* d = row->toText(values, count);
    if (d) d->owner = this;
    return d;
}

void* KsTypeMgr::ConvertFrom(char id, KsTypeConvertData* text, uint count) {
    if (text) text->owner = this;
    KsTypeDescriptor* row = RowGet(id);
    if (!row->fromText) return nullptr;
    return row->fromText(text, count);
}

KsString& KsTypeMgr::PrintToKsString(char id, KsString& out, void* values, const char* format,
                                     uint count) {
    KsTypeDescriptor* row = RowGet(id);
    if (!row->print) return out;
    if (!format) format = row->format;
    // A character array prints as one text: the byte printer itself, not
    // whatever row 0 holds now, so exchanging one row's printer leaves the
    // other's arrays alone.
    if (count < 2 || row->print == &CharPrintToKsString) return row->print(out, values, format, count);
    const std::size_t size = row->layout & 0xFFFF;
    for (uint i = 0; i < count; ++i) {
        KsString piece;
        row->print(piece, static_cast<char*>(values) + i * size, format, 1);
        out += piece;
        if (i + 1 < count) out << ",";
    }
    return out;
}

void* KsTypeMgr::ScanFromKsString(char id, void* value, KsString& in, const char* format,
                                  uint count) {
    KsTypeDescriptor* row = RowGet(id);
    if (!row->scan) return value;
    return row->scan(value, in, format ? format : row->format, count);
}

const char* KsTypeMgr::ExchangeFormat(char id, const char* format) {
    KsTypeDescriptor* row = RowGet(id);
    const char* old = row->format;
    if (format) row->format = format;
    return old;
}

KsTypeCmpFunc KsTypeMgr::ExchangeKsTypeCmpFunc(char id, KsTypeCmpFunc f) {
    KsTypeDescriptor* row = RowGet(id);
    KsTypeCmpFunc old = row->compare;
    if (f) row->compare = f;
    return old;
}

KsPrintFunc KsTypeMgr::ExchangePrintToKsStringFunc(char id, KsPrintFunc f) {
    KsTypeDescriptor* row = RowGet(id);
    KsPrintFunc old = row->print;
    if (f) row->print = f;
    return old;
}

KsScanFunc KsTypeMgr::ExchangeScanFromKsStringFunc(char id, KsScanFunc f) {
    KsTypeDescriptor* row = RowGet(id);
    KsScanFunc old = row->scan;
    if (f) row->scan = f;
    return old;
}

const KsString& KsTypeMgr::GetNullPrintString() { return NullPrintString(); }

void KsTypeMgr::SetNullPrintString(const KsString& text) { NullPrintString() = text; }

KsString* KsTypeMgr::ConvertToKsStringOld(void* values, char id, uint count) {
    KsTypeConvertData* carrier = ConvertTo(id, values, count);
    if (!carrier) return nullptr;

    // The first character code that no element text holds separates them.
    uint sep = ',';
    for (uint c = 1; c <= 254; ++c) {
        bool used = false;
        for (uint i = 0; i < carrier->count && !used; ++i)
            if (KsString* s = carrier->GetString(static_cast<int>(i))) used = Contains(*s, c);
        if (!used) {
            sep = c;
            break;
        }
    }

    KsString* out = static_cast<KsString*>(table_[KsSTRING_T]->create(1));
    if (out) {
        const KsString separator(static_cast<unsigned char>(sep));
        for (uint i = 0; i < carrier->count; ++i) {
            if (KsString* s = carrier->GetString(static_cast<int>(i))) *out += *s;
            *out += separator;
        }
    }
    delete carrier;
    return out;
}

void* KsTypeMgr::ConvertFromKsStringOld(KsString* text, char id, uint count) {
    if (!text) return nullptr;
    const uint len = text->Len();
    const uint sep = len ? CharAt(*text, len - 1) : ',';
    uint pieces = 1;
    for (uint i = 0; i < len; ++i)
        if (CharAt(*text, i) == sep) ++pieces;

    KsString* parts = static_cast<KsString*>(table_[KsSTRING_T]->create(pieces));
    if (!parts) return nullptr;
    const uint width = text->Width();
    for (uint p = 0; p < pieces; ++p) {
        const uint n = text->Len();
        uint hit = 0;
        while (hit < n && CharAt(*text, hit) != sep) ++hit;
        // Cut the piece (and its separator) from the front of the text.
        KsString piece(text->CodeSet(), text->Language());
        if (hit) piece.EditText(text->StrGet(), text->CodeSet(), 0, 0, static_cast<ushort>(hit), 1,
                                KsString::EditAssignAt);
        parts[p] = piece;
        KsString rest(text->CodeSet(), text->Language());
        const uint skip = hit < n ? hit + 1 : n;
        if (skip < n)
            rest.EditText(text->StrGet() + skip * width, text->CodeSet(), 0, 0,
                          static_cast<ushort>(n - skip), 1, KsString::EditAssignAt);
        *text = rest;
    }
    KsTypeConvertData* carrier = KsTypeConvertData::Make(KsSTRING_T, pieces, parts, this);
    if (!carrier) {
        Delete(KsSTRING_T, parts, pieces);
        return nullptr;
    }
    void* result = ConvertFrom(id, carrier, count);
    delete carrier;
    return result;
}

KsTypeMgr* DefaultTypeMgr(KsTypeMgr* mgr) {
    if (mgr) g_defaultMgr = mgr;
    return g_defaultMgr;
}

KsTypeMgr* KsExchangeDefaultTypeMgr(KsTypeMgr* mgr) {
    KsTypeMgr* old = g_defaultMgr;
    g_defaultMgr = mgr;
    return old;
}
