#include <gtest/gtest.h>

#include <string_view>

#include "i18n/mab.h"
#include "log/message_table.h"

// The texts that translations are made from must be those that the toolkit has built in.
TEST(MessageTable, IsTheEnglishCatalogOfTheToolkit) {
    mab_cat_t* catalog = mab_catopen(VEL_CATALOG_DIR "/C/pmxmsg.cat", 0, nullptr);
    ASSERT_NE(catalog, nullptr);
    uc_ch_t* utf8 = mab_cs_new("UTF-8");
    for (size_t key = 1; key <= pmxmsg.size(); ++key) {
        const bool used =
            key < pmxmsg.size() && !std::string_view(pmxmsg[key]).starts_with("unused");
        EXPECT_STREQ(
            mab_catgets(catalog, vel::log::kMessageSet, static_cast<int32_t>(key), "(none)", utf8),
            used ? pmxmsg[key] : "(none)");
    }
    EXPECT_EQ(mab_catclose_fully(catalog), 0);
}
