/* The binary interface in C: an object begins with a pointer to a table of functions, and the index in the table
 * identifies a function. This file and slots.c include no header of the project, not even <zta/c/zta.h>: they define
 * the tables a second time, independently. */
#ifndef ZTA_TESTS_CONTRACT_SLOTS_H
#define ZTA_TESTS_CONTRACT_SLOTS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The largest number of slots of a table. */
#define SLOTS_MAX 18

/* Calls the operations of an object in the order of their slots, without the destructors. The arguments identify the
 * slot: the operation in slot s receives s * 10 + 1, s * 10 + 2 and so on, as numbers or as pointers of those values.
 * statuses[s] receives the result of slot s. */
void slots_call_unknown(void* object, long* statuses);
void slots_call_class_factory(void* object, long* statuses);
void slots_call_engine_factory(void* object, long* statuses);
void slots_call_engine(void* object, long* statuses);
void slots_call_non_delegating_unknown(void* object, long* statuses);
void slots_call_smart_pointer(void* object, void* assigned, void** results);

/* Calls the destructor in one of its two slots: the first destroys the object, the second also frees its memory. */
void slots_destroy(void* object, int slot);

/* Reads the pointer at an offset of a memory block; the caller's compiler cannot optimize it. */
void* slots_pointer_at(const void* memory, unsigned long offset);

/* A host in C. Each buffer and the host engine count the calls of every slot and log their order. */
typedef struct CBuffer {
    const void* slots; /* the first field */
    long references;
    int calls[SLOTS_MAX];
    char order[128]; /* one letter for each call except AddRef and Release: 'a' + slot */
    int order_length;
    int error_code;
    uint32_t polarity;
    int fade_in;
    int fade_out;
    uint32_t format[6];
    unsigned long length;
    unsigned long capacity;
    unsigned char* data;
} CBuffer;

typedef struct CHost {
    const void* slots; /* the first field */
    int calls[4];
    int created;
    int alive;
    uint32_t request[14]; /* the record of the last request */
} CHost;

void c_host_init(CHost* host);
void c_buffer_init(CBuffer* buffer, uint32_t channels, uint32_t type, uint32_t bits, uint32_t valid_bits, void* data,
                   unsigned long capacity, unsigned long length);

/* Calls of the module. */
int c_create_engine(CHost* host, void** engine, unsigned long* factory_references_left);
int c_copy(void* engine, CBuffer* source, CBuffer* destination);
int c_duplicate(void* engine, CBuffer* source, unsigned long source_offset, CBuffer* destination,
                unsigned long destination_offset, unsigned long length);
unsigned long c_add_ref(void* object);
unsigned long c_release(void* object);

/* Call slot 0, QueryInterface or its counterpart, with the identifier of IUnknown or of the engine. */
int c_query_unknown(void* object, void** result);
int c_query_engine(void* object, void** result);

/* Results of LockServer of the module's class factory, and of DllCanUnloadNow while the module is locked, unlocked, and
 * after the factory is released. */
typedef struct CLock {
    int locked;
    int unlocked;
    int can_unload_locked;
    int can_unload_unlocked;
    int can_unload_released;
} CLock;

int c_lock_server(CLock* result);

/* A stream from 44100 to 48000 Hz. */
int c_create_resampler(void* engine, unsigned int channels, void** stream);

#ifdef __cplusplus
}
#endif

#endif
