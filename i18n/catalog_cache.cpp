// Catalogs that are open or kept: their handles, and the cache by path.
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <span>
#include <utility>

#include "i18n/catalog.h"

namespace vel::i18n {

// ---- Handles --------------------------------------------------------------------------------

constinit Places places;

static constexpr size_t kFirstPlaces = 10;

// A free place, the first one; null: no memory, or too many.
static Place* free_place() {
    const std::span<Place> all(places.first, places.count);
    const auto found = std::ranges::find(all, nullptr, &Place::catalog);
    if (found != all.end()) return &*found;
    const size_t count = std::min(std::max(2 * places.count, kFirstPlaces), kMostPlaces);
    if (count == places.count) return nullptr;
    void* grown = realloc(places.first, count * sizeof(Place));
    if (grown == nullptr) return nullptr;
    places.first = static_cast<Place*>(grown);
    for (size_t i = places.count; i < count; ++i) places.first[i] = {kMostPlaces + i, nullptr};
    return &places.first[std::exchange(places.count, count)];
}

bool give_handle(Catalog& catalog) {
    Place* place = free_place();
    if (place == nullptr) return false;
    place->catalog = &catalog;
    catalog.handle = reinterpret_cast<mab_cat_t*>(place->handle);
    return true;
}

void retire_handle(Catalog& catalog) {
    if (catalog.handle == nullptr) return;
    Place& place = places.first[reinterpret_cast<uintptr_t>(catalog.handle) % kMostPlaces];
    place = {place.handle + kMostPlaces, nullptr};
}

// ---- The cache ------------------------------------------------------------------------------

struct CacheEntry {
    char* path;
    Catalog* catalog;
    uint64_t last_open;  // the ticker then
    uint32_t open;       // 0: closed, but kept
};

struct CatalogCache {
    int32_t cachedCats = 0;  // entries that there is room for
    uint64_t lookTicker = 0;
    CacheEntry** catCache = nullptr;

    std::span<CacheEntry*> entries() const { return {catCache, static_cast<size_t>(cachedCats)}; }
};
static constinit CatalogCache cache;

static constexpr int32_t kFirstEntries = 10;
static constexpr int32_t kNoEntry = -1;

static void free_entry(CacheEntry*& entry) {
    free(entry->path);
    free(entry);
    entry = nullptr;
}

static CacheEntry* new_entry(const char* path, Catalog* catalog) {
    const size_t size = strlen(path) + 1;
    auto* entry = static_cast<CacheEntry*>(malloc(sizeof(CacheEntry)));
    auto* own_path = static_cast<char*>(malloc(size));
    if (entry == nullptr || own_path == nullptr) {
        free(entry);
        free(own_path);
        return nullptr;
    }
    memcpy(own_path, path, size);
    *entry = {own_path, catalog, ++cache.lookTicker, 1};
    return entry;
}

static CacheEntry* lookupCat(const char* path) {
    for (CacheEntry* entry : cache.entries()) {
        if (entry != nullptr && strcmp(entry->path, path) == 0) return entry;
    }
    return nullptr;
}

bool is_cached(const char* path) { return lookupCat(path) != nullptr; }

// Where the cache has a catalog that is open, or kNoEntry.
static int32_t cacheIndex(const Catalog* catalog) {
    for (int32_t i = 0; i < cache.cachedCats; ++i) {
        const CacheEntry* entry = cache.catCache[i];
        if (entry != nullptr && entry->catalog == catalog && entry->open != 0) return i;
    }
    return kNoEntry;
}

// Makes room: -1 for no memory.
static int32_t grow_cache() {
    int32_t count = kFirstEntries;
    if (cache.cachedCats > 0 && __builtin_mul_overflow(cache.cachedCats, 2, &count)) return -1;
    // NOLINTNEXTLINE(bugprone-sizeof-expression): it is an array of pointers
    void* grown = realloc(cache.catCache, static_cast<size_t>(count) * sizeof *cache.catCache);
    if (grown == nullptr) return -1;
    cache.catCache = static_cast<CacheEntry**>(grown);
    std::fill(cache.catCache + cache.cachedCats, cache.catCache + count, nullptr);
    cache.cachedCats = count;
    return 0;
}

// Closes the closed catalog that was opened longest ago for good; null: all are open.
static CacheEntry** evict() {
    CacheEntry** oldest = nullptr;
    for (CacheEntry*& entry : cache.entries()) {
        if (entry->open == 0 && (oldest == nullptr || entry->last_open < (*oldest)->last_open))
            oldest = &entry;
    }
    if (oldest != nullptr) {
        real_catclose((*oldest)->catalog);
        free_entry(*oldest);
    }
    return oldest;
}

// An empty slot; null: no memory.
static CacheEntry** empty_slot() {
    const auto slots = cache.entries();
    const auto empty = std::ranges::find(slots, nullptr);
    if (empty != slots.end()) return &*empty;
    if (CacheEntry** evicted = evict()) return evicted;
    const int32_t full = cache.cachedCats;
    return grow_cache() == 0 ? &cache.catCache[full] : nullptr;
}

static int32_t addCat(const char* path, Catalog* catalog) {
    CacheEntry* entry = new_entry(path, catalog);
    if (entry == nullptr) return -1;
    CacheEntry** slot = empty_slot();
    if (slot == nullptr) {
        free_entry(entry);
        return -1;
    }
    *slot = entry;
    return 0;
}

Catalog* loadCat(const char* path, uint32_t flags) {
    if (CacheEntry* entry = lookupCat(path)) {
        entry->open = 1;
        entry->last_open = ++cache.lookTicker;
        return entry->catalog;
    }
    Catalog* catalog = read_catalog(path, flags);
    if (catalog == nullptr) return nullptr;
    if (give_handle(*catalog) && addCat(path, catalog) == 0) return catalog;
    real_catclose(catalog);
    return nullptr;
}

}  // namespace vel::i18n

using namespace vel::i18n;

int32_t mab_catclose(mab_cat_t* handle) {
    const Catalog* catalog = catalog_of(handle);
    const int32_t index = catalog == nullptr ? kNoEntry : cacheIndex(catalog);
    if (index == kNoEntry) return -1;
    cache.catCache[index]->open = 0;
    return 0;
}

int32_t mab_catclose_fully(mab_cat_t* handle) {
    Catalog* catalog = catalog_of(handle);
    if (catalog == nullptr) return -1;
    for (CacheEntry*& entry : cache.entries()) {
        if (entry == nullptr) continue;
        // One that is closed has nobody left who would close it later.
        if (entry->open == 0 && entry->catalog != catalog) real_catclose(entry->catalog);
        free_entry(entry);
    }
    real_catclose(catalog);
    return 0;
}
