// Any file as properties, against a reading that goes down the lines by hand; the first byte tells
// where in the rest a block of the reader ends.
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <map>
#include <string>

#include "fuzz/target.h"
#include "runtime/cx_text.h"
#include "runtime/owned.h"

namespace {

bool one_of(const char* set, char c) { return c != '\0' && strchr(set, c) != nullptr; }
bool is_blank(char c) { return one_of(" \t\v\f", c); }
bool is_line_end(char c) { return one_of("\r\n", c); }
bool is_separator(char c) { return one_of(":=", c); }

struct Model {
    std::string text{};  // without the line ends that follow a line end
    size_t at = 0;
    std::map<std::string, std::string> pairs{};
    bool value_seen = false;
    bool bad_escape = false;
    uint32_t code = 0;
    std::string key{}, value{};

    bool ended() const { return at == text.size(); }
    void skip_blanks() {
        while (!ended() && is_blank(text[at])) ++at;
    }
    bool put() {
        // What a consumer sees ends with the first NUL.
        if (value_seen) pairs[key.c_str()] = value.c_str();
        return value_seen;
    }
    void to_value(const std::string& bytes) {
        value += bytes;
        value_seen = true;
    }

    bool line() {
        key.clear(), value.clear();
        const size_t begin = at;
        skip_blanks();
        if (ended()) return true;
        const char first = text[at++];
        if (is_line_end(first)) return true;
        if (one_of("#!", first)) {
            while (!ended() && !is_line_end(text[at])) ++at;
            at += !ended();
            return true;
        }
        if (is_separator(first) && at - 1 > begin) return false;
        key += first;
        return rest_of_key();
    }

    bool rest_of_key() {
        for (; !ended() && !is_blank(text[at]) && !is_separator(text[at]); ++at) {
            if (is_line_end(text[at])) return false;
            if (text[at] == '\\') {
                if (++at == text.size()) break;
                if (!is_blank(text[at]) && !one_of(":=\\", text[at])) return false;
            }
            key += text[at];
        }
        skip_blanks();
        if (ended()) return put();
        if (is_separator(text[at])) {
            ++at;
            skip_blanks();
        } else if (is_line_end(text[at])) {
            return false;
        }
        return rest_of_value();
    }

    bool rest_of_value() {
        while (!ended()) {
            const char c = text[at++];
            if (is_line_end(c)) break;
            if (c != '\\') {
                to_value({c});
            } else if (!ended() && !escape(text[at++])) {
                return false;
            }
        }
        return put();
    }

    bool escape(char c) {
        if (is_line_end(c)) {
            skip_blanks();
        } else if (is_blank(c) || one_of("\"'\\", c)) {
            to_value({c});
        } else if (one_of("uU", c)) {
            return unicode();
        } else {
            bad_escape = true;
            return false;
        }
        return true;
    }

    bool unicode() {
        for (uint32_t weight = 4096; weight > 0; weight /= 16) {
            if (ended()) return true;
            const auto digit = std::string("0123456789").find(text[at]);
            const auto letter = std::string("abcdefABCDEF").find(text[at++]);
            if (digit == std::string::npos && letter == std::string::npos) return false;
            code += weight * static_cast<uint32_t>(letter < 12 ? letter % 6 : digit);
        }
        vel::runtime::StringBuff utf8;
        CxStringBuffAppendUTF32Char(&utf8, static_cast<int32_t>(code));
        to_value({utf8.text, static_cast<size_t>(utf8.length)});
        return true;
    }
};

struct Scratch {
    int file = memfd_create("properties", MFD_CLOEXEC);
    std::string path = "/proc/self/fd/" + std::to_string(file);
};

void put_down(const Scratch& scratch, const std::string& bytes) {
    const auto size = static_cast<ssize_t>(bytes.size());
    require(ftruncate(scratch.file, 0) == 0, "the file is emptied");
    require(pwrite(scratch.file, bytes.data(), bytes.size(), 0) == size, "the input is put down");
}

// Reads with standard error in a file, where a message is expected.
bool read_aloud(CxPropList* list, const char* path) {
    static const int standard_error = dup(STDERR_FILENO);
    static const Scratch errors;
    put_down(errors, "");
    dup2(errors.file, STDERR_FILENO);
    const int read = CxPropListRead(list, path);
    dup2(standard_error, STDERR_FILENO);
    lseek(errors.file, 0, SEEK_SET);
    char said[9] = "";
    require(pread(errors.file, said, 8, 0) == 8, "something was said");
    require(std::string(said) == "PMX0052E", "the wrong escape is named");
    return read != 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static constexpr size_t kBlock = 8192;
    static const Scratch input;
    if (size == 0) return 0;
    std::string bytes(reinterpret_cast<const char*>(data + 1), size - 1);
    if (*data != 0) bytes.insert(0, "#" + std::string(kBlock - 2 - *data, '-') + "\n");
    put_down(input, bytes);

    Model model;
    for (size_t i = 0; i < bytes.size(); ++i) {
        const bool again = i > 0 && is_line_end(bytes[i - 1]) && is_line_end(bytes[i]);
        if (!again) model.text += bytes[i];
    }
    bool expected = true;
    while (expected && !model.ended()) expected = model.line();
    CxPropList list{};
    const char* const path = input.path.c_str();
    const bool read = model.bad_escape ? read_aloud(&list, path) : CxPropListRead(&list, path) != 0;
    require(read == expected, "the result is the one");
    require(list.count == static_cast<int32_t>(model.pairs.size()), "there are as many pairs");
    for (const auto& [key, value] : model.pairs) {
        const char* const found = CxPropListPeekStr(&list, key.c_str());
        require(found != nullptr && found == value, "a key has its value");
    }
    CxPropListDiscard(&list);
    return 0;
}
