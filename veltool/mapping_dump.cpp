#include <algorithm>
#include <tuple>

#include "veltool/table.h"

namespace vel::tool {

namespace {

// A mark of "" stands for both ways, ">" for to Unicode only, "<" for from Unicode only.
struct Line {
    Character character;
    std::string_view mark;

    auto place() const { return std::tuple(character.code, mark == "<", character.value); }
};

}  // namespace

std::string mapping_text(const Contents& contents) {
    const Mapping& mapping = contents.mapping;
    std::vector<Line> lines;
    for (const Character& character : mapping.to_unicode) {
        const bool returns = mapping.code_of(character.value) == character.code;
        lines.push_back({character, returns ? "" : ">"});
    }
    for (const Note& note : one_way_notes(mapping)) {
        if (note.remark == Remark::kOneWayFromUnicode)
            lines.push_back({{note.code, note.value}, "<"});
    }
    std::ranges::sort(lines, {}, &Line::place);

    std::string text = "# name: " + contents.name +
                       "\n# kind: " + std::string(contents.kind->word) +
                       "\n# bytes, value; \">\": to Unicode only, \"<\": from Unicode only\n";
    for (const auto& [character, mark] : lines) {
        text += in_hex(character.code) + ' ' + in_hex(character.value);
        if (!mark.empty()) text.append(" ").append(mark);
        text += '\n';
    }
    return text;
}

}  // namespace vel::tool
