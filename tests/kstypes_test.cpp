// The type tables, the dispatcher's own logic, the scalar life-cycle slots
// and the module entry points.
#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ksbase.h"
#include "ksmodule.h"
#include "ksstring.h"
#include "kstypes.h"
#include "kstypes_internal.h"

namespace {

// Puts a function into a slot of a shared row for one test and restores it.
template <typename F>
struct SlotGuard {
    SlotGuard(F& slot, F value) : slot_(slot), saved_(slot) { slot_ = value; }
    ~SlotGuard() { slot_ = saved_; }
    F& slot_;
    const F saved_;
};

KsTypeDescriptor& Row(int id) { return *KsCurrentTypeTable()[id]; }

// Row by row; size 0 marks the variable, pointer-holding kinds.
struct RowExpect { const char *name, *idName, *format; uint size; };
const RowExpect kExpected[] = {
    {"o_char", "Ks1B_T", "%c", 1}, {"o_2b", "Ks2B_T", "%hd", 2}, {"o_4b", "Ks4B_T", "%ld", 4},
    {"o_double", "KsDOUBLE_T", "%.17g", 8}, {"o_float", "KsFLOAT_T", "%.17g", 4}, {"o_u2b", "KsU2B_T", "%hu", 2},
    {"o_u4b", "KsU4B_T", "%lu", 4}, {"int", "KsINT_T", "%d", 4}, {"unsigned", "KsUNSIGNED_T", "%u", 4},
    {"enum", "KsENUM_T", "%d", 4}, {"o_u1b", "KsU1B_T", "%c", 1}, {"KsString", "KsSTRING_T", "%s", 0},
    {"KsDate", "KsDATE_T", "%a %e.%b %Y", 4}, {"KsTime", "KsTIME_T", "%I:%M:%S %p", 3},
    {"BlockId", "KsBLOCKID_T", "#%lu", 4}, {"KsObjId", "KsOBJID_T", "(%H-%L#%B)", 12},
    {"KsClassId", "KsCLID_T", "(%Cv%V)", 4}, {"KsRef", "KsREF_T", "(%D:%H-%L#%B, %C)", 16},
    {"KsBlob", "KsBLOB_T", "[BLOB,len=%L]", 0}, {"KsDateTime", "KsDATIME_T", "%a %e.%b %Y %I:%M:%S %p", 8},
    {"KsIString", "KsISTRING_T", "%s", 0}, {"KsCaseIString", "KsCASEISTRING_T", "%s", 0},
    {"d_Date", "D_DATE_T", "%a %b %e", 4}, {"d_Time", "D_TIME_T", "%I:%M:%S %p", 6},
    {"d_Timestamp", "D_TIMESTAMP_T", "%a %b %e %I:%M:%S %p", 10},
    {"d_Interval", "D_INTERVAL_T", "%e days, %I hours, %M minutes, %S seconds", 4},
    {"KsInt64", "KsINT64_T", "%S", 8}, {"KsBoolean", "KsBOOLEAN_T", "noop", 1},
    {"KsNull_char", "KsNULL_1B_T", "%c", 2}, {"KsNull_uchar", "KsNULL_U1B_T", "%c", 2},
    {"KsNull_short", "KsNULL_2B_T", "%hd", 4}, {"KsNull_ushort", "KsNULL_U2B_T", "%hu", 4},
    {"KsNull_int", "KsNULL_INT_T", "%d", 8}, {"KsNull_unsigned", "KsNULL_UNSIGNED_T", "%u", 8},
    {"KsNull_long", "KsNULL_4B_T", "%ld", 8}, {"KsNull_ulong", "KsNULL_U4B_T", "%lu", 8},
    {"KsNull_float", "KsNULL_FLOAT_T", "%.17g", 8}, {"KsNull_double", "KsNULL_DOUBLE_T", "%.17g", 16},
    {"KsNull_KsInt64", "KsNULL_KSINT64_T", "%S", 12}, {"KsSeal", "KsSEAL_T", "noop", 6},
    {"KsDateTimeN", "KsDATIME_N_T", "%X", 12}, {"KsTimeSpan", "KsTIMESPAN_T", "%V", 12},
    {"o_8b", "Ks8B_T", "%I64d", 8}, {"o_u8b", "KsU8B_T", "%I64u", 8}, {"KsNull_8b", "KsNULL_8B_T", "%I64d", 16},
    {"KsNull_u8b", "KsNULL_U8B_T", "%I64u", 16}, {"illegal", "KsRES_T", "illegal", 0},
};

TEST(KsTypeTable, EveryRowOfTheCurrentTable) {
    KsTypeMgr mgr(5);
    ASSERT_EQ(std::size(kExpected), 47u);
    for (int id = 0; id < 47; ++id) {
        const RowExpect& e = kExpected[id];
        SCOPED_TRACE(e.name);
        const char c = static_cast<char>(id);
        EXPECT_STREQ(mgr.NameGet(c, nullptr), e.name);
        EXPECT_STREQ(mgr.TypeIdNameGet(c, nullptr), e.idName);
        EXPECT_STREQ(Row(id).format, e.format);
        EXPECT_EQ(mgr.IsFixed(c), e.size || id == KsRES_T ? 1 : 0);
        const uint pointerSize = id == KsBLOB_T ? sizeof(void*) : id == KsRES_T ? 0 : sizeof(KsString);
        EXPECT_EQ(mgr.MemLenGet(c, 1), e.size ? e.size : pointerSize);
    }
}

TEST(KsTypeTable, SlotsAreFilledExactlyWhereTheRowHasThem) {
    for (int old = 0; old < 2; ++old)
        for (int id = 0; id < (old ? KsOldTypeRowCount : KsTypeRowCount); ++id)
            for (int slot = 0; slot < 28; ++slot) {
                if (slot == 24) continue;  // the layout word of row 46 is non-zero anyway
                const bool filled = KsTypeSlotGet((old ? KsOldTypeTable() : KsCurrentTypeTable())[id], slot);
                EXPECT_EQ(filled, id == KsRES_T ? slot != 20 && slot != 27 : !KsSlotIsEmptyByDesign(id, slot, old))
                    << "table " << old << " row " << id << " slot " << slot;
            }
}

TEST(KsTypeTable, OldTableDiffersOnlyInTheStringRow) {
    KsTypeDescriptor** oldT = KsOldTypeTable();
    KsTypeDescriptor** cur = KsCurrentTypeTable();
    for (int id = 0; id < KsOldTypeRowCount; ++id) EXPECT_EQ(oldT[id] == cur[id], id != KsSTRING_T) << id;
    // The old string row knows no null value and cannot be stepped.
    const KsTypeDescriptor& o = *oldT[KsSTRING_T];
    EXPECT_STREQ(o.name, "KsString");
    EXPECT_TRUE(o.isNull(nullptr) == 0 && o.setNull == nullptr && o.getValue == KsReservedRow().getValue);
}

TEST(KsTypeTable, IdMapping) {
    const struct { int id, row, valid; } cases[] = {{46, 46, 1}, {47, 47, 0}, {100, 46, 1}, {127, 46, 1}, {-1, -1, 1}};
    KsTypeMgr mgr;
    for (auto c : cases) {
        EXPECT_EQ(KsTypeMgr::RowOf(static_cast<char>(c.id)), c.row) << c.id;
        EXPECT_EQ(mgr.IsValidType(static_cast<char>(c.id)), c.valid) << c.id;
    }
    // Unchecked ids land on the reserved row's inert functions, not outside the table.
    for (int id : {-128, 47, 100}) {
        EXPECT_STREQ(mgr.NameGet(static_cast<char>(id), nullptr), "illegal") << id;
        EXPECT_EQ(mgr.Create(static_cast<char>(id), 3), nullptr);
    }
}

TEST(KsTypeMgrTest, VersionSelectsTableAndLevel) {
    const struct { uint version; bool old; ushort level; } cases[] = {
        {3, true, 3}, {4, false, 4}, {10, false, 10}, {11, true, 3}, {12, false, 4}, {1000, false, 4}};
    for (auto c : cases) {
        KsTypeMgr mgr(c.version);
        EXPECT_EQ(mgr.TableGet(), c.old ? KsOldTypeTable() : KsCurrentTypeTable()) << c.version;
        EXPECT_EQ(mgr.LevelGet(), c.level) << c.version;
        KsTypeMgr other;  // re-selecting later gives the same
        other.SetFactory(c.version);
        EXPECT_TRUE(other.TableGet() == mgr.TableGet() && other.LevelGet() == c.level) << c.version;
    }
    EXPECT_EQ(KsTypeMgr().LevelGet(), 5);
    EXPECT_EQ(KsTypeMgr(11).SupportsNullValue(KsSTRING_T), 0);
}

TEST(KsTypeMgrTest, Names) {
    KsTypeMgr mgr, old(3);
    const struct { KsTypeMgr* m; const char* name; int result, id; } cases[] = {
        {&mgr, "KsString", 0, 11}, {&mgr, "KsSTRING_T", 1, 47},  // id names do not count
        {&mgr, "kSstring", 1, 47}, {&mgr, "KsNull_u8b", 0, 45}, {&old, "KsNull_u8b", 1, 47}};  // old: no row 45
    for (const auto& c : cases) {
        char id = 99;
        EXPECT_EQ(c.m->Name2KsTypeId(c.name, id), c.result) << c.name;
        EXPECT_EQ(id, c.id) << c.name;
    }
    char buf[32];
    EXPECT_TRUE(mgr.NameGet(KsDATE_T, buf) == buf && !std::strcmp(buf, "KsDate"));  // the caller's buffer is filled
}

TEST(KsTypeMgrTest, ArrayElements) {
    KsTypeMgr mgr;
    char base[64];
    EXPECT_EQ(mgr.GetArrayElement(Ks2B_T, base, 5, 5), nullptr);
    EXPECT_EQ(mgr.GetArrayElement(KsTIME_T, base, 4, 5), base + 12);
    EXPECT_EQ(mgr.MemLenGet(KsNULL_DOUBLE_T, 4097), static_cast<ushort>(16 * 4097));  // wraps as the stored width
    EXPECT_EQ(mgr.DiskIsNullValue(Ks2B_T, base), KS_NOT_SUPPORTED);
}

KsString& PrintShort(KsString& out, void* value, const char* format, uint) {
    char buf[32];
    std::snprintf(buf, sizeof buf, format, *static_cast<short*>(value));
    return out = buf;
}
KsString& PrintBytes(KsString& out, void* value, const char*, uint count) {
    return out = KsString(static_cast<const char*>(value), static_cast<unsigned short>(count));
}

TEST(KsTypeMgrTest, PrintsArraysWithSeparators) {
    KsTypeMgr mgr;
    SlotGuard<KsPrintFunc> guard(Row(Ks2B_T).print, &PrintShort);
    short values[3] = {1, 2, 3};
    KsString out1, out2, untouched("keep");
    EXPECT_STREQ(mgr.PrintToKsString(Ks2B_T, out1, values, nullptr, 3).StrGet(), "1,2,3");
    EXPECT_STREQ(mgr.PrintToKsString(Ks2B_T, out2, values, "<%x>", 2).StrGet(), "<1>,<2>");
    // Character arrays print as one text through the byte printer, whatever
    // the other byte row holds; any other printer is walked per element.
    char abc[] = "abc";
    const struct { KsPrintFunc row0; int id; const char* expected; } chars[] = {
        {Row(Ks1B_T).print, KsU1B_T, "abc"}, {&PrintBytes, KsU1B_T, "abc"}, {&PrintBytes, Ks1B_T, "a,b,c"}};
    for (const auto& c : chars) {
        SlotGuard<KsPrintFunc> c0(Row(Ks1B_T).print, c.row0);
        KsString text;
        EXPECT_STREQ(mgr.PrintToKsString(static_cast<char>(c.id), text, abc, nullptr, 3).StrGet(), c.expected);
    }
    SlotGuard<KsPrintFunc> none(Row(Ks2B_T).print, nullptr);  // an empty slot leaves the output alone
    EXPECT_STREQ(mgr.PrintToKsString(Ks2B_T, untouched, values, nullptr, 3).StrGet(), "keep");
}

// Stand-in slots for the short row; the offsets make their use visible.
void* ScanShort(void* value, KsString& in, const char*, uint) {
    *static_cast<short*>(value) = static_cast<short>(std::atoi(in.StrGet()) + 40);
    return value;
}
void* FromTextShort(KsTypeConvertData* text, uint count) {
    short* out = new short[count];
    for (uint i = 0; i < count; ++i)
        out[i] = static_cast<short>(text->GetString(int(i)) ? std::atoi(text->GetString(int(i))->StrGet()) - 1 : -1);
    return out;
}
void* DeleteShorts(void* values, uint) { return delete[] static_cast<short*>(values), nullptr; }
KsTypeConvertData* ToTextShort(void* values, uint count) {
    KsString* strings = new KsString[count];
    for (uint i = 0; i < count; ++i) strings[i] = KsString(static_cast<int>(static_cast<short*>(values)[i]));
    return KsTypeConvertData::Make(KsSTRING_T, count, strings, nullptr);
}
int NoNull(void*) { return KS_NOT_SUPPORTED; }

TEST(KsTypeMgrTest, SetNullValueFallsBack) {
    KsTypeMgr mgr;
    KsString s("text");  // the row's own set-null
    EXPECT_TRUE(mgr.SetNullValue(KsSTRING_T, &s) == 0 && s.IsNullValue() == 1);
    // No set-null, or one answering -2999: the empty text through slot 13,
    // assigned by slot 16; without assignment the scan slot reads "0".
    KsTypeDescriptor& r = Row(Ks2B_T);
    SlotGuard<KsFromTextFunc> g1(r.fromText, &FromTextShort);
    SlotGuard<KsDeleteFunc> g2(r.destroy, &DeleteShorts);
    SlotGuard<KsScanFunc> g3(r.scan, &ScanShort);
    for (int step = 0; step < 3; ++step) {
        SlotGuard<KsSetNullFunc> g4(r.setNull, step == 1 ? &NoNull : r.setNull);
        SlotGuard<KsAssignFunc> g5(r.assign, step == 2 ? nullptr : r.assign);
        short v = 5;
        EXPECT_EQ(mgr.SetNullValue(Ks2B_T, &v), 0);
        EXPECT_EQ(v, step == 2 ? 40 : -1) << step;  // atoi("") - 1, or atoi("0") + 40
    }
}

TEST(KsTypeMgrTest, GetValueStepsInMemory) {
    KsTypeMgr mgr;
    // Values as their low bytes (little-endian host); the value is kept on failure.
    const KsI64 big = std::bit_cast<KsI64>(1e300);
    const struct { int id; KsI64 before; uchar mode; int result; KsI64 after; } cases[] = {
        {Ks1B_T, 127, 'N', KS_STEP_OVERFLOW, 127}, {Ks1B_T, 127, 'O', 0, 127},
        {Ks1B_T, 127, 2, KS_NOT_SUPPORTED, 127},  // mode 2 (wrap to the minimum) only through the slot
        {KsU1B_T, 200, 'M', 0, 201}, {KsU4B_T, 0xffffffff, 'N', KS_STEP_OVERFLOW, 0xffffffff}, {Ks8B_T, 41, 'N', 0, 42},
        {KsDOUBLE_T, big, 'N', KS_STEP_OVERFLOW, big},  // +1 is lost
        {KsSTRING_T, 0, 'X', KS_NOT_SUPPORTED, 0}};
    for (const auto& c : cases) {
        KsI64 v = c.before;
        EXPECT_EQ(mgr.GetValue(static_cast<char>(c.id), &v, 0, 8, c.mode), c.result) << c.id << " " << c.mode;
        EXPECT_EQ(std::memcmp(&v, &c.after, c.id == KsSTRING_T ? 0 : mgr.MemLenGet(static_cast<char>(c.id), 1)), 0)
            << c.id << " " << c.mode;
    }
    signed char c = 127;
    EXPECT_TRUE(Row(Ks1B_T).getValue(&c, 0, 8, 2) == 0 && c == -128);
    EXPECT_EQ(Row(Ks1B_T).getValue(&c, 0, 2, 'N'), KS_NOT_SUPPORTED);  // scalars step only in memory
}

uint ShortImage(void* dst, const void* src, uchar order, uint count) { return ShortStore(dst, src, order, count); }

TEST(KsTypeMgrTest, GetValueStepsStoredImages) {
    KsTypeMgr mgr;
    unsigned char image[2] = {0x00, 0x05};
    // Plain scalars have no load slot: a stored image cannot be stepped.
    EXPECT_EQ(mgr.GetValue(Ks2B_T, image, 0, 2, 'N'), KS_NOT_SUPPORTED);
    SlotGuard<KsStoreFunc> g1(Row(Ks2B_T).store, &ShortImage);
    SlotGuard<KsLoadFunc> g2(Row(Ks2B_T).load, &ShortImage);
    unsigned char le[2] = {0x05, 0x00}, top[2] = {0xff, 0x7f};
    EXPECT_TRUE(mgr.GetValue(Ks2B_T, le, 0, 1, 'N') == 0 && le[0] == 0x06 && le[1] == 0x00);
    EXPECT_TRUE(mgr.GetValue(Ks2B_T, top, 0, 1, 'N') == KS_STEP_OVERFLOW && top[0] == 0xff);
    // The byte order is the storage code masked with 0x81: 2 becomes 0, least significant byte first.
    EXPECT_TRUE(mgr.GetValue(Ks2B_T, image, 0, 2, 'M') == 0 && image[0] == 0x01 && image[1] == 0x05);
}

const void* g_storedValue;
uint CaptureStore(void*, const void* mem, uchar, uint count) { return g_storedValue = mem, count * 7; }

TEST(KsTypeMgrTest, StoreTimeStampHandsTheRecord) {
    KsTypeMgr mgr;
    KsTimeStampRecord rec{2024, 2, 29, 13, 45, 30, 500};
    char disk[16];
    EXPECT_EQ(mgr.StoreTimeStamp(KsDATE_T, disk, 1, nullptr), KS_NOT_SUPPORTED);
    const struct { int id; const void* handed; } cases[] = {
        {KsDATE_T, &rec}, {KsDATIME_T, &rec}, {KsDATIME_N_T, &rec}, {KsTIME_T, &rec.hour}, {KsBOOLEAN_T, nullptr}};
    for (const auto& c : cases) {
        SlotGuard<KsStoreFunc> g(Row(c.id).store, &CaptureStore);
        g_storedValue = &disk;
        EXPECT_EQ(mgr.StoreTimeStamp(static_cast<char>(c.id), disk, 1, &rec), 7) << c.id;
        EXPECT_EQ(g_storedValue, c.handed) << c.id;
    }
}

TEST(KsTypeMgrTest, Capabilities) {
    KsTypeMgr mgr;
    const std::string integral = ",0,1,2,5,6,7,8,9,10,15,26,42,43,", temporal = ",12,13,19,22,23,24,40,";
    for (int id = -5; id < 128; ++id) {
        const std::string key = "," + std::to_string(id) + ",";
        EXPECT_EQ(mgr.SupportsCapability(static_cast<char>(id), 2), integral.find(key) != std::string::npos) << id;
        EXPECT_EQ(mgr.SupportsCapability(static_cast<char>(id), 3), temporal.find(key) != std::string::npos) << id;
        EXPECT_EQ(mgr.SupportsCapability(static_cast<char>(id), 4), 0);
    }
    for (auto c : {std::pair<int, int>{Ks2B_T, 0}, {KsSTRING_T, 1}, {KsDATE_T, 1}, {D_DATE_T, 0}, {100, 0}})
        EXPECT_EQ(mgr.SupportsNullValue(static_cast<char>(c.first)), c.second) << c.first;
}

TEST(KsTypeMgrTest, ExchangeOperationsChangeTheSharedRow) {
    KsTypeMgr a, b(12);
    const char* original = a.ExchangeFormat(Ks2B_T, "%05hd");
    EXPECT_STREQ(original, "%hd");
    EXPECT_STREQ(b.ExchangeFormat(Ks2B_T, nullptr), "%05hd");  // seen through another manager
    EXPECT_STREQ(a.ExchangeFormat(Ks2B_T, original), "%05hd");
    KsScanFunc oldScan = a.ExchangeScanFromKsStringFunc(Ks2B_T, &ScanShort);
    short v = 0;
    KsString two("2");
    EXPECT_TRUE(b.ScanFromKsString(Ks2B_T, &v, two) == &v && v == 42);
    EXPECT_EQ(a.ExchangeScanFromKsStringFunc(Ks2B_T, oldScan), &ScanShort);
    KsTypeCmpFunc oldCmp = a.ExchangeKsTypeCmpFunc(Ks2B_T, nullptr);  // null only asks
    EXPECT_EQ(a.CmpFuncPtrGet(Ks2B_T), oldCmp);
}

// The older text forms are protected: reach them through a subclass.
struct OldForms : KsTypeMgr {
    using KsTypeMgr::ConvertFromKsStringOld;
    using KsTypeMgr::ConvertToKsStringOld;
};

TEST(KsTypeMgrTest, OlderTextForms) {
    OldForms mgr;
    SlotGuard<KsToTextFunc> g1(Row(Ks2B_T).toText, &ToTextShort);
    SlotGuard<KsFromTextFunc> g2(Row(Ks2B_T).fromText, &FromTextShort);
    SlotGuard<KsDeleteFunc> g3(Row(Ks2B_T).destroy, &DeleteShorts);
    short values[3] = {10, -2, 300};
    KsString* text = mgr.ConvertToKsStringOld(values, Ks2B_T, 3);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text->StrGet(), "10\x01-2\x01" "300\x01");  // code 1 occurs in no element
    short* back = static_cast<short*>(mgr.ConvertFromKsStringOld(text, Ks2B_T, 3));
    EXPECT_EQ(std::vector<short>(back, back + 3), (std::vector<short>{9, -3, 299}));  // FromTextShort subtracts one
    EXPECT_EQ(text->Len(), 0);  // the pieces were cut from the text
    delete[] back;
    mgr.Delete(KsSTRING_T, text, 1);
    KsString list("7;8;");  // the older separator
    back = static_cast<short*>(mgr.ConvertFromKsStringOld(&list, Ks2B_T, 2));
    EXPECT_EQ(std::vector<short>(back, back + 2), (std::vector<short>{6, 7}));
    delete[] back;
    EXPECT_EQ(mgr.ConvertToKsStringOld(values, KsDATE_T, 1), nullptr);  // no text yet
}

