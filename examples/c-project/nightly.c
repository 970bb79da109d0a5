/* nightly.c: a job that logs under two GUIDs, that of the host and one of this run; so the logs of
 * many hosts can be put together, and each record still tells where and when it comes from.
 *
 *     nightly nightly.properties
 */
#include <stdio.h>
#include <stdlib.h>
#include <velguid/guid.h>
#include <velguid/pmx.h>
#include <velguid/vel_guid.h>

enum { kDotted = 16 * 3 };

/* The GUID of the host, as velguid shows it; 0 when there is none. */
static int host_guid(char text[kDotted]) {
    uint8_t guid[16];
    char* end = text;
    int i;

    if (vel_guid_read(guid) != 0) return 0;
    for (i = 0; i < 16; ++i) end += sprintf(end, i == 0 ? "%02x" : ".%02x", guid[i]);
    return 1;
}

/* A GUID that no other run has, as a text for free(); null when there is none to be had. */
static char* run_guid(void) {
    guid_record record;
    unsigned long status;
    char* text = NULL;

    guid_create(&record, &status);
    if (status == 0) guid_to_string(&record, &text, &status);
    return text;
}

int main(int argc, char** argv) {
    PmxObject* logger;
    char host[kDotted];
    char* run;

    if (argc != 2) {
        fprintf(stderr, "usage: nightly PROPERTIES\n");
        return 2;
    }
    if (!PmxOpenToolkit(argv[1])) return 1; /* it has said why */
    logger = PmxGetObject("nightly", NULL);

    if (!host_guid(host)) {
        PmxLogWarn(logger, NULL, 0, 0, "NITJB0001W This host has no GUID: run velguid -Create.",
                   PMX_END);
        sprintf(host, "unknown");
    }
    run = run_guid();
    if (run == NULL) {
        PmxLogError(logger, NULL, 0, 0, "NITJB0002E No GUID can be made for this run.", PMX_END);
    } else {
        PmxLogInfo(logger, NULL, 0, 0, "NITJB0003I Run %1$s begins on host %2$s.", PMX_STRING, run,
                   PMX_STRING, host, PMX_END);
    }

    free(run);
    PmxReleaseObject(logger);
    PmxCloseToolkit();
    return 0;
}
