#include "veltool/code_set.h"

#include "i18n/code_set.h"
#include "veltool/tool.h"

namespace vel::tool {

static uc_ch_t* open_code_set(const std::string& name) {
    uc_ch_t* handle = mab_cs_new(name.c_str());
    if (handle == nullptr) throw Failure(name + ": the library finds no table");
    return handle;
}

static uc_ch_t* open_code_set(const std::string& name, const char* directory) {
    mab_set_dir(directory);
    return open_code_set(name);
}

CodeSet::CodeSet(const std::string& name)
    : name_(name),
      handle_(mab_get_dir()[0] == '\0' ? open_code_set(name, VEL_INSTALL_DIRECTORY)
                                       : open_code_set(name)) {}

CodeSet::CodeSet(const std::string& directory, const std::string& name)
    : name_(name), handle_(open_code_set(name, directory.c_str())) {}

std::string_view CodeSet::image() const {
    uint32_t size = 0;
    const void* table = mab_cs_table(handle_, &size);
    return {static_cast<const char*>(table), size};
}

uint16_t CodeSet::replaced() const { return handle_->subs_count; }

}  // namespace vel::tool
