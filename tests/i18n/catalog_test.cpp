// Finding files, reading them byte by byte and the texts of their numbers are held against models
// by fuzz/catalog_search.cpp and fuzz/catalog_file.cpp, whose corpora are replayed with these
// tests.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <set>

#include "i18n/mab.h"
#include "tests/support/catalog_image.h"
#include "tests/support/scratch_directory.h"

static std::string text(mab_cat_t* catalog, int32_t set = 1, int32_t message = 1) {
    return mab_catgets(catalog, set, message, "-", mab_cs_new("UTF-8"));
}
static std::string image_of(const std::string& text) { return catalog_image({{1, {{1, text}}}}); }

static std::string changed(std::string image, size_t at, size_t number) {
    put_numbers(image, at, {number});
    return image;
}

class Catalogs : public testing::Test {
  protected:
    Catalogs() {
        unsetenv("NLSPATH");
        setenv("MABDIR", VEL_CODESET_DIR, 1);
        std::filesystem::current_path(directory.path());
    }
    ~Catalogs() override {
        for (mab_cat_t* catalog : opened) mab_catclose_fully(catalog);
        EXPECT_EQ(descriptors(), 0);
        mab_uninit();
        std::filesystem::current_path("/");
    }
    mab_cat_t* open(const std::string& name, const std::string& image = "") {
        if (!image.empty()) directory.write(name, image);
        return opened.emplace_back(mab_catopen(("./" + name).c_str(), 0, nullptr));
    }
    mab_cat_t* make(const std::string& name) { return open(name, image_of(name)); }
    // How many are open that no program started inherits: none by itself.
    static int descriptors() {
        int count = 0;
        for (int i = 0; i < 100; ++i) count += fcntl(i, F_GETFD) == FD_CLOEXEC;
        return count;
    }
    std::string found(const char* path_list, const char* name) {
        setenv("NLSPATH", path_list, 1);
        return text(opened.emplace_back(mab_catopen(name, 0, nullptr)));
    }

    ScratchDirectory directory;
    std::vector<mab_cat_t*> opened;
};

TEST_F(Catalogs, OneOpenedTwiceIsClosedByOneCloseAndKept) {
    mab_cat_t* catalog = make("kept");
    EXPECT_EQ(open("kept"), catalog);
    EXPECT_TRUE(mab_catclose(catalog) == 0 && mab_catclose(catalog) == -1);
    std::filesystem::remove("kept");
    EXPECT_EQ(text(catalog), "kept");
    EXPECT_EQ(open("kept"), catalog);
    EXPECT_EQ(mab_catclose(catalog), 0);
    EXPECT_EQ(descriptors(), 1);
}

TEST_F(Catalogs, TheClosedOneThatWasOpenedLongestAgoMakesRoom) {
    const auto gone_with = [this](size_t count) {  // that many opened, each with its number as text
        while (opened.size() < count) make(std::to_string(opened.size()));
        std::string gone;
        for (size_t i = 0; i < count; ++i) {
            if (text(opened[i]) != std::to_string(i)) gone += text(opened[i]) + std::to_string(i);
        }
        return gone;
    };
    EXPECT_EQ(gone_with(10), "");
    EXPECT_EQ(mab_catopen("./1", 0, nullptr), opened[1]);
    for (const size_t i : {1U, 4U, 2U}) EXPECT_EQ(mab_catclose(opened[i]), 0);
    EXPECT_EQ(gone_with(12), "-2-4");
    EXPECT_EQ(gone_with(14), "-1-2-4");  // ten were open: there is room for twenty
    EXPECT_EQ(mab_catclose(opened[0]), 0);
    EXPECT_EQ(gone_with(23), "-1-2-4");
    EXPECT_EQ(gone_with(24), "-0-1-2-4");
    EXPECT_EQ(mab_catclose(opened[0]) + mab_catclose_fully(opened[0]), -2);
    EXPECT_EQ(descriptors(), 20);
}

TEST_F(Catalogs, NoHandleComesBack) {
    std::set<mab_cat_t*> seen = {nullptr, make("c")};
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(mab_catclose_fully(opened.back()), 0);
        EXPECT_TRUE(seen.insert(open("c")).second);
        EXPECT_EQ(text(opened.back()) + text(opened[0]), "c-");
    }
}

