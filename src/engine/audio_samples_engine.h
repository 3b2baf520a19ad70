#pragma once

#include "component/unknown.h"
#include "engine/operation.h"
#include "kernels/bit_depth.h"
#include "kernels/data_type.h"
#include "kernels/fade.h"
#include "kernels/mono_to_stereo.h"
#include "kernels/mux_conversion.h"
#include "kernels/stereo_to_mono.h"
#include "kernels/volume.h"
#include "resampler/resample_audio.h"

#include <zta/engine_interfaces.h>
#include <zta/status.h>

#include <algorithm>
#include <atomic>
#include <initializer_list>

/// The maximum number of buffers, and of channels, of one operation.
inline constexpr unsigned long kMaxBuffers = 64;

/// The capacity of each buffer of the pool, in bytes.
inline constexpr unsigned long kScratchBytes = 192000;

/// How an entry point reads the descriptions of its buffers.
enum class EDescriptionPolicy {
    Relabel20Bits,       ///< a failure is ZT_E_INVALID_PARAMETER; 20 valid bits become 24
    KeepFormat,          ///< a failure is ZT_E_INVALID_PARAMETER; formats stay
    KeepFormatAndStatus, ///< a failure is the host's status; formats stay
};

/// How a worker with one input and one output ends; see EndOneToOne.
enum class EOneToOneEnding {
    SignalBuffers,  ///< records a failure before the busy flag is cleared; signals the buffers
    SignalContents, ///< queries the contents after the busy flag is cleared; records a failure between the signals
};

/// The service object of the module.
///
/// An operation has two halves. Its entry point validates the arguments, sets the busy flag and saves the operands with
/// SaveInfo... Its worker Process... reads them with GetInfo..., processes the samples and ends the operation. The
/// entry point calls the worker once, on the same thread.
///
/// The order of the fields is part of the contract.
class ZTA_API CZtaAudioSamplesEngine : public CZtLightUnknown, public IZtaAudioSamplesEngine {
public:
    /// pEngine  the host, which creates the pool; used here only
    /// pStatus receives the first failure of the host, or 0; the destructor releases the buffers created before it
    CZtaAudioSamplesEngine(IZtQuonEnginePrivate* pEngine, unsigned long ulReserved, int* pStatus);
    ~CZtaAudioSamplesEngine() override;

    ZTA_DELEGATE_IUNKNOWN()
    int NonDelegatingQueryInterface(const _GUID& riid, void** ppv) override;

