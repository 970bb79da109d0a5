// The objects of a properties file as a drawing and as JSON.
#pragma once

#include <string>

#include "veltool/config_file.h"
#include "veltool/config_model.h"

namespace vel::tool::config {

enum class Lines { ascii, boxes };

// Loggers with all that hangs from them, then what nothing refers to.
std::string draw(const Model& model, const Places& places, Lines lines);

// An array with all objects, in which they name each other.
std::string objects_as_json(const Model& model, const Places& places);

}  // namespace vel::tool::config
