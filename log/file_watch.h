// Whether files have come, gone or been renamed in the directories of the logs: cheaper to ask
// before each record than to look at the file.
#pragma once

#include <cstdint>

namespace vel::log {

// A directory that is watched for one log. It stays where it is while it is watched.
struct FileWatch {
    int32_t directory = -1;     // the kernel's number for it; -1: it is not watched
    uint64_t seen_changes = 0;  // in any directory, when this one was last asked for
    FileWatch* next = nullptr;
};

// Begins to watch a directory. Where that cannot be (a limit, no local file system, whose changes
// come from elsewhere, too) it is not watched.
void watch_directory(FileWatch* watch, const char* directory);

void end_watch(FileWatch* watch);

// Whether nothing has changed since the last call, or since the beginning. False also where there
// is nothing to rely on.
bool is_unchanged(FileWatch* watch);

// Ends all of them, also in the child of a fork: what the kernel tells is its parent's there.
void forget_watches();

}  // namespace vel::log
