// Message catalogs: the records of a file, what of them is kept in memory, and the cache.
#pragma once

#include <arpa/inet.h>

#include <cstddef>
#include <cstdint>

#include "i18n/data_file.h"
#include "i18n/mab.h"

namespace vel::i18n {

// ---- A catalog file -------------------------------------------------------------------------
// Numbers are big-endian; offsets count from the start of the file.

inline constexpr char kCatalogMagic[8] = {'*', 'n', 'a', 'z', 'g', 'u', 'l', '*'};
inline constexpr int32_t kCatalogVersion = 1;
inline constexpr int64_t kMaxCatalogSize = 64 << 20;

struct MCHeaderT {
    char magic[8];
    int32_t major_version;
    int32_t reserved_a;
    int32_t reserved_b;
    int32_t set_count;  // of the set records that are valid
    int32_t first_set_offset;
};
static_assert(sizeof(MCHeaderT) == 28);

struct MCSetTDisk {
    int32_t set_id;  // ascending along the chain
    int32_t next_set_offset;
    int32_t messages_offset;
    int32_t data_offset;
    int32_t data_length;
    int32_t message_count;
    int32_t invalid;  // not 0: the record is skipped, and set_count does not count it
};
static_assert(sizeof(MCSetTDisk) == 28);

struct MCMsgTDisk {
    int32_t message_id;   // ascending
    int32_t text_offset;  // from the start of the set's data
    int32_t invalid;      // of no consequence
};
static_assert(sizeof(MCMsgTDisk) == 12);

inline int32_t ntoh(int32_t number) {
    return static_cast<int32_t>(ntohl(static_cast<uint32_t>(number)));
}

inline void ntoh_MCHeaderT(MCHeaderT& header) {
    for (int32_t* number : {&header.major_version, &header.reserved_a, &header.reserved_b,
                            &header.set_count, &header.first_set_offset}) {
        *number = ntoh(*number);
    }
}
inline void ntoh_MCSetTDisk(MCSetTDisk& set) {
    set = {ntoh(set.set_id),      ntoh(set.next_set_offset), ntoh(set.messages_offset),
           ntoh(set.data_offset), ntoh(set.data_length),     ntoh(set.message_count),
           ntoh(set.invalid)};
}
inline void ntoh_MCMsgTDisk(MCMsgTDisk& message) {
    message = {ntoh(message.message_id), ntoh(message.text_offset), ntoh(message.invalid)};
}

// Either way the bytes are turned round, or not.
inline void hton_MCHeaderT(MCHeaderT& header) { ntoh_MCHeaderT(header); }
inline void hton_MCSetTDisk(MCSetTDisk& set) { ntoh_MCSetTDisk(set); }
inline void hton_MCMsgTDisk(MCMsgTDisk& message) { ntoh_MCMsgTDisk(message); }

// ---- In memory ------------------------------------------------------------------------------

struct Message {
    int64_t message_id;
    const char* text;    // UTF-8
    char* default_text;  // in the set's default code set; null until it is asked for
    char* converted;     // in other code sets; null until it is asked for
    int64_t text_offset;
    int64_t invalid;
};
static_assert(sizeof(Message) == 6 * sizeof(int64_t));

enum LoadState : int32_t { kNotLoaded = -1, kLoaded = 0 };

struct MessageSet {
    int64_t set_id;
    int64_t next_set_offset;
    int64_t messages_offset;
    int64_t data_offset;
    int64_t data_length;
    int64_t message_count;
    LoadState state;
    Message* messages;    // the set's one block: the messages, their texts, and two areas for
                          // conversions; null until it is loaded
    char* areas;          // the first of the two
    int64_t area_size;    // of each
    int64_t area_used;    // of each: messages get their places when they are first converted
    uc_ch_t* default_cs;  // the default when the set was loaded
};

struct Catalog {
    explicit Catalog(const char* path, uint32_t open_flags) : flags(open_flags), file(path) {}

    uint32_t flags;  // that it was opened with
    DataFile file;   // stays open
    int32_t set_count = 0;
    MessageSet* sets = nullptr;
    mab_cat_t* handle = nullptr;
};

// Reads header and set directory; null: it is no catalog, or no memory.
Catalog* read_catalog(const char* path, uint32_t flags);

// Reads a set. 1: it is loaded; 0: it is damaged; -1: no memory.
int loadSet(const Catalog& catalog, MessageSet& set);

// Frees a catalog, whose handle leads nowhere then.
void real_catclose(Catalog* catalog);

// Converts a text into the code set that was the default, or into another one; the message has its
// places then.
const char* convert_default(MessageSet& set, Message& message);
const char* convert_text(MessageSet& set, Message& message, uc_ch_t* cs);

// A set, loaded, and a message; null: there is none.
MessageSet* MCGetSet(Catalog* catalog, int32_t number);
Message* MCGetMsg(MessageSet* set, int32_t number);

// ---- Handles --------------------------------------------------------------------------------
// A handle is no address, since a later catalog might have it again: it is the number of a place
// and, above that, how many catalogs have been in the place.

struct Place {
    uintptr_t handle;  // of the catalog, or of the next one
    Catalog* catalog;  // null: the place is free
};
struct Places {
    size_t count = 0;
    Place* first = nullptr;
};
extern Places places;

inline constexpr unsigned kPlaceBits = 16;
inline constexpr size_t kMostPlaces = size_t{1} << kPlaceBits;

// The catalog of a handle; null: it is null, or closed for good.
inline Catalog* catalog_of(mab_cat_t* handle) {
    const auto number = reinterpret_cast<uintptr_t>(handle);
    const size_t place = number % kMostPlaces;
    if (place >= places.count || places.first[place].handle != number) return nullptr;
    return places.first[place].catalog;
}

// Gives the catalog a handle; false: no memory, or too many catalogs.
bool give_handle(Catalog& catalog);
void retire_handle(Catalog& catalog);

// ---- The cache ------------------------------------------------------------------------------

// The catalog of a path: from the cache, or read and put there; null: there is none.
Catalog* loadCat(const char* path, uint32_t flags);
bool is_cached(const char* path);

}  // namespace vel::i18n
