// The type tables, the dispatcher's own logic, the scalar life-cycle slots
// and the module entry points.
#include <gtest/gtest.h>

#include <algorithm>
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
class SlotGuard {
public:
    SlotGuard(F& slot, F value) : slot_(slot), saved_(slot) { slot_ = value; }
    ~SlotGuard() { slot_ = saved_; }

private:
    F& slot_;
    F saved_;
};

KsTypeDescriptor& Row(int id) { return *KsCurrentTypeTable()[id]; }

struct RowExpect {
    int id;
    const char* name;
    const char* idName;
    const char* format;
    uint size;  // 0: pointer-holding kind, sizeof checked separately
    bool fixed;
};

const RowExpect kExpected[] = {
    {0, "o_char", "Ks1B_T", "%c", 1, true},
    {1, "o_2b", "Ks2B_T", "%hd", 2, true},
    {2, "o_4b", "Ks4B_T", "%ld", 4, true},
    {3, "o_double", "KsDOUBLE_T", "%.17g", 8, true},
    {4, "o_float", "KsFLOAT_T", "%.17g", 4, true},
    {5, "o_u2b", "KsU2B_T", "%hu", 2, true},
    {6, "o_u4b", "KsU4B_T", "%lu", 4, true},
    {7, "int", "KsINT_T", "%d", 4, true},
    {8, "unsigned", "KsUNSIGNED_T", "%u", 4, true},
    {9, "enum", "KsENUM_T", "%d", 4, true},
    {10, "o_u1b", "KsU1B_T", "%c", 1, true},
    {11, "KsString", "KsSTRING_T", "%s", 0, false},
    {12, "KsDate", "KsDATE_T", "%a %e.%b %Y", 4, true},
    {13, "KsTime", "KsTIME_T", "%I:%M:%S %p", 3, true},
    {14, "BlockId", "KsBLOCKID_T", "#%lu", 4, true},
    {15, "KsObjId", "KsOBJID_T", "(%H-%L#%B)", 12, true},
    {16, "KsClassId", "KsCLID_T", "(%Cv%V)", 4, true},
    {17, "KsRef", "KsREF_T", "(%D:%H-%L#%B, %C)", 16, true},
    {18, "KsBlob", "KsBLOB_T", "[BLOB,len=%L]", 0, false},
    {19, "KsDateTime", "KsDATIME_T", "%a %e.%b %Y %I:%M:%S %p", 8, true},
    {20, "KsIString", "KsISTRING_T", "%s", 0, false},
    {21, "KsCaseIString", "KsCASEISTRING_T", "%s", 0, false},
    {22, "d_Date", "D_DATE_T", "%a %b %e", 4, true},
    {23, "d_Time", "D_TIME_T", "%I:%M:%S %p", 6, true},
    {24, "d_Timestamp", "D_TIMESTAMP_T", "%a %b %e %I:%M:%S %p", 10, true},
    {25, "d_Interval", "D_INTERVAL_T", "%e days, %I hours, %M minutes, %S seconds", 4, true},
    {26, "KsInt64", "KsINT64_T", "%S", 8, true},
    {27, "KsBoolean", "KsBOOLEAN_T", "noop", 1, true},
    {28, "KsNull_char", "KsNULL_1B_T", "%c", 2, true},
    {29, "KsNull_uchar", "KsNULL_U1B_T", "%c", 2, true},
    {30, "KsNull_short", "KsNULL_2B_T", "%hd", 4, true},
    {31, "KsNull_ushort", "KsNULL_U2B_T", "%hu", 4, true},
    {32, "KsNull_int", "KsNULL_INT_T", "%d", 8, true},
    {33, "KsNull_unsigned", "KsNULL_UNSIGNED_T", "%u", 8, true},
    {34, "KsNull_long", "KsNULL_4B_T", "%ld", 8, true},
    {35, "KsNull_ulong", "KsNULL_U4B_T", "%lu", 8, true},
    {36, "KsNull_float", "KsNULL_FLOAT_T", "%.17g", 8, true},
    {37, "KsNull_double", "KsNULL_DOUBLE_T", "%.17g", 16, true},
    {38, "KsNull_KsInt64", "KsNULL_KSINT64_T", "%S", 12, true},
    {39, "KsSeal", "KsSEAL_T", "noop", 6, true},
    {40, "KsDateTimeN", "KsDATIME_N_T", "%X", 12, true},
    {41, "KsTimeSpan", "KsTIMESPAN_T", "%V", 12, true},
    {42, "o_8b", "Ks8B_T", "%I64d", 8, true},
    {43, "o_u8b", "KsU8B_T", "%I64u", 8, true},
    {44, "KsNull_8b", "KsNULL_8B_T", "%I64d", 16, true},
    {45, "KsNull_u8b", "KsNULL_U8B_T", "%I64u", 16, true},
    {46, "illegal", "KsRES_T", "illegal", 0, true},
};

