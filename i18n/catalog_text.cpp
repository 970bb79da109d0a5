// Looking texts up. Numbers are dense most often and begin at 1, so that the first look finds them.
#include <algorithm>

#include "i18n/catalog.h"
#include "i18n/code_set.h"

namespace vel::i18n {

// Either search ends on any array, sorted or not: each step takes its range closer.

static MessageSet* find_set(const Catalog& catalog, int64_t wanted) {
    int64_t low = 0;
    int64_t high = catalog.set_count - 1;
    int64_t index = high / 2;
    if (wanted < catalog.set_count) high = index = wanted;
    while (low <= index && index <= high) {
        MessageSet& set = catalog.sets[index];
        if (set.set_id == wanted) return &set;
        const bool below = set.set_id < wanted;
        if (below) {
            low = index + 1;
            high = std::min(high, index + (wanted - set.set_id));  // as numbers ascend
        } else {
            high = index;
        }
        const int64_t middle = low + (high - low) / 2;
        index = middle != index ? middle : index + (below ? 1 : -1);
    }
    return nullptr;
}

MessageSet* MCGetSet(Catalog* catalog, int32_t number) {
    if (catalog == nullptr || number < 0) return nullptr;
    MessageSet* set = find_set(*catalog, number);
    if (set != nullptr && set->state != kLoaded) loadSet(*catalog, *set);
    return set;
}

Message* MCGetMsg(MessageSet* set, int32_t number) {
    if (set == nullptr || set->state != kLoaded || number < 1) return nullptr;
    const int64_t wanted = number;
    int64_t low = 0;
    int64_t high = set->message_count;
    int64_t index = high / 2;
    if (wanted <= set->message_count) {
        index = wanted - 1;
        high = wanted;
    }
    while (low < high) {
        Message& message = set->messages[index];
        if (message.message_id == wanted) return &message;
        const bool below = message.message_id < wanted;
        if (below) {
            low = index + 1;
            high = std::min(high, index + (wanted - message.message_id) + 1);
        } else {
            high = index;
        }
        const int64_t step = high - low == 1 ? 1 : (high - low) / 2;
        index += below ? step : -step;
    }
    return nullptr;
}

}  // namespace vel::i18n

using namespace vel::i18n;

// The text of a message that was found; not inlined, so that the usual case saves no registers.
[[gnu::noinline]] static const char* text_in(MessageSet& set, Message& message, uc_ch_t* cs) {
    if (cs == code_sets.utf8_cs) return message.text;
    return cs == nullptr ? convert_default(set, message) : convert_text(set, message, cs);
}

[[gnu::noinline]] static const char* search(Catalog& catalog, int32_t set, int32_t message,
                                            const char* default_text, uc_ch_t* cs) {
    MessageSet* found_set = MCGetSet(&catalog, set);
    Message* found = MCGetMsg(found_set, message);
    if (found == nullptr) return default_text;
    if (cs == nullptr && found->default_text != nullptr) return found->default_text;
    return text_in(*found_set, *found, cs);
}

const char* mab_catgets(mab_cat_t* handle, int32_t set, int32_t message, const char* default_text,
                        uc_ch_t* cs) {
    Catalog* catalog = catalog_of(handle);
    if (catalog == nullptr) return default_text;
    // What the searches would look at first.
    const int32_t last = catalog->set_count - 1;
    MessageSet& first_set = catalog->sets[set >= 0 && set <= last ? set : last / 2];
    const auto place = static_cast<uint64_t>(message) - 1;
    if (set < 0 || first_set.set_id != set || first_set.state != kLoaded ||
        place >= static_cast<uint64_t>(first_set.message_count) ||
        first_set.messages[place].message_id != message) {
        return search(*catalog, set, message, default_text, cs);
    }
    Message& found = first_set.messages[place];
    if (cs == nullptr && found.default_text != nullptr) return found.default_text;
    return text_in(first_set, found, cs);
}
