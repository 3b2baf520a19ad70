/// Registration reads the environment and writes to standard output, so each call is made in a child process.
#include "component/module.h"
#include "testing/child_process.h"
#include "testing/temp_directory.h"

#include <zta/engine_interfaces.h>
#include <zta/module.h>
#include <zta/status.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr const wchar_t* kModule = L"/opt/media/libZtaAudioSamplesEngine.so";
constexpr const char* kLine = " {45F20097-F519-4DCF-80D8CC0D06CBF259}=/opt/media/libZtaAudioSamplesEngine.so\n";
const std::string kRegisteredFile = std::string(" [CLSID]\n") + kLine;
constexpr const char* kRegistered = "- - Register KelvarVideo AudioSamples Engine\n";
constexpr const char* kUnregistered = "- - Unregister KelvarVideo AudioSamples Engine\n";
constexpr const char* kNoVariable = "ZtInternalGetIniFilePath: Environement variable ORBUTILS not found.\n";

constexpr _GUID kForeign = {0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};

int Register()
{
    return DllRegisterServer(kModule);
}

class Registration : public testing::Test {
protected:
    void Write(const std::string& text) { WriteTextFile(file_, text); }
    std::string Read() const { return ReadTextFile(file_); }
    bool Exists() const { return std::filesystem::exists(file_); }

    /// Runs a function with the variable set to the test's directory.
    ChildResult Run(const std::function<int()>& function) const
    {
        return RunWith(directory_.Path().string(), function);
    }

    static ChildResult RunWith(const std::string& variable, const std::function<int()>& function)
    {
        return RunInChild([&] {
            ::setenv("ORBUTILS", variable.c_str(), 1);
            return function();
        });
    }

    static ChildResult RunWithout(const std::function<int()>& function)
    {
        return RunInChild([&] {
            ::unsetenv("ORBUTILS");
            return function();
        });
    }

    static void Expect(const ChildResult& result, int status, const std::string& output)
    {
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.output, output);
    }

    TempDirectory directory_;
    std::string file_ = directory_.File("CLSIDs");
};

TEST_F(Registration, WritesItsLineBelowTheSectionAndRemovesItUnderEachName)
{
    for (const auto& function :
         {std::function<int()>(Register), {[] { return ZtInternalRegisterAllServers(kModule); }}}) {
        std::filesystem::remove(file_);
        Expect(Run(function), 0, kRegistered);
        EXPECT_EQ(Read(), kRegisteredFile);
    }
    for (const auto& function : {DllUnregisterServer, ZtInternalUnregisterAllServers}) {
        Write(kRegisteredFile);
        Expect(Run(function), 0, kUnregistered);
        EXPECT_EQ(Read(), " [CLSID]\n") << "the section is kept";
    }
}

TEST_F(Registration, KeepsOtherLines)
{
    const std::string head = "# shared\n [CLSID]\n";
    const std::string others = " {01020304-0506-0708-090A0B0C0D0E0F10}=/opt/other.so\n"
                               ";{45F20097-F519-4DCF-80D8-CC0D06CBF259}=four hyphens\n"
                               " [Other]\n"
                               " {45F20097-F519-4DCF-80D8CC0D06CBF259}=of another section\n";
    Write(head + others);
    Expect(Run(Register), 0, kRegistered);
    EXPECT_EQ(Read(), head + kLine + others);
    Expect(Run(DllUnregisterServer), 0, kUnregistered);
    EXPECT_EQ(Read(), head + others);
}

TEST_F(Registration, TwiceKeepsOneLine)
{
    Expect(Run(Register), 0, kRegistered);
    Expect(Run(Register), 0, kRegistered);
    EXPECT_EQ(Read(), kRegisteredFile);
    Expect(Run([] { return DllRegisterServer(L"/elsewhere.so"); }), 0, kRegistered);
    EXPECT_EQ(Read(), " [CLSID]\n {45F20097-F519-4DCF-80D8CC0D06CBF259}=/elsewhere.so\n");
    Expect(Run([] { return Register() + Register(); }), 0, std::string(kRegistered) + kRegistered);
    EXPECT_EQ(Read(), kRegisteredFile);
}

