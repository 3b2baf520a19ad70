#include "slots.h"

#include <stdlib.h>
#include <string.h>

/* A second, independent definition of the binary interface. Do not replace it by <zta/c/zta.h>: an error in that header
 * would then not be detected. */

typedef struct Guid {
    uint32_t data1;
    uint16_t data2;
    uint16_t data3;
    uint8_t data4[8];
} Guid;

static const Guid kClassEngine = {0x45F20097, 0xF519, 0x4DCF, {0x80, 0xD8, 0xCC, 0x0D, 0x06, 0xCB, 0xF2, 0x59}};
static const Guid kEngineFactory = {0x8593F6A8, 0x4042, 0x42B9, {0x86, 0xD0, 0x71, 0x60, 0xA7, 0x5F, 0x5F, 0x87}};
static const Guid kContent = {0xE7906166, 0x30F4, 0x4F30, {0xAE, 0x1E, 0x2F, 0xCF, 0xAE, 0x96, 0x93, 0x30}};
static const Guid kUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
static const Guid kEngine = {0x1E3A4C45, 0xA1AD, 0x4385, {0xA6, 0x50, 0x1C, 0x3D, 0xB4, 0x28, 0xF3, 0xCB}};
static const Guid kClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

#define UNKNOWN_SLOTS                                                                                                  \
    int (*query_interface)(void*, const Guid*, void**);                                                                \
    unsigned long (*add_ref)(void*);                                                                                   \
    unsigned long (*release)(void*);

#define DESTRUCTOR_SLOTS                                                                                               \
    void (*destroy)(void*);                                                                                            \
    void (*destroy_and_free)(void*);

typedef struct UnknownSlots {
    UNKNOWN_SLOTS
} UnknownSlots;

typedef struct ClassFactorySlots {
    UNKNOWN_SLOTS
    DESTRUCTOR_SLOTS
    int (*create_instance)(void*, void*, const Guid*, void**);
    int (*lock_server)(void*, int);
} ClassFactorySlots;

typedef struct EngineFactorySlots {
    UNKNOWN_SLOTS
    DESTRUCTOR_SLOTS
    int (*create_audio_samples_engine)(void*, void*, unsigned long, void**);
} EngineFactorySlots;

typedef struct EngineSlots {
    UNKNOWN_SLOTS
    DESTRUCTOR_SLOTS
    int (*copy)(void*, void*, void*);
    int (*mono_to_stereo)(void*, void*, void*, void*);
    int (*stereo_to_mono)(void*, void*, void*, void*);
    int (*duplicate)(void*, void*, unsigned long, void*, unsigned long, unsigned long);
    int (*mono_to_mux)(void*, void*, unsigned long, void*, void*, unsigned long);
    int (*stereo_to_mux)(void*, void*, unsigned long, void*, void*, unsigned long);
    int (*mux_to_mono)(void*, void*, void*, unsigned long, void*, unsigned long);
    int (*mux_to_stereo)(void*, void*, void*, unsigned long, void*, unsigned long);
    int (*apply_volume)(void*, void*, void*, void*, unsigned long);
    int (*create_resampler)(void*, void*, void*, void*);
    int (*process_resampler)(void*, void*, void*, uint32_t, void*);
} EngineSlots;

typedef struct SmartPointerSlots {
    DESTRUCTOR_SLOTS
    void* (*convert)(void*);
    void* (*dereference)(void*);
    void** (*address)(void*);
    void* (*arrow)(void*);
    void* (*assign)(void*, void*);
    unsigned char (*is_null)(void*);
    unsigned char (*equals)(void*, void*);
} SmartPointerSlots;

typedef struct BufferSlots {
    UNKNOWN_SLOTS
    int (*mark_write_start_time)(void*);
    int (*mark_write_stop_time)(void*);
    int (*signal_read_completion)(void*);
    int (*signal_write_completion)(void*);
    int (*set_error_code)(void*, int);
    int (*get_error_code)(void*, int*);
    int (*set_polarity)(void*, uint32_t);
    int (*set_wave_format)(void*, uint32_t*);
    int (*get_audio_samples_description)(void*, unsigned char*);
    int (*get_buffer_and_length)(void*, void**, unsigned long*);
    int (*get_buffer_capacity)(void*, unsigned long*);
    int (*get_length_in_sample_frames)(void*, unsigned long*);
    int (*set_fade_in)(void*, unsigned char);
    int (*set_fade_out)(void*, unsigned char);
    int (*set_length)(void*, unsigned long);
} BufferSlots;

typedef struct HostSlots {
    UNKNOWN_SLOTS
    int (*create_audio_samples)(void*, const void*, void**);
} HostSlots;