TEST(KsTypeTable, EveryRowOfTheCurrentTable) {
    KsTypeMgr mgr(5);
    ASSERT_EQ(sizeof(kExpected) / sizeof(kExpected[0]), 47u);
    for (const RowExpect& e : kExpected) {
        SCOPED_TRACE(e.name);
        const char id = static_cast<char>(e.id);
        EXPECT_STREQ(mgr.NameGet(id, nullptr), e.name);
        EXPECT_STREQ(mgr.TypeIdNameGet(id, nullptr), e.idName);
        EXPECT_STREQ(Row(e.id).format, e.format);
        EXPECT_EQ(mgr.IsFixed(id), e.fixed ? 1 : 0);
        if (e.size || e.id == KsRES_T) {
            EXPECT_EQ(mgr.MemLenGet(id, 1), e.size);
        } else {
            EXPECT_EQ(mgr.MemLenGet(id, 1), e.id == KsBLOB_T ? sizeof(void*) : sizeof(KsString));
        }
    }
}

TEST(KsTypeTable, SlotsAreFilledExactlyWhereTheRowHasThem) {
    for (int old = 0; old < 2; ++old) {
        KsTypeDescriptor** table = old ? KsOldTypeTable() : KsCurrentTypeTable();
        const int rows = old ? KsOldTypeRowCount : KsTypeRowCount;
        for (int id = 0; id < rows; ++id) {
            for (int slot = 0; slot < 28; ++slot) {
                SCOPED_TRACE("table " + std::to_string(old) + " row " + std::to_string(id) +
                             " slot " + std::to_string(slot));
                const bool filled = KsTypeSlotGet(table[id], slot) != nullptr;
                if (slot == 24) continue;  // the layout word of row 46 is non-zero anyway
                if (id == KsRES_T) {
                    EXPECT_EQ(filled, slot != 20 && slot != 27);
                } else {
                    EXPECT_EQ(filled, !KsSlotIsEmptyByDesign(id, slot, old)) ;
                }
            }
        }
    }
}

TEST(KsTypeTable, EqualRepresentationsShareSlots) {
    const int shared[] = {14, 15, 16, 17, 18, 22, 23, 25};
    for (auto pair : {std::pair{0, 10}, std::pair{1, 5}, std::pair{2, 6}})
        for (int slot : shared)
            EXPECT_EQ(KsTypeSlotGet(&Row(pair.first), slot), KsTypeSlotGet(&Row(pair.second), slot))
                << pair.first << "/" << pair.second << " slot " << slot;
    for (int slot : {14, 15, 16, 17, 22, 23, 25}) {
        EXPECT_EQ(KsTypeSlotGet(&Row(7), slot), KsTypeSlotGet(&Row(8), slot));
        EXPECT_EQ(KsTypeSlotGet(&Row(7), slot), KsTypeSlotGet(&Row(9), slot));
    }
    EXPECT_NE(Row(7).translate, Row(8).translate);
    EXPECT_NE(Row(7).translate, Row(9).translate);
    EXPECT_NE(Row(8).translate, Row(9).translate);
    // One always-0 is-null for every scalar row and the reserved row.
    for (int id : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 14, 42, 43, 46}) EXPECT_EQ(Row(id).isNull, Row(0).isNull);
    EXPECT_EQ(Row(0).isNull(nullptr), 0);
}

TEST(KsTypeTable, OldTableDiffersOnlyInTheStringRow) {
    KsTypeDescriptor** oldT = KsOldTypeTable();
    KsTypeDescriptor** cur = KsCurrentTypeTable();
    for (int id = 0; id < KsOldTypeRowCount; ++id)
        if (id != KsSTRING_T) {
            EXPECT_EQ(oldT[id], cur[id]) << id;
        }
    const KsTypeDescriptor& o = *oldT[KsSTRING_T];
    const KsTypeDescriptor& c = *cur[KsSTRING_T];
    ASSERT_NE(&o, &c);
    EXPECT_STREQ(o.name, "KsString");
    EXPECT_STREQ(o.idName, "KsSTRING_T");
    for (int slot : {2, 3, 5, 6, 12, 13, 14, 15, 16, 17, 21, 22, 23, 24, 25})
        EXPECT_EQ(KsTypeSlotGet(&o, slot), KsTypeSlotGet(&c, slot)) << slot;
    EXPECT_EQ(o.isNull, cur[0]->isNull);
    EXPECT_EQ(o.setNull, nullptr);
    EXPECT_EQ(o.getValue, KsReservedRow().getValue);
}

