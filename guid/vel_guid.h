/* vel_guid.h — the host GUID: make one, keep it in "/etc/VELGUID", read it back.
 *
 * Conventions of this header
 *  1. A host GUID is 16 bytes in network byte order, laid out as RFC 4122 has it. The buffer is
 *     the caller's; null is refused with the status named at the call.
 *  2. Every call answers 0 when it is done, otherwise a status below, or what the search for the
 *     node address answered (-1, or a positive error number of the resolver). Nothing is printed.
 *  3. Any thread may call.
 */
#ifndef VEL_GUID_H
#define VEL_GUID_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    guid_s_bad_variant = 231628936,    /* the record's variant is not one that is accepted */
    guid_s_no_address = 231628939,     /* no node address could be found */
    guid_s_invalid_string = 231628943, /* the text is no GUID */
    guid_s_no_memory = 231628944,      /* no room for the result */
    guid_s_not_found = 231628950,      /* no valid GUID in the host GUID file */
    guid_s_write_failed = 231628951    /* the host GUID file could not be written */
};

/* Bracket the use of this library. Both only answer 0: nothing has to be set up or given back. */
int32_t vel_guid_init(void);
int32_t vel_guid_terminate(void);

/* Makes a new time-based GUID. On a failure all 16 bytes are zero. Null: guid_s_no_memory. */
int32_t vel_guid_generate(uint8_t guid[16]);

/* Stores the GUID in the host GUID file: made under the caller's umask when it is absent, else with
 * its mode, owner and links kept. Whoever is stopped on the way leaves the old GUID or the new one.
 * guid_s_write_failed when "/etc/" is absent or the file cannot be opened, and for null. What goes
 * wrong after that, as on a full disk, is not reported: read the GUID back to be sure. */
int32_t vel_guid_write(const uint8_t guid[16]);

/* Reads the host GUID. guid_s_not_found when the file is absent, unreadable, has another header, is
 * too short (only then the buffer may hold a part of it) or holds 16 zero bytes, and for null. */
int32_t vel_guid_read(uint8_t guid[16]);

#ifdef __cplusplus
}
#endif

#endif
