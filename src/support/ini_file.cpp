#include "support/ini_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <exception>
#include <fstream>
#include <iterator>
#include <locale>
#include <new>
#include <sstream>
#include <streambuf>
#include <utility>

namespace {

constexpr int kTrimLeft = 1;
constexpr int kTrimRight = 2;

constexpr wchar_t kActive = L' ';

bool IsCommentChar(wchar_t cChar)
{
    return cChar == CZtIniFile::keCommentCharPound || cChar == CZtIniFile::keCommentCharSemicolon;
}

auto RecordSectionIs(const std::wstring& rsSection)
{
    return [&rsSection](const CZtIniFile::Record& rRecord) { return rRecord.Section == rsSection; };
}

auto RecordSectionKeyIs(const std::wstring& rsKey, const std::wstring& rsSection)
{
    return [&rsKey, &rsSection](const CZtIniFile::Record& rRecord) {
        return rRecord.Section == rsSection && rRecord.Key == rsKey;
    };
}

/// Returns the first matching record, or the end.
template <class Predicate>
auto Find(std::vector<CZtIniFile::Record>& raoContent, Predicate pfnFits)
{
    return std::find_if(raoContent.begin(), raoContent.end(), pfnFits);
}

CZtIniFile::Record MakeRecord(std::wstring sSection, std::wstring sKey, std::wstring sValue)
{
    return {std::wstring(), kActive, std::move(sSection), std::move(sKey), std::move(sValue)};
}

void WriteElement(std::wostream& rOutput, const CZtIniFile::Record& rRecord)
{
    if (rRecord.Key.empty()) {
        rOutput << L'[' << rRecord.Section << L']';
    } else {
        rOutput << rRecord.Key << L'=' << rRecord.Value;
    }
}

void WriteRecords(std::wostream& rOutput, const std::vector<CZtIniFile::Record>& raoContent)
{
    for (const CZtIniFile::Record& rRecord : raoContent) {
        // An active record is written with a leading space, which Load removes.
        rOutput << rRecord.Comments << rRecord.Commented;
        WriteElement(rOutput, rRecord);
        rOutput << std::endl;
    }
}

using Encoding = std::codecvt<wchar_t, char, std::mbstate_t>;

/// Encodes text as a file of the default locale does and discards the bytes. Fails at the first character that the
/// locale cannot encode. Does not allocate.
class EncodingCheck final : public std::wstreambuf {
protected:
    int_type overflow(int_type iChar) override
    {
        const wchar_t cChar = traits_type::to_char_type(iChar);
        return xsputn(&cChar, 1) == 1 ? iChar : traits_type::eof();
    }