#define SLOTS_OF(type, object) (*(const type* const*)(object))

/* Argument n of a slot: the number, and the pointer of that value. */
static unsigned long number(int slot, int n)
{
    return (unsigned long)(slot * 10 + n);
}

static void* pointer(int slot, int n)
{
    return (void*)(uintptr_t)number(slot, n);
}

void slots_call_unknown(void* object, long* statuses)
{
    const UnknownSlots* slots = SLOTS_OF(UnknownSlots, object);
    statuses[0] = slots->query_interface(object, pointer(0, 1), pointer(0, 2));
    statuses[1] = (long)slots->add_ref(object);
    statuses[2] = (long)slots->release(object);
}

void slots_call_non_delegating_unknown(void* object, long* statuses)
{
    slots_call_unknown(object, statuses);
}

void slots_call_class_factory(void* object, long* statuses)
{
    const ClassFactorySlots* slots = SLOTS_OF(ClassFactorySlots, object);
    slots_call_unknown(object, statuses);
    statuses[5] = slots->create_instance(object, pointer(5, 1), pointer(5, 2), pointer(5, 3));
    statuses[6] = slots->lock_server(object, (int)number(6, 1));
}

void slots_call_engine_factory(void* object, long* statuses)
{
    const EngineFactorySlots* slots = SLOTS_OF(EngineFactorySlots, object);
    slots_call_unknown(object, statuses);
    statuses[5] = slots->create_audio_samples_engine(object, pointer(5, 1), number(5, 2), pointer(5, 3));
}

void slots_call_engine(void* object, long* statuses)
{
    const EngineSlots* slots = SLOTS_OF(EngineSlots, object);
    slots_call_unknown(object, statuses);
    statuses[5] = slots->copy(object, pointer(5, 1), pointer(5, 2));
    statuses[6] = slots->mono_to_stereo(object, pointer(6, 1), pointer(6, 2), pointer(6, 3));
    statuses[7] = slots->stereo_to_mono(object, pointer(7, 1), pointer(7, 2), pointer(7, 3));
    statuses[8] = slots->duplicate(object, pointer(8, 1), number(8, 2), pointer(8, 3), number(8, 4), number(8, 5));
    statuses[9] = slots->mono_to_mux(object, pointer(9, 1), number(9, 2), pointer(9, 3), pointer(9, 4), number(9, 5));
    statuses[10] =
        slots->stereo_to_mux(object, pointer(10, 1), number(10, 2), pointer(10, 3), pointer(10, 4), number(10, 5));
    statuses[11] =
        slots->mux_to_mono(object, pointer(11, 1), pointer(11, 2), number(11, 3), pointer(11, 4), number(11, 5));
    statuses[12] =
        slots->mux_to_stereo(object, pointer(12, 1), pointer(12, 2), number(12, 3), pointer(12, 4), number(12, 5));
    statuses[13] = slots->apply_volume(object, pointer(13, 1), pointer(13, 2), pointer(13, 3), number(13, 4));
    statuses[14] = slots->create_resampler(object, pointer(14, 1), pointer(14, 2), pointer(14, 3));
    statuses[15] =
        slots->process_resampler(object, pointer(15, 1), pointer(15, 2), (uint32_t)number(15, 3), pointer(15, 4));
}

void slots_call_smart_pointer(void* object, void* assigned, void** results)
{
    const SmartPointerSlots* slots = SLOTS_OF(SmartPointerSlots, object);
    results[0] = slots->is_null(object) ? object : NULL;
    results[1] = slots->convert(object);
    results[2] = (void*)slots->address(object);
    results[3] = slots->assign(object, assigned);
    results[4] = slots->is_null(object) ? object : NULL;
    results[5] = slots->convert(object);
    results[6] = slots->dereference(object);
    results[7] = slots->arrow(object);
    results[8] = slots->equals(object, assigned) ? object : NULL;
    results[9] = slots->equals(object, object) ? object : NULL;
    slots->destroy(object);
}

void slots_destroy(void* object, int slot)
{
    /* Reads the table as an array of destructors. */
    typedef void (*Destructor)(void*);
    const Destructor* slots = *(const Destructor* const*)object;
    slots[slot](object);
}

void* slots_pointer_at(const void* memory, unsigned long offset)
{
    void* pointer;
    memcpy(&pointer, (const char*)memory + offset, sizeof(pointer));
    return pointer;
}

/* The host. */

static CBuffer* note(void* object, int slot)
{
    CBuffer* buffer = object;
    ++buffer->calls[slot];
    if (slot != 1 && slot != 2 && buffer->order_length < (int)sizeof(buffer->order) - 1) {
        buffer->order[buffer->order_length++] = (char)('a' + slot);
    }
    return buffer;
}

