#include "c_header.h"

#include <zta/c/zta.h>

/* The number n of slot s, and the pointer of that value. */
static unsigned long number(int slot, int n)
{
    return (unsigned long)(slot * 10 + n);
}

static void* pointer(int slot, int n)
{
    return (void*)(uintptr_t)number(slot, n);
}

/* Calls slots 0 to 2 by the functions of one interface. */
#define CALL_UNKNOWN(Interface, object, statuses)                                                                      \
    do {                                                                                                               \
        (statuses)[0] = Interface##_QueryInterface(object, pointer(0, 1), pointer(0, 2));                              \
        (statuses)[1] = (long)Interface##_AddRef(object);                                                              \
        (statuses)[2] = (long)Interface##_Release(object);                                                             \
    } while (0)

void c_header_call_unknown(void* object, long* statuses)
{
    IUnknown* unknown = object;
    CALL_UNKNOWN(IUnknown, unknown, statuses);
}

void c_header_call_class_factory(void* object, long* statuses)
{
    IClassFactory* factory = object;
    CALL_UNKNOWN(IClassFactory, factory, statuses);
    statuses[5] = IClassFactory_CreateInstance(factory, pointer(5, 1), pointer(5, 2), pointer(5, 3));
    statuses[6] = IClassFactory_LockServer(factory, (int)number(6, 1));
}

void c_header_call_engine_factory(void* object, long* statuses)
{
    IZtaAudioSamplesEngineFactory* factory = object;
    CALL_UNKNOWN(IZtaAudioSamplesEngineFactory, factory, statuses);
    statuses[5] =
        IZtaAudioSamplesEngineFactory_CreateAudioSamplesEngine(factory, pointer(5, 1), number(5, 2), pointer(5, 3));
}

void c_header_call_engine(void* object, long* statuses)
{
    IZtaAudioSamplesEngine* engine = object;
    CALL_UNKNOWN(IZtaAudioSamplesEngine, engine, statuses);
    statuses[5] = IZtaAudioSamplesEngine_CopyAudioSamples(engine, pointer(5, 1), pointer(5, 2));
    statuses[6] =
        IZtaAudioSamplesEngine_CopyAudioSamplesMonoToStereo(engine, pointer(6, 1), pointer(6, 2), pointer(6, 3));
    statuses[7] =
        IZtaAudioSamplesEngine_CopyAudioSamplesStereoToMono(engine, pointer(7, 1), pointer(7, 2), pointer(7, 3));
    statuses[8] = IZtaAudioSamplesEngine_DuplicateAudioSamples(engine, pointer(8, 1), number(8, 2), pointer(8, 3),
                                                               number(8, 4), number(8, 5));
    statuses[9] = IZtaAudioSamplesEngine_CopyAudioSamplesMonoToMux(engine, pointer(9, 1), number(9, 2), pointer(9, 3),
                                                                   pointer(9, 4), number(9, 5));
    statuses[10] = IZtaAudioSamplesEngine_CopyAudioSamplesStereoToMux(engine, pointer(10, 1), number(10, 2),
                                                                      pointer(10, 3), pointer(10, 4), number(10, 5));
    statuses[11] = IZtaAudioSamplesEngine_CopyAudioSamplesMuxToMono(engine, pointer(11, 1), pointer(11, 2),
                                                                    number(11, 3), pointer(11, 4), number(11, 5));
    statuses[12] = IZtaAudioSamplesEngine_CopyAudioSamplesMuxToStereo(engine, pointer(12, 1), pointer(12, 2),
                                                                      number(12, 3), pointer(12, 4), number(12, 5));
    statuses[13] =
        IZtaAudioSamplesEngine_ApplyVolume(engine, pointer(13, 1), pointer(13, 2), pointer(13, 3), number(13, 4));
    statuses[14] = IZtaAudioSamplesEngine_CreateAudioResampler(engine, pointer(14, 1), pointer(14, 2), pointer(14, 3));
    statuses[15] = IZtaAudioSamplesEngine_ProcessAudioResampler(engine, pointer(15, 1), pointer(15, 2),
                                                                (EZtAudioResamplerMode)number(15, 3), pointer(15, 4));
}

void c_header_destroy_engine(void* object, int deleting)
{
    IZtaAudioSamplesEngine* engine = object;
    if (deleting) {
        engine->lpVtbl->DeletingDestructor(engine);
    } else {
        engine->lpVtbl->CompleteDestructor(engine);
    }
}

/* The objects. Each of them has the address of its own struct as this. */

static IZtAudioSamples g_buffer;
static IZtQuonEnginePrivate g_host;

static int result(int slot, bool holds)
{
    return holds ? -100 - slot : 0;
}

#define THIS_IS_BUFFER (pThis == &g_buffer)

static int buffer_query_interface(IZtAudioSamples* pThis, const _GUID* pIid, void** ppv)
{
    return result(0, THIS_IS_BUFFER && pIid == pointer(0, 1) && ppv == pointer(0, 2));
}

static unsigned long buffer_add_ref(IZtAudioSamples* pThis)
{
    return THIS_IS_BUFFER ? 101 : 0;
}

static unsigned long buffer_release(IZtAudioSamples* pThis)
{
    return THIS_IS_BUFFER ? 102 : 0;
}

static int buffer_mark_write_start_time(IZtAudioSamples* pThis)
{
    return result(3, THIS_IS_BUFFER);
}

static int buffer_mark_write_stop_time(IZtAudioSamples* pThis)
{
    return result(4, THIS_IS_BUFFER);
}

static int buffer_signal_read_completion(IZtAudioSamples* pThis)
{
    return result(5, THIS_IS_BUFFER);
}

static int buffer_signal_write_completion(IZtAudioSamples* pThis)
{
    return result(6, THIS_IS_BUFFER);
}

