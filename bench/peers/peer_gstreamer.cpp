#include "bench/peers/peer.h"

#include <stdexcept>

#include <gst/audio/audio.h>
#include <gst/audio/gstaudiofilter.h>
#include <gst/gst.h>

namespace bench {

namespace {

/// Returns GST_AUDIO_FORMAT_UNKNOWN for unsupported formats. 24-in-32 is a 32-bit sample there.
GstAudioFormat FormatFor(Sample sample)
{
    switch (sample) {
    case Sample::Int16:
        return GST_AUDIO_FORMAT_S16LE;
    case Sample::Int24In32:
        return GST_AUDIO_FORMAT_S32LE;
    case Sample::Int24In24:
        return GST_AUDIO_FORMAT_S24LE;
    case Sample::Float:
        return GST_AUDIO_FORMAT_F32LE;
    case Sample::Word64:
        return GST_AUDIO_FORMAT_F64LE;
    default:
        return GST_AUDIO_FORMAT_UNKNOWN;
    }
}

GstAudioInfo InfoOf(const BufferLayout& layout)
{
    GstAudioInfo info;
    gst_audio_info_set_format(&info, FormatFor(layout.sample), 48000, static_cast<int>(layout.Channels()), nullptr);
    if (layout.planes.size() > 1) {
        info.layout = GST_AUDIO_LAYOUT_NON_INTERLEAVED;
    }
    return info;
}

std::vector<gpointer> Pointers(const BufferLayout& layout)
{
    return {layout.planes.begin(), layout.planes.end()};
}

StreamMaker Resampler(int quality)
{
    return {"gstreamer, quality " + std::to_string(quality), [quality](const Rates& rates, std::size_t) -> Stream {
                constexpr GstAudioResamplerMethod kMethod = GST_AUDIO_RESAMPLER_METHOD_KAISER;
                const auto from = static_cast<int>(rates.from);
                const auto to = static_cast<int>(rates.to);
                GstStructure* options = gst_structure_new_empty("options");
                gst_audio_resampler_options_set_quality(kMethod, static_cast<guint>(quality), from, to, options);
                const std::shared_ptr<GstAudioResampler> resampler(
                    gst_audio_resampler_new(kMethod, GST_AUDIO_RESAMPLER_FLAG_NONE, GST_AUDIO_FORMAT_S16,
                                            static_cast<int>(rates.channels), from, to, options),
                    gst_audio_resampler_free);
                gst_structure_free(options);
                if (resampler == nullptr) {
                    throw std::runtime_error("GStreamer's resampler does not start");
                }
                return [resampler](const std::int16_t* in, std::size_t frames, std::int16_t* out, std::size_t) {
                    gpointer source = const_cast<std::int16_t*>(in);
                    gpointer target = out;
                    const gsize made = gst_audio_resampler_get_out_frames(resampler.get(), frames);
                    gst_audio_resampler_resample(resampler.get(), &source, frames, &target, made);
                    return std::size_t{made};
                };
            }};
}

/// The volume element outside a pipeline: its transform function is called directly.
class VolumeElement {
public:
    VolumeElement(const BufferLayout& layout, double gain)
        : element_(gst_element_factory_make("volume", nullptr)), transform_(GST_BASE_TRANSFORM_CAST(element_))
    {
        if (element_ == nullptr) {
            throw std::runtime_error("GStreamer has no volume element: is gstreamer1.0-plugins-base there?");
        }
        gst_object_ref_sink(element_);
        g_object_set(element_, "volume", gain, nullptr);
        GstAudioInfo info = InfoOf(layout);
        GstCaps* caps = gst_audio_info_to_caps(&info);
        const gboolean accepted = Class()->set_caps(transform_, caps, caps);
        gst_caps_unref(caps);
        if (!accepted) {
            throw std::runtime_error("GStreamer's volume element rejects the format");
        }
        buffer_ = gst_buffer_new_wrapped_full(static_cast<GstMemoryFlags>(0), layout.planes.front(), layout.Bytes(), 0,
                                              layout.Bytes(), nullptr, nullptr);
        gst_segment_init(&transform_->segment, GST_FORMAT_TIME);
        Class()->before_transform(transform_, buffer_);
    }
    ~VolumeElement()
    {
        gst_buffer_unref(buffer_);
        gst_object_unref(element_);
    }
    VolumeElement(const VolumeElement&) = delete;
    VolumeElement& operator=(const VolumeElement&) = delete;

    void Run() { Class()->transform_ip(transform_, buffer_); }

private:
    GstBaseTransformClass* Class() const
    {
        return reinterpret_cast<GstBaseTransformClass*>(reinterpret_cast<GTypeInstance*>(element_)->g_class);
    }

    GstElement* element_;
    GstBaseTransform* transform_;
    GstBuffer* buffer_ = nullptr;
};

class GStreamer : public Peer {
public:
    GStreamer() { gst_init(nullptr, nullptr); }

    std::string Name() const override { return "gstreamer"; }
    std::string Version() const override
    {
        gchar* const text = gst_version_string();
        std::string version(text);
        g_free(text);
        return version;
    }

    Job Convert(const BufferLayout& in, const BufferLayout& out) const override
    {
        constexpr std::uint32_t kMaxChannels = 63; // with more its converter crashes
        if (FormatFor(in.sample) == GST_AUDIO_FORMAT_UNKNOWN || FormatFor(out.sample) == GST_AUDIO_FORMAT_UNKNOWN ||
            in.Channels() > kMaxChannels) {
            return {};
        }
        GstAudioInfo from = InfoOf(in);
        GstAudioInfo to = InfoOf(out);
        GstStructure* const options = gst_structure_new("options", GST_AUDIO_CONVERTER_OPT_DITHER_METHOD,
                                                        GST_TYPE_AUDIO_DITHER_METHOD, GST_AUDIO_DITHER_NONE, nullptr);
        const std::shared_ptr<GstAudioConverter> converter(
            gst_audio_converter_new(GST_AUDIO_CONVERTER_FLAG_NONE, &from, &to, options), [](GstAudioConverter* old) {
                if (old != nullptr) {
                    gst_audio_converter_free(old);
                }
            });
        if (converter == nullptr) {
            return {};
        }
        return [converter, sources = Pointers(in), targets = Pointers(out), frames = in.frames]() mutable {
            gst_audio_converter_samples(converter.get(), GST_AUDIO_CONVERTER_FLAG_NONE, sources.data(), frames,
                                        targets.data(), frames);
        };
    }

    Job Gain(const BufferLayout& layout, double gain) const override
    {
        return [element = std::make_shared<VolumeElement>(layout, gain)] { element->Run(); };
    }

    std::vector<StreamMaker> Resamplers() const override { return {Resampler(4), Resampler(8)}; }
};

} // namespace

std::unique_ptr<Peer> MakeGStreamer()
{
    return std::make_unique<GStreamer>();
}

} // namespace bench
