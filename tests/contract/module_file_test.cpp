// The built module as a file, read with the tools of binutils.

#include <zta/error_text.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

/// Returns the output lines of a tool for the module.
Lines Inspect(const std::string& tool)
{
    const std::string command = "LC_ALL=C " + tool + " '" ZTA_MODULE_PATH "'";
    const auto close = [](std::FILE* pipe) { EXPECT_EQ(pclose(pipe), 0); };
    const std::unique_ptr<std::FILE, decltype(close)> pipe(popen(command.c_str(), "re"), close);
    if (pipe == nullptr) {
        ADD_FAILURE() << "cannot run " << command;
        return {};
    }
    std::string text;
    std::array<char, 4096> part;
    while (const std::size_t size = std::fread(part.data(), 1, part.size(), pipe.get())) {
        text.append(part.data(), size);
    }
    std::istringstream stream(text);
    Lines lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    EXPECT_FALSE(lines.empty()) << command << " prints nothing";
    return lines;
}

std::vector<std::string> Words(const std::string& line)
{
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), {}};
}

/// Returns the bracketed values of one tag of the dynamic section, such as "(NEEDED)".
std::vector<std::string> DynamicEntries(const std::string& kind)
{
    std::vector<std::string> values;
    for (const std::string& line : Inspect("readelf --dynamic --wide")) {
        const auto open = line.find('[');
        const auto close = line.find(']');
        if (line.find("(" + kind + ")") != std::string::npos && close != std::string::npos) {
            values.push_back(line.substr(open + 1, close - open - 1));
        }
    }
    return values;
}

struct Symbol {
    char type;
    std::string name;
};

std::vector<Symbol> Symbols(const std::string& options)
{
    std::vector<Symbol> symbols;
    for (const std::string& line : Inspect("nm " + options)) {
        const auto words = Words(line);
        if (words.size() >= 2) {
            symbols.push_back({words[words.size() - 2][0], words.back()});
        }
    }
    return symbols;
}

/// Each weak symbol of those that nm lists with these options matches the pattern.
void ExpectWeakSymbols(const std::string& options, const std::regex& pattern)
{
    for (const Symbol& symbol : Symbols(options)) {
        if (std::strchr("WwVv", symbol.type) != nullptr) {
            EXPECT_TRUE(std::regex_match(symbol.name, pattern)) << symbol.name;
        }
    }
}

std::set<std::string> ExportedNames()
{
    std::set<std::string> names;
    for (const Symbol& symbol : Symbols("--dynamic --defined-only")) {
        names.insert(symbol.name);
    }
    return names;
}

/// Returns size in bytes and flags of a section; size 0 if it does not exist.
struct Section {
    unsigned long size = 0;
    std::string flags;
};

Section FindSection(const std::string& name)
{
    for (std::string line : Inspect("readelf --sections --wide")) {
        // "  [ 5] .name  PROGBITS  address offset size entry-size flags ..."
        const auto bracket = line.find(']');
        if (bracket == std::string::npos) {
            continue;
        }
        const auto words = Words(line.substr(bracket + 1));
        if (words.size() > 6 && words[0] == name) {
            return {std::stoul(words[4], nullptr, 16), words[6]};
        }
    }
    return {};
}

#ifdef ZTA_INSTRUMENTED
#define SKIP_IF_INSTRUMENTED() GTEST_SKIP() << "instrumentation adds libraries and initializers"
#else
#define SKIP_IF_INSTRUMENTED() static_cast<void>(0)
#endif

TEST(ModuleFile, HasTheMajorVersionInItsSoname)
{
    EXPECT_EQ(DynamicEntries("SONAME"), (std::vector<std::string>{"libZtaAudioSamplesEngine.so.1"}));
}

TEST(ModuleFile, NeedsTheLanguageRuntimesOnly)
{
    SKIP_IF_INSTRUMENTED();
    const std::set<std::string> allowed = {"libstdc++.so.6", "libm.so.6", "libgcc_s.so.1", "libc.so.6",
                                           "ld-linux-x86-64.so.2"};
    const auto needed = DynamicEntries("NEEDED");
    EXPECT_FALSE(needed.empty());
    for (const std::string& library : needed) {
        EXPECT_TRUE(allowed.count(library)) << library;
    }
}

TEST(ModuleFile, BindsAtLoadWithoutTextRelocations)
{
    // Lazy binding would take the loader's lock in the first call.
    bool bound = false;
    for (const std::string& line : Inspect("readelf --dynamic --wide")) {
        bound = bound || line.find("BIND_NOW") != std::string::npos;
        EXPECT_EQ(line.find("TEXTREL"), std::string::npos) << line;
    }
    EXPECT_TRUE(bound);
}

