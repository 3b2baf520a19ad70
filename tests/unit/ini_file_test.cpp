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
#include <sstream>
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

    /// Runs a function in a child process, because an exception that leaves a destructor would end the process. Expects
    /// what it returns and what it prints.
    static void ExpectInChild(int status, const std::string& output, const std::function<int()>& function)
    {
        const ChildResult result = RunInChild(function);
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.output, output);
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

/// The file that an object with this content saves: a record that is not disabled begins with a blank.
std::string Saved(const std::wstring& content)
{
    std::wistringstream stream(content);
    std::string text;
    for (std::wstring line; std::getline(stream, line);) {
        const bool isRecord = !line.empty() && line.find_first_of(L"#;!") != 0;
        text += (isRecord ? " " : "") + std::string(line.begin(), line.end()) + "\n";
    }
    return text;
}

TEST(IniFileTrim, RemovesTheGivenCharactersFromBothEndsOrOne)
{
    const struct {
        const wchar_t* text;
        const wchar_t* characters;
        const wchar_t* trimmed[3]; ///< by mode
    } cases[] = {
        {L" \ta b\t ", L" \t", {L"a b", L"a b\t ", L" \ta b"}},
        {L"a", L" \t", {L"a", L"a", L"a"}},
        {L"\na\n", L" \t", {L"\na\n", L"\na\n", L"\na\n"}},
        {L" \t ", L" \t", {L"", L"", L""}},
        {L"", L" ", {L"", L"", L""}},
        {L" a ", L"", {L" a ", L" a ", L" a "}},
    };
    for (const auto& c : cases) {
        for (const int mode : {0, 1, 2}) {
            std::wstring text = c.text;
            Trim(text, c.characters, mode);
            EXPECT_EQ(text, c.trimmed[mode]) << &c - cases << ", mode " << mode;
        }
    }
}

TEST(IniFileValues, CommentCharactersAreTheirOwnValues)
{
    EXPECT_EQ(CZtIniFile::keCommentCharPound, 35U);
    EXPECT_EQ(CZtIniFile::keCommentCharSemicolon, 59U);
}

// ---- Reading ----

