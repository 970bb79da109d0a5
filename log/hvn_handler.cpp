// "pmx_hvnhandler": events go as packets into a channel that an application server reads.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "log/classes.h"
#include "log/event.h"
#include "log/hvn_packet.h"
#include "log/message.h"
#include "log/object.h"
#include "log/toolkit.h"
#include "runtime/owned.h"

namespace vel::log {

constinit const ClassDefinition kHVNHandlerClass{
    .name = "pmx_hvnhandler",
    .kind = PMX_HANDLER,
    .life = {PmxHVNHandlerFAllocVars, PmxHVNHandlerFFreeVars, PmxHVNHandlerFCfgChange},
    .handler = {PmxHVNHandlerFProcess, PmxHVNHandlerFOpen, PmxHVNHandlerFClose},
};

namespace {

using runtime::OwnedText;

struct HVNVars {
    bool is_open = false;
    char* logger_name = RakStringDup("PmxLog");
    char* ipc_id = RakStringDup("PMX_HVN_HANDLER_IPC");
    bool trace_enabled = false;
    uint32_t packet_version = 1;
    bool log_internal_errs = true;
    CxShMem channel{-1, -1, nullptr, 0};
};

HVNVars* vars_of(const PmxObject* handler) {
    return vars<HVNVars>(handler, PmxHVNHandlerFFreeVars);
}

// ---- The channel

void open_channel(HVNVars& vars) {
    if (vars.is_open) return;
    const int32_t result = pmxIPCOpen(vars.ipc_id, &vars.channel);
    vars.is_open = result == 0;
    if (vars.is_open || !vars.log_internal_errs) return;
    report(PMX_ERROR, Msg::channel_not_opened, result);
}

void close_channel(HVNVars& vars) {
    if (!vars.is_open) return;
    pmxIPCClose(&vars.channel);
    vars.is_open = false;
}

// A server that was started again has replaced the lock. False: there is no other channel.
bool change_channel(HVNVars& vars) {
    CxShMem found;
    if (pmxIPCOpen(vars.ipc_id, &found) != 0) return false;
    const bool other = found.semaphores != vars.channel.semaphores;
    if (other) std::swap(found, vars.channel);
    pmxIPCClose(&found);
    return other;
}

// ---- Packets

PacketText packet_text(const char* text) {
    const size_t length = text == nullptr ? 0 : strnlen(text, UINT32_MAX);
    return {text, static_cast<uint32_t>(length)};
}

int32_t level_to_send(int32_t level) {
    return level == PMX_NO_LEVEL ? PMX_DEBUG_MIN : std::min<int32_t>(level, PMX_FATAL);
}

int32_t send_message(HVNVars& vars, const PmxEvent* event, const char* message) {
    char sequence[sizeof " seq#=<-9223372036854775808>"] = "";
    if (vars.trace_enabled) {
        snprintf(sequence, sizeof sequence, " seq#=<%" PRId64 ">", toolkit.channel_sequence++);
    }
    const EventSource source = source_of(event);
    const PacketFields fields{.version = vars.packet_version,
                              .level = level_to_send(event->level),
                              .logger = packet_text(vars.logger_name),
                              .time = event->time,
                              .message = packet_text(message),
                              .sequence = packet_text(sequence),
                              .function = packet_text(source.function),
                              .file = packet_text(source.file),
                              .line = static_cast<uint32_t>(source.line)};
    const int32_t result = pmxSendMessage(&vars.channel, fields);
    const bool again = result == CX_SHMEM_NOT_LOCKED && change_channel(vars);
    return again ? pmxSendMessage(&vars.channel, fields) : result;
}

// A handler without a formatter has no message to send.
void send(PmxObject* handler, HVNVars& vars, PmxEvent* event) {
    const ObjectRef formatter = ObjectRef::adopt(pmxIntlHandlerGetFormatter(handler));
    if (!formatter) return;
    const OwnedText message(pmxIntlBindEventMsg(event, formatter->cls->formatter.bind_message));
    const int32_t result = send_message(vars, event, message.get());
    if (result == kSent || !vars.log_internal_errs) return;
    if (result == kTimedOut) return report(PMX_WARN, Msg::channel_timed_out);
    report(PMX_ERROR, Msg::channel_message_not_sent, result);
}

// ---- Properties

// Puts a copy of the property into a variable; false: there is none, or no memory.
bool set_text(PmxObject* handler, const char* key, char*& slot) {
    char* const copy = RakStringDup(peek_object_property(handler, key));
    if (copy == nullptr) return false;
    RakMemoryFree(std::exchange(slot, copy));
    return true;
}

void set_flag(PmxObject* handler, const char* key, bool& flag) {
    int found = 0;
    const bool value = pmxIntlGetObjPropBool(handler, key, &found) != 0;
    if (found) flag = value;
}

void set_logger_name(PmxObject* handler, const char* key) {
    HVNVars& vars = *vars_of(handler);
    if (!set_text(handler, key, vars.logger_name)) return;
    const size_t length = strnlen(vars.logger_name, INT32_MAX);
    pmxReplaceString(vars.logger_name, 0, static_cast<int32_t>(length) - 1, '_', '-');
}

void set_ipc_id(PmxObject* handler, const char* key) {
    HVNVars& vars = *vars_of(handler);
    if (!set_text(handler, key, vars.ipc_id)) return;
    close_channel(vars);
    vars.is_open = pmxIPCOpen(vars.ipc_id, &vars.channel) == 0;  // the next event tells why not
}

void set_trace_enabled(PmxObject* handler, const char* key) {
    set_flag(handler, key, vars_of(handler)->trace_enabled);
}

void set_log_internal_errs(PmxObject* handler, const char* key) {
    set_flag(handler, key, vars_of(handler)->log_internal_errs);
}

constexpr Property kProperties[] = {
    {"hvnLoggerName", set_logger_name},
    {"IPCID", set_ipc_id},
    {"traceEnabled", set_trace_enabled},
    {"logInternalErrs", set_log_internal_errs},
};

}  // namespace
}  // namespace vel::log

