/* cx_os.h — the operating system: files, paths, directories, processes, threads, semaphores.
 *
 * Conventions of this header
 *  1. A CxStatus tells success (CX_SUCCESS, all of it) or that the system failed: its low half is
 *     CX_SYSTEM_ERROR then and its high half the errno: of the call that failed, 22 (EINVAL) for a
 *     null or an invalid argument. A few calls answer a plain errno, 0 for success; it is said.
 *  2. Paths are zero-terminated bytes; "\" is taken as "/". Path texts have 255 bytes at most, or
 *     the status is 22 and nothing is touched.
 *  3. Handles are plain values. What opens or creates also sets its handle on failure, to -1 or
 *     null.
 *  4. Descriptors are closed on exec, and no terminal becomes the controlling one. Symbolic links
 *     at the end of a path are followed when they belong to root or the effective user, else
 *     opening fails with 40 (ELOOP).
 *  5. Nothing is printed. Calls may run in any number of threads, but one thread at a time uses or
 *     changes a given handle or record; mutexes and semaphores are there to be shared.
 */
#ifndef CX_OS_H
#define CX_OS_H

#include <dirent.h>
#include <pthread.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include "cx_stringbuff.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef uint64_t CxStatus;

enum { CX_SUCCESS = 45, CX_SYSTEM_ERROR = 112 };

/* ---- Files --------------------------------------------------------------------------------- */

typedef int32_t CxFile; /* a descriptor; -1: closed */

/* open(2), with the system's flags and the permission bits 0600, or those given. */
CxStatus CxFileOpen(CxFile* file, const char* path, int flags);
CxStatus CxFileOpenMode(CxFile* file, const char* path, int flags, uint32_t mode);

/* One read(2) or write(2), however much of the length in bytes that moves. The count is what the
 * system call returned, -1 on failure. A negative length is 22. */
CxStatus CxFileRead(CxFile file, void* buffer, int64_t length, int64_t* count);
CxStatus CxFileWrite(CxFile file, const void* buffer, int64_t length, int64_t* count);

/* lseek(2). For rewinding only: any other position than 0 is reached, but reported as a failure,
 * with whatever errno holds. */
CxStatus CxFileSeek(CxFile file, int64_t offset, int origin);

/* Rewinds the file and cuts it to nothing; 22 when its size is not 0 then. */
CxStatus CxFileTrunc(CxFile file);

/* In bytes. */
CxStatus CxFileGetSize(CxFile file, int64_t* size);

/* fsync(2) */
CxStatus CxFileFlush(CxFile file);

/* The handle is -1 then, also where closing failed. */
CxStatus CxFileClose(CxFile* file);

/* ---- File names ---------------------------------------------------------------------------- */

typedef struct CxFileInfo {
    int64_t size;        /* bytes */
    int64_t change_time; /* seconds since 1970, as the next two */
    int64_t modification_time;
    int64_t access_time;
} CxFileInfo;

CxStatus CxFileNameGetSize(const char* path, int64_t* size);

/* An empty path is 22. */
CxStatus CxFileNameGetInfo(CxFileInfo* info, const char* path);

/* rename(2), remove(3) */
CxStatus CxFileNameRename(const char* old_path, const char* new_path);
CxStatus CxFileNameRemove(const char* path);

/* Copies the path and makes every "\" a "/". What does not fit in size bytes with its zero is cut,
 * and 0, as for a null argument or no room; else 1. CxFileNameGetNative fills all of the room, with
 * zeros behind the path. */
int CxFileNameLocalize(const char* path, char* out, size_t size);
int CxFileNameGetNative(const char* path, char* out, size_t size);

/* ---- Path records and directories ---------------------------------------------------------- */

enum { CX_MAX_PATH = 256 }; /* bytes, without the terminating zero */

typedef struct CxFilePath {
    char path[CX_MAX_PATH + 1];
    int32_t length;     /* -1: invalid */
    int32_t last_slash; /* its index; -1: none */
} CxFilePath;

/* 1; 0 for a null argument, and for a text of more than CX_MAX_PATH bytes, which makes an invalid
 * record with what fits. */
int CxInitFilePath(CxFilePath* record, const char* text);

/* A plain errno: 0 when it is a directory, or when it exists; 20 (ENOTDIR) when it is something
 * else; 22 for a null, empty or invalid record; else what stat(2) said. */
int CxFilePathIsDir(const CxFilePath* record);
int CxFilePathExists(const CxFilePath* record);

/* Makes out the path up to its last "/" and without it, and answers 1; 0, and out as it was, when
 * there is none or the record is null or invalid. The records may be the same. */
int CxFilePathParent(const CxFilePath* record, CxFilePath* out);

/* Creates the directory with all that lead to it, each with just these permission bits. A plain
 * errno: 0 when it was there, was created, or something of its name came up meanwhile; 20 when a
 * file is in the way; 22 for a null, empty or invalid record. As "/" has no parent, "/name" is not
 * created: 22. */
int CxFilePathMkdirs(const CxFilePath* record, uint32_t mode);

typedef DIR* CxDirectory; /* null: closed */

/* 22 when the path, of up to CX_MAX_PATH bytes, is no directory. */
CxStatus CxDirectoryOpen(CxDirectory* directory, const char* path);

/* Puts down the next name, "." and ".." included. The end is an empty name with success. A name
 * that does not fit in size bytes with its zero is cut, and 36 (ENAMETOOLONG). */
