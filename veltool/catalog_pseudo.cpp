// A language made by rule, in which whatever is not translated strikes the eye.
#include "veltool/catalog.h"
#include "veltool/files.h"
#include "veltool/message_format.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp = R"(Usage: veltool catalog pseudo SOURCE [-o FILE]

Makes a translation by rule of a source text or a catalog: letters get accents, each line becomes longer
by a third, and each text stands between brackets. A text that is shown without them does not come from
a catalog, and one that lacks the closing one was cut off. Identifiers and parameters stay as they are.

  -o, --output FILE  the source text to write instead of standard output
)";

constexpr Option kOptions[] = {{"output", 'o', true}};

// From A to Z.
constexpr std::string_view kCapitals[] = {"Á", "Ḃ", "Ç", "Ď", "É", "Ḟ", "Ĝ", "Ĥ", "Î",
                                          "Ĵ", "Ķ", "Ļ", "Ḿ", "Ñ", "Ö", "Ṗ", "Ɋ", "Ř",
                                          "Š", "Ţ", "Û", "Ṽ", "Ŵ", "Ẋ", "Ý", "Ž"};
constexpr std::string_view kSmall[] = {"á", "ḃ", "ç", "ď", "é", "ḟ", "ĝ", "ĥ", "î",
                                       "ĵ", "ķ", "ļ", "ḿ", "ñ", "ö", "ṗ", "ɋ", "ř",
                                       "š", "ţ", "û", "ṽ", "ŵ", "ẋ", "ý", "ž"};

std::string accented(char c) {
    if (c >= 'A' && c <= 'Z') return std::string(kCapitals[c - 'A']);
    if (c >= 'a' && c <= 'z') return std::string(kSmall[c - 'a']);
    return {c};
}

bool begins_character(char c) { return (c & 0xC0) != 0x80; }

// What a line with so many characters is lengthened by.
std::string filling(size_t characters) { return std::string((characters + 2) / 3, '~'); }

std::string pseudo_text(const std::string& text) {
    const std::vector<bool> is_literal = literal_bytes(text);
    const size_t identifier = identifier_of(text).size();
    const size_t begin = text.find_first_not_of(' ', identifier);
    if (begin == text.npos) return text;
    std::string result = text.substr(0, begin) + '[';
    size_t characters = 0;  // of the line, without parameters
    for (size_t i = begin; i < text.size(); ++i) {
        if (text[i] == '\n') {
            result += filling(characters);
            characters = 0;
        } else if (is_literal[i] && text[i] != '\t' && begins_character(text[i])) {
            ++characters;
        }
        result += is_literal[i] ? accented(text[i]) : std::string{text[i]};
    }
    return result + filling(characters) + ']';
}

ExitStatus run(const CommandLine& line) {
    if (line.operands().size() != 1) throw UsageError("pseudo takes one source text or catalog");
    CatalogSets sets;
    SourceErrors errors;
    take_catalog_input(line.operands()[0], nullptr, sets, errors);
    if (complain(errors) != kDone) return kFinding;
    for (auto& [number, messages] : sets) {
        for (auto& [id, message] : messages) message.text = pseudo_text(message.text);
    }
    write_result(line, catalog_source(sets));
    return kDone;
}

}  // namespace

constinit const Verb kCatalogPseudo{"catalog", "pseudo", "translate by rule, for tests",
                                    kHelp,     kOptions, run};

}  // namespace vel::tool
