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

typedef IZtAudioSamples* Buffer;

/* Defines the function of one slot of the buffer: it checks its arguments by `holds`. */
#define BUFFER_SLOT(slot, name, parameters, holds)                                                                     \
    static int name parameters                                                                                         \
    {                                                                                                                  \
        return result(slot, pThis == &g_buffer && (holds));                                                            \
    }

BUFFER_SLOT(0, buffer_query_interface, (Buffer pThis, const _GUID* pIid, void** ppv),
            pIid == pointer(0, 1) && ppv == pointer(0, 2))

static unsigned long buffer_add_ref(IZtAudioSamples* pThis)
{
    return pThis == &g_buffer ? 101 : 0;
}

static unsigned long buffer_release(IZtAudioSamples* pThis)
{
    return pThis == &g_buffer ? 102 : 0;
}

BUFFER_SLOT(3, buffer_mark_write_start_time, (Buffer pThis), true)
BUFFER_SLOT(4, buffer_mark_write_stop_time, (Buffer pThis), true)
BUFFER_SLOT(5, buffer_signal_read_completion, (Buffer pThis), true)
BUFFER_SLOT(6, buffer_signal_write_completion, (Buffer pThis), true)
BUFFER_SLOT(7, buffer_set_error_code, (Buffer pThis, int iCode), iCode == (int)number(7, 1))
BUFFER_SLOT(8, buffer_get_error_code, (Buffer pThis, int* piCode), piCode == pointer(8, 1))
BUFFER_SLOT(9, buffer_set_polarity, (Buffer pThis, uint32_t ePolarity), ePolarity == number(9, 1))
BUFFER_SLOT(10, buffer_set_wave_format, (Buffer pThis, SZtaWaveFormatInfo* psFormat), psFormat == pointer(10, 1))
BUFFER_SLOT(11, buffer_get_audio_samples_description, (Buffer pThis, SZtAudioSamplesDescription* psDescription),
            psDescription == pointer(11, 1))
BUFFER_SLOT(12, buffer_get_buffer_and_length, (Buffer pThis, void** ppvBuffer, unsigned long* pulLength),
            ppvBuffer == pointer(12, 1) && pulLength == pointer(12, 2))
BUFFER_SLOT(13, buffer_get_buffer_capacity, (Buffer pThis, unsigned long* pulCapacity), pulCapacity == pointer(13, 1))
BUFFER_SLOT(14, buffer_get_length_in_sample_frames, (Buffer pThis, unsigned long* pulFrames),
            pulFrames == pointer(14, 1))
BUFFER_SLOT(15, buffer_set_fade_in, (Buffer pThis, bool bFadeIn), bFadeIn)
BUFFER_SLOT(16, buffer_set_fade_out, (Buffer pThis, bool bFadeOut), bFadeOut)
BUFFER_SLOT(17, buffer_set_length, (Buffer pThis, unsigned long ulLength), ulLength == number(17, 1))

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
    static const struct {
        const char* name;
        const _GUID* id;
    } kIdentifiers[] = {
        {"IID_IUnknown", &IID_IUnknown},
        {"IID_IClassFactory", &IID_IClassFactory},
        {"CLSID_ZtaAudioSamplesEngine", &CLSID_ZtaAudioSamplesEngine},
        {"IID_IZtaAudioSamplesEngine", &IID_IZtaAudioSamplesEngine},
        {"IID_IZtaAudioSamplesEngineFactory", &IID_IZtaAudioSamplesEngineFactory},
        {"IID_IZtAVContent", &IID_IZtAVContent},
        {"IID_IZtAudioSamples", &IID_IZtAudioSamples},
        {"IID_IZtQuonEnginePrivate", &IID_IZtQuonEnginePrivate},
    };
    for (size_t i = 0; i < sizeof(kIdentifiers) / sizeof(kIdentifiers[0]); ++i) {
        if (strcmp(kIdentifiers[i].name, name) == 0) {
            return kIdentifiers[i].id;
        }
    }
    return NULL;
}
