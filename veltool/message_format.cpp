#include "veltool/message_format.h"

#include <algorithm>

#include "runtime/cx_text.h"
#include "runtime/format.h"

namespace vel::tool {

namespace {

using runtime::LengthCode;

struct LengthText {
    LengthCode code;
    const char* text;
};
constexpr LengthText kLengths[] = {
    {LengthCode::l, "l"},   {LengthCode::ll, "ll"},   {LengthCode::L, "L"}, {LengthCode::h, "h"},
    {LengthCode::hh, "hh"}, {LengthCode::I64, "I64"}, {LengthCode::j, "j"}, {LengthCode::q, "q"},
    {LengthCode::t, "t"},   {LengthCode::z, "z"},
};

const char* text_of(LengthCode code) {
    for (const LengthText& length : kLengths) {
        if (length.code == code) return length.text;
    }
    return "";
}

std::string spelled(int32_t argument, const std::string& conversion) {
    return "%" + std::to_string(argument + 1) + "$" + conversion;
}

}  // namespace

std::optional<Parameters> parameters_of(const std::string& text) {
    runtime::FormatList list;
    runtime::ArgList arguments;
    CxStatus status;
    if (CxPrintfProcessFmts(&list, &arguments, text.c_str(), &status) == 0) return {};
    Parameters parameters;
    for (const runtime::FormatItem& item : list.items) {
        if (item.begin != nullptr) continue;
        for (const int32_t measure : {item.width_argument, item.precision_argument}) {
            if (measure >= 0) parameters[measure] = spelled(measure, "*");
        }
        if (item.argument >= 0)
            parameters[item.argument] =
                spelled(item.argument, text_of(item.length) + std::string(1, item.letter));
    }
    return parameters;
}

std::vector<bool> literal_bytes(const std::string& text) {
    runtime::FormatList list;
    runtime::ArgList arguments;
    CxStatus status;
    if (CxPrintfProcessFmts(&list, &arguments, text.c_str(), &status) == 0)
        return std::vector<bool>(text.size(), true);
    std::vector<bool> bytes(text.size());
    for (const runtime::FormatItem& item : list.items) {
        if (item.begin == nullptr) continue;
        std::fill(bytes.begin() + (item.begin - text.c_str()),
                  bytes.begin() + (item.end - text.c_str()), true);
    }
    return bytes;
}

std::string identifier_of(const std::string& text) {
    return text.substr(0, CxParseQRAID(text.c_str()).length);
}

}  // namespace vel::tool
