#pragma once

#include <zta/host_interfaces.h>
#include <zta/status.h>

#include <cstdint>
#include <string>
#include <vector>

/// A wave format by its five meaningful fields.
inline SZtaWaveFormatInfo WaveFormat(std::uint32_t type, std::uint32_t container, std::uint32_t valid,
                                     std::uint32_t rate, std::uint32_t channels)
{
    return {24, channels, static_cast<EZtAudioDataType>(type), rate, container, valid};
}

/// A fake buffer: the test sets every result, and the calls are logged. Length, capacity and data are independent of
/// each other.
class FakeAudioSamples final : public IZtAudioSamples {
public:
    FakeAudioSamples() = default;

    /// A consistent buffer with a capacity of `capacityFrames`; the first `validFrames` are valid.
    FakeAudioSamples(const SZtaWaveFormatInfo& waveFormat, unsigned long validFrames, unsigned long capacityFrames)
        : format(waveFormat)
    {
        const unsigned long frameBytes =
            static_cast<unsigned long>(waveFormat.ulBitsPerSample / 8) * waveFormat.ulChannels;
        data.resize(capacityFrames * frameBytes);
        length = validFrames * frameBytes;
        capacity = capacityFrames * frameBytes;
        lengthInFrames = validFrames;
    }

    // The results of the calls.
    std::vector<std::uint8_t> data;
    SZtaWaveFormatInfo format{};
    unsigned long length = 0;
    unsigned long capacity = 0;
    unsigned long lengthInFrames = 0;
    std::uint32_t polarity = 0;
    bool fadeIn = false;
    bool fadeOut = false;

    // The status of each call. A failing call does not write its outputs.
    int descriptionStatus = 0;
    int bufferStatus = 0;
    int capacityStatus = 0;
    int framesStatus = 0;
    int setLengthStatus = 0;
    int setWaveFormatStatus = 0;

    // The arguments of the calls.
    std::vector<std::string> calls;              ///< the names of the operations, in order
    std::vector<unsigned long> lengthsSet;       ///< of SetLength
    std::vector<std::uint32_t> descriptionSizes; ///< `ulSize` as passed to GetAudioSamplesDescription

    int QueryInterface(const _GUID&, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    unsigned long AddRef() override { return 2; }
    unsigned long Release() override { return 1; }

    int MarkWriteStartTime() override { return Called("MarkWriteStartTime"); }
    int MarkWriteStopTime() override { return Called("MarkWriteStopTime"); }
    int SignalReadCompletion() override { return Called("SignalReadCompletion"); }
    int SignalWriteCompletion() override { return Called("SignalWriteCompletion"); }
    int SetErrorCode(int) override { return Called("SetErrorCode"); }
    int GetErrorCode(int* code) override
    {
        *code = 0;
        return Called("GetErrorCode");
    }

    int SetPolarity(std::uint32_t value) override
    {
        polarity = value;
        return Called("SetPolarity");
    }
    int SetWaveFormat(SZtaWaveFormatInfo* waveFormat) override
    {
        if (setWaveFormatStatus >= 0) {
            format = *waveFormat;
        }
        return Called("SetWaveFormat", setWaveFormatStatus);
    }
    int GetAudioSamplesDescription(SZtAudioSamplesDescription* description) override
    {
        descriptionSizes.push_back(description->ulSize);
        if (descriptionStatus >= 0) {
            *description = {description->ulSize, polarity, 0, fadeIn, fadeOut, format};
        }
        return Called("GetAudioSamplesDescription", descriptionStatus);
    }
    int GetBufferAndLength(void** buffer, unsigned long* bytes) override
    {
        if (bufferStatus >= 0) {
            *buffer = data.data();
            *bytes = length;
        }
        return Called("GetBufferAndLength", bufferStatus);
    }
    int GetBufferCapacity(unsigned long* bytes) override
    {
        if (capacityStatus >= 0) {
            *bytes = capacity;
        }
        return Called("GetBufferCapacity", capacityStatus);
    }
    int GetLengthInSampleFrames(unsigned long* frames) override
    {
        if (framesStatus >= 0) {
            *frames = lengthInFrames;
        }
        return Called("GetLengthInSampleFrames", framesStatus);
    }
    int SetFadeIn(bool value) override
    {
        fadeIn = value;
        return Called("SetFadeIn");
    }
    int SetFadeOut(bool value) override
    {
        fadeOut = value;
        return Called("SetFadeOut");
    }
    int SetLength(unsigned long bytes) override
    {
        lengthsSet.push_back(bytes);
        if (setLengthStatus >= 0) {
            length = bytes;
        }
        return Called("SetLength", setLengthStatus);
    }

private:
    int Called(const char* name, int status = 0)
    {
        calls.emplace_back(name);
        return status;
    }
};
