// Type ids, the type descriptor (a row of 28 slots) and the dispatcher
// KsTypeMgr. Every type-generic request names a one-byte type id; the
// manager maps it to a row of its table and calls that row's slot.
//
// Id to row: an id below 100 is the row itself (unchecked); 100 and up map
// to id - 54, capped at 46, the reserved row. IsValidType is the check.
#ifndef KSTYPES_H
#define KSTYPES_H

#include "ksdefs.h"

class KsString;
class KsTypeMgr;
class MemFile;
struct KsIdxBounds;
struct KsEvalData;

// Type ids of the current table.
enum KsTypeId : signed char {
    Ks1B_T = 0, Ks2B_T = 1, Ks4B_T = 2, KsDOUBLE_T = 3, KsFLOAT_T = 4, KsU2B_T = 5, KsU4B_T = 6,
    KsINT_T = 7, KsUNSIGNED_T = 8, KsENUM_T = 9, KsU1B_T = 10, KsSTRING_T = 11, KsDATE_T = 12,
    KsTIME_T = 13, KsBLOCKID_T = 14, KsOBJID_T = 15, KsCLID_T = 16, KsREF_T = 17, KsBLOB_T = 18,
    KsDATIME_T = 19, KsISTRING_T = 20, KsCASEISTRING_T = 21, D_DATE_T = 22, D_TIME_T = 23,
    D_TIMESTAMP_T = 24, D_INTERVAL_T = 25, KsINT64_T = 26, KsBOOLEAN_T = 27, KsNULL_1B_T = 28,
    KsNULL_U1B_T = 29, KsNULL_2B_T = 30, KsNULL_U2B_T = 31, KsNULL_INT_T = 32,
    KsNULL_UNSIGNED_T = 33, KsNULL_4B_T = 34, KsNULL_U4B_T = 35, KsNULL_FLOAT_T = 36,
    KsNULL_DOUBLE_T = 37, KsNULL_KSINT64_T = 38, KsSEAL_T = 39, KsDATIME_N_T = 40,
    KsTIMESPAN_T = 41, Ks8B_T = 42, KsU8B_T = 43, KsNULL_8B_T = 44, KsNULL_U8B_T = 45,
    KsRES_T = 46,
    KsRES_ID = 100  // first id of the reserved range (100..127 all mean row 46)
};

constexpr int KsTypeRowCount = 47;     // rows of the current table
constexpr int KsOldTypeRowCount = 28;  // rows of the old table

// The carrier of one converted array (bulk conversion to and from text).
struct KSTM_API KsTypeConvertData {
    KsTypeMgr* owner;  // frees `data` through its table; null when made directly
    void* data;
    uint count;
    signed char type;

    static KsTypeConvertData* Make(char type, uint count, void* data, KsTypeMgr* owner);
    // Element `index` when the carrier holds text (type 11) and has data; else null.
    KsString* GetString(int index);
    ~KsTypeConvertData();
};

// Slot function types, in slot order.
typedef void* (*KsCreateFunc)(uint count);
typedef void* (*KsDeleteFunc)(void* values, uint count);
typedef uint (*KsStoreFunc)(void* disk, const void* mem, uchar byteOrder, uint count);
typedef uint (*KsLoadFunc)(void* mem, const void* disk, uchar byteOrder, uint count);
typedef uint (*KsCountSizeFunc)(uint count);
typedef uint (*KsDiskLenFunc)(const void* mem, uchar flag, uchar byteOrder, uint count);
typedef uint (*KsDiskLenFileFunc)(MemFile* file, uchar byteOrder, uint count);
typedef int (*KsTypeCmpFunc)(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                             uint count, int& status);
typedef float (*KsBoundFunc)(KsIdxBounds* range, ushort& op, void* value, uchar format,
                             uint count, KsIdxBounds* scanBounds);