static int buffer_set_error_code(IZtAudioSamples* pThis, int iCode)
{
    return result(7, THIS_IS_BUFFER && iCode == (int)number(7, 1));
}

static int buffer_get_error_code(IZtAudioSamples* pThis, int* piCode)
{
    return result(8, THIS_IS_BUFFER && piCode == pointer(8, 1));
}

static int buffer_set_polarity(IZtAudioSamples* pThis, uint32_t ePolarity)
{
    return result(9, THIS_IS_BUFFER && ePolarity == number(9, 1));
}

static int buffer_set_wave_format(IZtAudioSamples* pThis, SZtaWaveFormatInfo* psFormat)
{
    return result(10, THIS_IS_BUFFER && psFormat == pointer(10, 1));
}

static int buffer_get_audio_samples_description(IZtAudioSamples* pThis, SZtAudioSamplesDescription* psDescription)
{
    return result(11, THIS_IS_BUFFER && psDescription == pointer(11, 1));
}

static int buffer_get_buffer_and_length(IZtAudioSamples* pThis, void** ppvBuffer, unsigned long* pulLength)
{
    return result(12, THIS_IS_BUFFER && ppvBuffer == pointer(12, 1) && pulLength == pointer(12, 2));
}

static int buffer_get_buffer_capacity(IZtAudioSamples* pThis, unsigned long* pulCapacity)
{
    return result(13, THIS_IS_BUFFER && pulCapacity == pointer(13, 1));
}

static int buffer_get_length_in_sample_frames(IZtAudioSamples* pThis, unsigned long* pulFrames)
{
    return result(14, THIS_IS_BUFFER && pulFrames == pointer(14, 1));
}

static int buffer_set_fade_in(IZtAudioSamples* pThis, bool bFadeIn)
{
    return result(15, THIS_IS_BUFFER && bFadeIn);
}

static int buffer_set_fade_out(IZtAudioSamples* pThis, bool bFadeOut)
{
    return result(16, THIS_IS_BUFFER && bFadeOut);
}

static int buffer_set_length(IZtAudioSamples* pThis, unsigned long ulLength)
{
    return result(17, THIS_IS_BUFFER && ulLength == number(17, 1));
}

static const IZtAudioSamplesVtbl kBufferVtbl = {
    .QueryInterface = buffer_query_interface,
    .AddRef = buffer_add_ref,
    .Release = buffer_release,
    .MarkWriteStartTime = buffer_mark_write_start_time,
    .MarkWriteStopTime = buffer_mark_write_stop_time,
    .SignalReadCompletion = buffer_signal_read_completion,
    .SignalWriteCompletion = buffer_signal_write_completion,
    .SetErrorCode = buffer_set_error_code,
    .GetErrorCode = buffer_get_error_code,
    .SetPolarity = buffer_set_polarity,
    .SetWaveFormat = buffer_set_wave_format,
    .GetAudioSamplesDescription = buffer_get_audio_samples_description,
    .GetBufferAndLength = buffer_get_buffer_and_length,
    .GetBufferCapacity = buffer_get_buffer_capacity,
    .GetLengthInSampleFrames = buffer_get_length_in_sample_frames,
    .SetFadeIn = buffer_set_fade_in,
    .SetFadeOut = buffer_set_fade_out,
    .SetLength = buffer_set_length,
};

void* c_header_buffer(void)
{
    g_buffer.lpVtbl = &kBufferVtbl;
    return &g_buffer;
}

static int host_query_interface(IZtQuonEnginePrivate* pThis, const _GUID* pIid, void** ppv)
{
    return result(0, pThis == &g_host && pIid == pointer(0, 1) && ppv == pointer(0, 2));
}

static unsigned long host_add_ref(IZtQuonEnginePrivate* pThis)
{
    return pThis == &g_host ? 101 : 0;
}

static unsigned long host_release(IZtQuonEnginePrivate* pThis)
{
    return pThis == &g_host ? 102 : 0;
}

static int host_create_audio_samples(IZtQuonEnginePrivate* pThis, SZtCreateAudioSamplesDescription* psDescription,
                                     IZtAudioSamples** ppSamples)
{
    return result(3, pThis == &g_host && psDescription == pointer(3, 1) && ppSamples == pointer(3, 2));
}

static const IZtQuonEnginePrivateVtbl kHostVtbl = {
    .QueryInterface = host_query_interface,
    .AddRef = host_add_ref,
    .Release = host_release,
    .CreateAudioSamples = host_create_audio_samples,
};

void* c_header_host_engine(void)
{
    g_host.lpVtbl = &kHostVtbl;
    return &g_host;
}

const void* c_header_identifier(const char* name)
{
#define IDENTIFIER(id)                                                                                                 \
    {                                                                                                                  \
#id, &id                                                                                                       \
    }
    static const struct {
        const char* name;
        const _GUID* id;
    } kIdentifiers[] = {
        IDENTIFIER(IID_IUnknown),
        IDENTIFIER(IID_IClassFactory),
        IDENTIFIER(CLSID_ZtaAudioSamplesEngine),
        IDENTIFIER(IID_IZtaAudioSamplesEngine),
        IDENTIFIER(IID_IZtaAudioSamplesEngineFactory),
        IDENTIFIER(IID_IZtAVContent),
        IDENTIFIER(IID_IZtAudioSamples),
        IDENTIFIER(IID_IZtQuonEnginePrivate),
    };
    for (size_t i = 0; i < sizeof(kIdentifiers) / sizeof(kIdentifiers[0]); ++i) {
        if (strcmp(kIdentifiers[i].name, name) == 0) {
            return kIdentifiers[i].id;
        }
    }
    return NULL;
}