TEST(ModuleFile, HasNoRelocationsForErrorTexts)
{
    SKIP_IF_INSTRUMENTED();
    const std::vector<const wchar_t*> texts = {
#define ZTA_STATUS_ENTRY(code, name, sentence) ztErrorToString(static_cast<int>(code)),
#include <zta/status_codes.def>
    };
    const auto [first, last] = std::minmax_element(texts.begin(), texts.end(), std::less<>());
    Dl_info module{};
    ASSERT_NE(dladdr(*first, &module), 0);
    const auto offset = [&module](const wchar_t* text) {
        return static_cast<std::size_t>(reinterpret_cast<const char*>(text) -
                                        static_cast<const char*>(module.dli_fbase));
    };
    std::size_t adjusted = 0;
    for (const std::string& line : Inspect("readelf --relocs --wide")) {
        // "offset info R_X86_64_RELATIVE target"
        const auto words = Words(line);
        if (words.size() == 4 && words[2] == "R_X86_64_RELATIVE") {
            const std::size_t target = std::stoul(words[3], nullptr, 16);
            EXPECT_FALSE(target >= offset(*first) && target <= offset(*last)) << line;
            ++adjusted;
        }
    }
    EXPECT_GT(adjusted, 0U) << "other data does hold addresses";
}

TEST(ModuleFile, HasNoUniqueSymbol)
{
    for (const Symbol& symbol : Symbols("--dynamic")) {
        EXPECT_NE(symbol.type, 'u') << symbol.name;
    }
}

TEST(ModuleFile, RunsNoCodeAtLoad)
{
    SKIP_IF_INSTRUMENTED();
    // One entry each: that of the compiler in every shared object.
    EXPECT_EQ(FindSection(".init_array").size, 8U);
    EXPECT_EQ(FindSection(".fini_array").size, 8U);
    EXPECT_EQ(FindSection(".ctors").size, 0U);
}

TEST(ModuleFile, HasTheVersionRecordInItsOwnReadOnlySection)
{
    const Section section = FindSection(".kelvarvideo");
    EXPECT_EQ(section.size, 181U);
    EXPECT_EQ(section.flags, "A");
}

TEST(ModuleFile, ImportsTheLoggerWeakly)
{
    char type = 0;
    for (const Symbol& symbol : Symbols("--dynamic --undefined-only")) {
        if (symbol.name.find("ZtLogger") != std::string::npos) {
            EXPECT_EQ(symbol.name, "_Z8ZtLogger13EZtLogPackagei11EZtLogLevelPKcz");
            type = symbol.type;
        }
    }
    EXPECT_EQ(type, 'w');
}

TEST(ModuleFile, ExportsTheNamesForDlsymUnmangled)
{
    const auto names = ExportedNames();
    for (const std::string& name :
         Words("DllEntryPoint DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer "
               "ZtInternalGetClassObject ZtInternalRegisterServer ZtInternalUnregisterServer "
               "ZtInternalRegisterAllServers ZtInternalUnregisterAllServers ZtGetInterface ztErrorToString "
               "g_achVersionInfo g_hInst g_i32Objects g_aoTemplates g_iTemplates g_asFormatOfProperty "
               "IID_IUnknown IID_IClassFactory IID_IZtAVContent IID_IZtAudioSamples IID_IZtQuonEnginePrivate "
               "IID_IZtaAudioSamplesEngine IID_IZtaAudioSamplesEngineFactory CLSID_ZtaAudioSamplesEngine")) {
        EXPECT_TRUE(names.count(name)) << name;
    }
}

class ExportsList : public testing::Test {
protected:
    void SetUp() override
    {
        std::ifstream file(ZTA_SOURCE_DIR "/cmake/exports.list");
        ASSERT_TRUE(file) << "there is no list of exported names";
        for (std::string line; std::getline(file, line);) {
            if (!line.empty() && line[0] != '#') {
                listed_.push_back(line);
            }
        }
    }

    std::vector<std::string> listed_;
};

TEST_F(ExportsList, IsWhatTheModuleExports)
{
    const auto exported = ExportedNames();
    const std::set<std::string> listed(listed_.begin(), listed_.end());
    std::vector<std::string> missing;
    std::vector<std::string> stray;
    std::set_difference(listed.begin(), listed.end(), exported.begin(), exported.end(), std::back_inserter(missing));
    std::set_difference(exported.begin(), exported.end(), listed.begin(), listed.end(), std::back_inserter(stray));
    EXPECT_EQ(missing, std::vector<std::string>()) << "listed but not exported";
    EXPECT_EQ(stray, std::vector<std::string>()) << "exported but not listed";
}

TEST_F(ExportsList, IsSortedWithoutRepetition)
{
    EXPECT_TRUE(std::is_sorted(listed_.begin(), listed_.end()));
    EXPECT_EQ(std::adjacent_find(listed_.begin(), listed_.end()), listed_.end());
}

