// What the tool shows, all of it on standard output. An output that is full or closed is nobody's
// failure: the exit status tells what was done to the GUID.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "common/tool.h"

int quiet;

namespace {

constexpr size_t kMaxParms = 9;  // "%1$s" to "%9$d"

struct Parm {
    ParmMarker marker = kEndOfParms;
    int number = 0;
    const char* text = nullptr;
};

using Parms = std::array<Parm, kMaxParms>;

void print_parm(const Parm& parm) {
    if (parm.marker == kStringParm) {
        fputs(parm.text, stdout);
    } else if (parm.marker == kIntParm) {
        printf("%d", parm.number);
    }
}

// Prints a text of the message table, whose conversions all are "%1$s" or "%1$d" with other digits.
void print_message(const char* text, const Parms& parms) {
    while (const char* conversion = strchr(text, '%')) {
        fwrite(text, 1, static_cast<size_t>(conversion - text), stdout);
        print_parm(parms[static_cast<size_t>(conversion[1] - '1')]);
        text = conversion + strlen("%1$s");
    }
    puts(text);
}

}  // namespace

int DisplayMsg(ToolMsg message, ...) {
    if (quiet) return 0;
    Parms parms;
    size_t count = 0;
    va_list list;
    va_start(list, message);
    while (const int marker = va_arg(list, int)) {
        if (marker == kIntParm && count < kMaxParms) {
            parms[count++] = {kIntParm, va_arg(list, int), nullptr};
        } else if (marker == kStringParm && count < kMaxParms) {
            parms[count++] = {kStringParm, 0, va_arg(list, const char*)};
        }
    }
    va_end(list);
    print_message(guidmsgs[static_cast<size_t>(message)], parms);
    return 0;
}

void DisplayUsage() {
    DisplayMsg(ToolMsg::usage, kStringParm,
               " [-Create] [-Decimal] [-Help] [-Show]  \n"
               "[-Write [-Guid=ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff] [-New]] [-Quiet]",
               kEndOfParms);
}

void DisplayGuid(const uint8_t guid[16], bool decimal) {
    if (quiet) return;
    fputs("Guid:", stdout);
    for (int i = 0; i < 16; ++i) {
        printf(decimal ? "%d" : "%2.2x", unsigned{guid[i]});
        putchar(i < 15 ? '.' : '\n');
    }
}
