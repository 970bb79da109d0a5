#include "veltool/text.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "veltool/utf8.h"

namespace vel::tool {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr std::string_view kReplacementBytes = "\xEF\xBF\xBD";
constexpr unsigned char kDelete = 0x7F;

// What begins a text: a character, or a byte that begins none.
struct Piece {
    std::string_view bytes;
    char32_t value;
};

Piece first_piece(std::string_view text) {
    const size_t length = utf8_length(text);
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    if (length == 0) return {text.substr(0, 1), kReplacement};
    if (length == 1) return {text.substr(0, 1), byte(0)};
    constexpr unsigned kPayloadBits = 6, kPayload = 0x3F;
    char32_t value = byte(0) & (0x7FU >> length);
    for (size_t i = 1; i < length; ++i) value = value << kPayloadBits | (byte(i) & kPayload);
    return {text.substr(0, length), value};
}

// Control characters, separators of lines, and what turns the direction of writing round.
bool steers(char32_t value) {
    struct Range {
        char32_t first, last;
    };
    constexpr Range kSteering[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x61C, 0x61C},
                                   {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
    return std::ranges::any_of(
        kSteering, [&](Range range) { return value >= range.first && value <= range.last; });
}

// By byte whether it stands for itself: printed ones, but for those named.
using PlainBytes = std::array<bool, 256>;
constexpr PlainBytes all_but(std::string_view special) {
    PlainBytes plain{};
    for (unsigned char byte = ' '; byte < kDelete; ++byte) plain[byte] = true;
    for (const char byte : special) plain[static_cast<unsigned char>(byte)] = false;
    return plain;
}

// Copies what is plain in runs; the rest goes through a call, piece by piece.
template <class Append>
void append_escaped(std::string& to, std::string_view text, const PlainBytes& plain,
                    const Append& append) {
    for (;;) {
        const auto rest = std::ranges::find_if(
            text, [&](char byte) { return !plain[static_cast<unsigned char>(byte)]; });
        const auto run = static_cast<size_t>(rest - text.begin());
        to += text.substr(0, run);
        if (rest == text.end()) return;
        text.remove_prefix(run);
        const Piece piece = first_piece(text);
        append(piece);
        text.remove_prefix(piece.bytes.size());
    }
}

constexpr PlainBytes kShownPlain = all_but("");
constexpr PlainBytes kJsonPlain = all_but("\"\\");
constexpr PlainBytes kXmlPlain = all_but("&<>\"");

struct Entity {
    char32_t value;
    const char* name;
};
constexpr Entity kXmlEntities[] = {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}};

// What XML 1.0 lets no document have, not even as a reference.
bool is_forbidden_in_xml(char32_t value) {
    constexpr char32_t kNoCharacter = 0xFFFE;  // nor the one behind it
    return (value < ' ' && value != '\t' && value != '\n' && value != '\r') ||
           value == kNoCharacter || value == kNoCharacter + 1;
}

}  // namespace

void append_shown(std::string& to, std::string_view text) {
    append_escaped(to, text, kShownPlain, [&](const Piece& piece) {
        const bool is_byte = piece.bytes.size() == 1 && piece.value == kReplacement;
        if (piece.value == '\n') {
            to += "\\n";
        } else if (is_byte || steers(piece.value)) {
            for (const char byte : piece.bytes)
                to += formatted("\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        } else {
            to += piece.bytes;
        }
    });
}

std::string shown(std::string_view text) {
    std::string result;
    append_shown(result, text);
    return result;
}

void append_json(std::string& to, std::string_view text) {
    to += '"';
    append_escaped(to, text, kJsonPlain, [&](const Piece& piece) {
        if (piece.value == '"' || piece.value == '\\') {
            to.append("\\").append(piece.bytes);
        } else if (piece.value == kReplacement || steers(piece.value)) {
            to += formatted("\\u%04x", static_cast<unsigned>(piece.value));
        } else {
            to += piece.bytes;
        }
    });
    to += '"';
}

std::string json_text(std::string_view text) {
    std::string result;
    append_json(result, text);
    return result;
}

void append_xml(std::string& to, std::string_view text) {
    append_escaped(to, text, kXmlPlain, [&](const Piece& piece) {
        const auto entity = std::ranges::find(kXmlEntities, piece.value, &Entity::value);
        const bool is_layout = piece.value == '\n' || piece.value == '\t';
        if (entity != std::end(kXmlEntities)) {
            to += entity->name;
        } else if (piece.value == kReplacement || is_forbidden_in_xml(piece.value)) {
            to += kReplacementBytes;
        } else if (steers(piece.value) && !is_layout) {
            to += formatted("&#x%X;", static_cast<unsigned>(piece.value));
        } else {
            to += piece.bytes;
        }
    });
}

}  // namespace vel::tool
