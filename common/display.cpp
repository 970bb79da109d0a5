// What the tool shows, all of it on standard output. An output that is full or closed is nobody's
// failure: the exit status tells what was done to the GUID.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "common/tool.h"
#include "runtime/owned.h"

int quiet;
uc_ch_t* codeSetHandle;

namespace {

using vel::runtime::Owned;
using vel::runtime::OwnedText;
using Message = Owned<PmxI18Msg, PmxFreeI18Msg>;

constexpr size_t kSeverityPlace = 9;  // of the letter in an identifier, as in "HQXGD0007E"

bool is_error(const char* text) {
    return strnlen(text, kSeverityPlace) == kSeverityPlace && text[kSeverityPlace] == 'E';
}

void add_parms(PmxI18Msg* message, va_list list) {
    ToolText utf8;
    while (const int marker = va_arg(list, int)) {
        if (marker == PMX_INT) {
            PmxAddI18MsgParmInt(message, va_arg(list, int));
        } else if (marker == PMX_STRING) {
            PmxAddI18MsgParmString(message, to_utf8(va_arg(list, const char*), utf8));
        }
    }
}

}  // namespace

int DisplayMsg(ToolMsg message, ...) {
    if (quiet) return 0;
    codeSetHandle = nullptr;
    const Message bindable(PmxAllocI18Msg(text_of(ToolMsg::catalog_name), kToolCatalogSet,
                                          key_of(message), text_of(message)));
    va_list list;
    va_start(list, message);
    add_parms(bindable.get(), list);
    va_end(list);
    const OwnedText bound(PmxBindI18Msg(bindable.get()));
    // Without memory the table's text, which names the message even if not its parameters.
    const char* const text = bound ? bound.get() : text_of(message);
    ToolText local;
    (void)mab_from_utf8(codeSetHandle, text, -1, local, sizeof local);
    puts(local);
    if (is_error(text)) log_bare(message);
    mab_cs_free(codeSetHandle);
    return 0;
}

void DisplayUsage() {
    DisplayMsg(ToolMsg::usage, PMX_STRING,
               " [-Create] [-Decimal] [-Help] [-Show]  \n"
               "[-Write [-Guid=ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff] [-New]] [-Quiet]",
               PMX_END);
}

void DisplayGuid(const uint8_t guid[16], bool decimal) {
    if (quiet) return;
    fputs("Guid:", stdout);
    for (int i = 0; i < 16; ++i) {
        printf(decimal ? "%d" : "%2.2x", unsigned{guid[i]});
        putchar(i < 15 ? '.' : '\n');
    }
}
