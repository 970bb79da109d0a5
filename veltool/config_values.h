// How the toolkit reads the values of properties, kind by kind.
#pragma once

#include <string>

#include "veltool/config_rules.h"

namespace vel::tool::config::judge {

// What becomes of a value that is none.
Verdict refused(const Rule& rule, const std::string& why);

Verdict text(const Rule& rule, const std::string& value);
Verdict names(const Rule& rule, const std::string& value);
Verdict on_or_off(const Rule& rule, const std::string& value);
Verdict flag(const Rule& rule, const std::string& value);
Verdict level(const Rule& rule, const std::string& value);
Verdict number32(const Rule& rule, const std::string& value);
Verdict number64(const Rule& rule, const std::string& value);
Verdict file_size(const Rule& rule, const std::string& value);
Verdict fraction(const Rule& rule, const std::string& value);
Verdict one(const Rule& rule, const std::string& value);
Verdict file_permission(const Rule& rule, const std::string& value);
Verdict directory_permission(const Rule& rule, const std::string& value);
Verdict channel(const Rule& rule, const std::string& value);
Verdict mode(const Rule& rule, const std::string& value);
Verdict policy(const Rule& rule, const std::string& value);
Verdict patterns(const Rule& rule, const std::string& value);
Verdict code_set(const Rule& rule, const std::string& value);
Verdict locale(const Rule& rule, const std::string& value);
Verdict date_format(const Rule& rule, const std::string& value);
Verdict lock_key(const Rule& rule, const std::string& value);
Verdict file_name(const Rule& rule, const std::string& value);
Verdict directory(const Rule& rule, const std::string& value);
Verdict file_list(const Rule& rule, const std::string& value);
Verdict archive(const Rule& rule, const std::string& value);
Verdict program(const Rule& rule, const std::string& value);

}  // namespace vel::tool::config::judge
