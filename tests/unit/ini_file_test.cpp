#include "support/ini_file.h"
#include "testing/child_process.h"
#include "testing/temp_directory.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <locale>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using Record = CZtIniFile::Record;

/// A file of known content, and objects that load it.
class IniFile : public testing::Test {
protected:
    void Write(const std::string& text) { WriteTextFile(name_, text); }
    std::string Read() const { return ReadTextFile(name_); }
    bool Exists() const { return std::filesystem::exists(name_); }

    /// Returns an object that has loaded the text and does not save at once.
    CZtIniFile Load(const std::string& text)
    {
        Write(text);
        return CZtIniFile(name_, false);
    }

    TempDirectory directory_;
    std::string name_ = directory_.File("test.ini");
};

void ExpectRecord(const Record& record, const Record& expected)
{
    EXPECT_EQ(record.Comments, expected.Comments);
    EXPECT_EQ(record.Commented, expected.Commented);
    EXPECT_EQ(record.Section, expected.Section);
    EXPECT_EQ(record.Key, expected.Key);
    EXPECT_EQ(record.Value, expected.Value);
}

TEST(IniFileTrim, RemovesTheCharactersFromBothEndsOrOne)
{
    const auto trimmed = [](std::wstring text, int mode) {
        Trim(text, L" \t", mode);
        return text;
    };
    EXPECT_EQ(trimmed(L" \ta b\t ", 0), L"a b");
    EXPECT_EQ(trimmed(L" \ta b\t ", 1), L"a b\t ");
    EXPECT_EQ(trimmed(L" \ta b\t ", 2), L" \ta b");
    EXPECT_EQ(trimmed(L"a", 0), L"a");
    EXPECT_EQ(trimmed(L"\na\n", 0), L"\na\n") << "only the given characters";
}

TEST(IniFileTrim, EmptiesATextOfOnlyTheseCharactersInAnyMode)
{
    for (const int mode : {0, 1, 2}) {
        std::wstring blanks = L" \t ";
        Trim(blanks, L" \t", mode);
        EXPECT_EQ(blanks, L"") << mode;
        std::wstring empty;
        Trim(empty, L" ", mode);
        EXPECT_EQ(empty, L"") << mode;
    }
}

TEST(IniFileTrim, KeepsATextIfNoCharacterIsGiven)
{
    for (const int mode : {0, 1, 2}) {
        std::wstring text = L" a ";
        Trim(text, L"", mode);
        EXPECT_EQ(text, L" a ") << mode;
    }
}

TEST(IniFileValues, CommentCharactersAreTheirOwnValues)
{
    EXPECT_EQ(CZtIniFile::keCommentCharPound, 35U);
    EXPECT_EQ(CZtIniFile::keCommentCharSemicolon, 59U);
}

// ---- Reading ----

/// A file, the records of an object that has loaded it, its content, and the file that it saves.
struct LoadCase {
    const char* name;
    const char* text;
    std::vector<Record> headers;
    std::vector<Record> keys;
    const wchar_t* content;
    const char* saved;
};

void PrintTo(const LoadCase& load, std::ostream* stream)
{
    *stream << load.name;
}

Record Header(const wchar_t* section, const wchar_t* comments = L"", wchar_t mark = L' ', const wchar_t* value = L"")
{
    return {comments, mark, section, L"", value};
}

Record Key(const wchar_t* section, const wchar_t* key, const wchar_t* value, wchar_t mark = L' ',
           const wchar_t* comments = L"")
{
    return {comments, mark, section, key, value};
}

