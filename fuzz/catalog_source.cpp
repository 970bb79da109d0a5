// veltool's compiler of catalogs: any source text is refused, or what it says can be written as
// source text again, and as a file in which the library finds each text by its numbers.
#include <sys/mman.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "fuzz/target.h"
#include "veltool/catalog.h"

using namespace vel::tool;

static std::string in_memory_file(const std::string& content) {
    static const int file = memfd_create("catalog", 0);
    require(ftruncate(file, 0) == 0, "the file is cut");
    require(pwrite(file, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()),
            "the file is written");
    return "/proc/self/fd/" + std::to_string(file);
}

static bool same(const CatalogSets& one, const CatalogSets& other) {
    const auto texts = [](const auto& a, const auto& b) {
        return a.first == b.first && a.second.text == b.second.text;
    };
    const auto sets = [&](const auto& a, const auto& b) {
        return a.first == b.first && std::equal(a.second.begin(), a.second.end(), b.second.begin(),
                                                b.second.end(), texts);
    };
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), sets);
}

static void check_way_back(const CatalogSets& sets) {
    CatalogSets again;
    SourceErrors errors;
    take_catalog_source(catalog_source(sets), "dump", nullptr, again, errors);
    require(errors.empty(), "what is written is right");
    require(same(sets, again), "and says the same");
    if (sets.empty()) return;
    require(same(sets, read_catalog_file(in_memory_file(lay_out_catalog(sets)))),
            "so does the file, as the library reads it");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    static const std::unique_ptr<CodeSet> mixed =
        std::make_unique<CodeSet>(VEL_CODESET_DIR, std::string("939"));
    static const std::unique_ptr<CodeSet> double_byte = std::make_unique<CodeSet>("943");
    const CodeSet* const code_sets[] = {nullptr, mixed.get(), double_byte.get()};
    const std::string_view source(reinterpret_cast<const char*>(data) + 1, size - 1);
    CatalogSets sets;
    SourceErrors errors;
    take_catalog_source(source, "source", code_sets[data[0] % 3], sets, errors);
    for (const std::string& error : errors)
        require(error.starts_with("source:") && error.find('\n') == error.npos, "errors are lines");
    if (errors.empty()) check_way_back(sets);
    return 0;
}
