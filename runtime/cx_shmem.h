/* cx_shmem.h — named shared memory with a lock and a sign of its creator's life.
 *
 * One process creates a segment, any number opens it. It is System V shared memory and a set of two
 * semaphores, both with the permission bits 0666, keyed as ftok(3) does, from the file "/tmp/NAME"
 * with project id 2 and 1. Key file, semaphores and memory stay until they are removed.
 *
 * Conventions of this header
 *  1. Results are 0 for success or a negative CX_SHMEM status. A null handle is allowed.
 *  2. A name is that of a file in "/tmp": not empty, without "/", not "." or "..". The key file
 * must be a regular one; links are not followed.
 *  3. The handle record is the caller's, one for each process, used by one thread at a time. What
 *     fails to create or open leaves {-1, -1, null, 0}.
 *  4. Any process may write to the segment at any time: check what is read from it.
 *  5. Nothing is printed.
 */
#ifndef CX_SHMEM_H
#define CX_SHMEM_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    CX_SHMEM_NULL = -1,          /* a null handle */
    CX_SHMEM_NO_KEY = -250,      /* opening: the name or its key file is not right */
    CX_SHMEM_NOT_OPENED = -251,  /* opening: no semaphores, no segment, or not a valid one */
    CX_SHMEM_NOT_CREATED = -252, /* any failure in creating */
    CX_SHMEM_NOT_LOCKED = -261,  /* the lock could not be taken */
    CX_SHMEM_NOT_UNLOCKED = -262 /* the lock was not held by this process */
};

typedef struct CxShMem {
    int32_t semaphores; /* id of the semaphore set */
    int32_t memory;     /* id of the shared memory */
    void* address;      /* of the data area; null: detached */
    uint32_t size;      /* of the data area, in bytes */
} CxShMem;

/* Creates the segment, all zeros, for as long as this process lives, and attaches to it. One that
 * is there under the name is taken over, with its memory cleared, whoever still uses it; it must be
 * large enough. What had been done before a failure stays. */
int32_t CxShMemCreate(const char* name, uint32_t size, CxShMem* handle);

/* Attaches to a segment, whether its creator lives or not. */
int32_t CxShMemOpen(const char* name, CxShMem* handle);

/* Detaches; the segment stays for others. */
int32_t CxShMemClose(CxShMem* handle);

/* Detaches, and removes the semaphores and the segment: -1 when either could not be removed. */
int32_t CxShMemDestroy(CxShMem* handle);

/* Waits for the lock and takes it, for this process; it comes free when the process ends, however.
 * Not recursive. Unlocking fails when this process does not hold the lock. A process can hold 256
 * locks at once, those of CxSemLock included. */
int32_t CxShMemLock(CxShMem* handle);
int32_t CxShMemUnlock(CxShMem* handle);

/* 1 while the creating process lives, else 0, also when that cannot be told. */
int CxShMemCreatorAlive(const CxShMem* handle);

/* The data area and its size in bytes; null and 0 for a null handle. */
void* CxShMemGetAddress(const CxShMem* handle);
uint32_t CxShMemGetSize(const CxShMem* handle);

/* Two numbers beside the data, 0 at first. Each access is atomic, and orders memory: whoever reads
 * what was set sees the data as it was then, also without the lock. So one side that alone sets a
 * number needs no lock for it; of several that do, each holds it from reading to setting. Reading
 * gives 0, and setting does nothing, for a null or a detached handle. */
int32_t CxShMemGetReadOffset(const CxShMem* handle);
void CxShMemSetReadOffset(CxShMem* handle, int32_t offset);
int32_t CxShMemGetWriteOffset(const CxShMem* handle);
void CxShMemSetWriteOffset(CxShMem* handle, int32_t offset);

#ifdef __cplusplus
}
#endif

#endif