TEST_F(Registration, KeepsACommentedOutClassCommentedOut)
{
    Write(" [CLSID]\n#{45F20097-F519-4DCF-80D8CC0D06CBF259}=old\n");
    Expect(Run(Register), 0, kRegistered);
    EXPECT_EQ(Read(), " [CLSID]\n#" + std::string(kLine).substr(1));
}

TEST_F(Registration, UnregisteringAnAbsentClassSucceeds)
{
    Write("[CLSID]\nother=1\n");
    Expect(Run(DllUnregisterServer), 0, kUnregistered);
    EXPECT_EQ(Read(), "[CLSID]\nother=1\n") << "the file is not written";
}

TEST_F(Registration, UnregisteringWithoutAFileSucceeds)
{
    Expect(Run(DllUnregisterServer), 0, kUnregistered);
    EXPECT_FALSE(Exists());
}

TEST_F(Registration, ReportsAMissingVariableOnceAndFails)
{
    // The message consists of bytes, so the stream drops the wide progress line.
    for (int (*function)() : {+[] { return Register(); }, +[] { return DllUnregisterServer(); },
                              +[] { return ZtInternalRegisterServer(kForeign, L"name", kModule); },
                              +[] { return ZtInternalUnregisterServer(kForeign); }}) {
        Expect(RunWithout(function), static_cast<int>(0x80004005), kNoVariable);
    }
}

TEST_F(Registration, PrintsItsProgressForAnyStatus)
{
    const auto wide = [](int (*function)()) {
        return [function] {
            std::fwide(stdout, 1);
            return function();
        };
    };
    Expect(RunWithout(wide(Register)), E_FAIL, kRegistered);
    Expect(RunWithout(wide(DllUnregisterServer)), E_FAIL, kUnregistered);
    const std::string message = "Unable to open " + directory_.File("missing") + "/CLSIDs for writing\n";
    Expect(RunWith(directory_.File("missing"), wide(Register)), 0, message + message + kRegistered);
}

TEST_F(Registration, SucceedsIfTheFileCannotBeWritten)
{
    const std::string missing = directory_.File("missing");
    const std::string message = "Unable to open " + missing + "/CLSIDs for writing\n";
    Expect(RunWith(missing, Register), 0, message + message);
    EXPECT_FALSE(std::filesystem::exists(missing));

    std::filesystem::create_directory(file_);
    const std::string directory_message = "Unable to open " + file_ + " for writing\n";
    Expect(Run(Register), 0, directory_message + directory_message);
}

// The first registration makes standard output wide; later messages of bytes would be lost.
TEST_F(Registration, PrintsTheMessageToAWideStream)
{
    const std::string missing = directory_.File("f\xC3\xBCnf");
    const auto message = [&](const char* letter) {
        return "Unable to open " + directory_.File("f") + letter + "nf/CLSIDs for writing\n";
    };
    const auto twice = [&] {
        Register();
        ::setenv("ORBUTILS", missing.c_str(), 1);
        return Register();
    };
    const std::string registered = kRegistered;
    // In the C locale the two bytes of the letter are unknown.
    Expect(Run(twice), 0, registered + message("??") + message("??") + registered);
    Expect(Run([&] {
               std::setlocale(LC_ALL, "C.UTF-8");
               return twice();
           }),
           0, registered + message("\xC3\xBC") + message("\xC3\xBC") + registered);
}