// clang-format off
const LoadCase kLoadCases[] = {
    {"HeaderAndKey", "[A]\nk=1\n", {Header(L"A")}, {Key(L"A", L"k", L"1")}, L"[A]\nk=1\n", " [A]\n k=1\n"},
    {"SavedFile", " [A]\n k=1\n", {Header(L"A")}, {Key(L"A", L"k", L"1")}, L"[A]\nk=1\n", " [A]\n k=1\n"},
    // A last line without a newline is ignored.
    {"KeyWithoutNewline", "[A]\nk=1", {Header(L"A")}, {}, L"[A]\n", " [A]\n"},
    {"HeaderWithoutNewline", "[A]", {}, {}, L"", ""},
    {"BracketWithoutNewline", "[A]\n[no bracket", {Header(L"A")}, {}, L"[A]\n", " [A]\n"},
    // Blanks, tabs and carriage returns are trimmed, but not around the equal sign or inside the brackets.
    {"OuterBlanks", "\t [A]\r\n \r\tk=1\t \r\n", {Header(L"A")}, {Key(L"A", L"k", L"1")},
     L"[A]\nk=1\n", " [A]\n k=1\n"},
    {"VerticalTab", "\v[A]\n", {Header(L"[A")}, {}, L"[[A]\n", " [[A]\n"},
    {"InnerBlanks", "[A]\n  k = 1  \n", {Header(L"A")}, {Key(L"A", L"k ", L" 1")}, L"[A]\nk = 1\n", " [A]\n k = 1\n"},
    {"BlanksInBrackets", "[ A ]\n[]\n", {Header(L" A "), Header(L"")}, {}, L"[ A ]\n[]\n", " [ A ]\n []\n"},
    {"BlankLines", "\n\n[A]\n \t\r\nk=1\n\n", {Header(L"A")}, {Key(L"A", L"k", L"1")}, L"[A]\nk=1\n", " [A]\n k=1\n"},
    {"OneBlankLine", "\n", {}, {}, L"", ""},
    {"Empty", "", {}, {}, L"", ""},
    // The first equal sign separates key and value. A key record without a key is a header.
    {"EqualSigns", "[A]\nk=a=b=\nempty=\n", {Header(L"A")}, {Key(L"A", L"k", L"a=b="), Key(L"A", L"empty", L"")},
     L"[A]\nk=a=b=\nempty=\n", " [A]\n k=a=b=\n empty=\n"},
    {"NoKey", "[A]\n=v\n", {Header(L"A"), Header(L"A", L"", L' ', L"v")}, {}, L"[A]\n[A]\n", " [A]\n [A]\n"},
    {"KeyBeforeAnyHeader", "k=1\n[A]\nk=2\n", {Header(L"A")}, {Key(L"", L"k", L"1"), Key(L"A", L"k", L"2")},
     L"k=1\n[A]\nk=2\n", " k=1\n [A]\n k=2\n"},
    // Comment lines belong to the next record. Those at the end are dropped.
    {"CommentOfHeader", "# hello\n[A]\n", {Header(L"A", L"# hello\n")}, {}, L"# hello\n[A]\n", "# hello\n [A]\n"},
    {"CommentsOfKey", "[A]\n  # one \n\n;two\nk=1\nl=2\n", {Header(L"A")},
     {Key(L"A", L"k", L"1", L' ', L"# one\n;two\n"), Key(L"A", L"l", L"2")},
     L"[A]\n# one\n;two\nk=1\nl=2\n", " [A]\n# one\n;two\n k=1\n l=2\n"},
    {"CommentAtTheEnd", "[A]\n# bye\n", {Header(L"A")}, {}, L"[A]\n", " [A]\n"},
    {"CommentOnly", "# bye\n", {}, {}, L"", ""},
    {"CommentInsideALine", "[A]\nk=1 # one\n", {Header(L"A")}, {Key(L"A", L"k", L"1 # one")}, L"[A]\nk=1 # one\n",
     " [A]\n k=1 # one\n"},
    // One comment character disables a key or a header. The text behind it is trimmed again.
    {"DisabledByPounds", "#k=1\n# \tl=2\n", {}, {Key(L"", L"k", L"1", L'#'), Key(L"", L"l", L"2", L'#')},
     L"#k=1\n#l=2\n", "#k=1\n#l=2\n"},
    {"DisabledBySemicolons", ";k=1\n; \tl=2\n", {}, {Key(L"", L"k", L"1", L';'), Key(L"", L"l", L"2", L';')},
     L";k=1\n;l=2\n", ";k=1\n;l=2\n"},
    {"DisabledHeader", "#[A]\nk=1\n", {Header(L"A", L"", L'#')}, {Key(L"A", L"k", L"1")},
     L"#[A]\nk=1\n", "#[A]\n k=1\n"},
    {"CommentWithBrackets", "# hello [there]\n", {Header(L"ello [there", L"", L'#')}, {}, L"#[ello [there]\n",
     "#[ello [there]\n"},
    {"TwoCommentCharacters", "##k=1\n#;l=2\n", {}, {Key(L"", L"#k", L"1", L'#'), Key(L"", L";l", L"2", L'#')},
     L"##k=1\n#;l=2\n", "##k=1\n#;l=2\n"},
    {"CommentsAndMarks", "# c\n[A]\n;k=1\nl=2\n", {Header(L"A", L"# c\n")},
     {Key(L"A", L"k", L"1", L';'), Key(L"A", L"l", L"2")},
     L"# c\n[A]\n;k=1\nl=2\n", "# c\n [A]\n;k=1\n l=2\n"},
    // A bracket anywhere makes a header, unless its name contains an equal sign: then it is a key record without
    // comments. The name ends at the first closing bracket, and its first character is removed.
    {"BracketsInAValue", "key=a[b]c\nl=1\n", {}, {Key(L"ey=a[b", L"ey", L"a[b"), Key(L"ey=a[b", L"l", L"1")},
     L"ey=a[b\nl=1\n", " ey=a[b\n l=1\n"},
    {"TextAroundBrackets", "x[A]tail\n", {Header(L"[A")}, {}, L"[[A]\n", " [[A]\n"},
    {"CommentBehindBrackets", "[A] # tail\n", {Header(L"A")}, {}, L"[A]\n", " [A]\n"},
    {"EqualSignBehindBrackets", "[A]=1\n", {Header(L"A")}, {}, L"[A]\n", " [A]\n"},
    {"EqualSignInBrackets", "[a=b]\nl=1\n", {}, {Key(L"a=b", L"a", L"b"), Key(L"a=b", L"l", L"1")}, L"a=b\nl=1\n",
     " a=b\n l=1\n"},
    {"CommentOfEqualSignInBrackets", "# gone\n[a=b]\n", {}, {Key(L"a=b", L"a", L"b")}, L"a=b\n", " a=b\n"},
    {"SeveralBrackets", "a]b[c\n[x]y]\n", {Header(L""), Header(L"x")}, {}, L"[]\n[x]\n", " []\n [x]\n"},
    // A line of text becomes a header without a name, and the section continues. Behind a comment it is dropped.
    {"LineOfText", "[A]\nhello\nk=1\n", {Header(L"A"), Header(L"")}, {Key(L"A", L"k", L"1")}, L"[A]\n[]\nk=1\n",
     " [A]\n []\n k=1\n"},
    {"LineOfTextBehindAComment", "# c\nhello\nk=1\n", {}, {Key(L"", L"k", L"1", L' ', L"# c\n")}, L"# c\nk=1\n",
     "# c\n k=1\n"},
};
// clang-format on

class IniFileLoad : public IniFile, public testing::WithParamInterface<LoadCase> {};

INSTANTIATE_TEST_SUITE_P(All, IniFileLoad, testing::ValuesIn(kLoadCases),
                         [](const auto& load) { return load.param.name; });

