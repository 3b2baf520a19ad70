/// Access to the private state of an engine.
#pragma once

#include "engine/audio_samples_engine.h"
#include "testing/recording_host.h"

#include <cstddef>
#include <cstdint>
#include <vector>

struct SZtLayoutProbe {
    static std::uint32_t Busy(const CZtaAudioSamplesEngine& engine) { return engine.m_ui32Busy; }
    static void SetBusy(CZtaAudioSamplesEngine& engine, std::uint32_t busy) { engine.m_ui32Busy = busy; }

    /// Returns true if the pool holds exactly these buffers in the order of creation, and null after them.
    static bool PoolIs(const CZtaAudioSamplesEngine& engine, const std::vector<zta::test::RecordingBuffer*>& buffers)
    {
        std::vector<const IZtAudioSamples*> pool = {engine.m_pScratch0, engine.m_pScratch1, engine.m_pScratch2};
        for (unsigned long i = 0; i < kMaxBuffers; ++i) {
            pool.push_back(engine.m_apFadeScratch[i]);
            pool.push_back(engine.m_apConvertScratch[i]);
        }
        std::vector<const IZtAudioSamples*> expected(buffers.begin(), buffers.end());
        expected.resize(pool.size());
        return pool == expected;
    }

    static bool HoldsOperands(const CZtaAudioSamplesEngine& engine)
    {
        bool hasOperands = engine.m_pSavedInput != nullptr || engine.m_pSavedOutput != nullptr ||
                           engine.m_pSavedResamplerState != nullptr || engine.m_ui64SavedVolumeCount != 0 ||
                           engine.m_ui64SavedSourceOffset != 0 || engine.m_ui64SavedDestinationOffset != 0 ||
                           engine.m_ui64SavedLength != 0 || engine.m_eSavedResamplerMode != EZtAudioResamplerMode();
        for (const IZtAudioSamples* buffer : engine.m_apSavedBuffers) {
            hasOperands = hasOperands || buffer != nullptr;
        }
        return hasOperands;
    }

    /// The record of a slot, in use or not.
    static const SZtAudioMonoVolumeInfo& SavedVolume(const CZtaAudioSamplesEngine& engine, std::size_t slot)
    {
        return engine.m_asSavedVolumes[slot];
    }

    static const IZtAudioSamples* SavedBuffer(const CZtaAudioSamplesEngine& engine, std::size_t slot)
    {
        return engine.m_apSavedBuffers[slot];
    }

    static std::uint64_t SavedBufferCount(const CZtaAudioSamplesEngine& engine)
    {
        return engine.m_ui64SavedBufferCount;
    }
};
