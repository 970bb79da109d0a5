/* rak.h — memory and zero-terminated text: the C library's calls, tolerant of null.
 *
 * Conventions of this header
 *  1. Each call does what the call of ISO C or POSIX does that it names; null is as said here.
 *  2. A block that a call returns is yours: RakMemoryFree it. Null: no memory.
 *  3. Comparisons answer below, equal to or above 0. A null left text compares as 1, also with
 *     null; a null right text as -1.
 *  4. Nothing is printed.
 */
#ifndef RAK_H
#define RAK_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* malloc, realloc, calloc, free. A size or count of 0 gives null and does nothing: RakMemoryRealloc
 * then leaves the block as it is. A null block is ignored by RakMemoryFree. */
void* RakMemoryMalloc(size_t size);
void* RakMemoryRealloc(void* block, size_t size);
void* RakMemoryCalloc(size_t count, size_t size);
void RakMemoryFree(void* block);

/* strcmp, strncmp, strcasecmp, strncasecmp. */
int RakStringCmp(const char* left, const char* right);
int RakStringNCmp(const char* left, const char* right, size_t n);
int RakStringICmp(const char* left, const char* right);
int RakStringNICmp(const char* left, const char* right, size_t n);

/* strcat, strncat: null when dest is null; a null src leaves dest as it is. */
char* RakStringCat(char* dest, const char* src);
char* RakStringNCat(char* dest, const char* src, size_t n);

/* strcpy, strncpy (which fills up with zeros, and does not terminate a text of n bytes or more):
 * null when dest is null; a null src is the empty text. */
char* RakStringCpy(char* dest, const char* src);
char* RakStringNCpy(char* dest, const char* src, size_t n);

/* A copy of the text; null for null. */
char* RakStringDup(const char* text);

/* strlen; 0 for null. */
size_t RakStringLen(const char* text);

/* strchr, strrchr, strstr, strpbrk; null when an argument is null. */
char* RakStringChr(const char* text, int byte);
char* RakStringRChr(const char* text, int byte);
char* RakStringStr(const char* text, const char* part);
char* RakStringStrpbrk(const char* text, const char* accept);

/* strcspn, strspn; -1 for a null text. With a null reject the length of the text, with a null
 * accept 0. */
ptrdiff_t RakStringStrcspn(const char* text, const char* reject);
ptrdiff_t RakStringStrspn(const char* text, const char* accept);

/* vsprintf: dest must have room for whatever the format makes, and for the zero; there is no limit.
 * -1 when dest or format is null. CxStringBuffPrintf grows its buffer instead. */
int RakStringSprintf(char* dest, const char* format, ...) __attribute__((format(printf, 2, 3)));

#ifdef __cplusplus
}
#endif

#endif
