#pragma once

#include "component/unknown.h"

#include <zta/ipp.h>

#include <atomic>
#include <cstdint>

/// A stream: the filter, and the history and time of each channel, which continue one buffer after the other.
///
/// Hosts receive an opaque IUnknown. The object counts its references itself. All channels use the work buffer, so one
/// caller at a time can use a stream; different streams share nothing. The order of the fields is part of the contract.
class ZTA_API CPolyphaseResampler : public IUnknown, public CZtUnknown {
public:
    /// The channel slots of the layout.
    static constexpr unsigned long kMaxChannels = 16;

    CPolyphaseResampler();

    /// Sets the reference count to 0 first, so it is 1 after a success: do not query an object that has several
    /// references.
    /// Errors  E_NOINTERFACE  riid is not IID_IUnknown
    ///         E_POINTER      ppv is null
    int QueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long AddRef() override;
    unsigned long Release() override;
    ~CPolyphaseResampler() override;

    IppHintAlgorithm m_eHint;
    IppsResamplingPolyphaseFixed_16s* m_pSpec;     ///< the filter, with its packed bank; constant after creation
    std::uint64_t m_ulInputRate;                   ///< hertz
    std::uint64_t m_ulOutputRate;                  ///< hertz
    std::uint64_t m_ulFilterLength;                ///< taps of a phase
    std::uint64_t m_ulWorkSamples;                 ///< capacity of the work buffer
    std::uint64_t m_ulChannels;                    ///< channels with a history
    std::uint64_t m_ulHistoryStride;               ///< samples that each channel's history can hold
    std::uint64_t m_ulPrimeSamples;                ///< the position of the first output, in samples of history
    std::uint64_t m_aulHistoryCount[kMaxChannels]; ///< valid samples of each channel's history
    double m_adTime[kMaxChannels];                 ///< each channel's next output, in samples from its history's start
    std::int16_t* m_psWorkBuffer;                  ///< history and input of one pass; no state between calls
    std::int16_t* m_psHistory;                     ///< channel c begins at sample c * m_ulHistoryStride
    float m_fRollOff;                              ///< cut-off frequency / half of the lower rate
    float m_fAlpha;                                ///< of the Kaiser window
    std::atomic<std::int32_t> m_lRefCount;
};
