#pragma once

#include <zta/export.h>

#include <string>
#include <vector>

/// Takes the characters of `sChars` off the ends of `s`: off both with mode 0, off the left with 1, off the right
/// with 2. A text of nothing else becomes empty in any mode.
ZTA_API void Trim(std::wstring& s, const std::wstring& sChars, int iMode);

/// A small text file of sections and keys, held in memory as one flat list of lines and written back.
///
/// A section is not a container: its records are those that carry its name, wherever they stand, and its header is a
/// record with an empty key. Names are compared exactly, and a record that is commented out is found like any other.
/// The key comes before the section in every operation. Operations that change something write the file at once if the
/// object was made with `bAutoSave`; the destructor writes what is still unwritten. The files are plain ASCII, and
/// every line of them ends with a newline. For one thread and one writer.
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

    /// Reads the file; a file that cannot be opened is an empty one. Throws what Load throws.
    CZtIniFile(std::string sFileName, bool bAutoSave);
    CZtIniFile(const CZtIniFile&) = delete;
    CZtIniFile& operator=(const CZtIniFile&) = delete;
    virtual ~CZtIniFile();

    /// Replaces the content from the file. False, with the content kept, if it cannot be opened.
    /// Throws std::out_of_range on a section line without a "]"; the content then ends before that line.
    bool Load();

    /// Writes the file. False, with a message on standard output, if it cannot be opened. Throws nothing. The file
    /// stays as it is, and the result is true, if the default locale cannot express a character of the content, or
    /// cannot decode all that the file holds: it would lose lines.
    bool Save();
    bool Save(bool bDoSave);

    /// Records are never sorted: true.
    bool Sort(bool bAscending);

    /// The text of the file.
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
