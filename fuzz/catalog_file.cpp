// Catalog files of any content: whether one is opened, and which text each number leads to, must be
// what a plain reader makes of the same bytes.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <map>
#include <optional>

#include "fuzz/target.h"
#include "i18n/mab.h"
#include "tests/support/catalog_image.h"

using Numbers = std::vector<int64_t>;

struct File {
    std::string bytes;
    int64_t size;  // zeros stand behind the bytes

    bool has(int64_t at, int64_t length) const {
        return at >= 0 && length >= 0 && at + length <= size;
    }
    char byte(int64_t at) const {
        return at < static_cast<int64_t>(bytes.size()) ? bytes[static_cast<size_t>(at)] : '\0';
    }
    int64_t number(int64_t at) const {
        uint32_t value = 0;
        for (int i = 0; i < 4; ++i) value = value << 8 | static_cast<uint8_t>(byte(at + i));
        return static_cast<int32_t>(value);
    }
};

struct Sets {
    Numbers ids;
    Numbers offsets;  // of their records
};

struct Messages {
    Numbers ids;
    std::vector<std::string> texts;
    uc_ch_t* default_cs = nullptr;  // that they are in, without another one
};

static Sets sets_of(const File& file) {
    const int64_t count = file.number(20);
    int64_t at = file.number(24);
    if (file.size > 64 << 20 || !file.has(0, 28) || file.bytes.compare(0, 8, "*nazgul*") != 0 ||
        file.number(8) != 1) {
        return {};
    }
    Sets sets;
    for (int64_t read = 0; static_cast<int64_t>(sets.ids.size()) < count; ++read) {
        if (read == file.size / 28 || !file.has(at, 28)) return {};
        if (file.number(at + 24) == 0) {
            sets.ids.push_back(file.number(at));
            sets.offsets.push_back(at);
        }
        at = file.number(at + 4);
    }
    return sets;
}

static std::string text_at(const File& file, int64_t at, int64_t end) {
    std::string text;
    for (; at < end && file.byte(at) != '\0'; ++at) text += file.byte(at);
    return text;
}

static Messages messages_of(const File& file, int64_t set) {
    const int64_t records = file.number(set + 8), data = file.number(set + 12);
    const int64_t length = file.number(set + 16), size = file.number(set + 20) * 12;
    if (!file.has(data, length) || !file.has(records, size)) return {};
    Messages messages;
    int64_t places = 0;
    for (int64_t at = records; at < records + size; at += 12) {
        const int64_t offset = file.number(at + 4);
        if (offset < 0 || offset >= length) return {};
        const auto text = text_at(file, data + offset, data + length);
        places += 2 * static_cast<int64_t>(text.size()) + 1;
        if (places > 2 * (length + 1)) return {};
        messages.ids.push_back(file.number(at));
        messages.texts.push_back(text);
    }
    return messages;
}

// Where a number is among those that ascend; of others, where the guided search comes by it.
static std::optional<size_t> find(const Numbers& ids, int64_t wanted, bool is_set) {
    const int64_t least = is_set ? 0 : 1;
    if (wanted < least || ids.empty()) return {};
    if (ids[0] >= least && std::ranges::adjacent_find(ids, std::greater_equal<>()) == ids.end()) {
        const auto at = std::ranges::find(ids, wanted);
        return at != ids.end() ? std::optional(static_cast<size_t>(at - ids.begin()))
                               : std::nullopt;
    }
    const auto count = static_cast<int64_t>(ids.size());
    const bool dense = wanted - least < count;
    // The end of the range belongs to it when it is one of sets.
    const int64_t last = is_set ? count - 1 : count;
    int64_t low = 0, high = dense ? wanted : last, index = dense ? wanted - least : last / 2;
    while (is_set ? low <= index && index <= high : low < high) {
        const int64_t ahead = wanted - ids[static_cast<size_t>(index)];
        if (ahead == 0) return static_cast<size_t>(index);
        if (ahead > 0) low = index + 1;
        high = ahead < 0 ? index : std::min(high, index + ahead + least);
        const int64_t half = (high - low) / 2, direction = ahead > 0 ? 1 : -1;
        const int64_t middle = low + half != index ? low + half : index + direction;
        index = is_set ? middle : index + direction * (high - low == 1 ? 1 : half);
    }
    return {};
}

static std::string text_from(Input& input, size_t size) {
    std::string text(std::min(size, input.left), '\0');
    for (char& c : text) c = static_cast<char>(input.byte());
    return text;
}

static std::string well_formed(Input& input) {
    const auto advance = [&](int32_t id) {
        const uint8_t step = input.byte();
        return id + (step < 0xC0 ? step % 4 : step - 0x100);
    };
    TestSets sets(input.byte() % 48);
    int32_t last_set = 0;
    for (auto& [set, messages] : sets) {
        set = last_set = advance(last_set);
        messages.resize(input.byte() % 24);
        int32_t last = 0;
        for (auto& [message, text] : messages) {
            message = last = advance(last);
            text = text_from(input, input.byte() % 16).c_str();
        }
    }
    return catalog_image(sets);
}

