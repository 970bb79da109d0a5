// What there is to say about what a properties file configures.
#pragma once

#include <vector>

#include "veltool/config_file.h"
#include "veltool/config_model.h"

namespace vel::tool::config {

// Each adds to the findings. Of the entries one by one: their classes, keys, values and names.
void find_in_entries(const Model& model, const Classes& classes, const Places& places,
                     std::vector<Finding>& findings);
// Of the objects: what they lack, and what they do that their entries do not say.
void find_in_objects(const Model& model, std::vector<Finding>& findings);
// Of the ways from one object to another.
void find_cycles(const Model& model, std::vector<Finding>& findings);

}  // namespace vel::tool::config
