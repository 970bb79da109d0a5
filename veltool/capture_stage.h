// A place of one's own for what goes into an archive, so that nobody can change it meanwhile.
#pragma once

#include <string>

#include "runtime/owned.h"
#include "veltool/capture.h"

namespace vel::tool {

// What is copied, as it was when it was copied.
struct StagedFile {
    std::string name;  // from the stage
    int64_t size = 0;
    int64_t modification_time = 0;  // in seconds since 1970
    bool has_changed = false;       // while it was copied, so it may be of two minds
};

// A directory beside the archive to be, which nobody else can enter; gone again with what is in it,
// also when a signal stops the program. It is the current one, so that it stays the same whoever
// renames what beside it.
class Stage {
  public:
    explicit Stage(const std::string& archive);  // an absolute path; throws Failure
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // Copies a file from below what was the current directory before, to the same path. Throws
    // Failure, also for what is no regular file of one name that is reached without a link.
    StagedFile copy(const std::string& name) const;

    // Moves a file of the stage to where the archive is to be, replacing what is there. Throws
    // Failure.
    void put_in_place(const std::string& name) const;

  private:
    std::string archive_;
    std::string path_;
    runtime::OpenFile captures_;
};

// Throws what ends the program, no Failure, when a signal has come since there is a stage.
void check_for_stop();

}  // namespace vel::tool
