// Opens one code set in a fresh process and prints the nanoseconds that it took, with the
// conversion of one character so that nothing is merely put off: open_code_set mab|iconv|ICU NAME.
// iconv wants its own name for some, which `open_code_set name NAME` prints.
#include <iconv.h>
#include <time.h>
#include <unicode/ucnv.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "i18n/mab.h"
#include "veltool/charset.h"

namespace {

char in[] = "A", out[16];

bool open_mab(const char* name) {
    uc_ch_t* const cs = mab_cs_new(name);
    return cs && mab_to_utf8(cs, in, 1, out, sizeof out) > 0;
}

bool open_iconv(const char* name) {
    char *text = in, *end = out;
    size_t length = 1, room = sizeof out;
    const iconv_t descriptor = iconv_open("UTF-8", name);
    return descriptor != iconv_t(-1) && iconv(descriptor, &text, &length, &end, &room) == 0;
}

bool open_icu(const char* name) {
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open(name, &error);
    ucnv_toAlgorithmic(UCNV_UTF8, converter, out, sizeof out, in, 1, &error);
    return U_SUCCESS(error);
}

long nanoseconds() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000 + now.tv_nsec;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const std::string_view who = argv[1];
    if (who == "name") return puts(vel::tool::find_charset(argv[2]).c_str()) < 0;
    const auto open = who == "mab" ? open_mab : who == "iconv" ? open_iconv : open_icu;
    setenv("MABDIR", VEL_CODESET_DIR, 1);
    const long before = nanoseconds();
    const bool opened = open(argv[2]);
    printf("%ld\n", nanoseconds() - before);
    return opened ? 0 : 1;
}
