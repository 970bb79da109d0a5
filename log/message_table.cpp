// The texts of the toolkit's messages, laid out by number at compile time.
#include "log/message_table.h"

#include <iterator>

namespace vel::log {
namespace {

struct Message {
    size_t number;
    const char* text;
};

#define PMX_MESSAGE_ROW(number, name, text) {number, text},
constexpr Message kMessages[] = {{0, "pmxmsg"}, PMX_MESSAGES(PMX_MESSAGE_ROW)};
#undef PMX_MESSAGE_ROW

constexpr size_t kUnused = kMessageCount - std::size(kMessages);
static_assert(kUnused == 108, "a message was added or taken away");

using Placeholder = std::array<char, sizeof "unused000">;

constexpr std::array<Placeholder, kUnused> kPlaceholders = [] {
    std::array<Placeholder, kUnused> texts{};
    for (size_t i = 0; i < kUnused; ++i) {
        const auto digit = [](size_t value) { return static_cast<char>('0' + value % 10); };
        texts[i] = {'u', 'n', 'u', 's', 'e', 'd', digit(i / 100), digit(i / 10), digit(i), '\0'};
    }
    return texts;
}();

}  // namespace
}  // namespace vel::log

using namespace vel::log;

constinit const std::array<const char*, kMessageCount> pmxmsg = [] {
    std::array<const char*, kMessageCount> texts{};
    for (const Message& message : kMessages) texts[message.number] = message.text;
    const Placeholder* unused = kPlaceholders.data();
    for (const char*& text : texts) {
        if (text == nullptr) text = (unused++)->data();
    }
    return texts;
}();
