#pragma once

#include "kernels/audio_processing_util.h"

/// The rows of a kernel class and the functions behind them, filled from the class's one list. Row number and function
/// index are equal.
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

/// What a row is found by.
struct SZtaFormatPair {
    EZtAudioSampleFormatProperty eInputFormat;
    EZtAudioSampleFormatProperty eOutputFormat;
};

/// True if no two rows have the same pair: a search would never come to the second.
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
