// Code sets: the handle, its table, and the process-wide state of the library.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "i18n/mab.h"
#include "i18n/table_image.h"

namespace vel::i18n {

// A character as UTF-8, ready to be stored: up to three bytes, the first one lowest, and above them
// their number. What is unmapped or a shift has no ready text.
using ReadyText = uint32_t;
inline constexpr unsigned kReadyLengthShift = 24;
inline constexpr ReadyText kReadyUnusual = 0x8000'0000;

inline constexpr uint16_t kNoEbcdic = 256;
inline constexpr uint32_t kNoRow = 0;  // no first byte of a pair

// Of each single byte its value and its text, in the kinds that have it in an array or a row; and
// in EBCDIC, of each value below 256 that has a single byte: that byte; kNoEbcdic: look it up.
struct ByteTables {
    std::array<uint16_t, 256> single;
    std::array<ReadyText, 256> ready;
    std::array<uint16_t, 256> ebcdic;
};

// A table in memory: what was worked out when it was loaded, and behind that the file as it is.
struct alignas(16) LoadedTable {
    std::atomic<uint32_t> holders{1};
    uint32_t size = 0;
    bool whole = false;  // all that its pages and rows name lies in the image
    union {              // by kind
        ByteTables bytes;
        std::array<uint32_t, 256> rows;  // offset in the image of each first byte's row, or kNoRow
        std::array<Node, 256> first_nodes;  // of each first byte
        std::array<GbRun, kGbRuns> gb_runs;
    };

    uint8_t* image() { return reinterpret_cast<uint8_t*>(this + 1); }
};

}  // namespace vel::i18n

struct uc_ch_t {
    const uint8_t* table = nullptr;
    uint16_t kind = 0;  // vel::i18n::Kind, or any other number, which passes bytes through
    char name[vel::i18n::kNameSize] = "";
    uint16_t subs_count = 0;   // characters replaced so far; starts over after 65535
    uint8_t shared_table = 0;  // the handle is a duplicate
    uint16_t table_flag = 0;   // a table is attached
    uint16_t attr_a = 0;
    uint16_t attr_b = 0;
    uint8_t attr_c[16] = {};
    uint8_t from_state = 0;  // shift state into the code set: 0 single-byte, 1 double-byte
    uint8_t to_state = 0;    // shift state out of the code set
    uint32_t table_size = 0;
    vel::i18n::LoadedTable* loaded = nullptr;  // whose image `table` is
};

namespace vel::i18n {

// What the process has, set up by one thread before others convert.
struct CodeSets {
    bool mab_initialized = false;
    uc_ch_t* utf8_cs;
    uc_ch_t* os_cs;
    uc_ch_t* def_cs;     // the default
    uc_ch_t* os_loc_cs;  // of the process locale
};
extern CodeSets code_sets;

// The handle itself, or the default for null.
inline uc_ch_t* or_default(uc_ch_t* cs) { return cs != nullptr ? cs : mab_get_def_cs(); }

inline constexpr size_t kNameBufferSize = 128;  // of every normalised name
inline constexpr size_t kPathBufferSize = 256;  // of a table's path

// Normalise a name, and the name of the process locale's code set. 1: it does not fit, or size is
// 0; `out` is then empty.
int32_t get_table_name(const char* name, char* out, size_t size);
int32_t get_cs_name(char* out, size_t size);

// Loads the named table from the first directory that has it; null when none does.
LoadedTable* get_table(const char* name);
LoadedTable* load_table(const char* directory, const char* name);
void free_table(LoadedTable* table);

// Works out, for an image that was just read, what makes its conversions quick.
void prepare(LoadedTable& table);

// The converter family that a table asks for.
uint16_t kind_of(const uint8_t* image);

}  // namespace vel::i18n
