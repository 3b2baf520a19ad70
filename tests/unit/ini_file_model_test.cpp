/// Compares the INI file with a reference model on random files and random sequences of operations.
/// A failure prints the seed; the environment variable ZTA_TEST_SEED repeats it.
#include "support/ini_file.h"
#include "testing/models/ini_model.h"
#include "testing/temp_directory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using models::Line;
using models::Text;
using Model = models::IniFile;

/// Random choices of one round.
class Dice {
public:
    explicit Dice(unsigned seed) : engine_(seed) {}

    std::size_t Below(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(engine_); }

    Text OneOf(const std::vector<Text>& texts) { return texts[Below(texts.size())]; }

    Text Section() { return OneOf({L"", L"A", L"B", L"a", L"A B", L"a=b"}); }
    Text Key() { return OneOf({L"", L"k", L"K", L"k ", L"long key"}); }
    Text Value() { return OneOf({L"", L"1", L" v", L"18446744073709551615", L"12a", L"-3", L"a=b", L"#"}); }
    Text Comments() { return OneOf({L"", L"#", L"# x", L"; y\n", L"# a\n; b\n", L"\n"}); }
    wchar_t Mark() { return Below(2) == 0 ? L'#' : L';'; }

    /// Most lines are typical of INI files; some consist of special characters.
    Text File()
    {
        Text text;
        for (std::size_t line = Below(12); line > 0; --line) {
            switch (Below(8)) {
            case 0:
            case 1:
                text += OneOf({L"", L" ", L"\t", L"#", L";"}) + L"[" + Section() + L"]" + OneOf({L"", L" ", L" x"});
                break;
            case 2:
            case 3:
            case 4:
                text += OneOf({L"", L" ", L"#", L"; "}) + Key() + L"=" + Value() + OneOf({L"", L"\r", L" \t"});
                break;
            case 5:
                text += OneOf({L"# comment", L"  ; comment ", L"#", L"", L" ", L"plain"});
                break;
            default:
                text += Soup(L"[]]==#; \t\rab");
                break;
            }
            text += L"\n";
        }
        return Below(4) == 0 ? text + OneOf({L"x=1", L"[tail]", L"[", L" "}) : text;
    }

private:
    /// Lines with an opening bracket usually get a closing one. Otherwise almost every file would be rejected.
    Text Soup(const Text& characters)
    {
        Text text;
        for (std::size_t i = Below(8); i > 0; --i) {
            text += characters[Below(characters.size())];
        }
        return text.find(L'[') != Text::npos && Below(8) != 0 ? text + L"]" : text;
    }

    std::mt19937 engine_;
};

std::string Narrow(const Text& text)
{
    return {text.begin(), text.end()};
}

/// A model and a real file in the same state.
class Pair {
public:
    Pair(std::string name, Dice& dice) : name_(std::move(name)), dice_(dice) {}

    void Run()
    {
        const bool saves_at_once = dice_.Below(2) == 0;
        Model model(saves_at_once);
        ReplaceFile(model);
        if (!IsLoaded(model)) {
            EXPECT_THROW(CZtIniFile(name_, saves_at_once), std::out_of_range);
            EXPECT_EQ(ReadTextFile(name_), Narrow(*model.disk));
            return;
        }
        {
            CZtIniFile file(name_, saves_at_once);
            Compare(file, model);
            for (std::size_t step = dice_.Below(25); step > 0 && !testing::Test::HasFailure(); --step) {
                Step(file, model);
                Compare(file, model);
            }
        }
        model.Destroy();
        EXPECT_EQ(ReadTextFile(name_), Narrow(*model.disk));
    }

private:
    void ReplaceFile(Model& model)
    {
        model.disk = dice_.File();
        WriteTextFile(name_, Narrow(*model.disk));
    }

    /// Loads the model's file. Returns false if the model rejects it.
    static bool IsLoaded(Model& model)
    {
        try {
            return model.Load();
        } catch (const std::out_of_range&) {
            return false;
        }
    }