TEST_F(Registration, UnregisteringWritesOnceAndRegisteringTwiceIfTheFirstFails)
{
    // A sealed file in memory can be read but not opened for rewriting, not even by root.
    const int sealed = ::memfd_create("CLSIDs", MFD_ALLOW_SEALING);
    ASSERT_GE(sealed, 0);
    const std::string text = std::string("[CLSID]\n") + kLine;
    ASSERT_EQ(::write(sealed, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ASSERT_EQ(::fcntl(sealed, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE), 0);
    std::filesystem::create_symlink("/proc/self/fd/" + std::to_string(sealed), file_);

    const std::string message = "Unable to open " + file_ + " for writing\n";
    Expect(Run(DllUnregisterServer), 0, message);
    Expect(Run(Register), 0, message + message);
    EXPECT_EQ(Read(), text);
    ::close(sealed);
}

TEST_F(Registration, KeepsAllLinesForAPathThatTheLocaleCannotExpress)
{
    const auto register_accented = [] { return DllRegisterServer(L"/opt/m\u00e9dias/libZtaAudioSamplesEngine.so"); };
    const std::string others = " {01020304-0506-0708-090A0B0C0D0E0F10}=/opt/other.so\n [Other]\n key=value\n";
    for (const std::string& text : {" [CLSID]\n" + others, std::string(" [CLSID]\n") + kLine + others}) {
        Write(text);
        Expect(Run(register_accented), 0, kRegistered);
        EXPECT_EQ(Read(), text);
    }
    std::filesystem::remove(file_);
    Expect(Run(register_accented), 0, kRegistered);
    EXPECT_EQ(Read(), "");
    Expect(Run(Register), 0, kRegistered);
    EXPECT_EQ(Read(), kRegisteredFile);
}

TEST_F(Registration, KeepsAllLinesOfAFileThatTheLocaleCannotRead)
{
    const std::string text = std::string(" [CLSID]\n") + kLine +
                             " {01020304-0506-0708-090A0B0C0D0E0F10}=/opt/m\xC3\xA9"
                             "dias/other.so\n"
                             " {11020304-0506-0708-090A0B0C0D0E0F10}=/opt/third.so\n";
    Write(text);
    Expect(Run([] { return DllRegisterServer(L"/elsewhere.so"); }), 0, kRegistered);
    EXPECT_EQ(Read(), text);
    Expect(Run(DllUnregisterServer), 0, kUnregistered);
    EXPECT_EQ(Read(), text);
}

TEST_F(Registration, RegistersASingleClass)
{
    Expect(Run([] { return ZtInternalRegisterServer(kForeign, nullptr, L"/opt/other.so"); }), 0, "");
    EXPECT_EQ(Read(), " [CLSID]\n {01020304-0506-0708-090A0B0C0D0E0F10}=/opt/other.so\n");
    Expect(Run(Register), 0, kRegistered);
    Expect(Run([] { return ZtInternalUnregisterServer(kForeign); }), 0, "");
    EXPECT_EQ(Read(), kRegisteredFile);
}

/// Returns 77 if the registration throws the exception.
template <class Exception>
int RegisterAndCatch(const wchar_t* path)
{
    try {
        return DllRegisterServer(path);
    } catch (const Exception&) {
        return 77;
    }
}

TEST_F(Registration, PropagatesTheExceptionsOfANullPathAndOfAMalformedFile)
{
    Write("[CLSID]\n");
    Expect(Run([] { return RegisterAndCatch<std::logic_error>(nullptr); }), 77, "");
    EXPECT_EQ(Read(), "[CLSID]\n");
    Write("[CLSID\n");
    Expect(Run([] { return RegisterAndCatch<std::out_of_range>(kModule); }), 77, "");
    EXPECT_EQ(Read(), "[CLSID\n");
}

TEST_F(Registration, BuildsThePathFromTheVariable)
{
    const auto print_path = [] {
        std::string path(kMaxIniPath + 1, '?');
        const bool is_found = ZtBaseCOMNamespace::ZtInternalGetIniFilePath(path.data());
        std::fputs(path.c_str(), stdout);
        return is_found && path.back() == '?' ? 1 : 0;
    };
    Expect(RunWith("/some/where", print_path), 1, "/some/where/CLSIDs");
    Expect(RunWith("", print_path), 1, "/CLSIDs"); // set, though empty
    const std::string longer(5000, 'x');
    Expect(RunWith(longer, print_path), 1, longer.substr(0, 4095)); // truncated to its size
}

TEST_F(Registration, HasNoPathWithoutTheVariable)
{
    const ChildResult result = RunWithout([] {
        char path[kMaxIniPath] = "untouched";
        return ZtBaseCOMNamespace::ZtInternalGetIniFilePath(path) || std::string(path) != "untouched" ? 1 : 0;
    });
    Expect(result, 0, kNoVariable);
}

} // namespace