TEST_P(IniFileLoad, ReturnsTheRecordsAndSavesThem)
{
    CZtIniFile file = Load(GetParam().text);
    EXPECT_EQ(file.Content(), GetParam().content);
    const std::vector<Record> headers = file.GetSections();
    ASSERT_EQ(headers.size(), GetParam().headers.size());
    for (std::size_t i = 0; i < headers.size(); ++i) {
        ExpectRecord(headers[i], GetParam().headers[i]);
    }
    for (const Record& key : GetParam().keys) {
        ExpectRecord(file.GetRecord(key.Key, key.Section).at(0), key);
        EXPECT_EQ(file.GetString(key.Key, key.Section, L"none"), key.Value);
    }
    EXPECT_TRUE(file.Save());
    EXPECT_EQ(Read(), GetParam().saved);
}

TEST_F(IniFile, ASectionLineWithoutClosingBracketThrows)
{
    // In the second line, the only closing bracket is removed as the first character.
    for (const std::string line : {"[A\n", "]x[A\n", "# [A\n", "k=[\n"}) {
        Write("[B]\n" + line);
        try {
            CZtIniFile file(name_, false);
            ADD_FAILURE() << line;
        } catch (const std::out_of_range& error) {
            EXPECT_NE(std::string(error.what()).find("basic_string::erase"), std::string::npos) << error.what();
        }
        EXPECT_EQ(Read(), "[B]\n" + line) << "the file is not changed";
    }
}

TEST_F(IniFile, AThrowingReloadKeepsTheRecordsBeforeTheLine)
{
    CZtIniFile file = Load("[A]\nk=1\n");
    Write("[B]\nl=2\n[oops\n[C]\n");
    EXPECT_THROW(file.Load(), std::out_of_range);
    EXPECT_EQ(file.Content(), L"[B]\nl=2\n");
}

TEST_F(IniFile, AMissingFileIsAnEmptyOne)
{
    CZtIniFile file(name_, false);
    EXPECT_FALSE(file.Load());
    EXPECT_EQ(file.Content(), L"");
    EXPECT_FALSE(Exists());
}

TEST_F(IniFile, AFailedReloadKeepsTheContent)
{
    CZtIniFile file = Load("[A]\n");
    std::filesystem::remove(name_);
    EXPECT_FALSE(file.Load());
    EXPECT_EQ(file.Content(), L"[A]\n");
}

TEST_F(IniFile, AReloadReplacesTheContent)
{
    CZtIniFile file = Load("# c\n[A]\n# pending\n");
    Write("k=1\n");
    EXPECT_TRUE(file.Load());
    EXPECT_EQ(file.Content(), L"k=1\n") << "neither section nor comments of the former content remain";
}

TEST_F(IniFile, ReadsToTheFirstByteThatIsNotAscii)
{
    EXPECT_EQ(Load("[A]\nk=1\nl=\xFF\nm=1\n").Content(), L"[A]\nk=1\n");
}

TEST_F(IniFile, ADirectoryReadsAsAnEmptyFile)
{
    EXPECT_EQ(CZtIniFile(directory_.Path().string(), false).Content(), L"");
}

// ---- Writing ----

TEST_F(IniFile, SaveReplacesTheFile)
{
    CZtIniFile file = Load("[A]\n");
    Write("something much longer\n");
    EXPECT_TRUE(file.Save(true));
    EXPECT_EQ(Read(), " [A]\n");
}

TEST_F(IniFile, SaveFalseDoesNothing)
{
    Write("[A]\n");
    {
        CZtIniFile file(name_, false);
        EXPECT_TRUE(file.AddSection(L"B"));
        EXPECT_TRUE(file.Save(false));
        EXPECT_EQ(Read(), "[A]\n");
    }
    EXPECT_EQ(Read(), " [A]\n [B]\n") << "the change was still unwritten";
}

TEST_F(IniFile, TheDestructorDoesNotWriteAfterSave)
{
    {
        CZtIniFile file(name_, false);
        EXPECT_TRUE(file.AddSection(L"B"));
        EXPECT_TRUE(file.Save());
        std::filesystem::remove(name_);
    }
    EXPECT_FALSE(Exists());
}

TEST_F(IniFile, TheDestructorWritesChangesOnly)
{
    Write("[A]\n");
    {
        CZtIniFile file(name_, true);
    }
    EXPECT_EQ(Read(), "[A]\n");
    {
        CZtIniFile file(name_, false);
        EXPECT_TRUE(file.SetString(L"k", L"A", L"1"));
        EXPECT_EQ(Read(), "[A]\n");
    }
    EXPECT_EQ(Read(), " [A]\n k=1\n");
}

TEST_F(IniFile, AutoSaveWritesImmediately)
{
    CZtIniFile file(name_, true);
    EXPECT_TRUE(file.SetString(L"k", L"A", L"1"));
    EXPECT_EQ(Read(), " [A]\n k=1\n");
}

TEST_F(IniFile, AFileThatCannotBeWrittenIsReportedOnceForEachAttempt)
{
    const std::string missing = directory_.File("missing/test.ini");
    const ChildResult result = RunInChild([&] {
        CZtIniFile file(missing, true);
        const bool isSaved = file.SetString(L"k", L"A", L"1");
        return (isSaved ? 1 : 0) + (file.GetString(L"k", L"A", L"") == L"1" ? 2 : 0);
    });
    EXPECT_EQ(result.status, 2) << "false, and the change remains";
    const std::string message = "Unable to open " + missing + " for writing\n";
    EXPECT_EQ(result.output, message + message) << "the destructor tries again";
}

