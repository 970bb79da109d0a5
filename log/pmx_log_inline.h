/* pmx_log_inline.h — the logging calls of pmx_log.h, with the look at the logger's level put into
 * the caller. It is included by pmx_log.h where the compiler can do that; nothing else changes: the
 * arguments are evaluated, and the calls have addresses.
 */
#ifndef PMX_LOG_INLINE_H
#define PMX_LOG_INLINE_H

#include "pmx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

#define PMX_INLINE extern inline __attribute__((gnu_inline, always_inline, artificial))

/* An object begins with the lowest level that it takes; INT32_MAX when it is disabled. */
PMX_INLINE int pmxMayTake(const PmxObject* logger, int32_t level) {
    return logger != 0 && __atomic_load_n((const int32_t*)logger, __ATOMIC_RELAXED) <= level;
}
PMX_INLINE int pmxMayTakeAny(const PmxObject* logger) { return pmxMayTake(logger, INT32_MAX - 1); }

void pmxCallLogFatal(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                     const char* text, ...) __asm__("PmxLogFatal");
PMX_INLINE void PmxLogFatal(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                            const char* text, ...) {
    if (pmxMayTake(logger, PMX_FATAL))
        pmxCallLogFatal(logger, catalog, set, key, text, __builtin_va_arg_pack());
}

void pmxCallLogError(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                     const char* text, ...) __asm__("PmxLogError");
PMX_INLINE void PmxLogError(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                            const char* text, ...) {
    if (pmxMayTake(logger, PMX_ERROR))
        pmxCallLogError(logger, catalog, set, key, text, __builtin_va_arg_pack());
}

void pmxCallLogWarn(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                    const char* text, ...) __asm__("PmxLogWarn");
PMX_INLINE void PmxLogWarn(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                           const char* text, ...) {
    if (pmxMayTake(logger, PMX_WARN))
        pmxCallLogWarn(logger, catalog, set, key, text, __builtin_va_arg_pack());
}

void pmxCallLogInfo(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                    const char* text, ...) __asm__("PmxLogInfo");
PMX_INLINE void PmxLogInfo(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                           const char* text, ...) {
    if (pmxMayTake(logger, PMX_INFO))
        pmxCallLogInfo(logger, catalog, set, key, text, __builtin_va_arg_pack());
}

void pmxCallLogMsg(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                   const char* text, ...) __asm__("PmxLogMsg");
PMX_INLINE void PmxLogMsg(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                          const char* text, ...) {
    if (pmxMayTakeAny(logger))
        pmxCallLogMsg(logger, catalog, set, key, text, __builtin_va_arg_pack());
}

void pmxCallLogText(PmxObject* logger, const char* text, ...) __asm__("PmxLogText");
PMX_INLINE void PmxLogText(PmxObject* logger, const char* text, ...) {
    if (pmxMayTakeAny(logger)) pmxCallLogText(logger, text, __builtin_va_arg_pack());
}

void pmxCallLogDebugMax(PmxObject* logger, const char* file, const char* function, int32_t line,
                        const char* text, ...) __asm__("PmxLogDebugMax");
PMX_INLINE void PmxLogDebugMax(PmxObject* logger, const char* file, const char* function,
                               int32_t line, const char* text, ...) {
    if (pmxMayTake(logger, PMX_DEBUG_MAX))
        pmxCallLogDebugMax(logger, file, function, line, text, __builtin_va_arg_pack());
}

void pmxCallLogDebugMid(PmxObject* logger, const char* file, const char* function, int32_t line,
                        const char* text, ...) __asm__("PmxLogDebugMid");
PMX_INLINE void PmxLogDebugMid(PmxObject* logger, const char* file, const char* function,
                               int32_t line, const char* text, ...) {
    if (pmxMayTake(logger, PMX_DEBUG_MID))
        pmxCallLogDebugMid(logger, file, function, line, text, __builtin_va_arg_pack());
}

void pmxCallLogDebugMin(PmxObject* logger, const char* file, const char* function, int32_t line,
                        const char* text, ...) __asm__("PmxLogDebugMin");
PMX_INLINE void PmxLogDebugMin(PmxObject* logger, const char* file, const char* function,
                               int32_t line, const char* text, ...) {
    if (pmxMayTake(logger, PMX_DEBUG_MIN))
        pmxCallLogDebugMin(logger, file, function, line, text, __builtin_va_arg_pack());
}

#undef PMX_INLINE

#ifdef __cplusplus
}
#endif

#endif
