// Message catalogs beside those of glibc and gettext: looking messages up, opening, opening again.
// All have the same texts, in files made anew, and answer with them before anything is timed.
// Only ratios within one run mean anything; bench/report.py makes them.
#include <benchmark/benchmark.h>
#include <libintl.h>
#include <nl_types.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "i18n/mab.h"
#include "tests/support/catalog_image.h"
#include "tests/support/scratch_directory.h"

namespace {

constexpr const char* kLocale = "C.UTF-8";  // gettext translates nothing in "C"
constexpr int kSet = 1, kMessages = 170;
constexpr int kRounds = 24;  // of all messages: too many for their order to be learnt

constexpr const char* kWords[] = {"Datei",       "konnte",  "nicht",    "geöffnet",
                                  "werden",      "%s",      "ungültig", "Speicher",
                                  "abgebrochen", "Auftrag", "zu",       "%d"};

std::mt19937 random_numbers(1);

// By message number, less one: texts of 30 to 120 bytes.
std::vector<std::string> make_texts() {
    std::vector<std::string> made(kMessages, "Die");
    for (std::string& text : made)
        for (const size_t length = 30 + random_numbers() % 78; text.size() < length;)
            text.append(" ").append(kWords[random_numbers() % std::size(kWords)]);
    return made;
}

const std::vector<std::string> texts = make_texts();
const std::vector<std::string> originals = make_texts();  // by which gettext knows the texts

// What is looked up, by number: all of them, often, shuffled.
const std::vector<int> order = [] {
    std::vector<int> numbers;
    for (int i = 0; i < kRounds * kMessages; ++i) numbers.push_back(i % kMessages + 1);
    std::ranges::shuffle(numbers, random_numbers);
    return numbers;
}();

void require(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error(what);
}

// The files of the catalog; those of glibc and gettext are made by their own compilers.
void make_files(const ScratchDirectory& directory) {
    TestMessages messages;
    std::string glibc = "$set 1\n";
    std::string gettext = "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\"\n";
    for (size_t i = 0; i < kMessages; ++i) {
        messages.emplace_back(int32_t(i + 1), texts[i]);
        glibc += std::to_string(i + 1) + " " + texts[i] + "\n";
        gettext += "msgid \"" + originals[i] + "\"\nmsgstr \"" + texts[i] + "\"\n";
    }
    const std::string folder = std::string(kLocale) + "/";
    for (const std::string& name : {std::string("kept.cat"), folder + "mab.cat"})
        directory.write(name, catalog_image({{kSet, messages}}));
    directory.write(folder + "sys.msg", glibc);
    directory.write(folder + "sys.po", gettext);
    std::filesystem::create_directory(directory.path() / folder / "LC_MESSAGES");
    const std::string compile = "cd " + directory.path().string() + "/" + folder +
                                " && gencat sys.cat sys.msg && msgfmt -o LC_MESSAGES/sys.mo sys.po";
    require(system(compile.c_str()) == 0, compile);
}

// Adds a way to look messages up. It shows the text of a number to a callable.
template <class Way>
void add(const std::string& name, Way way) {
    for (size_t i = 0; i < kMessages; ++i)
        way(int(i + 1), [&](const char* text) { require(text == texts[i], name + " differs"); });
    benchmark::RegisterBenchmark(name.c_str(), [way](benchmark::State& state) {
        for (auto _ : state)
            for (const int number : order)
                way(number, [](const char* text) { benchmark::DoNotOptimize(text); });
        state.SetItemsProcessed(state.iterations() * int64_t(order.size()));
    });
}

// Opens a catalog and closes it for a single message.
auto opened(const std::string& name, int32_t (*close)(mab_cat_t*)) {
    return [=](int number, auto show) {
        mab_cat_t* const catalog = mab_catopen(name.c_str(), MAB_CAT_LC_MESSAGES, nullptr);
        show(mab_catgets(catalog, kSet, number, "", nullptr));
        close(catalog);
    };
}
auto opened_by_glibc(const std::string& name) {
    return [=](int number, auto show) {
        const nl_catd catalog = catopen(name.c_str(), NL_CAT_LOCALE);
        show(catgets(catalog, kSet, number, ""));
        catclose(catalog);
    };
}

}  // namespace

int main(int argc, char** argv) {
    for (const char* name : {"LANGUAGE", "MAB_CODESET"}) unsetenv(name);
    setenv("LC_ALL", kLocale, 1);
    setlocale(LC_ALL, "");
    const ScratchDirectory scratch;
    make_files(scratch);
    const std::string directory = scratch.path().string() + "/", folder = directory + kLocale + "/";
    setenv("NLSPATH", (directory + "%L/%N.cat").c_str(), 1);

    mab_cat_t* const mab = mab_catopen((directory + "kept.cat").c_str(), 0, nullptr);
    uc_ch_t* const utf8 = mab_cs_new("UTF-8");
    const nl_catd glibc = catopen((folder + "sys.cat").c_str(), NL_CAT_LOCALE);
    bindtextdomain("sys", directory.c_str());
    add("get", [=](int number, auto show) { show(mab_catgets(mab, kSet, number, "", nullptr)); });
    add("get_utf8", [=](int number, auto show) { show(mab_catgets(mab, kSet, number, "", utf8)); });
    add("get_glibc", [=](int number, auto show) { show(catgets(glibc, kSet, number, "")); });
    add("get_gettext", [](int number, auto show) {
        show(dcgettext("sys", originals[size_t(number) - 1].c_str(), LC_MESSAGES));
    });
    add("open", opened(folder + "mab.cat", mab_catclose_fully));
    add("reopen", opened(folder + "mab.cat", mab_catclose));
    add("open_glibc", opened_by_glibc(folder + "sys.cat"));
    add("search", opened("mab", mab_catclose));
    add("search_glibc", opened_by_glibc("sys"));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