using namespace vel::log;

void* PmxHVNHandlerFAllocVars(void) {
    auto* const vars = make_vars<HVNVars>();
    if (vars == nullptr) return nullptr;
    if (vars->logger_name != nullptr && vars->ipc_id != nullptr) return vars;
    PmxHVNHandlerFFreeVars(vars);
    return nullptr;
}

void PmxHVNHandlerFFreeVars(void* vars) {
    if (vars == nullptr) return;
    auto* const own = static_cast<HVNVars*>(vars);
    close_channel(*own);
    RakMemoryFree(own->logger_name);
    RakMemoryFree(own->ipc_id);
    RakMemoryFree(own);
}

void PmxHVNHandlerFCfgChange(PmxObject* handler, const char* property) {
    if (vars_of(handler) == nullptr || property == nullptr) return;
    const Busy busy(handler);
    if (!apply_property(kProperties, handler, property)) {
        PmxBasicHandlerFCfgChange(handler, property);
    }
}

void PmxHVNHandlerFOpen(PmxObject* handler) {
    HVNVars* const vars = vars_of(handler);
    if (vars == nullptr) return;
    const Busy busy(handler);
    open_channel(*vars);
}

void PmxHVNHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t) {
    HVNVars* const vars = vars_of(handler);
    if (vars == nullptr || event == nullptr || !handler->enabled) return;
    const Busy busy(handler);
    open_channel(*vars);
    if (vars->is_open) {
        // To such a handler the event does not count: its listeners do not get it either.
        if (event->level == PMX_NO_LEVEL && handler->level > PMX_DEBUG_MIN) return;
        send(handler, *vars, event);
    }
    PmxBasicObjectFLog(handler, event);
}

void PmxHVNHandlerFClose(PmxObject* handler) {
    if (HVNVars* const vars = vars_of(handler)) close_channel(*vars);
}
