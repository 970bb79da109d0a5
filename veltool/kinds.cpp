#include "veltool/kinds.h"

#include <algorithm>
#include <string>

namespace vel::tool {

const KindRow& kind_row(i18n::Kind number) {
    return *std::ranges::find(kKinds, number, &KindRow::number);
}

const KindRow* find_kind(std::string_view word_or_number) {
    for (const KindRow& kind : kKinds) {
        if (kind.word == word_or_number || std::to_string(kind.number) == word_or_number)
            return &kind;
    }
    return nullptr;
}

size_t longest_name(const KindRow& kind) {
    const size_t end =
        kind.number == i18n::kGb18030 ? i18n::kGbBlockOffset : i18n::kNameOffset + i18n::kNameSize;
    return end - i18n::kNameOffset - 1;
}

namespace {

constexpr int32_t kGbFourBytesBegin = 24067;  // the place of 81308130
constexpr int32_t kTrailsOfTwo = 191;         // 40 to FE
constexpr int32_t kTrailsOfFour = 126;        // 81 to FE

bool between(uint8_t byte, int first, int last) { return byte >= first && byte <= last; }

}  // namespace

std::optional<int32_t> gb_index(Code code) {
    if (code.length != 2 && code.length != 4) return std::nullopt;
    const int32_t lead = code.byte(0) - 0x81;
    if (!between(code.byte(0), 0x81, 0xFE)) return std::nullopt;
    if (code.length == 2) {
        if (!between(code.byte(1), 0x40, 0xFE)) return std::nullopt;
        return lead * kTrailsOfTwo + code.byte(1) - 0x40 + 1;
    }
    if (!between(code.byte(1), '0', '9') || !between(code.byte(2), 0x81, 0xFE) ||
        !between(code.byte(3), '0', '9')) {
        return std::nullopt;
    }
    const int32_t third = (lead * 10 + code.byte(1) - '0') * kTrailsOfFour + code.byte(2) - 0x81;
    return kGbFourBytesBegin + third * 10 + code.byte(3) - '0';
}

Code gb_code(int32_t index) {
    const auto byte = [](int32_t number) { return static_cast<uint8_t>(number); };
    if (index < kGbFourBytesBegin) {
        index -= 1;
        return Code{}
            .with(byte(index / kTrailsOfTwo + 0x81))
            .with(byte(index % kTrailsOfTwo + 0x40));
    }
    index -= kGbFourBytesBegin;
    const int32_t third = index / 10;
    const int32_t second = third / kTrailsOfFour;
    return Code{}
        .with(byte(second / 10 + 0x81))
        .with(byte(second % 10 + '0'))
        .with(byte(third % kTrailsOfFour + 0x81))
        .with(byte(index % 10 + '0'));
}

}  // namespace vel::tool
