// Reads any text as an INI file, performs operations on it, and compares with testing/models/ini_model.h.

#include "fuzz/fuzz_input.h"
#include "support/ini_file.h"
#include "testing/models/ini_model.h"
#include "testing/temp_directory.h"

#include <memory>

namespace {

using models::Line;
using models::Text;
using zta::fuzz::FuzzInput;

/// The files are plain ASCII.
Text MakeText(FuzzInput& choices, std::size_t most)
{
    Text text;
    for (const char byte : choices.Text(choices.ConsumeIndex(most + 1))) {
        text += static_cast<wchar_t>(byte & 0x7F);
    }
    return text;
}

std::string Narrow(const Text& text)
{
    return {text.begin(), text.end()};
}

/// An object and the model in the same state, with a file.
class Pair {
public:
    Pair(std::string name, FuzzInput& choices)
        : name_(std::move(name)), choices_(choices), savesAtOnce_(choices.ConsumeBool()), model_(savesAtOnce_)
    {
        ReplaceFile();
    }

    void Run()
    {
        const bool isRejected = ModelRejects();
        try {
            file_ = std::make_unique<CZtIniFile>(name_, savesAtOnce_);
        } catch (const std::out_of_range&) {
        }
        ZTA_FUZZ_CHECK(isRejected == (file_ == nullptr));
        if (isRejected) {
            return;
        }
        Compare();
        while (!choices_.IsEmpty()) {
            Step();
            Compare();
        }
        file_.reset();
        model_.Destroy();
        CompareFiles();
    }

private:
    void ReplaceFile()
    {
        model_.disk = MakeText(choices_, 255);
        WriteTextFile(name_, Narrow(*model_.disk));
    }

    bool ModelRejects()
    {
        try {
            model_.Load();
            return false;
        } catch (const std::out_of_range&) {
            return true;
        }
    }

    void Reload()
    {
        if (choices_.ConsumeBool()) {
            ReplaceFile();
        }
        const bool isRejected = ModelRejects();
        bool threw = false;
        try {
            ZTA_FUZZ_CHECK(file_->Load());
        } catch (const std::out_of_range&) {
            threw = true;
        }
        ZTA_FUZZ_CHECK(threw == isRejected);
    }

    /// Mostly an existing name.
    Text Name(bool key)
    {
        if (model_.lines.empty() || choices_.ConsumeWithOdds(3)) {
            return MakeText(choices_, 6);
        }
        const Line& line = model_.lines[choices_.ConsumeIndex(model_.lines.size())];
        return key ? line.key : line.section;
    }

    void Step()
    {
        const std::size_t operation = choices_.ConsumeIndex(14);
        const Text section = Name(false);
        const Text key = Name(true);
        const wchar_t mark = choices_.ConsumeBool() ? L'#' : L';';
        switch (operation) {
        case 0:
            ZTA_FUZZ_CHECK(file_->AddSection(section) == model_.AddSection(section));
            break;
        case 1:
            ZTA_FUZZ_CHECK(file_->DeleteSection(section) == model_.DeleteSection(section));
            break;
        case 2: {
            const Text to = Name(false);
            ZTA_FUZZ_CHECK(file_->RenameSection(section, to) == model_.RenameSection(section, to));
            break;
        }
        case 3:
            ZTA_FUZZ_CHECK(file_->DeleteRecord(key, section) == model_.DeleteRecord(key, section));
            break;
        case 4: {
            const Text value = MakeText(choices_, 24);
            ZTA_FUZZ_CHECK(file_->SetString(key, section, value) == model_.SetString(key, section, value));
            break;
        }
        case 5: {
            const auto number = choices_.Any<unsigned long long>();
            ZTA_FUZZ_CHECK(file_->SetLongLong(key, section, number) ==
                           model_.SetString(key, section, std::to_wstring(number)));
            break;
        }
        case 6:
            ZTA_FUZZ_CHECK(file_->CommentRecord(static_cast<CZtIniFile::CommentChar>(mark), key, section) ==
                           model_.MarkRecord(mark, key, section));
            break;
        case 7:
            ZTA_FUZZ_CHECK(file_->UnCommentRecord(key, section) == model_.UnmarkRecord(key, section));
            break;
        case 8:
            ZTA_FUZZ_CHECK(file_->CommentSection(mark, section) == model_.MarkSection(mark, section));
            break;
        case 9:
            ZTA_FUZZ_CHECK(file_->UnCommentSection(section) == model_.MarkSection(L' ', section));
            break;
        case 10: {
            const Text comments = MakeText(choices_, 16);
            ZTA_FUZZ_CHECK(file_->SetRecordComments(comments, key, section) ==
                           model_.SetComments(comments, key, section));
            break;
        }
        case 11: {
            const Text comments = MakeText(choices_, 16);
            ZTA_FUZZ_CHECK(file_->SetSectionComments(comments, section) == model_.SetComments(comments, L"", section));
            break;
        }
        case 12: {
            const bool really = choices_.ConsumeBool();
            ZTA_FUZZ_CHECK(file_->Save(really) == model_.Save(really));
            break;
        }
        default:
            Reload();
            break;
        }
    }

    void CompareFiles() const { ZTA_FUZZ_CHECK(ReadTextFile(name_) == Narrow(*model_.disk)); }

    static bool AreEqual(const std::vector<CZtIniFile::Record>& records, const std::vector<Line>& lines)
    {
        return std::equal(records.begin(), records.end(), lines.begin(), lines.end(),
                          [](const CZtIniFile::Record& record, const Line& line) {
                              return record.Comments == line.comments && record.Commented == line.mark &&
                                     record.Section == line.section && record.Key == line.key &&
                                     record.Value == line.value;
                          });
    }

    void Compare()
    {
        ZTA_FUZZ_CHECK(file_->Content() == model_.Content());
        CompareFiles();
        std::vector<Line> headers;
        for (const Line& line : model_.lines) {
            if (line.key.empty()) {
                headers.push_back(line);
            }
        }
        ZTA_FUZZ_CHECK(AreEqual(file_->GetSections(), headers));
        for (const Line& line : model_.lines) {
            const Line* first = model_.First(line.key, line.section);
            ZTA_FUZZ_CHECK(file_->RecordExists(line.key, line.section));
            ZTA_FUZZ_CHECK(file_->GetString(line.key, line.section, L"none") == first->value);
            ZTA_FUZZ_CHECK(file_->GetLongLong(line.key, line.section, 77) ==
                           model_.GetLongLong(line.key, line.section, 77));
            ZTA_FUZZ_CHECK(AreEqual(file_->GetRecord(line.key, line.section), {*first}));
        }
    }

    std::string name_;
    FuzzInput& choices_;
    bool savesAtOnce_;
    models::IniFile model_;
    std::unique_ptr<CZtIniFile> file_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TempDirectory directory;
    FuzzInput choices(data, size);
    Pair(directory.File("fuzz.ini"), choices).Run();
    return 0;
}
