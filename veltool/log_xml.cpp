#include "veltool/log_xml.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "veltool/log_shape.h"

namespace vel::tool {

namespace {

// Takes what stands before an end off a text, and the end, too. Without one: all.
std::string_view take_until(std::string_view& text, std::string_view end) {
    const size_t at = text.find(end);
    const std::string_view taken = text.substr(0, at);
    text.remove_prefix(at == text.npos ? text.size() : at + end.size());
    return taken;
}

// The same from the other side: what stands behind the last one. Without one: nothing.
std::string_view take_behind(std::string_view& text, std::string_view begin) {
    const size_t at = text.rfind(begin);
    if (at == text.npos) return {};
    const std::string_view taken = text.substr(at + begin.size());
    text = text.substr(0, at);
    return taken;
}

template <class Number>
std::optional<Number> number_in(std::string_view text) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

// ---- Elements: each gets what stands between its begin and its end

void read_time(std::string_view text, LogFields& fields) {
    take_until(text, "\">");
    fields.date = text;
}

void read_server(std::string_view text, LogFields& fields) {
    fields.server_format = take_until(text, "\">");
    fields.host = text;
}

void read_attributes(std::string_view text, LogFields& fields) {
    while (text.starts_with("<Key>")) {
        text.remove_prefix(std::string_view("<Key>").size());
        const std::string_view key = take_until(text, "</Key><Value>");
        const std::string_view value = take_until(text, "</Value>");
        fields.attributes.emplace_back(key, value);
    }
}

void read_source(std::string_view text, LogFields& fields) {
    if (text == "None\" Method=\"None") return;  // as a trace says that it has none
    fields.line = take_behind(text, "\" Line=\"");
    fields.function = take_behind(text, "\" Method=\"");
    fields.file = text;
}

void read_translation(std::string_view text, LogFields& fields) {
    constexpr std::string_view kParam = "<Param><![CDATA[", kParamEnd = "]]></Param>";
    const size_t params = text.find(kParam);
    std::string_view head = text.substr(0, params);
    if (head.ends_with("\">")) head.remove_suffix(2);
    fields.set = number_in<int32_t>(take_behind(head, "\" SetId=\"")).value_or(0);
    fields.key = number_in<int32_t>(take_behind(head, "\" MsgKey=\"")).value_or(0);
    fields.catalog = take_behind(head, "Catalog=\"");
    text.remove_prefix(params == text.npos ? text.size() : params);
    while (text.starts_with(kParam)) {
        text.remove_prefix(kParam.size());
        fields.parameters.emplace_back(take_until(text, kParamEnd));
    }
}

template <std::string LogFields::*Field>
void read_text(std::string_view text, LogFields& fields) {
    fields.*Field = text;
}

struct Element {
    std::string_view begin, end;
    void (*read)(std::string_view text, LogFields& fields);
};
constexpr Element kElements[] = {
    {kTimeBegin, "</Time>\n", read_time},
    {" <Server Format=\"", "</Server>\n", read_server},
    {" <ProductId>", "</ProductId>\n", read_text<&LogFields::product>},
    {" <Component>", "</Component>\n", read_text<&LogFields::component>},
    {" <ProductInstance>", "</ProductInstance>\n", read_text<&LogFields::product_instance>},
    {kTextBegin, kTextEnd, read_text<&LogFields::message>},
    {" <LogAttribs>", "</LogAttribs>\n", read_attributes},
    {" <Source FileName=\"", "\"/>\n", read_source},
    {kTranslationBegin, kTranslationEnd, read_translation},
    {" <Thread>", "</Thread>\n", read_text<&LogFields::thread>},
    {" <Process>", "</Process>\n", read_text<&LogFields::process>},
    {" <CorrelationId>", "</CorrelationId>\n", read_text<&LogFields::correlation_id>},
    {" <Principal>", "</Principal>\n", read_text<&LogFields::client>},
};

// Null: none begins there.
const Element* element_at(std::string_view text) {
    const auto row = std::ranges::find_if(
        kElements, [text](const Element& one) { return text.starts_with(one.begin); });
    return row == std::end(kElements) ? nullptr : row;
}

// A line that begins none of them is passed over.
void read_elements(std::string_view rest, LogFields& fields) {
    while (!rest.empty()) {
        const Element* const found = element_at(rest);
        if (found == nullptr) {
            take_until(rest, "\n");
            continue;
        }
        rest.remove_prefix(found->begin.size());
        found->read(take_until(rest, found->end), fields);
    }
}

void read_tag(std::string_view line, LogFields& fields) {
    fields.is_message = line.starts_with(kMessageTag);
    if (!fields.is_message) return;
    line.remove_prefix(kMessageTag.size());
    if (line.ends_with("\">")) line.remove_suffix(2);
    const size_t severity = line.rfind("\" Severity=\"");
    fields.message_id = line.substr(0, severity);
    if (fields.message_id == "None") fields.message_id.clear();
}

}  // namespace

LogProducts read_products(std::string_view lines) {
    LogFields fields;
    read_elements(lines, fields);
    return {fields.host, fields.server_format, fields.product, fields.component,
            fields.product_instance};
}

void set_products(const LogProducts& products, LogFields& fields) {
    fields.host = products.server;
    fields.server_format = products.server_format;
    fields.product = products.product;
    fields.component = products.component;
    fields.product_instance = products.product_instance;
}

std::optional<int64_t> time_of_xml(std::string_view element) {
    take_until(element, "\n");
    if (!element.starts_with(kTimeBegin)) return std::nullopt;
    element.remove_prefix(kTimeBegin.size());
    return number_in<int64_t>(take_until(element, "\""));
}

void parse_xml(std::string_view element, LogFields& fields) {
    read_tag(take_until(element, "\n"), fields);
    read_elements(element, fields);
}

}  // namespace vel::tool
