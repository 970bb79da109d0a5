// The platform layer beneath vel_guid.h: the host GUID file and the environment for messages.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vel::guid {

inline constexpr char kHostGuidDirectory[] = "/etc/";
inline constexpr char kHostGuidFile[] = "/etc/VELGUID";
inline constexpr char kInstallPath[] = "/opt/velmar/guid/";

extern char header[];   // the first line of the host GUID file
extern char langEnv[];  // "LANG=..." and "NLSPATH=..." as they stand in the environment
extern char* nlsPath;   // null before psSetNlsPath

int32_t psGenerateGuid(uint8_t guid[16]);
int32_t psWriteGuid(const uint8_t guid[16]);
int32_t psReadGuid(uint8_t guid[16]);

// The same with the file of another host, as of an image.
int32_t psReadGuidFile(const char* path, uint8_t guid[16]);

// Copies the installation directory, with the slash at its end; answers 0.
int32_t psGetInstallPath(char (&path)[sizeof kInstallPath]);

// Sets LANG to the message locale and puts the installation's catalogs in front of NLSPATH; -1 when
// memory runs out. Not for several threads: it changes the environment and the message locale.
int32_t psSetNlsPath();

}  // namespace vel::guid
