#pragma once

#include "component/unknown.h"

#include <zta/ipp.h>

#include <atomic>
#include <cstdint>

/// The state of one resampled stream: the filter bank, and for each channel what makes one buffer continue the last.
///
/// Hosts see an opaque IUnknown. The object counts its references itself. The work buffer serves all channels, so a
/// stream belongs to one caller at a time; different streams share nothing. The order of the fields is part of the
/// contract.
class ZTA_API CPolyphaseResampler : public IUnknown, public CZtUnknown {
public:
    /// Channels that the layout has room for.
    static constexpr unsigned long kMaxChannels = 16;

    CPolyphaseResampler();

    /// Sets the reference count to 0 before anything else, so that it stands at 1 after a success, whatever it was:
    /// an object of which several references are out must not be queried.
    /// Errors  E_NOINTERFACE: riid is not IID_IUnknown; E_POINTER: ppv is null
    int QueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long AddRef() override;
    unsigned long Release() override;
    ~CPolyphaseResampler() override;

    IppHintAlgorithm m_eHint;
    IppsResamplingPolyphaseFixed_16s* m_pSpec;     ///< the filter bank, read-only once made
    std::uint64_t m_ulInputRate;                   ///< hertz
    std::uint64_t m_ulOutputRate;                  ///< hertz
    std::uint64_t m_ulFilterLength;                ///< taps of a row
    std::uint64_t m_ulWorkSamples;                 ///< capacity of the work buffer
    std::uint64_t m_ulChannels;                    ///< channels that have a history
    std::uint64_t m_ulHistoryStride;               ///< samples of history store for each channel
    std::uint64_t m_ulPrimeSamples;                ///< the position of the first output, in samples of history
    std::uint64_t m_aulHistoryCount[kMaxChannels]; ///< valid samples of each channel's history
    double m_adTime[kMaxChannels];                 ///< each channel's next output, in samples from its history's start
    std::int16_t* m_psWorkBuffer;                  ///< where history and new input meet; holds nothing between calls
    std::int16_t* m_psHistory;                     ///< channel c's starts at sample c * m_ulHistoryStride
    float m_fRollOff;                              ///< cut-off, as a part of the lower rate's half
    float m_fAlpha;                                ///< of the Kaiser window
    std::atomic<std::int32_t> m_lRefCount;
};