// Adds a little to some numbers, or replaces them, and changes the size.
static File changed(std::string image, Input& input) {
    const uint8_t changes = input.byte();
    for (unsigned i = 0; i < changes % 16 && image.size() >= 4; ++i) {
        const size_t at = input.number(2) % (image.size() - 3);
        int64_t number = File{image, 0}.number(static_cast<int64_t>(at));
        const auto little = static_cast<int8_t>(input.byte());
        number = little != 0 ? number + little : static_cast<int64_t>(input.number(4));
        put_numbers(image, at, {static_cast<size_t>(number)});
    }
    if (changes >= 0xC0) image.resize(image.size() - input.number(2) % (image.size() + 1));
    const auto size = static_cast<int64_t>(image.size());
    const bool is_large = changes % 64 / 16 == 1;
    return {image, is_large ? (64 << 20) + static_cast<int8_t>(input.byte()) : size};
}

static uc_ch_t* shipped(const char* name) {
    uc_ch_t* cs = mab_cs_new((std::string(VEL_CODESET_DIR "/") + name).c_str());
    require(cs != nullptr, "the table is there");
    return cs;
}

static std::string converted(uc_ch_t* cs, const std::string& text) {
    std::string out(4 * text.size() + 16, '\0');
    mab_from_utf8(cs, text.c_str(), -1, out.data(), static_cast<int32_t>(out.size()));
    return out.c_str();
}

// Numbers as the input has them, and then those of the sets and messages, and the next ones.
static std::vector<std::pair<int64_t, int64_t>> numbers_from(Input& input, const File& file,
                                                             const Sets& sets) {
    std::vector<std::pair<int64_t, int64_t>> numbers{
        {0, 1}, {-1, 1}, {1, 0}, {1, -1}, {1, INT_MAX}};
    const auto number = [&] {
        const int64_t near = static_cast<int8_t>(input.byte());
        return near == INT8_MIN ? static_cast<int64_t>(input.number(4)) : near;
    };
    while (input.left > 0) {
        const int64_t set = number();
        numbers.emplace_back(set, number());
    }
    for (size_t i = 0; i < std::min<size_t>(sets.ids.size(), 24); ++i) {
        numbers.emplace_back(sets.ids[i] + 1, 1);
        const Numbers ids = messages_of(file, sets.offsets[i]).ids;
        for (size_t j = 0; j < std::min<size_t>(ids.size(), 24); ++j) {
            numbers.emplace_back(sets.ids[i], ids[j]);
            numbers.emplace_back(sets.ids[i], ids[j] + 1);
        }
    }
    return numbers;
}

// Looks numbers up, with one default code set and another by turns.
static void look_up(mab_cat_t* catalog, Input& input, const File& file, const Sets& sets) {
    static uc_ch_t* const code_sets[] = {shipped("GB18030"), shipped("939")};
    static uc_ch_t* const utf8 = mab_cs_new("UTF-8");
    static constexpr char kDefault[] = "default";
    std::map<size_t, Messages> loaded;
    std::vector<std::pair<const char*, std::string>> found;
    uc_ch_t* default_cs = code_sets[0];
    for (const auto& [far_set, far_message] : numbers_from(input, file, sets)) {
        const auto set = static_cast<int32_t>(far_set), message = static_cast<int32_t>(far_message);
        default_cs = code_sets[default_cs == code_sets[0]];
        mab_set_def_cs(default_cs);
        const auto at = find(sets.ids, set, true);
        const Messages none;
        if (at && loaded.count(*at) == 0) {
            loaded[*at] = messages_of(file, sets.offsets[*at]);
            loaded[*at].default_cs = default_cs;
        }
        const Messages& in = at ? loaded[*at] : none;
        const auto place = find(in.ids, message, false);
        for (uc_ch_t* cs : {static_cast<uc_ch_t*>(nullptr), utf8, code_sets[1]}) {
            const char* ours = mab_catgets(catalog, set, message, kDefault, cs);
            require((ours == kDefault) == !place, "there is a text, or there is not");
            if (!place) continue;
            const std::string& text = in.texts[*place];
            found.emplace_back(ours, cs == utf8 ? text : converted(cs ? cs : in.default_cs, text));
            require(ours == found.back().second, "it is the text");
        }
    }
    for (const auto& [ours, text] : found) require(ours == text, "it is still the text");
}

static int lowest_free_descriptor() {
    const int lowest = dup(STDERR_FILENO);
    close(lowest);
    return lowest;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input{data, size};
    const bool raw = input.byte() % 2 != 0;
    const std::string image = raw ? text_from(input, input.number(2)) : well_formed(input);
    const File file = changed(image, input);

    static const int memory = memfd_create("catalog", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(memory);
    const auto length = file.bytes.size();
    require(ftruncate(memory, 0) == 0, "the file is emptied");
    require(pwrite(memory, file.bytes.data(), length, 0) == static_cast<ssize_t>(length) &&
                ftruncate(memory, file.size) == 0,
            "the file is written");

    const int lowest = lowest_free_descriptor();
    const Sets sets = sets_of(file);
    mab_cat_t* catalog = mab_catopen(path.c_str(), 0, nullptr);
    require((catalog != nullptr) == !sets.ids.empty(), "it is a catalog, or it is not");
    look_up(catalog, input, file, sets);
    require(mab_catclose_fully(catalog) == (catalog != nullptr ? 0 : -1), "it is closed for good");
    require(lowest_free_descriptor() == lowest, "no descriptor is left open");
    return 0;
}