static int buffer_query_interface(void* object, const Guid* id, void** result)
{
    CBuffer* buffer = note(object, 0);
    if (memcmp(id, &kContent, sizeof(kContent)) != 0) {
        *result = NULL;
        return (int)0x80004002;
    }
    ++buffer->references;
    *result = object;
    return 0;
}

static unsigned long buffer_add_ref(void* object)
{
    return (unsigned long)++note(object, 1)->references;
}

static unsigned long buffer_release(void* object)
{
    return (unsigned long)--note(object, 2)->references;
}

#define COUNTED_SLOT(slot, name)                                                                                       \
    static int buffer_##name(void* object)                                                                             \
    {                                                                                                                  \
        note(object, slot);                                                                                            \
        return 0;                                                                                                      \
    }
#define SETTER_SLOT(slot, name, type, field)                                                                           \
    static int buffer_##name(void* object, type value)                                                                 \
    {                                                                                                                  \
        note(object, slot)->field = value;                                                                             \
        return 0;                                                                                                      \
    }
#define GETTER_SLOT(slot, name, type, field)                                                                           \
    static int buffer_##name(void* object, type* value)                                                                \
    {                                                                                                                  \
        *value = note(object, slot)->field;                                                                            \
        return 0;                                                                                                      \
    }

COUNTED_SLOT(3, mark_write_start_time)
COUNTED_SLOT(4, mark_write_stop_time)
COUNTED_SLOT(5, signal_read_completion)
COUNTED_SLOT(6, signal_write_completion)
SETTER_SLOT(7, set_error_code, int, error_code)
GETTER_SLOT(8, get_error_code, int, error_code)
SETTER_SLOT(9, set_polarity, uint32_t, polarity)
GETTER_SLOT(13, get_buffer_capacity, unsigned long, capacity)
SETTER_SLOT(15, set_fade_in, unsigned char, fade_in)
SETTER_SLOT(16, set_fade_out, unsigned char, fade_out)
SETTER_SLOT(17, set_length, unsigned long, length)

static int buffer_set_wave_format(void* object, uint32_t* format)
{
    CBuffer* buffer = note(object, 10);
    memcpy(buffer->format, format, sizeof(buffer->format));
    return 0;
}

static int buffer_get_audio_samples_description(void* object, unsigned char* description)
{
    const CBuffer* buffer = note(object, 11);
    memcpy(description + 4, &buffer->polarity, 4);
    memset(description + 8, 0, 4);
    description[12] = (unsigned char)buffer->fade_in;
    description[13] = (unsigned char)buffer->fade_out;
    memcpy(description + 16, buffer->format, sizeof(buffer->format));
    return 0;
}

static int buffer_get_buffer_and_length(void* object, void** data, unsigned long* length)
{
    const CBuffer* buffer = note(object, 12);
    *data = buffer->data;
    *length = buffer->length;
    return 0;
}

static int buffer_get_length_in_sample_frames(void* object, unsigned long* frames)
{
    const CBuffer* buffer = note(object, 14);
    *frames = buffer->length / ((buffer->format[4] >> 3) * buffer->format[1]);
    return 0;
}

static const BufferSlots kBufferSlots = {
    buffer_query_interface,
    buffer_add_ref,
    buffer_release,
    buffer_mark_write_start_time,
    buffer_mark_write_stop_time,
    buffer_signal_read_completion,
    buffer_signal_write_completion,
    buffer_set_error_code,
    buffer_get_error_code,
    buffer_set_polarity,
    buffer_set_wave_format,
    buffer_get_audio_samples_description,
    buffer_get_buffer_and_length,
    buffer_get_buffer_capacity,
    buffer_get_length_in_sample_frames,
    buffer_set_fade_in,
    buffer_set_fade_out,
    buffer_set_length,
};

void c_buffer_init(CBuffer* buffer, uint32_t channels, uint32_t type, uint32_t bits, uint32_t valid_bits, void* data,
                   unsigned long capacity, unsigned long length)
{
    const uint32_t format[6] = {24, channels, type, 48000, bits, valid_bits};
    memset(buffer, 0, sizeof(*buffer));
    buffer->slots = &kBufferSlots;
    buffer->references = 1;
    memcpy(buffer->format, format, sizeof(format));
    buffer->data = data;
    buffer->capacity = capacity;
    buffer->length = length;
}

/* A scratch buffer of an engine. The last Release frees it. */
typedef struct PoolBuffer {
    CBuffer buffer;
    CHost* host;
} PoolBuffer;

