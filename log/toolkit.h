// The state of the toolkit, and what its parts share.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "i18n/mab.h"
#include "log/collections.h"
#include "log/pmx_toolkit.h"

namespace vel::log {

constexpr int32_t kMaxCreationDepth = 256;

// All of it under the lock, but for what is atomic.
struct Toolkit {
    std::atomic<bool> open = false;

    // Registry
    PmxStringToObjClassMap* classes = nullptr;
    std::array<PmxStringGroup*, 4> class_names{};  // by kind, from that of loggers on
    PmxStringToObjMap* objects = nullptr;          // by name, made with the first object
    PmxObject* error_logger = nullptr;
    PmxObject* shells = nullptr;  // of objects that have ended before their holders let go
    PmxObject* last_ending = nullptr;
    PmxObject* ending = nullptr;  // objects whose end waits for that of another
    bool ending_one = false;
    bool ending_all = false;
    int32_t creation_depth = 0;  // of objects that are being created by each other

    // Log manager
    bool manager_ready = false;
    PmxStringToObjCfgMap* configurations = nullptr;
    PmxStringGroup* configuration_names = nullptr;
    bool tree_changed_by_hand = false;  // children may record other parents than they are under

    // Events and messages
    bool delivering_report = false;  // a message of the toolkit's own is on its way
    int64_t channel_sequence = 0;    // of the next message with a number; goes on after a closing
    uc_ch_t* utf8 = nullptr;
    uc_ch_t* pc = nullptr;  // a code page of PCs, and two of EBCDIC: never set here
    uc_ch_t* ebcdic_1047 = nullptr;
    uc_ch_t* ebcdic_37 = nullptr;
};
extern Toolkit toolkit;

// A message of the toolkit's on standard error, in the local code set, where no logger would do.
void print_error(const char* text, const char* argument);

}  // namespace vel::log

int pmxIntlOpenToolkit(const char* path);
void pmxIntlCloseToolkit();
int pmxIntlLoadAdditionalProperties(const char* path);