typedef uint (*KsHashFunc)(uchar flags, uint len, void* value, uint count, int& status);
typedef KsTypeConvertData* (*KsToTextFunc)(void* values, uint count);
typedef void* (*KsFromTextFunc)(KsTypeConvertData* text, uint count);
typedef void (*KsConstructFunc)(void* values, uint count, uint arg);
typedef void (*KsDestructFunc)(void* values, uint count, uint arg);
typedef void (*KsAssignFunc)(void* dst, void* src, uint count, int fill);
typedef uint (*KsTranslateFunc)(void* dst, uchar dstFormat, uint dstLen, void* src,
                                uchar srcFormat, uint srcLen, uint count);
typedef int (*KsIsNullFunc)(void* value);
typedef int (*KsSetNullFunc)(void* value);
typedef KsString& (*KsPrintFunc)(KsString& out, void* value, const char* format, uint count);
typedef void* (*KsScanFunc)(void* value, KsString& in, const char* format, uint count);
typedef void* (*KsDefaultValueFunc)(uint count, int arg);
typedef int (*KsGetValueFunc)(void* value, uint arg, uchar format, uchar mode);

// Layout word: low 16 bits the in-memory size of one value, high 16 bits 1
// for a fixed disk length.
constexpr uint KsLayoutWord(uint size, bool fixed) { return (fixed ? 0x10000u : 0u) | size; }

// A row of the type table: 28 pointer-sized slots, in this order.
struct KsTypeDescriptor {
    const char* name;                // 0
    const char* idName;              // 1
    KsCreateFunc create;             // 2
    KsDeleteFunc destroy;            // 3 (delete)
    KsStoreFunc store;               // 4
    KsLoadFunc load;                 // 5
    KsCountSizeFunc countSize;       // 6
    KsDiskLenFunc diskLen;           // 7
    KsDiskLenFileFunc diskLenFile;   // 8
    KsTypeCmpFunc compare;           // 9
    KsBoundFunc bound;               // 10
    KsHashFunc hash;                 // 11
    KsToTextFunc toText;             // 12
    KsFromTextFunc fromText;         // 13
    KsConstructFunc construct;       // 14
    KsDestructFunc destruct;         // 15
    KsAssignFunc assign;             // 16
    KsAssignFunc copy;               // 17
    KsTranslateFunc translate;       // 18
    KsIsNullFunc isNull;             // 19
    KsSetNullFunc setNull;           // 20
    const char* format;              // 21
    KsPrintFunc print;               // 22
    KsScanFunc scan;                 // 23
    std::uintptr_t layout;           // 24
    KsDefaultValueFunc defaultValue; // 25
    KsGetValueFunc getValue;         // 26
    void* reserved;                  // 27
};
static_assert(sizeof(KsTypeDescriptor) == 28 * sizeof(void*), "28 pointer-sized slots");

// The broken-down time stamp of StoreTimeStamp.
struct KsTimeStampRecord {
    short year;
    signed char month, day, hour, minute, second;
    int fraction;
};

class KSTM_API KsTypeMgr {
public:
    explicit KsTypeMgr(uint version = 5);
    void SetFactory(uint version);

    int IsValidType(char id) const;

    // Names.
    char* NameGet(char id, char* buf) const;
    char* TypeIdNameGet(char id, char* buf) const;
    int Name2KsTypeId(const char* name, char& id) const;

    // Life cycle of value arrays.
    void* Create(char id, uint count);
    void* Delete(char id, void* values, uint count);
    void* DefaultValue(char id, uint count, int arg = 0);
    KsConstructFunc ConstructorPtrGet(char id) const;
    KsDestructFunc DestructorPtrGet(char id) const;
    KsAssignFunc AssignmentPtrGet(char id) const;
    KsAssignFunc CopyPtrGet(char id) const;
    KsLoadFunc LoadPtrGet(char id) const;
    KsStoreFunc StorePtrGet(char id) const;
    KsIsNullFunc IsNullPtrGet(char id) const;
    KsSetNullFunc SetNullPtrGet(char id) const;
    KsTypeCmpFunc CmpFuncPtrGet(char id) const;
    KsTypeCmpFunc ComparePtrGet(char id) const;  // always null
    void* GetArrayElement(char id, void* base, uint index, uint count) const;