TEST(KsTypeTable, IdMapping) {
    struct {
        int id;
        int row;
        int valid;
    } cases[] = {{0, 0, 1}, {46, 46, 1}, {47, 47, 0}, {99, 99, 0}, {100, 46, 1},
                 {101, 46, 1}, {127, 46, 1}, {-1, -1, 1}};
    KsTypeMgr mgr;
    for (auto c : cases) {
        EXPECT_EQ(KsTypeMgr::RowOf(static_cast<char>(c.id)), c.row) << c.id;
        EXPECT_EQ(mgr.IsValidType(static_cast<char>(c.id)), c.valid) << c.id;
    }
    // Unchecked ids land on the reserved row's inert functions, not outside the table.
    for (int id : {-128, -1, 47, 99, 100, 127}) {
        EXPECT_STREQ(mgr.NameGet(static_cast<char>(id), nullptr), "illegal") << id;
        EXPECT_EQ(mgr.Create(static_cast<char>(id), 3), nullptr);
    }
}

TEST(KsTypeMgrTest, VersionSelectsTableAndLevel) {
    struct {
        uint version;
        bool old;
        ushort level;
    } cases[] = {{0, true, 0}, {3, true, 3}, {4, false, 4}, {5, false, 5}, {10, false, 10},
                 {11, true, 3}, {12, false, 4}, {1000, false, 4}};
    for (auto c : cases) {
        KsTypeMgr mgr(c.version);
        EXPECT_EQ(mgr.TableGet(), c.old ? KsOldTypeTable() : KsCurrentTypeTable()) << c.version;
        EXPECT_EQ(mgr.LevelGet(), c.level) << c.version;
        KsTypeMgr other;
        other.SetFactory(c.version);
        EXPECT_EQ(other.TableGet(), mgr.TableGet());
        EXPECT_EQ(other.LevelGet(), c.level);
    }
    EXPECT_EQ(KsTypeMgr().LevelGet(), 5);
    EXPECT_EQ(KsTypeMgr(12).SupportsNullValue(KsSTRING_T), 1);
    EXPECT_EQ(KsTypeMgr(11).SupportsNullValue(KsSTRING_T), 0);
}

TEST(KsTypeMgrTest, Names) {
    KsTypeMgr mgr;
    char id = 99;
    EXPECT_EQ(mgr.Name2KsTypeId("KsString", id), 0);
    EXPECT_EQ(id, 11);
    EXPECT_EQ(mgr.Name2KsTypeId("KsSTRING_T", id), 1);  // id names do not count
    EXPECT_EQ(id, 47);
    EXPECT_EQ(mgr.Name2KsTypeId("kSstring", id), 1);
    EXPECT_EQ(mgr.Name2KsTypeId("KsNull_u8b", id), 0);
    EXPECT_EQ(id, 45);
    KsTypeMgr old(3);
    EXPECT_EQ(old.Name2KsTypeId("KsBoolean", id), 0);
    EXPECT_EQ(id, 27);
    EXPECT_EQ(old.Name2KsTypeId("KsNull_u8b", id), 1);  // the old table has no row 45

    char buf[32];
    EXPECT_EQ(mgr.NameGet(KsDATE_T, buf), buf);
    EXPECT_STREQ(buf, "KsDate");
    EXPECT_EQ(mgr.TypeIdNameGet(KsDATE_T, buf), buf);
    EXPECT_STREQ(buf, "KsDATE_T");
}

TEST(KsTypeMgrTest, ArrayElements) {
    KsTypeMgr mgr;
    char base[64];
    EXPECT_EQ(mgr.GetArrayElement(Ks2B_T, base, 5, 5), nullptr);
    EXPECT_EQ(mgr.GetArrayElement(Ks2B_T, base, 5, 0), base + 10);
    EXPECT_EQ(mgr.GetArrayElement(KsTIME_T, base, 4, 5), base + 12);
    EXPECT_EQ(mgr.MemLenGet(KsNULL_DOUBLE_T, 4097), static_cast<ushort>(16 * 4097));
    EXPECT_EQ(mgr.ComparePtrGet(Ks2B_T), nullptr);
    EXPECT_EQ(mgr.DiskIsNullValue(Ks2B_T, base), KS_NOT_SUPPORTED);
}

KsString& PrintShort(KsString& out, void* value, const char* format, uint) {
    char buf[32];
    std::snprintf(buf, sizeof buf, format, *static_cast<short*>(value));
    out = buf;
    return out;
}

KsString& PrintBytes(KsString& out, void* value, const char*, uint count) {
    out = KsString(static_cast<const char*>(value), static_cast<unsigned short>(count));
    return out;
}

