// Memory runs out at each place in turn: a catalog is not opened, a text is the default one, and
// nothing is lost by it.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <new>

#include "i18n/mab.h"
#include "tests/support/catalog_image.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/scratch_directory.h"

// These are within the C++ library, which the linker does not redirect.
void* operator new(size_t size, const std::nothrow_t&) noexcept { return malloc(size); }
void* operator new(size_t size) {
    if (void* block = malloc(size)) return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept { free(block); }
void operator delete(void* block, size_t) noexcept { free(block); }

static int descriptors() {
    int count = 0;
    for (int i = 0; i < 100; ++i) count += fcntl(i, F_GETFD) != -1;
    return count;
}

// What a call gives when first its first allocation fails, then its second ... until none does.
template <class Call>
static auto outlasting(Call call) {
    const int files = descriptors();
    for (int n = 1; n < 100; ++n) {
        rak_fail_after(n);
        const auto result = call();
        rak_fail_after(0);
        EXPECT_TRUE(n > 1 || result == nullptr);
        if (result != nullptr) return result;
        EXPECT_EQ(descriptors(), files) << n;
    }
    return decltype(call()){};
}

// The first catalog, the eleventh and the twenty-first ask for room in the cache, too.
TEST(CatalogAllocation, WhatFailsIsDoneWhenThereIsMemory) {
    mab_init();
    const ScratchDirectory directory;
    const int files = descriptors();
    static const long blocks = rak_live_blocks();  // when it is repeated, too
    mab_cat_t* opened[21] = {};
    for (mab_cat_t*& catalog : opened) {
        const std::string name = std::to_string(&catalog - opened);
        const std::string path = directory.write(name, catalog_image({{1, {{1, name}}}}));
        catalog = outlasting([&] { return mab_catopen(path.c_str(), 0, nullptr); });
        const auto get = [&] { return mab_catgets(catalog, 1, 1, nullptr, nullptr); };
        EXPECT_STREQ(outlasting(get), name.c_str());
    }
    for (mab_cat_t* catalog : opened) EXPECT_EQ(mab_catclose_fully(catalog), 0);
    EXPECT_EQ(descriptors(), files);
    EXPECT_EQ(rak_live_blocks(), blocks + 2);  // the room for catalogs and for handles stays
}
