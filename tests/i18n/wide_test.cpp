// Wide texts, held against the C library's on the same texts, and multibyte text.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <cwchar>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "i18n/code_set.h"
#include "i18n/mab.h"

namespace {

using Units = std::basic_string<uint16_t>;

Units narrow(const std::wstring& text) { return {text.begin(), text.end()}; }

template <class Unit>
ptrdiff_t offset(const Unit* found, const Unit* text) {
    return found ? found - text : -1;
}

int sign(int order) { return (order > 0) - (order < 0); }

void compare_calls(const std::wstring& first, const std::wstring& second, size_t n) {
    const Units one = narrow(first), two = narrow(second);
    const wchar_t *w = first.c_str(), *wset = second.c_str();
    const uint16_t *u = one.c_str(), *uset = two.c_str();
    EXPECT_EQ(mab_wcsnlen(u, n), wcsnlen(w, n));
    EXPECT_EQ(mab_wcsspn(u, uset), wcsspn(w, wset));
    EXPECT_EQ(mab_wcscspn(u, uset), wcscspn(w, wset));
    EXPECT_EQ(offset(mab_wcschr(u, *uset), u), offset(wcschr(w, *wset), w));
    EXPECT_EQ(offset(mab_wcsrchr(u, *uset), u), offset(wcsrchr(w, *wset), w));
    EXPECT_EQ(offset(mab_wcspbrk(u, uset), u), offset(wcspbrk(w, wset), w));
    EXPECT_EQ(offset(mab_wcsstr(u, uset), u), offset(wcsstr(w, wset), w));
    EXPECT_EQ(sign(mab_wcscmp(u, uset)), sign(wcscmp(w, wset)));
    EXPECT_EQ(sign(mab_wcsncmp(u, uset, n)), sign(wcsncmp(w, wset, n)));

    std::wstring wide(99, L'#');
    Units own = narrow(wide);
    wchar_t *wto = wide.data(), *wfrom = wto, *wrest = nullptr;
    uint16_t *uto = own.data(), *ufrom = uto, *urest = nullptr;
    wcscat(wcsncat(wcscpy(wto, w), wset, n), w);
    mab_wcscat(mab_wcsncat(mab_wcscpy(uto, u), uset, n), u);
    EXPECT_EQ(offset(mab_wcsncpy(uto + 80, uset, n), uto), offset(wcsncpy(wto + 80, wset, n), wto));
    for (int call = 0; call < 4; ++call, wfrom = nullptr, ufrom = nullptr) {
        const uint16_t* token = mab_wcstok(ufrom, uset, &urest);
        EXPECT_EQ(offset(token, uto), offset(wcstok(wfrom, wset, &wrest), wto));
    }
    EXPECT_EQ(own, narrow(wide));
}

TEST(WideText, IsTreatedAsTheCLibraryDoes) {
    std::mt19937 random(7);
    const auto any_text = [&random](size_t length) {
        std::wstring text(length, L'a');  // the last unit is negative as a signed number
        for (wchar_t& unit : text) unit = L"aaaaab\xFFFE"[random() % 7];
        return text;
    };
    for (int round = 0; round < 30000; ++round) {
        const std::wstring text = any_text(random() % 30), other = any_text(random() % 5);
        const std::wstring again = other + other + other.substr(other.size() / 2);
        compare_calls(text, round % 2 ? other : again, random() % 16);
        compare_calls(other, any_text(random() % 5), random() % 7);
    }
    // What a plain search would not end within the hour.
    const Units half(1'000'000, 'a'), b = {'b'}, text = b + Units{'c'} + half + half;
    for (const Units& part : {half + b, b + half, half + b + half}) {
        const Units found = text + part;
        EXPECT_EQ(mab_wcsstr(text.c_str(), part.c_str()), nullptr);
        EXPECT_EQ(mab_wcsstr(found.c_str(), part.c_str()), found.c_str() + text.size());
    }
    uint16_t* copy = mab_wcsdup(text.c_str());
    EXPECT_EQ(mab_wcscmp(copy, text.c_str()), 0);
    mab_free(copy);
}

TEST(WideText, TakesNullForNoText) {
    uint16_t target[] = {'x', 'y', 0}, *rest = nullptr;
    const uint16_t text[] = {'a', 0}, empty[] = {0};
    for (const uint16_t* answer :
         {mab_wcschr(nullptr, 0), mab_wcsrchr(nullptr, 0), mab_wcsstr(nullptr, empty),
          mab_wcspbrk(nullptr, text), mab_wcsdup(nullptr), mab_wcstok(nullptr, text, &rest),
          mab_wcstok(target, text, nullptr), mab_wcscpy(nullptr, text),
          mab_wcsncpy(nullptr, text, 1), mab_wcscat(nullptr, text)}) {
        EXPECT_EQ(answer, nullptr);
    }
    EXPECT_EQ(mab_wcslen(nullptr) + mab_wcsspn(nullptr, text) + mab_wcsspn(text, nullptr), 0U);
    EXPECT_EQ(mab_wcsstr(text, nullptr), text);
    EXPECT_EQ(mab_wcscat(target, nullptr)[0], 'x');
    EXPECT_EQ(mab_wcscpy(target, nullptr)[0], 0);
    EXPECT_TRUE(mab_wcscmp(nullptr, empty) < 0 && mab_wcsncmp(empty, nullptr, 1) > 0);
}

// The parts that stand between bars.
template <class Text>
std::vector<Text> split(const Text& listed) {
    std::vector<Text> parts(1);
    for (const auto unit : listed) {
        if (unit == '|') parts.emplace_back();
        if (unit != '|') parts.back() += unit;
    }
    return parts;
}

// As many whole parts as fit.
template <class Text>
Text joined(const std::vector<Text>& parts, size_t room = SIZE_MAX) {
    Text text;
    for (const Text& part : parts) {
        if (text.size() + part.size() > room) break;
        text += part;
    }
    return text;
}

// What need not be looked at, as the output is full before, does not end with a zero.
template <class Out, class In, class Call>
void expect_converted(Call call, uc_ch_t* cs, const In& text, const std::vector<Out>& parts) {
    const size_t whole = joined(parts).size();
    const std::vector<typename In::value_type> not_ended(text.begin(), text.end());
    EXPECT_EQ(call(cs, nullptr, text.c_str(), 0), whole);
    for (size_t n = 0; n < whole + 3; ++n) {
        Out made(whole + 3, '#'), wanted = joined(parts, n);
        ASSERT_EQ(call(cs, made.data(), n < whole ? not_ended.data() : text.c_str(), n),
                  wanted.size());
        if (n > whole) wanted += typename Out::value_type{};
        wanted.resize(made.size(), '#');
        ASSERT_TRUE(made == wanted) << n;
    }
}

void expect_walk(uc_ch_t* cs, const std::vector<std::string>& bytes,
                 const std::vector<Units>& units) {
    const std::string text = joined(bytes);
    const char* at = text.c_str();
    for (size_t i = 0; i < bytes.size(); at += bytes[i++].size()) {
        const int length = units[i].size() == 1 ? static_cast<int>(bytes[i].size()) : -1;
        const int found = units[i][0] == 0 ? 0 : length;  // the NUL, with what puts the state back
        uint16_t unit = units[i][0];
        char put[MAB_MB_LEN_MAX] = "";
        EXPECT_EQ(mab_mblen(cs, at, bytes[i].size() - 1), -1);
        EXPECT_EQ(mab_mbtowc(cs, nullptr, at, 99), found);
        ASSERT_EQ(mab_mbtowc(cs, &unit, at, 99), found);
        EXPECT_EQ(unit, units[i][0]);
        ASSERT_EQ(mab_wctomb(cs, put, unit), length);
        EXPECT_EQ(std::string(put, bytes[i].size()) == bytes[i], length > 0);
    }
}

TEST(Multibyte, IsConvertedAndRefusedByTheRulesOfTheCodeSet) {
    const struct {
        const char* name;
        std::string bytes;  // characters that may follow each other
        std::wstring units;
        std::string closing;  // of a text that ends with the first of them
        std::string no_bytes;
        std::wstring no_units;
    } rows[] = {
        {"UTF-8", "\xE3\x81\x82|\xC3\xA9|?|\xF0\x9F\x98\x80", L"\x3042|\xE9|?|\xD83D\xDE00", "",
         "\x80|\xC1\xBF|\xE3\x81(|\xE0\x9F\xBF|\xED\xA0\x80|\xF0\x8F\xBF\xBF|\xF4\x90\x80\x80",
         L"\xD83D|\xDE00\xD83D|\xD83D-"},
        {"CP943", "\x82\xA0|?|\xB1", L"\x3042|?|\xFF71", "", "\x82|\x82 ", L"\xE01|\xD83D\xDE00"},
        {"CP939", "\x0E\x44\x81|\x43\x81|\x0F\x6F", L"\x3042|\x30A2|?", "\x0F",
         "\x0E\x44|\x0E\xFE\xFE", L"\xE01"},
        {"GB18030", "\xA4\xA2|?", L"\x3042|?", "", "\x82 |\x90\x30\x81@", L"\xD83D"},
    };
    setenv("MABDIR", VEL_CODESET_DIR, 1);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        uc_ch_t* cs = mab_cs_new(row.name);
        ASSERT_TRUE(cs);
        auto bytes = split(row.bytes);
        auto units = split(narrow(row.units));
        for (size_t i = 0; i < 600 || bytes.back() != bytes[0]; ++i) {
            bytes.push_back(std::string(bytes[i]));
            units.push_back(Units(units[i]));
        }
        bytes.push_back(row.closing);
        cs->from_state = cs->to_state = 1;  // in the middle of something else
        cs->subs_count = 7;
        expect_converted(mab_mbstowcs, cs, joined(bytes), units);
        expect_converted(mab_wcstombs, cs, joined(units), bytes);
        EXPECT_EQ(cs->from_state + cs->to_state, 2);
        EXPECT_EQ(mab_mblen(cs, nullptr, 0) != 0, !row.closing.empty());
        EXPECT_EQ(mab_wctomb(cs, nullptr, 0) != 0, !row.closing.empty());
        bytes.back() += '\0';
        units.push_back({0});
        expect_walk(cs, bytes, units);
        char put[9];
        uint16_t out[9];
        mab_mbtowc(cs, out, bytes[0].c_str(), 9);
        EXPECT_EQ(mab_mbtowc(cs, out, "", 1), 0);  // puts the state back, without a shift, too
        for (const std::string& refused : split(row.no_bytes)) {
            EXPECT_EQ(mab_mbtowc(cs, out, refused.c_str(), 9), -1) << refused;
            EXPECT_EQ(mab_mbstowcs(cs, out, refused.c_str(), 9), SIZE_MAX) << refused;
        }
        EXPECT_EQ(std::exchange(errno, 0), EILSEQ);
        for (const Units& refused : split(narrow(row.no_units))) {
            EXPECT_EQ(mab_wctomb(cs, put, refused[0]), -1);
            EXPECT_EQ(mab_wcstombs(cs, put, refused.c_str(), 9), SIZE_MAX);
        }
        EXPECT_EQ(cs->from_state + cs->to_state + cs->subs_count, 7);
        mab_cs_free(cs);
    }
}

TEST(Time, IsWrittenAndReadUnlessSomethingIsNull) {
    struct tm time = {};
    char text[] = "1999";
    EXPECT_EQ(mab_strptime(text, "%Y", &time), text + 4);
    EXPECT_EQ(mab_strftime(text, sizeof text, "%y", &time), 2U);
    EXPECT_EQ(mab_strftime(nullptr, 9, "%Y", &time) + mab_strftime(text, 5, nullptr, &time), 0U);
    EXPECT_EQ(mab_strptime(nullptr, "", &time), nullptr);
}

}  // namespace