    int CopyAudioSamples(IZtAudioSamples* pSource, IZtAudioSamples* pDestination) override;
    int DuplicateAudioSamples(IZtAudioSamples* pSource, unsigned long ulSourceOffset, IZtAudioSamples* pDestination,
                              unsigned long ulDestinationOffset, unsigned long ulLength) override;
    int CopyAudioSamplesMonoToStereo(IZtAudioSamples* pLeft, IZtAudioSamples* pRight,
                                     IZtAudioSamples* pStereo) override;
    int CopyAudioSamplesStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                     IZtAudioSamples* pRight) override;
    int CopyAudioSamplesMonoToMux(IZtAudioSamples** ppMono, unsigned long ulMonoCount, IZtAudioSamples* pMux,
                                  SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount) override;
    int CopyAudioSamplesStereoToMux(IZtAudioSamples** ppStereo, unsigned long ulStereoCount, IZtAudioSamples* pMux,
                                    SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount) override;
    int CopyAudioSamplesMuxToMono(IZtAudioSamples* pMux, IZtAudioSamples** ppMono, unsigned long ulMonoCount,
                                  SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount) override;
    int CopyAudioSamplesMuxToStereo(IZtAudioSamples* pMux, IZtAudioSamples** ppStereo, unsigned long ulStereoCount,
                                    SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount) override;
    int ApplyVolume(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, SZtAudioMonoVolumeInfo* psVolumes,
                    unsigned long ulVolumeCount) override;
    int CreateAudioResampler(SZtaWaveFormatInfo* psInputFormat, SZtaWaveFormatInfo* psOutputFormat,
                             IUnknown** ppResampler) override;
    int ProcessAudioResampler(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, EZtAudioResamplerMode eMode,
                              IUnknown* pResampler) override;

    // The workers, and the functions that pass the operands from an entry point to its worker.
    int ProcessCopyConv();
    int SaveInfoCopyConv(IZtAudioSamples* pSource, IZtAudioSamples* pDestination);
    int GetInfoCopyConv(IZtAudioSamples** ppSource, IZtAudioSamples** ppDestination);

    int ProcessDuplicate();
    int SaveInfoDuplicate(IZtAudioSamples* pSource, unsigned long ulSourceOffset, IZtAudioSamples* pDestination,
                          unsigned long ulDestinationOffset, unsigned long ulLength);
    int GetInfoDuplicate(IZtAudioSamples** ppSource, unsigned long* pulSourceOffset, IZtAudioSamples** ppDestination,
                         unsigned long* pulDestinationOffset, unsigned long* pulLength);

    /// Copies a span of bytes. The source is bounded by its valid length and the destination by its capacity.
    int BufferDuplicateWithOffset(IZtAudioSamples* pSource, unsigned long ulSourceOffset, IZtAudioSamples* pDestination,
                                  unsigned long ulDestinationOffset, unsigned long ulLength);

    int ProcessMonoToStereo();
    int SaveInfoMonoToStereo(IZtAudioSamples* pLeft, IZtAudioSamples* pRight, IZtAudioSamples* pStereo);
    int GetInfoMonoToStereo(IZtAudioSamples** ppLeft, IZtAudioSamples** ppRight, IZtAudioSamples** ppStereo);

    int ProcessStereoToMono();
    int SaveInfoStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft, IZtAudioSamples* pRight);
    int GetInfoStereoToMono(IZtAudioSamples** ppStereo, IZtAudioSamples** ppLeft, IZtAudioSamples** ppRight);

    int ProcessMonoToMux();
    int ProcessStereoToMux();
    int ProcessMuxToMono();
    int ProcessMuxToStereo();
    int SaveInfoMux(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, IZtAudioSamples** ppBuffers,
                    unsigned long ulCount, SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount);

    /// Errors  ZT_E_INVALID_PARAMETER: a count argument is null; ZT_E_ARRAY_TOO_SMALL: `*pulCount` buffers or
    ///         `*pulVolumeCount` volumes are too few. Nothing is written then.
    int GetInfoMux(IZtAudioSamples** ppInput, IZtAudioSamples** ppOutput, IZtAudioSamples** ppBuffers,
                   unsigned long* pulCount, SZtAudioMonoVolumeInfo* psVolumes, unsigned long* pulVolumeCount);

    int ProcessApplyVolume();
    int SaveInfoApplyVolume(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, SZtAudioMonoVolumeInfo* psVolumes,
                            unsigned long ulVolumeCount);

    /// Errors  ZT_E_ARRAY_TOO_SMALL: `*pulVolumeCount` volumes are too few; only the buffers are written then.
    int GetInfoApplyVolume(IZtAudioSamples** ppInput, IZtAudioSamples** ppOutput, SZtAudioMonoVolumeInfo* psVolumes,
                           unsigned long* pulVolumeCount);

    int ProcessResampling();
    int SaveInfoResampler(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, EZtAudioResamplerMode eMode,
                          IUnknown* pResampler);
    int GetInfoResampler(IZtAudioSamples** ppInput, IZtAudioSamples** ppOutput, EZtAudioResamplerMode* peMode,
                         IUnknown** ppResampler);

    /// Releases all saved buffers and clears the other operands, except the buffer count and the volume records.
    /// Returns 0.
    int ReleaseAllSavedInfo();

    /// Changes a format of 20 valid bits in 32 to 24 valid bits, in the description and on the buffer. Returns the
    /// status of SetWaveFormat, or 0 for other formats.
    int Convert32BitAudioSampleFrom20To24(IZtAudioSamples* pBuffer, SZtAudioSamplesDescription* pDescription);

    /// Copies the samples of one buffer to another, as bytes or through a kernel. The descriptions of the caller decide
    /// which; they may name a format that a buffer does not report yet.
    int BufferCopy(IZtAudioSamples* pIn, SZtAudioSamplesDescription* pInDescription, IZtAudioSamples* pOut,
                   SZtAudioSamplesDescription* pOutDescription);

    /// True for 16-bit samples in multi-format words that become plain 16-bit PCM of the same rate and channels.
    bool is16In32MultiFormatTo16In16Pcm(const SZtaWaveFormatInfo& sIn, const SZtaWaveFormatInfo& sOut);

