// Formats are parsed here, each step of the grammar by a function on a cursor.
#include <algorithm>
#include <climits>
#include <string_view>

#include "runtime/format.h"
#include "runtime/status.h"

namespace vel::runtime {
namespace {

struct Cursor {
    const char* at;  // never moved past the zero
    FormatList& list;
    ArgList& args;
};

// A number that starts with 1 to 9, cut to what no limit allows; -1: there is none. A leading zero
// starts no number, so that ".0" is no precision: formats have always been read so.
int32_t take_number(const char*& at) {
    constexpr int32_t kTooLarge = 1'000'000;
    if (*at < '1' || *at > '9') return -1;
    int32_t number = 0;
    for (; *at >= '0' && *at <= '9'; ++at) number = std::min(10 * number + (*at - '0'), kTooLarge);
    return number;
}

// The index of an argument that is named, as by "12$"; -1: none is.
int32_t take_position(Cursor& in) {
    const char* at = in.at;
    const int32_t number = take_number(at);
    if (number < 0 || *at != '$') return -1;
    in.at = at + 1;
    return number - 1;
}

uint8_t flag_of(char c) {
    switch (c) {
        case '-':
            return kLeft;
        case '0':
            return kZero;
        case '+':
            return kPlus;
        case ' ':
            return kBlank;
        case '#':
            return kAlternate;
        case '\'':
            return kGroup;
        default:
            return 0;
    }
}

uint8_t take_flags(Cursor& in) {
    uint8_t flags = 0;
    while (const uint8_t flag = flag_of(*in.at)) {
        flags |= flag;
        ++in.at;
    }
    return flags;
}

// A width or a precision: a number, or "*" for an argument. False: too large.
bool take_measure(Cursor& in, int32_t& number, int32_t& argument) {
    if (*in.at != '*') {
        number = take_number(in.at);
        return number <= kMaxMeasure;
    }
    ++in.at;
    argument = take_position(in);
    if (argument < 0) argument = in.list.next_argument++;
    return true;
}

struct Length {
    std::string_view text;
    LengthCode code;
};
constexpr Length kLengths[] = {
    {"hh", LengthCode::hh}, {"h", LengthCode::h}, {"ll", LengthCode::ll},   {"l", LengthCode::l},
    {"L", LengthCode::L},   {"j", LengthCode::j}, {"I64", LengthCode::I64}, {"q", LengthCode::q},
    {"t", LengthCode::t},   {"z", LengthCode::z}, {"Z", LengthCode::z},
};

LengthCode take_length(Cursor& in) {
    if (conversion_of(*in.at) != nullptr) return LengthCode::none;
    for (const Length& length : kLengths) {
        if (strncmp(in.at, length.text.data(), length.text.size()) == 0) {
            in.at += length.text.size();
            return length.code;
        }
    }
    return LengthCode::none;
}

// The column of a length in the table of conversions.
size_t column_of(LengthCode length) {
    switch (length) {
        case LengthCode::none:
            return 0;
        case LengthCode::h:
            return 1;
        case LengthCode::hh:
            return 2;
        case LengthCode::l:
            return 3;
        case LengthCode::ll:
        case LengthCode::I64:
            return 4;
        case LengthCode::q:
            return 5;
        case LengthCode::j:
            return 6;
        case LengthCode::t:
            return 7;
        case LengthCode::z:
            return 8;
        case LengthCode::L:
            return 9;
    }
    return 0;
}

// Notes what is demanded of an argument; the last demand holds. An errno.
int demand(ArgList& args, int32_t index, ArgKind kind) {
    if (index >= args.count()) {
        if (index >= kMaxArguments) return EINVAL;
        if (!args.reach(index + 1)) return ENOMEM;
    }
    args[index].kind = kind;
    return 0;
}

// What may stand between the position and the letter of a conversion. False: it is not right.
bool take_details(Cursor& in, FormatItem& item) {
    item.field.flags = take_flags(in);
    if (!take_measure(in, item.field.width, item.width_argument)) return false;
    if (*in.at == '.') {
        ++in.at;
        if (!take_measure(in, item.precision, item.precision_argument)) return false;
    }
    item.length = take_length(in);
    return true;
}

// A conversion, from behind its "%". An errno.
int take_conversion(Cursor& in) {
    FormatItem* const item = in.list.items.add();
    if (item == nullptr) return ENOMEM;
    item->argument = take_position(in);
    item->conversion = conversion_of(*in.at);
    item->plain = item->conversion != nullptr;
    if (!item->plain) {
        if (!take_details(in, *item)) return EINVAL;
        item->conversion = conversion_of(*in.at);
        if (item->conversion == nullptr) return EINVAL;
    }
    ++in.at;
    item->letter = item->conversion->letter;
    item->kind = item->conversion->kinds[column_of(item->length)];
    // Only now, so that "%*.*d" reads the width, the precision and the value in this order.
    if (item->argument < 0) item->argument = in.list.next_argument++;
    int error = demand(in.args, item->argument, item->kind);
    for (const int32_t measure : {item->width_argument, item->precision_argument}) {
        if (error == 0 && measure >= 0) error = demand(in.args, measure, ArgKind::int32);
    }
    return error;
}

int take_text(Cursor& in, const char* end) {
    FormatItem* const item = in.list.items.add();
    if (item == nullptr) return ENOMEM;
    item->begin = in.at;
    item->end = end;
    in.at = end;
    return 0;
}

// Where literal text ends. (It is short, so this is quicker than a call.)
const char* end_of_text(const char* at) {
    while (*at != '\0' && *at != '%') ++at;
    return at;
}

int parse(Cursor in) {
    while (*in.at != '\0') {
        int error = 0;
        if (*in.at != '%') {
            error = take_text(in, end_of_text(in.at));
        } else if (*++in.at == '%') {
            error = take_text(in, in.at + 1);
        } else {
            error = take_conversion(in);
        }
        if (error != 0) return error;
    }
    return 0;
}

}  // namespace
}  // namespace vel::runtime

int CxPrintfProcessFmts(vel::runtime::FormatList* list, vel::runtime::ArgList* args,
                        const char* format, CxStatus* status) {
    const int error = vel::runtime::parse({format, *list, *args});
    *status = error == 0 ? vel::runtime::ok() : vel::runtime::failed(error);
    return error == 0;
}
