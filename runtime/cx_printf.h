/* cx_printf.h — formatted text, appended to a string buffer.
 *
 * The format is that of POSIX printf, with positions ("%2$s %1$d", "%*3$d"), and with these
 * differences:
 *  - Numbers in a format start with 1 to 9: "%.0f" and "%.0d" fail. A "." without a number sets no
 *    precision. A precision of 0 is had by "%.*f".
 *  - Length modifiers besides hh h l ll j t z L: I64 and q (as ll), Z (as z).
 *  - "%n" takes its argument and stores nothing.
 *  - Formats fail that ask for a width or a precision above 65,535 or for more than 4,096
 *    arguments.
 *  - Bytes count: a width or a precision of text is in bytes. "%ls" and "%lc" are wchar_t, which
 * are converted as the process locale has it, in whole characters. The flag "'" groups all digits
 * in front of a point, as the process locale has it. Everything else is printed as printf prints
 * it; a null text is "(null)".
 *
 * Conventions of this header
 *  1. Results are 1 for success and 0 for failure: a null buffer, format or array, a format that is
 *     not one, an argument that is missing, wide text without counterpart, no memory. What fails
 *     leaves the buffer's text as it was.
 *  2. handle is kept for later use: pass 0.
 *  3. Texts among the arguments stay the caller's; they may be part of the buffer's own.
 *  4. Only the locale is looked at; nothing else is shared.
 */
#ifndef CX_PRINTF_H
#define CX_PRINTF_H

#include <stdarg.h>
#include <stdint.h>

#include "cx_stringbuff.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What an argument is. */
enum {
    CX_ARG_END = 0,   /* ends an array of arguments */
    CX_ARG_UNSET = 1, /* no value: its conversion prints nothing */
    CX_ARG_INT32 = 10,
    CX_ARG_INT64 = 12,
    CX_ARG_UINT32 = 20,
    CX_ARG_UINT64 = 22,
    CX_ARG_DOUBLE = 30,
    CX_ARG_LONG_DOUBLE = 31,
    CX_ARG_POINTER = 50,
    CX_ARG_TEXT = 70,
    CX_ARG_WIDE_TEXT = 71
};

/* An argument of 16 bytes that says what it is. */
typedef struct CxPrintfArg {
    int32_t kind;
    union {
        int64_t integer;     /* CX_ARG_INT32, CX_ARG_INT64 */
        uint64_t natural;    /* CX_ARG_UINT32, CX_ARG_UINT64 */
        double real;         /* CX_ARG_DOUBLE */
        const void* address; /* CX_ARG_POINTER, of text, of wchar_t, of a long double */
    } value;
} CxPrintfArg;

int CxStringBuffPrintf(void* handle, CxStringBuff* buff, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
int CxStringBuffPrintfV(void* handle, CxStringBuff* buff, const char* format, va_list arguments)
    __attribute__((format(printf, 3, 0)));

/* Takes the arguments from an array in the order of their indices, ended by CX_ARG_END. For formats
 * from outside: a conversion prints its argument only when that is of its family (integers and
 * characters; real numbers; text; wide text; pointers), else it prints nothing, as "%n" does. An
 * integer is converted to the type that the conversion names only where that is wider or is char or
 * short: "%d" and "%ld" print any CX_ARG_INT32 and CX_ARG_INT64. An index behind the end fails. */
int CxStringBuffPrintfA(void* handle, CxStringBuff* buff, const char* format,
                        const CxPrintfArg* arguments);

#ifdef __cplusplus
}
#endif

#endif
