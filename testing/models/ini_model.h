/// Reference model of the INI file: lines of strings, and the text on disk.
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace models {

using Text = std::wstring;

/// One line of the file.
struct Line {
    Text comments;
    wchar_t mark = L' ';
    Text section;
    Text key;
    Text value;
};

/// The object and its file.
class IniFile {
public:
    explicit IniFile(bool saves_at_once) : saves_at_once_(saves_at_once) {}

    std::optional<Text> disk; ///< the file, if there is one
    std::vector<Line> lines;

    bool Load()
    {
        if (!disk) {
            return false;
        }
        lines.clear();
        Text comments;
        Text section;
        std::size_t start = 0;
        for (;;) {
            std::size_t end = start;
            while (end < disk->size() && (*disk)[end] != L'\n') {
                ++end;
            }
            if (end == disk->size()) {
                return true;
            }
            LoadLine(disk->substr(start, end - start), comments, section);
            start = end + 1;
        }
    }

    bool Save(bool really)
    {
        if (really) {
            disk = Serialized(true);
            is_dirty_ = false;
        }
        return true;
    }

    void Destroy()
    {
        if (is_dirty_) {
            Save(true);
        }
    }

    Text Content() const { return Serialized(false); }

    bool HasSection(const Text& section) const
    {
        for (const Line& line : lines) {
            if (line.section == section) {
                return true;
            }
        }
        return false;
    }

    Line* First(const Text& key, const Text& section)
    {
        for (Line& line : lines) {
            if (line.section == section && line.key == key) {
                return &line;
            }
        }
        return nullptr;
    }

    bool AddSection(const Text& section)
    {
        if (HasSection(section)) {
            return false;
        }
        lines.push_back({L"", L' ', section, L"", L""});
        return Changed();
    }

    bool DeleteSection(const Text& section)
    {
        for (std::size_t i = lines.size(); i > 0; --i) {
            if (lines[i - 1].section == section) {
                lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(i - 1));
                is_dirty_ = true;
            }
        }
        return Save(saves_at_once_);
    }

    bool RenameSection(const Text& from, const Text& to)
    {
        if (HasSection(to)) {
            return false;
        }
        for (Line& line : lines) {
            if (line.section == from) {
                line.section = to;
                is_dirty_ = true;
            }
        }
        return Save(saves_at_once_);
    }

    bool DeleteRecord(const Text& key, const Text& section)
    {
        const Line* line = First(key, section);
        if (line == nullptr) {
            return false;
        }
        lines.erase(lines.begin() + (line - lines.data()));
        return Changed();
    }

    bool SetString(const Text& key, const Text& section, const Text& value)
    {
        if (Line* line = First(key, section)) {
            line->value = value;
            return Changed();
        }
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].section == section) {
                lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(i + 1), {L"", L' ', section, key, value});
                return Changed();
            }
        }
        lines.push_back({L"", L' ', section, L"", L""});
        lines.push_back({L"", L' ', section, key, value});
        return Changed();
    }

    unsigned long long GetLongLong(const Text& key, const Text& section, unsigned long long otherwise)
    {
        const Line* line = First(key, section);
        if (line == nullptr || line->value.empty()) {
            return otherwise;
        }
        unsigned long long result = 0;
        for (const wchar_t character : line->value) {
            result = result * 10 + static_cast<unsigned long long>(character) - 48;
        }
        return result;
    }

    bool MarkRecord(wchar_t mark, const Text& key, const Text& section)
    {
        Line* line = First(key, section);
        if (line == nullptr) {
            return false;
        }
        line->mark = mark;
        return Changed();
    }

    bool UnmarkRecord(const Text& key, const Text& section) { return MarkRecord(L' ', key, section) && Save(true); }

    bool MarkSection(wchar_t mark, const Text& section)
    {
        for (Line& line : lines) {
            if (line.section == section) {
                line.mark = mark;
                is_dirty_ = true;
            }
        }
        return Save(saves_at_once_);
    }

    bool SetComments(const Text& comments, const Text& key, const Text& section)
    {
        Line* line = First(key, section);
        if (line == nullptr) {
            return false;
        }
        line->comments = comments.size() > 1 ? comments + L"\n" : comments;
        return Changed();
    }

private:
    static bool Has(const Text& text, wchar_t character) { return text.find(character) != Text::npos; }

    static Text Trimmed(const Text& text)
    {
        const Text blanks = L" \t\n\r";
        std::size_t first = 0;
        std::size_t end = text.size();
        while (first < end && Has(blanks, text[first])) {
            ++first;
        }
        while (end > first && Has(blanks, text[end - 1])) {
            --end;
        }
        return text.substr(first, end - first);
    }

    void LoadLine(const Text& raw, Text& comments, Text& section)
    {
        Text text = Trimmed(raw);
        if (text.empty()) {
            return;
        }
        Line line;
        if (text[0] == L'#' || text[0] == L';') {
            if (!Has(text, L'[') && !Has(text, L'=')) {
                comments += text + L"\n";
            } else {
                line.mark = text[0];
                text = Trimmed(text.substr(1));
            }
        }
        if (Has(text, L'[')) {
            text = text.substr(1);
            if (!Has(text, L']')) {
                throw std::out_of_range("no closing bracket");
            }
            text = text.substr(0, text.find(L']'));
            line.comments = comments;
            comments = L"";
            line.section = text;
            section = text;
        }
        if (Has(text, L'=')) {
            line.comments = comments;
            comments = L"";
            line.section = section;
            line.key = text.substr(0, text.find(L'='));
            line.value = text.substr(text.find(L'=') + 1);
        }
        if (comments.empty()) {
            lines.push_back(line);
        }
    }

    Text Serialized(bool with_blank) const
    {
        Text text;
        for (const Line& line : lines) {
            text += line.comments;
            if (with_blank || line.mark != L' ') {
                text += line.mark;
            }
            if (line.key.empty()) {
                text += L"[" + line.section + L"]\n";
            } else {
                text += line.key + L"=" + line.value + L"\n";
            }
        }
        return text;
    }

    bool Changed()
    {
        is_dirty_ = true;
        return Save(saves_at_once_);
    }

    bool saves_at_once_;
    bool is_dirty_ = false;
};

} // namespace models