TEST(KsTypeMgrTest, PrintsArraysWithSeparators) {
    KsTypeMgr mgr;
    SlotGuard<KsPrintFunc> guard(Row(Ks2B_T).print, &PrintShort);
    short values[3] = {1, 2, 3};
    KsString out;
    EXPECT_STREQ(mgr.PrintToKsString(Ks2B_T, out, values, nullptr, 3).StrGet(), "1,2,3");
    KsString one;
    EXPECT_STREQ(mgr.PrintToKsString(Ks2B_T, one, values + 1, "%hd", 1).StrGet(), "2");
    KsString hex;
    EXPECT_STREQ(mgr.PrintToKsString(Ks2B_T, hex, values, "<%x>", 2).StrGet(), "<1>,<2>");

    // Character arrays print as one text through the byte printer, whatever
    // the other byte row holds; any other printer is walked per element.
    char abc[] = "abc";
    struct {
        KsPrintFunc row0, row10;
        int id;
        const char* expected;
    } chars[] = {
        {Row(Ks1B_T).print, Row(KsU1B_T).print, KsU1B_T, "abc"},
        {&PrintBytes, Row(KsU1B_T).print, KsU1B_T, "abc"},
        {Row(Ks1B_T).print, Row(KsU1B_T).print, Ks1B_T, "abc"},
        {&PrintBytes, Row(KsU1B_T).print, Ks1B_T, "a,b,c"},
    };
    for (const auto& c : chars) {
        SlotGuard<KsPrintFunc> c0(Row(Ks1B_T).print, c.row0);
        SlotGuard<KsPrintFunc> c10(Row(KsU1B_T).print, c.row10);
        KsString text;
        EXPECT_STREQ(mgr.PrintToKsString(static_cast<char>(c.id), text, abc, nullptr, 3).StrGet(),
                     c.expected);
    }

    // An empty print slot leaves the output as it was.
    KsString untouched("keep");
    SlotGuard<KsPrintFunc> none(Row(Ks2B_T).print, nullptr);
    EXPECT_STREQ(mgr.PrintToKsString(Ks2B_T, untouched, values, nullptr, 3).StrGet(), "keep");
}

void* ScanShort(void* value, KsString& in, const char*, uint) {
    *static_cast<short*>(value) = static_cast<short>(std::atoi(in.StrGet()) + 40);
    return value;
}

void* FromTextShort(KsTypeConvertData* text, uint count) {
    short* out = new short[count];
    for (uint i = 0; i < count; ++i) {
        KsString* s = text->GetString(static_cast<int>(i));
        out[i] = static_cast<short>(s ? std::atoi(s->StrGet()) - 1 : -1);
    }
    return out;
}

void* DeleteShorts(void* values, uint) {
    delete[] static_cast<short*>(values);
    return nullptr;
}

KsTypeConvertData* ToTextShort(void* values, uint count) {
    KsString* strings = new KsString[count];
    for (uint i = 0; i < count; ++i) strings[i] = KsString(static_cast<int>(static_cast<short*>(values)[i]));
    return KsTypeConvertData::Make(KsSTRING_T, count, strings, nullptr);
}

int NoNull(void*) { return KS_NOT_SUPPORTED; }

TEST(KsTypeMgrTest, SetNullValueFallsBack) {
    KsTypeMgr mgr;
    // 1. The row's own set-null.
    KsString s("text");
    EXPECT_EQ(mgr.SetNullValue(KsSTRING_T, &s), 0);
    EXPECT_EQ(s.IsNullValue(), 1);

    // 2. No set-null: the empty text converted through slot 13, assigned by slot 16.
    KsTypeDescriptor& r = Row(Ks2B_T);
    short v = 5;
    {
        SlotGuard<KsFromTextFunc> g1(r.fromText, &FromTextShort);
        SlotGuard<KsDeleteFunc> g2(r.destroy, &DeleteShorts);
        EXPECT_EQ(mgr.SetNullValue(Ks2B_T, &v), 0);
        EXPECT_EQ(v, -1);  // atoi("") - 1
        // A set-null answering -2999 falls back the same way.
        SlotGuard<KsSetNullFunc> g3(r.setNull, &NoNull);
        v = 5;
        EXPECT_EQ(mgr.SetNullValue(Ks2B_T, &v), 0);
        EXPECT_EQ(v, -1);
    }
    // 3. No assignment: the scan slot reads "0".
    {
        SlotGuard<KsAssignFunc> g1(r.assign, nullptr);
        SlotGuard<KsScanFunc> g2(r.scan, &ScanShort);
        v = 5;
        EXPECT_EQ(mgr.SetNullValue(Ks2B_T, &v), 0);
        EXPECT_EQ(v, 40);
    }
}

