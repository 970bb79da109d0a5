// The message table: the catalog's name, then the default texts.
#include "common/tool.h"

constexpr std::array<const char*, kToolMessages> guidmsgs = {
    "guidmsgs",
    "HQXGD0000E You must have root user authority to run this program.",
    "HQXGD0001E Invalid option '%1$s'.",
    "HQXGD0003E The format of the GUID is invalid.",
    "HQXGD0004I A GUID already exists on this host. A new GUID will not be created.",
    "HQXGD0005I A GUID entry was not found. The program is generating a new one.",
    "HQXGD0006I A GUID entry was not found.",
    "HQXGD0007E A GUID entry was not created.",
    "HQXGD0008E The GUID entry could not be written.",
    "HQXGD0009E The GUID entry can not be read.",
    "-CREATE\tGenerates and stores a new GUID on the host.\n"
    "\tIf a GUID already exists, it will be displayed.\n"
    "-HELP\tDisplays help for the velguid commands.\n"
    "-SHOW\tReturns the value of the current GUID.\n"
    "-WRITE\tWrites the GUID specified in the -GUID option to the file/registry.\n"
    "\tFor example, -WRITE -GUID='string' will use the value in 'string'\n"
    "\tinstead of generating a new GUID.\n"
    "\tThe 'string' must be a valid GUID (32 hex values).\n"
    "\t-NEW\tWhen used with -WRITE will create a new GUID\n"
    "\t\teven if one exists.",
    "HQXGD0011E When using '%1$s' you must enter '%2$s' or use '%3$s'.",
    "HQXGD0012E The velguid program encountered an internal error.",
    "HQXGD0013E '%1$s' return status is '%2$d'.",
    "Usage : velguid %1$s",
    "Velmar GUID utility - Version %1$d, Release %2$d, Level %3$d.",
    "Copyright (C) Velmar %1$d. All rights reserved.",
};
static_assert(guidmsgs.back() != nullptr && guidmsgs.size() == size_t(ToolMsg::legal_notice) + 1);