static unsigned long pool_buffer_release(void* object)
{
    PoolBuffer* pool_buffer = object;
    const long left = --pool_buffer->buffer.references;
    if (left == 0) {
        --pool_buffer->host->alive;
        free(pool_buffer->buffer.data);
        free(pool_buffer);
    }
    return (unsigned long)left;
}

static int host_query_interface(void* object, const Guid* id, void** result)
{
    (void)id;
    ++((CHost*)object)->calls[0];
    *result = NULL;
    return (int)0x80004002;
}

static unsigned long host_add_ref(void* object)
{
    ++((CHost*)object)->calls[1];
    return 1;
}

static unsigned long host_release(void* object)
{
    ++((CHost*)object)->calls[2];
    return 1;
}

static int host_create_audio_samples(void* object, const void* request, void** result)
{
    static BufferSlots slots;
    CHost* host = object;
    PoolBuffer* pool_buffer = malloc(sizeof(*pool_buffer));
    unsigned char* data = malloc(192000);
    ++host->calls[3];
    if (pool_buffer == NULL || data == NULL) {
        abort();
    }
    slots = kBufferSlots;
    slots.release = pool_buffer_release;
    c_buffer_init(&pool_buffer->buffer, 2, 1, 32, 32, data, 192000, 0);
    pool_buffer->buffer.slots = &slots;
    pool_buffer->host = host;
    memcpy(host->request, request, sizeof(host->request));
    ++host->created;
    ++host->alive;
    *result = pool_buffer;
    return 0;
}

static const HostSlots kHostSlots = {host_query_interface, host_add_ref, host_release, host_create_audio_samples};

void c_host_init(CHost* host)
{
    memset(host, 0, sizeof(*host));
    host->slots = &kHostSlots;
}

int DllGetClassObject(const Guid* class_id, const Guid* interface_id, void** result);
int DllCanUnloadNow(void);

int c_create_engine(CHost* host, void** engine, unsigned long* factory_references_left)
{
    void* class_factory = NULL;
    void* factory = NULL;
    int status = DllGetClassObject(&kClassEngine, &kClassFactory, &class_factory);
    if (status < 0) {
        return status;
    }
    status =
        SLOTS_OF(ClassFactorySlots, class_factory)->create_instance(class_factory, NULL, &kEngineFactory, &factory);
    *factory_references_left = c_release(class_factory);
    if (status < 0) {
        return status;
    }
    status = SLOTS_OF(EngineFactorySlots, factory)->create_audio_samples_engine(factory, host, 0, engine);
    *factory_references_left += c_release(factory);
    return status;
}

int c_copy(void* engine, CBuffer* source, CBuffer* destination)
{
    return SLOTS_OF(EngineSlots, engine)->copy(engine, source, destination);
}

int c_duplicate(void* engine, CBuffer* source, unsigned long source_offset, CBuffer* destination,
                unsigned long destination_offset, unsigned long length)
{
    return SLOTS_OF(EngineSlots, engine)
        ->duplicate(engine, source, source_offset, destination, destination_offset, length);
}

unsigned long c_add_ref(void* object)
{
    return SLOTS_OF(UnknownSlots, object)->add_ref(object);
}

unsigned long c_release(void* object)
{
    return SLOTS_OF(UnknownSlots, object)->release(object);
}

int c_query_unknown(void* object, void** result)
{
    return SLOTS_OF(UnknownSlots, object)->query_interface(object, &kUnknown, result);
}

int c_query_engine(void* object, void** result)
{
    return SLOTS_OF(UnknownSlots, object)->query_interface(object, &kEngine, result);
}

int c_lock_server(CLock* result)
{
    void* class_factory = NULL;
    const ClassFactorySlots* slots;
    const int status = DllGetClassObject(&kClassEngine, &kClassFactory, &class_factory);
    if (status < 0) {
        return status;
    }
    slots = SLOTS_OF(ClassFactorySlots, class_factory);
    result->locked = slots->lock_server(class_factory, 1);
    slots->release(class_factory);
    result->can_unload_locked = DllCanUnloadNow();
    DllGetClassObject(&kClassEngine, &kClassFactory, &class_factory);
    slots = SLOTS_OF(ClassFactorySlots, class_factory);
    result->unlocked = slots->lock_server(class_factory, 0);
    result->can_unload_unlocked = DllCanUnloadNow();
    slots->release(class_factory);
    result->can_unload_released = DllCanUnloadNow();
    return 0;
}

int c_create_resampler(void* engine, unsigned int channels, void** stream)
{
    uint32_t input[6] = {24, 0, 1, 44100, 16, 16};
    uint32_t output[6] = {24, 0, 1, 48000, 16, 16};
    input[1] = channels;
    output[1] = channels;
    return SLOTS_OF(EngineSlots, engine)->create_resampler(engine, input, output, stream);
}
