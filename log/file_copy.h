// What a capture does with files: looking at them, copying them, putting them into an archive.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vel::log {

// Lists of files have blanks between their paths; double quotes group. A path of more than 255
// bytes names no file.

struct ListedFiles {
    size_t count = 0;   // the paths
    int64_t bytes = 0;  // in the regular files among them, be they readable or not
};
ListedFiles look_at_files(const char* files);

// Whether the path names a regular file. It need not be readable.
int pmxFileExists(const char* path);

// Whether a text has characters that could mean something to a shell; null and "" have none.
int pmxIsFilenameUnsafe(const char* text);

// Reports each listed file that cannot be captured; 1: at least one can. That is a regular file
// that can be opened for reading, behind no link of somebody else.
int pmxFCHValidateFilesToCopy(const char* files, const char* handler_name);

// Copies one file into a directory, and reports what fails.
void pmxFCHDoFileCopy(const char* file, const char* directory, const char* handler_name);

// Copies the listed files into a directory, if it is there.
void pmxFileCopyHandlerCopyToDir(const char* files, const char* directory,
                                 const char* handler_name);

// Has the zip program put the listed files into an archive, and reports when there is none then.
// No more files than the count are taken.
void pmxFileCopyHandlerCopyToZip(const char* zip_program, const char* files, size_t count,
                                 const char* directory, const char* archive_name,
                                 const char* handler_name);

}  // namespace vel::log