uint g_stringDeletes;
KsDeleteFunc g_realStringDelete = Row(KsSTRING_T).destroy;
void* CountingStringDelete(void* values, uint count) {
    g_stringDeletes += count;
    return g_realStringDelete(values, count);
}

TEST(KsTypeMgrTest, ConvertCarrier) {
    KsTypeMgr mgr;
    SlotGuard<KsToTextFunc> g1(Row(Ks2B_T).toText, &ToTextShort);
    short values[2] = {4, 5};
    KsTypeConvertData* d = mgr.ConvertTo(Ks2B_T, values, 2);
    ASSERT_TRUE(d && d->owner == &mgr && d->type == KsSTRING_T && d->GetString(2) == nullptr);
    EXPECT_STREQ(d->GetString(1)->StrGet(), "5");
    {
        // The destructor frees the strings through the owner's delete slot.
        SlotGuard<KsDeleteFunc> g(Row(KsSTRING_T).destroy, &CountingStringDelete);
        g_stringDeletes = 0;
        delete d;
        EXPECT_EQ(g_stringDeletes, 2u);
    }
    KsString kept[1] = {KsString("x")};  // without owner the destructor leaves the data alone
    delete KsTypeConvertData::Make(KsSTRING_T, 1, kept, nullptr);
    EXPECT_STREQ(kept[0].StrGet(), "x");
    EXPECT_TRUE(!mgr.ConvertTo(KsDATE_T, values, 1) && !mgr.ConvertFrom(KsDATE_T, nullptr, 1));  // no text slot yet
}

