#include "i18n/code_set.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "i18n/mab.h"
#include "tests/support/scratch_directory.h"

// A table of no characters: a header that names it.
static std::string table(const std::string& name) {
    std::string image(1760, '\0');
    image.replace(8, 3, "ucv");
    image.replace(16, name.size(), name);
    image[48] = 1;
    return image;
}

// The name in the header of the table that a name leads to; "-" for none.
static std::string found(const std::string& name) {
    uc_ch_t* cs = mab_cs_new(name.c_str());
    const std::string header = cs == nullptr ? "-" : mab_get_cs_name(cs);
    mab_cs_free(cs);
    return header;
}

class CodeSets : public testing::Test {
  protected:
    CodeSets() {
        for (const char* name : {"MAB_CODESET", "BINDIR", "NLSPATH"}) unsetenv(name);
        setenv("LC_ALL", "C", 1);
        setenv("MABDIR", directory.path().c_str(), 1);
    }
    ~CodeSets() override {
        mab_uninit();
        unsetenv("MABDIR");
    }

    ScratchDirectory directory;
};

// Names are held against the plain rule by fuzz/code_set_names.cpp, whose corpus is replayed with
// these tests.
TEST_F(CodeSets, NamesAreGivenWholeOrNotAtAll) {
    char name[12] = "untouched";
    EXPECT_EQ(mab_os_cs_name(nullptr, 5) + mab_os_cs_name(name, 0), 2);
    EXPECT_STREQ(name, "untouched");
    EXPECT_EQ(mab_os_cs_name(name, 11), 1);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(mab_os_cs_name(name, 12), 0);
    EXPECT_STREQ(name, "ANSIX341968");
}

TEST_F(CodeSets, OnlyTheWordByItselfMeansThatOfTheLocale) {
    const std::pair<const char*, const char*> rows[] = {
        {"Dos", "ANSIX341968"}, {"OS2", "OS2"}, {"-os", "OS"}};
    for (const auto& [name, normalised] : rows) {
        char out[128];
        EXPECT_EQ(vel::i18n::get_table_name(name, out, sizeof out), 0);
        EXPECT_STREQ(out, normalised);
    }
}

TEST_F(CodeSets, TheEnvironmentChoosesTheDefault) {
    directory.write("ANSIX341968", table("of the locale"));
    directory.write("1047", table("by name"));
    const struct {
        const char *code_set, *name;
    } kRows[] = {{nullptr, "of the locale"}, {"", "of the locale"}, {"os", "of the locale"},
                 {"Win", "of the locale"},   {"utf-8", "UTF8"},     {"ORX-1047", "by name"},
                 {"missing", "OS"}};
    for (const auto& row : kRows) {
        mab_uninit();
        if (row.code_set == nullptr) {
            unsetenv("MAB_CODESET");
        } else {
            setenv("MAB_CODESET", row.code_set, 1);
        }
        EXPECT_STREQ(mab_get_cs_name(nullptr), row.name);
    }
    directory.write("DEFAULT", table("last resort"));
    mab_uninit();
    EXPECT_STREQ(mab_get_cs_name(nullptr), "last resort");
}

TEST_F(CodeSets, DirectoriesAreSearchedInOrder) {
    const ScratchDirectory other;
    const std::string binaries = other.path() / "bin";
    setenv("BINDIR", binaries.c_str(), 1);
    std::filesystem::create_directories(binaries);
    const std::string files[] = {directory.write("codeset/X", table("1")),
                                 directory.write("X", table("2")),
                                 other.write("generic/codeset/X", table("3"))};
    for (size_t i = 0; i < std::size(files); ++i) {
        EXPECT_EQ(found("x"), std::to_string(i + 1));
        std::filesystem::remove(files[i]);
    }
    EXPECT_EQ(found("x"), "-");
    std::filesystem::current_path(directory.path());
    directory.write("X", table("4"));
    setenv("MABDIR", std::string(300, 'd').c_str(), 1);  // too long: left out
    EXPECT_EQ(found("x"), "4");
    EXPECT_EQ(found("./X"), "4");
    EXPECT_EQ(found("./x"), "-");  // a path is taken as it stands
    EXPECT_EQ(found(std::string(300, '/') + "X"), "-");
    std::filesystem::current_path("/");
}