TEST(KsTypeMgrTest, GetValueStepsInMemory) {
    KsTypeMgr mgr;
    signed char c = 127;
    EXPECT_EQ(mgr.GetValue(Ks1B_T, &c, 0, 8, 'N'), KS_STEP_OVERFLOW);
    EXPECT_EQ(c, 127);
    EXPECT_EQ(mgr.GetValue(Ks1B_T, &c, 0, 8, 'O'), 0);
    EXPECT_EQ(mgr.GetValue(Ks1B_T, &c, 0, 8, 2), KS_NOT_SUPPORTED);
    EXPECT_EQ(Row(Ks1B_T).getValue(&c, 0, 8, 2), 0);  // mode 2 only through the slot
    EXPECT_EQ(c, -128);
    EXPECT_EQ(Row(Ks1B_T).getValue(&c, 0, 2, 'N'), KS_NOT_SUPPORTED);  // scalars step only in memory

    unsigned char u = 200;
    EXPECT_EQ(mgr.GetValue(KsU1B_T, &u, 0, 8, 'M'), 0);
    EXPECT_EQ(u, 201);
    int i = 0x7fffffff;
    EXPECT_EQ(mgr.GetValue(KsINT_T, &i, 0, 8, 'N'), KS_STEP_OVERFLOW);
    EXPECT_EQ(Row(KsINT_T).getValue(&i, 0, 8, 2), 0);
    EXPECT_EQ(static_cast<uint>(i), 0x80000000u);
    unsigned int w = 0xffffffffu;
    EXPECT_EQ(mgr.GetValue(KsU4B_T, &w, 0, 8, 'N'), KS_STEP_OVERFLOW);
    KsI64 big = 41;
    EXPECT_EQ(mgr.GetValue(Ks8B_T, &big, 0, 8, 'N'), 0);
    EXPECT_EQ(big, 42);
    double d = 1e300;
    EXPECT_EQ(mgr.GetValue(KsDOUBLE_T, &d, 0, 8, 'N'), KS_STEP_OVERFLOW);  // +1 is lost
    EXPECT_EQ(mgr.GetValue(KsSTRING_T, &d, 0, 8, 'X'), KS_NOT_SUPPORTED);
}

uint StoreShortImage(void* disk, const void* mem, uchar order, uint count) {
    return ShortStore(disk, mem, order, count);
}
uint LoadShortImage(void* mem, const void* disk, uchar order, uint count) {
    return ShortStore(mem, disk, order, count);
}

TEST(KsTypeMgrTest, GetValueStepsStoredImages) {
    KsTypeMgr mgr;
    unsigned char image[2] = {0x00, 0x05};
    // Plain scalars have no load slot: a stored image cannot be stepped.
    EXPECT_EQ(mgr.GetValue(Ks2B_T, image, 0, 2, 'N'), KS_NOT_SUPPORTED);

    SlotGuard<KsStoreFunc> g1(Row(Ks2B_T).store, &StoreShortImage);
    SlotGuard<KsLoadFunc> g2(Row(Ks2B_T).load, &LoadShortImage);
    unsigned char le[2] = {0x05, 0x00};
    EXPECT_EQ(mgr.GetValue(Ks2B_T, le, 0, 1, 'N'), 0);
    EXPECT_EQ(le[0], 0x06);
    EXPECT_EQ(le[1], 0x00);
    unsigned char top[2] = {0xff, 0x7f};
    EXPECT_EQ(mgr.GetValue(Ks2B_T, top, 0, 1, 'N'), KS_STEP_OVERFLOW);
    EXPECT_EQ(top[0], 0xff);
    // The byte order is the storage code masked with 0x81: 2 becomes 0,
    // least significant byte first.
    EXPECT_EQ(mgr.GetValue(Ks2B_T, image, 0, 2, 'M'), 0);
    EXPECT_EQ(image[0], 0x01);
    EXPECT_EQ(image[1], 0x05);
}

const void* g_storedValue;
uint CaptureStore(void*, const void* mem, uchar, uint count) {
    g_storedValue = mem;
    return count * 7;
}

TEST(KsTypeMgrTest, StoreTimeStampHandsTheRecord) {
    KsTypeMgr mgr;
    KsTimeStampRecord rec{2024, 2, 29, 13, 45, 30, 500};
    char disk[16];
    EXPECT_EQ(mgr.StoreTimeStamp(KsDATE_T, disk, 1, nullptr), KS_NOT_SUPPORTED);
    for (int id : {KsDATE_T, KsDATIME_T, KsDATIME_N_T, KsTIME_T, KsBOOLEAN_T}) {
        SlotGuard<KsStoreFunc> g(Row(id).store, &CaptureStore);
        g_storedValue = &disk;
        EXPECT_EQ(mgr.StoreTimeStamp(static_cast<char>(id), disk, 1, &rec), 7) << id;
        const void* expected = id == KsTIME_T ? static_cast<const void*>(&rec.hour)
                               : id == KsBOOLEAN_T ? nullptr
                                                   : static_cast<const void*>(&rec);
        EXPECT_EQ(g_storedValue, expected) << id;
    }
}

TEST(KsTypeMgrTest, Capabilities) {
    KsTypeMgr mgr;
    const int integral[] = {0, 1, 2, 5, 6, 7, 8, 9, 10, 15, 26, 42, 43};
    const int temporal[] = {12, 13, 19, 22, 23, 24, 40};
    for (int id = -5; id < 128; ++id) {
        const char c = static_cast<char>(id);
        bool isInt = std::find(std::begin(integral), std::end(integral), id) != std::end(integral);
        bool isTime = std::find(std::begin(temporal), std::end(temporal), id) != std::end(temporal);
        EXPECT_EQ(mgr.SupportsCapability(c, 2), isInt ? 1 : 0) << id;
        EXPECT_EQ(mgr.SupportsCapability(c, 3), isTime ? 1 : 0) << id;
        EXPECT_EQ(mgr.SupportsCapability(c, 4), 0);
    }
    EXPECT_EQ(mgr.SupportsNullValue(Ks2B_T), 0);
    EXPECT_EQ(mgr.SupportsNullValue(KsSTRING_T), 1);
    EXPECT_EQ(mgr.SupportsNullValue(KsDATE_T), 1);
    EXPECT_EQ(mgr.SupportsNullValue(D_DATE_T), 0);
    EXPECT_EQ(mgr.SupportsNullValue(100), 0);
}

