/* pmx_types.h — the types of the logging toolkit, its numbers, and what a class can do.
 *
 * Conventions of every pmx_ header
 *  1. One lock guards the whole toolkit. Calls take it, unless it is said that they do not. A
 *     call that cannot, as its thread holds it already, does nothing and answers 0 or null: that
 *     is so in an operation of a class, which uses the pmxIntl calls of pmx_classes.h instead,
 *     and it is reported. A child of fork(2) can go on logging.
 *  2. Texts are zero-terminated UTF-8. A text that a call takes is copied; one that it returns is
 *     yours: RakMemoryFree it.
 *  3. An object or configuration that a call returns carries a reference for you: release it.
 *     Closing the toolkit ends all objects, and with them all such references.
 *  4. int results are 1 for yes or done, 0 for no or not done: a null argument, nothing there, no
 *     memory. A null object, container, key or element is allowed everywhere and has no effect.
 *     A `found` may be null; else it is set to 1 or 0.
 *  5. Nothing is printed unless it is said. What goes wrong on the way of an event is reported by
 *     the object "pmxlog.errorLogger", never to the logging caller.
 */
#ifndef PMX_TYPES_H
#define PMX_TYPES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct PmxObject PmxObject;     /* a logger, filter, handler or formatter */
typedef struct PmxObjCfg PmxObjCfg;     /* a configuration object: named text properties */
typedef struct PmxObjClass PmxObjClass; /* a registered class */
typedef struct PmxEvent PmxEvent;       /* one logged occurrence */
typedef struct PmxI18Msg PmxI18Msg;     /* a message of a catalog with its parameters */
typedef struct PmxParmList PmxParmList; /* the parameters of a message */

/* Iterators are links; null is the end of a walk. */
typedef struct PmxStringToStringMapLink PmxStringToStringMapLink;
typedef struct PmxStringGroupLink PmxStringGroupLink;
typedef struct PmxListenerGroupLink PmxListenerGroupLink;

/* The kinds of classes and their objects. */
enum { PMX_LOGGER = 101, PMX_FILTER = 102, PMX_HANDLER = 103, PMX_FORMATTER = 104 };

/* Levels of events; larger is more severe. A logger or level filter lets through what is at or
 * above its own level. An event of no level passes every logger that is enabled; a logger of no
 * level passes every event. */
enum {
    PMX_NO_LEVEL = -9999,
    PMX_ALL = 0,
    PMX_DEBUG_MAX = 1000,
    PMX_DEBUG_MID = 2000,
    PMX_DEBUG_MIN = 3000,
    PMX_INFO = 4000,
    PMX_WARN = 5000,
    PMX_ERROR = 6000,
    PMX_FATAL = 7000,
    PMX_OFF = 9999
};

/* What says of which type the next argument of a logging call is. */
enum {
    PMX_END = 0,        /* ends the arguments */
    PMX_PROPERTY = 201, /* a text, the name of a property of the event; then a type and its value */
    PMX_BOOL = 501,     /* int, its low byte */
    PMX_INT = 502,      /* int32_t */
    PMX_LONG = 503,     /* int64_t */
    PMX_FLOAT = 504,    /* double, of which a float is kept */
    PMX_DOUBLE = 505,   /* double */
    PMX_CHAR = 506,     /* int, its low byte */
    PMX_STRING = 507    /* const char*, zero-terminated UTF-8; null is the empty text */
};

/* A parameter of a message. A text belongs to it. */
typedef struct PmxParm {
    int32_t type; /* PMX_BOOL to PMX_STRING */
    union {
        int64_t integer; /* of an int or long; of a bool or char its byte, 0 to 255 */
        double real;     /* of a float or double */
        char* text;      /* of a string */
    } value;
} PmxParm;

/* The operations of a class. They run with the toolkit's lock held, and must not let an exception
 * out. */

/* Makes what each object of the class carries (pmxIntlGetObjVars), and frees it. */
typedef void* (*PmxAllocVarsOp)(void);
typedef void (*PmxFreeVarsOp)(void* vars);

/* A property of the object was set. */
typedef void (*PmxCfgChangeOp)(PmxObject* object, const char* property);

/* Filters and handlers: an event has reached the object; kind is PMX_FILTER or PMX_HANDLER. Whether
 * the object is enabled is for the operation to look at, and it is a handler's own business to open
 * itself and to hand the event on to its listeners (PmxBasicObjectFLog). */
typedef void (*PmxProcessOp)(PmxObject* object, PmxEvent* event, uint32_t kind);

/* Filters: whether the event goes on. */
typedef int (*PmxIsLoggableOp)(PmxObject* filter, PmxEvent* event);

/* Loggers and filters: hands an event to the object's listeners. */
typedef void (*PmxLogOp)(PmxObject* object, PmxEvent* event);

/* Handlers: begins and ends output. The toolkit itself opens no handler. It closes one when the
 * object ends: after the last release before FreeVars, but when the toolkit is closed after it,
 * with no variables left; so what must not be lost is to be put out by either. */
typedef void (*PmxOpenOp)(PmxObject* handler);
typedef void (*PmxCloseOp)(PmxObject* handler);

/* Formatters: an event as text; what stands before the first and after the last one; a message as
 * text. Results are new texts, or null for nothing. */
typedef char* (*PmxFormatOp)(PmxObject* formatter, PmxEvent* event);
typedef char* (*PmxGetHeaderOp)(PmxObject* formatter);
typedef char* (*PmxGetTrailerOp)(PmxObject* formatter);
typedef char* (*PmxBindMsgOp)(PmxI18Msg* message);

#ifdef __cplusplus
}
#endif

#endif
