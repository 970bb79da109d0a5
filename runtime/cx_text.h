/* cx_text.h — property lists, a tokenizer, and message identifiers.
 *
 * Conventions of this header
 *  1. int results are 1 for yes or done, 0 for no or not done: a null argument, nothing there, no
 *     memory.
 *  2. Records are the caller's; a property list owns its texts and its array, all of
 *     RakMemoryMalloc. A text "peeked" at stays the list's, until the pair changes; a text copied
 *     or got is yours: RakMemoryFree it. Both are null when there is none.
 *  3. Positions and lengths are in bytes. Nothing is printed or locked.
 */
#ifndef CX_TEXT_H
#define CX_TEXT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Property lists: pairs of texts with distinct keys, in no order ------------------------- */

typedef struct CxPropPair {
    char* key;
    char* value;
} CxPropPair;

typedef struct CxPropList {
    int32_t count;
    int32_t capacity;
    CxPropPair* pairs;
} CxPropList; /* three zeros: an empty list */

typedef struct CxPropListIter {
    const CxPropList* list; /* null: finished */
    int32_t index;
} CxPropListIter;

/* Reads a properties file into the list; 0 also for a null name. Implemented by the logging
 * toolkit: link it, too. */
int CxPropListRead(CxPropList* list, const char* file_name);

/* Copies both texts; the value replaces that of the same key. What fails changes nothing. */
int CxPropListPutStr(CxPropList* list, const char* key, const char* value);

const char* CxPropListPeekStr(const CxPropList* list, const char* key);
char* CxPropListCopyStr(const CxPropList* list, const char* key);
int CxPropListHasKey(const CxPropList* list, const char* key);

/* The last pair takes the place of the one removed. */
int CxPropListRemove(CxPropList* list, const char* key);

/* Frees all; three zeros then. */
void CxPropListDiscard(CxPropList* list);

/* A walk: the iterator stands at the first pair (at none in an empty list); CxPropListIterHasNext
 * tells whether there is one after it, and CxPropListIterNext moves there, or finishes. Adding and
 * removing pairs ends the use of an iterator.
 *
 *     CxPropListIter it = CxPropListIterator(&list);
 *     for (; CxPropListIterPeekKey(&it); CxPropListIterNext(&it)) ... */
CxPropListIter CxPropListIterator(const CxPropList* list);
int CxPropListIterHasNext(const CxPropListIter* it);
void CxPropListIterNext(CxPropListIter* it);
const char* CxPropListIterPeekKey(const CxPropListIter* it);
const char* CxPropListIterPeekVal(const CxPropListIter* it);
char* CxPropListIterCopyKey(const CxPropListIter* it);
char* CxPropListIterCopyVal(const CxPropListIter* it);

/* ---- Tokenizer ----------------------------------------------------------------------------- */

enum { CX_TOKEN_QUOTES = 1 }; /* quote mode: double quotes group; any other: no quotes */

typedef struct CxStringTokIter {
    const char* text;       /* the caller's, as the next; both must outlive the iterator */
    int32_t length;         /* of the text */
    const char* delimiters; /* each byte is one */
    int32_t quote_mode;
    int32_t start; /* of the current token: [start, end); -9: there are no more */
    int32_t end;
} CxStringTokIter;

/* Moves to the first token. With a null text or set, or a text above INT32_MAX - 1 bytes, 0 and no
 * token. Tokens are separated by any number of delimiters and never empty, but for "\"\"" in quote
 * mode, where delimiters between double quotes belong to the token; a quote left open ends with the
 * text.
 *
 *     CxStringTokIterator(&it, "a 'b c'", " ", 0);
 *     for (; CxStringTokIterHasNext(&it); CxStringTokIterNext(&it)) ... */
int CxStringTokIterator(CxStringTokIter* it, const char* text, const char* delimiters,
                        int32_t quote_mode);

/* 1 while a token is current. */
int CxStringTokIterHasNext(const CxStringTokIter* it);

/* The current token, in quote mode without its double quotes. */
char* CxStringTokIterGet(const CxStringTokIter* it);

void CxStringTokIterNext(CxStringTokIter* it);

/* ---- Message identifiers ------------------------------------------------------------------- */

/* An identifier is 3 to 6 letters, 2 to 6 digits and a severity letter: I, W or E. */
typedef struct CxMessageID {
    const char*
        format;      /* "ORX", letters, digits, 1: as "ORX5.4.1"; "" when there is none. Static */
    uint32_t code;   /* the digits of the format: 541; 0 when there is none */
    uint32_t length; /* of the identifier, 7 to 10; 0 when there is none */
    char identifier[10]; /* the zero that ends one of 10 bytes is the severity's byte */
    char severity;       /* 0 for an identifier of 10 bytes */
} CxMessageID;

/* The identifier that a text starts with; whatever follows is ignored. Null is as no identifier. */
CxMessageID CxParseQRAID(const char* text);

#ifdef __cplusplus
}
#endif

#endif