TEST_F(Catalogs, ClosingOneFullyForgetsTheOthers) {
    mab_cat_t *full = make("full"), *other = make("other"), *closed = make("closed");
    mab_catclose(closed);
    EXPECT_EQ(text(closed), "closed");
    EXPECT_EQ(mab_catclose_fully(full), 0);
    EXPECT_EQ(text(full) + text(other) + text(closed), "-other-");
    EXPECT_EQ(mab_catclose(full) + mab_catclose(other) + mab_catclose_fully(closed), -3);
    EXPECT_EQ(descriptors(), 1);
    mab_cat_t* again = open("other");
    EXPECT_NE(again, other);
    mab_catclose(again);
    EXPECT_EQ(mab_catclose_fully(again), 0);  // closed, yet kept
    EXPECT_EQ(text(again) + text(other), "-other");
}

TEST_F(Catalogs, ATextConvertedAgainTakesThePlaceOfTheOneBefore) {
    mab_cat_t* c = open("c", image_of("é"));
    uc_ch_t *latin = mab_cs_new("ISO88591"), *dos = mab_cs_new("850");
    const char* converted = mab_catgets(c, 1, 1, "-", latin);
    EXPECT_STREQ(converted, "\xE9");
    EXPECT_EQ(mab_catgets(c, 1, 1, "-", dos), converted);
    EXPECT_STREQ(converted, "\x82");
    mab_cs_free(latin);
    mab_cs_free(dos);
}

static constexpr size_t kNext = 32, kMessages = 36, kData = 40, kLength = 44, kCount = 48;

TEST_F(Catalogs, ADamagedSetHasNoTextsAndTheOthersHave) {
    const std::string good = catalog_image({{1, {{1, "long text"}, {2, "b"}}}, {7, {{1, "good"}}}});
    const size_t text_1 = good.find("good") - 20, text_2 = text_1 + kTestMessageSize;
    std::vector<std::pair<size_t, size_t>> damages = {
        {kLength, 0}, {kCount, 0}, {text_1, 12}, {text_2, 0}};  // {text_2, 0}: two long texts
    for (const size_t at : {kMessages, kData, kLength, kCount, text_1})
        damages.insert(damages.end(), {{at, INT32_MAX}, {at, SIZE_MAX}});
    for (const auto& [at, number] : damages) {
        mab_cat_t* catalog = open("c", changed(good, at, number));
        EXPECT_EQ(text(catalog) + text(catalog, 7), "-good") << at << " " << number;
        mab_catclose_fully(catalog);
    }
    const std::string cut = changed(good, kLength + kTestSetSize, 3);  // there is no NUL
    EXPECT_EQ(text(open("c", changed(cut, kNext + kTestSetSize, INT32_MAX)), 7), "goo");
}

TEST_F(Catalogs, OnlyAPlainFileOfDecentSizeIsOne) {
    std::filesystem::resize_file(directory.write(".cat", image_of("text")), (64 << 20) + 1);
    std::filesystem::create_directory("directory");
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    std::filesystem::create_symlink("nowhere", "dangling");
    for (const char* name : {".cat", "directory", "fifo", "dangling", "missing"})
        EXPECT_EQ(open(name), nullptr) << name;
    std::filesystem::resize_file(".cat", 64 << 20);
    EXPECT_EQ(text(open(".cat")), "text");
}

TEST_F(Catalogs, NoneHasOnlyTheDefaultText) {
    EXPECT_TRUE(mab_catopen(nullptr, 0, "C") == nullptr && mab_catopen("", 0, "C") == nullptr);
    EXPECT_EQ(text(nullptr), "-");
    EXPECT_EQ(mab_catgets(make("c"), 1, 2, nullptr, nullptr), nullptr);
    EXPECT_EQ(mab_catclose(nullptr) + mab_catclose_fully(nullptr), -2);
}

TEST_F(Catalogs, APercentSignBeforeAnotherStandsForItself) {
    directory.write("%name", image_of("found"));
    EXPECT_EQ(found("%%N", "name"), "found");
}

TEST_F(Catalogs, AColonBehindASingleLetterBelongsToThePath) {
    directory.write("C:name", image_of("found"));
    directory.write("C", image_of("the letter"));
    EXPECT_EQ(found("C:%N", "name") + found("C", "name"), "found-");
}
