// Texts of 16-bit units, multibyte characters over a code set, and time as text.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "i18n/code_set.h"
#include "i18n/mab.h"
#include "i18n/unicode_text.h"

namespace vel::i18n {
namespace {

// Copies units and ends them.
void put_text(uint16_t* target, const uint16_t* source, size_t count) {
    if (count > 0) memcpy(target, source, count * sizeof *target);
    target[count] = 0;
}

uint16_t* writable(const uint16_t* text) { return const_cast<uint16_t*>(text); }

struct Suffix {
    size_t start;
    size_t period;
};

// The suffix that is greatest in the order of the units, or in the reverse of that order.
Suffix maximal_suffix(const uint16_t* text, size_t length, bool reversed) {
    Suffix best{0, 1};
    size_t rival = 1, equal = 0;
    while (rival + equal < length) {
        const uint16_t ours = text[best.start + equal], theirs = text[rival + equal];
        if (ours == theirs) {
            if (++equal < best.period) continue;
            rival += best.period;
        } else if ((theirs < ours) != reversed) {
            rival += equal + 1;
            best.period = rival - best.start;
        } else {
            best = {rival, 1};
            ++rival;
        }
        equal = 0;
    }
    return best;
}

// Searches by the two-way method of Crochemore and Perrin: whatever the texts are, the time is
// linear in both lengths. A place is compared from the split forwards and then the units before the
// split; as the first match ends the search, it need not be remembered what a step leaves equal.
const uint16_t* find(const uint16_t* text, const uint16_t* part, size_t length) {
    const Suffix rising = maximal_suffix(part, length, false);
    const Suffix falling = maximal_suffix(part, length, true);
    const auto [split, suffix_period] = rising.start > falling.start ? rising : falling;
    const bool repeats = memcmp(part, part + suffix_period, split * sizeof *part) == 0;
    const size_t period = repeats ? suffix_period : std::max(split, length - split) + 1;

    size_t known = 0;  // units that are there; a match may be near, so the end is not looked for
    for (size_t place = 0;;) {
        const size_t end = place + length;
        if (known < end) known += mab_wcsnlen(text + known, end - known);
        if (known < end) return nullptr;
        size_t at = split;
        while (at < length && part[at] == text[place + at]) ++at;
        if (at < length) {
            place += at - split + 1;
        } else if (memcmp(part, text + place, split * sizeof *part) == 0) {
            return text + place;
        } else {
            place += period;
        }
    }
}

// The number of units until the first that is, or is not, one of the set.
size_t span(const uint16_t* text, const uint16_t* set, bool inside) {
    if (!text) return 0;
    const auto listed = [set](uint16_t unit) { return set && mab_wcschr(set, unit) != nullptr; };
    size_t length = 0;
    while (text[length] != 0 && listed(text[length]) == inside) ++length;
    return length;
}

constexpr uint8_t kInitialState = 0;

bool has_shift_states(const uc_ch_t* cs) { return cs->kind == kEbcdicDbcs; }

int no_character() {
    errno = EILSEQ;
    return -1;
}

// Has a handle tell substitutions, which are errors here, and puts back what conversions change in
// it.
class Undisturbed {
  public:
    explicit Undisturbed(uc_ch_t* cs)
        : cs_(cs),
          subs_count_(cs->subs_count),
          from_state_(cs->from_state),
          to_state_(cs->to_state) {
        cs_->subs_count = 0;
    }
    ~Undisturbed() {
        cs_->subs_count = subs_count_;
        if (states_kept_) return;
        cs_->from_state = from_state_;
        cs_->to_state = to_state_;
    }
    Undisturbed(const Undisturbed&) = delete;
    Undisturbed& operator=(const Undisturbed&) = delete;

    bool substituted() const { return cs_->subs_count != 0; }
    void keep_states() { states_kept_ = true; }