/// A file, the records of an object that has loaded it, and its content.
struct LoadCase {
    const char* name;
    const char* text;
    std::vector<Record> headers;
    std::vector<Record> keys;
    const wchar_t* content;
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
    {"HeaderAndKey", "[A]\nk=1\n", {Header(L"A")}, {Key(L"A", L"k", L"1")}, L"[A]\nk=1\n"},
    {"SavedFile", " [A]\n k=1\n", {Header(L"A")}, {Key(L"A", L"k", L"1")}, L"[A]\nk=1\n"},
    // A last line without a newline is ignored.
    {"KeyWithoutNewline", "[A]\nk=1", {Header(L"A")}, {}, L"[A]\n"},
    {"HeaderWithoutNewline", "[A]", {}, {}, L""},
    {"BracketWithoutNewline", "[A]\n[no bracket", {Header(L"A")}, {}, L"[A]\n"},
    // Blanks, tabs and carriage returns are trimmed, but not around the equal sign or inside the brackets.
    {"OuterBlanks", "\t [A]\r\n \r\tk=1\t \r\n", {Header(L"A")}, {Key(L"A", L"k", L"1")}, L"[A]\nk=1\n"},
    {"VerticalTab", "\v[A]\n", {Header(L"[A")}, {}, L"[[A]\n"},
    {"InnerBlanks", "[A]\n  k = 1  \n", {Header(L"A")}, {Key(L"A", L"k ", L" 1")}, L"[A]\nk = 1\n"},
    {"BlanksInBrackets", "[ A ]\n[]\n", {Header(L" A "), Header(L"")}, {}, L"[ A ]\n[]\n"},
    {"BlankLines", "\n\n[A]\n \t\r\nk=1\n\n", {Header(L"A")}, {Key(L"A", L"k", L"1")}, L"[A]\nk=1\n"},
    {"OneBlankLine", "\n", {}, {}, L""},
    {"Empty", "", {}, {}, L""},
    // The first equal sign separates key and value. A key record without a key is a header.
    {"EqualSigns", "[A]\nk=a=b=\nempty=\n", {Header(L"A")}, {Key(L"A", L"k", L"a=b="), Key(L"A", L"empty", L"")},
     L"[A]\nk=a=b=\nempty=\n"},
    {"NoKey", "[A]\n=v\n", {Header(L"A"), Header(L"A", L"", L' ', L"v")}, {}, L"[A]\n[A]\n"},
    {"KeyBeforeAnyHeader", "k=1\n[A]\nk=2\n", {Header(L"A")}, {Key(L"", L"k", L"1"), Key(L"A", L"k", L"2")},
     L"k=1\n[A]\nk=2\n"},
    // Comment lines belong to the next record. Those at the end are dropped.
    {"CommentOfHeader", "# hello\n[A]\n", {Header(L"A", L"# hello\n")}, {}, L"# hello\n[A]\n"},
    {"CommentsOfKey", "[A]\n  # one \n\n;two\nk=1\nl=2\n", {Header(L"A")},
     {Key(L"A", L"k", L"1", L' ', L"# one\n;two\n"), Key(L"A", L"l", L"2")}, L"[A]\n# one\n;two\nk=1\nl=2\n"},
    {"CommentAtTheEnd", "[A]\n# bye\n", {Header(L"A")}, {}, L"[A]\n"},
    {"CommentOnly", "# bye\n", {}, {}, L""},
    {"CommentInsideALine", "[A]\nk=1 # one\n", {Header(L"A")}, {Key(L"A", L"k", L"1 # one")}, L"[A]\nk=1 # one\n"},
    // One comment character disables a key or a header. The text behind it is trimmed again.
    {"DisabledByPounds", "#k=1\n# \tl=2\n", {}, {Key(L"", L"k", L"1", L'#'), Key(L"", L"l", L"2", L'#')},
     L"#k=1\n#l=2\n"},
    {"DisabledBySemicolons", ";k=1\n; \tl=2\n", {}, {Key(L"", L"k", L"1", L';'), Key(L"", L"l", L"2", L';')},
     L";k=1\n;l=2\n"},
    {"DisabledHeader", "#[A]\nk=1\n", {Header(L"A", L"", L'#')}, {Key(L"A", L"k", L"1")}, L"#[A]\nk=1\n"},
    {"CommentWithBrackets", "# hello [there]\n", {Header(L"ello [there", L"", L'#')}, {}, L"#[ello [there]\n"},
    {"TwoCommentCharacters", "##k=1\n#;l=2\n", {}, {Key(L"", L"#k", L"1", L'#'), Key(L"", L";l", L"2", L'#')},
     L"##k=1\n#;l=2\n"},
    {"CommentsAndMarks", "# c\n[A]\n;k=1\nl=2\n", {Header(L"A", L"# c\n")},
     {Key(L"A", L"k", L"1", L';'), Key(L"A", L"l", L"2")}, L"# c\n[A]\n;k=1\nl=2\n"},
    // A bracket anywhere makes a header, unless its name contains an equal sign: then it is a key record without
    // comments. The name ends at the first closing bracket, and its first character is removed.
    {"BracketsInAValue", "key=a[b]c\nl=1\n", {}, {Key(L"ey=a[b", L"ey", L"a[b"), Key(L"ey=a[b", L"l", L"1")},
     L"ey=a[b\nl=1\n"},
    {"TextAroundBrackets", "x[A]tail\n", {Header(L"[A")}, {}, L"[[A]\n"},
    {"CommentBehindBrackets", "[A] # tail\n", {Header(L"A")}, {}, L"[A]\n"},
    {"EqualSignBehindBrackets", "[A]=1\n", {Header(L"A")}, {}, L"[A]\n"},
    {"EqualSignInBrackets", "[a=b]\nl=1\n", {}, {Key(L"a=b", L"a", L"b"), Key(L"a=b", L"l", L"1")}, L"a=b\nl=1\n"},
    {"CommentOfEqualSignInBrackets", "# gone\n[a=b]\n", {}, {Key(L"a=b", L"a", L"b")}, L"a=b\n"},
    {"SeveralBrackets", "a]b[c\n[x]y]\n", {Header(L""), Header(L"x")}, {}, L"[]\n[x]\n"},
    // A line of text becomes a header without a name, and the section continues. Behind a comment it is dropped.
    {"LineOfText", "[A]\nhello\nk=1\n", {Header(L"A"), Header(L"")}, {Key(L"A", L"k", L"1")}, L"[A]\n[]\nk=1\n"},
    {"LineOfTextBehindAComment", "# c\nhello\nk=1\n", {}, {Key(L"", L"k", L"1", L' ', L"# c\n")}, L"# c\nk=1\n"},
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
    EXPECT_EQ(Read(), Saved(GetParam().content));
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

TEST_F(IniFile, AutoSaveCreatesTheFile)
{
    CZtIniFile file(name_, true);
    EXPECT_TRUE(file.SetString(L"k", L"A", L"1"));
    EXPECT_EQ(Read(), " [A]\n k=1\n");
}

TEST_F(IniFile, AFileThatCannotBeWrittenIsReportedOnceForEachAttempt)
{
    const std::string missing = directory_.File("missing/test.ini");
    const std::string message = "Unable to open " + missing + " for writing\n";
    for (const std::wstring value : {L"1", L"\u00e9"}) { // the locale cannot express the second
        ExpectInChild(2, message + message, [&] {        // false, and the change remains; the destructor tries again
            CZtIniFile file(missing, true);
            const bool isSaved = file.SetString(L"k", L"A", value);
            return (isSaved ? 1 : 0) + (file.GetString(L"k", L"A", L"") == value ? 2 : 0);
        });
    }
}

TEST_F(IniFile, AFileThatCannotBeReadIsNotReported)
{
    ExpectInChild(0, "", [&] { return CZtIniFile(name_, true).Load() ? 1 : 0; });
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
            SCOPED_TRACE(testing::Message() << i << saves);
            Write(text);
            ExpectInChild(1, "", [&] {
                CZtIniFile file(name_, saves);
                return changes[i](file) ? 1 : 0;
            });
            EXPECT_EQ(Read(), text);
        }
    }
}

