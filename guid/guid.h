/* guid.h — GUID records: make, name, compare, hash, print and parse them.
 *
 * Conventions of this header
 *  1. A record is version 1 (time and node address) or 3 (namespace and name) of the DCE layout of
 *     RFC 4122. It belongs to the caller and holds nothing that has to be given back.
 *  2. Every call but guid_create_from_name reports through its status: 0 done, else a guid_s_ code
 *     of vel_guid.h or what the search for the node address answered (all bits set, or an error
 *     number of the resolver). A failed call leaves its result untouched. The status may be null.
 *  3. Null in the place of a record that is read counts as one of a wrong variant
 *     (guid_s_bad_variant), unless the call says otherwise; in the place of a result,
 *     guid_s_no_memory.
 *  4. "The variant is checked": 111xxxxx in clock_seq_hi_and_reserved is guid_s_bad_variant, and
 * the call then answers 0 or as it says.
 *  5. Any thread may call; a forked child makes GUIDs of its own.
 */
#ifndef GUID_H
#define GUID_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct guid_record {
    unsigned long time_low;            /* the low 32 bits of the timestamp, sometimes a 33rd */
    uint16_t time_mid;                 /* bits 32-47 */
    uint16_t time_hi_and_version;      /* bits 48-59, the version in the top 4 bits */
    uint8_t clock_seq_hi_and_reserved; /* clock sequence bits 8-13, the variant in the top bits */
    uint8_t clock_seq_low;             /* clock sequence bits 0-7 */
    uint8_t node[6];                   /* the node address as the interface reports it */
    uint8_t padding[4];                /* zero; a record is nil only when these are, too */
} guid_record;

/* Makes a new time-based record, unique on this host: a process makes at most ten in a microsecond
 * and waits for the clock beyond that (boundedly: should the clock stand still it goes on, up to
 * 32,767 in one reading, and the next call does not return). */
void guid_create(guid_record* record, unsigned long* status);

/* Makes the nil record: 24 zero bytes. */
void guid_create_nil(guid_record* record, unsigned long* status);

/* Makes the version 3 record of a name of `length` bytes in a namespace. The same name and
 * namespace give the same record; the digest is this library's own variant of MD5, so the record
 * differs from what RFC 4122 gives. The status is always 0. A null name counts as empty; a null
 * record is left. */
void guid_create_from_name(guid_record* record, const void* name, uint32_t length,
                           unsigned long* status, guid_record name_space);

/* Finds the host's node address (IEEE 802, 6 bytes): that of the first Ethernet interface, else one
 * made of the host's IP address. Looked up once; a failure is not remembered. On a failure the
 * address is zero. */
void guid_get_address(uint8_t address[6], unsigned long* status);

/* A 16-bit hash of the record; the variant is checked. */
uint16_t guid_hash(const guid_record* record, unsigned long* status);

/* 1 when all 24 bytes are zero, else 0; the variant is checked. */
int guid_is_nil(const guid_record* record, unsigned long* status);

/* -1, 0 or 1 as a sorts before, with or after b, field by field, unsigned. Null sorts with the nil
 * record and before any other. The variants are checked; a wrong one gives -1. */
int guid_compare(const guid_record* a, const guid_record* b, unsigned long* status);

/* 1 when all fields are equal, the padding aside, else 0; the variants are checked. */
int guid_equal(const guid_record* a, const guid_record* b, unsigned long* status);

/* Prints "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx", lower-case, 36 characters; of time_low the low 32
 * bits. The text is the caller's, to be given to free(). A null `text` is done at once, status 0;
 * without memory *text is null. The variant is checked. */
void guid_to_string(const guid_record* record, char** text, unsigned long* status);

/* Parses 36 characters: the form above, in any case, or, when the ninth is no "-", the older
 * "tttttttttttt.cc.cc.nn.nn.nn.nn.nn.nn" (time_hi_and_version is 0 then). A field may be spelled as
 * scanf's %x takes it within its width (blanks in front, a sign, "0x"). A null or empty text is the
 * nil record. guid_s_invalid_string for all else; the variant of the result is checked. */
void guid_from_string(const char* text, guid_record* record, unsigned long* status);

#ifdef __cplusplus
}
#endif

#endif
