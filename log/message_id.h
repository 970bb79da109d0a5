// Message identifiers: how a text begins.
#pragma once

#include "log/pmx_types.h"

// The identifier that a text begins with, for RakMemoryFree; null: none.
char* pmxPDXMLGetMessageID(const char* text);

// Gives the event the identifier of its message, an empty one for none, unless it has one already.
void pmxPDXMLFormatterCacheMessageID(PmxObject* formatter, PmxEvent* event);
