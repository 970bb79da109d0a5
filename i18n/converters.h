// The conversions of each kind of code set.
#pragma once

#include "i18n/convert.h"

namespace vel::i18n {

// Converts what a span holds; result codes as of mab_to_utf8_r.
using Converter = int (*)(uc_ch_t& cs, Span& s);

struct Family {
    Converter to_utf8, from_utf8, to_ucs2, from_ucs2;
};

inline constexpr size_t kFamilyCount = kGb18030 + 1;
extern const Family* const kFamilies[kFamilyCount];  // by kind

inline const Family& family_of(const uc_ch_t& cs) {
    return cs.kind < kFamilyCount ? *kFamilies[cs.kind] : *kFamilies[kOs];
}

}  // namespace vel::i18n
