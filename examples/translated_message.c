/* translated_message.c: messages that come in the language of whoever reads the log.
 *
 * The texts are in teashop.msg, in one folder for each language, of which veltool(1) makes the
 * catalogs. NLSPATH tells where these are (%L is the language, %N the name of the catalog), and
 * LANG which language is wanted:
 *
 *     NLSPATH=build/test/examples/catalog/%L/%N.cat LANG=fr_FR \
 *         translated_message examples/translated_message.properties
 */
#include <stdio.h>

#include "pmx.h"
#include "rak.h"

/* A message is found by the name of its catalog and the numbers of its set and of itself. Its text
 * stands here, too: it is shown when there is no catalog, or the catalog does not have it. */
#define TEASHOP "teashop", 1
#define TEASHOP_ORDER 1, "TEASHOP0001I %1$s orders %2$d cups of tea."
#define TEASHOP_SOLD_OUT 2, "TEASHOP0002W There is no more tea."
#define TEASHOP_FAREWELL 3, "Thank you, %1$s!"

int main(int argc, char** argv) {
    PmxObject* logger;
    PmxI18Msg* farewell;
    char* text;

    if (argc != 2) {
        fprintf(stderr, "usage: translated_message PROPERTIES\n");
        return 2;
    }
    if (!PmxOpenToolkit(argv[1])) return 1;
    logger = PmxGetObject("teashop", NULL);

    /* A translator may put the parameters in another order: they have numbers. */
    PmxLogInfo(logger, TEASHOP, TEASHOP_ORDER, PMX_STRING, "Amélie", PMX_INT, 3, PMX_END);
    PmxLogWarn(logger, TEASHOP, TEASHOP_SOLD_OUT, PMX_END);

    /* A message can also be had as text, without a log. It is UTF-8, and is printed in the code
     * set of the terminal. */
    farewell = PmxAllocI18Msg(TEASHOP, TEASHOP_FAREWELL);
    PmxAddI18MsgParmString(farewell, "Amélie");
    text = PmxBindI18Msg(farewell);
    PmxPrintText(stdout, text);
    PmxPrintText(stdout, "\n");
    RakMemoryFree(text);
    PmxFreeI18Msg(farewell);

    PmxReleaseObject(logger);
    PmxCloseToolkit();
    return 0;
}
