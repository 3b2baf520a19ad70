// The built module as a file, read with the tools of binutils.

#include <zta/error_text.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

/// The lines that a tool prints about the module.
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

/// The values of one kind in the dynamic section: what stands in brackets behind "(NEEDED)" and its like.
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

std::set<std::string> ExportedNames()
{
    std::set<std::string> names;
    for (const Symbol& symbol : Symbols("--dynamic --defined-only")) {
        names.insert(symbol.name);
    }
    return names;
}

/// Size in bytes and flags of a section; size 0 if there is none.
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
#define SKIP_IF_INSTRUMENTED() GTEST_SKIP() << "instruments bring libraries and initialisers of their own"
#else
#define SKIP_IF_INSTRUMENTED() static_cast<void>(0)
#endif

TEST(ModuleFile, IsKnownByItsMajorVersion)
{
    EXPECT_EQ(DynamicEntries("SONAME"), (std::vector<std::string>{"libZtaAudioSamplesEngine.so.1"}));
}

TEST(ModuleFile, NeedsTheRuntimesOfItsLanguagesOnly)
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

TEST(ModuleFile, IsBoundWhenItIsLoadedAndNeedsNoPatchedCode)
{
    // A first call that had to look its target up would take the loader's lock.
    bool bound = false;
    for (const std::string& line : Inspect("readelf --dynamic --wide")) {
        bound = bound || line.find("BIND_NOW") != std::string::npos;
        EXPECT_EQ(line.find("TEXTREL"), std::string::npos) << line;
    }
    EXPECT_TRUE(bound);
}

TEST(ModuleFile, HasNoAddressOfAnErrorTextToAdjust)
{
    SKIP_IF_INSTRUMENTED();
    const std::vector<const wchar_t*> texts = {
#define ZTA_STATUS_ROW(code, name, sentence) ztErrorToString(static_cast<int>(code)),
#include <zta/status_rows.inc>
    };
    const auto [first, last] = std::minmax_element(texts.begin(), texts.end(), std::less<>());
    Dl_info module{};
    ASSERT_NE(dladdr(*first, &module), 0);
    const auto place = [&module](const wchar_t* text) {
        return static_cast<std::size_t>(reinterpret_cast<const char*>(text) -
                                        static_cast<const char*>(module.dli_fbase));
    };
    std::size_t adjusted = 0;
    for (const std::string& line : Inspect("readelf --relocs --wide")) {
        // "offset info R_X86_64_RELATIVE target"
        const auto words = Words(line);
        if (words.size() == 4 && words[2] == "R_X86_64_RELATIVE") {
            const std::size_t target = std::stoul(words[3], nullptr, 16);
            EXPECT_FALSE(target >= place(*first) && target <= place(*last)) << line;
            ++adjusted;
        }
    }
    EXPECT_GT(adjusted, 0U) << "other data does hold addresses";
}

TEST(ModuleFile, HasNoSymbolThatWouldKeepItLoaded)
{
    for (const Symbol& symbol : Symbols("--dynamic")) {
        EXPECT_NE(symbol.type, 'u') << symbol.name;
    }
}

TEST(ModuleFile, RunsNothingOfItsOwnAtLoad)
{
    SKIP_IF_INSTRUMENTED();
    // One entry each: what the compiler puts into every shared object.
    EXPECT_EQ(FindSection(".init_array").size, 8U);
    EXPECT_EQ(FindSection(".fini_array").size, 8U);
    EXPECT_EQ(FindSection(".ctors").size, 0U);
}

TEST(ModuleFile, HasItsVersionRecordInAReadOnlySectionOfItsOwn)
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

TEST(ModuleFile, ShowsTheNamesThatHostsLookUpUnmangled)
{
    const auto names = ExportedNames();
    for (const char* name : {"DllEntryPoint",
                             "DllCanUnloadNow",
                             "DllGetClassObject",
                             "DllRegisterServer",
                             "DllUnregisterServer",
                             "ZtInternalGetClassObject",
                             "ZtInternalRegisterServer",
                             "ZtInternalUnregisterServer",
                             "ZtInternalRegisterAllServers",
                             "ZtInternalUnregisterAllServers",
                             "ZtGetInterface",
                             "ztErrorToString",
                             "g_achVersionInfo",
                             "g_hInst",
                             "g_i32Objects",
                             "g_aoTemplates",
                             "g_iTemplates",
                             "g_asFormatOfProperty",
                             "IID_IUnknown",
                             "IID_IClassFactory",
                             "IID_IZtAVContent",
                             "IID_IZtAudioSamples",
                             "IID_IZtQuonEnginePrivate",
                             "IID_IZtaAudioSamplesEngine",
                             "IID_IZtaAudioSamplesEngineFactory",
                             "CLSID_ZtaAudioSamplesEngine"}) {
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

TEST_F(ExportsList, HoldsNothingOfTheStandardLibrary)
{
    // Names of std in functions, members, tables and guards.
    for (const std::string& name : listed_) {
        for (const char* prefix : {"_ZSt", "_ZNSt", "_ZNKSt", "_ZTVSt", "_ZTSSt", "_ZTISt", "_ZTVNSt", "_ZTSNSt",
                                   "_ZTINSt", "_ZGVNSt", "_ZN9__gnu_cxx"}) {
            EXPECT_NE(name.rfind(prefix, 0), 0U) << name;
        }
    }
}

} // namespace
