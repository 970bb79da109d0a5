#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <iostream>

#include "veltool/log_filter.h"
#include "veltool/log_sink.h"
#include "veltool/log_source.h"
#include "veltool/text.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp = R"(Usage: veltool log [OPTION...] [FILE...]

Reads logs that the toolkit's formatters wrote: lines, traces and XML records. The records of several
files come in the order of time, older files of a rolled log before the newer ones. Without a FILE, or
when it is "-", standard input is read. What is no record is shown as malformed, and the status is 1.

  -f, --follow            wait for further records, until SIGINT or SIGTERM
      --no-rolled         only the files named, not the older ones of the same log
Which records:
  -l, --level=LEVEL       this level and more severe ones: a name as WARN, or a number; of a record that
                          tells no level, the last letter of its identifier counts: E, W or I
  -i, --id=PATTERN        message identifiers, as HQXGD*; several with blanks between them
  -p, --property=KEY=PATTERN
                          a property, as component=tool*; any of several patterns for one KEY
      --process=ID        of this process, which only traces tell
      --thread=ID         of this thread, likewise
  -s, --since=TIME        from then on: "2026-11-22 10:00", "today", or so long ago: 2h
  -u, --until=TIME        up to then
  -n, --tail=NUMBER       only the last ones
What is shown:
  -c, --count             how many records there are
      --stats             how many by level, by identifier and over time
  -j, --json              a JSON object per record, in a line of its own
  -x, --xml               one XML document
  -C, --color=WHEN        auto (on a terminal, the default), always or never
  -L, --language=LANGUAGE messages of XML records again in this language
      --catalogs=PATH     where to look for the catalogs: a directory, or a list as NLSPATH is one
)";

constexpr Option kOptions[] = {
    {"follow", 'f', false},  {"no-rolled", 0, false}, {"level", 'l', true},
    {"id", 'i', true},       {"property", 'p', true}, {"process", 0, true},
    {"thread", 0, true},     {"since", 's', true},    {"until", 'u', true},
    {"tail", 'n', true},     {"count", 'c', false},   {"stats", 0, false},
    {"json", 'j', false},    {"xml", 'x', false},     {"color", 'C', true},
    {"language", 'L', true}, {"catalogs", 0, true},
};

// Options that say what is shown, no two of which go together.
struct Conflict {
    const char* one;
    const char* other;
};
constexpr Conflict kConflicts[] = {{"json", "xml"},  {"count", "stats"}, {"count", "json"},
                                   {"count", "xml"}, {"stats", "xml"},   {"tail", "count"},
                                   {"tail", "stats"}};

void refuse_conflicts(const CommandLine& line) {
    for (const auto& [one, other] : kConflicts) {
        if (line.has(one) && line.has(other))
            throw UsageError(std::string("--") + one + " and --" + other + " do not go together");
    }
}

bool is_coloured(const CommandLine& line) {
    const std::string when = line.has("color") ? line.value("color") : "auto";
    if (when == "always") return true;
    if (when == "never") return false;
    if (when != "auto") throw UsageError("neither auto, always nor never: " + shown(when));
    const auto is_set = [](const char* text) { return text != nullptr && *text != '\0'; };
    const char* const terminal = getenv("TERM");
    return isatty(STDOUT_FILENO) == 1 && !is_set(getenv("NO_COLOR")) && is_set(terminal) &&
           std::string_view(terminal) != "dumb";
}

std::optional<size_t> last_of(const CommandLine& line) {
    if (!line.has("tail")) return {};
    constexpr size_t kMost = 1'000'000;
    const std::string text = line.value("tail");
    size_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || number > kMost)
        throw UsageError("no number up to 1000000: " + shown(text));
    return number;
}

std::unique_ptr<LogTranslation> translation_of(const CommandLine& line) {
    if (!line.has("language")) {
        if (line.has("catalogs")) throw UsageError("--catalogs needs --language");
        return nullptr;
    }
    const std::string language = line.value("language");
    if (language.empty()) throw UsageError("no language");
    return std::make_unique<LogTranslation>(language, line.value("catalogs"));
}

std::unique_ptr<LogOutput> output_of(const CommandLine& line) {
    const bool has_colour = is_coloured(line);
    if (line.has("json")) return make_json_output();
    if (line.has("xml")) return make_xml_output();
    return make_text_output(has_colour);
}

std::unique_ptr<LogSink> sink_of(const CommandLine& line) {
    refuse_conflicts(line);
    if (line.has("count")) return make_log_counter();
    if (line.has("stats")) return make_log_summary(line.has("json"));
    return make_log_writer(output_of(line), {last_of(line), translation_of(line)});
}

ExitStatus run(const CommandLine& line) {
    LogFilter filter(line);
    const std::unique_ptr<LogSink> sink = sink_of(line);
    LogSource source(line.operands(),
                     {.follow = line.has("follow"), .with_rolled = !line.has("no-rolled")});
    source.on_idle([&](bool are_all) { sink->idle(are_all); });
    if (line.has("follow")) call_on_stop_signals([](int) { LogSource::stop(); });

    LogFields fields;
    bool has_malformed = false;
    while (std::cout) {
        const LogRecord* const record = source.next();
        if (record == nullptr) break;
        LogEntry entry(*record, fields);
        has_malformed |= entry.is_malformed();
        if (entry.is_malformed() || filter.passes(entry)) sink->take(entry);
    }
    sink->finish();
    return has_malformed || source.has_failed() ? kFinding : kDone;
}

}  // namespace

constinit const Verb kLog{"log", "", "logs: read, search and sum them up", kHelp, kOptions, run};

}  // namespace vel::tool
