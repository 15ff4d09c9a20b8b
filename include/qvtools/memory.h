/* QV_Tools memory family: tracked memory and call stacks.
 *
 * A host program can allocate through QV_Malloc/QV_Calloc/QV_Realloc/QV_Free instead of the C
 * runtime: every block then carries a record (MemInfo) of who allocated it, with the call stack
 * of that moment, until it is freed through QV_Free. SyncMemInfos logs the records of all blocks
 * still allocated, which finds leaks. The working-set functions read the process's resident
 * memory for quick before/after comparisons. Nothing here is locked: use it from one thread at
 * a time. */
#ifndef QVTOOLS_MEMORY_H
#define QVTOOLS_MEMORY_H

#include <stddef.h>

#include "qvtools/export.h"

/* Size of the call-stack text kept in a record, terminator included. */
#define QV_MEMINFO_STACK_SIZE 1024
/* Size of the buffer that GetCurrentCallStack fills, terminator included. */
#define QV_CALLSTACK_SIZE 4096

/* The record of one tracked block. The texts are stored as pointers, not copied: they must
 * outlive the record (string literals in practice). */
typedef struct MemInfo {
    int line;                                /* the caller's line number */
    void* address;                           /* the block */
    const char* text2;                       /* third argument of the allocating call */
    const char* text1;                       /* second argument of the allocating call */
    const char* module;                      /* the module that made the record */
    size_t size;                             /* bytes requested */
    char callStack[QV_MEMINFO_STACK_SIZE];   /* the call stack of the allocation */
} MemInfo;

QV_EXTERN_C_BEGIN

/* Allocates `size` bytes with malloc and records the block (also a null result, under the null
 * address). Returns the block or null. */
QV_API void* QV_Malloc(int size, const char* text1, const char* text2, int line);
/* As QV_Malloc with calloc(count, size); the recorded size is count * size in 32-bit signed
 * arithmetic. */
QV_API void* QV_Calloc(int count, int size, const char* text1, const char* text2, int line);
/* Reallocates; a tracked block's record follows the block when it moves but keeps its old size.
 * Returns the new block (null when realloc fails). */
QV_API void* QV_Realloc(void* block, int size);
/* Frees `block` (nothing for null). A block that was never tracked is recorded as a stray free
 * and freed all the same. */
QV_API void QV_Free(void* block, const char* text1, const char* text2, int line);

/* Sets the record's module and stores a copy among the allocated blocks, replacing any record at
 * its address. Returns 0. */
QV_API int AddMallocMemInfo(MemInfo* info, const char* module);
/* The same among the stray frees. Returns 0. */
QV_API int AddFreeMemInfo(MemInfo* info, const char* module);
/* Logs the call stack of every block still allocated (level 1, code 0), in ascending address
 * order, and copies each record into the report table. Returns 0. */
QV_API int SyncMemInfos(void);

/* Writes the current thread's call stack into `out` (QV_CALLSTACK_SIZE characters), one line per
 * frame, starting at the last frame that mentions `name` when given. A text of 4096 characters
 * or more, or of at most one, leaves `out` untouched. Returns 0, or -2 when out is null (logged
 * as "output argument is NULL"). */
QV_API int GetCurrentCallStack(char* out, const char* name);

/* The working-set (resident) size of the process in bytes. */
QV_API size_t GetCurrentMemUsage(void);
/* Remembers the low 32 bits of the working-set size as the start value and returns them. */
QV_API unsigned MemUseStart(void);
/* The low 32 bits of the working-set size minus the start value (a shrunken working set gives a
 * large number). */
QV_API unsigned MemUseTest(void);

QV_EXTERN_C_END

#endif