TEST_F(CodeSets, AliasesAreFollowedFourTimes) {
    directory.write("TABLE", table("the table"));
    directory.write("A4", " TABLE\n");
    directory.write("A3", "\tA4");
    directory.write("A2", "A3\r\n");
    directory.write("A1", "A2");
    directory.write("A0", "A1");
    std::string cut = table("cut");
    cut.pop_back();
    directory.write("CUT", cut);
    directory.write("UP", "../" + directory.path().filename().string() + "/TABLE");
    directory.write("FULL", table(std::string(32, 'n')));
    EXPECT_EQ(found("A1"), "the table");
    for (const char* name : {"A0", "CUT", "UP", "MISSING", ""}) {
        EXPECT_EQ(found(name), "-") << name;
    }
    EXPECT_EQ(found("FULL"), std::string(31, 'n'));
}

TEST_F(CodeSets, OnlyAPlainFileOfDecentSizeIsATable) {
    std::filesystem::create_directory(directory.path() / "DIRECTORY");
    ASSERT_EQ(mkfifo((directory.path() / "FIFO").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", directory.path() / "DEVICE");
    std::filesystem::resize_file(directory.write("LARGEST", table("largest")), 16 << 20);
    std::filesystem::resize_file(directory.write("LARGER", table("larger")), (16 << 20) + 1);
    for (const char* name : {"DIRECTORY", "FIFO", "DEVICE", "LARGER"}) {
        EXPECT_EQ(found(name), "-") << name;
    }
    EXPECT_EQ(found("LARGEST"), "largest");
    EXPECT_EQ(mab_cs_new(nullptr), nullptr);
}

TEST_F(CodeSets, ADuplicateOutlivesItsOrigin) {
    directory.write("T", table("shared"));
    uc_ch_t* origin = mab_cs_new("T");
    ASSERT_NE(origin, nullptr);
    uc_ch_t* copy = mab_dup_handle(origin);
    mab_cs_free(origin);
    uint32_t size = 0;
    const auto* image = static_cast<const char*>(mab_cs_table(copy, &size));
    EXPECT_EQ(std::string(image, size), table("shared"));
    EXPECT_EQ(copy->shared_table, 1);
    uc_ch_t* second = mab_dup_handle(copy);
    mab_cs_free(copy);
    EXPECT_STREQ(mab_get_cs_name(second), "shared");
    mab_cs_free(second);

    uc_ch_t* built_in = mab_cs_new("UTF-8");
    copy = mab_dup_handle(built_in);
    EXPECT_NE(copy, built_in);
    mab_cs_free(built_in);
    EXPECT_STREQ(mab_get_cs_name(copy), "UTF8");
    EXPECT_EQ(mab_cs_table(copy, &size), nullptr);
    EXPECT_EQ(size, 0U);
    mab_cs_free(copy);
}

TEST_F(CodeSets, AFreedDefaultFallsBack) {
    directory.write("T", table("mine"));
    uc_ch_t* cs = mab_cs_new("T");
    mab_set_def_cs(cs);
    EXPECT_EQ(mab_get_def_cs(), cs);
    mab_cs_free(cs);
    EXPECT_STREQ(mab_get_cs_name(nullptr), "OS");
    mab_set_def_cs(mab_cs_new("T"));  // freed by mab_uninit
    mab_uninit();
    EXPECT_STREQ(mab_get_cs_name(nullptr), "OS");
    mab_set_def_cs(mab_cs_new("UTF8"));
    mab_set_def_cs(nullptr);
    EXPECT_STREQ(mab_get_cs_name(nullptr), "OS");
    uc_ch_t* internal = mab_cs_new("INTERNAL37");
    EXPECT_STREQ(mab_get_cs_name(internal), "");
    mab_cs_free(internal);
}

TEST_F(CodeSets, EnvironmentStringsLiveWhileTheyAreRead) {
    EXPECT_STREQ(mab_get_nlspath(), "");
    EXPECT_EQ(mab_prepend_nlspath("x"), 0);
    EXPECT_STREQ(getenv("NLSPATH"), "x:");
    EXPECT_EQ(mab_prepend_nlspath("y"), 0);
    EXPECT_EQ(mab_set_dir("/one"), 0);
    mab_init();
    mab_uninit();
    EXPECT_STREQ(getenv("NLSPATH"), "y:x:");
    EXPECT_STREQ(mab_get_dir(), "/one");
    mab_set_dir("/two");
    setenv("MABDIR", "/three", 1);
    mab_set_nlspath("z");
    mab_init();
    mab_uninit();
    EXPECT_STREQ(mab_get_dir(), "/three");
    EXPECT_STREQ(mab_get_nlspath(), "z");
    EXPECT_EQ(mab_set_dir(nullptr), -1);
    EXPECT_EQ(mab_prepend_nlspath(nullptr), -1);
}
