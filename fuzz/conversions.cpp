// Shipped tables with bytes changed, any text, every conversion in pieces of any size: the result
// must be what the plain converter makes of it.
#include <sys/mman.h>
#include <unistd.h>

#include "fuzz/mutated_table.h"
#include "fuzz/reference_converter.h"
#include "i18n/code_set.h"

using reference::Bytes;
using reference::Units;

// The code set of an image, loaded from a file as any is.
static uc_ch_t* load_image(const std::string& image) {
    static const int file = memfd_create("table", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    require(ftruncate(file, 0) == 0, "the file is cut");
    require(pwrite(file, image.data(), image.size(), 0) == static_cast<ssize_t>(image.size()),
            "the file is written");
    uc_ch_t* cs = mab_cs_new(path.c_str());
    require(cs != nullptr, "the table is loaded");
    return cs;
}

// Feeds a text in pieces, with little room at a time, and ends it.
template <class In, class Out, class Convert>
static reference::Outcome<std::vector<Out>> in_pieces(Convert convert, uc_ch_t* cs, const In* text,
                                                      size_t size, Input pieces) {
    reference::Outcome<std::vector<Out>> outcome;
    const uint16_t before = cs->subs_count;
    size_t offered = 0;
    int32_t result = 0;
    for (unsigned idle = 0; idle < 1000; ++idle) {
        if (result != 1) offered = std::min(size, offered + 1 + pieces.byte());
        const In* in = text + outcome.used;
        auto length = static_cast<int32_t>(offered - outcome.used);
        std::vector<Out> room_for(pieces.byte() % 40 + (idle > 20 ? 8 : 0));
        Out* out = room_for.data();
        auto room = static_cast<int32_t>(room_for.size());
        result = convert(cs, &in, &length, &out, &room);
        const auto written = static_cast<size_t>(out - room_for.data());
        require(room >= 0 && written + static_cast<size_t>(room) == room_for.size(),
                "room is kept");
        require(in == text + offered - length, "text and length move together");
        require(result != 0 || length == 0, "done means all");
        outcome.text.insert(outcome.text.end(), room_for.data(), out);
        if (in != text + outcome.used) idle = 0;
        outcome.used = static_cast<size_t>(in - text);
        if (offered == size && result != 1) break;
    }
    outcome.cut = result == 2;
    const In* none = nullptr;
    int32_t nothing = 0, room = 1;
    Out last[1];
    Out* out = last;
    if (cs->from_state != 0) {
        int32_t no_room = 0;
        Out* nowhere = last;
        convert(cs, &none, &nothing, &nowhere, &no_room);
        require(nowhere == last, "nothing is written without room");
    }
    require(convert(cs, &none, &nothing, &out, &room) == 0, "the text is ended");
    outcome.text.insert(outcome.text.end(), last, out);
    outcome.replaced = static_cast<uint16_t>(cs->subs_count - before);
    return outcome;
}

template <class Text, class Unit>
static void compare(const reference::Outcome<std::vector<Unit>>& ours,
                    const reference::Outcome<Text>& theirs) {
    require(std::equal(ours.text.begin(), ours.text.end(), theirs.text.begin(), theirs.text.end()),
            "the text is the same");
    require(ours.used == theirs.used && ours.cut == theirs.cut, "it ends at the same place");
    require(ours.replaced == (theirs.replaced & 0xFFFF), "as much is replaced");
}

static std::vector<uint8_t> bytes_of(std::vector<char> text) {
    return std::vector<uint8_t>(text.begin(), text.end());
}

template <class In, class Convert>
static reference::Outcome<std::vector<uint8_t>> to_bytes(Convert convert, uc_ch_t* cs,
                                                         const In* text, size_t size,
                                                         Input pieces) {
    const auto outcome = in_pieces<In, char>(convert, cs, text, size, pieces);
    return {bytes_of(outcome.text), outcome.used, outcome.replaced, outcome.cut};
}

static void convert_all(const reference::CodeSet& set, uc_ch_t* cs, const Bytes& text,
                        Input pieces) {
    const auto* chars = reinterpret_cast<const char*>(text.data());
    compare(to_bytes(mab_to_utf8_r, cs, chars, text.size(), pieces), to_utf8(set, text));
    compare(in_pieces<char, uint16_t>(mab_to_ucs2_r, cs, chars, text.size(), pieces),
            to_ucs2(set, text));
    compare(to_bytes(mab_from_utf8_r, cs, chars, text.size(), pieces), from_utf8(set, text));
    Units units(text.size() / 2);
    if (!units.empty()) memcpy(units.data(), text.data(), units.size() * 2);
    compare(to_bytes(mab_from_ucs2_r, cs, units.data(), units.size(), pieces),
            from_ucs2(set, units));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Input pieces{data, size};
    Input input{data, size};
    const size_t which = input.byte() % (shipped_tables().size() + 2);
    if (which >= shipped_tables().size()) {  // the kinds that have no table
        const bool utf8 = which == shipped_tables().size();
        uc_ch_t* cs = utf8 ? vel::i18n::code_sets.utf8_cs : vel::i18n::code_sets.os_cs;
        convert_all({utf8 ? 6U : 9U, {}}, cs, Bytes(input.data, input.left), pieces);
        return 0;
    }
    std::string image = shipped_tables()[which];
    mutate(image, input);
    uc_ch_t* cs = load_image(image);
    const Bytes bytes(image.begin(), image.end());
    convert_all({reference::kind_of(bytes), bytes}, cs, Bytes(input.data, input.left), pieces);
    mab_cs_free(cs);
    return 0;
}
