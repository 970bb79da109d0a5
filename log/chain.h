// The chain that all containers are: links in order, with an index beside it when there are many.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "log/arena.h"
#include "runtime/rak.h"

namespace vel::log {

template <class Link>
class Walk;

// What every container is. What is behind the count buys look-ups that do not walk, walks that bear
// changes, and elements in one block.
template <class LinkType>
struct Chain {
    using Link = LinkType;
    Link* head = nullptr;
    Link* tail = nullptr;
    int32_t count = 0;
    // The index: open addressing, slots by a power of two. Looking up may make it.
    mutable uint32_t slot_count = 0;
    mutable Link** slots = nullptr;  // null: there is none
    Walk<Link>* walks = nullptr;
    Arena* arena = nullptr;  // where links and elements lie; null: on the heap
};

template <class Link, class Container, class Element>
struct ItemLink {
    Link* next;
    Link* previous;
    Element item;
    Container* owner;
    uint32_t hash;  // while the container has an index
};

template <class Link, class Container, class Value>
struct EntryLink {
    Link* next;
    Link* previous;
    char* key;
    Value value;
    Container* owner;
    uint32_t hash;
};

// A walk from the head on, also while links are added and removed or the container is freed:
// whatever comes next is known to the container. What is added behind the last link is met unless
// the walk has come to that already.
template <class Link>
class Walk {
  public:
    explicit Walk(Chain<Link>* chain) : Walk(chain, chain == nullptr ? nullptr : chain->head) {}
    Walk(Chain<Link>* chain, Link* from) : chain_(chain), next_(from) {
        if (chain != nullptr) outer_ = std::exchange(chain->walks, this);
    }
    ~Walk() {
        if (chain_ == nullptr) return;
        Walk** at = &chain_->walks;  // walks of one chain need not be nested
        while (*at != this) at = &(*at)->outer_;
        *at = outer_;
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    // The next link, or null.
    Link* next() {
        Link* const link = next_;
        if (link != nullptr) next_ = link->next;
        return link;
    }

    static void skip(Chain<Link>* chain, const Link* gone) {
        for (Walk* walk = chain->walks; walk != nullptr; walk = walk->outer_) {
            if (walk->next_ == gone) walk->next_ = gone->next;
        }
    }
    static void end_all(Chain<Link>* chain) {
        for (Walk* walk = chain->walks; walk != nullptr; walk = walk->outer_) {
            walk->chain_ = nullptr;  // and no link is left
        }
    }

  private:
    Chain<Link>* chain_;
    Link* next_;
    Walk* outer_ = nullptr;
};
template <class Container>
Walk(Container*) -> Walk<typename Container::Link>;

// Keys that one looks for. Elements are compared one by one as long as there are few of them; the
// first look-up among more makes a hash index, which is given up when there is no memory for it.
template <class C, class Key>
struct Lookup {
    using Link = typename C::Link;
    using Wanted = typename Key::Wanted;
    static constexpr int32_t kUnindexed = 32;

    static Link* find(const C* chain, Wanted wanted) {
        if (chain->slots == nullptr && chain->count > kUnindexed) rebuild(chain);
        if (chain->slots == nullptr) {
            Link* link = chain->head;
            while (link != nullptr && !Key::same(link, wanted)) link = link->next;
            return link;
        }
        const uint32_t hash = Key::hash(wanted);
        for (uint32_t at = hash;; ++at) {
            Link* const link = chain->slots[at & (chain->slot_count - 1)];
            if (link == nullptr || (link->hash == hash && Key::same(link, wanted))) return link;
        }
    }

    // To be told of each link that was appended, and of each that is to be unlinked.
    static void enter(C* chain, Link* link) {
        if (chain->slots == nullptr) return;
        if (static_cast<uint32_t>(chain->count) > chain->slot_count / 2) {
            rebuild(chain);
        } else {
            link->hash = Key::hash(Key::of(link));
            place(chain, link);
        }
    }