    std::streamsize xsputn(const wchar_t* pcText, std::streamsize iCount) override
    {
        const wchar_t* const pcEnd = pcText + iCount;
        const wchar_t* pcNext = pcText;
        while (pcNext != pcEnd) {
            const wchar_t* const pcFrom = pcNext;
            char acBytes[256];
            char* pcBytesEnd = acBytes;
            const auto eResult =
                m_rEncoding.out(m_sState, pcFrom, pcEnd, pcNext, acBytes, std::end(acBytes), pcBytesEnd);
            if (eResult == Encoding::error || (pcNext == pcFrom && pcBytesEnd == acBytes)) {
                return pcNext - pcText;
            }
        }
        return iCount;
    }

private:
    const Encoding& m_rEncoding = std::use_facet<Encoding>(getloc());
    std::mbstate_t m_sState{};
};

bool CanEncode(const std::vector<CZtIniFile::Record>& raoContent)
{
    EncodingCheck oCheck;
    std::wostream oOutput(&oCheck);
    WriteRecords(oOutput, raoContent);
    return oOutput.good();
}

/// Returns false at the end and at a byte that cannot be decoded. A stream reports a failed allocation like that as
/// well; it is thrown instead, because the next save would lose the lines that were not read.
bool ReadLine(std::wifstream& rFile, std::wstring& rsLine)
{
    rFile.exceptions(std::ios_base::badbit);
    try {
        // A last line without a newline is ignored: reading it sets the end-of-file flag.
        return std::getline(rFile, rsLine) && !rFile.eof();
    } catch (const std::ios_base::failure&) {
        return false;
    }
}

/// Returns false if the file cannot be opened; errno has the reason. Throws if memory runs out: the file can exist, and
/// must not be treated as empty.
template <class Stream>
bool OpenForReading(Stream& rFile, const std::string& rsFileName)
{
    errno = 0;
    rFile.open(rsFileName);
    if (!rFile.is_open() && errno == ENOMEM) {
        throw std::bad_alloc();
    }
    return rFile.is_open();
}

/// Returns false if Load cannot have read every line, so that a save would lose some. A wide stream does not
/// distinguish a byte that cannot be decoded from the end of the file, so the bytes are decoded here.
bool CanReadAll(const std::string& rsFileName)
{
    std::ifstream oFile;
    if (!OpenForReading(oFile, rsFileName)) {
        return errno == ENOENT;
    }
    const std::locale oLocale;
    const auto& rEncoding = std::use_facet<Encoding>(oLocale);
    std::mbstate_t sState{};
    char acBytes[256];
    char* pcEnd = acBytes; // the bytes before it are the start of a character
    while (oFile && pcEnd != std::end(acBytes)) {
        pcEnd += oFile.read(pcEnd, std::end(acBytes) - pcEnd).gcount();
        const char* pcNext = acBytes;
        const char* pcFrom = nullptr;
        while (pcNext != pcEnd && pcNext != pcFrom) {
            pcFrom = pcNext;
            wchar_t awcText[256];
            wchar_t* pwcTextEnd = awcText;
            if (rEncoding.in(sState, pcFrom, pcEnd, pcNext, awcText, std::end(awcText), pwcTextEnd) ==
                Encoding::error) {
                return false;
            }
        }
        pcEnd = std::copy(pcNext, static_cast<const char*>(pcEnd), acBytes);
    }
    return oFile.eof();
}

/// Prints the message in the orientation that standard output has: bytes are lost once a host has printed wide text.
void PrintOpenFailure(const std::string& sFileName)
{
    if (std::fwide(stdout, 0) <= 0) {
        std::printf("Unable to open %s for writing\n", sFileName.c_str());
        return;
    }
    // Byte by byte: %s would stop at a byte that the locale does not know, and memory may have run out.
    std::fputws(L"Unable to open ", stdout);
    std::mbstate_t sState{};
    for (std::size_t i = 0; i < sFileName.size();) {
        wchar_t wc = L'?';
        const std::size_t ulBytes = std::mbrtowc(&wc, &sFileName[i], sFileName.size() - i, &sState);
        const bool bIsKnown = ulBytes <= sFileName.size() - i;
        if (!bIsKnown) {
            wc = L'?';
            sState = std::mbstate_t{};
        }
        std::fputwc(wc, stdout);
        i += bIsKnown && ulBytes > 0 ? ulBytes : 1; // the result is 0 for a null character
    }
    std::fputws(L" for writing\n", stdout);
}

} // namespace

void Trim(std::wstring& s, const std::wstring& sChars, int iMode)
{
    const std::size_t ulFirst = s.find_first_not_of(sChars);
    if (ulFirst == std::wstring::npos) {
        s.clear();
        return;
    }
    if (iMode != kTrimLeft) {
        s.erase(s.find_last_not_of(sChars) + 1);
    }
    if (iMode != kTrimRight) {
        s.erase(0, ulFirst);
    }
}

CZtIniFile::CZtIniFile(std::string sFileName, bool bAutoSave)
    : m_sFileName(std::move(sFileName)), m_bAutoSave(bAutoSave), m_bDirty(false)
{
    Load();
}

CZtIniFile::~CZtIniFile()
{
    Sort(true);
    if (m_bDirty) {
        Save();
    }
}

bool CZtIniFile::Load()
{
    std::wifstream oFile;
    if (!OpenForReading(oFile, m_sFileName)) {
        return false;
    }
    m_aoContent.clear();
    const std::wstring sBlanks = L" \t\n\r";
    std::wstring sPendingComments;
    std::wstring sSection;
    std::wstring sLine;
    while (ReadLine(oFile, sLine)) {
        Trim(sLine, sBlanks, 0);
        if (sLine.empty()) {
            continue;
        }
        Record oRecord = MakeRecord({}, {}, {});
        if (IsCommentChar(sLine.front())) {
            if (sLine.find_first_of(L"[=") == std::wstring::npos) {
                sPendingComments += sLine + L'\n';
                continue;
            }
            oRecord.Commented = sLine.front();
            sLine.erase(0, 1);
            Trim(sLine, sBlanks, 0);
        }
        // The order of the two tests is part of the format: a bracket anywhere makes a header, and a "=" that remains
        // in the name of the header makes it a key record without its comments.
        if (sLine.find(L'[') != std::wstring::npos) {
            sLine.erase(0, 1);
            sLine.erase(sLine.find(L']'));
            oRecord.Comments = std::exchange(sPendingComments, {});
            oRecord.Section = sLine;
            sSection = sLine;
        }
        const std::size_t ulEqual = sLine.find(L'=');
        if (ulEqual != std::wstring::npos) {
            oRecord.Comments = std::exchange(sPendingComments, {});
            oRecord.Section = sSection;
            oRecord.Key = sLine.substr(0, ulEqual);
            oRecord.Value = sLine.substr(ulEqual + 1);
        }
        // Any other line is a header without a name, unless comments precede it.
        if (sPendingComments.empty()) {
            m_aoContent.push_back(std::move(oRecord));
        }
    }
    return true;
}