  private:
    uc_ch_t* cs_;
    uint16_t subs_count_;
    uint8_t from_state_;
    uint8_t to_state_;
    bool states_kept_ = false;
};

// How many bytes the character has that the text begins with; 0: it breaks the rules of its code
// set, which the conversions do not mind.
size_t utf8_length(const char* text, size_t left) {
    const auto byte = [text](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t lead = byte(0);
    if (lead < 0x80) return 1;
    const size_t length = Utf8Writer::size_of(lead < 0xE0 ? 0x80 : lead < 0xF0 ? 0x800 : kPlanes);
    if (lead < 0xC2 || lead > 0xF4 || left < length) return 0;
    // The second byte tells over-long forms, surrogates and what is above U+10FFFF.
    const uint8_t lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const uint8_t highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < lowest || byte(1) > highest) return 0;
    for (size_t i = 2; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    return length;
}

size_t gb18030_length(const char* text, size_t left) {
    const auto byte = [text](size_t i) { return static_cast<uint8_t>(text[i]); };
    const auto digit = [byte](size_t i) { return byte(i) >= '0' && byte(i) <= '9'; };
    if (byte(0) < 0x80) return 1;
    if (left >= 2 && byte(1) >= 0x40 && byte(1) != 0x7F && byte(1) != 0xFF) return 2;
    const bool four = left >= 4 && digit(1) && byte(2) > 0x80 && byte(2) < 0xFF && digit(3);
    return four ? 4 : 0;
}

bool well_formed(const uc_ch_t* cs, const char* text, const char* end) {
    if (cs->kind != kUtf8 && cs->kind != kGb18030) return true;
    const auto length_at = cs->kind == kUtf8 ? utf8_length : gb18030_length;
    while (text < end) {
        const size_t length = length_at(text, static_cast<size_t>(end - text));
        if (length == 0) return false;
        text += length;
    }
    return true;
}

// Whether all surrogates are in pairs.
bool well_formed(const uc_ch_t*, const uint16_t* text, const uint16_t* end) {
    for (; text < end; ++text) {
        const bool pair = is_surrogate(*text, kHighSurrogate) && end - text > 1 &&
                          is_surrogate(text[1], kLowSurrogate);
        if (pair) ++text;
        if (!pair && (*text & 0xF800) == kHighSurrogate) return false;
    }
    return true;
}

template <class From, class To>
using Conversion = int32_t (*)(uc_ch_t*, const From**, int32_t*, To**, int32_t*);

size_t length_within(const char* text, size_t most) { return strnlen(text, most); }
size_t length_within(const uint16_t* text, size_t most) { return mab_wcsnlen(text, most); }

// Converts a text piece by piece, straight into the output, or to be counted. Nothing is read
// behind the character that the output has no more room for, as the text need not be ended there.
template <class From, class To>
size_t convert_text(uc_ch_t* cs, Conversion<From, To> step, To* out, const From* text,
                    size_t size) {
    constexpr size_t kPiece = 512;
    constexpr size_t kLongest = sizeof(To) == 1 ? MAB_MB_LEN_MAX : 1;  // that one element becomes
    static constexpr From kEmpty[] = {0};
    To scratch[kPiece];
    cs = or_default(cs);
    Undisturbed handle(cs);
    cs->from_state = cs->to_state = kInitialState;
    if (!text) text = kEmpty;
    if (!out) size = SIZE_MAX;
    size_t done = 0;
    size_t cut = 0;  // how often the character at hand was not whole
    while (done < size) {
        const size_t space = std::min(size - done, kPiece);
        const size_t seen = (space + kLongest - 1) / kLongest + cut;
        const size_t piece = length_within(text, seen);
        const From* from = piece > 0 ? text : nullptr;  // null ends the text in the initial state
        To* to = scratch;
        auto length = static_cast<int32_t>(piece), room = static_cast<int32_t>(space);
        const int32_t result = step(cs, &from, &length, &to, &room);
        const bool cut_short = result == kCut && piece < seen;
        if (cut_short || handle.substituted() || (from && !well_formed(cs, text, from))) {
            return static_cast<size_t>(no_character());
        }
        const auto made = static_cast<size_t>(to - scratch);
        if (out) memcpy(out + done, scratch, made * sizeof *out);
        done += made;
        if (piece == 0 && out && done < size) out[done] = 0;
        if (piece == 0 || (result == kFull && made == 0)) break;
        text = from;
        cut = result == kCut ? cut + 1 : 0;
    }
    return done;
}

}  // namespace
}  // namespace vel::i18n

using namespace vel::i18n;

size_t mab_wcslen(const uint16_t* text) { return mab_wcsnlen(text, SIZE_MAX); }

size_t mab_wcsnlen(const uint16_t* text, size_t most) {
    if (!text) return 0;
    size_t length = 0;
    while (length < most && text[length] != 0) ++length;
    return length;
}

uint16_t* mab_wcscpy(uint16_t* target, const uint16_t* source) {
    if (target) put_text(target, source, mab_wcslen(source));
    return target;
}

uint16_t* mab_wcsncpy(uint16_t* target, const uint16_t* source, size_t n) {
    if (!target) return nullptr;
    const size_t length = mab_wcsnlen(source, n);
    if (length > 0) memcpy(target, source, length * sizeof *target);
    std::fill(target + length, target + n, uint16_t{0});
    return target;
}

uint16_t* mab_wcscat(uint16_t* target, const uint16_t* source) {
    return mab_wcsncat(target, source, SIZE_MAX);
}

uint16_t* mab_wcsncat(uint16_t* target, const uint16_t* source, size_t n) {
    if (target) put_text(target + mab_wcslen(target), source, mab_wcsnlen(source, n));
    return target;
}

int mab_wcscmp(const uint16_t* a, const uint16_t* b) { return mab_wcsncmp(a, b, SIZE_MAX); }

int mab_wcsncmp(const uint16_t* a, const uint16_t* b, size_t n) {
    if (n == 0 || a == b) return 0;
    if (!a || !b) return a ? 1 : -1;
    size_t at = 0;
    while (at < n - 1 && a[at] == b[at] && a[at] != 0) ++at;
    return a[at] - b[at];
}

uint16_t* mab_wcschr(const uint16_t* text, uint16_t unit) {
    if (!text) return nullptr;
    while (*text != unit && *text != 0) ++text;
    return *text == unit ? writable(text) : nullptr;
}

uint16_t* mab_wcsrchr(const uint16_t* text, uint16_t unit) {
    if (!text) return nullptr;
    for (size_t at = mab_wcslen(text) + 1; at-- > 0;) {
        if (text[at] == unit) return writable(text + at);
    }
    return nullptr;
}

uint16_t* mab_wcsstr(const uint16_t* text, const uint16_t* part) {
    const size_t length = mab_wcslen(part);
    if (length == 0) return writable(text);
    text = mab_wcschr(text, part[0]);
    return text ? writable(find(text, part, length)) : nullptr;
}

size_t mab_wcsspn(const uint16_t* text, const uint16_t* set) { return span(text, set, true); }
size_t mab_wcscspn(const uint16_t* text, const uint16_t* set) { return span(text, set, false); }

uint16_t* mab_wcspbrk(const uint16_t* text, const uint16_t* set) {
    if (!text) return nullptr;
    text += mab_wcscspn(text, set);
    return *text != 0 ? writable(text) : nullptr;
}

uint16_t* mab_wcstok(uint16_t* text, const uint16_t* delimiters, uint16_t** rest) {
    if (!rest) return nullptr;
    if (!text) text = *rest;
    *rest = nullptr;
    if (!text) return nullptr;
    text += mab_wcsspn(text, delimiters);
    if (*text == 0) return nullptr;
    uint16_t* const end = mab_wcspbrk(text, delimiters);
    if (end) {
        *end = 0;
        *rest = end + 1;
    }
    return text;
}

uint16_t* mab_wcsdup(const uint16_t* text) {
    if (!text) return nullptr;
    const size_t length = mab_wcslen(text);
    auto* copy = static_cast<uint16_t*>(malloc((length + 1) * sizeof *text));
    if (copy) put_text(copy, text, length);
    return copy;
}

int mab_mblen(uc_ch_t* cs, const char* s, size_t n) { return mab_mbtowc(cs, nullptr, s, n); }

// Shows the conversion one byte more at a time, so that it takes one character and nothing behind.
int mab_mbtowc(uc_ch_t* cs, uint16_t* unit, const char* s, size_t n) {
    cs = or_default(cs);
    if (!s) {
        cs->to_state = kInitialState;
        return has_shift_states(cs);
    }
    Undisturbed handle(cs);
    uint16_t units[2] = {};
    uint16_t* to = units;
    int32_t length = 0, room = 2;
    const char* from = s;
    size_t seen = 0;
    n = std::min(n, size_t{INT_MAX});
    for (; to == units && seen < n && s[seen] != 0 && !handle.substituted(); ++seen) {
        ++length;
        mab_to_ucs2_r(cs, &from, &length, &to, &room);
    }
    const bool ended = to == units && length == 0 && seen < n;  // at the NUL, in any shift state
    const bool found = to == units + 1 && !handle.substituted() && well_formed(cs, s, from);
    if (!ended && !found) return no_character();
    if (ended) cs->to_state = kInitialState;
    if (unit) {
        *unit = units[0];
        handle.keep_states();
    }
    return ended ? 0 : static_cast<int>(from - s);
}

int mab_wctomb(uc_ch_t* cs, char* s, uint16_t unit) {
    cs = or_default(cs);
    if (!s) {
        cs->from_state = kInitialState;
        return has_shift_states(cs);
    }
    Undisturbed handle(cs);
    char bytes[MAB_MB_LEN_MAX];
    char* to = bytes;
    const uint16_t* from = unit != 0 ? &unit : nullptr;  // the NUL stands in the initial state
    int32_t length = 1, room = MAB_MB_LEN_MAX;
    const bool done = well_formed(cs, &unit, &unit + 1) &&
                      mab_from_ucs2_r(cs, &from, &length, &to, &room) == kDone &&
                      !handle.substituted();
    if (!done) return no_character();
    if (unit == 0) *to++ = 0;
    handle.keep_states();
    memcpy(s, bytes, static_cast<size_t>(to - bytes));
    return static_cast<int>(to - bytes);
}

size_t mab_mbstowcs(uc_ch_t* cs, uint16_t* out, const char* s, size_t n) {
    return convert_text<char, uint16_t>(cs, mab_to_ucs2_r, out, s, n);
}

size_t mab_wcstombs(uc_ch_t* cs, char* s, const uint16_t* text, size_t n) {
    return convert_text<uint16_t, char>(cs, mab_from_ucs2_r, s, text, n);
}

size_t mab_strftime(char* s, size_t max, const char* format, const struct tm* tm) {
    return s && max > 0 && format && tm ? strftime(s, max, format, tm) : 0;
}

char* mab_strptime(const char* s, const char* format, struct tm* tm) {
    return s && format && tm ? strptime(s, format, tm) : nullptr;
}
