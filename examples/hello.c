/* hello.c: the shortest way to a log. Run it with its properties file:
 *
 *     hello examples/hello.properties
 *
 * Then change the file, say its level to WARN, and run it again: the program stays as it is.
 */
#include <stdio.h>

#include "pmx.h"

int main(int argc, char** argv) {
    PmxObject* logger;

    if (argc != 2) {
        fprintf(stderr, "usage: hello PROPERTIES\n");
        return 2;
    }

    /* The file says which loggers there are, where their records go and what these look like. If
     * it cannot be used, the toolkit has said so on standard error. */
    if (!PmxOpenToolkit(argv[1])) return 1;

    /* A logger by its name. The file tells its class; so the second argument may be null. Without
     * such a logger the result is null, and logging to null does nothing. */
    logger = PmxGetObject("app.hello", NULL);

    /* A text. Whatever follows the text is pairs of a type and a value, up to PMX_END. */
    PmxLogText(logger, "Hello, log.", PMX_END);

    /* A text for whoever looks for a fault, with its place in the source. */
    PmxLogDebugMin(logger, __FILE__, __func__, __LINE__, "argc is %1$d", PMX_INT, argc, PMX_END);

    /* A message: it has a level, and here two parameters. The property is no parameter of it:
     * it belongs to the event, and the formatter shows it in front of the message. */
    PmxLogInfo(logger, NULL, 0, 0, "%1$s has read %2$ld bytes.", /* no catalog */
               PMX_STRING, "hello", PMX_LONG, (int64_t)4096,     /* parameters */
               PMX_PROPERTY, "server", PMX_STRING, "alpha.example", PMX_END);

    /* What is below the logger's level costs next to nothing. When even its arguments are
     * expensive, ask first. */
    if (PmxIsLoggable(logger, PMX_DEBUG_MAX)) {
        PmxLogDebugMax(logger, __FILE__, __func__, __LINE__, "every detail", PMX_END);
    }

    /* What you got, you release. */
    PmxReleaseObject(logger);
    PmxCloseToolkit();
    return 0;
}