TEST_F(IniFile, AFileThatCannotBeReadIsNotReported)
{
    const ChildResult result = RunInChild([&] { return CZtIniFile(name_, true).Load() ? 1 : 0; });
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
}

/// Changes an object in a child process, because an exception that leaves the destructor would end the process. The
/// child returns the result of the change as 1 or 0.
ChildResult ChangeInChild(const std::string& name, bool saves, const std::function<bool(CZtIniFile&)>& change)
{
    return RunInChild([&] {
        CZtIniFile file(name, saves);
        return change(file) ? 1 : 0;
    });
}

TEST_F(IniFile, TextThatTheLocaleCannotExpressDoesNotChangeTheFile)
{
    const std::string text = "# c\n[A]\nk=1\n[B]\nm=2\n";
    const std::wstring letter = L"\u00e9";
    const std::vector<std::function<bool(CZtIniFile&)>> changes = {
        [&](CZtIniFile& file) { return file.SetString(L"k", L"A", letter); },
        [&](CZtIniFile& file) { return file.SetString(L"k", L"A", std::wstring(1000, L'v') + letter); },
        [&](CZtIniFile& file) { return file.SetString(letter, L"A", L"1"); },
        [&](CZtIniFile& file) { return file.RenameSection(L"B", letter); },
        [&](CZtIniFile& file) { return file.SetRecordComments(L"# " + letter, L"m", L"B"); },
        [&](CZtIniFile& file) { return file.CommentSection(letter[0], L"A"); },
        [&](CZtIniFile& file) { return file.CommentSection(static_cast<wchar_t>(WEOF), L"A"); },
    };
    for (std::size_t i = 0; i < changes.size(); ++i) {
        for (const bool saves : {true, false}) {
            Write(text);
            const ChildResult result = ChangeInChild(name_, saves, changes[i]);
            EXPECT_EQ(result.status, 1) << i << saves;
            EXPECT_EQ(result.output, "") << i << saves;
            EXPECT_EQ(Read(), text) << i << saves;
        }
    }
}

TEST_F(IniFile, TextThatTheLocaleCannotExpressIsNotSavedAgain)
{
    Write("[A]\nk=1\n");
    const ChildResult result = RunInChild([&] {
        CZtIniFile file(name_, false);
        const bool isSaved = file.SetString(L"k", L"A", L"\u00e9") && file.Save();
        std::filesystem::remove(name_);
        return isSaved && file.GetString(L"k", L"A", L"") == L"\u00e9" ? 1 : 0;
    });
    EXPECT_EQ(result.status, 1) << "true, and the change remains in memory";
    EXPECT_FALSE(Exists()) << "the object counts as written";
}

TEST_F(IniFile, TextThatTheLocaleCannotExpressIsWrittenToNoNewFile)
{
    const ChildResult result =
        ChangeInChild(name_, true, [](CZtIniFile& file) { return file.SetString(L"k", L"A", L"\u00e9"); });
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(Read(), "");
}

TEST_F(IniFile, TextThatTheLocaleCannotExpressDoesNotHideThatTheFileCannotBeOpened)
{
    const std::string missing = directory_.File("missing/test.ini");
    const ChildResult result =
        ChangeInChild(missing, true, [](CZtIniFile& file) { return file.SetString(L"k", L"A", L"\u00e9"); });
    EXPECT_EQ(result.status, 0);
    const std::string message = "Unable to open " + missing + " for writing\n";
    EXPECT_EQ(result.output, message + message) << "the destructor tries again";
}

TEST_F(IniFile, AFileThatIsNotTextToItsEndKeepsItsLines)
{
    const std::string lines(5000, 'v');
    for (const std::string& tail : {std::string("l=\xFF\nm=1\n"), std::string("# \xC3\xA9\n[B]\n"),
                                    "l=" + lines + "\nm=\xC3\n", "l=\xC3\nm=" + lines + "\n"}) {
        for (const bool saves : {true, false}) {
            const std::string text = std::string("[A]\nk=1\n") + tail;
            Write(text);
            const ChildResult result =
                ChangeInChild(name_, saves, [](CZtIniFile& file) { return file.SetString(L"k", L"A", L"2"); });
            EXPECT_EQ(result.status, 1) << tail << saves;
            EXPECT_EQ(result.output, "") << tail << saves;
            EXPECT_EQ(Read(), text) << tail << saves;
        }
    }
}

TEST_F(IniFile, AFileThatIsWritableButNotReadableKeepsItsLines)
{
    Write("[A]\nk=1\n");
    std::filesystem::permissions(directory_.Path(), std::filesystem::perms(0755));
    std::filesystem::permissions(name_, std::filesystem::perms(0222));
    constexpr int kSkipped = 2;
    const ChildResult result = RunInChild([&] {
        constexpr uid_t kNobody = 65534; // the superuser can read any file
        if (::geteuid() == 0 && ::seteuid(kNobody) != 0) {
            return kSkipped;
        }
        CZtIniFile file(name_, true);
        return file.SetString(L"k", L"A", L"2") ? 1 : 0;
    });
    if (result.status == kSkipped) {
        GTEST_SKIP() << "no other user exists";
    }
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    std::filesystem::permissions(name_, std::filesystem::perms(0644));
    EXPECT_EQ(Read(), "[A]\nk=1\n");
}

