#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "runtime/cx_printf.h"
#include "runtime/owned.h"

using namespace std::string_literals;

static const std::string kFails = "it fails";

// What a call appends to a buffer.
template <class Print>
static std::string appended(Print print) {
    vel::runtime::StringBuff buff;
    CxStringBuffAppendStr(&buff, "kept");
    const bool printed = print(&buff) == 1;
    const std::string all(buff.text, static_cast<size_t>(buff.length) + 1);
    EXPECT_TRUE(printed ? all.starts_with("kept") && all.back() == '\0' : all == "kept\0"s);
    return printed ? all.substr(4, all.size() - 5) : kFails;
}

static const auto ours = [](const std::string& format, auto... arguments) {
    return appended([&](CxStringBuff* buff) {
        return CxStringBuffPrintf(nullptr, buff, format.c_str(), arguments...);
    });
};

static const auto theirs = [](const std::string& format, auto... arguments) {
    const int length = snprintf(nullptr, 0, format.c_str(), arguments...);
    if (length < 0) return kFails;
    std::string text(static_cast<size_t>(length), '\0');
    snprintf(text.data(), text.size() + 1, format.c_str(), arguments...);
    return text;
};

template <class Value>
static std::string print(auto printer, const std::string& format, Value value) {
    const auto stars = std::count(format.begin(), format.end(), '*');
    if (stars == 2) return printer(format, 21, -1, value);
    if (stars == 1) return printer(format, format.find(".*") == std::string::npos ? -21 : 0, value);
    return printer(format, value);
}

// Every subset of the flags with some widths and precisions.
template <class Value>
static void compare(const std::string& flags, const std::string& length, const std::string& twin,
                    const std::string& letters, const std::vector<Value>& values) {
    for (size_t i = 0; i < values.size() * letters.size() << flags.size(); ++i) {
        const Value value = values[i % values.size()];
        const char letter = letters[i / values.size() % letters.size()];
        std::string begin = "%";
        for (size_t bit = 0, set = i / values.size() / letters.size(); set != 0; ++bit, set /= 2) {
            if (set % 2 == 1) begin += flags[bit];
        }
        for (const std::string shape :
             {"", "1", "21", "*", ".", ".1", "12.9", ".*", "9.*", "*.2", "*.*"}) {
            const std::string format = begin + shape + length + letter;
            // A lone "." is no precision here, and 0 there.
            const std::string standard = begin + (shape == "." ? "" : shape) + twin + letter;
            ASSERT_EQ(print(ours, format, value), print(theirs, standard, value)) << format;
        }
    }
}

class Format : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        setenv("LOCPATH", VEL_LOCALE_DIR, 1);
        ASSERT_NE(setlocale(LC_ALL, GetParam()), nullptr) << GetParam();
    }
    void TearDown() override { setlocale(LC_ALL, "C"); }
};
INSTANTIATE_TEST_SUITE_P(Locales, Format, testing::Values("C", "fr_FR.UTF-8", "en_IN.UTF-8"));

template <class Value>
static void compare_integers(const std::string& length, const std::string& twin) {
    using Limits = std::numeric_limits<Value>;
    const std::vector<Value> values = {0, 7, -1, 1234567, Limits::min(), Limits::max()};
    compare("-+ 0'", length, twin, "di", values);
    compare("-0'", length, twin, "u", values);
    compare("-#0", length, twin, "oxX", values);
}

TEST_P(Format, IntegersAreThoseOfPrintf) {
    for (const char* length : {"hh", "h", ""}) compare_integers<int>(length, length);
    for (const char* length : {"l", "ll", "j", "t", "z"}) compare_integers<long>(length, length);
    for (const char* length : {"q", "I64"}) compare_integers<long>(length, "ll");
    compare_integers<long>("Z", "z");
}

template <class Value>
static void compare_reals(const std::string& length) {
    using Limits = std::numeric_limits<Value>;
    const Value inf = Limits::infinity(), nan = Limits::quiet_NaN(), above = 1 + Limits::epsilon();
    const std::vector<Value> usual = {0,     -0.0,         1,     -1.5,     0.5,       2.5,
                                      0.125, Value{1} / 3, above, 999999.5, 12345.675, 1e-5,
                                      1e18,  inf,          -inf,  -nan};
    compare("-+ #0", length, length, "aAeE", usual);
    compare("-+ #0'", length, length, "fFgG", usual);
    // These have thousands of digits, so not with every flag.
    const std::vector<Value> extreme = {Limits::max(), Limits::min(), Limits::denorm_min()};
    compare("0'", length, length, "aefg", extreme);
}

TEST_P(Format, RealNumbersAreThoseOfPrintf) {
    compare_reals<double>("");
    compare_reals<long double>("L");
    EXPECT_EQ(ours("%lf %hg", 0.5, 0.25), ours("%f %g", 0.5, 0.25));
}

TEST_P(Format, AFixedPointIsExact) {
    std::mt19937_64 random;
    for (int i = 0; i < 30000 && !HasFailure(); ++i) {
        const auto bits = static_cast<double>(random() >> (random() % 64));  // few and many
        const double number = std::ldexp(bits, -static_cast<int>(random() % 120));
        const auto precision = static_cast<int>(random() % 22);
        EXPECT_EQ(ours("%.*f", precision, number), theirs("%.*f", precision, number));
    }
}

