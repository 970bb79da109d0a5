// Property lists. The call that reads a file into one is the toolkit's.
#include <climits>

#include "runtime/cx_text.h"
#include "runtime/owned.h"
#include "runtime/rak.h"

static_assert(offsetof(CxPropList, capacity) == 4 && offsetof(CxPropList, pairs) == 8);

namespace vel::runtime {
namespace {

CxPropPair* find(const CxPropList* list, const char* key) {
    if (list == nullptr || key == nullptr) return nullptr;
    for (int32_t i = 0; i < list->count; ++i) {
        if (RakStringCmp(list->pairs[i].key, key) == 0) return &list->pairs[i];
    }
    return nullptr;
}

const char* value_of(const CxPropPair* pair) { return pair == nullptr ? nullptr : pair->value; }

// Makes room for one more pair, and one to spare.
bool reserve(CxPropList& list) {
    constexpr int64_t kFirstCapacity = 32;
    const int64_t needed = int64_t{list.count} + 2;
    int64_t capacity = list.pairs == nullptr ? kFirstCapacity : list.capacity;
    if (list.pairs != nullptr && capacity >= needed) return true;
    while (capacity < needed) capacity *= 2;
    if (capacity > INT32_MAX) return false;
    void* const pairs =
        RakMemoryRealloc(list.pairs, static_cast<size_t>(capacity) * sizeof(CxPropPair));
    if (pairs == nullptr) return false;
    list.pairs = static_cast<CxPropPair*>(pairs);
    list.capacity = static_cast<int32_t>(capacity);
    return true;
}

const CxPropPair* current(const CxPropListIter* it) {
    if (it == nullptr || it->list == nullptr) return nullptr;
    return it->index >= 0 && it->index < it->list->count ? &it->list->pairs[it->index] : nullptr;
}

}  // namespace
}  // namespace vel::runtime

using namespace vel::runtime;

int CxPropListPutStr(CxPropList* list, const char* key, const char* value) {
    if (list == nullptr || key == nullptr || value == nullptr) return 0;
    OwnedText new_value(RakStringDup(value));
    if (new_value == nullptr) return 0;
    if (CxPropPair* const pair = find(list, key)) {
        const OwnedText old_value(std::exchange(pair->value, new_value.release()));
        return 1;
    }
    OwnedText new_key(RakStringDup(key));
    if (new_key == nullptr || !reserve(*list)) return 0;
    list->pairs[list->count++] = {new_key.release(), new_value.release()};
    return 1;
}

const char* CxPropListPeekStr(const CxPropList* list, const char* key) {
    return value_of(find(list, key));
}

char* CxPropListCopyStr(const CxPropList* list, const char* key) {
    return RakStringDup(CxPropListPeekStr(list, key));
}

int CxPropListHasKey(const CxPropList* list, const char* key) { return find(list, key) != nullptr; }

int CxPropListRemove(CxPropList* list, const char* key) {
    CxPropPair* const pair = find(list, key);
    if (pair == nullptr) return 0;
    RakMemoryFree(pair->key);
    RakMemoryFree(pair->value);
    *pair = list->pairs[--list->count];
    return 1;
}

void CxPropListDiscard(CxPropList* list) {
    if (list == nullptr) return;
    for (int32_t i = 0; i < list->count; ++i) {
        RakMemoryFree(list->pairs[i].key);
        RakMemoryFree(list->pairs[i].value);
    }
    RakMemoryFree(list->pairs);
    *list = {};
}

CxPropListIter CxPropListIterator(const CxPropList* list) { return {list, 0}; }

int CxPropListIterHasNext(const CxPropListIter* it) {
    return it != nullptr && it->list != nullptr && it->index + 1 < it->list->count;
}

void CxPropListIterNext(CxPropListIter* it) {
    if (it == nullptr) return;
    if (CxPropListIterHasNext(it)) {
        ++it->index;
    } else {
        *it = {};
    }
}

const char* CxPropListIterPeekKey(const CxPropListIter* it) {
    const CxPropPair* const pair = current(it);
    return pair == nullptr ? nullptr : pair->key;
}

const char* CxPropListIterPeekVal(const CxPropListIter* it) { return value_of(current(it)); }

char* CxPropListIterCopyKey(const CxPropListIter* it) {
    return RakStringDup(CxPropListIterPeekKey(it));
}

char* CxPropListIterCopyVal(const CxPropListIter* it) {
    return RakStringDup(CxPropListIterPeekVal(it));
}
