// Passes format records to the classification, the suggestions and the queries of every kernel class, and compares with
// testing/models/format_model.h and the classes' lists of table entries.

#include "fuzz/fuzz_input.h"
#include "kernels/bit_depth.h"
#include "kernels/data_type.h"
#include "kernels/fade.h"
#include "kernels/mono_to_stereo.h"
#include "kernels/mux_conversion.h"
#include "kernels/stereo_to_mono.h"
#include "kernels/volume.h"
#include "resampler/resample_audio.h"
#include "testing/models/operation_models.h"

#include <zta/status.h>

#include <vector>

/// Gives access to the kernel tables.
struct SZtLayoutProbe {
    static const SZtAListOfProcessingFormatsAndFunctionIndex& Entries(const CZtaAudioProcessingUtil& kernel)
    {
        return *kernel.m_psProcessingFormats;
    }
};

namespace {

using models::AreEqual;
using models::Property;
using zta::fuzz::FuzzInput;

/// No valid format or property.
constexpr SZtaWaveFormatInfo kUntouched = {1, 2, static_cast<EZtAudioDataType>(3), 4, 5, 6};

struct Suggestion {
    int status = ZT_E_FORMAT_NOT_SUPPORTED;
    SZtaWaveFormatInfo in = kUntouched;
    SZtaWaveFormatInfo out = kUntouched;
};

/// Mostly valid fields, sometimes random bits.
SZtaWaveFormatInfo MakeFormat(FuzzInput& choices)
{
    constexpr std::uint32_t kChannels[] = {1, 2, 4, 8, 16, 32, 64, 0, 3, 6, 65};
    constexpr std::uint32_t kTypes[] = {1, 2, 3, 4, 0, 9};
    constexpr std::uint32_t kRates[] = {48000, 44100, 96000, 0};
    constexpr std::uint32_t kContainers[] = {16, 24, 32, 8, 0, 64};
    constexpr std::uint32_t kValids[] = {16, 20, 24, 32, 0, 8};
    const auto field = [&](const auto& usual) {
        return choices.ConsumeWithOdds(32) ? choices.Any<std::uint32_t>() : choices.OneOf(usual);
    };
    SZtaWaveFormatInfo format{};
    format.ulSize = choices.ConsumeWithOdds(16) ? choices.Any<std::uint32_t>() : 24;
    format.ulChannels = field(kChannels);
    format.eDataType = static_cast<EZtAudioDataType>(field(kTypes));
    format.ulSamplesPerSec = field(kRates);
    format.ulBitsPerSample = field(kContainers);
    format.ulValidBitsPerSample = field(kValids);
    return format;
}

/// A kernel table, and the expected results of its searches.
class KernelTable {
public:
    explicit KernelTable(const CZtaAudioProcessingUtil& kernel)
    {
        const auto& list = SZtLayoutProbe::Entries(kernel);
        for (int i = 0; i < list.iFormatCount; ++i) {
            entries_.push_back({list.psFormats[i].eInputFormat, list.psFormats[i].eOutputFormat});
        }
    }

    [[nodiscard]] bool Has(std::uint32_t in, std::uint32_t out) const
    {
        for (const Entry& entry : entries_) {
            if (entry.in == in && entry.out == out) {
                return true;
            }
        }
        return false;
    }

    /// The pair itself, else another input, else another output, else another table entry.
    [[nodiscard]] Suggestion ForPair(const SZtaWaveFormatInfo& in, const SZtaWaveFormatInfo& out) const
    {
        const auto inProperty = Property(in);
        const auto outProperty = Property(out);
        if (!inProperty || !outProperty) {
            return {};
        }
        if (Has(*inProperty, *outProperty)) {
            return {0, in, out};
        }
        for (const Entry& entry : entries_) {
            if (entry.out == *outProperty) {
                return {0, g_asFormatOfProperty[entry.in], out};
            }
        }
        for (const Entry& entry : entries_) {
            if (entry.in == *inProperty) {
                return {0, in, g_asFormatOfProperty[entry.out]};
            }
        }
        const Entry& entry = *inProperty == 19 ? entries_.front() : entries_.back();
        return {0, g_asFormatOfProperty[entry.in], g_asFormatOfProperty[entry.out]};
    }