TEST_P(Format, TextAndPointersAreThoseOfPrintf) {
    compare<const char*>("-", "", "", "s", {"", "a", "é€", "a longer text than that", nullptr});
    compare<const wchar_t*>("-", "l", "l", "s", {L"", L"a", L"é€\U0001F600", L"ab\xD800", nullptr});
    compare<int>("-", "", "", "c", {'a', 0, 0xE9, -1});
    compare<wint_t>("-", "l", "l", "c", {L'a', 0, L'é', L'€', 0x1F600, 0xD800, WEOF});
    int here = 0;
    compare<const void*>("-0", "", "", "p", {nullptr, &here, reinterpret_cast<void*>(-1L)});
    EXPECT_EQ(ours("%C%S", wint_t{L'a'}, L"bc"), "abc");

    // A precision is all that ends an array.
    const std::vector<char> text = {'a', 'b', 'c'};
    EXPECT_EQ(ours("%.3s|%.1s", text.data(), text.data()), "abc|a");
    const std::vector<wchar_t> wide = {L'x', L'y'};
    EXPECT_EQ(ours("%.2ls|%.*S", wide.data(), 1, wide.data()), "xy|x");
}

TEST(FormatRules, AFormatFails) {
    std::istringstream formats(
        "%.0f %.0d %5. % %1$ %. abc% %5% %m %I32d %hhhd %0$d %*5d %d%2$ %65536d %.65536d "
        "%4294967297d %4097$d %4294967297$d "
        "%2$d");  // nothing says what the first argument is
    for (std::string format; formats >> format;) EXPECT_EQ(ours(format, 5, 3, 7), kFails) << format;
    for (const int width : {65536, INT_MAX, INT_MIN}) EXPECT_EQ(ours("%*d", width, 1), kFails);
    EXPECT_EQ(ours("%.*f", 65536, 1.0), kFails);
}

TEST(FormatRules, AFormatPrints) {
    EXPECT_EQ(ours("100%% %*.*d %05.d", 5, 3, 7, 8), "100%   007 00008");
    EXPECT_EQ(ours("%3$*1$.*2$d %2$d %d", 5, 3, 7), "  007 3 5");
    EXPECT_EQ(ours("%65535d", 5), std::string(65534, ' ') + "5");
    EXPECT_EQ(ours("%.65535d", 5), std::string(65534, '0') + "5");
    EXPECT_EQ(ours("%.f %.s", 2.5, "text"), "2.500000 text");
    EXPECT_EQ(ours("%2$s %1$s", "a", "b"), "b a");
    EXPECT_EQ(ours("%*d", 65535, 1).size(), 65535U);
    EXPECT_EQ(ours("%.*f", -65536, 1.0), "1.000000");
    int64_t stored = 7;
    for (const char* format : {"a%nb", "a%hhnb", "a%hnb", "a%lnb", "a%llnb", "a%5jnb"}) {
        EXPECT_EQ(ours(format, &stored), "ab") << format;
    }
    EXPECT_EQ(stored, 7) << "a count is not stored";
}

TEST(FormatRules, ABufferPrintsItsOwnText) {
    vel::runtime::StringBuff buff;
    std::string expected = "text";
    CxStringBuffAppendStr(&buff, expected.c_str());
    for (int i = 0; i < 12; ++i) {  // it moves meanwhile
        EXPECT_EQ(CxStringBuffPrintf(nullptr, &buff, "%s<%s>", buff.text + 1, buff.text), 1);
        expected += expected.substr(1) + "<" + expected + ">";
        ASSERT_TRUE(expected == buff.text);
    }
}

TEST(FormatRules, AnArrayPrintsWhatIsOfTheFamily) {
    const long double quarter = 0.25L;
    const CxPrintfArg unset{CX_ARG_UNSET, {}}, minus{CX_ARG_INT32, {.integer = -1}},
        large{CX_ARG_INT64, {.integer = 1LL << 40}}, letter{CX_ARG_UINT32, {.natural = 'x'}},
        most{CX_ARG_UINT64, {.natural = UINT64_MAX}}, real{CX_ARG_DOUBLE, {.real = 0.5}},
        lreal{CX_ARG_LONG_DOUBLE, {.address = &quarter}},
        null{CX_ARG_POINTER, {.address = nullptr}}, text{CX_ARG_TEXT, {.address = "text"}},
        wide{CX_ARG_WIDE_TEXT, {.address = L"wide"}};
    using Arguments = std::vector<CxPrintfArg>;
    const struct {
        const char* format;
        Arguments arguments;
        std::string expected;
    } kRows[] = {
        {"%s%ls%p%f<%9d>", {minus, text, text, minus, text}, "<>"},
        {"%s%ls%c%p%u%c", {wide, null, real, letter, null, wide}, ""},
        {"%s %S %p %c %lc", {text, wide, null, letter, letter}, "text wide (nil) x x"},
        {"%f %Lf %.1Le", {lreal, real, lreal}, "0.250000 0.500000 2.5e-01"},
        {"%d %ld %u %lx", {minus, minus, minus, minus}, "-1 -1 4294967295 ffffffffffffffff"},
        {"%d %hd %hhu %x", {large, large, minus, large}, "1099511627776 0 255 10000000000"},
        {"%u %hhx", {most, most}, "18446744073709551615 ff"},
        {"%hhn%n%2$s|", {text, text}, "text|"},
        {"<%5s%d%*d>", {unset, unset, unset, minus}, "<>"},
        {"%*d", {most, minus}, kFails},
        {"%4096$d", Arguments(4096, minus), "-1"},
        {"%4097$d", Arguments(4097, minus), kFails}};
    for (auto row : kRows) {
        row.arguments.push_back({CX_ARG_END, {}});
        const auto print = [&](CxStringBuff* buff) {
            return CxStringBuffPrintfA(nullptr, buff, row.format, row.arguments.data());
        };
        EXPECT_EQ(appended(print), row.expected) << row.format;
    }
}
