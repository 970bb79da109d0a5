// What a table holds, apart from how it is laid out.
#pragma once

#include <string>
#include <vector>

#include "veltool/kinds.h"
#include "veltool/mapping.h"

namespace vel::tool {

struct Contents {
    std::string name;
    const KindRow* kind;
    Mapping mapping;  // notes: what of the source is left out or passed through
};

// Takes of a source what a table can hold. A null kind: the one that the source's bytes ask for.
// Throws Failure when that would be no table of this source.
Contents fit(const Mapping& source, const std::string& name, const KindRow* kind);

// Whether a kind passes the bytes and values below 0x80 through.
inline bool passes_ascii(const KindRow& kind) { return !kind.ebcdic; }

// Why a table leaves out that a code is a value, or that a value has a code as its result; nothing
// when it has it, or computes it.
std::optional<Remark> value_obstacle(const KindRow& kind, const Character& character);
std::optional<Remark> result_obstacle(const KindRow& kind, char32_t value, Code code);

// What is mapped one way only.
std::vector<Note> one_way_notes(const Mapping& mapping);

}  // namespace vel::tool