// Scalar life-cycle slots.
TEST(KsScalarSlots, CreateAssignAndSize) {
    KsTypeMgr mgr;
    signed char* chars = static_cast<signed char*>(mgr.Create(Ks1B_T, 4));
    EXPECT_EQ(std::memcmp(chars, "\0\0\0\0", 4), 0);
    signed char seven = 7;
    mgr.AssignmentPtrGet(Ks1B_T)(chars, &seven, 4, 1);  // one value to every element
    EXPECT_EQ(std::memcmp(chars, "\7\7\7\7", 4), 0);
    EXPECT_EQ(mgr.Delete(Ks1B_T, chars, 4), nullptr);
    unsigned char junk[4] = {0xff, 0xff, 0xff, 0xff};
    MemFile file(junk, sizeof junk);
    for (auto s : {std::pair<int, uint>{Ks1B_T, 1}, {Ks2B_T, 2}, {KsFLOAT_T, 4}, {KsDOUBLE_T, 8}, {KsBLOCKID_T, 4}})
        EXPECT_EQ(mgr.DiskLenGetFromMemFile(static_cast<char>(s.first), &file, 2, 5), 5 * s.second) << s.first;
    EXPECT_EQ(file.Tell(), 0);  // the file is not read
}

TEST(KsScalarSlots, Translate) {
    KsTypeMgr mgr;
    // Memory to stored image and back; the high nibble of the order is ignored.
    short s[2] = {0x0102, -2};
    int i = 0x01020304;
    KsI64 l = 0x0102030405060708LL;
    double d = 1.0;
    const struct { int id; void* value; uchar order; uint count; const char* image; uint size; } cases[] = {
        {Ks2B_T, s, 2, 2, "\x01\x02\xff\xfe", 4}, {Ks2B_T, s, 1, 1, "\x02\x01", 2},
        {KsINT_T, &i, 2, 1, "\x01\x02\x03\x04", 4}, {Ks8B_T, &l, 0x12, 1, "\x01\x02\x03\x04\x05\x06\x07\x08", 8},
        {KsDOUBLE_T, &d, 2, 1, "\x3f\xf0\0\0\0\0\0\0", 8}};
    for (const auto& c : cases) {
        unsigned char img[16], back[16] = {};
        EXPECT_EQ(mgr.Translate(static_cast<char>(c.id), img, c.order, 16, c.value, 8, 0, c.count), c.size);
        EXPECT_EQ(std::memcmp(img, c.image, c.size), 0) << c.id;
        EXPECT_EQ(mgr.Translate(static_cast<char>(c.id), back, 8, 0, img, c.order, c.size, c.count), c.size);
        EXPECT_EQ(std::memcmp(back, c.value, c.size), 0) << c.id;
    }
    // Stored to stored never reorders: it pads with zeros or truncates.
    for (uint room : {5u, 2u}) {
        unsigned char dst[5];
        std::memset(dst, 0xaa, sizeof dst);
        EXPECT_EQ(mgr.Translate(Ks1B_T, dst, 1, room, const_cast<char*>("abc"), 2, 3, 3), room == 5 ? 3u : 2u);
        EXPECT_EQ(std::memcmp(dst, room == 5 ? "abc\0\0" : "ab\xaa", room == 5 ? 5 : 3), 0);
    }
    short copy[2] = {};  // memory to memory copies count values
    EXPECT_TRUE(mgr.Translate(KsU2B_T, copy, 8, 0, s, 8, 0, 2) == 4 && copy[1] == -2);
}

