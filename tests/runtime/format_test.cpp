#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>
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

// Width and precision, as we write them and as they do.
struct Shape {
    const char *ours, *theirs;
    std::vector<int> stars = {};
};
static const std::vector<Shape> kShapes = {{"", ""},
                                           {"1", "1"},
                                           {"21", "21"},
                                           {"*", "*", {-21}},
                                           {".", ""},
                                           {".1", ".1"},
                                           {"12.9", "12.9"},
                                           {".*", ".*", {0}},
                                           {"9.*", "9.*", {0}},
                                           {"*.2", "*.2", {5}},
                                           {"*.*", "*.*", {21, -1}}};

template <class Value>
static std::string print(auto printer, const std::string& format, const std::vector<int>& stars,
                         Value value) {
    if (stars.empty()) return printer(format, value);
    return stars.size() == 1 ? printer(format, stars[0], value)
                             : printer(format, stars[0], stars[1], value);
}

// Every subset of the flags with every shape, for some conversions of one argument type.
template <class Value>
static void compare(const std::string& flags, const std::string& length, const std::string& twin,
                    const std::string& letters, const std::vector<Value>& values) {
    for (unsigned subset = 0; subset < 1U << flags.size(); ++subset) {
        std::string begin = "%";
        for (size_t i = 0; i < flags.size(); ++i) {
            if (subset >> i & 1) begin += flags[i];
        }
        for (const char letter : letters) {
            for (const Shape& shape : kShapes) {
                const std::string format = begin + shape.ours + length + letter;
                const std::string standard = begin + shape.theirs + twin + letter;
                for (size_t i = 0; i < values.size() && !testing::Test::HasFailure(); ++i) {
                    EXPECT_EQ(print(ours, format, shape.stars, values[i]),
                              print(theirs, standard, shape.stars, values[i]))
                        << format << " of value " << i;
                }
            }
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
    const std::vector<Value> values = {
        0, 7, -1, 1234567, std::numeric_limits<Value>::min(), std::numeric_limits<Value>::max()};
    compare("-+ 0'", length, twin, "di", values);
    compare("-0'", length, twin, "u", values);
    compare("-#0", length, twin, "oxX", values);
}

TEST_P(Format, IntegersAreThoseOfPrintf) {
    for (const char* length : {"hh", "h", ""}) compare_integers<int>(length, length);
    for (const char* length : {"l", "ll", "j", "t", "z"}) compare_integers<long>(length, length);
    compare_integers<long>("q", "ll");
    compare_integers<long>("I64", "ll");
    compare_integers<long>("Z", "z");
}

template <class Value>
static void compare_reals(const std::string& length) {
    using Limits = std::numeric_limits<Value>;
    const Value third = Value{1} / 3, ulp = Limits::epsilon(), nan = Limits::quiet_NaN();
    const std::vector<Value> usual = {0,
                                      -0.0,
                                      1,
                                      -1.5,
                                      0.5,
                                      2.5,
                                      0.25,
                                      0.125,
                                      -2.675,
                                      third,
                                      9.9999999995,
                                      1 + ulp,
                                      1 - ulp,
                                      1234567.875,
                                      999999.5,
                                      1e-5,
                                      1e10,
                                      -123456789012345678.0,
                                      1e18,
                                      18446744073709551615.0,
                                      Limits::infinity(),
                                      -Limits::infinity(),
                                      nan,
                                      std::copysign(nan, Value{-1})};
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
        const auto bits = static_cast<int64_t>(random() >> (random() % 64));  // few and many
        const auto number =
            std::ldexp(static_cast<double>(bits), -static_cast<int>(random() % 120));
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
    const char* const
        kFormats[] = {"%.0f",          "%.0d",  "%5.",     "%",        "%1$",          "%.",
                      "abc%",          "%5%",   "%m",      "%I32d",    "%hhhd",        "%0$d",
                      "%*5d",          "%d%2$", "%65536d", "%.65536d", "%4294967297d", "%4097$d",
                      "%4294967297$d", "%2$d"};  // nothing says what the first argument is
    for (const char* format : kFormats) EXPECT_EQ(ours(format, 5, 3, 7), kFails) << format;
    for (const int width : {65536, INT_MAX, -65536, INT_MIN}) {
        EXPECT_EQ(ours("%*d", width, 1), kFails);
    }
    EXPECT_EQ(ours("%.*f", 65536, 1.0), kFails);
}

TEST(FormatRules, AFormatPrints) {
    const std::pair<const char*, std::string> kRows[] = {
        {"100%%", "100%"},
        {"%*.*d", "  007"},
        {"%3$*1$.*2$d", "  007"},
        {"%2$d %1$d", "3 5"},
        {"%05.d", "00005"},
        {"%2$d %d", "3 5"},
        {"%65535d", std::string(65534, ' ') + "5"},
        {"%.65535d", std::string(65534, '0') + "5"}};
    for (const auto& [format, expected] : kRows)
        EXPECT_EQ(ours(format, 5, 3, 7), expected) << format;
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

TEST(FormatRules, AnArrayPrintsWhatIsOfTheFamily) {
    const long double quarter = 0.25L;
    const CxPrintfArg kUnset{CX_ARG_UNSET, {}}, kMinus{CX_ARG_INT32, {.integer = -1}};
    const CxPrintfArg kLarge{CX_ARG_INT64, {.integer = 1LL << 40}};
    const CxPrintfArg kLetter{CX_ARG_UINT32, {.natural = 'x'}};
    const CxPrintfArg kMost{CX_ARG_UINT64, {.natural = UINT64_MAX}};
    const CxPrintfArg kReal{CX_ARG_DOUBLE, {.real = 0.5}};
    const CxPrintfArg kLong{CX_ARG_LONG_DOUBLE, {.address = &quarter}};
    const CxPrintfArg kText{CX_ARG_TEXT, {.address = "text"}};
    const CxPrintfArg kWide{CX_ARG_WIDE_TEXT, {.address = L"wide"}};
    const CxPrintfArg kPointer{CX_ARG_POINTER, {.address = nullptr}};
    using Arguments = std::vector<CxPrintfArg>;
    const std::tuple<const char*, Arguments, std::string> kRows[] = {
        {"%s%ls%p%f<%9d>", {kMinus, kText, kText, kMinus, kText}, "<>"},
        {"%s%ls%c%p%u%c", {kWide, kPointer, kReal, kLetter, kPointer, kWide}, ""},
        {"%s %S %p %c %lc", {kText, kWide, kPointer, kLetter, kLetter}, "text wide (nil) x x"},
        {"%f %Lf %.1Le", {kLong, kReal, kLong}, "0.250000 0.500000 2.5e-01"},
        {"%d %ld %u %lx", {kMinus, kMinus, kMinus, kMinus}, "-1 -1 4294967295 ffffffffffffffff"},
        {"%d %hd %hhu %x", {kLarge, kLarge, kMinus, kLarge}, "1099511627776 0 255 10000000000"},
        {"%u %hhx", {kMost, kMost}, "18446744073709551615 ff"},
        {"%hhn%n%2$s|", {kText, kText}, "text|"},
        {"<%5s%d%*d>", {kUnset, kUnset, kUnset, kMinus}, "<>"},
        {"%*d", {kMost, kMinus}, kFails},
        {"%d%d", {kMinus}, kFails},
        {"%2$s", {kText}, kFails},
        {"%n", {}, kFails},
        {"%4096$d", Arguments(4096, kMinus), "-1"},
        {"%4097$d", Arguments(4097, kMinus), kFails}};
    for (auto [format, arguments, expected] : kRows) {
        arguments.push_back({CX_ARG_END, {}});
        const auto print = [&](CxStringBuff* buff) {
            return CxStringBuffPrintfA(nullptr, buff, format, arguments.data());
        };
        EXPECT_EQ(appended(print), expected) << format;
    }
}
