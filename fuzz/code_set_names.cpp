// Names of code sets, and alias files of any content: a name is normalised as the plain rule has
// it, and an alias leads to the table that it names or nowhere.
#include <cctype>
#include <fstream>
#include <string>

#include "fuzz/target.h"
#include "i18n/code_set.h"
#include "tests/support/scratch_directory.h"

static std::string normalised(const std::string& name) {
    std::string upper;
    for (const char c : name) upper += static_cast<char>(toupper(c));
    if (upper == "DOS" || upper == "WIN" || upper == "OS") upper = "ANSI_X3.4-1968";
    if (upper.substr(0, 3) == "ORX") upper.erase(0, 3);
    std::string kept;
    for (const char c : upper) {
        if (isalnum(static_cast<unsigned char>(c)) != 0) kept += c;
    }
    return kept;
}

static void check_name(const std::string& name) {
    char out[vel::i18n::kNameBufferSize] = "untouched";
    const std::string expected = normalised(name);
    const bool fits = expected.size() < sizeof out;
    require(vel::i18n::get_table_name(name.c_str(), out, sizeof out) == (fits ? 0 : 1), "it fits");
    require(out == (fits ? expected : ""), "letters and digits are kept");
}

// What is left of an alias file's content.
static std::string target_of(const std::string& content) {
    std::string target;
    for (const char c : content.substr(0, 32)) {
        const auto byte = static_cast<unsigned char>(c);
        if (iscntrl(byte) == 0 && isspace(byte) == 0) target += c;
    }
    return target;
}

static void check_alias(const std::string& content) {
    static const ScratchDirectory directory;
    static const bool ready = [] {
        std::string table(1760, '\0');
        table.replace(8, 3, "ucv");
        directory.write("TABLE", table);
        directory.write("SECOND", "TABLE");
        setenv("MABDIR", directory.path().c_str(), 1);
        setenv("LC_ALL", "C", 1);
        return true;
    }();
    require(ready, "there are tables");
    directory.write("FIRST", content);
    uc_ch_t* cs = mab_cs_new("first");
    const std::string target = target_of(content);
    require((cs != nullptr) == (target == "TABLE" || target == "SECOND"), "it leads where it says");
    mab_cs_free(cs);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    check_alias(text);
    check_name(text.c_str());
    return 0;
}