// Module entry points.
TEST(KsModule, Identity) {
    const char *name = nullptr, *date = nullptr, *module = nullptr;
    GetKsTypeMgrInfo(nullptr, nullptr, &name, &date, &module);
    EXPECT_STREQ(name, "Brontel Typemanager 11.0.6.169.0 ");
    EXPECT_STREQ(date, "Sep 21 2012");
    EXPECT_STREQ(module, "BR110Btms80");
    uint v[5] = {}, compilerVersion = 0;
    const char *mod, *time, *kind, *compiler, *extra;
    EXPECT_STREQ(KsDescribeDll(&v[0], &v[1], &v[2], &v[3], &v[4], &mod, &time, &kind, &compilerVersion, &compiler,
                               &extra), "Brontel Typemanager");
    EXPECT_EQ(std::vector<uint>(v, v + 5), (std::vector<uint>{11, 0, 6, 169, 0}));
    EXPECT_STREQ(time, "Sep 21 2012 01:49:27");
    EXPECT_STREQ(mod, "BR110Btms80");
    EXPECT_STREQ(kind, "unknown");
    EXPECT_GT(compilerVersion, 0u);
    EXPECT_EQ(KsCheckDll(0), 0);
}

TEST(KsModule, ContextMakesAndDropsTheDefaultManager) {
    ___KsTypemgrContext(0);
    ___KsTypemgrContext(0);  // nothing to delete
    ___KsTypemgrContext(1);
    KsTypeMgr* mgr = DefaultTypeMgr();
    ASSERT_NE(mgr, nullptr);
    EXPECT_TRUE(mgr->LevelGet() == 5 && mgr->TableGet() == KsCurrentTypeTable());
    KsTypeMgr mine(12);
    EXPECT_TRUE(DefaultTypeMgr(&mine) == &mine && DefaultTypeMgr() == &mine);
    DefaultTypeMgr(mgr);
    ___KsTypemgrContext(0);
    EXPECT_EQ(DefaultTypeMgr(), nullptr);
    EXPECT_EQ(___KsTypeMgrOptions(), 0);
}

}  // namespace