    static void leave(C* chain, const Link* link) {
        if (chain->slots == nullptr) return;
        const uint32_t mask = chain->slot_count - 1;
        uint32_t hole = link->hash & mask;
        while (chain->slots[hole] != link) hole = (hole + 1) & mask;
        // What a probe would miss behind the hole moves into it.
        for (uint32_t at = (hole + 1) & mask; chain->slots[at] != nullptr; at = (at + 1) & mask) {
            const uint32_t home = chain->slots[at]->hash & mask;
            if (((at - home) & mask) < ((at - hole) & mask)) continue;
            chain->slots[hole] = chain->slots[at];
            hole = at;
        }
        chain->slots[hole] = nullptr;
    }

  private:
    static void place(const C* chain, Link* link) {
        const uint32_t mask = chain->slot_count - 1;
        uint32_t at = link->hash & mask;
        while (chain->slots[at] != nullptr) at = (at + 1) & mask;
        chain->slots[at] = link;
    }

    static void rebuild(const C* chain) {
        const bool hashed = chain->slots != nullptr;  // all but the new one
        release_in(chain->arena, chain->slots);
        const auto slot_count =
            static_cast<uint32_t>(std::bit_ceil(static_cast<uint32_t>(chain->count) * 4));
        chain->slots = static_cast<Link**>(allocate_in(chain->arena, slot_count * sizeof(Link*)));
        chain->slot_count = chain->slots == nullptr ? 0 : slot_count;
        if (chain->slots == nullptr) return;
        std::fill_n(chain->slots, slot_count, nullptr);
        for (Link* link = chain->head; link != nullptr; link = link->next) {
            if (!hashed || link == chain->tail) link->hash = Key::hash(Key::of(link));
            place(chain, link);
        }
    }
};

template <class C>
C* make_chain(Arena* arena) {
    void* const place = allocate_in(arena, sizeof(C));
    if (place == nullptr) return nullptr;
    C* const chain = new (place) C{};
    chain->arena = arena;
    return chain;
}

template <class C>
void free_index(C* chain) {
    release_in(chain->arena, chain->slots);
    chain->slots = nullptr;
    chain->slot_count = 0;
}

// Of an empty one. An index may have come up again: an element's end may have looked something up.
template <class C>
void free_chain(C* chain) {
    free_index(chain);
    Walk<typename C::Link>::end_all(chain);
    release_in(chain->arena, chain);
}

template <class C>
void append_link(C* chain, typename C::Link* link) {
    link->next = nullptr;
    link->previous = chain->tail;
    link->owner = chain;
    (chain->tail == nullptr ? chain->head : chain->tail->next) = link;
    chain->tail = link;
    ++chain->count;
}

template <class C>
void unlink(C* chain, typename C::Link* link) {
    Walk<typename C::Link>::skip(chain, link);
    (link->previous == nullptr ? chain->head : link->previous->next) = link->next;
    (link->next == nullptr ? chain->tail : link->next->previous) = link->previous;
    --chain->count;
}

inline uint32_t hash_text(const char* text) {
    constexpr uint64_t kMultiplier = 0x9E3779B97F4A7C15;  // the golden ratio's
    size_t left = strlen(text);
    uint64_t hash = left;
    const auto mix = [&](uint64_t word) {
        hash = (hash ^ word) * kMultiplier;
        hash ^= hash >> 32;
    };
    for (; left >= sizeof(uint64_t); left -= sizeof(uint64_t), text += sizeof(uint64_t)) {
        uint64_t word = 0;
        memcpy(&word, text, sizeof word);
        mix(word);
    }
    uint64_t rest = 0;
    memcpy(&rest, text, left);
    mix(rest);
    return static_cast<uint32_t>(hash);
}

inline uint32_t hash_address(const void* address) {
    constexpr uint64_t kMultiplier = 0x9E3779B97F4A7C15;
    return static_cast<uint32_t>((reinterpret_cast<uintptr_t>(address) * kMultiplier) >> 32);
}

// ---- Policies: how elements are taken in, dropped, and lent to a caller -------------------------

// Copied in, copied out. A link is allocated with room behind it for what its element needs there.
struct Text {
    using In = const char*;
    using Stored = char*;
    using Out = char*;
    static size_t room(In text) { return strlen(text) + 1; }
    static Stored take(Arena* arena, In text, void* behind) {
        if (behind == nullptr) return copy_text_in(arena, text);
        return static_cast<char*>(memcpy(behind, text, room(text)));
    }
    static void drop(Arena* arena, Stored text) { release_in(arena, text); }
    static Out lend(Stored text) { return RakStringDup(text); }
    static bool replace(Arena* arena, Stored& slot, In text, const void* behind) {
        const Stored copy = copy_text_in(arena, text);
        if (copy == nullptr) return false;
        const Stored old = std::exchange(slot, copy);
        if (old != behind) drop(arena, old);
        return true;
    }
    static bool same(Stored stored, In text) { return strcmp(stored, text) == 0; }
    static uint32_t hash(In text) { return hash_text(text); }
};

// Counted: the container holds a reference, a caller gets one.
template <class T, T* (*Acquire)(T*), void (*Release)(T*)>
struct Counted {
    using In = T*;
    using Stored = T*;
    using Out = T*;
    static size_t room(In) { return 0; }
    static Stored take(Arena*, In element, void*) { return Acquire(element); }
    static void drop(Arena*, Stored element) { Release(element); }
    static Out lend(Stored element) { return Acquire(element); }
    // The same reference survives. The new one is in its place, and held, when the old one goes:
    // its end may look here, or may have been all that held the new one.
    static bool replace(Arena*, Stored& slot, In element, const void*) {
        if (slot != element) Release(std::exchange(slot, Acquire(element)));
        return true;
    }
    static bool same(Stored stored, const T* element) { return stored == element; }
    static uint32_t hash(const T* element) { return hash_address(element); }
};

// Nothing of the container's: kept as it is passed in.
template <class T, T* (*Return)(T*), void (*Ignore)(T*)>
struct AsStored {
    using In = T*;
    using Stored = T*;
    using Out = T*;
    static size_t room(In) { return 0; }
    static Stored take(Arena*, In element, void*) { return Return(element); }
    static void drop(Arena*, Stored element) { Ignore(element); }
    static Out lend(Stored element) { return Return(element); }
    static bool replace(Arena*, Stored& slot, In element, const void*) {
        Ignore(std::exchange(slot, Return(element)));
        return true;
    }
};

// ---- Maps ---------------------------------------------------------------------------------------

template <class C, class How>
struct Map {
    using Link = typename C::Link;

