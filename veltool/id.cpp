#include "veltool/id.h"

#include <algorithm>
#include <iostream>
#include <iterator>

#include "guid/host_guid.h"
#include "veltool/json_object.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp = R"(Usage: veltool id [OPTION...] [GUID...]

Shows the GUID of this host, or those given, in a form or with what is in them. Needs no root.

  -f, --format FORM  dotted (without it), canonical, urn, or json
  -F, --file FILE    read the GUID from FILE instead of /etc/VELGUID, as from a mounted image
  -d, --decode       show variant, version, time, clock sequence and node
  -n, --derive NAME  show the GUID of an application of this name on this host instead; it stays the
                     same as long as the host's does. More than once: one for each
  -c, --check        is the node an address of this host? 1 is the exit status when it is not: the
                     GUID came with the image of another host, or the network card was replaced
)";

constexpr Option kOptions[] = {{"format", 'f', true},
                               {"file", 'F', true},
                               {"decode", 'd', false},
                               {"derive", 'n', true},
                               {"check", 'c', false}};

std::string json_form(const Guid& guid);

struct Form {
    std::string_view word;
    std::string (*text)(const Guid&);
};
constexpr Form kForms[] = {
    {"dotted", dotted_text}, {"canonical", canonical_text}, {"urn", urn_text}, {"json", json_form}};

JsonObject json_forms(const Guid& guid) {
    JsonObject object;
    for (const auto& [word, text] : kForms) {
        if (text != json_form) object.text(word, text(guid));
    }
    return object;
}

std::string json_form(const Guid& guid) { return json_forms(guid).str(); }

const Form& form_of(const CommandLine& line) {
    if (!line.has("format")) return kForms[0];
    const auto form = std::ranges::find(kForms, line.value("format"), &Form::word);
    if (form == std::end(kForms))
        throw UsageError("a format is dotted, canonical, urn or json: " + line.value("format"));
    return *form;
}

bool is_json(const Form& form) { return form.text == json_form; }

// ---- One GUID

void show_row(std::string_view label, std::string_view text) {
    constexpr size_t kColumn = 16;
    if (text.empty()) return;
    std::cout << label << std::string(kColumn - label.size(), ' ') << text << '\n';
}

void show_decoded(const Guid& guid, const Form& form) {
    const Decoded decoded = decode_guid(guid);
    const std::string kind = phrase_of(decoded.node_kind, node_of(guid));
    const bool has_time = decoded.node_kind != NodeKind::kNone;
    if (is_json(form)) {
        JsonObject object = json_forms(guid);
        object.text("variant", decoded.variant);
        if (decoded.version != 0) object.number("version", decoded.version);
        if (!decoded.made_of.empty()) object.text("madeOf", decoded.made_of);
        if (has_time) {
            object.text("time", decoded.time).number("clockSequence", decoded.clock_sequence);
            object.text("node", decoded.node).text("nodeKind", kind);
        }
        std::cout << object.str() << '\n';
        return;
    }
    show_row("GUID", form.text(guid));
    show_row("variant", decoded.variant);
    show_row("version", decoded.version == 0 ? "" : std::to_string(decoded.version));
    show_row("made of", decoded.made_of);
    show_row("time", decoded.time);
    show_row("clock sequence", has_time ? std::to_string(decoded.clock_sequence) : "");
    show_row("node", decoded.node);
    show_row("", kind);
}

void show_derived(const Guid& guid, const std::string& name, const Form& form) {
    const Guid derived = derive_guid(guid, name);
    if (is_json(form)) {
        std::cout << json_forms(derived).text("name", name).str() << '\n';
    } else {
        std::cout << form.text(derived) << '\n';
    }
}

ExitStatus check(const Guid& guid, const Form& form) {
    constexpr std::string_view kVerdicts[] = {"here", "elsewhere", "unknown"};
    const auto [verdict, why] = origin_of(guid);
    if (is_json(form)) {
        std::cout << json_forms(guid).text("origin", kVerdicts[verdict]).text("why", why).str();
        std::cout << '\n';
    } else {
        std::cout << form.text(guid) << ": " << kVerdicts[verdict] << ": " << why << '\n';
    }
    if (verdict != Origin::kElsewhere) return kDone;
    if (!is_json(form)) {
        std::cout << "If this host is a copy of another one, it needs a GUID of its own, by root: "
                     "velguid -Write -New\n";
    }
    return kFinding;
}

ExitStatus show(const Guid& guid, const CommandLine& line, const Form& form) {
    if (line.has("check")) return check(guid, form);
    const std::vector<std::string> names = line.values("derive");
    for (const std::string& name : names) show_derived(guid, name, form);
    if (line.has("decode")) {
        show_decoded(guid, form);
    } else if (names.empty()) {
        std::cout << form.text(guid) << '\n';
    }
    return kDone;
}

ExitStatus run(const CommandLine& line) {
    const Form& form = form_of(line);
    if (line.has("check") + line.has("derive") + line.has("decode") > 1)
        throw UsageError("--decode, --derive and --check go one at a time");
    if (line.has("file") && !line.operands().empty())
        throw UsageError("a GUID is given, or a file that has it");
    if (std::ranges::count(line.values("derive"), "") > 0) throw UsageError("a name is empty");
    std::vector<Guid> guids;
    for (const std::string& text : line.operands()) guids.push_back(parse_guid(text));
    if (guids.empty())
        guids.push_back(
            read_guid_file(line.has("file") ? line.value("file") : guid::kHostGuidFile));
    ExitStatus status = kDone;
    for (const Guid& guid : guids) {
        if (show(guid, line, form) != kDone) status = kFinding;
    }
    return status;
}

}  // namespace

constinit const Verb kId{"id",  "",       "the GUID of this host: its forms, what is in it",
                         kHelp, kOptions, run};

}  // namespace vel::tool
