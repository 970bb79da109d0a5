// The velguid tool: its messages, what it shows and its options.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

extern int quiet;  // nothing is shown while it is set

// Places in the message table; a message's identifier is a part of its text.
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

// What the pairs of DisplayMsg's arguments begin with.
enum ParmMarker : int { kEndOfParms = 0, kIntParm = 502, kStringParm = 507 };

// Shows a message with a line feed. Its parameters follow in pairs of a marker and a value,
// kIntParm with an int and kStringParm with a text that is not null; kEndOfParms ends them. Answers
// 0.
int DisplayMsg(ToolMsg message, ...);

void DisplayUsage();

// Shows "Guid:" and the bytes, hexadecimal or decimal.
void DisplayGuid(const uint8_t guid[16], bool decimal);

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