TEST_F(IniFile, ALocaleThatExpressesMoreWritesMore)
{
    const ChildResult result = RunInChild([&] {
        try {
            std::locale::global(std::locale("C.UTF-8"));
        } catch (const std::runtime_error&) {
            return 2;
        }
        const std::wstring value = std::wstring(1000, L'\u00e9') + L'\0' + L'\U0001F3B5';
        const bool isSaved = CZtIniFile(name_, true).SetString(L"\u00e9", L"A", value);
        const std::wstring read = CZtIniFile(name_, false).GetString(L"\u00e9", L"A", L"");
        return isSaved && read == value ? 1 : 0;
    });
    if (result.status == 2) {
        GTEST_SKIP() << "the system has no such locale";
    }
    EXPECT_EQ(result.status, 1);
    std::string letters;
    for (int i = 0; i < 1000; ++i) {
        letters += "\xC3\xA9";
    }
    EXPECT_EQ(Read(), " [A]\n \xC3\xA9=" + letters + std::string(1, '\0') + "\xF0\x9F\x8E\xB5\n");
}

/// Encodes ASCII, and any other character once: the second time it fails.
class ForgetfulEncoding : public std::codecvt<wchar_t, char, std::mbstate_t> {
protected:
    result do_out(state_type& /*state*/, const wchar_t* from, const wchar_t* end, const wchar_t*& next, char* bytes,
                  char* bytes_end, char*& bytes_next) const override
    {
        for (next = from, bytes_next = bytes; next != end; ++next) {
            if (bytes_next == bytes_end) {
                return partial;
            }
            if (*next > L'~' && encoded_++ > 0) {
                return error;
            }
            *bytes_next++ = *next > L'~' ? '?' : static_cast<char>(*next);
        }
        return ok;
    }

private:
    mutable int encoded_ = 0;
};

TEST_F(IniFile, AnEncodingThatFailsDuringTheWriteThrowsNothing)
{
    const ChildResult result = RunInChild([&] {
        std::locale::global(std::locale(std::locale(), new ForgetfulEncoding));
        CZtIniFile file(name_, true);
        const bool isSaved = file.SetString(L"k", L"A", L"\u00e9");
        std::filesystem::remove(name_);
        return isSaved ? 1 : 0;
    });
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_FALSE(Exists()) << "the object counts as written";
}

/// An encoding that consumes nothing and reports no error.
class StuckEncoding : public std::codecvt<wchar_t, char, std::mbstate_t> {
protected:
    result do_out(state_type& /*state*/, const wchar_t* from, const wchar_t* /*end*/, const wchar_t*& next, char* bytes,
                  char* /*bytes_end*/, char*& bytes_next) const override
    {
        next = from;
        bytes_next = bytes;
        return partial;
    }
};

TEST_F(IniFile, AnEncodingThatMakesNoProgressDoesNotChangeTheFile)
{
    Write("[A]\nk=1\n");
    const ChildResult result = RunInChild([&] {
        std::locale::global(std::locale(std::locale(), new StuckEncoding));
        return CZtIniFile(name_, true).SetString(L"k", L"A", L"2") ? 1 : 0;
    });
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(Read(), "[A]\nk=1\n");
}

TEST_F(IniFile, SortKeepsTheOrder)
{
    CZtIniFile file = Load("[B]\nz=1\na=2\n[A]\n");
    EXPECT_TRUE(file.Sort(true));
    EXPECT_TRUE(file.Sort(false));
    EXPECT_EQ(file.Content(), L"[B]\nz=1\na=2\n[A]\n");
}

// ---- Lookups ----

TEST_F(IniFile, LookupsAreExact)
{
    CZtIniFile file = Load("[Section]\nKey=1\n");
    EXPECT_TRUE(file.SectionExists(L"Section"));
    EXPECT_FALSE(file.SectionExists(L"section"));
    EXPECT_FALSE(file.SectionExists(L"Sectio"));
    EXPECT_FALSE(file.SectionExists(L"Section "));
    EXPECT_TRUE(file.RecordExists(L"Key", L"Section"));
    EXPECT_FALSE(file.RecordExists(L"key", L"Section"));
    EXPECT_FALSE(file.RecordExists(L"Key", L"section"));
    EXPECT_FALSE(file.RecordExists(L"Ke", L"Section"));
    EXPECT_EQ(file.GetString(L"key", L"Section", L"default"), L"default");
    EXPECT_EQ(file.GetString(L"Key", L"Section", L"default"), L"1");
    EXPECT_EQ(Load("[A]\nk = 1\n").GetString(L"k", L"A", L"none"), L"none") << "the key is \"k \"";
}

TEST_F(IniFile, ASectionExistsByItsKeysAlone)
{
    CZtIniFile file = Load("k=1\n");
    EXPECT_TRUE(file.SectionExists(L""));
    EXPECT_TRUE(file.GetSections().empty());
}

TEST_F(IniFile, TheFirstMatchIsUsed)
{
    CZtIniFile file = Load("[A]\nk=1\nk=2\n[B]\n[A]\nk=3\n");
    EXPECT_EQ(file.GetString(L"k", L"A", L""), L"1");
    ASSERT_EQ(file.GetRecord(L"k", L"A").size(), 1U);
    EXPECT_EQ(file.GetRecord(L"k", L"A")[0].Value, L"1");
    EXPECT_TRUE(file.GetRecord(L"k", L"B").empty());
}

TEST_F(IniFile, GetSectionReturnsAllItsKeys)
{
    CZtIniFile file = Load("[A]\nk=1\n#l=2\n[B]\nm=3\n[A]\nn=4\n");
    const std::vector<Record> records = file.GetSection(L"A");
    ASSERT_EQ(records.size(), 3U);
    ExpectRecord(records[0], {L"", L' ', L"A", L"k", L"1"});
    ExpectRecord(records[1], {L"", L'#', L"A", L"l", L"2"});
    ExpectRecord(records[2], {L"", L' ', L"A", L"n", L"4"});
    EXPECT_TRUE(file.GetSection(L"C").empty());
}

