// The text forms of a GUID record, against what sscanf reads.
#include <cstring>
#include <string>

#include "fuzz/target.h"
#include "guid/guid.h"
#include "guid/vel_guid.h"

namespace {

// The record that the scanner's patterns give; false when a field is missing.
bool scanned(const std::string& text, guid_record& record) {
    unsigned long low = 0;
    unsigned mid = 0, hi = 0, b[8] = {};
    if (text[8] == '-') {
        if (sscanf(text.c_str(), "%8lx-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x", &low, &mid, &hi, b,
                   b + 1, b + 2, b + 3, b + 4, b + 5, b + 6, b + 7) != 11) {
            return false;
        }
    } else if (sscanf(text.c_str(), "%8lx%4x.%2x.%2x.%2x.%2x.%2x.%2x.%2x.%2x", &low, &mid, b, b + 1,
                      b + 2, b + 3, b + 4, b + 5, b + 6, b + 7) != 10) {
        return false;
    }
    record = {low,
              static_cast<uint16_t>(mid),
              static_cast<uint16_t>(hi),
              static_cast<uint8_t>(b[0]),
              static_cast<uint8_t>(b[1]),
              {},
              {}};
    for (size_t i = 0; i < 6; ++i) record.node[i] = static_cast<uint8_t>(b[2 + i]);
    return true;
}

unsigned long expected_status(const std::string& text, guid_record& record) {
    if (text.empty()) return 0;
    if (text.size() != 36 || !scanned(text, record)) return guid_s_invalid_string;
    return (record.clock_seq_hi_and_reserved & 0xE0) == 0xE0 ? guid_s_bad_variant : 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* bytes = reinterpret_cast<const char*>(data);
    const std::string text(bytes, strnlen(bytes, size));
    guid_record expected{}, record, before;
    memset(&record, 0xAB, sizeof record);
    before = record;
    unsigned long status = 1;
    guid_from_string(text.c_str(), &record, &status);
    require(status == expected_status(text, expected), "the status is what the scanner says");
    if (status != 0) {
        require(memcmp(&record, &before, sizeof record) == 0, "a failure leaves the record");
        return 0;
    }
    require(memcmp(&record, &expected, sizeof record) == 0, "the record is what the scanner reads");

    char* printed = nullptr;
    guid_to_string(&record, &printed, &status);
    require(status == 0 && strlen(printed) == 36, "what was parsed is printed");
    guid_record again;
    guid_from_string(printed, &again, &status);
    expected.time_low &= 0xFFFFFFFF;
    require(guid_equal(&again, &expected, &status), "and read back");
    free(printed);
    return 0;
}
