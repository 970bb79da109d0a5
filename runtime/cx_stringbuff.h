/* cx_stringbuff.h — a growable text, zero-terminated at all times.
 *
 * Conventions of this header
 *  1. The record is the caller's; three zeros are an empty buffer. The text belongs to the buffer
 *     until CxStringBuffTakeStr, and moves when the buffer grows.
 *  2. int results are 1 for success and 0 for failure: a null buffer, a null text or no memory.
 *     What fails leaves a valid buffer, and unless said otherwise the text as it was.
 *  3. Lengths and positions are counted in bytes. A text of more than INT32_MAX - 1 bytes fails.
 *  4. A text to append or insert may be part of the buffer's own.
 *  5. Nothing is printed. Not locked: one thread at a time for a buffer.
 * Formatted text is appended by the calls of cx_printf.h.
 */
#ifndef CX_STRINGBUFF_H
#define CX_STRINGBUFF_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct uc_ch_t; /* a code set; null: the process default */

typedef struct CxStringBuff {
    int32_t length;   /* without the terminating zero */
    int32_t capacity; /* bytes allocated: 1024 at first, doubled when more are needed */
    char* text;       /* from RakMemoryMalloc; null while nothing has been allocated */
} CxStringBuff;

int CxStringBuffAppendStr(CxStringBuff* buff, const char* text);

/* Appends up to n bytes, or up to the text's zero; n = -1: the whole text; 0 for n below that. */
int CxStringBuffAppendStrN(CxStringBuff* buff, const char* text, int32_t n);

int CxStringBuffAppendChar(CxStringBuff* buff, char byte);

/* Append the UTF-8 form of a code: up to six bytes, as RFC 2279 has them; codes below 0 are taken
 * as their low seven bits. Nothing is checked: surrogates are written as they are. U+07FF takes
 * three bytes. */
int CxStringBuffAppendUTF32Char(CxStringBuff* buff, int32_t code);
int CxStringBuffAppendUCS2Char(CxStringBuff* buff, uint16_t code);

/* Converts a zero-terminated text of 16-bit units to the code set as mab_wctomb does, and appends
 * it: at most n bytes (-1: no limit; 0 for n below that), in whole characters. The text starts in
 * the initial shift state, and ends in it where it is not cut off; the handle stays as it is.
 * Failure, with what came before it appended: a unit without counterpart, half a surrogate pair (as
 * all halves are), no memory. */
int CxStringBuffAppendWStrN(CxStringBuff* buff, struct uc_ch_t* cs, const uint16_t* text,
                            int32_t n);

/* Append decimal digits, with "-" before a negative number; a 0 appends nothing at all. In EBCDIC
 * digits are 0xF0 to 0xF9, the minus is 0x60. */
int CxStringBuffAppendInt64(CxStringBuff* buff, int64_t number);
int CxStringBuffAppendInt32(CxStringBuff* buff, int32_t number);
int CxStringBuffAppendUInt64(CxStringBuff* buff, uint64_t number);
int CxStringBuffAppendEBCDICInt64(CxStringBuff* buff, int64_t number);

/* Inserts before the byte at position, which is in 0 .. length, else 0. */
int CxStringBuffInsertStr(CxStringBuff* buff, const char* text, int32_t position);

/* Replace the content by its conversion to UTF-8 or from it, as mab_to_utf8 and mab_from_utf8
 * convert. The code set must have no more than three bytes of UTF-8 for a byte, and no more than
 * two bytes for one of UTF-8, shifts included, else 0. */
int CxStringBuffChangeToUTF8(struct uc_ch_t* cs, CxStringBuff* buff);
int CxStringBuffChangeFromUTF8(struct uc_ch_t* cs, CxStringBuff* buff);

/* The text: taken out, for RakMemoryFree, with the buffer empty after that; only looked at, until
 * the buffer changes; a copy, for RakMemoryFree. Null: a null buffer, nothing allocated yet, no
 * memory for the copy. */
char* CxStringBuffTakeStr(CxStringBuff* buff);
const char* CxStringBuffPeekStr(const CxStringBuff* buff);
char* CxStringBuffCopyStr(const CxStringBuff* buff);

/* Empties the buffer and keeps its memory. */
int CxStringBuffRestart(CxStringBuff* buff);

/* Frees the text; three zeros again. */
int CxStringBuffDiscard(CxStringBuff* buff);

/* Gives back what the text does not need. 0 also when there is nothing to give back; an empty
 * buffer is discarded. */
int CxStringBuffPack(CxStringBuff* buff);

#ifdef __cplusplus
}
#endif

#endif