TEST(KsTypeMgrTest, ExchangeOperationsChangeTheSharedRow) {
    KsTypeMgr a, b(12);
    const char* original = a.ExchangeFormat(Ks2B_T, "%05hd");
    EXPECT_STREQ(original, "%hd");
    EXPECT_STREQ(b.ExchangeFormat(Ks2B_T, nullptr), "%05hd");  // seen through another manager
    EXPECT_STREQ(a.ExchangeFormat(Ks2B_T, original), "%05hd");

    KsPrintFunc oldPrint = a.ExchangePrintToKsStringFunc(Ks2B_T, &PrintShort);
    EXPECT_EQ(b.ExchangePrintToKsStringFunc(Ks2B_T, nullptr), &PrintShort);
    EXPECT_EQ(a.ExchangePrintToKsStringFunc(Ks2B_T, oldPrint), &PrintShort);
    KsScanFunc oldScan = a.ExchangeScanFromKsStringFunc(Ks2B_T, &ScanShort);
    short v = 0;
    KsString two("2");
    EXPECT_EQ(b.ScanFromKsString(Ks2B_T, &v, two), &v);
    EXPECT_EQ(v, 42);
    a.ExchangeScanFromKsStringFunc(Ks2B_T, oldScan);
    KsTypeCmpFunc oldCmp = a.ExchangeKsTypeCmpFunc(Ks2B_T, nullptr);
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
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back[0], 9);  // FromTextShort subtracts one
    EXPECT_EQ(back[1], -3);
    EXPECT_EQ(back[2], 299);
    EXPECT_EQ(text->Len(), 0);  // the pieces were cut from the text
    delete[] back;
    mgr.Delete(KsSTRING_T, text, 1);

    KsString list("7;8;");
    short* two = static_cast<short*>(mgr.ConvertFromKsStringOld(&list, Ks2B_T, 2));
    EXPECT_EQ(two[0], 6);
    EXPECT_EQ(two[1], 7);
    delete[] two;

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
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->owner, &mgr);
    EXPECT_EQ(d->type, KsSTRING_T);
    EXPECT_STREQ(d->GetString(1)->StrGet(), "5");
    EXPECT_EQ(d->GetString(2), nullptr);
    EXPECT_EQ(d->GetString(-1), nullptr);
    {
        // The destructor frees the strings through the owner's delete slot.
        SlotGuard<KsDeleteFunc> g(Row(KsSTRING_T).destroy, &CountingStringDelete);
        g_stringDeletes = 0;
        delete d;
        EXPECT_EQ(g_stringDeletes, 2u);
    }

    // Without owner the destructor leaves the data alone.
    KsString kept[1] = {KsString("x")};
    KsTypeConvertData* loose = KsTypeConvertData::Make(KsSTRING_T, 1, kept, nullptr);
    delete loose;
    EXPECT_STREQ(kept[0].StrGet(), "x");
    KsTypeConvertData* wrongType = KsTypeConvertData::Make(Ks2B_T, 1, kept, nullptr);
    EXPECT_EQ(wrongType->GetString(0), nullptr);
    delete wrongType;

    EXPECT_EQ(mgr.ConvertTo(KsDATE_T, values, 1), nullptr);
    EXPECT_EQ(mgr.ConvertFrom(KsDATE_T, nullptr, 1), nullptr);  // no text slot yet
}

TEST(KsTypeMgrTest, NullPrintString) {
    EXPECT_STREQ(KsTypeMgr::GetNullPrintString().StrGet(), "{NULL}");
    KsTypeMgr::SetNullPrintString(KsString("<null>"));
    EXPECT_STREQ(KsTypeMgr::GetNullPrintString().StrGet(), "<null>");
    KsTypeMgr::SetNullPrintString(KsString("{NULL}"));
}