    struct Key {
        using Wanted = const char*;
        static const char* of(const Link* link) { return link->key; }
        static bool same(const Link* link, const char* key) {
            return link->key[0] == key[0] && strcmp(link->key, key) == 0;
        }
        static uint32_t hash(const char* key) { return hash_text(key); }
    };
    using Find = Lookup<C, Key>;

    static C* alloc() { return make_chain<C>(nullptr); }

    static void free(C* map) {
        if (map == nullptr) return;
        free_index(map);  // else each removal would look into it
        while (map->head != nullptr) remove(map->head);
        free_chain(map);
    }

    static Link* find(const C* map, const char* key) {
        return map == nullptr || key == nullptr ? nullptr : Find::find(map, key);
    }

    static int put(C* map, const char* key, typename How::In value) {
        if (map == nullptr || key == nullptr || value == nullptr) return 0;
        Link* const present = Find::find(map, key);
        if (present == nullptr) return add(map, key, value);
        return How::replace(map->arena, present->value, value, behind_key(present));
    }

    static typename How::Out get(const C* map, const char* key) {
        const Link* const link = find(map, key);
        return link == nullptr ? nullptr : How::lend(link->value);
    }

    static int has(const C* map, const char* key) { return find(map, key) != nullptr; }

    static void rem(C* map, const char* key) {
        Link* const link = find(map, key);
        if (link != nullptr) remove(link);
    }

    static C* copy(const C* map) {
        C* const fresh = map == nullptr ? nullptr : alloc();
        for (Link* link = map == nullptr ? nullptr : map->head; link != nullptr && fresh != nullptr;
             link = link->next) {
            if (add(fresh, link->key, link->value)) continue;
            free(fresh);
            return nullptr;
        }
        return fresh;
    }

