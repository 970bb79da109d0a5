/* pmx.h — the logging toolkit, all of it. Texts that it returns go to RakMemoryFree of rak.h. */
#ifndef PMX_H
#define PMX_H

#include "pmx_classes.h"
#include "pmx_collections.h"
#include "pmx_log.h"
#include "pmx_toolkit.h"
#include "pmx_types.h"

#endif
