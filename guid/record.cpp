// What is done with a GUID record: hash, compare, print and parse it.
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "guid/generator.h"
#include "guid/hex_scan.h"

namespace vel::guid {
namespace {

static_assert(sizeof(guid_record) == 24 && offsetof(guid_record, time_mid) == 8 &&
              offsetof(guid_record, clock_seq_hi_and_reserved) == 12 &&
              offsetof(guid_record, node) == 14 && offsetof(guid_record, padding) == 20);

constexpr size_t kHashedBytes = 16;
constexpr size_t kTextLength = 36;

Status check_variant(const guid_record* record) {
    const bool accepted = record && variant_accepted(record->clock_seq_hi_and_reserved);
    return accepted ? 0 : static_cast<Status>(guid_s_bad_variant);
}

// The start of every call that takes a record: 0, or why it goes no further.
Status check(const guid_record* record) {
    const Status failure = ensure_init();
    return failure != 0 ? failure : check_variant(record);
}

bool is_nil(const guid_record& record) {
    static constexpr guid_record kNil{};
    return memcmp(&record, &kNil, sizeof kNil) == 0;
}

template <class T>
int order(T a, T b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

int compare_fields(const guid_record& a, const guid_record& b) {
    if (const int by = order(a.time_low, b.time_low)) return by;
    if (const int by = order(a.time_mid, b.time_mid)) return by;
    if (const int by = order(a.time_hi_and_version, b.time_hi_and_version)) return by;
    if (const int by = order(a.clock_seq_hi_and_reserved, b.clock_seq_hi_and_reserved)) return by;
    if (const int by = order(a.clock_seq_low, b.clock_seq_low)) return by;
    return order(memcmp(a.node, b.node, sizeof a.node), 0);
}

using Bytes [[gnu::vector_size(16)]] = int8_t;
using Words [[gnu::vector_size(16)]] = uint64_t;

// Sixteen values below 16 as hexadecimal digits.
Words hex_digits(Bytes values) {
    const Bytes letters = (values > 9) & ('a' - '9' - 1);
    return reinterpret_cast<Words>(values + '0' + letters);
}

// Prints the 36 characters and the NUL. The text is stored in words, the width at which free() will
// read it: narrower stores would make that wait.
void print(const guid_record& record, char* to) {
    // Of a wider time_low, as name-based records have it, the text has room for the low 32 bits.
    const uint64_t start = network_order_time(record);
    uint64_t end;
    constexpr size_t kEndAt = offsetof(guid_record, clock_seq_hi_and_reserved);
    memcpy(&end, reinterpret_cast<const uint8_t*>(&record) + kEndAt, sizeof end);
    const Words bytes = {start, end};

    const Bytes high = reinterpret_cast<Bytes>(bytes >> 4) & 0xF;
    const Bytes low = reinterpret_cast<Bytes>(bytes) & 0xF;
    const Words first = hex_digits(
        __builtin_shufflevector(high, low, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23));
    const Words second = hex_digits(__builtin_shufflevector(high, low, 8, 24, 9, 25, 10, 26, 11, 27,
                                                            12, 28, 13, 29, 14, 30, 15, 31));
    const uint64_t time = first[1], node = second[1], sequence = second[0];

    constexpr uint64_t kHyphen = '-';
    constexpr uint64_t kFour = 0xFFFFFFFF;  // the first four digits of eight
    const uint64_t words[] = {
        first[0],
        kHyphen | (time & kFour) << 8 | kHyphen << 40 | time >> 32 << 48,
        time >> 48 | kHyphen << 16 | (sequence & kFour) << 24 | kHyphen << 56,
        sequence >> 32 | node << 32,
    };
    const auto last = static_cast<uint32_t>(node >> 32);
    memcpy(to, words, sizeof words);
    memcpy(to + sizeof words, &last, sizeof last);
    to[kTextLength] = '\0';
}

// One field of a text form: how wide it is and the character that must stand behind it, if any.
struct Field {
    int width;
    char separator;
};

constexpr Field kHyphenForm[] = {{8, '-'}, {4, '-'}, {4, '-'}, {2, 0}, {2, '-'}, {2, 0},
                                 {2, 0},   {2, 0},   {2, 0},   {2, 0}, {2, 0}};
constexpr Field kDottedForm[] = {{8, 0},   {4, '.'}, {2, '.'}, {2, '.'}, {2, '.'},
                                 {2, '.'}, {2, '.'}, {2, '.'}, {2, '.'}, {2, 0}};

template <size_t kCount>
bool scan(const char* text, const Field (&form)[kCount], std::array<uint64_t, kCount>& values) {
    for (size_t i = 0; i < kCount; ++i) {
        if (!scan_hex(text, form[i].width, values[i])) return false;
        if (form[i].separator && *text++ != form[i].separator) return false;
    }
    return true;
}

// The fields behind time_hi_and_version, which both forms have, each cut to its place.
void take_bytes(const uint64_t* values, guid_record& record) {
    record.clock_seq_hi_and_reserved = static_cast<uint8_t>(values[0]);
    record.clock_seq_low = static_cast<uint8_t>(values[1]);
    for (size_t i = 0; i < 6; ++i) record.node[i] = static_cast<uint8_t>(values[2 + i]);
}

bool scan_hyphen_form(const char* text, guid_record& record) {
    std::array<uint64_t, std::size(kHyphenForm)> values{};
    if (!scan(text, kHyphenForm, values)) return false;
    record.time_low = values[0];
    record.time_mid = static_cast<uint16_t>(values[1]);
    record.time_hi_and_version = static_cast<uint16_t>(values[2]);
    take_bytes(&values[3], record);
    return true;
}

bool scan_dotted_form(const char* text, guid_record& record) {
    std::array<uint64_t, std::size(kDottedForm)> values{};
    if (!scan(text, kDottedForm, values)) return false;
    record.time_low = values[0];
    record.time_mid = static_cast<uint16_t>(values[1]);
    take_bytes(&values[2], record);
    return true;
}

// Reads digit pairs; `bad` collects what no digit has: a bit above the low four.
struct PairReader {
    const char* text;
    unsigned bad = 0;

    unsigned pair(size_t at) {
        const unsigned high = kHexDigit[static_cast<uint8_t>(text[at])];
        const unsigned low = kHexDigit[static_cast<uint8_t>(text[at + 1])];
        bad |= high | low;
        return high << 4 | low;
    }
    unsigned quad(size_t at) { return pair(at) << 8 | pair(at + 2); }
};

// The form that guid_to_string prints, plain digits in either case: false when it is spelled oddly.
bool read_plain_form(const char* text, guid_record& record) {
    if (text[13] != '-' || text[18] != '-' || text[23] != '-') return false;
    PairReader in{text};
    record.time_low = in.quad(0) << 16 | in.quad(4);
    record.time_mid = static_cast<uint16_t>(in.quad(9));
    record.time_hi_and_version = static_cast<uint16_t>(in.quad(14));
    record.clock_seq_hi_and_reserved = static_cast<uint8_t>(in.pair(19));
    record.clock_seq_low = static_cast<uint8_t>(in.pair(21));
    for (size_t i = 0; i < 6; ++i) record.node[i] = static_cast<uint8_t>(in.pair(24 + 2 * i));
    return in.bad <= 0xF;
}

bool parse(const char* text, guid_record& record) {
    if (strlen(text) != kTextLength) return false;
    if (text[8] != '-') return scan_dotted_form(text, record);
    return read_plain_form(text, record) || scan_hyphen_form(text, record);
}

}  // namespace
}  // namespace vel::guid

using namespace vel::guid;

uint16_t guid_hash(const guid_record* record, Status* status) {
    const Status failure = check(record);
    answer(status, failure);
    if (failure != 0) return 0;
    uint8_t bytes[kHashedBytes];
    memcpy(bytes, record, sizeof bytes);
    int16_t c0 = 0, c1 = 0;
    for (const uint8_t byte : bytes) {
        c0 = static_cast<int16_t>(c0 + byte);
        c1 = static_cast<int16_t>(c1 + c0);  // wraps: sixteen high bytes go beyond 32,767
    }
    int x = -c1 % 255;
    int y = (c1 - c0) % 255;
    if (x < 0) x += 255;
    if (y < 0) y += 255;
    return static_cast<uint16_t>(y * 256 + x);
}

int guid_is_nil(const guid_record* record, Status* status) {
    const Status failure = check(record);
    answer(status, failure);
    return failure == 0 && is_nil(*record) ? 1 : 0;
}

int guid_compare(const guid_record* a, const guid_record* b, Status* status) {
    Status failure = ensure_init();
    if (failure == 0 && a) failure = check_variant(a);
    if (failure == 0 && b) failure = check_variant(b);
    answer(status, failure);
    if (failure != 0) return -1;
    if (!a && !b) return 0;
    if (!a) return is_nil(*b) ? 0 : -1;
    if (!b) return is_nil(*a) ? 0 : 1;
    return compare_fields(*a, *b);
}

int guid_equal(const guid_record* a, const guid_record* b, Status* status) {
    Status failure = check(a);
    if (failure == 0) failure = check_variant(b);
    answer(status, failure);
    return failure == 0 && compare_fields(*a, *b) == 0 ? 1 : 0;
}

void guid_to_string(const guid_record* record, char** text, Status* status) {
    if (const Status failure = ensure_init()) return answer(status, failure);
    if (!text) return answer(status, 0);
    if (const Status failure = check_variant(record)) return answer(status, failure);
    *text = static_cast<char*>(malloc(kTextLength + 1));
    if (!*text) return answer(status, guid_s_no_memory);
    print(*record, *text);
    answer(status, 0);
}

void guid_from_string(const char* text, guid_record* record, Status* status) {
    if (const Status failure = ensure_init()) return answer(status, failure);
    if (!record) return answer(status, guid_s_no_memory);
    guid_record parsed{};
    if (text && *text) {
        if (!parse(text, parsed)) return answer(status, guid_s_invalid_string);
        if (const Status failure = check_variant(&parsed)) return answer(status, failure);
    }
    *record = parsed;
    answer(status, 0);
}