// ---------------------------------------------------------------------------
// Scalar life-cycle slots.
// ---------------------------------------------------------------------------
TEST(KsScalarSlots, CreateAssignAndSize) {
    KsTypeMgr mgr;
    signed char* chars = static_cast<signed char*>(mgr.Create(Ks1B_T, 4));
    for (int i = 0; i < 4; ++i) EXPECT_EQ(chars[i], 0);
    signed char seven = 7;
    mgr.AssignmentPtrGet(Ks1B_T)(chars, &seven, 4, 1);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(chars[i], 7);
    signed char src[4] = {1, 2, 3, 4};
    mgr.CopyPtrGet(Ks1B_T)(chars, src, 4, 0);
    EXPECT_EQ(std::memcmp(chars, src, 4), 0);
    mgr.ConstructorPtrGet(Ks1B_T)(chars, 4, 0);
    EXPECT_EQ(chars[3], 0);
    EXPECT_EQ(mgr.Delete(Ks1B_T, chars, 4), nullptr);

    double* d = static_cast<double*>(mgr.DefaultValue(KsDOUBLE_T, 3));
    EXPECT_EQ(d[0] + d[1] + d[2], 0.0);
    mgr.Delete(KsDOUBLE_T, d, 3);

    unsigned char junk[4] = {0xff, 0xff, 0xff, 0xff};
    MemFile file(junk, sizeof junk);
    struct {
        int id;
        uint perValue;
    } sizes[] = {{Ks1B_T, 1}, {Ks2B_T, 2}, {Ks4B_T, 4}, {KsINT_T, 4}, {KsFLOAT_T, 4},
                 {KsDOUBLE_T, 8}, {Ks8B_T, 8}, {KsBLOCKID_T, 4}};
    for (auto s : sizes)
        EXPECT_EQ(mgr.DiskLenGetFromMemFile(static_cast<char>(s.id), &file, 2, 5), 5 * s.perValue) << s.id;
    EXPECT_EQ(file.Tell(), 0);  // the file is not read
}

TEST(KsScalarSlots, Translate) {
    KsTypeMgr mgr;
    // Memory to stored image and back, both byte orders, every width.
    short s[2] = {0x0102, -2};
    unsigned char img[16];
    EXPECT_EQ(mgr.Translate(Ks2B_T, img, 2, 16, s, 8, 0, 2), 4u);
    EXPECT_EQ(std::memcmp(img, "\x01\x02\xff\xfe", 4), 0);
    short back[2] = {};
    EXPECT_EQ(mgr.Translate(Ks2B_T, back, 8, 0, img, 2, 4, 2), 4u);
    EXPECT_EQ(back[0], s[0]);
    EXPECT_EQ(back[1], s[1]);
    EXPECT_EQ(mgr.Translate(Ks2B_T, img, 1, 16, s, 8, 0, 1), 2u);
    EXPECT_EQ(std::memcmp(img, "\x02\x01", 2), 0);

    int i = 0x01020304;
    EXPECT_EQ(mgr.Translate(KsINT_T, img, 2, 16, &i, 8, 0, 1), 4u);
    EXPECT_EQ(std::memcmp(img, "\x01\x02\x03\x04", 4), 0);
    KsI64 l = 0x0102030405060708LL;
    EXPECT_EQ(mgr.Translate(Ks8B_T, img, 0x12, 16, &l, 8, 0, 1), 8u);  // high nibble ignored
    EXPECT_EQ(std::memcmp(img, "\x01\x02\x03\x04\x05\x06\x07\x08", 8), 0);
    double d = 1.0;
    EXPECT_EQ(mgr.Translate(KsDOUBLE_T, img, 2, 16, &d, 8, 0, 1), 8u);
    EXPECT_EQ(std::memcmp(img, "\x3f\xf0\0\0\0\0\0\0", 8), 0);

    // Stored to stored never reorders: it pads with zeros or truncates.
    unsigned char dst[5];
    std::memset(dst, 0xaa, sizeof dst);
    EXPECT_EQ(mgr.Translate(Ks1B_T, dst, 1, 5, const_cast<char*>("abc"), 2, 3, 3), 3u);
    EXPECT_EQ(std::memcmp(dst, "abc\0\0", 5), 0);
    std::memset(dst, 0xaa, sizeof dst);
    EXPECT_EQ(mgr.Translate(Ks1B_T, dst, 1, 2, const_cast<char*>("abc"), 2, 3, 3), 2u);
    EXPECT_EQ(std::memcmp(dst, "ab\xaa", 3), 0);
    // Memory to memory copies count values.
    short copy[2] = {};
    EXPECT_EQ(mgr.Translate(KsU2B_T, copy, 8, 0, s, 8, 0, 2), 4u);
    EXPECT_EQ(copy[1], -2);
    EXPECT_EQ(mgr.Translate(KsU2B_T, copy, 8, 0, s, 8, 0, 0), 0u);
}

