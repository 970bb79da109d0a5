// The velguid tool: its messages, what it shows and logs, its options.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "i18n/mab.h"
#include "log/pmx.h"

extern int quiet;         // nothing is shown while it is set
extern PmxObject* myLog;  // the message log and the trace; null: there is none
extern PmxObject* trace;
extern char* mabDir;            // "MABDIR=..." as it stands in the environment
extern uc_ch_t* codeSetHandle;  // what messages are shown in; null: the local code set

// ---- Messages -------------------------------------------------------------------------------

// Places in the message table, and keys in the catalog; a message's identifier is a part of its
// text.
enum class ToolMsg : int {
    catalog_name,
    root_required,
    invalid_option,
    invalid_guid,
    guid_exists,
    creating_guid,
    guid_not_found,
    guid_not_created,
    guid_not_written,
    guid_not_read,
    help,
    option_requires,
    internal_error,
    return_status,
    usage,
    version,
    legal_notice,
};

inline constexpr size_t kToolMessages = 17;
extern const std::array<const char*, kToolMessages> guidmsgs;

constexpr uint32_t key_of(ToolMsg message) { return static_cast<uint32_t>(message); }
inline const char* text_of(ToolMsg message) { return guidmsgs[key_of(message)]; }

inline constexpr uint32_t kToolCatalogSet = 1;

// A text that is converted; a longer one is cut at a character.
using ToolText = char[4000];

// Converts a text of the local code set, and returns the buffer.
const char* to_utf8(const char* text, ToolText& utf8);

// ---- What is shown --------------------------------------------------------------------------

// Shows a message with a line feed, and logs it when it is an error. Its parameters follow in pairs
// of a marker and a value, PMX_INT with an int and PMX_STRING with a text that is not null, in the
// local code set; PMX_END ends them. Answers 0.
int DisplayMsg(ToolMsg message, ...);

void DisplayUsage();

// Shows "Guid:" and the bytes, hexadecimal or decimal.
void DisplayGuid(const uint8_t guid[16], bool decimal);

// ---- What is logged -------------------------------------------------------------------------

// Drops from the environment what could make the C library open anything but a regular file. To be
// called before all else that looks at the environment.
void check_environment();

// Tells the toolkit where its files are and opens the logs; -1 when there is no memory for that. No
// log at all is no failure: it is said on standard error.
int32_t start_logging();

// Support knows the records of the trace by these: they stay, wherever the code is now.
enum TraceLine : int32_t {
    kNlsPathLine = 216,
    kMabDirLine = 217,
    kArgumentLine = 255,
    kExitLine = 568,
};

// Traces a format with one text in the local code set.
void trace_text(const char* function, TraceLine line, const char* format, const char* text);

// Logs a message without its parameters.
void log_bare(ToolMsg message);

// Logs and traces how a run ends that failed.
void log_exit(const char* function, int32_t status);

// ---- Options --------------------------------------------------------------------------------

enum class Option { kCreate, kDecimal, kGuid, kHelp, kNew, kQuiet, kShow, kWrite };

struct OptionRow {
    Option option;
    std::string_view letters;  // the first characters that choose it
    const char* keyword;
};

// The option that a word's first character chooses; null when it is no option letter.
const OptionRow* find_option(char first);

// Upper-cases the token in place, the letters of ASCII alone in whatever locale, and tells whether
// it is a leading part of the keyword of at least the minimum length.
bool abbreviates(char* token, const char* keyword, size_t minimum_length);

// Reads 16 hexadecimal numbers with "." between them, each cut to its low 8 bits. Text behind the
// sixteenth is ignored.
bool parse_guid_value(const char* text, std::array<uint8_t, 16>& guid);
