// The reader of properties files.
#pragma once

#include "runtime/cx_text.h"

// Reads a file into the property list, without the toolkit's lock, or with null into the log
// manager, with it. 1: all of it was read; else what came before the fault stays.
int pmxDoReadProps(const char* path, CxPropList* list);
