// veltool's reader of table files: a table with bytes changed is refused, or read as something that
// can be written down and compiled to a table of the same mapping.
#include "fuzz/mutated_table.h"
#include "veltool/table.h"
#include "veltool/tool.h"

using namespace vel::tool;

// Whether the text of the mapping stays the same on its way through a table.
static void check_way_back(const Contents& contents) {
    const std::string text = mapping_text(contents);
    std::string table;
    try {
        table = lay_out_table(fit(parse_mapping_text(text, "dump"), contents.name, contents.kind));
    } catch (const Failure&) {
        return;  // a mapping that no compiler would have made
    }
    require(mapping_text(read_table(table)) == text, "the mapping is kept");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input{data, size};
    const size_t which = input.byte();
    std::string image = shipped_tables()[which % shipped_tables().size()];
    mutate(image, input);
    try {
        const Contents contents = read_table(image);
        if (contents.mapping.to_unicode.size() < 1000) check_way_back(contents);
    } catch (const Failure&) {
        return 0;  // refused
    }
    return 0;
}