TEST_F(ExportsList, HasNoNameOfTheStandardLibrary)
{
    // What belongs to std or __gnu_cxx: functions, members, tables, type information, guards and local statics.
    const std::regex standard("_Z(T[VTSI]|GV|GR|Z)*N?[rVKRO]*(S[tabsiod]|9__gnu_cxx).*");
    ASSERT_TRUE(std::regex_match("_ZNSt7__cxx1112basic_stringIwSt11char_traitsIwESaIwEE8_M_eraseEmm", standard));
    ASSERT_TRUE(std::regex_match("_ZTINSt8ios_base7failureE", standard));
    ASSERT_TRUE(std::regex_match("_ZSt4moveIRiE", standard));
    for (const std::string& name : listed_) {
        EXPECT_FALSE(std::regex_match(name, standard)) << name;
    }
}

TEST(ModuleFile, ExportsWeakSymbolsForHeaderDefinitionsOnly)
{
    // Tables and type information, the identifiers, the smart pointer's instantiations, and the members that forward
    // IUnknown's operations: all are defined in headers.
    const std::regex expected("_ZT[VSI].*|(IID|CLSID)_.*|_ZNK?11TZtSmartPtrI.*|"
                              "_Z(N|ThnN?[0-9]+_N)(22CZtaAudioSamplesEngine|29CZtaAudioSamplesEngineFactory)"
                              "(14QueryInterfaceERK5_GUIDPPv|6AddRefEv|7ReleaseEv)");
    ExpectWeakSymbols("--dynamic --defined-only", expected);
}

TEST(ModuleFile, ImportsOptionalSymbolsWeakly)
{
    SKIP_IF_INSTRUMENTED();
    const std::regex expected("_Z8ZtLogger.*|_ITM_.*|__gmon_start__|__cxa_finalize@.*|__cxa_pure_virtual@.*");
    ExpectWeakSymbols("--dynamic --undefined-only", expected);
}

/// The slots of a vtable: for each base with a vtable the offset, the type information and the operations.
struct Table {
    std::string name;
    std::vector<unsigned long> slots;
};

// The first operation is that of IUnknown or INonDelegatingUnknown, or a destructor, which has two slots.
const std::vector<Table> kTables = {
    {"_ZTV8IUnknown", {3}},
    {"_ZTV15CZtLightUnknown", {5}},
    {"_ZTV10CZtUnknown", {5}},
    {"_ZTV15CZtClassFactory", {7}},
    // IUnknown's three again and the operations, for calls of the class itself; then the table of the interface.
    {"_ZTV22CZtaAudioSamplesEngine", {5 + 3 + 11, 5 + 11}},
    {"_ZTV29CZtaAudioSamplesEngineFactory", {5 + 3 + 1, 5 + 1}},
    {"_ZTV19CPolyphaseResampler", {5, 5}},
    {"_ZTV11TZtSmartPtrI15IZtAudioSamplesE", {2 + 7}},
    {"_ZTV11TZtSmartPtrI12IZtAVContentE", {2 + 7}},
    {"_ZTV16CZtBaseException", {2}},
    {"_ZTV24CZtSmartPointerException", {2}},
    {"_ZTV10CZtIniFile", {2}},
    {"_ZTV23CZtaAudioProcessingUtil", {2}},
    {"_ZTV19CZtaConvertBitDepth", {2}},
    {"_ZTV19CZtaConvertDataType", {2}},
    {"_ZTV13CZtaApplyFade", {2}},
    {"_ZTV15CZtaApplyVolume", {2}},
    {"_ZTV23CZtaConvertMonoToStereo", {2}},
    {"_ZTV23CZtaConvertStereoToMono", {2}},
    {"_ZTV20CZtaConvertMonoToMux", {2}},
    {"_ZTV22CZtaConvertStereoToMux", {2}},
    {"_ZTV20CZtaConvertMuxToMono", {2}},
    {"_ZTV22CZtaConvertMuxToStereo", {2}},
    {"_ZTV17CZtaResampleAudio", {2}},
};

TEST(ModuleFile, HasTheDocumentedVtablesOnly)
{
    SKIP_IF_INSTRUMENTED();
    std::map<std::string, unsigned long> expected;
    for (const Table& table : kTables) {
        unsigned long bytes = 0;
        for (const unsigned long slots : table.slots) {
            bytes += 8 * (2 + slots);
        }
        expected[table.name] = bytes;
    }
    std::map<std::string, unsigned long> found;
    for (const std::string& line : Inspect("nm --dynamic --defined-only --print-size")) {
        const auto words = Words(line);
        if (words.size() == 4 && words[3].rfind("_ZTV", 0) == 0) {
            found[words[3]] = std::stoul(words[1], nullptr, 16);
        }
    }
    EXPECT_EQ(found, expected);
}

} // namespace