TEST_F(IniFile, GetSectionNamesKeepsOrderAndDuplicates)
{
    CZtIniFile file = Load("[B]\nk=1\n#[A]\n[B]\n");
    EXPECT_EQ(file.GetSectionNames(), (std::vector<std::wstring>{L"B", L"A", L"B"}));
    EXPECT_EQ(file.GetSections().size(), 3U);
    EXPECT_EQ(file.GetSections()[1].Commented, L'#');
}

TEST_F(IniFile, GetStringPrefersAnEmptyValueToTheDefault)
{
    EXPECT_EQ(Load("[A]\nk=\n").GetString(L"k", L"A", L"default"), L"");
}

TEST_F(IniFile, GetLongLongReadsDigits)
{
    CZtIniFile file = Load("[A]\nzero=0\nmax=18446744073709551615\nempty=\n");
    EXPECT_EQ(file.GetLongLong(L"zero", L"A", 7), 0U);
    EXPECT_EQ(file.GetLongLong(L"max", L"A", 7), std::numeric_limits<unsigned long long>::max());
    EXPECT_EQ(file.GetLongLong(L"absent", L"A", 7), 7U);
    EXPECT_EQ(file.GetLongLong(L"empty", L"A", 7), 7U);
}

TEST_F(IniFile, GetLongLongAcceptsAnyText)
{
    CZtIniFile file = Load("[A]\na=12a\nminus=-5\nblank= 1\nover=18446744073709551616\n");
    EXPECT_EQ(file.GetLongLong(L"a", L"A", 0), 169U);
    EXPECT_EQ(file.GetLongLong(L"minus", L"A", 0), 0ULL - 25) << "(45 - 48) * 10 + 5";
    EXPECT_EQ(file.GetLongLong(L"blank", L"A", 0), 0ULL - 159) << "(32 - 48) * 10 + 1";
    EXPECT_EQ(file.GetLongLong(L"over", L"A", 7), 0U);
}

// ---- Changes ----

TEST_F(IniFile, SetStringReplacesTheValueInPlace)
{
    CZtIniFile file = Load("[A]\n# c\n#k=1\nl=2\nk=3\n");
    EXPECT_TRUE(file.SetString(L"k", L"A", L"new"));
    EXPECT_EQ(file.Content(), L"[A]\n# c\n#k=new\nl=2\nk=3\n") << "still commented out, and the first match only";
}

TEST_F(IniFile, SetStringAddsNewKeysAtTheSectionsStart)
{
    CZtIniFile file = Load("[B]\n[A]\nk=1\n");
    EXPECT_TRUE(file.SetString(L"x", L"A", L"1"));
    EXPECT_TRUE(file.SetString(L"x", L"A", L"2"));
    EXPECT_TRUE(file.SetString(L"y", L"A", L"3"));
    EXPECT_EQ(file.Content(), L"[B]\n[A]\ny=3\nx=2\nk=1\n");
}

TEST_F(IniFile, SetStringInsertsBehindTheFirstRecordOfTheSection)
{
    CZtIniFile file = Load("a=1\nb=2\n");
    EXPECT_TRUE(file.SetString(L"c", L"", L"3"));
    EXPECT_EQ(file.Content(), L"a=1\nc=3\nb=2\n");
}

TEST_F(IniFile, SetStringAppendsANewSection)
{
    CZtIniFile file = Load("[A]\nk=1\n");
    EXPECT_TRUE(file.SetString(L"x", L"B", L"1"));
    EXPECT_EQ(file.Content(), L"[A]\nk=1\n[B]\nx=1\n");
    ASSERT_EQ(file.GetSections().size(), 2U);
    ExpectRecord(file.GetSections()[1], {L"", L' ', L"B", L"", L""});
    ExpectRecord(file.GetRecord(L"x", L"B").at(0), {L"", L' ', L"B", L"x", L"1"});
}

TEST_F(IniFile, SetLongLongWritesDecimal)
{
    CZtIniFile file(name_, false);
    EXPECT_TRUE(file.SetLongLong(L"max", L"A", std::numeric_limits<unsigned long long>::max()));
    EXPECT_TRUE(file.SetLongLong(L"zero", L"A", 0));
    EXPECT_EQ(file.Content(), L"[A]\nzero=0\nmax=18446744073709551615\n");
    EXPECT_EQ(file.GetLongLong(L"max", L"A", 0), std::numeric_limits<unsigned long long>::max());
}

TEST_F(IniFile, AddSectionAppendsAHeaderOnce)
{
    Write("[A]\n");
    CZtIniFile file(name_, true);
    EXPECT_TRUE(file.AddSection(L"B"));
    EXPECT_EQ(Read(), " [A]\n [B]\n");
    Write("untouched");
    EXPECT_FALSE(file.AddSection(L"B"));
    EXPECT_FALSE(file.AddSection(L"A"));
    EXPECT_EQ(Read(), "untouched");
    EXPECT_EQ(file.Content(), L"[A]\n[B]\n");
}

TEST_F(IniFile, DeleteSectionDeletesEveryRecordOfTheName)
{
    Write("[A]\nk=1\n[B]\nl=2\n#[A]\nm=3\n");
    CZtIniFile file(name_, true);
    EXPECT_TRUE(file.DeleteSection(L"A"));
    EXPECT_EQ(Read(), " [B]\n l=2\n");
}

