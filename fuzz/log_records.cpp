// veltool's reader of logs: the records that it cuts are all of the input in its order, however the
// bytes come, and taking them apart does no harm.
#include <algorithm>
#include <string_view>
#include <vector>

#include "fuzz/target.h"
#include "veltool/log_cutter.h"
#include "veltool/log_judge.h"

using namespace vel::tool;

namespace {

struct Piece {
    size_t length;
    LogForm form;
    std::string_view fault;
    uint64_t line;
    bool operator==(const Piece&) const = default;
};

// In steps: so many bytes more each time that the cutter asks.
std::vector<Piece> pieces_of(std::string_view text, size_t step) {
    std::vector<Piece> pieces;
    RecordCutter cutter;
    size_t begin = 0, end = 0;
    uint64_t line = 1;
    while (begin < text.size()) {
        const bool are_all = end == text.size();
        const auto cut = cutter.cut(text.substr(begin, end - begin), are_all);
        if (!cut) {
            require(!are_all, "the last bytes are a record");
            end = std::min(end + step, text.size());
            continue;
        }
        require(cut->length > 0 && cut->length <= end - begin, "a record has bytes that are there");
        const auto bytes = text.substr(begin, cut->length);
        require(cut->lines == uint64_t(std::ranges::count(bytes, '\n')), "lines are counted");
        pieces.push_back({cut->length, cut->form, cut->fault, line});
        begin += cut->length;
        line += cut->lines;
    }
    return pieces;
}

void take_apart(std::string_view text, const std::vector<Piece>& pieces) {
    LogProducts products;
    LogFields fields;
    for (const Piece& piece : pieces) {
        RecordCutter cutter;
        const auto cut = cutter.cut(text.substr(0, piece.length), true);
        LogRecord record{piece.form,
                         text.substr(0, piece.length),
                         nullptr,
                         piece.line,
                         0,
                         piece.fault,
                         cut ? std::min(cut->tag, piece.length) : 0,
                         &products};
        judge(record, products);
        time_of(record);
        parse(record, fields);
        require(fields.message.size() <= piece.length, "a message is a part of its record");
        text.remove_prefix(piece.length);
    }
    require(text.empty(), "the records are all bytes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    const std::vector<Piece> pieces = pieces_of(text, text.size() + 1);
    take_apart(text, pieces);
    // Zeros that come in several pieces are several records.
    if (text.find('\0') == text.npos) {
        require(pieces_of(text, size_t(data[0]) + 1) == pieces, "the steps do not matter");
    }
    return 0;
}
