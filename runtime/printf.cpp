// The printing calls: a format is parsed, its arguments are collected, and each piece is printed.
#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "runtime/cx_printf.h"
#include "runtime/format_field.h"

static_assert(sizeof(CxPrintfArg) == 16);

namespace vel::runtime {
namespace {

using K = ArgKind;

// Reads an argument as the conversions demand it. False: nothing is known of it.
bool collect(Arg& arg, va_list* from) {
    switch (arg.kind) {
        case K::int32:
        case K::short_int:
        case K::signed_char:
            arg.is.i = va_arg(*from, int32_t);
            return true;
        case K::uint32:
        case K::ushort_int:
        case K::unsigned_char:
        case K::wide_char:
            arg.is.u = va_arg(*from, uint32_t);
            return true;
        case K::long_int:
        case K::long_long:
        case K::intmax:
        case K::ulong_int:
        case K::ulong_long:
        case K::uintmax:
        case K::ssize:
        case K::size:
        case K::ptrdiff:
            arg.is.i = va_arg(*from, int64_t);
            return true;
        case K::real:
            arg.is.f = va_arg(*from, double);
            return true;
        case K::long_real:
            arg.is.f = va_arg(*from, long double);
            return true;
        case K::pointer:
        case K::int_count:
        case K::short_count:
        case K::long_count:
        case K::long_long_count:
        case K::text:
        case K::wide_text:
            arg.is.p = va_arg(*from, const void*);
            return true;
        case K::none:
        case K::unset:
            break;
    }
    return false;
}

// Takes an argument as it is given. False: it is the end of the arguments, or unknown.
bool collect(Arg& arg, const CxPrintfArg& given) {
    arg.kind = static_cast<ArgKind>(given.kind);
    switch (given.kind) {
        case CX_ARG_UNSET:
            return true;
        case CX_ARG_INT32:
            arg.is.i = static_cast<int32_t>(given.value.integer);
            return true;
        case CX_ARG_UINT32:
            arg.is.u = static_cast<uint32_t>(given.value.natural);
            return true;
        case CX_ARG_INT64:
            arg.is.i = given.value.integer;
            return true;
        case CX_ARG_UINT64:
            arg.is.u = given.value.natural;
            return true;
        case CX_ARG_DOUBLE:
            arg.is.f = given.value.real;
            return true;
        case CX_ARG_LONG_DOUBLE:
            if (given.value.address == nullptr) return false;
            memcpy(&arg.is.f, given.value.address, sizeof arg.is.f);
            return true;
        case CX_ARG_POINTER:
        case CX_ARG_TEXT:
        case CX_ARG_WIDE_TEXT:
            arg.is.p = given.value.address;
            return true;
        default:
            return false;
    }
}

constexpr int32_t kTooLarge = kMaxMeasure + 1;

// A width or a precision from an argument, cut to what is too large.
int32_t measure_of(const Arg& arg) {
    if (arg.kind == K::ulong_int && arg.is.i < 0) return kTooLarge;
    return static_cast<int32_t>(std::clamp<int64_t>(arg.is.i, -kTooLarge, kTooLarge));
}

bool emit_conversion(CxStringBuff* buff, const FormatItem& item, const ArgList& args) {
    return item.conversion->emit(buff, item, args[item.argument]);
}

// Prints a conversion whose width or precision is an argument.
bool emit_measured(CxStringBuff* buff, FormatItem item, const ArgList& args) {
    if (item.width_argument >= 0) {
        const Arg& arg = args[item.width_argument];
        if (!is_integer(arg.kind)) return true;  // as for a value of another family
        const int32_t width = measure_of(arg);
        if (width < 0) item.field.flags |= kLeft;
        item.field.width = std::abs(width);
    }
    if (item.precision_argument >= 0) {
        const Arg& arg = args[item.precision_argument];
        if (!is_integer(arg.kind)) return true;
        item.precision = std::max(measure_of(arg), -1);
    }
    if (item.field.width >= kTooLarge || item.precision >= kTooLarge) return false;
    return emit_conversion(buff, item, args);
}

bool emit_item(CxStringBuff* buff, const FormatItem& item, const ArgList& args) {
    if (item.begin != nullptr) {
        return put(buff, {item.begin, static_cast<size_t>(item.end - item.begin)});
    }
    const bool measured = item.width_argument >= 0 || item.precision_argument >= 0;
    return measured ? emit_measured(buff, item, args) : emit_conversion(buff, item, args);
}

bool emit(CxStringBuff* buff, const FormatList& list, const ArgList& args) {
    for (const FormatItem& item : list.items) {
        if (!emit_item(buff, item, args)) return false;
    }
    return true;
}

// Whether a text among the arguments is the buffer's own, which changes while it is printed to.
bool prints_itself(const CxStringBuff* buff, const ArgList& args) {
    return std::any_of(args.begin(), args.end(), [buff](const Arg& arg) {
        const bool is_text = arg.kind == K::text || arg.kind == K::wide_text;
        return is_text && own_offset(buff, arg.is.p) >= 0;
    });
}

// Prints with what `collect_all` finds for the arguments demanded; all of it or nothing.
template <class CollectAll>
int print(CxStringBuff* buff, const char* format, CollectAll collect_all) {
    if (buff == nullptr || format == nullptr || room_for(buff, 0) == nullptr) return 0;
    FormatList list;
    ArgList args;
    CxStatus status = 0;
    if (!CxPrintfProcessFmts(&list, &args, format, &status) || !collect_all(args)) return 0;
    if (prints_itself(buff, args)) {
        StringBuff apart;
        return emit(&apart, list, args) && put(buff, text_of(apart));
    }
    const int32_t length = buff->length;
    if (emit(buff, list, args)) return 1;
    buff->length = length;
    buff->text[length] = '\0';
    return 0;
}

}  // namespace
}  // namespace vel::runtime

using namespace vel::runtime;

int CxStringBuffPrintf(void* handle, CxStringBuff* buff, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int printed = CxStringBuffPrintfV(handle, buff, format, arguments);
    va_end(arguments);
    return printed;
}

int CxStringBuffPrintfV(void*, CxStringBuff* buff, const char* format, va_list arguments) {
    va_list from;
    va_copy(from, arguments);
    const int printed = print(buff, format, [&from](ArgList& args) {
        for (Arg& arg : args) {
            if (!collect(arg, &from)) return false;
        }
        return true;
    });
    va_end(from);
    return printed;
}

int CxStringBuffPrintfA(void*, CxStringBuff* buff, const char* format,
                        const CxPrintfArg* arguments) {
    if (arguments == nullptr) return 0;
    return print(buff, format, [arguments](ArgList& args) {
        const CxPrintfArg* given = arguments;
        for (Arg& arg : args) {
            if (!collect(arg, *given++)) return false;
        }
        return true;
    });
}
