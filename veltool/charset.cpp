#include "veltool/charset.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace vel::tool {

namespace {

const iconv_t kNone = reinterpret_cast<iconv_t>(-1);

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) { return c >= 'A' && c <= 'Z'; }

bool known_to_iconv(const std::string& name) {
    const iconv_t descriptor = iconv_open(kUnicodeCharset, name.c_str());
    if (descriptor == kNone) return false;
    iconv_close(descriptor);
    return true;
}

std::vector<std::string> all_charsets() {
    struct Close {
        void operator()(FILE* pipe) const { pclose(pipe); }
    };
    const std::unique_ptr<FILE, Close> pipe(popen("LC_ALL=C iconv -l 2>/dev/null", "r"));
    std::string listing;
    if (!pipe) return {};
    std::array<char, 4096> piece;
    while (const size_t size = fread(piece.data(), 1, piece.size(), pipe.get())) {
        listing.append(piece.data(), size);
    }
    std::vector<std::string> names;
    std::istringstream words(listing);
    for (std::string word; words >> word;) {
        word.resize(word.find_last_not_of("/,") + 1);
        names.push_back(word);
    }
    return names;
}

// The digits at the end, with letters and at most a hyphen before them; empty for another name.
std::string page_number(const std::string& name) {
    const size_t digits = static_cast<size_t>(
        std::find_if_not(name.rbegin(), name.rend(), is_digit).base() - name.begin());
    const size_t letters = digits > 0 && name[digits - 1] == '-' ? digits - 1 : digits;
    const bool all_letters = std::all_of(name.begin(), name.begin() + std::ptrdiff_t(letters),
                                         [](char c) { return is_letter(c); });
    return letters > 0 && all_letters ? name.substr(digits) : "";
}

}  // namespace

std::string find_charset(const std::string& name) {
    // An empty name is the locale's charset to iconv, and "/" begins flags that change a
    // conversion.
    if (name.empty() || name.find_first_of("/,") != name.npos) return "";
    if (known_to_iconv(name)) return name;
    const std::string number = page_number(name);
    if (number.empty() || !name.starts_with("CP")) return "";
    for (const std::string& candidate : all_charsets()) {
        if (page_number(candidate) == number && known_to_iconv(candidate)) return candidate;
    }
    return "";
}

CharsetConverter::CharsetConverter(const std::string& to, const std::string& from)
    : descriptor_(iconv_open(to.c_str(), from.c_str())) {
    if (descriptor_ == kNone)
        throw std::runtime_error("iconv cannot convert " + from + " to " + to);
}

CharsetConverter::Outcome CharsetConverter::convert(std::string_view text, std::string& out) {
    iconv(descriptor_, nullptr, nullptr, nullptr, nullptr);
    out.resize(text.size() * 8 + 16);
    char* in = const_cast<char*>(text.data());  // iconv does not write there
    size_t in_left = text.size();
    char* to = out.data();
    size_t to_left = out.size();
    if (iconv(descriptor_, &in, &in_left, &to, &to_left) == static_cast<size_t>(-1)) {
        return errno == EINVAL ? Outcome::kIncomplete : Outcome::kInvalid;
    }
    if (iconv(descriptor_, nullptr, nullptr, &to, &to_left) == static_cast<size_t>(-1)) {
        return Outcome::kInvalid;
    }
    out.resize(out.size() - to_left);
    return Outcome::kConverted;
}

}  // namespace vel::tool
