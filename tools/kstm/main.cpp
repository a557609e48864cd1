// kstm: the command-line face of the type manager.
//   kstm help | types | demo
// Unknown subcommands and bad arguments give a one-line error and status 2.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "codec.h"
#include "kstypemgr.h"
#include "ksutf8.h"

namespace {

constexpr int kUsageError = 2;

int Usage(std::FILE* out) {
    std::fputs(
        "usage: kstm <command> [arguments]\n"
        "\n"
        "commands:\n"
        "  help    this text\n"
        "  types   both type tables: id, name, id name, default format, size, fixed,\n"
        "          and which of the slots 2 to 27 are filled\n"
        "  demo    a short walk-through of what the library does\n"
        "  encode TYPE [--order msb|lsb|native] [--codeset C] [--language L] VALUE...\n"
        "          the stored image of the values, in hex (blob values are hex)\n"
        "  decode TYPE [--order msb|lsb|native] [--count N] HEX\n"
        "          the values of a stored image\n"
        "  compare TYPE [--mode M] [--language L] [--codeset C] A B\n"
        "          the comparator's result and status for two values\n"
        "\n"
        "TYPE is a type name (KsString, o_4b, KsNull_int ...), an id name\n"
        "(KsSTRING_T) or an id. Texts are UTF-8; strings are held in code set C\n"
        "(default 1, ISO-8859-1) and language L (default 0).\n",
        out);
    return 0;
}

int Fail(const std::string& message) {
    std::fprintf(stderr, "kstm: %s\n", message.c_str());
    return kUsageError;
}

// One character per slot 2..27: '+' filled, '~' stand-in while the kind is
// being completed, '.' empty.
std::string SlotMap(const KsTypeDescriptor* row, int rowIndex, bool pendingKnown) {
    std::string map;
    for (int slot = 2; slot <= 27; ++slot) {
        if (slot == 21 || slot == 24) {
            map += '+';  // format text and layout word are always present
            continue;
        }
        if (!KsTypeSlotGet(row, slot)) map += '.';
        else if (pendingKnown && KsTypeSlotPending(rowIndex, slot)) map += '~';
        else map += '+';
    }
    return map;
}

void PrintTable(const char* title, uint version, int rows) {
    KsTypeMgr mgr(version);
    KsTypeDescriptor* const* table = mgr.TableGet();
    std::printf("%s (format version %u, level %u)\n", title, version, mgr.LevelGet());
    std::printf("%4s  %-16s %-18s %-42s %4s %-5s %s\n", "id", "name", "id name", "format", "size",
                "fixed", "slots 2..27");
    for (int id = 0; id < rows; ++id) {
        const KsTypeDescriptor* row = table[id];
        const bool ownRow = row == KsCurrentTypeTable()[id];
        std::printf("%4d  %-16s %-18s %-42s %4u %-5s %s\n", id, row->name, row->idName,
                    row->format, static_cast<uint>(row->layout & 0xFFFF),
                    (row->layout >> 16) ? "yes" : "no", SlotMap(row, id, ownRow).c_str());
    }
    std::printf("\n");
}

int Types(int argc, char**) {
    if (argc > 2) return Fail("types takes no arguments");
    PrintTable("current table", 5, KsTypeRowCount);
    PrintTable("old table", 3, KsOldTypeRowCount);
    std::printf("slots: + filled, . empty, ~ stand-in while the kind is being completed\n");
    std::printf("ids 100 to 127 map to row 46 (\"illegal\")\n");
    return 0;
}

// Bytes spaced for reading.
std::string Hex(const void* p, std::size_t n) { return KstmHex(p, n, " "); }

std::string Describe(const KsString& s) {
    char head[64];
    std::snprintf(head, sizeof head, "code set %u, language %u, size %u: ", s.CodeSet(),
                  s.Language(), s.Size());
    return head + (s.Text() ? Hex(s.Text(), s.Size()) : std::string("(no buffer)"));
}

int Demo(int argc, char**) {
    if (argc > 2) return Fail("demo takes no arguments");
    ___KsTypemgrContext(1);
    KsTypeMgr& mgr = *DefaultTypeMgr();

    const char* info = nullptr;
    const char* compiler = nullptr;
    uint compilerVersion = 0;
    GetKsTypeMgrInfo(&compiler, &compilerVersion, &info, nullptr, nullptr);
    std::printf("== module\n%s(built with %s %u), version check: %d\n\n", info, compiler,
                compilerVersion, KsCheckDll(0));

    std::printf("== type ids\n");
    for (int id : {0, 11, 26, 46, 100, 127}) {
        std::printf("id %3d -> row %2d  %-12s %-14s valid=%d size=%u\n", id,
                    KsTypeMgr::RowOf(static_cast<char>(id)), mgr.NameGet(static_cast<char>(id), nullptr),
                    mgr.TypeIdNameGet(static_cast<char>(id), nullptr),
                    mgr.IsValidType(static_cast<char>(id)), mgr.MemLenGet(static_cast<char>(id), 1));
    }
    char id = 0;
    const int found = mgr.Name2KsTypeId("KsDateTimeN", id);
    std::printf("Name2KsTypeId(\"KsDateTimeN\") = %d, id %d\n", found, id);
    KsTypeMgr old(11);
    std::printf("null values for strings: version 5: %u, version 11 (old table): %u\n\n",
                mgr.SupportsNullValue(KsSTRING_T), old.SupportsNullValue(KsSTRING_T));

    std::printf("== strings and code sets\n");
    KsString text("Gr\xfc\xdf" "e \xe0 la cr\xe8me");  // ISO-8859-1 bytes
    text.SetCodeSetCode(KS_CS_ISO8859_1);
    std::printf("ISO-8859-1  %s\n", Describe(text).c_str());
    KsString dos;
    dos.CopyMapped(text, 26);
    std::printf("IBM850      %s\n", Describe(dos).c_str());
    KsString wide;
    wide.CopyMapped(text, KS_CS_UNICODE);
    std::printf("Unicode     %s\n", Describe(wide).c_str());
    KsString relabel(text);
    relabel.SetCodeSet(16);
    std::printf("SetCodeSet(Windows-1250) keeps the bytes: %s\n", Describe(relabel).c_str());
    KsString mapped(text);
    mapped.MapToCodeSet(16);
    std::printf("MapToCodeSet(Windows-1250) converts:      %s\n", Describe(mapped).c_str());
    KsString big;
    big.EditText("x", 0, 0, 0, 1, 65520, KsString::EditAssignAt);
    big << "and 26 more characters ...";
    std::printf("65546 characters asked for: size %u, length %u (strings stop at 65532 bytes)\n",
                big.Size(), big.Len());
    KsString null;
    null.SetNullValue();
    std::printf("null string: IsNullValue %d IsEmpty %d; empty string: IsNullValue %d IsEmpty %d\n\n",
                null.IsNullValue(), null.IsEmpty(), KsString().IsNullValue(), KsString().IsEmpty());

    std::printf("== dispatcher\n");
    KsString* strings = static_cast<KsString*>(mgr.Create(KsSTRING_T, 2));
    strings[0] = "first";
    mgr.AssignmentPtrGet(KsSTRING_T)(&strings[1], &strings[0], 1, 1);
    std::printf("Create(KsString, 2), assign with fill: \"%s\" \"%s\"\n", strings[0].StrGet(),
                strings[1].StrGet());
    mgr.SetNullValue(KsSTRING_T, &strings[1]);
    std::printf("SetNullValue on element 1: IsNullValue = %d\n", mgr.IsNullValue(KsSTRING_T, &strings[1]));
    mgr.Delete(KsSTRING_T, strings, 2);

    signed char c = 126;
    int r1 = mgr.GetValue(Ks1B_T, &c, 0, 8, 'N');
    int r2 = mgr.GetValue(Ks1B_T, &c, 0, 8, 'N');
    std::printf("GetValue(o_char, 126, 'N') twice: %d then %d (2091 = overflow), value %d\n", r1, r2, c);
    short shorts[4] = {};
    short seven = 7;
    mgr.AssignmentPtrGet(Ks2B_T)(shorts, &seven, 4, 1);
    unsigned char image[8];
    uint n = mgr.Translate(Ks2B_T, image, 2, sizeof image, shorts, 8, 0, 4);
    std::printf("four o_2b 7s stored most significant byte first: %s (%u bytes)\n",
                Hex(image, n).c_str(), n);
    n = mgr.Translate(Ks2B_T, image, 1, sizeof image, shorts, 8, 0, 4);
    std::printf("the same, least significant byte first:         %s (%u bytes)\n",
                Hex(image, n).c_str(), n);
    std::printf("null print string: \"%s\"\n\n", KsTypeMgr::GetNullPrintString().StrGet());

    std::printf("== values, images and comparisons\n");
    struct {
        char id;
        const char* text;
    } samples[] = {{KsSTRING_T, "Stra\xdf" "e"}, {KsINT64_T, "-1234567890123"},
                   {KsNULL_INT_T, "{NULL}"}, {KsNULL_INT_T, "42"},
                   {KsBOOLEAN_T, "TRUE"}, {KsDOUBLE_T, "ldexp(0.75, 3)"}};
    for (const auto& sample : samples) {
        void* value = mgr.Create(sample.id, 1);
        KsString in(sample.text);
        in.SetCodeSetCode(KS_CS_ISO8859_1);
        mgr.ScanFromKsString(sample.id, value, in);
        unsigned char img[64];
        const uint size = mgr.StorePtrGet(sample.id)
                              ? mgr.Store(sample.id, img, value, 2, 1)
                              : mgr.Translate(sample.id, img, 2, sizeof img, value, 8, 0, 1);
        KsString out;
        mgr.PrintToKsString(sample.id, out, value);
        std::printf("%-14s %-16s prints %-16s stored (msb first) %s\n", mgr.NameGet(sample.id, nullptr),
                    KstmUtf8(in).c_str(), KstmUtf8(out).c_str(), Hex(img, size).c_str());
        mgr.Delete(sample.id, value, 1);
    }
    struct {
        const char* a;
        const char* b;
        ushort mode;
    } pairs[] = {{"apfel", "Apfel", 0x10}, {"Apfel", "\xc4pfel", 0x10}, {"\xc4pfel", "Birne", 0x10},
                 {"Stra\xdf" "e", "Strasse", 0}, {"Apfelbaum", "Apf*", 0}, {"Apfelbaum", "A?fel*", 0}};
    for (const auto& p : pairs) {
        KsString a(p.a), b(p.b);
        a.SetCodeSetCode(KS_CS_ISO8859_1);
        b.SetCodeSetCode(KS_CS_ISO8859_1);
        a.SetLanguage(2);
        b.SetLanguage(2);
        int status = 0;
        const int r = mgr.Cmp(KsSTRING_T, 0, &a, 0, &b, p.mode, 1, 8, status);
        std::printf("German, mode 0x%03x: %-10s vs %-8s -> %2d\n", p.mode, KstmUtf8(a).c_str(),
                    KstmUtf8(b).c_str(), r);
    }

    ___KsTypemgrContext(0);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        Usage(stderr);
        return kUsageError;
    }
    const std::string cmd = argv[1];
    if (cmd == "help" || cmd == "--help" || cmd == "-h") return Usage(stdout);
    if (cmd == "types") return Types(argc, argv);
    if (cmd == "demo") return Demo(argc, argv);
    if (cmd == "encode") return KstmEncode(argc, argv);
    if (cmd == "decode") return KstmDecode(argc, argv);
    if (cmd == "compare") return KstmCompare(argc, argv);
    return Fail("unknown command '" + cmd + "' (try 'kstm help')");
}
