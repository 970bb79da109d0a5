// Any sequence of calls on a string buffer: text and capacity are those of a model.
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/target.h"
#include "runtime/cx_stringbuff.h"
#include "runtime/rak.h"

// Some texts are longer than a buffer is at first.
static std::string take_text(Input& input) {
    std::string part(input.byte() % 16, '\0'), whole;
    for (char& c : part) c = static_cast<char>(input.byte());
    for (int times = input.byte() >= 0xF0 ? 300 : 1; times > 0; --times) whole += part;
    return whole;
}

struct Model {
    std::string text;
    size_t capacity = 0;

    int insert(const std::string& part, size_t position) {
        const size_t needed = text.size() + part.size() + 1;
        if (capacity == 0) capacity = 1024;
        if (capacity < needed) {
            while (needed >= capacity) capacity *= 2;
        }
        text.insert(position, part);
        return 1;
    }
    int append(const std::string& part) { return insert(part, text.size()); }
    int pack() {
        const size_t packed = text.empty() ? 0 : text.size() + 1;
        return std::exchange(capacity, packed) != packed || packed == 0;
    }
};

// By the payload bits of 1 to 6 bytes.
static std::string utf8_of(int32_t code) {
    if (code < 0x80) return std::string(1, static_cast<char>(code & 0x7F));
    static constexpr int kBits[] = {7, 11, 16, 21, 26, 31};
    size_t length = code == 0x7FF ? 3 : 2;
    while (code >> kBits[length - 1] != 0) ++length;
    std::string form;
    for (size_t i = 1; i < length; ++i, code >>= 6) {
        form.insert(0, 1, static_cast<char>(0x80 + code % 64));
    }
    return static_cast<char>((0xFF00 >> length) + code) + form;
}

// A number in digits, in EBCDIC when the zero is its own.
template <class Number>
static int add(Model& model, Number number, int zero = '0') {
    std::string digits = std::to_string(number);
    for (char& c : digits) {
        if (zero != '0') c = static_cast<char>(c == '-' ? 0x60 : c - '0' + zero);
    }
    return number == 0 || model.append(digits);
}

// The calls that take a text: one from outside, in just its size, or from the buffer's own. Whether
// the result is the model's.
static bool put_text(CxStringBuff& buff, Model& model, unsigned call, Input& input) {
    const auto n = static_cast<int16_t>(input.number(2));
    const bool own = input.number(1) % 2 == 1 && buff.text != nullptr;
    const size_t from = own ? input.number(2) % (model.text.size() + 1) : 0;
    const std::string given = own ? model.text.substr(from) : take_text(input);
    const bool bounded = call == 1 && n > 0 && static_cast<size_t>(n) <= given.size();
    const std::vector<char> copy(given.c_str(), given.c_str() + given.size() + (bounded ? 0 : 1));
    const char* source = own ? buff.text + from : copy.data();
    const std::string text = given.c_str();  // ends at a zero
    if (call == 0) return CxStringBuffAppendStr(&buff, source) == model.append(text);
    if (call == 1) {
        const int expected = n < -1 ? 0 : model.append(text.substr(0, static_cast<size_t>(n)));
        return CxStringBuffAppendStrN(&buff, source, n) == expected;
    }
    const int32_t at = n % (buff.length + 2);
    const bool valid = at >= 0 && at <= buff.length;
    const int expected = valid ? model.insert(text, static_cast<size_t>(at)) : 0;
    return CxStringBuffInsertStr(&buff, source, at) == expected;
}

// The other calls.
static bool change(CxStringBuff& buff, Model& model, unsigned call, uint64_t bits) {
    const auto n64 = static_cast<int64_t>(bits);
    const auto n32 = static_cast<int32_t>(bits);
    const auto n16 = static_cast<uint16_t>(bits);
    const auto byte = static_cast<char>(bits);
    if (call == 3) return CxStringBuffAppendChar(&buff, byte) == model.append({byte});
    if (call == 4) return CxStringBuffAppendUTF32Char(&buff, n32) == model.append(utf8_of(n32));
    if (call == 5) return CxStringBuffAppendUCS2Char(&buff, n16) == model.append(utf8_of(n16));
    if (call == 6) return CxStringBuffAppendInt64(&buff, n64) == add(model, n64);
    if (call == 7) return CxStringBuffAppendInt32(&buff, n32) == add(model, n32);
    if (call == 8) return CxStringBuffAppendUInt64(&buff, bits) == add(model, bits);
    if (call == 9) return CxStringBuffAppendEBCDICInt64(&buff, n64) == add(model, n64, 0xF0);
    if (call == 10) return CxStringBuffPack(&buff) == model.pack();
    model = {"", call == 11 ? model.capacity : 0};
    if (call == 11) return CxStringBuffRestart(&buff) == 1;
    char* const taken = buff.text;
    if (call == 12) return CxStringBuffDiscard(&buff) == 1;
    const bool held = CxStringBuffTakeStr(&buff) == taken;
    RakMemoryFree(taken);
    return held;
}

static void compare(const CxStringBuff& buff, const Model& model) {
    require(buff.capacity == static_cast<int32_t>(model.capacity), "the capacity is the rule's");
    require(buff.length == static_cast<int32_t>(model.text.size()), "the length is the text's");
    require((buff.text == nullptr) == (model.capacity == 0), "memory is held when it is counted");
    require(CxStringBuffPeekStr(&buff) == buff.text, "the text is peeked at");
    if (buff.text == nullptr) return;
    require(memcmp(buff.text, model.text.c_str(), model.text.size() + 1) == 0, "it is the model's");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input{data, size};
    CxStringBuff buff{};
    Model model;
    while (input.left > 0) {
        const bool full = model.text.size() > 50000;
        const unsigned call = full ? 11 : static_cast<unsigned>(input.number(1) % 14);
        const auto bytes = call >= 3 && call < 10 ? static_cast<unsigned>(input.number(1) % 9) : 0;
        require(call < 3 ? put_text(buff, model, call, input)
                         : change(buff, model, call, input.number(bytes)),
                "the result is the model's");
        compare(buff, model);
    }
    char* const copy = CxStringBuffCopyStr(&buff);
    require(copy == nullptr ? buff.text == nullptr : strcmp(copy, model.text.c_str()) == 0,
            "copied");
    RakMemoryFree(copy);
    CxStringBuffDiscard(&buff);
    return 0;
}