TEST_F(IniFile, OperationsOnSectionsSaveEvenIfNothingChanged)
{
    Write("[A]\n");
    CZtIniFile file(name_, true);
    const auto expectSaved = [&](const char* operation) {
        EXPECT_EQ(Read(), " [A]\n") << operation;
        Write("other\n");
    };
    Write("other\n");
    EXPECT_TRUE(file.DeleteSection(L"X"));
    expectSaved("DeleteSection");
    EXPECT_TRUE(file.RenameSection(L"X", L"Y"));
    expectSaved("RenameSection");
    EXPECT_TRUE(file.CommentSection(L'#', L"X"));
    expectSaved("CommentSection");
    EXPECT_TRUE(file.UnCommentSection(L"X"));
    expectSaved("UnCommentSection");
}

TEST_F(IniFile, OperationsThatFindNothingLeaveTheObjectClean)
{
    Write("[A]\n");
    {
        CZtIniFile file(name_, false);
        EXPECT_FALSE(file.AddSection(L"A"));
        EXPECT_TRUE(file.DeleteSection(L"X"));
        EXPECT_TRUE(file.RenameSection(L"X", L"Y"));
        EXPECT_FALSE(file.RenameSection(L"X", L"A"));
        EXPECT_FALSE(file.DeleteRecord(L"k", L"A"));
        EXPECT_FALSE(file.CommentRecord(CZtIniFile::keCommentCharPound, L"k", L"A"));
        EXPECT_FALSE(file.UnCommentRecord(L"k", L"A"));
        EXPECT_TRUE(file.CommentSection(L'#', L"X"));
        EXPECT_TRUE(file.UnCommentSection(L"X"));
        EXPECT_FALSE(file.SetRecordComments(L"# c", L"k", L"A"));
        EXPECT_FALSE(file.SetSectionComments(L"# c", L"X"));
    }
    EXPECT_EQ(Read(), "[A]\n") << "not written by the destructor";
}

TEST_F(IniFile, OperationsThatFailDoNotSave)
{
    Write("[A]\n");
    CZtIniFile file(name_, true);
    Write("other\n");
    EXPECT_FALSE(file.RenameSection(L"X", L"A"));
    EXPECT_FALSE(file.DeleteRecord(L"k", L"A"));
    EXPECT_FALSE(file.CommentRecord(CZtIniFile::keCommentCharPound, L"k", L"A"));
    EXPECT_FALSE(file.UnCommentRecord(L"k", L"A"));
    EXPECT_FALSE(file.SetRecordComments(L"# c", L"k", L"A"));
    EXPECT_FALSE(file.SetSectionComments(L"# c", L"X"));
    EXPECT_EQ(Read(), "other\n");
}

/// A change of the file "[A]\n#k=1\n", and the resulting file.
struct Change {
    const char* name;
    bool (*apply)(CZtIniFile& file);
    const char* result;
};

void PrintTo(const Change& change, std::ostream* stream)
{
    *stream << change.name;
}

class IniFileChange : public IniFile, public testing::WithParamInterface<Change> {};

TEST_P(IniFileChange, IsWrittenImmediatelyWithAutoSave)
{
    Write("[A]\n#k=1\n");
    CZtIniFile file(name_, true);
    EXPECT_TRUE(GetParam().apply(file));
    EXPECT_EQ(Read(), GetParam().result);
}

