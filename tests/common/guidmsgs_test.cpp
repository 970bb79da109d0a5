#include <gtest/gtest.h>

#include "common/tool.h"
#include "i18n/mab.h"

// The texts that translations are made from must be those that the tool has built in.
TEST(MessageTable, IsTheEnglishCatalog) {
    mab_cat_t* catalog = mab_catopen(VEL_CATALOG_DIR "/C/guidmsgs.cat", 0, nullptr);
    ASSERT_NE(catalog, nullptr);
    uc_ch_t* utf8 = mab_cs_new("UTF-8");
    for (size_t key = 1; key < kToolMessages; ++key) {
        EXPECT_STREQ(mab_catgets(catalog, 1, static_cast<int32_t>(key), "(none)", utf8),
                     guidmsgs[key]);
    }
    EXPECT_STREQ(mab_catgets(catalog, 1, kToolMessages, "(none)", utf8), "(none)");
    EXPECT_EQ(mab_catclose_fully(catalog), 0);
}
