// An object of JSON in one line, member by member.
#pragma once

#include <concepts>
#include <string>
#include <string_view>

#include "veltool/text.h"

namespace vel::tool {

class JsonObject {
  public:
    JsonObject& text(std::string_view key, std::string_view value) {
        return member(key, json_text(value));
    }
    template <std::integral Number>
    JsonObject& number(std::string_view key, Number value) {
        return member(key, std::to_string(value));
    }

    std::string str() const { return members_.empty() ? "{}" : '{' + members_ + '}'; }

  private:
    JsonObject& member(std::string_view key, const std::string& value) {
        if (!members_.empty()) members_ += ',';
        members_.append(json_text(key)).append(":").append(value);
        return *this;
    }

    std::string members_;
};

}  // namespace vel::tool
