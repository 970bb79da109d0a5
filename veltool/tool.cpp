#include "veltool/tool.h"

#include <getopt.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <iterator>

#include "veltool/text.h"

namespace vel::tool {

namespace {

constexpr int kFirstOption = 1000;  // what getopt answers for an option, beyond any letter

std::string letters_of(std::span<const Option> options) {
    std::string letters = ":";  // a missing value is told from a wrong option
    for (const Option& option : options) {
        if (option.letter == 0) continue;
        letters += option.letter;
        if (option.takes_value) letters += ':';
    }
    return letters;
}

std::vector<option> long_options(std::span<const Option> options) {
    std::vector<option> result;
    int number = kFirstOption;
    for (const Option& row : options) {
        const int value = row.takes_value ? required_argument : no_argument;
        result.push_back({row.name, value, nullptr, number++});
    }
    result.push_back({});
    return result;
}

const Option& option_of(int answer, std::span<const Option> options) {
    if (answer >= kFirstOption) return options[static_cast<size_t>(answer - kFirstOption)];
    return *std::ranges::find(options, static_cast<char>(answer), &Option::letter);
}

// What getopt has just complained of: a letter, or else a whole word.
std::string offending_word(std::span<char*> words) {
    if (optopt > 0 && optopt < kFirstOption) return {'-', static_cast<char>(optopt)};
    return words[static_cast<size_t>(optind - 1)];
}

}  // namespace

CommandLine::CommandLine(std::span<char*> words, std::span<const Option> options) {
    const std::string letters = letters_of(options);
    const std::vector<option> long_ones = long_options(options);
    const int count = static_cast<int>(words.size());
    opterr = 0;
    optind = 0;
    for (;;) {
        const int answer =
            getopt_long(count, words.data(), letters.c_str(), long_ones.data(), nullptr);
        if (answer == -1) break;
        if (answer == ':') throw UsageError("a value is missing: " + offending_word(words));
        if (answer == '?') throw UsageError("no such option: " + offending_word(words));
        values_.emplace(option_of(answer, options).name, optarg == nullptr ? "" : optarg);
    }
    operands_.assign(words.begin() + optind, words.end());
}

std::string CommandLine::value(std::string_view option) const {
    const auto [begin, end] = values_.equal_range(option);
    return begin == end ? "" : std::prev(end)->second;
}

std::vector<std::string> CommandLine::values(std::string_view option) const {
    const auto [begin, end] = values_.equal_range(option);
    std::vector<std::string> result;
    for (auto at = begin; at != end; ++at) result.push_back(at->second);
    return result;
}

void complain(const std::string& message) { std::cerr << "veltool: " << shown(message) << '\n'; }

ExitStatus attempt(const std::string& name, const std::function<ExitStatus()>& step) {
    try {
        return step();
    } catch (const Failure& failure) {
        const std::string what = failure.what();
        complain(what.starts_with(name + ':') ? what : name + ": " + what);
        return kFinding;
    }
}

void call_on_stop_signals(void (*call)(int)) {
    struct sigaction action {};
    action.sa_handler = call;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int number : {SIGINT, SIGTERM}) {
        struct sigaction before {};
        sigaction(number, nullptr, &before);
        if (before.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
    }
}

}  // namespace vel::tool