    // Storage.
    uint Store(char id, void* disk, void* mem, uchar byteOrder, uint count);
    uint Load(char id, void* mem, void* disk, uchar byteOrder, uint count);
    uint DiskLenGet(char id, void* mem, uchar byteOrder, uint count, uchar flag);
    uint DiskLenGetFromMemFile(char id, MemFile* file, uchar byteOrder, uint count);
    ushort MemLenGet(char id, uint count) const;
    ushort IsFixed(char id) const;
    uint Translate(char id, void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                   uint srcLen, uint count);
    int StoreTimeStamp(char id, void* disk, uchar byteOrder, void* stamp);

    // Comparison, hashing and query support.
    int Cmp(char id, uint lenA, void* a, uint lenB, void* b, ushort op, uint opt, uchar flags,
            int& status);
    int Cmp(char id, void* a, void* b, ushort op, uint opt, uchar flags);
    float EvalAndBound(char id, KsIdxBounds* bounds, ushort& out, void* value, uchar flags, uint n,
                       KsIdxBounds* bounds2, KsEvalData* data);
    uint Hash(char id, uint a, void* value, uint b, uchar flags, int& status);
    int GetValue(char id, void* value, uint arg, uchar storage, uchar mode);
    ushort SupportsCapability(char id, ushort capability) const;
    ushort SupportsNullValue(char id) const { return SupportsCapability(id, 1); }
    int IsNullValue(char id, void* value);
    int DiskIsNullValue(char id, void* disk);  // always -2999
    int SetNullValue(char id, void* value);

    // Text.
    KsTypeConvertData* ConvertTo(char id, void* values, uint count);
    void* ConvertFrom(char id, KsTypeConvertData* text, uint count);
    KsString& PrintToKsString(char id, KsString& out, void* values, const char* format = nullptr,
                              uint count = 1);
    void* ScanFromKsString(char id, void* value, KsString& in, const char* format = nullptr,
                           uint count = 1);
    const char* ExchangeFormat(char id, const char* format);
    KsTypeCmpFunc ExchangeKsTypeCmpFunc(char id, KsTypeCmpFunc f);
    KsPrintFunc ExchangePrintToKsStringFunc(char id, KsPrintFunc f);
    KsScanFunc ExchangeScanFromKsStringFunc(char id, KsScanFunc f);
    static const KsString& GetNullPrintString();
    static void SetNullPrintString(const KsString& text);

    // The table in use and its level (kept for users; no operation reads it).
    KsTypeDescriptor* const* TableGet() const { return table_; }
    ushort LevelGet() const { return level_; }
    // The row an id maps to (the dispatch rule above).
    static int RowOf(char id) {
        int i = static_cast<signed char>(id);
        if (i < 100) return i;
        i -= 54;
        return i > 46 ? 46 : i;
    }
    KsTypeDescriptor* RowGet(char id) const { return table_[RowOf(id)]; }

protected:
    // The older text forms: one KsString holding every element's text, each
    // followed by a separator character absent from all of them.
    KsString* ConvertToKsStringOld(void* values, char id, uint count);
    void* ConvertFromKsStringOld(KsString* text, char id, uint count);

private:
    KsTypeDescriptor** table_;
    ushort level_;
};

// The process default manager; a non-null argument replaces it (the old one
// is not freed).
KSTM_API KsTypeMgr* DefaultTypeMgr(KsTypeMgr* mgr = nullptr);

// The two process-wide tables (mutable: the exchange operations write rows).
KSTM_API KsTypeDescriptor** KsCurrentTypeTable();
KSTM_API KsTypeDescriptor** KsOldTypeTable();

// Introspection for tools: slot `slot` (0..27) of a row as a raw pointer
// (null when empty), and whether a row's slot still holds a stand-in while
// its kind is being completed (1) or not (0).
KSTM_API const void* KsTypeSlotGet(const KsTypeDescriptor* row, int slot);
KSTM_API int KsTypeSlotPending(int row, int slot);

#endif
