// Lists of typed arguments against a model that reads the same list: parameters, properties, level.
#include <array>
#include <cstdarg>
#include <map>
#include <string>
#include <utility>

#include "fuzz/target.h"
#include "log/event.h"

namespace {

constexpr size_t kWords = 160;  // more than 63 properties take
constexpr size_t kReals = 8;    // as many as registers pass; more would mix with the words

const char* const kTexts[] = {"", "text", "%s%n", nullptr};

// The words and the real numbers of an argument list, each in their order.
struct Arguments {
    std::array<int64_t, kWords> words{};
    std::array<double, kReals> reals{};
    size_t word_count = 0;
    size_t real_count = 0;

    void add(int64_t word) { words[word_count++] = word; }
    void add_text(const char* text) { add(reinterpret_cast<int64_t>(text)); }
};

struct Expected {
    std::string parms;
    std::map<std::string, std::string> properties;
    int32_t level = PMX_WARN;
};

PmxEvent* make_event(const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    PmxEvent* const event = PmxVaAllocEvent(PMX_WARN, nullptr, 0, 0, text, arguments);
    va_end(arguments);
    return event;
}

template <size_t... W, size_t... R>
PmxEvent* pass(const Arguments& list, std::index_sequence<W...>, std::index_sequence<R...>) {
    return make_event("", list.words[W]..., list.reals[R]...);
}

// Adds a value of a type; what it reads as, as a parameter and as a property.
std::pair<std::string, std::string> add_value(Input& in, int type, Arguments& list) {
    const auto number = static_cast<int64_t>(in.number(8));
    switch (type) {
        case PMX_BOOL:
            list.add(number);
            return {std::to_string(static_cast<uint8_t>(number)),
                    static_cast<uint8_t>(number) == 1 ? "true" : "false"};
        case PMX_CHAR: {
            list.add(number);
            const char byte = static_cast<char>(number);
            return {std::to_string(static_cast<uint8_t>(byte)),
                    byte == '\0' ? "" : std::string(1, byte)};
        }
        case PMX_INT:
        case PMX_LONG: {
            list.add(number);
            const std::string text =
                std::to_string(type == PMX_INT ? static_cast<int32_t>(number) : number);
            return {text, text};
        }
        case PMX_STRING: {
            const char* const text = kTexts[static_cast<uint64_t>(number) % std::size(kTexts)];
            list.add_text(text);
            return {text == nullptr ? "" : text, text == nullptr ? "" : text};
        }
        default: {
            const double real = static_cast<double>(static_cast<int16_t>(number)) / 8;
            list.reals[list.real_count++] = real;
            const std::string text = std::to_string(real);
            return {text, text};
        }
    }
}

// Adds one group; false: reading ends with it.
bool add_group(Input& in, Arguments& list, Expected& expected) {
    constexpr int kMarkers[] = {0,   501, 502,   503,  504,  505,  506, 507,  201,
                                201, 201, -9999, 1000, 7000, 9999, 508, 8000, -1};
    int marker = kMarkers[in.byte() % std::size(kMarkers)];
    list.add(marker);
    if (marker == PMX_END) return false;
    const bool property = marker == PMX_PROPERTY;
    const std::string name = property ? kTexts[in.byte() % 3] : "";
    if (property) {
        list.add_text(name == "text" ? kTexts[1] : name.empty() ? kTexts[0] : kTexts[2]);
        list.add(marker = kMarkers[in.byte() % std::size(kMarkers)]);
    }
    if (marker >= PMX_BOOL && marker <= PMX_STRING) {
        if ((marker == PMX_FLOAT || marker == PMX_DOUBLE) && list.real_count == kReals) {
            list.words[list.word_count - 1] = 508;  // no more real numbers: ends the list
            return false;
        }
        const auto [parm, text] = add_value(in, marker, list);
        if (property) {
            expected.properties[name] = text;
        } else {
            expected.parms += parm + ";";
        }
        return true;
    }
    if (marker == PMX_PROPERTY || marker == 508 || marker == 8000 || marker == -1) return false;
    expected.level = marker;
    return true;
}

std::string text_of(const PmxParm& parm) {
    if (parm.type == PMX_STRING) return parm.value.text;
    const bool real = parm.type == PMX_FLOAT || parm.type == PMX_DOUBLE;
    return real ? std::to_string(parm.value.real) : std::to_string(parm.value.integer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in{data, size};
    Arguments list;
    Expected expected;
    for (int groups = 0; groups < 63 && list.word_count + 4 < kWords; ++groups) {
        if (!add_group(in, list, expected)) break;
    }
    PmxEvent* const event =
        pass(list, std::make_index_sequence<kWords>(), std::make_index_sequence<kReals>());
    require(event->level == expected.level, "the level");
    std::string parms;
    for (auto* link = vel::log::ParmList::begin(event->message->parms); link != nullptr;
         link = link->next) {
        parms += text_of(*link->item) + ";";
    }
    require(parms == expected.parms, "the parameters");
    std::map<std::string, std::string> properties;
    for (auto* link = vel::log::StringToStringMap::begin(event->properties); link != nullptr;
         link = link->next) {
        properties[link->key] = link->value;
    }
    require(properties == expected.properties, "the properties");
    PmxFreeEvent(event);
    return 0;
}
