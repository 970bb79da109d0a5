// veltool's reader of mapping texts: what it takes compiles to a table with the same mapping, or is
// refused.
#include "fuzz/target.h"
#include "veltool/table.h"
#include "veltool/tool.h"

using namespace vel::tool;

// So that most inputs are based on ASCII, or on EBCDIC.
static std::string with_base(uint8_t choice, std::string text) {
    static constexpr const char* kBases[] = {"", "0x41 0x0041\n", "0xC1 0x0041\n"};
    return kBases[choice % 3] + text;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string text =
        with_base(data[0], std::string(reinterpret_cast<const char*>(data + 1), size - 1));
    try {
        const Contents contents = fit(parse_mapping_text(text, "text"), "NAME", nullptr);
        const std::string table = lay_out_table(contents);
        const Contents read = read_table(table);
        require(read.kind == contents.kind && read.name == "NAME", "the table says what it is");
        require(mapping_text(read) == mapping_text(contents), "the mapping is kept");
    } catch (const Failure&) {
        return 0;  // refused
    }
    return 0;
}
