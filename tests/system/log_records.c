/* Logs as velguid does, for samples_test.py: log_records PROPERTIES [COUNT]
 * First a fixed set of errors and a step of the trace, then COUNT errors with numbers. */
#include <stdio.h>
#include <stdlib.h>

#include "pmx.h"

static void log_fixed(PmxObject* errors, PmxObject* trace) {
    int round;
    for (round = 0; round < 2; ++round) {
        PmxLogError(errors, "guidmsgs", 1, 1, "HQXGD0000E built in: no root", PMX_END);
    }
    PmxLogError(errors, "guidmsgs", 1, 2, "HQXGD0001E built in: '%1$s'", PMX_STRING,
                "-Gu\303\257d<&>", PMX_END);
    PmxLogError(errors, "guidmsgs", 1, 7, "HQXGD0007E built in: not created", PMX_END);
    PmxLogDebugMin(trace, "../common/main", "main", 255, "Command line parameter is >%s<",
                   PMX_STRING, "-Gu\303\257d", PMX_END);
}

int main(int argc, char** argv) {
    PmxObject *errors, *trace;
    int number, count = argc > 2 ? atoi(argv[2]) : 0;

    if (argc < 2 || !PmxOpenToolkit(argv[1])) return 1;
    errors = PmxGetObject("msg.velguid", NULL);
    trace = PmxGetObject("trace.velguid", NULL);
    if (errors == NULL || trace == NULL) return 2;
    log_fixed(errors, trace);
    for (number = 1; number <= count; ++number) {
        PmxLogError(errors, "guidmsgs", 1, 13, "HQXGD0013E built in: %1$s %2$d", PMX_STRING, "step",
                    PMX_INT, number, PMX_END);
    }
    PmxReleaseObject(errors);
    PmxReleaseObject(trace);
    PmxCloseToolkit();
    return 0;
}
