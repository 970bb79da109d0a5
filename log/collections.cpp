// What the containers need that is not of their template.
#include "log/collections.h"

PmxObjClass* pmxReturnObjClass(PmxObjClass* record) { return record; }

void pmxIgnoreObjClass(PmxObjClass*) {}