bool CZtIniFile::Save()
{
    return Save(true);
}

bool CZtIniFile::Save(bool bDoSave)
{
    if (!bDoSave) {
        return true;
    }
    wchar_t awcBuffer[256];
    std::wofstream oFile;
    bool bKeepsLines = false;
    try {
        // Opening the file truncates it, so the lines are checked first. A file that would lose lines is opened for
        // appending and keeps its content. Callers learn only of a file that cannot be opened.
        bKeepsLines = CanEncode(m_aoContent) && CanReadAll(m_sFileName);
        // No allocation from here on: it could fail while the file is empty.
        oFile.rdbuf()->pubsetbuf(awcBuffer, std::size(awcBuffer));
        oFile.open(m_sFileName, bKeepsLines ? std::ios_base::trunc : std::ios_base::app);
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): the file has not been opened
    }
    if (!oFile.is_open()) {
        PrintOpenFailure(m_sFileName);
        return false;
    }
    try {
        if (bKeepsLines) {
            WriteRecords(oFile, m_aoContent);
        }
        oFile.close();
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // Closing writes the rest of the buffer and throws if that cannot be encoded. Callers of the module do not
        // catch it, and the destructor calls this function as well.
    }
    m_bDirty = false;
    return true;
}

bool CZtIniFile::Sort(bool /*bAscending*/)
{
    return true;
}

std::wstring CZtIniFile::Content()
{
    std::wostringstream oText;
    for (const Record& rRecord : m_aoContent) {
        oText << rRecord.Comments;
        if (rRecord.Commented != kActive) {
            oText << rRecord.Commented;
        }
        WriteElement(oText, rRecord);
        oText << L'\n';
    }
    return oText.str();
}

// NOLINTBEGIN(performance-unnecessary-value-param): the binary contract passes texts by value

bool CZtIniFile::SectionExists(std::wstring sSection)
{
    return Find(m_aoContent, RecordSectionIs(sSection)) != m_aoContent.end();
}

bool CZtIniFile::RecordExists(std::wstring sKey, std::wstring sSection)
{
    return Find(m_aoContent, RecordSectionKeyIs(sKey, sSection)) != m_aoContent.end();
}

bool CZtIniFile::AddSection(std::wstring sSection)
{
    if (SectionExists(sSection)) {
        return false;
    }
    m_aoContent.push_back(MakeRecord(std::move(sSection), {}, {}));
    m_bDirty = true;
    return Save(m_bAutoSave);
}

bool CZtIniFile::DeleteSection(std::wstring sSection)
{
    if (std::erase_if(m_aoContent, RecordSectionIs(sSection)) != 0) {
        m_bDirty = true;
    }
    return Save(m_bAutoSave);
}

bool CZtIniFile::RenameSection(std::wstring sOld, std::wstring sNew)
{
    if (SectionExists(sNew)) {
        return false;
    }
    for (Record& rRecord : m_aoContent) {
        if (rRecord.Section == sOld) {
            rRecord.Section = sNew;
            m_bDirty = true;
        }
    }
    return Save(m_bAutoSave);
}

bool CZtIniFile::DeleteRecord(std::wstring sKey, std::wstring sSection)
{
    const auto itRecord = Find(m_aoContent, RecordSectionKeyIs(sKey, sSection));
    if (itRecord == m_aoContent.end()) {
        return false;
    }
    m_aoContent.erase(itRecord);
    m_bDirty = true;
    return Save(m_bAutoSave);
}

bool CZtIniFile::SetString(std::wstring sKey, std::wstring sSection, std::wstring sValue)
{
    m_bDirty = true;
    const auto itSection = Find(m_aoContent, RecordSectionIs(sSection));
    const auto itRecord = Find(m_aoContent, RecordSectionKeyIs(sKey, sSection));
    if (itRecord != m_aoContent.end()) {
        itRecord->Value = std::move(sValue);
    } else if (itSection != m_aoContent.end()) {
        m_aoContent.insert(std::next(itSection), MakeRecord(std::move(sSection), std::move(sKey), std::move(sValue)));
    } else {
        m_aoContent.push_back(MakeRecord(sSection, {}, {}));
        m_aoContent.push_back(MakeRecord(std::move(sSection), std::move(sKey), std::move(sValue)));
    }
    return Save(m_bAutoSave);
}

