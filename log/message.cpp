// Internationalized messages and their parameters.
#include "log/message.h"

#include "i18n/mab.h"
#include "log/toolkit.h"

namespace vel::log {
namespace {

// Puts a copy of the text in the slot's place.
int set_text(PmxI18Msg* message, char* PmxI18Msg::*slot, const char* text) {
    if (message == nullptr) return 0;
    char* const copy = copy_text_in(message->arena, text);
    if (copy == nullptr && text != nullptr) return 0;
    release_in(message->arena, std::exchange(message->*slot, copy));
    return 1;
}

int add_number(PmxI18Msg* message, int32_t type, int64_t value) {
    PmxParm parm{.type = type, .value = {.integer = value}};
    return message != nullptr && add_parm(message, parm);
}

int add_real(PmxI18Msg* message, int32_t type, double value) {
    PmxParm parm{.type = type, .value = {.real = value}};
    return message != nullptr && add_parm(message, parm);
}

}  // namespace

bool same_parms(const PmxParm* a, const PmxParm* b) {
    if (a == nullptr || b == nullptr) return a == b;
    if (a->type != b->type) return false;
    switch (a->type) {
        case PMX_BOOL:
        case PMX_CHAR:
            return static_cast<uint8_t>(a->value.integer) == static_cast<uint8_t>(b->value.integer);
        case PMX_FLOAT:
        case PMX_DOUBLE:
            return a->value.real == b->value.real;
        case PMX_STRING:
            return RakStringCmp(a->value.text, b->value.text) == 0;
        default:
            return a->value.integer == b->value.integer;
    }
}

bool append_bound(CxStringBuff* buff, const PmxI18Msg* message) {
    const char* format = message->text;
    mab_cat_t* catalog = nullptr;
    if (message->catalog != nullptr) {
        // Messages are shown before the toolkit is opened, and after it is closed, too.
        uc_ch_t* const utf8 = toolkit.utf8 != nullptr ? toolkit.utf8 : mab_cs_new("UTF8");
        catalog = mab_catopen(message->catalog, MAB_CAT_LC_MESSAGES, message->locale);
        format = mab_catgets(catalog, static_cast<int32_t>(message->set),
                             static_cast<int32_t>(message->key), message->text, utf8);
    }
    const bool formatted = append_formatted(buff, format, message->parms);
    mab_catclose(catalog);
    if (formatted) return true;
    return message->text != nullptr && CxStringBuffAppendStr(buff, message->text);
}

}  // namespace vel::log

using namespace vel::log;

PmxParm* pmxIntlCopyParm(const PmxParm* parm) { return copy_parm(nullptr, parm); }
void pmxIntlFreeParm(PmxParm* parm) { free_parm(nullptr, parm); }
int pmxIntlCmpParms(const PmxParm* a, const PmxParm* b) { return same_parms(a, b); }

PmxI18Msg* pmxIntlAllocI18Msg(const char* catalog, uint32_t set, uint32_t key, const char* text) {
    return make_message(nullptr, catalog, set, key, text);
}

PmxI18Msg* pmxIntlCopyI18Msg(const PmxI18Msg* message) {
    if (message == nullptr) return nullptr;
    OwnedMsg copy(
        make_message(nullptr, message->catalog, message->set, message->key, message->text));
    if (copy == nullptr) return nullptr;
    copy->locale = message->locale;
    copy->parms = ParmList::copy(message->parms);
    return copy->parms == nullptr && message->parms != nullptr ? nullptr : copy.release();
}

void pmxIntlFreeI18Msg(PmxI18Msg* message) {
    if (message == nullptr) return;
    ParmList::free(message->parms);
    release_in(message->arena, message->catalog);
    release_in(message->arena, message->text);
    release_in(message->arena, message);
}

int pmxIntlSetI18MsgCat(PmxI18Msg* message, const char* catalog) {
    return set_text(message, &PmxI18Msg::catalog, catalog);
}

int pmxIntlSetI18MsgSet(PmxI18Msg* message, uint32_t set) {
    if (message == nullptr) return 0;
    message->set = set;
    return 1;
}

int pmxIntlSetI18MsgKey(PmxI18Msg* message, uint32_t key) {
    if (message == nullptr) return 0;
    message->key = key;
    return 1;
}

int pmxIntlSetI18MsgTxt(PmxI18Msg* message, const char* text) {
    return set_text(message, &PmxI18Msg::text, text);
}

int pmxIntlSetI18MsgLocale(PmxI18Msg* message, const char* locale) {
    if (message == nullptr) return 0;
    message->locale = locale;
    return 1;
}

int pmxIntlAddI18MsgParmString(PmxI18Msg* message, const char* value) {
    PmxParm parm{.type = PMX_STRING, .value = {.text = const_cast<char*>(value)}};  // to be copied
    return message != nullptr && add_parm(message, parm);
}

int pmxIntlAddI18MsgParmInt(PmxI18Msg* message, int32_t value) {
    return add_number(message, PMX_INT, value);
}

int pmxIntlAddI18MsgParmLong(PmxI18Msg* message, int64_t value) {
    return add_number(message, PMX_LONG, value);
}

int pmxIntlAddI18MsgParmFloat(PmxI18Msg* message, float value) {
    return add_real(message, PMX_FLOAT, static_cast<double>(value));
}

int pmxIntlAddI18MsgParmDouble(PmxI18Msg* message, double value) {
    return add_real(message, PMX_DOUBLE, value);
}

int pmxIntlAddI18MsgParmChar(PmxI18Msg* message, char value) {
    return add_number(message, PMX_CHAR, static_cast<uint8_t>(value));
}

int pmxIntlAddI18MsgParmBool(PmxI18Msg* message, int value) {
    return add_number(message, PMX_BOOL, static_cast<uint8_t>(value));
}

char* pmxIntlBindI18Msg(PmxI18Msg* message) {
    vel::runtime::StringBuff text;
    return message != nullptr && append_bound(&text, message) ? text.take().release() : nullptr;
}