    static Link* begin(const C* map) { return map == nullptr ? nullptr : map->head; }
    static int has_next(const Link* it) { return it != nullptr; }
    static char* get_key(const Link* it) { return it == nullptr ? nullptr : RakStringDup(it->key); }
    static typename How::Out get_val(const Link* it) {
        return it == nullptr ? nullptr : How::lend(it->value);
    }
    static Link* next(const Link* it) { return it == nullptr ? nullptr : it->next; }

  private:
    static const void* behind_key(const Link* link) { return link->key + strlen(link->key) + 1; }

    static int add(C* map, const char* key, typename How::In value) {
        const size_t key_size = strlen(key) + 1;
        void* const place = allocate_in(map->arena, sizeof(Link) + key_size + How::room(value));
        if (place == nullptr) return 0;
        Link* const link = new (place) Link{};
        link->key = static_cast<char*>(memcpy(link + 1, key, key_size));
        link->value = How::take(map->arena, value, link->key + key_size);
        append_link(map, link);
        Find::enter(map, link);
        return 1;
    }

    // The link goes first: what the value's release brings about finds the map without it.
    static void remove(Link* link) {
        C* const map = link->owner;
        Arena* const arena = map->arena;
        Find::leave(map, link);
        unlink(map, link);
        const typename How::Stored value = link->value;
        const bool goes_with_link = value == behind_key(link);
        release_in(arena, link);
        if (!goes_with_link) How::drop(arena, value);
    }
};

// ---- Groups and lists ---------------------------------------------------------------------------

// What they share.
template <class C, class How>
struct Items {
    using Link = typename C::Link;

    static C* alloc() { return make_chain<C>(nullptr); }
    static Link* begin(const C* chain) { return chain == nullptr ? nullptr : chain->head; }
    static int has_next(const Link* it) { return it != nullptr; }
    static typename How::Out get(const Link* it) {
        return it == nullptr ? nullptr : How::lend(it->item);
    }
    static Link* next(const Link* it) { return it == nullptr ? nullptr : it->next; }

  protected:
    // With or without room behind the link for the element. Null: no memory.
    template <bool kBehind>
    static Link* add_link(C* chain, typename How::In element) {
        size_t room = 0;
        if constexpr (kBehind) room = How::room(element);
        void* const place = allocate_in(chain->arena, sizeof(Link) + room);
        if (place == nullptr) return nullptr;
        Link* const link = new (place) Link{};
        link->item = How::take(chain->arena, element, kBehind ? link + 1 : nullptr);
        if (link->item == nullptr) {
            release_in(chain->arena, link);
            return nullptr;
        }
        append_link(chain, link);
        return link;
    }

    // The link goes first: what the element's release brings about finds the container without it.
    static void remove_link(C* chain, Link* link) {
        Arena* const arena = chain->arena;
        unlink(chain, link);
        const typename How::Stored item = link->item;
        const bool goes_with_link = static_cast<const void*>(item) == link + 1;
        release_in(arena, link);
        if (!goes_with_link) How::drop(arena, item);
    }
};

// Each element once.
template <class C, class How>
struct Group : Items<C, How> {
    using Base = Items<C, How>;
    using Link = typename C::Link;

    struct Key {
        using Wanted = typename How::In;
        static Wanted of(const Link* link) { return link->item; }
        static bool same(const Link* link, Wanted element) {
            return How::same(link->item, element);
        }
        static uint32_t hash(Wanted element) { return How::hash(element); }
    };
    using Find = Lookup<C, Key>;

    static void free(C* group) {
        if (group == nullptr) return;
        free_index(group);  // else each removal would look into it
        while (group->head != nullptr) remove(group->head);
        free_chain(group);
    }

    static Link* find(const C* group, typename How::In element) {
        return group == nullptr || element == nullptr ? nullptr : Find::find(group, element);
    }

    static int add(C* group, typename How::In element) {
        return find(group, element) == nullptr && add_new(group, element);
    }