    void Step(CZtIniFile& file, Model& model)
    {
        const Text section = dice_.Section();
        const Text key = dice_.Key();
        const Text value = dice_.Value();
        const Text comments = dice_.Comments();
        const wchar_t mark = dice_.Mark();
        const std::size_t operation = dice_.Below(15);
        SCOPED_TRACE("operation " + std::to_string(operation) + ", section \"" + Narrow(section) + "\", key \"" +
                     Narrow(key) + "\", value \"" + Narrow(value) + "\"");
        switch (operation) {
        case 0:
            EXPECT_EQ(file.AddSection(section), model.AddSection(section));
            break;
        case 1:
            EXPECT_EQ(file.DeleteSection(section), model.DeleteSection(section));
            break;
        case 2: {
            const Text to = dice_.Section();
            EXPECT_EQ(file.RenameSection(section, to), model.RenameSection(section, to));
            break;
        }
        case 3:
            EXPECT_EQ(file.DeleteRecord(key, section), model.DeleteRecord(key, section));
            break;
        case 4:
        case 5:
            EXPECT_EQ(file.SetString(key, section, value), model.SetString(key, section, value));
            break;
        case 6: {
            const unsigned long long number = std::size_t{1} << dice_.Below(64);
            EXPECT_EQ(file.SetLongLong(key, section, number), model.SetString(key, section, std::to_wstring(number)));
            break;
        }
        case 7: {
            const auto character = static_cast<CZtIniFile::CommentChar>(mark);
            EXPECT_EQ(file.CommentRecord(character, key, section), model.MarkRecord(mark, key, section));
            break;
        }
        case 8:
            EXPECT_EQ(file.UnCommentRecord(key, section), model.UnmarkRecord(key, section));
            break;
        case 9:
            EXPECT_EQ(file.CommentSection(mark, section), model.MarkSection(mark, section));
            break;
        case 10:
            EXPECT_EQ(file.UnCommentSection(section), model.MarkSection(L' ', section));
            break;
        case 11:
            EXPECT_EQ(file.SetRecordComments(comments, key, section), model.SetComments(comments, key, section));
            break;
        case 12:
            EXPECT_EQ(file.SetSectionComments(comments, section), model.SetComments(comments, L"", section));
            break;
        case 13: {
            const bool really = dice_.Below(2) == 0;
            EXPECT_EQ(file.Save(really), model.Save(really));
            break;
        }
        default:
            if (dice_.Below(2) == 0) {
                ReplaceFile(model);
            }
            if (IsLoaded(model)) {
                EXPECT_TRUE(file.Load());
            } else {
                EXPECT_THROW(file.Load(), std::out_of_range);
            }
            break;
        }
    }

    static void Compare(const std::vector<CZtIniFile::Record>& records, const std::vector<Line>& lines)
    {
        ASSERT_EQ(records.size(), lines.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            EXPECT_EQ(records[i].Comments, lines[i].comments);
            EXPECT_EQ(records[i].Commented, lines[i].mark);
            EXPECT_EQ(records[i].Section, lines[i].section);
            EXPECT_EQ(records[i].Key, lines[i].key);
            EXPECT_EQ(records[i].Value, lines[i].value);
        }
    }

    /// Compares the results of all queries, and the file.
    void Compare(CZtIniFile& file, Model& model)
    {
        EXPECT_EQ(file.Content(), model.Content());
        EXPECT_EQ(ReadTextFile(name_), Narrow(*model.disk));

        std::vector<Line> headers;
        std::vector<Text> names;
        std::vector<Text> sections = {L"", L"no such section", dice_.Section()};
        for (const Line& line : model.lines) {
            sections.push_back(line.section);
            if (line.key.empty()) {
                headers.push_back(line);
                names.push_back(line.section);
            }
        }
        Compare(file.GetSections(), headers);
        EXPECT_EQ(file.GetSectionNames(), names);

        const Text key = model.lines.empty() ? dice_.Key() : model.lines[dice_.Below(model.lines.size())].key;
        for (const Text& section : sections) {
            EXPECT_EQ(file.SectionExists(section), model.HasSection(section));
            std::vector<Line> keys;
            for (const Line& line : model.lines) {
                if (line.section == section && !line.key.empty()) {
                    keys.push_back(line);
                }
            }
            Compare(file.GetSection(section), keys);

            const Line* line = model.First(key, section);
            EXPECT_EQ(file.RecordExists(key, section), line != nullptr);
            EXPECT_EQ(file.GetString(key, section, L"none"), line != nullptr ? line->value : L"none");
            EXPECT_EQ(file.GetLongLong(key, section, 77), model.GetLongLong(key, section, 77));
            Compare(file.GetRecord(key, section), line != nullptr ? std::vector<Line>{*line} : std::vector<Line>());
        }
    }

    std::string name_;
    Dice& dice_;
};

TEST(IniFileModel, AgreesOverRandomFilesAndOperations)
{
    const char* given = std::getenv("ZTA_TEST_SEED");
    const auto first =
        given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
    const unsigned rounds = given != nullptr ? 1 : 4000;
    const TempDirectory directory;
    for (unsigned round = 0; round < rounds && !HasFailure(); ++round) {
        const unsigned seed = first + round;
        SCOPED_TRACE("ZTA_TEST_SEED=" + std::to_string(seed));
        Dice dice(seed);
        Pair(directory.File("model.ini"), dice).Run();
    }
}

} // namespace
