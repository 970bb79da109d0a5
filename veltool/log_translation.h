// The messages of logs in another language: from the catalog, the numbers and the parameters that
// an XML record tells.
#pragma once

#include <map>
#include <string>

#include "i18n/mab.h"
#include "veltool/log_record.h"

namespace vel::tool {

class LogTranslation {
  public:
    // The catalogs are looked for along a list as NLSPATH has it, or below a directory. An empty
    // one: along NLSPATH, and then where the programs are installed.
    LogTranslation(const std::string& language, const std::string& catalogs);
    ~LogTranslation();
    LogTranslation(const LogTranslation&) = delete;
    LogTranslation& operator=(const LogTranslation&) = delete;

    // Puts the translation in the place of the message. What has none stays as it is, of which the
    // first one is complained of.
    void translate(LogFields& fields);

  private:
    mab_cat_t* catalog(const std::string& name);
    void close_catalogs();

    std::string language_;
    uc_ch_t* utf8_;
    std::map<std::string, mab_cat_t*> catalogs_;  // null: there is none
    bool has_complained_ = false;
};

}  // namespace vel::tool