    /// The format itself, else the last table entry of its kind: mono for the four mono formats, stereo for all others.
    [[nodiscard]] Suggestion ForOne(const SZtaWaveFormatInfo& format) const
    {
        const auto property = Property(format);
        if (!property) {
            return {};
        }
        if (Has(*property, *property)) {
            return {0, format, kUntouched};
        }
        const auto isOneOf = [](std::uint32_t value, std::initializer_list<std::uint32_t> set) {
            return std::find(set.begin(), set.end(), value) != set.end();
        };
        const bool mono = isOneOf(*property, {1, 8, 16, 20});
        for (std::size_t i = entries_.size(); i > 0; --i) {
            const std::uint32_t candidate = entries_[i - 1].in;
            if (mono ? isOneOf(candidate, {1, 8, 16, 20}) : isOneOf(candidate, {2, 9, 17, 21})) {
                return {0, g_asFormatOfProperty[candidate], kUntouched};
            }
        }
        return {ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, kUntouched, kUntouched};
    }

private:
    struct Entry {
        std::uint32_t in;
        std::uint32_t out;
    };
    std::vector<Entry> entries_;
};

void CheckClassification(CZtaAudioProcessingUtil& kernel, SZtaWaveFormatInfo format)
{
    auto property = static_cast<EZtAudioSampleFormatProperty>(0xDEAD);
    const int status = kernel.GetSampleFormat(&format, &property);
    const auto expected = Property(format);
    ZTA_FUZZ_CHECK(status == (expected ? 0 : ZT_E_FORMAT_NOT_SUPPORTED));
    ZTA_FUZZ_CHECK(property == expected.value_or(0));
}

void CheckPair(CZtaAudioProcessingUtil& kernel, const KernelTable& table, SZtaWaveFormatInfo in, SZtaWaveFormatInfo out)
{
    const Suggestion expected = table.ForPair(in, out);
    Suggestion found;
    found.status = kernel.SuggestFormatInOutBuffers(&in, &out, &found.in, &found.out);
    ZTA_FUZZ_CHECK(found.status == expected.status);
    ZTA_FUZZ_CHECK(AreEqual(found.in, expected.in) && AreEqual(found.out, expected.out));

    bool supported = true;
    const int status = kernel.QueryFormatSupportedInOutBuffers(&in, &out, &supported);
    ZTA_FUZZ_CHECK(status == expected.status);
    ZTA_FUZZ_CHECK(supported == (status >= 0 && table.Has(*Property(in), *Property(out))));
}

void CheckOne(CZtaAudioProcessingUtil& kernel, const KernelTable& table, SZtaWaveFormatInfo format)
{
    const Suggestion expected = table.ForOne(format);
    SZtaWaveFormatInfo found = kUntouched;
    ZTA_FUZZ_CHECK(kernel.SuggestFormatSingleBuffer(&format, &found) == expected.status);
    ZTA_FUZZ_CHECK(AreEqual(found, expected.in));

    bool supported = true;
    const auto property = Property(format);
    const int status = kernel.QueryFormatSupportedSingleBuffer(&format, &supported);
    ZTA_FUZZ_CHECK(status == (property ? 0 : ZT_E_FORMAT_NOT_SUPPORTED));
    ZTA_FUZZ_CHECK(supported == (property && table.Has(*property, *property)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static CZtaConvertBitDepth bitDepth;
    static CZtaConvertDataType dataType;
    static CZtaApplyFade fade;
    static CZtaConvertMonoToStereo monoToStereo;
    static CZtaConvertStereoToMono stereoToMono;
    static CZtaConvertMonoToMux monoToMux;
    static CZtaConvertStereoToMux stereoToMux;
    static CZtaConvertMuxToMono muxToMono;
    static CZtaConvertMuxToStereo muxToStereo;
    static CZtaApplyVolume volume;
    static CZtaResampleAudio resampleAudio;
    static CZtaAudioProcessingUtil* const kernels[] = {&bitDepth,     &dataType,  &fade,         &monoToStereo,
                                                       &stereoToMono, &monoToMux, &stereoToMux,  &muxToMono,
                                                       &muxToStereo,  &volume,    &resampleAudio};
    FuzzInput choices(data, size);
    const SZtaWaveFormatInfo in = MakeFormat(choices);
    const SZtaWaveFormatInfo out = choices.ConsumeWithOdds(4) ? in : MakeFormat(choices);
    CheckClassification(bitDepth, in);
    for (CZtaAudioProcessingUtil* kernel : kernels) {
        const KernelTable table(*kernel);
        CheckPair(*kernel, table, in, out);
        CheckOne(*kernel, table, in);
    }
    return 0;
}