bool CZtIniFile::SetLongLong(std::wstring sKey, std::wstring sSection, unsigned long long ullValue)
{
    return SetString(std::move(sKey), std::move(sSection), std::to_wstring(ullValue));
}

std::wstring CZtIniFile::GetString(std::wstring sKey, std::wstring sSection, std::wstring sDefault)
{
    const auto itRecord = Find(m_aoContent, RecordSectionKeyIs(sKey, sSection));
    return itRecord != m_aoContent.end() ? itRecord->Value : sDefault;
}

unsigned long long CZtIniFile::GetLongLong(std::wstring sKey, std::wstring sSection, unsigned long long ullDefault)
{
    const std::wstring sText = GetString(std::move(sKey), std::move(sSection), {});
    if (sText.empty()) {
        return ullDefault;
    }
    unsigned long long ullValue = 0;
    for (const wchar_t cDigit : sText) {
        // Nothing is rejected: a character that is not a digit has the value of its distance from "0", and overflow
        // wraps.
        ullValue = ullValue * 10 + static_cast<unsigned long long>(cDigit - L'0');
    }
    return ullValue;
}

std::vector<CZtIniFile::Record> CZtIniFile::GetRecord(std::wstring sKey, std::wstring sSection)
{
    const auto itRecord = Find(m_aoContent, RecordSectionKeyIs(sKey, sSection));
    return itRecord != m_aoContent.end() ? std::vector<Record>{*itRecord} : std::vector<Record>();
}

std::vector<CZtIniFile::Record> CZtIniFile::GetSection(std::wstring sSection)
{
    std::vector<Record> aoFound;
    std::copy_if(m_aoContent.begin(), m_aoContent.end(), std::back_inserter(aoFound),
                 [&](const Record& rRecord) { return rRecord.Section == sSection && !rRecord.Key.empty(); });
    return aoFound;
}

std::vector<CZtIniFile::Record> CZtIniFile::GetSections()
{
    std::vector<Record> aoFound;
    std::copy_if(m_aoContent.begin(), m_aoContent.end(), std::back_inserter(aoFound),
                 [](const Record& rRecord) { return rRecord.Key.empty(); });
    return aoFound;
}

std::vector<std::wstring> CZtIniFile::GetSectionNames()
{
    std::vector<std::wstring> asNames;
    for (const Record& rHeader : GetSections()) {
        asNames.push_back(rHeader.Section);
    }
    return asNames;
}

bool CZtIniFile::CommentRecord(CommentChar eChar, std::wstring sKey, std::wstring sSection)
{
    const auto itRecord = Find(m_aoContent, RecordSectionKeyIs(sKey, sSection));
    if (itRecord == m_aoContent.end()) {
        return false;
    }
    itRecord->Commented = static_cast<wchar_t>(eChar);
    m_bDirty = true;
    return Save(m_bAutoSave);
}

bool CZtIniFile::UnCommentRecord(std::wstring sKey, std::wstring sSection)
{
    const auto itRecord = Find(m_aoContent, RecordSectionKeyIs(sKey, sSection));
    if (itRecord == m_aoContent.end()) {
        return false;
    }
    itRecord->Commented = kActive;
    m_bDirty = true;
    return Save(); // writes the file without bAutoSave as well, unlike the other operations
}

bool CZtIniFile::CommentSection(wchar_t cChar, std::wstring sSection)
{
    for (Record& rRecord : m_aoContent) {
        if (rRecord.Section == sSection) {
            rRecord.Commented = cChar;
            m_bDirty = true;
        }
    }
    return Save(m_bAutoSave);
}

bool CZtIniFile::UnCommentSection(std::wstring sSection)
{
    return CommentSection(kActive, std::move(sSection));
}

bool CZtIniFile::SetRecordComments(std::wstring sComments, std::wstring sKey, std::wstring sSection)
{
    const auto itRecord = Find(m_aoContent, RecordSectionKeyIs(sKey, sSection));
    if (itRecord == m_aoContent.end()) {
        return false;
    }
    // A text that ends with a newline gets another one, which Load skips as a blank line. A single character is stored
    // unchanged.
    if (sComments.size() > 1) {
        sComments += L'\n';
    }
    itRecord->Comments = std::move(sComments);
    m_bDirty = true;
    return Save(m_bAutoSave);
}

bool CZtIniFile::SetSectionComments(std::wstring sComments, std::wstring sSection)
{
    return SetRecordComments(std::move(sComments), {}, std::move(sSection));
}

// NOLINTEND(performance-unnecessary-value-param)
