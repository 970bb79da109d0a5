// Growing arrays, classes of characters, the tracer.
#include "runtime/support.h"

#include <climits>
#include <cstdarg>
#include <cstdio>

#include "runtime/cx_os.h"
#include "runtime/rak.h"

constinit int CX_INTERNAL_TRACE_INDENT = 0;

static constexpr int kIndentStep = 3;

// Writes one line's text behind the indentation.
__attribute__((format(printf, 2, 0))) static void trace(const char* mark, const char* format,
                                                        va_list arguments) {
    fprintf(stderr, "%*s%s", CX_INTERNAL_TRACE_INDENT > 0 ? CX_INTERNAL_TRACE_INDENT : 0, "", mark);
    vfprintf(stderr, format, arguments);
    fflush(stderr);
}

void cxIntlTraceEnter(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    trace("ENTER ", format, arguments);
    va_end(arguments);
    CX_INTERNAL_TRACE_INDENT += kIndentStep;
}

void cxIntlTraceLeave(const char* format, ...) {
    CX_INTERNAL_TRACE_INDENT -= kIndentStep;
    va_list arguments;
    va_start(arguments, format);
    trace("LEAVE ", format, arguments);
    va_end(arguments);
}

void cxIntlTracePoint(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    trace("... ", format, arguments);
    va_end(arguments);
}

int CxListEnsureCapacity(void** array, int32_t* capacity, int32_t* count, int32_t needed,
                         int32_t element_size) {
    constexpr int64_t kLeastCapacity = 16;
    if (array == nullptr || capacity == nullptr || count == nullptr) return 0;
    if (needed < 0 || element_size < 0) return 0;
    const bool first = *array == nullptr;
    if (!first && *capacity >= needed) return 1;
    int64_t room = first ? needed : kLeastCapacity;
    if (!first) {
        while (room <= needed) room *= 2;
    }
    if (room > INT32_MAX) return 0;
    const auto bytes = static_cast<size_t>(room) * static_cast<size_t>(element_size);
    void* const block = RakMemoryRealloc(*array, bytes);
    if (block == nullptr) return 0;
    *array = block;
    *capacity = static_cast<int32_t>(room);
    if (first) *count = 0;
    return 1;
}

void CxListDiscard(void** array, int32_t* capacity, int32_t* count) {
    if (array != nullptr) {
        RakMemoryFree(*array);
        *array = nullptr;
    }
    if (capacity != nullptr) *capacity = 0;
    if (count != nullptr) *count = 0;
}

int CxIsASCIIDigit(int byte) { return byte >= '0' && byte <= '9'; }

int CxIsLocalDigit(int byte) { return CxIsASCIIDigit(byte); }

int CxIsASCIIAlpha(int byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

void CxETOA(char*, size_t) {}
