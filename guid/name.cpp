// Name-based GUIDs: the digest of a namespace and a name.
#include <cstring>

#include "guid/generator.h"
#include "guid/md5.h"

using namespace vel::guid;

void guid_create_from_name(guid_record* record, const void* name, uint32_t length, Status* status,
                           guid_record name_space) {
    answer(status, 0);
    if (!record) return;
    uint8_t block[sizeof name_space];
    memset(name_space.padding, 0, sizeof name_space.padding);
    memcpy(block, &name_space, sizeof block);

    MD5_CTX context;
    MD5Init(&context);
    MD5Update(&context, block, sizeof block);
    if (name) MD5Update(&context, static_cast<const uint8_t*>(name), length);
    uint8_t digest[16];
    MD5Final(digest, &context);

    guid_record made{};
    memcpy(&made.time_low, digest,
           8);  // all 64 bits: only the text form and the host GUID cut them
    memcpy(&made.time_mid, digest + 8, 2);
    made.time_hi_and_version =
        static_cast<uint16_t>(((digest[11] << 8 | digest[10]) & 0x0FFF) | 0x3000);
    made.clock_seq_hi_and_reserved = static_cast<uint8_t>((digest[12] & 0x3F) | 0x80);
    made.clock_seq_low = digest[13];
    made.node[0] = digest[14];
    made.node[1] = digest[15];
    *record = made;
}