TEST_P(IniFileChange, IsWrittenByTheDestructorWithoutAutoSave)
{
    Write("[A]\n#k=1\n");
    {
        CZtIniFile file(name_, false);
        EXPECT_TRUE(GetParam().apply(file));
        EXPECT_EQ(Read(), std::string(GetParam().name) == "UnCommentRecord" ? GetParam().result : "[A]\n#k=1\n");
    }
    EXPECT_EQ(Read(), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    All, IniFileChange,
    testing::Values(
        Change{"SetString", [](CZtIniFile& file) { return file.SetString(L"k", L"A", L"2"); }, " [A]\n#k=2\n"},
        Change{"SetLongLong", [](CZtIniFile& file) { return file.SetLongLong(L"k", L"A", 3); }, " [A]\n#k=3\n"},
        Change{"AddSection", [](CZtIniFile& file) { return file.AddSection(L"B"); }, " [A]\n#k=1\n [B]\n"},
        Change{"DeleteSection", [](CZtIniFile& file) { return file.DeleteSection(L"A"); }, ""},
        Change{"RenameSection", [](CZtIniFile& file) { return file.RenameSection(L"A", L"B"); }, " [B]\n#k=1\n"},
        Change{"DeleteRecord", [](CZtIniFile& file) { return file.DeleteRecord(L"k", L"A"); }, " [A]\n"},
        Change{"CommentRecord",
               [](CZtIniFile& file) { return file.CommentRecord(CZtIniFile::keCommentCharSemicolon, L"k", L"A"); },
               " [A]\n;k=1\n"},
        Change{"UnCommentRecord", [](CZtIniFile& file) { return file.UnCommentRecord(L"k", L"A"); }, " [A]\n k=1\n"},
        Change{"CommentSection", [](CZtIniFile& file) { return file.CommentSection(L';', L"A"); }, ";[A]\n;k=1\n"},
        Change{"UnCommentSection", [](CZtIniFile& file) { return file.UnCommentSection(L"A"); }, " [A]\n k=1\n"},
        Change{"SetRecordComments", [](CZtIniFile& file) { return file.SetRecordComments(L"# c", L"k", L"A"); },
               " [A]\n# c\n#k=1\n"},
        Change{"SetSectionComments", [](CZtIniFile& file) { return file.SetSectionComments(L"# c", L"A"); },
               "# c\n [A]\n#k=1\n"}),
    [](const auto& change) { return change.param.name; });

TEST_F(IniFile, UnCommentRecordWritesWithoutAutoSave)
{
    CZtIniFile file = Load("[A]\n#k=1\n");
    EXPECT_TRUE(file.CommentRecord(CZtIniFile::keCommentCharSemicolon, L"k", L"A"));
    EXPECT_EQ(Read(), "[A]\n#k=1\n");
    EXPECT_TRUE(file.UnCommentRecord(L"k", L"A"));
    EXPECT_EQ(Read(), " [A]\n k=1\n");
}

TEST_F(IniFile, RenameSectionRenamesAllItsRecords)
{
    CZtIniFile file = Load("[A]\nk=1\n[B]\n[A]\n#l=2\n");
    EXPECT_TRUE(file.RenameSection(L"A", L"C"));
    EXPECT_EQ(file.Content(), L"[C]\nk=1\n[B]\n[C]\n#l=2\n");
    EXPECT_EQ(file.GetSection(L"C").size(), 2U);
    EXPECT_FALSE(file.RenameSection(L"C", L"B"));
    EXPECT_FALSE(file.RenameSection(L"C", L"C"));
    EXPECT_EQ(file.Content(), L"[C]\nk=1\n[B]\n[C]\n#l=2\n");
}

TEST_F(IniFile, DeleteRecordDeletesTheFirstMatchWithItsComments)
{
    CZtIniFile file = Load("[A]\n# c\nk=1\nk=2\n");
    EXPECT_TRUE(file.DeleteRecord(L"k", L"A"));
    EXPECT_EQ(file.Content(), L"[A]\nk=2\n");
    EXPECT_TRUE(file.DeleteRecord(L"k", L"A"));
    EXPECT_FALSE(file.DeleteRecord(L"k", L"A"));
    EXPECT_TRUE(file.SectionExists(L"A"));
}

TEST_F(IniFile, CommentingARecordChangesTheFirstMatchOnly)
{
    CZtIniFile file = Load("[A]\nk=1\nk=2\n");
    EXPECT_TRUE(file.CommentRecord(CZtIniFile::keCommentCharPound, L"k", L"A"));
    EXPECT_EQ(file.Content(), L"[A]\n#k=1\nk=2\n");
    EXPECT_TRUE(file.CommentRecord(CZtIniFile::keCommentCharSemicolon, L"k", L"A"));
    EXPECT_EQ(file.Content(), L"[A]\n;k=1\nk=2\n");
    EXPECT_TRUE(file.UnCommentRecord(L"k", L"A"));
    EXPECT_EQ(file.Content(), L"[A]\nk=1\nk=2\n");
}

TEST_F(IniFile, CommentingASectionChangesItsHeaderAndKeys)
{
    CZtIniFile file = Load("[A]\nk=1\n[B]\nl=2\n[A]\n#m=3\n");
    EXPECT_TRUE(file.CommentSection(L';', L"A"));
    EXPECT_EQ(file.Content(), L";[A]\n;k=1\n[B]\nl=2\n;[A]\n;m=3\n");
    EXPECT_TRUE(file.UnCommentSection(L"A"));
    EXPECT_EQ(file.Content(), L"[A]\nk=1\n[B]\nl=2\n[A]\nm=3\n");
}

TEST_F(IniFile, CommentSectionAcceptsAnyCharacter)
{
    CZtIniFile file = Load("[A]\n");
    EXPECT_TRUE(file.CommentSection(L'!', L"A"));
    EXPECT_EQ(file.Content(), L"![A]\n");
}

TEST_F(IniFile, CommentsGetANewlineEvenIfTheyEndWithOne)
{
    Write("[A]\nk=1\n");
    CZtIniFile file(name_, true);
    EXPECT_TRUE(file.SetRecordComments(L"# x\n", L"k", L"A"));
    EXPECT_EQ(file.GetRecord(L"k", L"A").at(0).Comments, L"# x\n\n");
    EXPECT_EQ(Read(), " [A]\n# x\n\n k=1\n");
    EXPECT_TRUE(file.Load());
    EXPECT_EQ(file.GetRecord(L"k", L"A").at(0).Comments, L"# x\n") << "the blank line is skipped";

    EXPECT_TRUE(file.SetSectionComments(L"# y\n", L"A"));
    EXPECT_EQ(file.GetSections().at(0).Comments, L"# y\n\n");
    EXPECT_TRUE(file.SetSectionComments(L"##", L"A"));
    EXPECT_EQ(file.GetSections().at(0).Comments, L"##\n");
}

TEST_F(IniFile, CommentsOfOneCharacterOrNoneAreNotChanged)
{
    CZtIniFile file = Load("# c\n[A]\n# d\nk=1\n");
    EXPECT_TRUE(file.SetSectionComments(L"#", L"A"));
    EXPECT_EQ(file.GetSections().at(0).Comments, L"#");
    EXPECT_TRUE(file.SetRecordComments(L"", L"k", L"A"));
    EXPECT_EQ(file.Content(), L"#[A]\nk=1\n");
    EXPECT_TRUE(file.SetSectionComments(L"\n", L"A"));
    EXPECT_EQ(file.GetSections().at(0).Comments, L"\n");
}

TEST_F(IniFile, SectionCommentsRequireAHeader)
{
    CZtIniFile file = Load("k=1\n");
    EXPECT_TRUE(file.SectionExists(L""));
    EXPECT_FALSE(file.SetSectionComments(L"# c", L""));
}

TEST_F(IniFile, SectionCommentsAreSetOnTheHeaderNotOnAKeyBeforeIt)
{
    CZtIniFile file = Load("k=1\nplain\n");
    EXPECT_TRUE(file.SetSectionComments(L"# c", L""));
    EXPECT_EQ(file.Content(), L"k=1\n# c\n[]\n");
}

} // namespace
