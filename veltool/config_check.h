// A properties file that has been checked.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "veltool/config_file.h"
#include "veltool/config_model.h"

namespace vel::tool::config {

constexpr size_t kMaxFileBytes = size_t{64} << 20;

// It borrows the toolkit's log manager while it is made.
class ConfigCheck {
  public:
    // Throws Failure when there is too much of it.
    ConfigCheck(std::string text, const Classes& classes);

    const std::vector<Finding>& findings() const { return file_.findings; }  // by their places
    size_t faults() const;  // the findings that are no notes
    const Places& places() const { return places_; }
    const Model& model() const { return *model_; }
    size_t entries() const { return file_.entries.size(); }
    bool is_whole() const { return file_.is_whole; }
    bool leaves_out() const { return file_.leaves_out; }

  private:
    std::string text_;
    Places places_;
    PropertiesFile file_;
    std::optional<Model> model_;
};

}  // namespace vel::tool::config