// ---------------------------------------------------------------------------
// Module entry points.
// ---------------------------------------------------------------------------
TEST(KsModule, Identity) {
    const char* name = nullptr;
    const char* date = nullptr;
    const char* module = nullptr;
    GetKsTypeMgrInfo(nullptr, nullptr, &name, &date, &module);
    const char* again = nullptr;
    GetKsTypeMgrInfo(nullptr, nullptr, &again, nullptr, nullptr);
    EXPECT_EQ(name, again);
    EXPECT_STREQ(again, "Brontel Typemanager 11.0.6.169.0 ");
    EXPECT_STREQ(date, "Sep 21 2012");
    EXPECT_STREQ(module, "BR110Btms80");

    uint v[5] = {};
    uint compilerVersion = 0;
    const char *mod, *time, *kind, *compiler, *extra;
    const char* product = KsDescribeDll(&v[0], &v[1], &v[2], &v[3], &v[4], &mod, &time, &kind,
                                        &compilerVersion, &compiler, &extra);
    EXPECT_STREQ(product, "Brontel Typemanager");
    EXPECT_EQ(v[0], 11u);
    EXPECT_EQ(v[1], 0u);
    EXPECT_EQ(v[2], 6u);
    EXPECT_EQ(v[3], 169u);
    EXPECT_EQ(v[4], 0u);
    EXPECT_STREQ(mod, "BR110Btms80");
    EXPECT_STREQ(time, "Sep 21 2012 01:49:27");
    EXPECT_STREQ(kind, "unknown");
    EXPECT_STREQ(extra, "");
    EXPECT_GT(compilerVersion, 0u);
    EXPECT_EQ(KsCheckDll(0), 0);
}

TEST(KsModule, ContextMakesAndDropsTheDefaultManager) {
    ___KsTypemgrContext(0);
    EXPECT_EQ(DefaultTypeMgr(), nullptr);
    ___KsTypemgrContext(0);  // nothing to delete
    EXPECT_EQ(DefaultTypeMgr(), nullptr);
    ___KsTypemgrContext(1);
    KsTypeMgr* mgr = DefaultTypeMgr();
    ASSERT_NE(mgr, nullptr);
    EXPECT_EQ(mgr->LevelGet(), 5);
    EXPECT_EQ(mgr->TableGet(), KsCurrentTypeTable());

    KsTypeMgr mine(12);
    EXPECT_EQ(DefaultTypeMgr(&mine), &mine);
    EXPECT_EQ(DefaultTypeMgr(), &mine);
    DefaultTypeMgr(mgr);
    ___KsTypemgrContext(0);
    EXPECT_EQ(DefaultTypeMgr(), nullptr);

    int& options = ___KsTypeMgrOptions();
    EXPECT_EQ(options, 0);
    EXPECT_EQ(&options, &___KsTypeMgrOptions());
}

}  // namespace

// ---------------------------------------------------------------------------
// Every completed row through the dispatcher: texts scan into values, the
// values survive store and load in both byte orders, compare equal in memory
// and stored, and print back to the same texts.
// ---------------------------------------------------------------------------
struct RowSample {
    int id;
    std::vector<const char*> texts;  // each prints back as itself
};

const RowSample kSamples[] = {
    {Ks2B_T, {"-2", "0", "32767"}},
    {KsU2B_T, {"0", "65535"}},
    {Ks4B_T, {"-1", "2147483647"}},
    {KsU4B_T, {"0", "4294967295"}},
    {KsINT_T, {"-7", "12"}},
    {KsUNSIGNED_T, {"3000000000"}},
    {KsDOUBLE_T, {"1.5", "-Infinity", "NaN"}},
    {Ks8B_T, {"-9223372036854775808", "42"}},
    {KsU8B_T, {"18446744073709551615"}},
    {KsINT64_T, {"-5", "1234567890123"}},
    {KsBOOLEAN_T, {"TRUE", "FALSE"}},
    {KsNULL_2B_T, {"{NULL}", "-3"}},
    {KsNULL_INT_T, {"7", "{NULL}"}},
    {KsNULL_DOUBLE_T, {"0.25", "{NULL}"}},
    {KsNULL_KSINT64_T, {"{NULL}", "-77"}},
    {KsNULL_U8B_T, {"18446744073709551615", "{NULL}"}},
    {KsSTRING_T, {"abc", "{NULL}", "two words"}},
    {KsISTRING_T, {"Apple", "b"}},
    {KsCASEISTRING_T, {"Zebra"}},
};

TEST(KsTypeRows, ValuesSurviveTextStorageAndComparison) {
    KsTypeMgr mgr;
    for (const RowSample& sample : kSamples) {
        const char id = static_cast<char>(sample.id);
        SCOPED_TRACE(mgr.NameGet(id, nullptr));
        const uint n = static_cast<uint>(sample.texts.size());
        void* values = mgr.Create(id, n);
        void* loaded = mgr.Create(id, n);
        ASSERT_NE(values, nullptr);
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
            int status = -1;
            EXPECT_EQ(mgr.Cmp(id, 0, values, 0, loaded, 0, n, 8, status), 0);
            EXPECT_EQ(status, 0);
            EXPECT_EQ(mgr.Cmp(id, size, image, size, image, 0, n, order, status), 0);
            EXPECT_EQ(status, 0);
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
        mgr.Delete(id, back, n);
        mgr.Delete(id, values, n);
        mgr.Delete(id, loaded, n);
    }
}