// Every completed row through the dispatcher: texts scan into values, the
// values survive store and load in both byte orders, compare equal in memory
// and stored, and print back to the same texts.
struct RowSample { int id; std::vector<const char*> texts; };  // each text prints back as itself
const RowSample kSamples[] = {
    {Ks2B_T, {"-2", "0", "32767"}}, {KsU2B_T, {"0", "65535"}}, {Ks4B_T, {"-1", "2147483647"}},
    {KsU4B_T, {"0", "4294967295"}}, {KsINT_T, {"-7", "12"}}, {KsUNSIGNED_T, {"3000000000"}},
    {KsDOUBLE_T, {"1.5", "-Infinity", "NaN"}}, {Ks8B_T, {"-9223372036854775808", "42"}},
    {KsU8B_T, {"18446744073709551615"}}, {KsINT64_T, {"-5", "1234567890123"}}, {KsBOOLEAN_T, {"TRUE", "FALSE"}},
    {KsNULL_2B_T, {"{NULL}", "-3"}}, {KsNULL_INT_T, {"7", "{NULL}"}}, {KsNULL_DOUBLE_T, {"0.25", "{NULL}"}},
    {KsNULL_KSINT64_T, {"{NULL}", "-77"}}, {KsNULL_U8B_T, {"18446744073709551615", "{NULL}"}},
    {KsSTRING_T, {"abc", "{NULL}", "two words"}}, {KsISTRING_T, {"Apple", "b"}}, {KsCASEISTRING_T, {"Zebra"}},
};

