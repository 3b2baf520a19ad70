/* Calls through <zta/c/zta.h>, for objects in C++, and objects in C for calls from C++. Arguments are void*, because
 * the types of the C header and of the C++ headers have the same names. */
#ifndef ZTA_TESTS_CONTRACT_C_HEADER_H
#define ZTA_TESTS_CONTRACT_C_HEADER_H

#ifdef __cplusplus
extern "C" {
#endif

/* As in slots.h: each operation in order of the slots, without the destructors. The operation in slot s gets s * 10 +
 * 1, s * 10 + 2 and so on as numbers or pointers; statuses[s] receives its result. */
void c_header_call_unknown(void* object, long* statuses);
void c_header_call_class_factory(void* object, long* statuses);
void c_header_call_engine_factory(void* object, long* statuses);
void c_header_call_engine(void* object, long* statuses);

/* Calls one of the two destructors, by its field. */
void c_header_destroy_engine(void* object, int deleting);

/* A buffer and a host engine in C. Each function checks that the n-th argument in slot s is s * 10 + n (or true) and
 * returns -100 - s, or 0 if an argument differs. */
void* c_header_buffer(void);
void* c_header_host_engine(void);

/* The identifiers of the C header. */
const void* c_header_identifier(const char* name);

#ifdef __cplusplus
}
#endif

#endif