CxStatus CxDirectoryGetNext(CxDirectory directory, char* name, size_t size);

/* The handle is null then. */
CxStatus CxDirectoryClose(CxDirectory* directory);

/* ---- Processes and the system -------------------------------------------------------------- */

typedef int32_t CxProcess; /* a process id; -1: none */

typedef struct CxProcessResult {
    int32_t ended;     /* 1: the process has changed state */
    int32_t exit_code; /* when it ended normally, else 0 */
    uint8_t signalled; /* 1: a signal ended it */
    int32_t signal;    /* which, else 0 */
} CxProcessResult;

/* getenv(3): the environment's own text; null also for null. */
const char* CxProcessGetEnv(const char* name);
int32_t CxProcessGetCurrentID(void);

/* On failure (34, ERANGE: it does not fit in size bytes) the text is empty. */
CxStatus CxProcessGetCwd(char* buffer, size_t size);

/* Starts a program in a child process; argv ends with null, as for execv(2).
 *
 * BEWARE: WHEN THE PROGRAM CANNOT BE STARTED, THIS CALL ALSO RETURNS IN THE CHILD, with success and
 * with *process -1, and the child goes on as a second copy of the caller. So always follow it by:
 *
 *     status = CxProcessCreate(&process, path, argv);
 *     if (status == CX_SUCCESS && process == -1) _exit(127);
 */
CxStatus CxProcessCreate(CxProcess* process, const char* path, char* const argv[]);

/* waitpid(2) for one process; with wait 0 it does not block, and ended may be 0. The result is all
 * zeros unless the process has changed state. */
CxStatus CxProcessWaitFor(CxProcess process, CxProcessResult* result, int wait);

/* There is nothing to release. */
CxStatus CxProcessRelease(const CxProcess* process);

/* Milliseconds since 1970. */
int64_t CxSystemGetTimestamp(void);

/* The name of this host, with its domain where the host name or the resolver has one; cut to size
 * bytes with its zero. 38 (ENOSYS) and the short name, if any, when the name cannot be had. */
CxStatus CxSystemGetFQHostname(char* buffer, size_t size);

/* ---- Threads, mutexes, semaphores ---------------------------------------------------------- */

typedef pthread_t CxThread;
typedef pthread_mutex_t* CxMutex; /* null: none */
typedef int32_t CxSem;            /* a System V semaphore set; -1: closed */

int CxHasThreadSupport(void); /* 1 */

/* A stack of so many bytes, 0: the default. Every thread is to be joined, once. */
CxStatus CxThreadCreate(CxThread* thread, size_t stack_size, void* (*start)(void*), void* argument);
CxStatus CxThreadJoin(CxThread thread);
void CxThreadYield(void); /* does nothing */

/* Sleeps (milliseconds + 500) / 1000 whole seconds; a signal ends it early. */
void CxThreadSleep(uint32_t milliseconds);

/* The low 32 bits of the thread's id. */
uint32_t CxThreadGetCurrentID(void);

/* Default POSIX mutexes. Nobody may hold or await a mutex that is destroyed; the handle is null
 * then, also where destroying failed. */
CxStatus CxMutexCreate(CxMutex* mutex);
CxStatus CxMutexLock(CxMutex mutex);
CxStatus CxMutexUnlock(CxMutex mutex);
CxStatus CxMutexDestroy(CxMutex* mutex);

/* A lock between processes: one System V semaphore for a key (ftok(3)), made by the first that
 * opens it, with the permission bits 0666, and never removed. 62 (ETIME): its creator has not
 * finished it in some nine seconds. */
CxStatus CxSemOpen(CxSem* semaphore, int32_t key);

/* Waits for the lock and takes it. When the process that holds it ends, however, it comes free. Not
 * recursive. EINTR and ENOSPC are tried again ten times, a second apart, then 62 (ETIME). A process
 * can hold 256 locks at once, else 37 (ENOLCK). */
CxStatus CxSemLock(CxSem semaphore);

/* Any thread of the process that took the lock may give it back. 1 (EPERM), and nothing done, when
 * this process did not take it, as after a fork. */
CxStatus CxSemUnlock(CxSem semaphore);

/* The handle is -1 then; the semaphore stays. */
CxStatus CxSemClose(CxSem* semaphore);

/* ---- Support ------------------------------------------------------------------------------- */

/* Makes room for `needed` elements in an array of RakMemoryMalloc: exactly so many in the first
 * place, then the power of two above, from 16 on. *array is a pointer to the elements, null at
 * first. 1; 0, and all as it was, for a null or a negative argument, no elements needed in the
 * first place, and no memory. */
int CxListEnsureCapacity(void** array, int32_t* capacity, int32_t* count, int32_t needed,
                         int32_t element_size);

/* Frees the array; null and zeros then. Null is ignored. */
void CxListDiscard(void** array, int32_t* capacity, int32_t* count);

/* 1 for "0" to "9"; for "A" to "Z" and "a" to "z"; else 0. */
int CxIsASCIIDigit(int byte);
int CxIsLocalDigit(int byte);
int CxIsASCIIAlpha(int byte);

/* EBCDIC to ASCII where text is EBCDIC. Here text is ASCII, and nothing changes. */
void CxETOA(char* buffer, size_t length);

#ifdef __cplusplus
}
#endif

#endif
