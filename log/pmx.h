/* pmx.h — the logging toolkit: everything that an application links against. */
#ifndef PMX_H
#define PMX_H

#include "pmx_classes.h"
#include "pmx_collections.h"
#include "pmx_log.h"
#include "pmx_toolkit.h"
#include "pmx_types.h"

#endif
