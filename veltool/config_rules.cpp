#include "veltool/config_rules.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "log/pmx_classes.h"
#include "veltool/config_values.h"

namespace vel::tool::config {

namespace {

constexpr Rule kRules[] = {
    {"basic_object", "description", judge::text, ""},
    {"basic_object", "descriptionFile", judge::text, ""},
    {"basic_object", "descriptionSet", judge::number32, "", INT32_MIN, "0"},
    {"basic_object", "descriptionKey", judge::number32, "", INT32_MIN, "0"},
    {"basic_object", "logging", judge::on_or_off, "on"},
    {"basic_object", "listenerNames", judge::names, ""},
    {"basic_logger", "level", judge::level, "DEBUG_MIN"},
    {"level_filter", "level", judge::level, "ALL"},
    {"pd_logger", "organization", judge::text, ""},
    {"pd_logger", "product", judge::text, ""},
    {"pd_logger", "component", judge::text, ""},
    {"pd_logger", "client", judge::text, ""},
    {"pd_logger", "server", judge::text, "(the name of the host)"},
    {"pd_logger", "serverFormat", judge::text, "IP"},
    {"pd_logger", "productInstance", judge::text, ""},
    {"msgid_filter", "mode", judge::mode, "BLOCK", INT64_MIN, "BLOCK"},
    {"msgid_filter", "msgIds", judge::patterns, "*W *I"},
    {"msgid_filter", "msgIdRepeatTime", judge::number64, "0"},
    {"basic_handler", "formatterName", judge::text, "pmxlog.defaultFormatter"},
    {"basic_formatter", "separator", judge::text, " "},
    {"basic_formatter", "dateTimeFormat", judge::date_format, ""},
    {"basic_formatter", "locale", judge::locale, ""},
    {"xml_formatter", "singleComponent", judge::flag, "false", INT64_MIN, "false"},
    {"xml_formatter", "singleProduct", judge::flag, "false", INT64_MIN, "false"},
    {"xml_formatter", "singleProductId", judge::flag, "false", INT64_MIN, "false"},
    {"xml_formatter", "singleServer", judge::flag, "false", INT64_MIN, "false"},
    {"xml_formatter", "forceAsMessage", judge::flag, "false", INT64_MIN, "false"},
    {"xml_formatter", "forceAsTrace", judge::flag, "false", INT64_MIN, "false"},
    {"file_handler", "fileName", judge::file_name, "default.log", INT64_MIN, "default.log"},
    {"file_handler", "maxFiles", judge::number32, "3", 1, "3"},
    {"file_handler", "maxFileBytes", judge::number32, "1048576", 1, "1024"},
    {"file_handler", "maxFileSize", judge::file_size, "", INT32_MIN, "1024"},
    {"file_handler", "appending", judge::flag, "true", INT64_MIN, "true"},
    {"file_handler", "filePermission", judge::file_permission, "0744"},
    {"file_handler", "dirPermission", judge::directory_permission, "0771"},
    {"file_handler", "fileEncoding", judge::code_set, "", INT64_MIN, "UTF-8"},
    {"file_handler", "MPFileSemKey", judge::lock_key, "31821", INT32_MIN, "0"},
    {"file_handler", "logInternalErrs", judge::flag, "", INT64_MIN, nullptr, "appending"},
    {"hvn_handler", "hvnLoggerName", judge::text, "PmxLog"},
    {"hvn_handler", "IPCID", judge::channel, "PMX_HVN_HANDLER_IPC"},
    {"hvn_handler", "traceEnabled", judge::flag, "false"},
    {"hvn_handler", "logInternalErrs", judge::flag, "true"},
    {"ffdc_handler", "baseDir", judge::directory, ""},
    {"ffdc_handler", "maxDiskSpace", judge::number64, "10485760", 1},
    {"ffdc_handler", "triggerFilter", judge::text, ""},
    {"ffdc_handler", "triggerRepeatTime", judge::number64, "0", 1},
    {"ffdc_handler", "quotaPolicy", judge::policy, "QUOTA_AUTODELETE"},
    {"ffdc_handler", "firstWarning", judge::fraction, "0.75"},
    {"ffdc_handler", "secondWarning", judge::fraction, "0.9"},
    {"ffdc_handler", "warnOnDiskSpace", judge::one, "0"},
    {"filecopy_handler", "filesToCopy", judge::file_list, ""},
    {"filecopy_handler", "zipFileName", judge::archive, ""},
    {"filecopy_handler", "zipCmdPath", judge::program, ""},
};

// Who takes a property, and who it is passed on to when it is not his.
struct Taker {
    PmxCfgChangeOp takes;
    std::string_view owner;
    PmxCfgChangeOp next;
};
constexpr Taker kTakers[] = {
    {PmxBasicObjectFCfgChange, "basic_object", nullptr},
    {PmxBasicLoggerFCfgChange, "basic_logger", PmxBasicObjectFCfgChange},
    {PmxPDLoggerFCfgChange, "pd_logger", PmxBasicLoggerFCfgChange},
    {PmxLevelFilterFCfgChange, "level_filter", PmxBasicObjectFCfgChange},
    {PmxMsgIdFilterFCfgChange, "msgid_filter", PmxBasicObjectFCfgChange},
    {PmxBasicHandlerFCfgChange, "basic_handler", PmxBasicObjectFCfgChange},
    {PmxFileHandlerFCfgChange, "file_handler", PmxBasicHandlerFCfgChange},
    {PmxHVNHandlerFCfgChange, "hvn_handler", PmxBasicHandlerFCfgChange},
    {PmxFFDCTriggerHandlerFCfgChange, "ffdc_handler", PmxBasicHandlerFCfgChange},
    {PmxFileCopyHandlerFCfgChange, "filecopy_handler", PmxFFDCTriggerHandlerFCfgChange},
    {PmxBasicFormatterFCfgChange, "basic_formatter", PmxBasicObjectFCfgChange},
    {PmxPDXMLFormatterFCfgChange, "xml_formatter", PmxBasicFormatterFCfgChange},
};

// What a class takes from another and makes nothing of.
struct Idle {
    std::string_view cls;  // empty: all formatters
    std::string_view key;
    const char* why;
};
constexpr Idle kIdle[] = {
    {"pmx_filehandler", "MPFileSemKey", "only a pmx_multiproc_filehandler has a lock"},
    {"pmx_multiproc_filehandler", "appending",
     "a file that processes share is never emptied; what reports of its errors depends on it"},
    {"pmx_xmlformatter", "separator", "XML has none"},
    {"pmx_ffdc_trigger_handler", "formatterName", "it writes no records"},
    {"pmx_ffdc_filecopy_handler", "formatterName", "it writes no records"},
    {"", "listenerNames", "a formatter has no listeners"},
};

}  // namespace

std::vector<const Rule*> rules_of(const ObjectClass& cls) {
    std::vector<const Rule*> rules;
    for (PmxCfgChangeOp takes = cls.takes; takes != nullptr;) {
        const Taker& taker = *std::ranges::find(kTakers, takes, &Taker::takes);
        for (const Rule& rule : kRules) {
            if (rule.owner == taker.owner) rules.push_back(&rule);
        }
        takes = taker.next;
    }
    return rules;
}

const Rule* rule_of(const ObjectClass& cls, std::string_view key) {
    const std::vector<const Rule*> rules = rules_of(cls);
    const auto found =
        std::ranges::find_if(rules, [key](const Rule* rule) { return key == rule->key; });
    return found == rules.end() ? nullptr : *found;
}

bool skips_blanks(const Rule& rule) {
    constexpr decltype(Rule::judge) kJudges[] = {
        judge::names,    judge::file_size, judge::level,    judge::number32, judge::number64,
        judge::fraction, judge::one,       judge::patterns, judge::lock_key, judge::file_list};
    return std::ranges::find(kJudges, rule.judge) != std::end(kJudges);
}

const char* why_idle(const ObjectClass& cls, std::string_view key) {
    for (const Idle& row : kIdle) {
        const bool is_its = row.cls.empty() ? cls.kind == PMX_FORMATTER : row.cls == cls.name;
        if (is_its && row.key == key) return row.why;
    }
    return nullptr;
}

const char* class_with(std::string_view key) {
    for (const log::ClassDefinition* const own : log::builtin_classes()) {
        if (rule_of({own->name, own->kind, own->life.cfg_change}, key) != nullptr) return own->name;
    }
    return nullptr;
}

std::string nearest_key(const ObjectClass& cls, std::string_view word) {
    std::vector<std::string_view> keys{kClassName};
    for (const Rule* const rule : rules_of(cls)) keys.emplace_back(rule->key);
    return nearest_word(word, keys);
}

std::string effective_value(const Configuration& configuration, const Rule& rule) {
    if (rule.stands_for != nullptr && has(configuration, rule.key))
        return effective_value(configuration, rule.stands_for);
    std::vector<const Entry*> settings;
    for (const Configuration* at = &configuration; at != nullptr; at = at->parent) {
        const auto found = at->by_key.find(rule.key);
        if (found != at->by_key.end()) settings.push_back(at->own[found->second]);
    }
    std::string effective = rule.fallback;
    for (auto at = settings.rbegin(); at != settings.rend(); ++at) {
        Verdict verdict = rule.judge(rule, (*at)->value);
        if (verdict.effective) effective = std::move(*verdict.effective);
    }
    return effective;
}

std::string effective_value(const Configuration& configuration, std::string_view key) {
    const Rule* const rule = rule_of(*configuration.cls, key);
    return rule == nullptr ? "" : effective_value(configuration, *rule);
}

}  // namespace vel::tool::config
