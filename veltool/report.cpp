#include "veltool/report.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace vel::tool {

namespace {

struct RemarkRow {
    Remark remark;
    std::string_view group;
    std::string_view phrase;
};

constexpr std::string_view kLeftOut = "left out";
constexpr std::string_view kOneWay = "one-way";

constexpr RemarkRow kRemarks[] = {
    {Remark::kAboveBmp, kLeftOut, " above U+FFFF"},
    {Remark::kSequence, kLeftOut, " sequences of characters"},
    {Remark::kNoncharacter, kLeftOut, " at U+FFFF"},
    {Remark::kUnholdable, kLeftOut, " that the kind cannot hold"},
    {Remark::kSubstitution, kLeftOut, " at the substitution byte"},
    {Remark::kShift, kLeftOut, " shift bytes"},
    {Remark::kOneWayToUnicode, kOneWay, " to Unicode"},
    {Remark::kOneWayFromUnicode, kOneWay, " from Unicode"},
    {Remark::kPassedThrough, "passed through as ASCII", ""},
};

std::vector<Note> all_notes(const Contents& contents) {
    std::vector<Note> notes = contents.mapping.notes;
    std::ranges::copy(one_way_notes(contents.mapping), std::back_inserter(notes));
    return notes;
}

}  // namespace

std::string with_commas(size_t number) {
    std::string text = std::to_string(number);
    for (size_t at = text.size(); at > 3; at -= 3) text.insert(at - 3, ",");
    return text;
}

std::string counted(size_t number, const char* one, const char* many) {
    const std::string others = many == nullptr ? std::string(one) + 's' : many;
    return with_commas(number) + ' ' + (number == 1 ? one : others);
}

std::string summary(const Contents& contents, size_t table_size) {
    std::map<Remark, size_t> counts;
    for (const Note& note : all_notes(contents)) ++counts[note.remark];
    std::string line = contents.name + ": " + std::string(contents.kind->word) + ", " +
                       with_commas(contents.mapping.to_unicode.size()) + " characters, " +
                       with_commas(table_size) + " bytes";
    std::string_view group;
    for (const RemarkRow& row : kRemarks) {
        if (counts[row.remark] == 0) continue;
        line.append(row.group == group ? ", " : "; " + std::string(row.group) + ": ");
        line.append(with_commas(counts[row.remark])).append(row.phrase);
        group = row.group;
    }
    return line + '\n';
}

std::string details(const Contents& contents) {
    std::string lines;
    for (const Note& note : all_notes(contents)) {
        const auto row = std::ranges::find(kRemarks, note.remark, &RemarkRow::remark);
        lines.append("  ").append(row->group).append(row->phrase).append(":");
        if (note.code) lines.append(" " + in_hex(note.code));
        lines.append(" " + in_unicode(note.value) + '\n');
    }
    return lines;
}

}  // namespace vel::tool