TEST(KsTypeRows, ValuesSurviveTextStorageAndComparison) {
    KsTypeMgr mgr;
    for (const RowSample& sample : kSamples) {
        const char id = static_cast<char>(sample.id);
        SCOPED_TRACE(mgr.NameGet(id, nullptr));
        const uint n = static_cast<uint>(sample.texts.size());
        void *values = mgr.Create(id, n), *loaded = mgr.Create(id, n);
        for (uint i = 0; i < n; ++i) {
            KsString text(sample.texts[i]);
            mgr.ScanFromKsString(id, mgr.GetArrayElement(id, values, i, n), text);
        }
        for (uchar order : {uchar(1), uchar(2)}) {
            unsigned char image[256] = {};
            const bool plain = mgr.StorePtrGet(id) == nullptr;
            const uint size = plain ? mgr.Translate(id, image, order, sizeof image, values, 8, 0, n)
                                    : mgr.Store(id, image, values, order, n);
            ASSERT_GT(size, 0u);
            MemFile file(image, size);
            EXPECT_EQ(mgr.DiskLenGetFromMemFile(id, &file, order, n), size);
            const uint used = plain ? mgr.Translate(id, loaded, 8, 0, image, order, size, n)
                                    : mgr.Load(id, loaded, image, order, n);
            EXPECT_EQ(used, size);
            int s1 = -1, s2 = -1;
            EXPECT_EQ(mgr.Cmp(id, 0, values, 0, loaded, 0, n, 8, s1), 0);
            EXPECT_EQ(mgr.Cmp(id, size, image, size, image, 0, n, order, s2), 0);
            EXPECT_TRUE(s1 == 0 && s2 == 0);
        }
        for (uint i = 0; i < n; ++i) {
            KsString out;
            mgr.PrintToKsString(id, out, mgr.GetArrayElement(id, loaded, i, n));
            EXPECT_STREQ(out.StrGet(), sample.texts[i]);
        }
        // Bulk text conversion gives the same values back.
        KsTypeConvertData* text = mgr.ConvertTo(id, values, n);
        ASSERT_NE(text, nullptr);
        void* back = mgr.ConvertFrom(id, text, n);
        delete text;
        ASSERT_NE(back, nullptr);
        EXPECT_EQ(mgr.Cmp(id, values, back, 0, n, 8), 0);
        for (void* p : {back, values, loaded}) mgr.Delete(id, p, n);
    }
}
