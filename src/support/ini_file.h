#pragma once

#include <zta/export.h>

#include <string>
#include <vector>

/// Removes the characters of `sChars` from the ends of `s`: both ends with mode 0, the left with 1, the right with 2. A
/// text of only such characters becomes empty in every mode.
ZTA_API void Trim(std::wstring& s, const std::wstring& sChars, int iMode);

/// A small text file of sections and keys, held in memory as one flat list of lines and written back.
///
/// A section is not a container: its records are those with its name, wherever they are in the file, and its header is
/// a record with an empty key. Names are compared exactly, and a record that is commented out is found like any other.
/// In every operation the key precedes the section. With `bAutoSave`, operations that change the content write the file
/// at once; otherwise the destructor writes it. The files are ASCII, and every line ends with a newline. For one thread
/// and one writer.
class ZTA_API CZtIniFile {
public:
    /// The two comment characters.
    enum CommentChar : unsigned int {
        keCommentCharPound = L'#',
        keCommentCharSemicolon = L';',
    };

    /// One line of the file, with the comment lines before it.
    struct ZTA_API Record {
        std::wstring Comments; ///< the comment lines, each with its comment character and its newline
        wchar_t Commented;     ///< a space if the record is active, else the character that disables it
        std::wstring Section;  ///< the section's name, also for a key record
        std::wstring Key;      ///< empty for a section header, and for nothing else
        std::wstring Value;    ///< not written for a section header, and empty as a rule
    };

    /// Reads the file; the content is empty if the file cannot be opened. Throws what Load throws.
    CZtIniFile(std::string sFileName, bool bAutoSave);
    CZtIniFile(const CZtIniFile&) = delete;
    CZtIniFile& operator=(const CZtIniFile&) = delete;
    virtual ~CZtIniFile();

    /// Replaces the content from the file. Returns false and keeps the content if the file cannot be opened. Throws
    /// std::out_of_range on a section line without a "]"; the content then ends before that line.
    bool Load();

    /// Writes the file. Returns false and prints a message if it cannot be opened. Throws nothing. If the default
    /// locale cannot encode the content or decode the existing file, which would lose lines, the file stays unchanged
    /// and the result is true.
    bool Save();
    bool Save(bool bDoSave);

    /// Returns true. Records are never sorted.
    bool Sort(bool bAscending);

    /// Returns the text of the file.
    std::wstring Content();

    bool SectionExists(std::wstring sSection);
    bool RecordExists(std::wstring sKey, std::wstring sSection);

    bool AddSection(std::wstring sSection);
    bool DeleteSection(std::wstring sSection);
    bool RenameSection(std::wstring sOld, std::wstring sNew);
    bool DeleteRecord(std::wstring sKey, std::wstring sSection);

    bool SetString(std::wstring sKey, std::wstring sSection, std::wstring sValue);
    bool SetLongLong(std::wstring sKey, std::wstring sSection, unsigned long long ullValue);
    std::wstring GetString(std::wstring sKey, std::wstring sSection, std::wstring sDefault);
    unsigned long long GetLongLong(std::wstring sKey, std::wstring sSection, unsigned long long ullDefault);

    std::vector<Record> GetRecord(std::wstring sKey, std::wstring sSection);
    std::vector<Record> GetSection(std::wstring sSection);
    std::vector<Record> GetSections();
    std::vector<std::wstring> GetSectionNames();

    bool CommentRecord(CommentChar eChar, std::wstring sKey, std::wstring sSection);
    bool UnCommentRecord(std::wstring sKey, std::wstring sSection);
    bool CommentSection(wchar_t cChar, std::wstring sSection);
    bool UnCommentSection(std::wstring sSection);
    bool SetRecordComments(std::wstring sComments, std::wstring sKey, std::wstring sSection);
    bool SetSectionComments(std::wstring sComments, std::wstring sSection);

private:
    std::string m_sFileName;
    std::vector<Record> m_aoContent;
    bool m_bAutoSave;
    bool m_bDirty;

    friend struct SZtLayoutProbe;
};
