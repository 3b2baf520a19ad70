/* The contract as a program without classes sees it: every object starts with a pointer to a table of functions, and
 * the place of a function in its table is all that identifies it. Plain C; nothing of the project's headers is used. */
#ifndef ZTA_TESTS_CONTRACT_SLOTS_H
#define ZTA_TESTS_CONTRACT_SLOTS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Slots of one table at most. */
#define SLOTS_MAX 18

/* Calls the operations of an object one after the other, in the order of their slots and without the destructors,
 * with arguments that tell each from the others: the operation in slot s gets s * 10 + 1, s * 10 + 2 and so on as
 * numbers, and pointers of those values. statuses[s] receives the result of slot s. */
void slots_call_unknown(void* object, long* statuses);
void slots_call_class_factory(void* object, long* statuses);
void slots_call_engine_factory(void* object, long* statuses);
void slots_call_engine(void* object, long* statuses);
void slots_call_non_delegating_unknown(void* object, long* statuses);
void slots_call_smart_pointer(void* object, void* assigned, void** results);

/* Calls the destructor in one of its two slots: the first destroys the object, the second gives its memory back too. */
void slots_destroy(void* object, int slot);

/* The pointer at an offset of a block of memory, whatever the caller's compiler knows of it. */
void* slots_pointer_at(const void* memory, unsigned long offset);

/* A host in C. Each buffer and the host itself count the calls of every slot and keep the order of the calls. */
typedef struct CBuffer {
    const void* slots; /* must stay first */
    long references;
    int calls[SLOTS_MAX];
    char order[128]; /* one letter for each call but AddRef and Release: 'a' + slot */
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
    const void* slots; /* must stay first */
    int calls[4];
    int created;
    int alive;
    uint32_t request[14]; /* the record of the last request, word by word */
} CHost;

void c_host_init(CHost* host);
void c_buffer_init(CBuffer* buffer, uint32_t channels, uint32_t type, uint32_t bits, uint32_t valid_bits, void* data,
                   unsigned long capacity, unsigned long length);

/* The module as C uses it. */
int c_create_engine(CHost* host, void** engine, unsigned long* factory_references_left);
int c_copy(void* engine, CBuffer* source, CBuffer* destination);
int c_duplicate(void* engine, CBuffer* source, unsigned long source_offset, CBuffer* destination,
                unsigned long destination_offset, unsigned long length);
unsigned long c_add_ref(void* object);
unsigned long c_release(void* object);

/* QueryInterface of IUnknown, or what stands in its slot, for IUnknown and for the engine's interface. */
int c_query_unknown(void* object, void** result);
int c_query_engine(void* object, void** result);

/* What LockServer of the module's class factory returns, and DllCanUnloadNow while it is locked, unlocked and released.
 */
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