TEST_F(IniFile, TextThatTheLocaleCannotExpressIsNotSavedAgain)
{
    Write("[A]\nk=1\n");
    ExpectInChild(1, "", [&] { // true, and the change remains in memory
        CZtIniFile file(name_, false);
        const bool isSaved = file.SetString(L"k", L"A", L"\u00e9") && file.Save();
        std::filesystem::remove(name_);
        return isSaved && file.GetString(L"k", L"A", L"") == L"\u00e9" ? 1 : 0;
    });
    EXPECT_FALSE(Exists()) << "the object counts as written";
}

TEST_F(IniFile, TextThatTheLocaleCannotExpressIsWrittenToNoNewFile)
{
    ExpectInChild(1, "", [&] { return CZtIniFile(name_, true).SetString(L"k", L"A", L"\u00e9") ? 1 : 0; });
    EXPECT_EQ(Read(), "");
}

TEST_F(IniFile, AFileThatIsNotTextToItsEndKeepsItsLines)
{
    const std::string lines(5000, 'v');
    for (const std::string& tail : {std::string("l=\xFF\nm=1\n"), std::string("# \xC3\xA9\n[B]\n"),
                                    "l=" + lines + "\nm=\xC3\n", "l=\xC3\nm=" + lines + "\n"}) {
        for (const bool saves : {true, false}) {
            SCOPED_TRACE(testing::Message() << tail << saves);
            const std::string text = std::string("[A]\nk=1\n") + tail;
            Write(text);
            ExpectInChild(1, "", [&] { return CZtIniFile(name_, saves).SetString(L"k", L"A", L"2") ? 1 : 0; });
            EXPECT_EQ(Read(), text);
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
    ExpectInChild(1, "", [&] {
        std::locale::global(std::locale(std::locale(), new ForgetfulEncoding));
        CZtIniFile file(name_, true);
        const bool isSaved = file.SetString(L"k", L"A", L"\u00e9");
        std::filesystem::remove(name_);
        return isSaved ? 1 : 0;
    });
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
    ExpectInChild(1, "", [&] {
        std::locale::global(std::locale(std::locale(), new StuckEncoding));
        return CZtIniFile(name_, true).SetString(L"k", L"A", L"2") ? 1 : 0;
    });
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

TEST_F(IniFile, GetLongLongReadsDigitsAndAcceptsAnyText)
{
    CZtIniFile file = Load("[A]\nzero=0\nmax=18446744073709551615\nempty=\n"
                           "a=12a\nminus=-5\nblank= 1\nover=18446744073709551616\n");
    const struct {
        const wchar_t* key;
        unsigned long long value;
    } cases[] = {{L"zero", 0},
                 {L"max", std::numeric_limits<unsigned long long>::max()},
                 {L"absent", 7},
                 {L"empty", 7},
                 {L"a", 169},
                 {L"minus", 0ULL - 25}, // (45 - 48) * 10 + 5
                 {L"blank", 0ULL - 159},
                 {L"over", 0}}; // (32 - 48) * 10 + 1
    for (const auto& c : cases) {
        EXPECT_EQ(file.GetLongLong(c.key, L"A", 7), c.value) << &c - cases;
    }
}

// ---- Changes ----

/// One change, its result, and the content after it. A result of false means that nothing was changed or saved.
struct Step {
    bool (*apply)(CZtIniFile& file);
    bool result;
    const wchar_t* content;
    bool savesAlways = false; ///< also without auto-save
};

/// The changes of a file, one after the other.
struct ChangeCase {
    const char* name;
    const char* text;
    std::vector<Step> steps;
};

void PrintTo(const ChangeCase& change, std::ostream* stream)
{
    *stream << change.name;
}

constexpr auto kPound = CZtIniFile::keCommentCharPound;
constexpr auto kSemicolon = CZtIniFile::keCommentCharSemicolon;
constexpr auto kMaxLongLong = std::numeric_limits<unsigned long long>::max();
using File = CZtIniFile;

// clang-format off
const ChangeCase kChangeCases[] = {
    // The first match, which stays disabled.
    {"SetString", "[A]\n# c\n#k=1\nl=2\nk=3\n",
     {{[](File& f) { return f.SetString(L"k", L"A", L"new"); }, true, L"[A]\n# c\n#k=new\nl=2\nk=3\n"}}},
    // A new key is inserted behind the first record of its section.
    {"SetStringOfNewKeys", "[B]\n[A]\nk=1\n",
     {{[](File& f) { return f.SetString(L"x", L"A", L"1"); }, true, L"[B]\n[A]\nx=1\nk=1\n"},
      {[](File& f) { return f.SetString(L"x", L"A", L"2"); }, true, L"[B]\n[A]\nx=2\nk=1\n"},
      {[](File& f) { return f.SetString(L"y", L"A", L"3"); }, true, L"[B]\n[A]\ny=3\nx=2\nk=1\n"}}},
    {"SetStringBeforeAnyHeader", "a=1\nb=2\n",
     {{[](File& f) { return f.SetString(L"c", L"", L"3"); }, true, L"a=1\nc=3\nb=2\n"}}},
    {"SetStringOfANewSection", "[A]\nk=1\n",
     {{[](File& f) { return f.SetString(L"x", L"B", L"1"); }, true, L"[A]\nk=1\n[B]\nx=1\n"}}},
    {"SetLongLong", "[A]\n#k=1\n",
     {{[](File& f) { return f.SetLongLong(L"k", L"A", 3); }, true, L"[A]\n#k=3\n"},
      {[](File& f) { return f.SetLongLong(L"max", L"A", kMaxLongLong); }, true,
       L"[A]\nmax=18446744073709551615\n#k=3\n"},
      {[](File& f) { return f.SetLongLong(L"max", L"A", 0); }, true, L"[A]\nmax=0\n#k=3\n"}}},
    {"AddSection", "[A]\n#k=1\n",
     {{[](File& f) { return f.AddSection(L"B"); }, true, L"[A]\n#k=1\n[B]\n"},
      {[](File& f) { return f.AddSection(L"B"); }, false, L"[A]\n#k=1\n[B]\n"},
      {[](File& f) { return f.AddSection(L"A"); }, false, L"[A]\n#k=1\n[B]\n"}}},
    // Every record of the name.
    {"DeleteSection", "[A]\nk=1\n[B]\nl=2\n#[A]\nm=3\n",
     {{[](File& f) { return f.DeleteSection(L"A"); }, true, L"[B]\nl=2\n"},
      {[](File& f) { return f.DeleteSection(L"B"); }, true, L""}}},
    {"RenameSection", "[A]\nk=1\n[B]\n[A]\n#l=2\n",
     {{[](File& f) { return f.RenameSection(L"A", L"C"); }, true, L"[C]\nk=1\n[B]\n[C]\n#l=2\n"},
      {[](File& f) { return f.RenameSection(L"C", L"B"); }, false, L"[C]\nk=1\n[B]\n[C]\n#l=2\n"},
      {[](File& f) { return f.RenameSection(L"C", L"C"); }, false, L"[C]\nk=1\n[B]\n[C]\n#l=2\n"}}},
    // The first match, with its comments. Deleting the last key keeps the section.
    {"DeleteRecord", "[A]\n# c\nk=1\nk=2\n",
     {{[](File& f) { return f.DeleteRecord(L"k", L"A"); }, true, L"[A]\nk=2\n"},
      {[](File& f) { return f.DeleteRecord(L"k", L"A"); }, true, L"[A]\n"},
      {[](File& f) { return f.DeleteRecord(L"k", L"A"); }, false, L"[A]\n"}}},
    // The first match.
    {"CommentRecord", "[A]\nk=1\nk=2\n",
     {{[](File& f) { return f.CommentRecord(kPound, L"k", L"A"); }, true, L"[A]\n#k=1\nk=2\n"},
      {[](File& f) { return f.CommentRecord(kSemicolon, L"k", L"A"); }, true, L"[A]\n;k=1\nk=2\n"},
      {[](File& f) { return f.UnCommentRecord(L"k", L"A"); }, true, L"[A]\nk=1\nk=2\n", true}}},
    {"UnCommentRecord", "[A]\n#k=1\n",
     {{[](File& f) { return f.UnCommentRecord(L"k", L"A"); }, true, L"[A]\nk=1\n", true}}},
    // The headers and the keys, with any character.
    {"CommentSection", "[A]\nk=1\n[B]\nl=2\n[A]\n#m=3\n",
     {{[](File& f) { return f.CommentSection(L';', L"A"); }, true, L";[A]\n;k=1\n[B]\nl=2\n;[A]\n;m=3\n"},
      {[](File& f) { return f.UnCommentSection(L"A"); }, true, L"[A]\nk=1\n[B]\nl=2\n[A]\nm=3\n"},
      {[](File& f) { return f.CommentSection(L'!', L"B"); }, true, L"[A]\nk=1\n![B]\n!l=2\n[A]\nm=3\n"}}},
    {"UnCommentSection", "[A]\n#k=1\n",
     {{[](File& f) { return f.UnCommentSection(L"A"); }, true, L"[A]\nk=1\n"}}},
    {"SetRecordComments", "[A]\n#k=1\n",
     {{[](File& f) { return f.SetRecordComments(L"# c", L"k", L"A"); }, true, L"[A]\n# c\n#k=1\n"}}},
    {"SetSectionComments", "[A]\n#k=1\n",
     {{[](File& f) { return f.SetSectionComments(L"# c", L"A"); }, true, L"# c\n[A]\n#k=1\n"}}},
    // They belong to a header, not to a key before it.
    {"SetSectionCommentsBehindAKey", "k=1\nplain\n",
     {{[](File& f) { return f.SetSectionComments(L"# c", L""); }, true, L"k=1\n# c\n[]\n"}}},
    {"SetSectionCommentsWithoutAHeader", "k=1\n",
     {{[](File& f) { return f.SetSectionComments(L"# c", L""); }, false, L"k=1\n"}}},
    // Changes of whole sections succeed, and save, if there is no such section. Other changes fail.
    {"ChangesThatFindNothing", "[A]\n",
     {{[](File& f) { return f.AddSection(L"A"); }, false, L"[A]\n"},
      {[](File& f) { return f.DeleteSection(L"X"); }, true, L"[A]\n"},
      {[](File& f) { return f.RenameSection(L"X", L"Y"); }, true, L"[A]\n"},
      {[](File& f) { return f.RenameSection(L"X", L"A"); }, false, L"[A]\n"},
      {[](File& f) { return f.DeleteRecord(L"k", L"A"); }, false, L"[A]\n"},
      {[](File& f) { return f.CommentRecord(kPound, L"k", L"A"); }, false, L"[A]\n"},
      {[](File& f) { return f.UnCommentRecord(L"k", L"A"); }, false, L"[A]\n"},
      {[](File& f) { return f.CommentSection(L'#', L"X"); }, true, L"[A]\n"},
      {[](File& f) { return f.UnCommentSection(L"X"); }, true, L"[A]\n"},
      {[](File& f) { return f.SetRecordComments(L"# c", L"k", L"A"); }, false, L"[A]\n"},
      {[](File& f) { return f.SetSectionComments(L"# c", L"X"); }, false, L"[A]\n"}}},
};
// clang-format on

class IniFileChange : public IniFile, public testing::WithParamInterface<ChangeCase> {};

INSTANTIATE_TEST_SUITE_P(All, IniFileChange, testing::ValuesIn(kChangeCases),
                         [](const auto& change) { return change.param.name; });

TEST_P(IniFileChange, IsSavedImmediatelyWithAutoSave)
{
    Write(GetParam().text);
    CZtIniFile file(name_, true);
    for (const Step& step : GetParam().steps) {
        SCOPED_TRACE(&step - GetParam().steps.data());
        Write("other\n");
        EXPECT_EQ(step.apply(file), step.result);
        EXPECT_EQ(file.Content(), step.content);
        EXPECT_EQ(Read(), step.result ? Saved(step.content) : "other\n");
    }
}

TEST_P(IniFileChange, IsSavedByTheDestructorWithoutAutoSave)
{
    std::string saved = GetParam().text;
    Write(saved);
    bool isUnsaved = false;
    std::wstring content;
    {
        CZtIniFile file(name_, false);
        content = file.Content();
        for (const Step& step : GetParam().steps) {
            SCOPED_TRACE(&step - GetParam().steps.data());
            EXPECT_EQ(step.apply(file), step.result);
            EXPECT_EQ(file.Content(), step.content);
            isUnsaved = !step.savesAlways && (isUnsaved || step.content != content);
            content = step.content;
            saved = step.savesAlways ? Saved(content) : saved;
            EXPECT_EQ(Read(), saved);
        }
    }
    EXPECT_EQ(Read(), isUnsaved ? Saved(content) : saved);
}

TEST_F(IniFile, SetStringAddsPlainRecords)
{
    CZtIniFile file = Load("[A]\nk=1\n");
    EXPECT_TRUE(file.SetString(L"x", L"B", L"1"));
    ASSERT_EQ(file.GetSections().size(), 2U);
    ExpectRecord(file.GetSections()[1], Header(L"B"));
    ExpectRecord(file.GetRecord(L"x", L"B").at(0), Key(L"B", L"x", L"1"));
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

} // namespace
