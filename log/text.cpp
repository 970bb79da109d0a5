// Formatting with typed parameters, text in the local code set, and the system's own words.
#include <cstdio>
#include <cstring>
#include <utility>

#include "i18n/mab.h"
#include "log/message.h"
#include "log/toolkit.h"
#include "runtime/cx_os.h"
#include "runtime/cx_printf.h"
#include "runtime/format.h"
#include "runtime/owned.h"
#include "runtime/status.h"

namespace vel::log {
namespace {

using runtime::StringBuff;

constexpr int32_t kMaxPrinted = 4095;   // bytes of the local code set
constexpr int32_t kMaxErrorText = 511;  // bytes of UTF-8

int32_t length_of(const char* text) { return static_cast<int32_t>(strnlen(text, INT32_MAX - 1)); }

// Prints a text in the local code set and then a byte, unless that is 0, in one go.
int print_local(FILE* stream, const char* text, char last) {
    char local[kMaxPrinted + 1];
    const int32_t written = mab_from_utf8(nullptr, text, length_of(text), local, kMaxPrinted);
    auto count = static_cast<size_t>(written);
    if (last != '\0') local[count++] = last;
    return fwrite(local, 1, count, stream) == count;
}

CxPrintfArg argument_of(const PmxParm& parm) {
    switch (parm.type) {
        case PMX_LONG:
            return {.kind = CX_ARG_INT64, .value = {.integer = parm.value.integer}};
        case PMX_FLOAT:
        case PMX_DOUBLE:
            return {.kind = CX_ARG_DOUBLE, .value = {.real = parm.value.real}};
        case PMX_STRING:
            return {.kind = CX_ARG_TEXT, .value = {.address = parm.value.text}};
        default:
            return {.kind = CX_ARG_INT32, .value = {.integer = parm.value.integer}};
    }
}

char* change_text(uc_ch_t* cs, const char* text, int32_t length,
                  int (*change)(uc_ch_t*, CxStringBuff*)) {
    StringBuff buff;
    if (text == nullptr || length < 0 || !CxStringBuffAppendStrN(&buff, text, length)) {
        return nullptr;
    }
    return change(cs, &buff) ? buff.take().release() : nullptr;
}

}  // namespace

void print_error(const char* text, const char* argument) {
    StringBuff buff;
    const CxPrintfArg arguments[] = {{.kind = CX_ARG_TEXT, .value = {.address = argument}},
                                     {.kind = CX_ARG_END, .value = {}}};
    const int formatted = CxStringBuffPrintfA(nullptr, &buff, text, arguments);
    print_local(stderr, formatted ? CxStringBuffPeekStr(&buff) : text, '\n');
}

bool append_formatted(CxStringBuff* buff, const char* format, const PmxParmList* parms) {
    constexpr int32_t kUsual = 16;
    runtime::GrowingList<CxPrintfArg, kUsual> arguments;
    for (const PmxParmListLink* link = ParmList::begin(parms); link != nullptr; link = link->next) {
        CxPrintfArg* const argument = arguments.add();
        if (argument == nullptr) return false;
        *argument = argument_of(*link->item);
    }
    const int32_t before = buff->length;
    const bool printed = arguments.add() != nullptr &&  // zeros: the end
                         CxStringBuffPrintfA(nullptr, buff, format, arguments.begin());
    // A text ends at a zero, which "%c" may print.
    if (printed) buff->length = before + static_cast<int32_t>(strlen(buff->text + before));
    return printed;
}

}  // namespace vel::log

using namespace vel::log;
using namespace vel::runtime;

char* pmxIntlAprintf(const char* format, PmxParmList* parameters) {
    StringBuff buff;
    return append_formatted(&buff, format, parameters) ? buff.take().release() : nullptr;
}

int pmxIntlPrintText(FILE* stream, const char* text) {
    return stream != nullptr && text != nullptr && print_local(stream, text, '\0');
}

char* pmxIntlStrACat(int32_t count, const char* const* texts, const char* separator) {
    const size_t between = RakStringLen(separator);
    size_t size = 1;
    size_t joined = 0;
    for (int32_t i = 0; texts != nullptr && i < count; ++i) {
        if (texts[i] == nullptr) continue;
        size += strlen(texts[i]) + (joined++ > 0 ? between : 0);
    }
    auto* const text = static_cast<char*>(RakMemoryMalloc(size));
    if (text == nullptr) return nullptr;
    char* end = text;
    for (int32_t i = 0; joined > 0; ++i) {
        if (texts[i] == nullptr) continue;
        end = stpcpy(end, texts[i]);
        if (--joined > 0 && separator != nullptr) end = stpcpy(end, separator);
    }
    *end = '\0';
    return text;
}

char* pmxIntlText1047ToUTF8(const char* text, int32_t length) {
    return change_text(toolkit.ebcdic_1047, text, length, CxStringBuffChangeToUTF8);
}

char* pmxIntlText37ToUTF8(const char* text, int32_t length) {
    return change_text(toolkit.ebcdic_37, text, length, CxStringBuffChangeToUTF8);
}

char* pmxIntlTextUTF8To1047(const char* text) {
    return change_text(toolkit.ebcdic_1047, text, INT32_MAX, CxStringBuffChangeFromUTF8);
}

char* pmxIntlTextUTF8To37(const char* text) {
    return change_text(toolkit.ebcdic_37, text, INT32_MAX, CxStringBuffChangeFromUTF8);
}

uc_ch_t* pmxIntlGetCodeSet1047() { return toolkit.ebcdic_1047; }
uc_ch_t* pmxIntlGetCodeSet37() { return toolkit.ebcdic_37; }

void pmxIntlReportPlatformErr(uint64_t status) {
    if (static_cast<uint32_t>(status) != CX_SYSTEM_ERROR || error_of(status) == 0) return;
    char words[kMaxErrorText + 1];
    char text[kMaxErrorText + 1];
    const char* const local = strerror_r(error_of(status), words, sizeof words);
    const int32_t written = mab_to_utf8(nullptr, local, length_of(local), text, kMaxErrorText);
    text[written] = '\0';
    pmxIntlLogVA(PMX_WARN, static_cast<uint32_t>(Msg::catalog_name), text, PMX_END);
}

void pmxI18InitMab() {
    mab_init();
    toolkit.utf8 = mab_cs_new("UTF8");
}

void pmxI18UninitMab() {
    for (uc_ch_t** cs : {&toolkit.utf8, &toolkit.pc, &toolkit.ebcdic_1047, &toolkit.ebcdic_37}) {
        mab_cs_free(std::exchange(*cs, nullptr));
    }
    mab_uninit();
}