    // The same of an element that the caller knows not to be there.
    static int add_new(C* group, typename How::In element) {
        if (group == nullptr || element == nullptr) return 0;
        Link* const link = Base::template add_link<true>(group, element);
        if (link == nullptr) return 0;
        Find::enter(group, link);
        return 1;
    }

    static int rem(C* group, typename How::In element) {
        Link* const link = find(group, element);
        if (link == nullptr) return 0;
        remove(link);
        return 1;
    }

    static Link* rem_at(Link* it) {
        if (it == nullptr) return nullptr;
        Walk<Link> walk(it->owner, it->next);  // dropping the element may remove more
        remove(it);
        return walk.next();
    }

  private:
    static void remove(Link* link) {
        Find::leave(link->owner, link);
        Base::remove_link(link->owner, link);
    }
};

// Any number of equal elements. They lie by themselves, as sorting moves them from link to link.
template <class C, class How>
struct List : Items<C, How> {
    using Base = Items<C, How>;
    using Link = typename C::Link;

    static void free(C* list) {
        if (list == nullptr) return;
        while (list->head != nullptr) Base::remove_link(list, list->head);
        free_chain(list);
    }

    static int append(C* list, typename How::In element) {
        return list != nullptr && element != nullptr &&
               Base::template add_link<false>(list, element) != nullptr;
    }

    static Link* find(const C* list, typename How::In element) {
        if (list == nullptr || element == nullptr) return nullptr;
        Link* link = list->head;
        while (link != nullptr && !How::same(link->item, element)) link = link->next;
        return link;
    }

    static Link* at(const C* list, int32_t n) {
        if (list == nullptr || n < 0 || n >= list->count) return nullptr;
        Link* link = list->head;
        for (; n > 0; --n) link = link->next;
        return link;
    }

    static int rem(C* list, Link* link) {
        if (list == nullptr || link == nullptr || link->owner != list) return 0;
        Base::remove_link(list, link);
        return 1;
    }

    static Link* rem_at(Link* it) {
        if (it == nullptr) return nullptr;
        Link* const following = it->next;
        Base::remove_link(it->owner, it);
        return following;
    }

    static C* copy(const C* list) {
        C* const fresh = list == nullptr ? nullptr : Base::alloc();
        for (Link* link = list == nullptr ? nullptr : list->head;
             link != nullptr && fresh != nullptr; link = link->next) {
            if (append(fresh, link->item)) continue;
            free(fresh);
            return nullptr;
        }
        return fresh;
    }

    // Sorts the elements, not the links. A merge sort: whatever the comparison says, it stays
    // within the array.
    static void sort(C* list, int (*compare)(const void*, const void*)) {
        if (list == nullptr || compare == nullptr || list->count < 2) return;
        using Stored = typename How::Stored;
        const auto count = static_cast<size_t>(list->count);
        auto* from = static_cast<Stored*>(RakMemoryCalloc(count, 2 * sizeof(Stored)));
        if (from == nullptr) return;
        const std::unique_ptr<Stored, decltype([](Stored* p) { RakMemoryFree(p); })> block(from);
        Stored* to = from + count;
        Stored* end = from;
        for (Link* link = list->head; link != nullptr; link = link->next) *end++ = link->item;
        for (size_t run = 1; run < count; run *= 2) {
            for (size_t i = 0; i < count; i += 2 * run) {
                merge(from + i, from + std::min(i + run, count),
                      from + std::min(i + 2 * run, count), to + i, compare);
            }
            std::swap(from, to);
        }
        for (Link* link = list->head; link != nullptr; link = link->next) link->item = *from++;
    }

  private:
    template <class Stored, class Compare>
    static void merge(Stored* left, Stored* middle, Stored* end, Stored* out, Compare compare) {
        Stored* right = middle;
        while (left < middle && right < end) {
            *out++ = compare(left, right) <= 0 ? *left++ : *right++;
        }
        out = std::copy(left, middle, out);
        std::copy(right, end, out);
    }
};

}  // namespace vel::log
