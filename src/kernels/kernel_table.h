#pragma once

#include "kernels/audio_processing_util.h"

/// The table of a kernel class: its format pairs and the kernels behind them, filled from the class's one list. Entry
/// number and function index are equal.
template <class Function, int Count>
class TZtaKernelTable {
public:
    struct Entry {
        EZtAudioSampleFormatProperty eInputFormat;
        EZtAudioSampleFormatProperty eOutputFormat;
        Function pfnFunction;
    };

    explicit TZtaKernelTable(const Entry (&rasEntries)[Count]) noexcept : m_sList{Count, m_asEntries}
    {
        for (int i = 0; i < Count; ++i) {
            m_asEntries[i] = {rasEntries[i].eInputFormat, rasEntries[i].eOutputFormat, i};
            m_apfnFunctions[i] = rasEntries[i].pfnFunction;
        }
    }

    TZtaKernelTable(const TZtaKernelTable&) = delete;
    TZtaKernelTable& operator=(const TZtaKernelTable&) = delete;

    SZtAListOfProcessingFormatsAndFunctionIndex* List() noexcept { return &m_sList; }
    Function operator[](int iFunctionIndex) const noexcept { return m_apfnFunctions[iFunctionIndex]; }

private:
    SZtAProcessingFormatAndFunctionIndex m_asEntries[Count];
    SZtAListOfProcessingFormatsAndFunctionIndex m_sList;
    Function m_apfnFunctions[Count];
};

/// The key of a table entry.
struct SZtaFormatPair {
    EZtAudioSampleFormatProperty eInputFormat;
    EZtAudioSampleFormatProperty eOutputFormat;
};

/// Returns true if no pair occurs twice: a search would never find the second.
template <int Count>
constexpr bool ZtaPairsAreUnique(const SZtaFormatPair (&rasPairs)[Count])
{
    for (int i = 0; i < Count; ++i) {
        for (int j = 0; j < i; ++j) {
            if (rasPairs[i].eInputFormat == rasPairs[j].eInputFormat &&
                rasPairs[i].eOutputFormat == rasPairs[j].eOutputFormat) {
                return false;
            }
        }
    }
    return true;
}

// Expansions of the kernel lists. A list has entries X(input layout, output layout, kernel, ...), or X(layout, kernel,
// ...) if both sides have one layout. Its class names itself `Self`.

/// The number of entries of a list.
#define ZTA_ENTRY_COUNT(LIST) (0 LIST(ZTA_COUNT_ENTRY))
#define ZTA_COUNT_ENTRY(...) +1 // NOLINT(bugprone-macro-parentheses): continues a sum

/// Initializers of SZtaFormatPair.
#define ZTA_FORMAT_PAIR(in, out, ...) {keZtAudioSampleFormat##in, keZtAudioSampleFormat##out},
#define ZTA_SAME_FORMAT_PAIR(layout, ...) {keZtAudioSampleFormat##layout, keZtAudioSampleFormat##layout},

/// Initializers of TZtaKernelTable::Entry, in a member of the class.
#define ZTA_TABLE_ENTRY(in, out, name, ...) {keZtAudioSampleFormat##in, keZtAudioSampleFormat##out, &Self::name},
#define ZTA_SAME_FORMAT_TABLE_ENTRY(layout, name, ...)                                                                 \
    {keZtAudioSampleFormat##layout, keZtAudioSampleFormat##layout, &Self::name},