private:
    // Building blocks of the operations, besides those of operation.h. They are neither exported nor part of the
    // contract.

    /// Calls `rVisit` with each slot of the pool, in the order of creation, until it returns false.
    template <class Visit>
    ZTA_INTERNAL void ForEachPoolSlot(Visit rVisit);

    // ---- Entry points ----

    /// 0, or ZT_E_MODULE_BUSY if another operation runs.
    ZTA_INTERNAL int TrySetBusy() { return m_ui32Busy.exchange(1) == 0 ? ZT_NOERROR : ZT_E_MODULE_BUSY; }

    /// Changes 20 valid bits in 32 to 24: both are MSB-aligned, so the samples stay valid. Checks the format first, to
    /// save the call for other formats.
    ZTA_INTERNAL int RelabelFormat(IZtAudioSamples* pBuffer, SZtAudioSamplesDescription& rsDescription)
    {
        const SZtaWaveFormatInfo& rsFormat = rsDescription.sWaveFormat;
        return rsFormat.ulBitsPerSample == 32 && rsFormat.ulValidBitsPerSample == 20
                   ? Convert32BitAudioSampleFrom20To24(pBuffer, &rsDescription)
                   : ZT_NOERROR;
    }

    /// Requests a description as most entry points do, and changes 20 valid bits to 24.
    ZTA_INTERNAL int QueryDescription(IZtAudioSamples* pBuffer, SZtAudioSamplesDescription& rsDescription)
    {
        if (RequestDescription(pBuffer, rsDescription) < 0) {
            return ZT_E_INVALID_PARAMETER;
        }
        return RelabelFormat(pBuffer, rsDescription);
    }

    /// QueryDescription for buffers in this order, until one fails. The arguments are pointers, each followed by the
    /// empty description that it fills. ZT_E_INVALID_POINTER for a null pointer.
    template <class... Rest>
    [[gnu::always_inline]] ZTA_INTERNAL inline int
    QueryDescriptions(IZtAudioSamples* pBuffer, SZtAudioSamplesDescription& rsDescription, Rest&... rRest)
    {
        const int iStatus = pBuffer != nullptr ? QueryDescription(pBuffer, rsDescription) : ZT_E_INVALID_POINTER;
        if constexpr (sizeof...(rRest) != 0) {
            return iStatus < 0 ? iStatus : QueryDescriptions(rRest...);
        } else {
            return iStatus;
        }
    }

    /// The entry point of an operation with one input and one output; see one_to_one_entry_point.h.
    template <class CheckFormats, class SaveInfo>
    ZTA_INTERNAL int BeginOneToOne(EDescriptionPolicy eDescriptions, int iArgumentStatus, IZtAudioSamples* pInput,
                                   IZtAudioSamples* pOutput, CheckFormats rCheckFormats, SaveInfo rSaveInfo,
                                   int (CZtaAudioSamplesEngine::*pfnProcess)());

    template <class CheckFormats>
    ZTA_INTERNAL int CheckOneToOne(EDescriptionPolicy eDescriptions, int iArgumentStatus, IZtAudioSamples* pInput,
                                   IZtAudioSamples* pOutput, CContentHolder& rInput, CheckFormats rCheckFormats);

    // The checks of the other entry points. They obtain contents; success sets the busy flag.
    ZTA_INTERNAL int CheckMonoToStereo(IZtAudioSamples* pLeft, IZtAudioSamples* pRight, IZtAudioSamples* pStereo,
                                       CContentHolder& rLeft, CContentHolder& rRight);
    ZTA_INTERNAL int CheckStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft, IZtAudioSamples* pRight,
                                       CContentHolder& rStereo, CContentHolder& rRight);
    ZTA_INTERNAL int CheckStereoBuffers(IZtAudioSamples* pFirst, IZtAudioSamples* pSecond, IZtAudioSamples* pThird,
                                        std::initializer_list<std::uint32_t> oChannels);

    /// The failure ending of an entry point: calls `rSignalArray`, signals the contents that were obtained (the others
    /// are null), records the status on the outputs, clears the busy flag and returns the status.
    template <class SignalArray>
    ZTA_INTERNAL int RejectCall(int iStatus, std::initializer_list<IZtAVContent*> oInputs,
                                std::initializer_list<IZtAVContent*> oOutputs, SignalArray rSignalArray)
    {
        const CScopedClearBusy oClearBusy(*this, iStatus);
        rSignalArray();
        SignalFailure(iStatus, oInputs, oOutputs);
        return iStatus;
    }
    ZTA_INTERNAL int RejectCall(int iStatus, std::initializer_list<IZtAVContent*> oInputs,
                                std::initializer_list<IZtAVContent*> oOutputs)
    {
        return RejectCall(iStatus, oInputs, oOutputs, [] {});
    }
    ZTA_INTERNAL static void SignalFailure(int iStatus, std::initializer_list<IZtAVContent*> oInputs,
                                           std::initializer_list<IZtAVContent*> oOutputs);

    /// Clears the busy flag at the end of a failed call, also if a signal raises an exception.
    ///
    /// A call that failed before it set the flag clears it all the same, even while another operation runs: hosts
    /// count on a failed call to free a stuck engine.
    class ZTA_INTERNAL CScopedClearBusy {
    public:
        CScopedClearBusy(CZtaAudioSamplesEngine& rEngine, int iStatus) : m_rEngine(rEngine), m_iStatus(iStatus) {}
        CScopedClearBusy(const CScopedClearBusy&) = delete;
        CScopedClearBusy& operator=(const CScopedClearBusy&) = delete;
        ~CScopedClearBusy()
        {
            if (m_iStatus != ZT_E_MODULE_BUSY) {
                m_rEngine.m_ui32Busy.exchange(0);
            }
        }

    private:
        CZtaAudioSamplesEngine& m_rEngine;
        int m_iStatus;
    };

    /// The exception guard of an operation that has set the busy flag. Its destructor releases the operands and clears
    /// the flag if an exception leaves the scope before End or Dismiss. The buffers get no signal in that case.
    class ZTA_INTERNAL CScopedEndOperation {
    public:
        explicit CScopedEndOperation(CZtaAudioSamplesEngine& rEngine) : m_pEngine(&rEngine) {}
        CScopedEndOperation(const CScopedEndOperation&) = delete;
        CScopedEndOperation& operator=(const CScopedEndOperation&) = delete;
        ~CScopedEndOperation() { End(); }

        /// Releases the operands, then clears the flag. A worker calls this before its signals, so that a thread that
        /// a signal wakes can start the next operation.
        void End()
        {
            if (m_pEngine != nullptr) {
                m_pEngine->ReleaseAllSavedInfo();
                m_pEngine->m_ui32Busy.exchange(0);
                m_pEngine = nullptr;
            }
        }

        void Dismiss() { m_pEngine = nullptr; }

    private:
        CZtaAudioSamplesEngine* m_pEngine;
    };

    /// The last part of an entry point, after the busy flag is set: `rPrepare` saves the operands and marks the start
    /// of writing; then the worker runs, under a guard of its own.
    template <class Prepare>
    ZTA_INTERNAL int RunWorker(Prepare rPrepare, int (CZtaAudioSamplesEngine::*pfnProcess)())
    {
        {
            CScopedEndOperation oOperation(*this);
            rPrepare();
            oOperation.Dismiss();
        }
        return (this->*pfnProcess)();
    }

    /// The end of a worker with one input and one output: records a failure on the output, ends the operation, and
    /// signals both buffers. Returns the status of the last signal.
    template <EOneToOneEnding eEnding>
    ZTA_INTERNAL static int EndOneToOne(CScopedEndOperation& rOperation, const CBufferHolder& rInput,
                                        const CBufferHolder& rOutput, int iStatus);

    // ---- Operands ----

    // All changes of m_apSavedBuffers go through these two, which keep m_ui16UsedSlots correct.

    /// Releases and clears the slots from `ulFirst` up to, but not including, `ulEnd`.
    ZTA_INTERNAL void ReleaseBufferSlots(unsigned long ulFirst, unsigned long ulEnd)
    {
        const unsigned long ulUsed = m_ui16UsedSlots;
        for (unsigned long i = ulFirst; i < std::min(ulEnd, ulUsed); ++i) {
            ReleaseSlot(m_apSavedBuffers[i]);
        }
        if (ulFirst < ulUsed && ulUsed <= ulEnd) {
            m_ui16UsedSlots = static_cast<std::uint16_t>(ulFirst);
        }
    }

    /// Saves an operand in an empty slot. Returns the status of FillSlot.
    ZTA_INTERNAL int FillBufferSlot(unsigned long ulIndex, IZtAudioSamples* pBuffer)
    {
        if (ulIndex >= m_ui16UsedSlots) {
            m_ui16UsedSlots = static_cast<std::uint16_t>(ulIndex + 1);
        }
        return FillSlot(m_apSavedBuffers[ulIndex], pBuffer);
    }

    /// Replaces m_pSavedInput and m_pSavedOutput. ZT_E_INVALID_PARAMETER if one of the operands is null.
    ZTA_INTERNAL int SaveInputAndOutput(IZtAudioSamples* pInput, IZtAudioSamples* pOutput)
    {
        ReleaseSlot(m_pSavedInput);
        ReleaseSlot(m_pSavedOutput);
        const int iStatus = FillSlot(m_pSavedInput, pInput);
        return FirstFailure(iStatus, FillSlot(m_pSavedOutput, pOutput));
    }

    // ---- Workers ----

    // The work of each worker, between the loading of its operands and its end. Returns at the first failure.
    ZTA_INTERNAL int CopyOperand(const CBufferHolder& rSource, const CBufferHolder& rDestination);
    ZTA_INTERNAL int CopyFaded(IZtAudioSamples* pSource, SZtAudioSamplesDescription& rsSource,
                               IZtAudioSamples* pDestination, SZtAudioSamplesDescription& rsDestination);
    ZTA_INTERNAL int DuplicateOperand(const CBufferHolder& rSource, unsigned long ulSourceOffset,
                                      const CBufferHolder& rDestination, unsigned long ulDestinationOffset,
                                      unsigned long ulLength);
    ZTA_INTERNAL int ScaleAndFade(const CBufferHolder& rInput, const CBufferHolder& rOutput,
                                  SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount);
    ZTA_INTERNAL int ResampleOperand(const CBufferHolder& rInput, const CBufferHolder& rOutput,
                                     EZtAudioResamplerMode eMode, IUnknown* pResampler);
    ZTA_INTERNAL int ResampleStereo(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, EZtAudioResamplerMode eMode,
                                    IUnknown* pResampler, SZtaWaveFormatInfo& rsInputFormat,
                                    SZtaWaveFormatInfo& rsOutputFormat);
    ZTA_INTERNAL int InterleaveStereo(const CBufferHolder& rLeft, const CBufferHolder& rRight,
                                      const CBufferHolder& rStereo);
    ZTA_INTERNAL int InterleaveViaScratch(IZtAudioSamples* pLeft, SZtAudioSamplesDescription& rsLeft,
                                          IZtAudioSamples* pRight, SZtAudioSamplesDescription& rsRight,
                                          IZtAudioSamples* pStereo, SZtAudioSamplesDescription& rsStereo);
    ZTA_INTERNAL int DeinterleaveStereo(const CBufferHolder& rStereo, const CBufferHolder& rLeft,
                                        const CBufferHolder& rRight);
    ZTA_INTERNAL int DeinterleaveViaScratch(IZtAudioSamples* pStereo, SZtAudioSamplesDescription& rsStereo,
                                            IZtAudioSamples* pLeft, SZtAudioSamplesDescription& rsLeft,
                                            IZtAudioSamples* pRight, SZtAudioSamplesDescription& rsRight);

    /// Sets the format of a scratch buffer and converts the samples into it.
    ZTA_INTERNAL int ConvertToScratch(IZtAudioSamples* pIn, IZtAudioSamples* pScratch, SZtaWaveFormatInfo& rsFormat);

    /// Converts a buffer whose format `rsFormat` is not the kernel's into the scratch buffer, which replaces it as the
    /// kernel's input.
    ZTA_INTERNAL int StageIfFormatDiffers(IZtAudioSamples*& rpBuffer, const SZtaWaveFormatInfo& rsFormat,
                                          IZtAudioSamples* pScratch, SZtaWaveFormatInfo& rsKernelFormat);

    /// The operands of a worker between mono and stereo, in the order of the operation's arguments.
    struct SStereoOperands {
        SStereoOperands(IZtAudioSamples* pFirst, IZtAudioSamples* pSecond, IZtAudioSamples* pThird)
            : oFirst(pFirst), oSecond(pSecond), oThird(pThird)
        {
        }

        CBufferHolder oFirst;
        CBufferHolder oSecond;
        CBufferHolder oThird;
    };
    template <auto pfnGetInfo>
    ZTA_INTERNAL SStereoOperands LoadStereoOperands();

    // ---- Mux ----

    /// The operands of a mux worker: one of pInput and pOutput is the mux, the other null.
    struct SMuxOperands {
        IZtAudioSamples* pInput = nullptr;
        IZtAudioSamples* pOutput = nullptr;
        IZtAudioSamples* apBuffers[kMaxBuffers];
        unsigned long ulCount = 0;
        SZtAudioMonoVolumeInfo asVolumes[kMaxBuffers];
        unsigned long ulVolumeCount = 0;
    };

    /// The last input format and the kernel's suggestion for it, so that equal inputs are classified once.
    struct SScratchFormat {
        bool bIsValid = false;
        bool bConverts = false;
        SZtaWaveFormatInfo sInput = {};
        SZtaWaveFormatInfo sSuggested = {};
    };

    /// Saves the volumes of the first slots. Slots beyond the volume count get a gain of 0 and keep their channel
    /// reference.
    ZTA_INTERNAL void SaveVolumes(unsigned long ulSlots, const SZtAudioMonoVolumeInfo* psVolumes);

    /// Reads the saved operands. Fails only after a direct call of SaveInfoMux, with operands that no entry point
    /// accepts; the buffers in the record still need their signals.
    ZTA_INTERNAL int LoadMuxOperands(SMuxOperands& rsOperands);

    // Each function serves two mux operations: ulChannelsPerBuffer is 1 for arrays of mono buffers, 2 for stereo
    // buffers.
    ZTA_INTERNAL int BeginInterleave(unsigned long ulChannelsPerBuffer, IZtAudioSamples** ppBuffers,
                                     unsigned long ulCount, IZtAudioSamples* pMux, SZtAudioMonoVolumeInfo* psVolumes,
                                     unsigned long ulVolumeCount, int (CZtaAudioSamplesEngine::*pfnProcess)());
    ZTA_INTERNAL int CheckInterleave(unsigned long ulChannelsPerBuffer, IZtAudioSamples** ppBuffers,
                                     unsigned long ulCount, IZtAudioSamples* pMux,
                                     const SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount);
    ZTA_INTERNAL int CheckInterleaveInput(unsigned long ulChannelsPerBuffer, IZtAudioSamples* pBuffer);
    template <class Kernel, class Convert>
    ZTA_INTERNAL int ProcessInterleave(Kernel& rKernel, Convert pfnConvert, unsigned long ulChannelsPerBuffer);
    template <class Kernel, class Convert>
    ZTA_INTERNAL int InterleaveMux(Kernel& rKernel, Convert pfnConvert, unsigned long ulChannelsPerBuffer,
                                   SMuxOperands& rsOperands, const CBufferHolder& rMux);
    template <class Kernel>
    ZTA_INTERNAL int StageInput(Kernel& rKernel, IZtAudioSamples* pInput, SZtAudioSamplesDescription& rsInput,
                                SZtAudioSamplesDescription& rsMux, unsigned long ulIndex, SScratchFormat& rsScratch,
                                IZtAudioSamples*& rpStaged);
    ZTA_INTERNAL int BeginDeinterleave(unsigned long ulChannelsPerBuffer, IZtAudioSamples* pMux,
                                       IZtAudioSamples** ppBuffers, unsigned long ulCount,
                                       SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount,
                                       int (CZtaAudioSamplesEngine::*pfnProcess)());
    template <class Contents>
    ZTA_INTERNAL int CheckDeinterleave(unsigned long ulChannelsPerBuffer, IZtAudioSamples* pMux,
                                       IZtAudioSamples** ppBuffers, unsigned long ulCount,
                                       const SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount,
                                       CContentHolder& rMux, Contents& rOutputs);
    ZTA_INTERNAL int CheckDeinterleaveOutput(unsigned long ulChannelsPerBuffer, IZtAudioSamples* pBuffer,
                                             CContentHolder& rContent);
    template <class Kernel, class Convert>
    ZTA_INTERNAL int ProcessDeinterleave(Kernel& rKernel, Convert pfnConvert);
    template <class Kernel, class Convert>
    ZTA_INTERNAL int DeinterleaveMux(Kernel& rKernel, Convert pfnConvert, const CBufferHolder& rMux,
                                     SMuxOperands& rsOperands);

    IZtQuonEnginePrivate* m_pHostEngine;
    IZtAudioSamples* m_pSavedInput;
    IZtAudioSamples* m_pSavedOutput;
    IZtAudioSamples* m_apSavedBuffers[kMaxBuffers];
    std::uint64_t m_ui64SavedBufferCount;
    SZtAudioMonoVolumeInfo m_asSavedVolumes[kMaxBuffers];
    std::uint64_t m_ui64SavedVolumeCount;
    std::uint64_t m_ui64SavedSourceOffset;
    std::uint64_t m_ui64SavedDestinationOffset;
    std::uint64_t m_ui64SavedLength;
    IZtAudioSamples* m_pScratch0;
    IZtAudioSamples* m_pScratch1;
    IZtAudioSamples* m_pScratch2;
    IZtAudioSamples* m_apFadeScratch[kMaxBuffers];
    IZtAudioSamples* m_apConvertScratch[kMaxBuffers];
    IUnknown* m_pSavedResamplerState;
    EZtAudioResamplerMode m_eSavedResamplerMode;
    CZtaConvertBitDepth m_oConvertBitDepth;
    CZtaConvertDataType m_oConvertDataType;
    CZtaApplyFade m_oApplyFade;
    CZtaConvertMonoToStereo m_oConvertMonoToStereo;
    CZtaConvertStereoToMono m_oConvertStereoToMono;
    CZtaConvertMonoToMux m_oConvertMonoToMux;
    CZtaConvertStereoToMux m_oConvertStereoToMux;
    CZtaConvertMuxToMono m_oConvertMuxToMono;
    CZtaConvertMuxToStereo m_oConvertMuxToStereo;
    CZtaApplyVolume m_oApplyVolume;
    CZtaResampleAudio m_oResampleAudio;
    std::atomic<std::uint32_t> m_ui32Busy;
    std::uint16_t m_ui16UsedSlots;   ///< slots of m_apSavedBuffers from here on are null
    std::uint16_t m_ui16UsedVolumes; ///< records of m_asSavedVolumes from here on have a gain of 0

    friend struct SZtLayoutProbe;
};
